// One item of a configuration node.
#include "foundation/XmlConfigureItem.h"

#include "platform/ConfigFileText.h"

XmlConfigureItem::XmlConfigureItem(int context) : m_pData(std::make_shared<Data>()) {
    m_pData->context = context;
}

int XmlConfigureItem::getContext() const {
    return m_pData->context;
}

int XmlConfigureItem::getProperty(const std::string& name, std::string& value) const {
    for (const auto& property : m_pData->properties) {
        if (property.first == name) {
            value = property.second;
            return 1;
        }
    }
    return 0;
}

int XmlConfigureItem::getProperty(const std::string& name, int& value) const {
    std::string text;
    if (getProperty(name, text) == 0)
        return 0;
    return kvconfig::parseDecimalInt(kvconfig::trimBlanks(text), value);
}

int XmlConfigureItem::getProperty(const std::string& name, bool& value) const {
    std::string text;
    if (getProperty(name, text) == 0)
        return 0;
    text = kvconfig::trimBlanks(text);
    if (text == "true" || text == "1") {
        value = true;
        return 1;
    }
    if (text == "false" || text == "0") {
        value = false;
        return 1;
    }
    return 0;
}

int XmlConfigureItem::setProperty(const std::string& name, const std::string& value) {
    if (!isValidName(name) || value.find('\0') != std::string::npos)
        return 0;
    for (auto& property : m_pData->properties) {
        if (property.first == name) {
            property.second = value;
            return 1;
        }
    }
    m_pData->properties.emplace_back(name, value);
    return 1;
}

int XmlConfigureItem::setProperty(const std::string& name, int value) {
    return setProperty(name, std::to_string(value));
}

int XmlConfigureItem::setProperty(const std::string& name, bool value) {
    return setProperty(name, std::string(value ? "true" : "false"));
}

int XmlConfigureItem::setProperty(const std::string& name, const char* value) {
    if (value == nullptr)
        return 0;
    return setProperty(name, std::string(value));
}

int XmlConfigureItem::removeProperty(const std::string& name) {
    auto& properties = m_pData->properties;
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        if (it->first == name) {
            properties.erase(it);
            return 1;
        }
    }
    return 0;
}

int XmlConfigureItem::getPropertyNames(std::vector<std::string>& names) const {
    names.clear();
    for (const auto& property : m_pData->properties)
        names.push_back(property.first);
    return 1;
}

bool XmlConfigureItem::isValidName(const std::string& name) {
    if (name.empty())
        return false;
    for (std::string::size_type i = 0; i < name.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(name[i]);
        const bool start =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || c >= 0x80;
        const bool other = (c >= '0' && c <= '9') || c == '-' || c == '.';
        if (!start && (i == 0 || !other))
            return false;
    }
    return true;
}

// Parser of the module detail and parameter texts.
#include "platform/ModuleParameterParser.h"

#include "platform/ConfigFileText.h"

int ModuleParameterParser::parse(const std::string& text) {
    m_mapValues.clear();
    std::map<std::string, std::string> values;
    std::string::size_type begin = 0;
    while (begin <= text.size()) {
        std::string::size_type end = text.find(';', begin);
        if (end == std::string::npos)
            end = text.size();
        const std::string item = kvconfig::trimBlanks(text.substr(begin, end - begin));
        begin = end + 1;
        if (item.empty())
            continue;
        const std::string::size_type equals = item.find('=');
        if (equals == std::string::npos)
            return 0;
        const std::string name = kvconfig::trimBlanks(item.substr(0, equals));
        if (name.empty())
            return 0;
        values[name] = kvconfig::trimBlanks(item.substr(equals + 1));
    }
    m_mapValues.swap(values);
    return 1;
}

int ModuleParameterParser::getValue(const std::string& name, std::string& value) const {
    const auto found = m_mapValues.find(name);
    if (found == m_mapValues.end())
        return 0;
    value = found->second;
    return 1;
}

int ModuleParameterParser::getValue(const std::string& name, int& value) const {
    const auto found = m_mapValues.find(name);
    if (found == m_mapValues.end())
        return 0;
    return kvconfig::parseDecimalInt(found->second, value);
}

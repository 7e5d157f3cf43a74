// The settings page as the browser draws it, built from the unit's UI XML texts.
#include "tools/WebPage.h"

#include "platform/SensorParameterParser.h"
#include "platform/XmlText.h"
#include "tools/ParameterNames.h"

#include <tinyxml.h>

#include <algorithm>
#include <set>

namespace {

// Attribute `name` of `element` as a whole decimal int; false when absent or not one.
bool intAttribute(const TiXmlElement& element, const char* name, int& value) {
    const char* text = element.Attribute(name);
    return text != nullptr && parseInt(text, value);
}

std::string stringAttribute(const TiXmlElement& element, const char* name) {
    const char* text = element.Attribute(name);
    return text != nullptr ? text : "";
}

// "10=1,2" into id 10 and values {1, 2}.
bool parseWhen(const std::string& text, int& id, std::vector<int>& values) {
    const size_t eq = text.find('=');
    std::set<int> list;
    if (eq == std::string::npos || !parseInt(text.substr(0, eq), id) ||
        SensorParameterParser::parseParameterIdList(text.substr(eq + 1), list) == 0 || list.empty())
        return false;
    values.assign(list.begin(), list.end());
    return true;
}

// Parses `text` (an empty one gives no document); false on malformed XML.
bool parseDocument(const std::string& text, TiXmlDocument& document, const char* what,
                   std::string& error) {
    if (text.empty())
        return true;
    std::string why;
    if (kvconfig::parseXmlDocument(text, document, why) == 0) {
        error = std::string("the ") + what + " text is not well-formed XML (" + why + ")";
        return false;
    }
    return true;
}

// The key/value pairs of a common or language text.
bool readTexts(const std::string& text, const char* what, std::map<std::string, std::string>& texts,
               std::string& error) {
    TiXmlDocument document;
    if (!parseDocument(text, document, what, error))
        return false;
    if (text.empty())
        return true;
    for (const TiXmlElement* entry = document.RootElement()->FirstChildElement("text");
         entry != nullptr; entry = entry->NextSiblingElement("text")) {
        const char* key = entry->Attribute("key");
        const char* value = entry->Attribute("value");
        if (key != nullptr && value != nullptr)
            texts[key] = value;
    }
    return true;
}

const char* kindName(WebPage::Kind kind) {
    switch (kind) {
    case WebPage::Kind::Slider:
        return "slider";
    case WebPage::Kind::List:
        return "list";
    case WebPage::Kind::Switch:
        return "switch";
    default:
        return "button";
    }
}

} // namespace

std::string WebPage::text(const std::map<std::string, std::string>& texts, const std::string& key) {
    auto it = texts.find(key);
    if (it != texts.end())
        return it->second;
    if (std::find(m_vecMissing.begin(), m_vecMissing.end(), key) == m_vecMissing.end())
        m_vecMissing.push_back(key);
    return key;
}

bool WebPage::build(const std::string& style, const std::string& language,
                    const std::string& common, const std::string& init, const OfferedIds& offered,
                    std::string& error) {
    *this = WebPage();
    std::map<std::string, std::string> labels;
    if (!readTexts(language, "language", labels, error) ||
        !readTexts(common, "common", m_mapCommon, error))
        return false;

    TiXmlDocument initDocument;
    if (!parseDocument(init, initDocument, "UI initial configuration", error))
        return false;
    if (const TiXmlElement* root = initDocument.RootElement()) {
        if (const TiXmlElement* page = root->FirstChildElement("page")) {
            intAttribute(*page, "openTab", m_nOpenTab);
            intAttribute(*page, "refreshSeconds", m_nRefreshSeconds);
        }
        // A malformed list loads nothing up front: the page reads as it goes.
        const TiXmlElement* load = root->FirstChildElement("load");
        std::set<int> ids;
        if (load != nullptr &&
            SensorParameterParser::parseParameterIdList(stringAttribute(*load, "ids"), ids) != 0)
            m_vecLoadIds.assign(ids.begin(), ids.end());
    }

    TiXmlDocument styleDocument;
    if (style.empty()) {
        error = "the unit has no style text";
        return false;
    }
    if (!parseDocument(style, styleDocument, "style", error))
        return false;
    for (const TiXmlElement* tabElement = styleDocument.RootElement()->FirstChildElement("tab");
         tabElement != nullptr; tabElement = tabElement->NextSiblingElement("tab")) {
        Tab tab;
        if (!intAttribute(*tabElement, "key", tab.key)) {
            error = "a tab of the style has no numeric key";
            return false;
        }
        tab.name = stringAttribute(*tabElement, "name");
        tab.labelKey = stringAttribute(*tabElement, "label");
        tab.label = text(labels, tab.labelKey);
        for (const TiXmlElement* element = tabElement->FirstChildElement(); element != nullptr;
             element = element->NextSiblingElement()) {
            Control control;
            const std::string kind = element->Value();
            if (kind == "slider")
                control.kind = Kind::Slider;
            else if (kind == "list")
                control.kind = Kind::List;
            else if (kind == "switch")
                control.kind = Kind::Switch;
            else if (kind == "button")
                control.kind = Kind::Button;
            else
                continue; // not a control this page knows
            const std::string where = "the " + kind + " \"" + stringAttribute(*element, "label") +
                                      "\" of tab " + std::to_string(tab.key);
            bool ok = intAttribute(*element, "id", control.id);
            switch (control.kind) {
            case Kind::Slider:
                ok = ok && intAttribute(*element, "min", control.min) &&
                     intAttribute(*element, "max", control.max) && control.min <= control.max;
                if (element->Attribute("step") != nullptr)
                    ok = ok && intAttribute(*element, "step", control.step) && control.step > 0;
                if (element->Attribute("unit") != nullptr)
                    control.unit = text(m_mapCommon, stringAttribute(*element, "unit"));
                break;
            case Kind::List:
                for (const TiXmlElement* option = element->FirstChildElement("option");
                     ok && option != nullptr; option = option->NextSiblingElement("option")) {
                    Option entry;
                    ok = intAttribute(*option, "value", entry.value);
                    entry.label = text(labels, stringAttribute(*option, "label"));
                    control.options.push_back(entry);
                }
                ok = ok && !control.options.empty();
                break;
            case Kind::Switch:
                ok = ok && intAttribute(*element, "on", control.on) &&
                     intAttribute(*element, "off", control.off);
                break;
            case Kind::Button:
                ok = ok && intAttribute(*element, "value", control.value);
                break;
            }
            if (ok && element->Attribute("when") != nullptr)
                ok = parseWhen(stringAttribute(*element, "when"), control.whenId,
                               control.whenValues);
            if (!ok) {
                error = where + " lacks an attribute or has one that is not a number";
                return false;
            }
            const bool button = control.kind == Kind::Button;
            const bool readable = offered.readable.count(control.id) > 0;
            const bool setOnly = offered.setOnly.count(control.id) > 0;
            if (!(button ? readable || setOnly : readable)) {
                m_vecOmitted.push_back(
                    {control.id, tab.key,
                     setOnly ? "id " + std::to_string(control.id) +
                                   " is set-only: only a button can send it"
                             : "the driver does not offer id " + std::to_string(control.id)});
                continue;
            }
            control.labelKey = stringAttribute(*element, "label");
            control.label = text(labels, control.labelKey);
            tab.controls.push_back(std::move(control));
        }
        m_vecTabs.push_back(std::move(tab));
    }
    if (m_vecTabs.empty()) {
        error = "the style text has no tabs";
        return false;
    }
    return true;
}

const WebPage::Control* WebPage::find(int id) const {
    for (const Tab& tab : m_vecTabs)
        for (const Control& control : tab.controls)
            if (control.id == id)
                return &control;
    return nullptr;
}

std::vector<int> WebPage::readableIds() const {
    std::vector<int> ids;
    for (const Tab& tab : m_vecTabs)
        for (const Control& control : tab.controls)
            if (control.kind != Kind::Button &&
                std::find(ids.begin(), ids.end(), control.id) == ids.end())
                ids.push_back(control.id);
    return ids;
}

bool WebPage::check(int id, int value, std::string& why) const {
    const Control* control = find(id);
    if (control == nullptr) {
        why = "id " + std::to_string(id) + " is not a setting of this page";
        return false;
    }
    bool ok = false;
    std::string allowed;
    switch (control->kind) {
    case Kind::Slider:
        ok = value >= control->min && value <= control->max &&
             (value - control->min) % control->step == 0;
        allowed = std::to_string(control->min) + ".." + std::to_string(control->max);
        if (control->step != 1)
            allowed += " in steps of " + std::to_string(control->step);
        break;
    case Kind::List:
        for (const Option& option : control->options) {
            ok = ok || option.value == value;
            allowed += (allowed.empty() ? "" : ", ") + std::to_string(option.value);
        }
        break;
    case Kind::Switch:
        ok = value == control->on || value == control->off;
        allowed = std::to_string(control->on) + " or " + std::to_string(control->off);
        break;
    case Kind::Button:
        ok = value == control->value;
        allowed = std::to_string(control->value);
        break;
    }
    if (!ok)
        why = "value " + std::to_string(value) + " out of range for " + kindName(control->kind) +
              " " + std::to_string(id) + " (" + allowed + ")";
    return ok;
}

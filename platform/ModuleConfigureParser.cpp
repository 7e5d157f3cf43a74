// Reader of the module configuration file.
#include "platform/ModuleConfigureParser.h"

#include "platform/ConfigFileText.h"
#include "platform/XmlText.h"

#include <tinyxml.h>

#include <cstdio>

namespace {

int fail(const std::string& origin, const std::string& reason) {
    std::fprintf(stderr, "ModuleConfigureParser: %s: %s\n", origin.c_str(), reason.c_str());
    return 0;
}

// Reads one "module" element into `module`; the failure reason in `reason`.
int readModule(const TiXmlElement& element, ModuleConfigure& module, std::string& reason) {
    const char* id = element.Attribute("id");
    const char* detail = element.Attribute("detail");
    const char* parameters = element.Attribute("parameters");
    const std::string line = " (line " + std::to_string(element.Row()) + ")";
    if (id == nullptr || detail == nullptr || parameters == nullptr) {
        reason = "module without id, detail or parameters attribute" + line;
        return 0;
    }
    int moduleId = 0;
    if (kvconfig::parseDecimalInt(kvconfig::trimBlanks(id), moduleId) == 0) {
        reason = std::string("module id \"") + id + "\" is not a decimal integer" + line;
        return 0;
    }
    module = ModuleConfigure(moduleId, detail, parameters);
    return 1;
}

} // namespace

int ModuleConfigureParser::parse(const std::string& path, std::vector<ModuleConfigure>& modules) {
    std::string text;
    std::string error;
    if (kvconfig::readWholeFile(path, text, error) == 0)
        return fail(path, error);
    return parseText(text, modules, path);
}

int ModuleConfigureParser::parse(std::vector<ModuleConfigure>& modules) {
    return parse(DefaultPath, modules);
}

int ModuleConfigureParser::parseText(const std::string& text, std::vector<ModuleConfigure>& modules,
                                     const std::string& origin) {
    TiXmlDocument doc;
    std::string error;
    if (kvconfig::parseXmlDocument(text, doc, error) == 0)
        return fail(origin, error);
    const TiXmlElement* root = doc.RootElement();
    if (root->ValueStr() != "moduleConfig")
        return fail(origin, "root element is <" + root->ValueStr() + ">, not <moduleConfig>");

    std::vector<ModuleConfigure> parsed;
    for (const TiXmlElement* element = root->FirstChildElement(); element != nullptr;
         element = element->NextSiblingElement()) {
        if (element->ValueStr() != "module")
            return fail(origin, "unexpected element <" + element->ValueStr() + "> at line " +
                                    std::to_string(element->Row()));
        ModuleConfigure module;
        if (readModule(*element, module, error) == 0)
            return fail(origin, error);
        parsed.push_back(module);
    }
    modules.swap(parsed);
    return 1;
}

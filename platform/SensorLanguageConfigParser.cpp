// Reader of the UI language list.
#include "platform/SensorLanguageConfigParser.h"

#include "platform/ConfigFileText.h"
#include "platform/XmlText.h"

#include <tinyxml.h>

#include <cstdio>
#include <set>

namespace {

int fail(const std::string& origin, const std::string& reason) {
    std::fprintf(stderr, "SensorLanguageConfigParser: %s: %s\n", origin.c_str(), reason.c_str());
    return 0;
}

bool isPlainFolderName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

// Reads one "language" element; the failure reason in `reason`.
int readLanguage(const TiXmlElement& element, SensorLanguageConfig& language, std::string& reason) {
    const char* id = element.Attribute("id");
    const char* folder = element.Attribute("folder");
    const std::string line = " (line " + std::to_string(element.Row()) + ")";
    if (id == nullptr || folder == nullptr) {
        reason = "language without id or folder attribute" + line;
        return 0;
    }
    int languageId = 0;
    if (kvconfig::parseDecimalInt(kvconfig::trimBlanks(id), languageId) == 0) {
        reason = std::string("language id \"") + id + "\" is not a decimal integer" + line;
        return 0;
    }
    const std::string folderName = kvconfig::trimBlanks(folder);
    if (!isPlainFolderName(folderName)) {
        reason = "language folder \"" + folderName + "\" is not a plain folder name" + line;
        return 0;
    }
    language = SensorLanguageConfig(languageId, folderName);
    return 1;
}

} // namespace

int SensorLanguageConfigParser::parse(const std::string& path,
                                      std::vector<SensorLanguageConfig>& languages) {
    std::string text;
    std::string error;
    if (kvconfig::readWholeFile(path, text, error) == 0)
        return fail(path, error);
    return parseText(text, languages, path);
}

int SensorLanguageConfigParser::parse(std::vector<SensorLanguageConfig>& languages) {
    return parse(DefaultPath, languages);
}

int SensorLanguageConfigParser::parseText(const std::string& text,
                                          std::vector<SensorLanguageConfig>& languages,
                                          const std::string& origin) {
    TiXmlDocument doc;
    std::string error;
    if (kvconfig::parseXmlDocument(text, doc, error) == 0)
        return fail(origin, error);
    const TiXmlElement* root = doc.RootElement();
    if (root->ValueStr() != "languages")
        return fail(origin, "root element is <" + root->ValueStr() + ">, not <languages>");

    std::vector<SensorLanguageConfig> parsed;
    std::set<int> ids;
    for (const TiXmlElement* element = root->FirstChildElement(); element != nullptr;
         element = element->NextSiblingElement()) {
        if (element->ValueStr() != "language")
            return fail(origin, "unexpected element <" + element->ValueStr() + "> at line " +
                                    std::to_string(element->Row()));
        SensorLanguageConfig language;
        if (readLanguage(*element, language, error) == 0)
            return fail(origin, error);
        if (!ids.insert(language.getLanguageId()).second)
            return fail(origin, "language id " + std::to_string(language.getLanguageId()) +
                                    " is listed twice");
        parsed.push_back(language);
    }
    languages.swap(parsed);
    return 1;
}

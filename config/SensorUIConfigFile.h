// The web UI's texts for the fitted module: its style and, per UI language, its common and language
// texts.
#pragma once

#include "platform/SensorLanguageConfig.h"

#include <map>
#include <string>
#include <vector>

// The UI files live under one configuration folder (by default
// "/hd1/moduleConfig/sensorConfig"); with P the module's file-name prefix and
// F the folder name of a language from the language list:
//
//   style/PStyle.xml                      the style (tabs and controls)
//   styleDiversity/PStyleDiversity.xml    its per-module variations, if any
//   common/F/SensorCommon.xml             texts shared by every module
//   language/F/PLang.xml                  the module's texts
//   SensorLanguageConfig.xml              the language list
//
// When the variation file exists the style is merged with it (MergedXml)
// against the module's detail text; otherwise the style file is taken as it
// is. The common file is the same for every module, hence no prefix.
class SensorUIConfigFile {
public:
    SensorUIConfigFile();
    ~SensorUIConfigFile();

    // Points every UI path into `folder` (a device path).
    void setUIConfigPath(const std::string& folder);
    void setUIConfigPrefix(const std::string& prefix);

    // Reads the language list, the style (merged against `detail`) and the
    // texts of every listed language; nonzero on success. The first failure
    // ends it with a message; what was read before stays.
    int init(std::string detail);

    std::string getUIStyleConfigString() const;
    // The text of `languageId`; a language without one gets language 1's, and
    // without that an empty text.
    std::string getUICommonConfigString(int languageId) const;
    std::string getUILanguageConfigString(int languageId) const;

    // Reads the whole file at the device path `path` into `text`; nonzero on
    // success (a missing, unreadable or oversized file leaves `text` alone).
    int getFileText(const std::string& path, std::string& text);

private:
    int initStyle(const std::string& detail);
    int initLanguage(const SensorLanguageConfig& language);

    std::string m_strStylePath;
    std::string m_strCommonPath;
    std::string m_strLanguagePath;
    std::string m_strStyleDiversityPath;
    std::string m_strLanguageDiversityPath;
    std::string m_strLanguageConfigFile;
    std::string m_strPrefix;
    std::string m_strStyle;
    std::map<int, std::string> m_mapCommon;
    std::map<int, std::string> m_mapLanguage;
    std::vector<SensorLanguageConfig> m_vecLanguages;
};

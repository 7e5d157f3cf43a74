// Loading the UI style, common and language texts.
#include "config/SensorUIConfigFile.h"

#include "config/MergedXml.h"
#include "platform/ConfigFileText.h"
#include "platform/KVFile.h"
#include "platform/SensorLanguageConfigParser.h"

#include <cstdio>
#include <utility>

namespace {

const char* const DefaultFolder = "/hd1/moduleConfig/sensorConfig";

std::string textOf(const std::map<int, std::string>& texts, int languageId) {
    auto it = texts.find(languageId);
    if (it == texts.end())
        it = texts.find(1);
    return it != texts.end() ? it->second : std::string();
}

} // namespace

SensorUIConfigFile::SensorUIConfigFile() {
    setUIConfigPath(DefaultFolder);
}

SensorUIConfigFile::~SensorUIConfigFile() = default;

void SensorUIConfigFile::setUIConfigPath(const std::string& folder) {
    m_strStylePath = folder + "/style";
    m_strCommonPath = folder + "/common";
    m_strLanguagePath = folder + "/language";
    m_strStyleDiversityPath = folder + "/styleDiversity";
    m_strLanguageDiversityPath = folder + "/languageDiversity";
    m_strLanguageConfigFile = folder + "/SensorLanguageConfig.xml";
}

void SensorUIConfigFile::setUIConfigPrefix(const std::string& prefix) {
    m_strPrefix = prefix;
}

int SensorUIConfigFile::init(std::string detail) {
    // A second init answers from its own files only: a language dropped from
    // the list falls back to language 1 instead of keeping its old texts.
    m_mapCommon.clear();
    m_mapLanguage.clear();
    if (SensorLanguageConfigParser::parse(m_strLanguageConfigFile, m_vecLanguages) == 0) {
        std::puts("parse SensorLanguageConfig.xml failed ");
        return 0;
    }
    if (initStyle(detail) == 0)
        return 0;
    for (const SensorLanguageConfig& language : m_vecLanguages) {
        if (initLanguage(language) == 0)
            return 0;
    }
    return 1;
}

int SensorUIConfigFile::initStyle(const std::string& detail) {
    const std::string stylePath = m_strStylePath + "/" + m_strPrefix + "Style.xml";
    const std::string diversityPath =
        m_strStyleDiversityPath + "/" + m_strPrefix + "StyleDiversity.xml";
    KVFile diversity;
    if (diversity.open(diversityPath, KVFile::ModeRead) != 0) {
        diversity.close();
        MergedXml merged;
        merged.setStyleOriginalPath(stylePath);
        merged.setStyleModifyPath(diversityPath);
        if (merged.getStyleMergedString(detail, m_strStyle) == 0) {
            std::printf("objMergedXml.getStyleMergedString(%s) failed\n", detail.c_str());
            return 0;
        }
        return 1;
    }
    if (getFileText(stylePath, m_strStyle) == 0) {
        std::printf("getStyleFileText failed , path=%s \n", stylePath.c_str());
        return 0;
    }
    return 1;
}

int SensorUIConfigFile::initLanguage(const SensorLanguageConfig& language) {
    std::string folder;
    language.getFolderName(folder);
    const std::string commonPath = m_strCommonPath + "/" + folder + "/" + "SensorCommon.xml";
    std::string text;
    if (folder.empty() || getFileText(commonPath, text) == 0) {
        std::printf("getCommonFile failed , path=%s\n", commonPath.c_str());
        return 0;
    }
    m_mapCommon[language.getLanguageId()] = std::move(text);
    const std::string languagePath =
        m_strLanguagePath + "/" + folder + "/" + m_strPrefix + "Lang.xml";
    text.clear();
    if (getFileText(languagePath, text) == 0) {
        std::printf("getLanguageFile failed , path=%s\n", languagePath.c_str());
        return 0;
    }
    m_mapLanguage[language.getLanguageId()] = std::move(text);
    return 1;
}

std::string SensorUIConfigFile::getUIStyleConfigString() const {
    return m_strStyle;
}

std::string SensorUIConfigFile::getUICommonConfigString(int languageId) const {
    return textOf(m_mapCommon, languageId);
}

std::string SensorUIConfigFile::getUILanguageConfigString(int languageId) const {
    return textOf(m_mapLanguage, languageId);
}

int SensorUIConfigFile::getFileText(const std::string& path, std::string& text) {
    std::string error;
    return kvconfig::readWholeFile(path, text, error);
}

// One UI language of the language list: its id and the folder of its UI files.
#pragma once

#include <string>

// The web UI texts exist per language; each language has a numeric id (the
// host asks for texts by id) and a folder name under the common and language
// folders of the sensor configuration tree.
class SensorLanguageConfig {
public:
    SensorLanguageConfig() = default;
    SensorLanguageConfig(int languageId, const std::string& folderName);

    int getLanguageId() const { return m_nLanguageId; }
    // The folder name into `name`; 1, or 0 (and `name` untouched) when the
    // record has no folder name.
    int getFolderName(std::string& name) const;

    void setLanguageId(int languageId) { m_nLanguageId = languageId; }
    void setFolderName(const std::string& name) { m_strFolderName = name; }

private:
    int m_nLanguageId = 0;
    std::string m_strFolderName;
};

// One UI language of the language list.
#include "platform/SensorLanguageConfig.h"

SensorLanguageConfig::SensorLanguageConfig(int languageId, const std::string& folderName)
    : m_nLanguageId(languageId), m_strFolderName(folderName) {}

int SensorLanguageConfig::getFolderName(std::string& name) const {
    if (m_strFolderName.empty())
        return 0;
    name = m_strFolderName;
    return 1;
}

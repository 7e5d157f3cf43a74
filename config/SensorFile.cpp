// Choosing the module record and loading the UI texts it names.
#include "config/SensorFile.h"

#include "config/SensorUIConfigFile.h"
#include "platform/ConfigFileText.h"
#include "platform/ModuleConfigureParser.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <vector>

SensorFile::SensorFile()
    : m_strModuleConfigFileName("/hd1/moduleConfig/moduleConfig.xml"),
      m_strSensorConfigFilePath("/hd1/moduleConfig/sensorConfig"),
      m_pModuleConfigure(new ModuleConfigure), m_pSensorUIConfigFile(new SensorUIConfigFile) {}

SensorFile::~SensorFile() = default;

void SensorFile::setModuleConfigFileName(const std::string& path) {
    m_strModuleConfigFileName = path;
}

void SensorFile::setSensorConfigFilePath(const std::string& folder) {
    m_strSensorConfigFilePath = folder;
}

int SensorFile::init(const std::string& moduleConfigFileName,
                     const std::string& sensorConfigFolder) {
    if (!moduleConfigFileName.empty())
        setModuleConfigFileName(moduleConfigFileName);
    if (!sensorConfigFolder.empty())
        setSensorConfigFilePath(sensorConfigFolder);

    std::vector<ModuleConfigure> modules;
    if (ModuleConfigureParser::parse(m_strModuleConfigFileName, modules) == 0)
        return 0;
    *m_pModuleConfigure = ModuleConfigure();
    for (const ModuleConfigure& module : modules) {
        if (module.getModuleId() > 0 && module.getModuleId() < 100)
            *m_pModuleConfigure = module;
    }

    ModuleParameterParser parameters;
    if (parameters.parse(m_pModuleConfigure->getParameters()) == 0) {
        std::puts("parse senseParameter failed");
        return 0;
    }
    std::string guiConfigName;
    if (parameters.getValue("GUIConfig", guiConfigName) == 0) {
        std::puts("get GUIConfigName from senseParameter failed");
        return 0;
    }
    const std::string guiConfigPath = m_strSensorConfigFilePath + "/" + guiConfigName;
    if (initUIInitConfigString(guiConfigPath) == 0) {
        std::printf("initUIConfigString from %s failed\n", guiConfigPath.c_str());
        return 0;
    }
    std::string prefix;
    if (parameters.getValue("Prefix", prefix) == 0) {
        std::puts("getPrefix failed ");
        return 0;
    }

    m_pSensorUIConfigFile->setUIConfigPath(m_strSensorConfigFilePath);
    m_pSensorUIConfigFile->setUIConfigPrefix(prefix);
    if (m_pSensorUIConfigFile->init(m_pModuleConfigure->getDetail()) == 0) {
        std::puts("m_pSensorUIConfigFile  init  failed");
        return 0;
    }
    std::puts("SensorFile::init  successs !!!!");
    return 1;
}

ModuleConfigure SensorFile::getModuleConfigure() const {
    return *m_pModuleConfigure;
}

std::string SensorFile::getUISensorConfig_V1() const {
    return m_strUIInitConfig;
}

std::string SensorFile::getUIStyleConfig() const {
    return m_pSensorUIConfigFile->getUIStyleConfigString();
}

std::string SensorFile::getUICommonConfig(int languageId) const {
    return m_pSensorUIConfigFile->getUICommonConfigString(languageId);
}

std::string SensorFile::getUILanguageConfig(int languageId) const {
    return m_pSensorUIConfigFile->getUILanguageConfigString(languageId);
}

int SensorFile::initUIInitConfigString(const std::string& path) {
    std::string text;
    std::string error;
    kvconfig::FileReadInfo info;
    if (kvconfig::readWholeFile(path, text, error, kvconfig::MaxConfigFileBytes, &info) != 0) {
        m_strUIInitConfig = text;
        return 1;
    }
    if (!info.opened) {
        std::puts("ISensorController::initUIInitConfigString error");
        return 0;
    }
    // An oversized file is refused unread, as a read that came up short. The
    // labels are swapped (the count read stands under "fileLength"): log
    // readers know the line this way.
    std::printf("read sensorUIConfig failed,fileLength = %d,readLength = %lld\n",
                static_cast<int>(info.read), info.length);
    return 0;
}

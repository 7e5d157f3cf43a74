// The fitted module's description and its web UI texts, from the module configuration.
#pragma once

#include "platform/ModuleConfigure.h"

#include <memory>
#include <string>

class SensorUIConfigFile;

// The module configuration file ("/hd1/moduleConfig/moduleConfig.xml") lists
// module records; the one taken is the last whose id lies in 1..99 (ids from
// 100 up belong to other units' modules and are never taken). Its parameter
// text names the UI files:
//
//   GUIConfig=FBS8300UI.xml;Prefix=FBS8300
//
// GUIConfig is the UI's initial configuration file in the sensor configuration
// folder ("/hd1/moduleConfig/sensorConfig"); Prefix starts the names of the
// module's style and language files there (see SensorUIConfigFile). The
// record's detail text chooses the style variations.
class SensorFile {
public:
    SensorFile();
    ~SensorFile();
    SensorFile(const SensorFile&) = delete;
    SensorFile& operator=(const SensorFile&) = delete;

    void setModuleConfigFileName(const std::string& path);
    void setSensorConfigFilePath(const std::string& folder);

    // Loads the module record and every UI text. `moduleConfigFileName` is the
    // module configuration file and `sensorConfigFolder` the sensor
    // configuration folder (device paths); an empty string keeps the name set
    // before (the default at first). Nonzero on success; a failure prints
    // which step failed.
    int init(const std::string& moduleConfigFileName, const std::string& sensorConfigFolder);

    // The module record taken by init (an empty record before).
    ModuleConfigure getModuleConfigure() const;
    // The UI's initial configuration text.
    std::string getUISensorConfig_V1() const;
    std::string getUIStyleConfig() const;
    // Per UI language; a language without texts gets language 1's.
    std::string getUICommonConfig(int languageId) const;
    std::string getUILanguageConfig(int languageId) const;

    // Reads the whole file at the device path `path` as the UI's initial
    // configuration text; nonzero on success.
    int initUIInitConfigString(const std::string& path);

private:
    std::string m_strModuleConfigFileName;
    std::string m_strSensorConfigFilePath;
    std::unique_ptr<ModuleConfigure> m_pModuleConfigure;
    std::string m_strUIInitConfig;
    std::unique_ptr<SensorUIConfigFile> m_pSensorUIConfigFile;
};

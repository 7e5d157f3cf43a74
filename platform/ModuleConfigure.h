// One camera-module record of the module configuration file.
#pragma once

#include <string>

// Describes the camera module fitted to this unit: its numeric id (which
// chooses the controller), the detail text (module description, matched by the
// UI merge) and the parameter text (serial set-up, day/night thresholds, UI
// file names). Both texts are "name=value;name=value" lists, read with
// ModuleParameterParser.
class ModuleConfigure {
public:
    ModuleConfigure() = default;
    ModuleConfigure(int moduleId, const std::string& detail, const std::string& parameters);

    int getModuleId() const { return m_nModuleId; }
    std::string getDetail() const { return m_strDetail; }
    std::string getParameters() const { return m_strParameters; }

    void setModuleId(int moduleId) { m_nModuleId = moduleId; }
    void setDetail(const std::string& detail) { m_strDetail = detail; }
    void setParameters(const std::string& parameters) { m_strParameters = parameters; }

private:
    int m_nModuleId = 0;
    std::string m_strDetail;
    std::string m_strParameters;
};

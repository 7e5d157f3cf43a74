// One camera-module record of the module configuration file.
#include "platform/ModuleConfigure.h"

ModuleConfigure::ModuleConfigure(int moduleId, const std::string& detail,
                                 const std::string& parameters)
    : m_nModuleId(moduleId), m_strDetail(detail), m_strParameters(parameters) {}

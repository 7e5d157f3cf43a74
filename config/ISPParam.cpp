// ISP tuning tables.
#include "config/ISPParam.h"

int ISPParam::setParam(const std::string& group, const std::string& unitName, int min, int max,
                       const std::string& name, int value) {
    std::vector<ISPParamUnit>& bands = m_mapGroups[group];
    for (ISPParamUnit& band : bands) {
        std::string bandName;
        band.getName(bandName);
        if (bandName == unitName) {
            band.setParam(name, value);
            return 1;
        }
    }
    bands.emplace_back(unitName, min, max);
    bands.back().setParam(name, value);
    return 1;
}

int ISPParam::getParam(const std::string& group, const std::string& name, int level,
                       int& value) const {
    auto it = m_mapGroups.find(group);
    if (it == m_mapGroups.end())
        return 0;
    for (const ISPParamUnit& band : it->second) {
        int min = 0, max = 0;
        band.getMin(min);
        band.getMax(max);
        if (min <= level && level < max)
            return band.getParam(name, value);
    }
    return 0;
}

void ISPParam::setEnableFlag(const std::string& group, bool enabled) {
    m_mapEnable[group] = enabled;
}

int ISPParam::getEnableFlag(const std::string& group, bool& enabled) const {
    auto it = m_mapEnable.find(group);
    if (it == m_mapEnable.end())
        return 0;
    enabled = it->second;
    return 1;
}

void ISPParam::clear() {
    m_mapGroups.clear();
    m_mapEnable.clear();
}

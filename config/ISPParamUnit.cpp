// ISP tuning band.
#include "config/ISPParamUnit.h"

int ISPParamUnit::setName(const std::string& name) {
    m_strName = name;
    return 1;
}

int ISPParamUnit::getName(std::string& name) const {
    name = m_strName;
    return 1;
}

int ISPParamUnit::setMin(int min) {
    m_nMin = min;
    return 1;
}

int ISPParamUnit::getMin(int& min) const {
    min = m_nMin;
    return 1;
}

int ISPParamUnit::setMax(int max) {
    m_nMax = max;
    return 1;
}

int ISPParamUnit::getMax(int& max) const {
    max = m_nMax;
    return 1;
}

void ISPParamUnit::setParam(const std::string& name, int value) {
    m_mapParams[name] = value;
}

int ISPParamUnit::getParam(const std::string& name, int& value) const {
    auto it = m_mapParams.find(name);
    if (it == m_mapParams.end())
        return 0;
    value = it->second;
    return 1;
}

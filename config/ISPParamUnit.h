// One band of operating levels of an ISP tuning group, with its values.
#pragma once

#include <map>
#include <string>

// The band covers min <= level < max (half-open: max belongs to the next band).
class ISPParamUnit {
public:
    ISPParamUnit() = default;
    ISPParamUnit(const std::string& name, int min, int max)
        : m_strName(name), m_nMin(min), m_nMax(max) {}

    int setName(const std::string& name);
    int getName(std::string& name) const;
    int setMin(int min);
    int getMin(int& min) const;
    int setMax(int max);
    int getMax(int& max) const;

    // Inserts or overwrites a named value.
    void setParam(const std::string& name, int value);
    // 1 and the value when the band has the name, else 0.
    int getParam(const std::string& name, int& value) const;

private:
    std::string m_strName;
    int m_nMin = 0;
    int m_nMax = 0;
    std::map<std::string, int> m_mapParams;
};

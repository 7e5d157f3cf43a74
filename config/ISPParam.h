// ISP tuning tables: per group, bands of levels with named values.
#pragma once

#include "config/ISPParamUnit.h"

#include <map>
#include <string>
#include <vector>

// A group (for example edge enhancement) holds bands in the order they were
// first defined; a lookup by level takes the first band containing the level.
class ISPParam {
public:
    // Sets a value in the band `unitName` of `group`, creating the group or
    // the band as needed. A band keeps the limits of its first definition.
    int setParam(const std::string& group, const std::string& unitName, int min, int max,
                 const std::string& name, int value);
    // The value of `name` in the first band of `group` with min <= level < max;
    // 0 when there is no group, no such band, or that band lacks the name
    // (later bands are not tried).
    int getParam(const std::string& group, const std::string& name, int level, int& value) const;

    void setEnableFlag(const std::string& group, bool enabled);
    int getEnableFlag(const std::string& group, bool& enabled) const;

    void clear();

private:
    std::map<std::string, std::vector<ISPParamUnit>> m_mapGroups;
    std::map<std::string, bool> m_mapEnable;
};

// The protocol families the benchmarks run, one driver class each, and what they set and ask.
#pragma once

#include "controller/ISensorController.h"

#include <vector>

namespace kvbench {

// One id and the two values a changed set moves it between.
struct Setting {
    int id;
    int a;
    int b;
};

// A family's representative: its driver class ("" = the sample unit's zoom
// dome, module 82, through the manager), an acknowledged setting and an
// inquiry of the module for the single-exchange figures (nullptr: the host
// has none to make), and the settings
// of its changed set (empty: every common id of the module's id table,
// moved between its lowest and highest value).
struct Family {
    const char* name;
    const char* driverClass;
    Setting command;
    int (*inquiry)(ISensorController& controller);
    std::vector<Setting> changedSet;
};

const std::vector<Family>& families();
// The changed set of `family`, as the two parameter texts ("(id,value)...") it
// alternates between, and the number of ids in it.
void changedTexts(const Family& family, std::string& a, std::string& b, int& ids);

} // namespace kvbench

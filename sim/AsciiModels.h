// Profiles of the simulated ASCII register modules: the power-up register map per model.
#pragma once

#include <string>
#include <utility>
#include <vector>

// One simulated register module as data: its name and the registers it
// answers from power-up (address, value). The simulator (AsciiSimulator) is
// the same for every model; a register not listed reads 0 until written.
struct AsciiModel {
    const char* name; // as camsim's --model takes it
    std::vector<std::pair<int, int>> registers;
};

// The model called `name`, or nullptr.
const AsciiModel* findAsciiModel(const std::string& name);
// The model a simulator runs unless told otherwise ("hitach").
const AsciiModel& defaultAsciiModel();
// Every model's name, in table order ("hitach|compat|cmd7200|sc110n" when joined).
std::string asciiModelNames(const char* separator);

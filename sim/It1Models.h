// Profiles of the simulated IT1 register modules: the power-up register map per model.
#pragma once

#include <string>
#include <utility>
#include <vector>

// One simulated IT1 module as data: its name, whether it also takes the lens
// preset frames of the zoom modules, and the registers it has with their
// power-up values (address, value). An address not listed is unknown to the
// module and refused.
struct It1Model {
    const char* name; // as camsim's --model takes it
    bool lensFrames;  // 81 01 04 B1 p FF on the same line
    std::vector<std::pair<int, int>> registers;
};

// The model called `name`, or nullptr.
const It1Model* findIt1Model(const std::string& name);
// The model a simulator runs unless told otherwise ("it1").
const It1Model& defaultIt1Model();
// Every model's name, in table order ("it1|zoom" when joined).
std::string it1ModelNames(const char* separator);

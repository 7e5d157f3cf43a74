// Simulated Effio camera module answering on a pseudo-terminal.
#include "sim/EffioSimulator.h"

#include <memory>

EffioSimulator::EffioSimulator() : BinarySimulator(std::make_unique<EffioFamily>()) {}

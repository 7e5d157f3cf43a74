// Simulated IT1 register module answering on a pseudo-terminal.
#include "sim/It1Simulator.h"

#include <memory>

It1Simulator::It1Simulator(const It1Model* model)
    : BinarySimulator(std::make_unique<It1Family>(model != nullptr ? *model : defaultIt1Model())),
      m_family(static_cast<It1Family&>(family())) {}

std::vector<int> It1Simulator::lensPresets() const {
    const auto lock = lockState();
    return m_family.lensPresets();
}

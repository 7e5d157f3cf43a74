// Simulated Seawolf register module answering on a pseudo-terminal.
#include "sim/SeawolfSimulator.h"

#include <memory>

SeawolfSimulator::SeawolfSimulator()
    : BinarySimulator(std::make_unique<SeawolfFamily>()),
      m_family(static_cast<SeawolfFamily&>(family())) {}

int SeawolfSimulator::saves() const {
    const auto lock = lockState();
    return m_family.saves();
}

int SeawolfSimulator::restarts() const {
    const auto lock = lockState();
    return m_family.restarts();
}

int SeawolfSimulator::storedValue(int address) const {
    const auto lock = lockState();
    return m_family.storedValue(address);
}

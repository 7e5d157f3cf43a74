// Simulated Seawolf register module answering on a pseudo-terminal.
#pragma once

#include "sim/BinarySimulator.h"
#include "sim/SeawolfFamily.h"

// The virtual Seawolf module (SeawolfFamily: frames, answers, store) on the
// shared binary register line (BinarySimulator: pty, timing, faults, register
// store, frame record).
class SeawolfSimulator : public BinarySimulator {
public:
    SeawolfSimulator();

    // The light level the module measures is setLightValue: 0 dark .. 255
    // bright (page 4 register 0x3E, read only on the line).
    void setSoftVersion(int value) { setRegisterValue(SeawolfFamily::kVersionRegister, value); }
    // How many times the module's store was written, and the module restarted.
    int saves() const;
    int restarts() const;
    int storedValue(int address) const;

private:
    SeawolfFamily& m_family; // owned by the base
};

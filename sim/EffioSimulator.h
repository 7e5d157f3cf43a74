// Simulated Effio camera module answering on a pseudo-terminal.
#pragma once

#include "sim/BinarySimulator.h"
#include "sim/EffioFamily.h"

// The virtual Effio module (EffioFamily: frames, answers, registers) on the
// shared binary register line (BinarySimulator: pty, timing, faults, register
// store, frame record). Its settable state is the register store
// (registerValue / setRegisterValue, keyed category << 8 | byte number); the
// day/night level is the host's GPIO, not the module's line.
class EffioSimulator : public BinarySimulator {
public:
    EffioSimulator();

    // The picture register 02/8D: 0 colour, 1 black and white.
    int picture() const { return registerValue(0x028D); }
};

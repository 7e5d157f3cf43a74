// Simulated ITN register module answering on a pseudo-terminal.
#pragma once

#include "sim/BinarySimulator.h"
#include "sim/ItnFamily.h"

#include <memory>

// The virtual ITN module (ItnFamily: frames, answers, registers) on the
// shared binary register line (BinarySimulator: pty, timing, faults, register
// store, frame record). Its day/night output goes to a GPIO of the host, not
// over the line: the host side sets that level itself.
class ItnSimulator : public BinarySimulator {
public:
    ItnSimulator() : BinarySimulator(std::make_unique<ItnFamily>()) {}

    // The module's day/night register: 0x34 day, 0x33 night.
    int dayNightValue() const { return registerValue(ItnFamily::kDayNightRegister); }
};

// Simulated ASCII register block module answering on a pseudo-terminal.
#pragma once

#include "sim/AsciiModels.h"
#include "sim/SimulatedLine.h"

#include <cstdint>
#include <string>

// The virtual register module of the ASCII family, for tests and by-hand
// trials. A client opens slavePath() as its serial port and sends bare frames
// (":", command letter, 4 hex digits of register, 2 or 4 of data; no
// terminator). Since nothing ends a frame, one ends when the next ":" comes,
// at ten characters, or when the line falls quiet. The module echoes a write
// ("W" one byte, "w" two bytes) whole and stores its value; the 9-character
// frame ":WFCBBAA9" is echoed as it came. A read ("R") is answered with the
// request whose placeholder carries the register's value, in as many digits as
// the placeholder has. A special read ("r", the initialisation-complete
// notice) is accepted without an answer. The zoom modules' binary privacy-mask
// commands (A1 <command> <argument> FF) are echoed. Malformed frames go
// unanswered.
// Every frame received is recorded; the fault switches (shared with the VISCA
// simulator: silence, late, wrong echo, cut short, garbage) make the module
// misbehave like one on a noisy line. Times are device seconds of the platform
// clock, so scaled tests stay fast. What differs between models is their
// power-up register map (AsciiModels). The line itself (pty, timing, record,
// shared fault switches) is SimulatedLine's.
class AsciiSimulator : public SimulatedLine<std::string> {
public:
    // model nullptr: defaultAsciiModel().
    explicit AsciiSimulator(const AsciiModel* model = nullptr);
    ~AsciiSimulator();

    const AsciiModel& model() const { return m_model; }

    // The answer names another register: the address's last digit becomes
    // 0 (1 when it was 0).
    void setWrongEcho(int frames = kForever);

private:
    void feed(uint8_t byte, double now);
    void bendOwn(std::string& bytes);
    void endFrame(double now);
    void handleFrame(const std::string& frame, double now);

    const AsciiModel& m_model;
};

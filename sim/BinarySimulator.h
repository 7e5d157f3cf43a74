// Simulated binary register module answering on a pseudo-terminal: what every such family shares.
#pragma once

#include "sim/BinaryFamily.h"
#include "sim/SimulatedLine.h"

#include <cstdint>
#include <memory>

// The line side of the binary register modules, for tests and by-hand trials.
// A client opens slavePath() as its serial port. The reader thread cuts the
// bytes into frames as the family (BinaryFamily) tells, queues the family's
// answers and sends them when due. Bytes that begin no frame get the family's
// refusal once, and everything after them is dropped until the line falls
// quiet, as a module does to find the next frame's start after noise; a frame
// cut short by a quiet line is dropped unanswered. Every frame received is
// recorded (a run of garbage as one). The fault switches make the module
// misbehave like one on a noisy line: silence, late, cut short, garbage in
// front, and the two of the binary families, a checksum off by one and a
// count byte of FF. Times are device seconds of the platform clock, so scaled
// tests stay fast; only the quiet that ends a frame is real time. The line
// itself (pty, timing, record, shared fault switches) is SimulatedLine's.
class BinarySimulator : public SimulatedLine<BinaryFamily::Bytes> {
public:
    using Bytes = BinaryFamily::Bytes;

    explicit BinarySimulator(std::unique_ptr<BinaryFamily> family, int baud = 9600);
    virtual ~BinarySimulator();

    // Sets the light the module measures; false when it measures none, or
    // the value is beyond its register.
    bool setLightValue(int value);

    // Fault switches of the binary families; frames as for the others.
    void setWrongChecksum(int frames = kForever);
    void setOverlongCount(int frames = kForever);

protected:
    BinaryFamily& family() { return *m_family; }
    const BinaryFamily& family() const { return *m_family; }

private:
    void feed(uint8_t byte, double now);
    void endQuiet();
    void bendOwn(Bytes& bytes);

    std::unique_ptr<BinaryFamily> m_family;
    bool m_bDropping = false; // m_partial is garbage: drop until the line is quiet
};

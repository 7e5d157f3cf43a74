// Simulated binary register module answering on a pseudo-terminal: what every such family shares.
#pragma once

#include "sim/BinaryFamily.h"
#include "sim/PtyEndpoint.h"
#include "sim/ViscaFaults.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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
// tests stay fast; only the quiet that ends a frame is real time.
class BinarySimulator {
public:
    using Bytes = BinaryFamily::Bytes;
    static constexpr int kForever = ViscaFaults::kForever;

    explicit BinarySimulator(std::unique_ptr<BinaryFamily> family, int baud = 9600);
    ~BinarySimulator();
    BinarySimulator(const BinarySimulator&) = delete;
    BinarySimulator& operator=(const BinarySimulator&) = delete;

    // False when the pseudo-terminal or the thread could not be made.
    bool isRunning() const { return m_bRunning; }
    std::string slavePath() const { return m_pty.slavePath(); }

    // Every frame received, oldest first, as the bytes that came.
    std::vector<Bytes> frames() const;
    void clearFrames();
    // Waits (real time, bounded) until at least n frames were recorded.
    bool waitForFrames(size_t n, double realSeconds) const;

    // Register values (0 for an address the module does not have; setting
    // one gives the module that register).
    int registerValue(int address) const;
    void setRegisterValue(int address, int value);

    // Fault switches; frames = how many answers, kForever = until cleared.
    void setSilence(int frames = kForever);
    void setLateAnswer(double deviceSeconds, int frames = kForever);
    void setCutShort(int bytes, int frames = kForever);
    void setGarbage(const Bytes& bytes, int frames = kForever);
    void setWrongChecksum(int frames = kForever);
    void setOverlongCount(int frames = kForever);
    void clearFaults();

protected:
    // For a family's own accessors: its state is guarded by this lock.
    std::unique_lock<std::mutex> lockState() const { return std::unique_lock<std::mutex>(m_mutex); }
    BinaryFamily& family() { return *m_family; }
    const BinaryFamily& family() const { return *m_family; }

private:
    struct Chunk {
        double due; // device monotonic seconds
        Bytes bytes;
    };

    void run();
    void feed(uint8_t byte, double now);
    void endQuiet();
    void record(Bytes frame);
    void answer(Bytes bytes, double now);

    std::unique_ptr<BinaryFamily> m_family;
    PtyEndpoint m_pty;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_cond;
    BinaryFamily::Registers m_registers;
    ViscaFaults m_faults;
    std::vector<Bytes> m_vecFrames;
    std::deque<Chunk> m_queue;
    Bytes m_partial;           // the frame coming in, or the garbage being dropped
    bool m_bDropping = false;  // m_partial is garbage: drop until the line is quiet
    double m_dPartialAt = 0.0; // real seconds of m_partial's last byte
    std::atomic<bool> m_bStop{false};
    bool m_bRunning = false;
    std::thread m_thread;
};

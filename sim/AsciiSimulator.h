// Simulated ASCII register block module answering on a pseudo-terminal.
#pragma once

#include "sim/AsciiModels.h"
#include "sim/PtyEndpoint.h"
#include "sim/ViscaFaults.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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
// power-up register map (AsciiModels).
class AsciiSimulator {
public:
    static constexpr int kForever = ViscaFaults::kForever;

    // model nullptr: defaultAsciiModel().
    explicit AsciiSimulator(const AsciiModel* model = nullptr);
    ~AsciiSimulator();
    AsciiSimulator(const AsciiSimulator&) = delete;
    AsciiSimulator& operator=(const AsciiSimulator&) = delete;

    // False when the pseudo-terminal or the thread could not be made.
    bool isRunning() const { return m_bRunning; }
    std::string slavePath() const { return m_pty.slavePath(); }
    const AsciiModel& model() const { return m_model; }

    // Every frame received, oldest first, as the characters that came.
    std::vector<std::string> frames() const;
    void clearFrames();
    // Waits (real time, bounded) until at least n frames were recorded.
    bool waitForFrames(size_t n, double realSeconds) const;

    // Register values (0 for a register never set).
    int registerValue(int address) const;
    void setRegisterValue(int address, int value);

    // Fault switches; frames = how many answers, kForever = until cleared.
    void setSilence(int frames = kForever);
    void setLateAnswer(double deviceSeconds, int frames = kForever);
    // The answer names another register: the address's last digit becomes
    // 0 (1 when it was 0).
    void setWrongEcho(int frames = kForever);
    void setCutShort(int bytes, int frames = kForever);
    void setGarbage(const std::string& bytes, int frames = kForever);
    void clearFaults();

private:
    struct Chunk {
        double due; // device monotonic seconds
        std::string bytes;
    };

    void run();
    void feed(char c, double now);
    void endFrame(double now);
    void handleFrame(const std::string& frame, double now);
    void answer(std::string bytes, double now);

    const AsciiModel& m_model;
    PtyEndpoint m_pty;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_cond;
    std::map<int, int> m_registers;
    ViscaFaults m_faults;
    std::vector<std::string> m_vecFrames;
    std::deque<Chunk> m_queue;
    std::string m_partial;
    double m_dPartialAt = 0.0; // real seconds of the partial frame's last byte
    std::atomic<bool> m_bStop{false};
    bool m_bRunning = false;
    std::thread m_thread;
};

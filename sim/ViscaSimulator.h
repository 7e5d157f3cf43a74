// Simulated VISCA zoom block camera answering on a pseudo-terminal.
#pragma once

#include "sim/PtyEndpoint.h"
#include "sim/ViscaFaults.h"
#include "sim/ViscaModels.h"
#include "sim/ViscaRegisters.h"
#include "sim/WirePacing.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// The virtual VISCA block camera used by the tests, the demo and the control
// tool's simulation mode. A client opens slavePath() as its serial port. The
// module acknowledges commands (90 41 FF or 90 42 FF, alternately) and
// completes them (90 51/52 FF), answers inquiries from its registers
// (90 50 data FF), answers the vendor version frame, goes silent for its
// restart time after its restart frame (vendor or VISCA), and echoes mask
// frames (A1 .. FF). A module with an IR-cut vendor frame acknowledges it
// like a command and reports the filter in its day/night register; in
// automatic the filter follows the scene light a test sets. Its serial speed
// is an index register that takes effect at a restart; while the client's
// line speed differs from it the module neither understands nor answers.
// Every frame received is recorded, and fault switches make it misbehave in
// the ways a real module on a noisy line does. Times are device seconds of
// the platform clock, so scaled tests stay fast. What differs between module
// models (FBS8300, CMD7400, CMD8300) is data of the model's profile
// (ViscaModels).
class ViscaSimulator {
public:
    using Bytes = std::vector<uint8_t>;
    static constexpr int kForever = ViscaFaults::kForever;

    struct Options {
        int baudIndex = 0; // 0 = 9600, 1 = 19200, 2 = 38400, 3 = 115200
        // The module model (nullptr: defaultViscaModel()).
        const ViscaModel* model = nullptr;
        int videoFormat = -1;         // value of register 24 72 (-1: the model's)
        double restartSeconds = 20.0; // silence after a restart frame
        bool pacing = false;          // play the wire at the module's speed
    };

    ViscaSimulator();
    explicit ViscaSimulator(const Options& options);
    ~ViscaSimulator();
    ViscaSimulator(const ViscaSimulator&) = delete;
    ViscaSimulator& operator=(const ViscaSimulator&) = delete;

    // False when the pseudo-terminal or the thread could not be made.
    bool isRunning() const { return m_bRunning; }
    std::string slavePath() const { return m_pty.slavePath(); }

    // Every complete frame received, oldest first.
    std::vector<Bytes> frames() const;
    void clearFrames();
    // Waits (real time, bounded) until at least n frames were recorded.
    bool waitForFrames(size_t n, double realSeconds) const;

    // Registers (key as in ViscaRegisters, e.g. {0x04, 0xA1}).
    Bytes registerValue(const Bytes& key) const;
    void setRegisterValue(const Bytes& key, const Bytes& data);
    int zoomPosition() const;
    void setZoomPosition(int position);
    int focusPosition() const;
    void setFocusPosition(int position);
    int videoFormat() const;

    // Serial speed: the active index, and the client's line speed (learnt
    // from the pty unless a test fixes it; 0 = learn again).
    int moduleBaudIndex() const;
    void setModuleBaudIndex(int index);
    int lineBaud() const;
    void setHostBaud(int baud);
    static int baudOfIndex(int index);

    const ViscaModel& model() const { return m_model; }
    bool isRestarting() const;
    int restartCount() const;
    void setVersion(int major, int minor, int patch);
    // Paced, a frame is taken only when the wire at the module's speed has
    // carried it, and answers go out byte by byte at that speed.
    void setPacing(bool on);
    // Bytes that crossed the line each way since the last reset.
    std::uint64_t bytesIn() const;
    std::uint64_t bytesOut() const;
    void resetByteCounts();
    // Processor time the simulator's reader has used (seconds).
    double readerCpuSeconds() const;
    // Scene light for an IR-cut filter in automatic (default: day).
    void setSceneDark(bool dark);

    // Fault switches; frames = how many frames, kForever = until cleared.
    void setSilence(int frames = kForever);
    void setLateAnswer(double deviceSeconds, int frames = kForever);
    void setErrorReply(int socket, int code, int frames = kForever);
    // Commands (81 01 ..) are refused as not executable; inquiries are answered.
    void setCommandRefusal(int frames = kForever);
    void setCompletionFirst(int frames = kForever);
    void setWrongEcho(int frames = kForever);
    void setCutShort(int bytes, int frames = kForever);
    void setGarbage(const Bytes& bytes, int frames = kForever);
    void setDuplicate(int frames = kForever);
    void setHeldAnswer(int frames = kForever);
    void clearFaults();

private:
    struct Chunk {
        double due; // device monotonic seconds
        Bytes bytes;
    };

    void run();
    void feed(uint8_t byte, double now);
    void handleFrame(const Bytes& frame, double now);
    void handleVisca(const Bytes& frame, double now);
    void handleVendor(const Bytes& frame, double now);
    void handleEcho(const Bytes& frame, double now);
    void handleIrCut(uint8_t mode, double now);
    bool takeErrorReply(double now);
    void acknowledge(double now);
    void beginRestart(double now);
    bool writesDayNight(const Bytes& body) const;
    void updateFilter();
    void answer(Bytes bytes, double now);
    bool lineMatches() const;
    void checkRestart(double now);
    std::vector<Bytes> takeDue(double now);

    const ViscaModel& m_model;
    PtyEndpoint m_pty;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_cond;
    ViscaRegisters m_registers;
    ViscaFaults m_faults;
    std::vector<Bytes> m_vecFrames;
    std::deque<Chunk> m_queue;
    // Answers held back until the next frame arrives (fault switch Held).
    Bytes m_held;
    Bytes m_partial;
    double m_dPartialAt = 0.0;
    double m_dRestartSeconds;
    double m_dRestartUntil = -1.0;
    int m_nRestarts = 0;
    int m_nHostBaud = 0;
    int m_nSocket = 1;
    uint8_t m_version[3] = {1, 2, 3};
    bool m_bIrCutAuto = true;
    bool m_bSceneDark = false;
    bool m_bPacing;
    WirePacing m_wire;
    std::atomic<bool> m_bStop{false};
    bool m_bRunning = false;
    std::thread m_thread;
    pthread_t m_reader{};
};

// The line side every simulated register module shares: pty, reader thread, answer queue, faults.
#pragma once

#include "sim/PtyEndpoint.h"
#include "sim/ViscaFaults.h"
#include "sim/WirePacing.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// One simulated module on a pseudo-terminal, whatever its framing. The reader
// thread feeds every byte that comes to the module (feed()), tells it when the
// line has been quiet for a while with a frame pending (endQuiet()), and sends
// queued answers when they are due. The module's code records the frames it
// takes, queues its answers through answer() and keeps its registers here; it
// runs under this class's lock, as do the test-side accessors. The reader
// calls the module through plain functions, not virtual ones, so that a module
// class going away never races the reader on its vtable. Frame is the
// frame as the family thinks of it: std::string for the ASCII modules, bytes
// for the binary ones.
// A module class starts the line in its constructor (start()) and stops it
// first thing in its destructor (stop()), before its own members go.
template <class Frame>
class SimulatedLine {
public:
    using Registers = std::map<int, int>;
    static constexpr int kForever = ViscaFaults::kForever;

    ~SimulatedLine();
    SimulatedLine(const SimulatedLine&) = delete;
    SimulatedLine& operator=(const SimulatedLine&) = delete;

    // False when the pseudo-terminal or the thread could not be made.
    bool isRunning() const { return m_bRunning; }
    std::string slavePath() const { return m_pty.slavePath(); }

    // Every frame received, oldest first, as the bytes that came.
    std::vector<Frame> frames() const;
    void clearFrames();
    // Waits (real time, bounded) until at least n frames were recorded.
    bool waitForFrames(size_t n, double realSeconds) const;

    // Register values (0 for a register never set, or one the module does not
    // have; setting one gives the module that register).
    int registerValue(int address) const;
    void setRegisterValue(int address, int value);

    // Fault switches; frames = how many answers, kForever = until cleared.
    void setSilence(int frames = kForever);
    void setLateAnswer(double deviceSeconds, int frames = kForever);
    void setCutShort(int bytes, int frames = kForever);
    void setGarbage(const Frame& bytes, int frames = kForever);
    void clearFaults();

    // Plays the line at `baud` (0: as fast as the pty goes), and the bytes
    // that crossed it each way since the last reset.
    void setPacing(int baud);
    std::uint64_t bytesIn() const;
    std::uint64_t bytesOut() const;
    void resetByteCounts();
    // Processor time the line's reader has used (seconds).
    double readerCpuSeconds() const;

protected:
    // quietRealSeconds: how long without a byte ends a pending frame.
    explicit SimulatedLine(double quietRealSeconds);

    // What the module does with the line, called under the lock from the
    // reader thread: take a byte (`now` is device monotonic seconds), end the
    // pending frame when the line fell quiet with m_partial not empty, and
    // apply its own fault switches to a non-empty answer before the shared
    // ones (cut short, garbage, late; bend may stay empty).
    struct Module {
        std::function<void(uint8_t byte, double now)> feed;
        std::function<void(double now)> endQuiet;
        std::function<void(Frame& bytes)> bend;
    };

    // Opens the pty and starts the reader; false when either fails.
    bool start(int baud, Module module);
    void stop();

    // Adds a byte to the pending frame and times the quiet from it.
    void extend(uint8_t byte);
    void record(Frame frame);
    // Queues an answer after the fault switches have bent it.
    void answer(Frame bytes, double now);
    void setFault(ViscaFaults::Kind kind, int frames);
    // For a family's own accessors: its state is guarded by this lock.
    std::unique_lock<std::mutex> lockState() const { return std::unique_lock<std::mutex>(m_mutex); }

    Registers m_registers;
    ViscaFaults m_faults;
    Frame m_partial; // the frame coming in

private:
    struct Chunk {
        double due; // device monotonic seconds
        Frame bytes;
    };

    void run();
    // Real seconds without a byte that end a pending frame.
    double quietSeconds() const;

    const double m_dQuietRealSeconds;
    Module m_module;
    PtyEndpoint m_pty;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_cond;
    std::vector<Frame> m_vecFrames;
    std::deque<Chunk> m_queue;
    WirePacing m_wire;
    double m_dPartialAt = 0.0; // real seconds of m_partial's last byte (paced: when it is in)
    std::atomic<bool> m_bStop{false};
    bool m_bRunning = false;
    std::thread m_thread;
    pthread_t m_reader{};
};

// A simulated unit for the benchmarks: one controller, run as sensorctl runs it, on a simulator.
#pragma once

#include "tools/Session.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// The controller of a driver class (or, with an empty class name, of the
// sample unit's zoom dome through the manager, in a copy of the sample
// unit's files) started at real time on its
// module's simulator, the line at `baud`. Paced, the simulator plays the
// wire at that speed, so that a call's wall time can be set against the wire
// time of the bytes it moved; unpaced, the pty answers at once and what is
// left is the library's own time.
class BenchUnit {
public:
    BenchUnit(const std::string& driverClass, int baud, bool paced);
    ~BenchUnit();
    BenchUnit(const BenchUnit&) = delete;
    BenchUnit& operator=(const BenchUnit&) = delete;

    // Root, simulator and module record, then the controller's start-up;
    // false with `error`.
    bool prepare(std::string& error);
    bool start(std::string& error);
    // Both, for a benchmark: false after marking `state` skipped with the reason.
    bool startFor(benchmark::State& state);
    void release() { m_session.release(); }

    ISensorController& controller();
    Session& session() { return m_session; }
    const std::string& devicePath() const { return m_strDevice; }
    int baud() const { return m_nBaud; }

    // The simulator's side of the line: bytes both ways since the last reset,
    // the seconds those bytes take on the wire, and its reader's processor time.
    std::uint64_t wireBytes() const { return bytesIn() + bytesOut(); }
    std::uint64_t bytesIn() const;
    std::uint64_t bytesOut() const;
    void resetWire();
    // The frames the module received since the last clear.
    std::vector<std::vector<std::uint8_t>> frames() const;
    void clearFrames();
    double wireSeconds(std::uint64_t bytes) const {
        return static_cast<double>(bytes) * 10.0 / m_nBaud;
    }
    double simulatorCpuSeconds() const;
    // Runs `call` (one exchange with the module) and, when the module saw
    // exactly one frame and `request` is still empty, keeps that frame and
    // the count of bytes the module sent back. Returns what `call` returned.
    int capture(const std::function<int()>& call, std::vector<std::uint8_t>& request,
                std::uint64_t& answerBytes);
    // Every answer `seconds` late (0: on time), or none at all.
    void setLateAnswer(double seconds);
    void setSilence(bool silent);

private:
    struct Line {
        std::function<std::uint64_t()> in;
        std::function<std::uint64_t()> out;
        std::function<void()> reset;
        std::function<std::vector<std::vector<std::uint8_t>>()> frames;
        std::function<void()> clearFrames;
        std::function<double()> cpu;
        std::function<void(double)> late;
        std::function<void(bool)> silence;
    };

    std::string m_strRoot; // the sample unit's copy, removed at the end ("" none)
    Session m_session;
    Line m_line;
    std::string m_strDevice;
    int m_nBaud;
    bool m_bPaced;
};

// The median of `values` (0 when empty).
double median(std::vector<double> values);

// `request` written and `answerBytes` read on a fresh simulator of the
// class's module, with no controller in between: the median real time of a
// bare exchange on that line, the floor a library cannot go below; -1 when
// it could not be made.
double bareExchange(const std::string& driverClass, int baud, bool paced,
                    const std::vector<std::uint8_t>& request, std::uint64_t answerBytes);

// Processor time of the whole process so far (user and system, seconds).
double processCpuSeconds();
// Real seconds on a steady clock.
double realSeconds();

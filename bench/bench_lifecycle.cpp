// The zoom dome's controller over its life: start-up, idling by day and by night, release.
#include "BenchUnit.h"
#include "Goals.h"

#include "platform/PlatformClock.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace kvbench {

namespace {

constexpr int kNightMode = 4; // id 22: night

void sleepReal(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// Start-up to ready on a line at 9600 baud played at its speed: the waits
// the start-up asked for, the wire time of every byte (partly crossing the
// line during those waits: the module answers while the library pauses), and
// the processor time of the library meanwhile.
void StartUp(benchmark::State& state) {
    double wall = 0.0;
    double wire = 0.0;
    double waits = 0.0;
    double cpu = 0.0;
    std::uint64_t bytes = 0;
    int n = 0;
    for (auto _ : state) {
        BenchUnit unit("", 9600, true);
        std::string error;
        if (!unit.prepare(error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        unit.resetWire();
        const double slept = PlatformClock::threadSleptSeconds();
        const double cpu0 = processCpuSeconds() - unit.simulatorCpuSeconds();
        const double start = realSeconds();
        if (!unit.start(error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        wall += realSeconds() - start;
        cpu += processCpuSeconds() - unit.simulatorCpuSeconds() - cpu0;
        waits += PlatformClock::threadSleptSeconds() - slept;
        bytes += unit.wireBytes();
        wire += unit.wireSeconds(unit.wireBytes());
        ++n;
    }
    state.counters["wall_ms"] = wall / n * 1e3;
    state.counters["waits_ms"] = waits / n * 1e3;
    state.counters["wire_ms"] = wire / n * 1e3;
    state.counters["cpu_ms"] = cpu / n * 1e3;
    state.counters["bytes"] = static_cast<double>(bytes) / n;
    recordInfo("5", "zoom dome start-up to ready at 9600, real time", wall / n * 1e3, "ms");
    recordInfo("5", "  waits the start-up asked for", waits / n * 1e3, "ms");
    recordInfo("5", "  the rest: exchanges and work between the waits", (wall - waits) / n * 1e3,
               "ms");
    recordInfo("5", "  wire time of the " + std::to_string(bytes / n) + " bytes (some in waits)",
               wire / n * 1e3, "ms");
    recordInfo("5", "  processor time of the library", cpu / n * 1e3, "ms");
}
BENCHMARK(StartUp)->Iterations(3)->Unit(benchmark::kMillisecond);

// Releasing a running controller (its worker, day/night and IR threads in
// their passes), the module answering or silent: the longest of the runs.
void Release(benchmark::State& state, bool silent) {
    double longest = 0.0;
    for (auto _ : state) {
        BenchUnit unit("", 9600, false);
        if (!unit.startFor(state))
            return;
        // Into the threads' passes; silent, their exchanges wait for answers.
        sleepReal(1.2);
        unit.setSilence(silent);
        sleepReal(0.3);
        const double start = realSeconds();
        unit.release();
        longest = std::max(longest, realSeconds() - start);
    }
    state.counters["longest_ms"] = longest * 1e3;
    recordGoal("4",
               std::string("release a running zoom dome, module ") +
                   (silent ? "silent" : "answering") + " (longest)",
               longest * 1e3, "ms", 20.0);
}
BENCHMARK_CAPTURE(Release, answering, false)->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Release, silent, true)->Iterations(5)->Unit(benchmark::kMillisecond);

// A running zoom dome left alone for 10 s: the processor time of the
// process, less the simulator's, as a share of one core.
void Idle(benchmark::State& state, bool night) {
    constexpr double kSeconds = 10.0;
    BenchUnit unit("", 9600, false);
    if (!unit.startFor(state))
        return;
    if (night && unit.controller().setParameter(22, kNightMode) != 1) {
        state.SkipWithError("the controller did not take night mode");
        return;
    }
    sleepReal(2.0); // the switch and the first passes settle
    double share = 0.0;
    for (auto _ : state) {
        const double cpu0 = processCpuSeconds() - unit.simulatorCpuSeconds();
        const double start = realSeconds();
        sleepReal(kSeconds);
        const double cpu = processCpuSeconds() - unit.simulatorCpuSeconds() - cpu0;
        share = cpu / (realSeconds() - start) * 100.0;
    }
    state.counters["core_percent"] = share;
    recordGoal("6", std::string("idle zoom dome over 10 s, ") + (night ? "night" : "day"), share,
               "%", 0.05);
}
BENCHMARK_CAPTURE(Idle, day, false)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(Idle, night, true)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

} // namespace kvbench

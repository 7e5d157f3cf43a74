// Applying parameter sets: an unchanged set costs no wire and little time; a changed set costs
// little more than its wire time and the module's pauses.
#include "BenchUnit.h"
#include "Families.h"
#include "Goals.h"

#include "platform/PlatformClock.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace kvbench {

namespace {

// Bytes of the commands (81 01 ..) the simulated zoom dome received: the
// worker's periodic inquiries are not the set's.
std::uint64_t commandBytes(const std::vector<ViscaSimulator::Bytes>& frames) {
    std::uint64_t bytes = 0;
    for (const ViscaSimulator::Bytes& f : frames) {
        if (f.size() > 2 && f[0] == 0x81 && f[1] == 0x01)
            bytes += f.size();
    }
    return bytes;
}

int idCount(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '('));
}

// Re-applying the values in force: the controller must see that nothing
// changed, send nothing and return at once.
void UnchangedSet(benchmark::State& state) {
    BenchUnit unit("", 9600, false);
    if (!unit.startFor(state))
        return;
    ISensorController& controller = unit.controller();
    std::string all;
    controller.getAllParameters(all);
    ViscaSimulator& sim = *unit.session().simulator();
    sim.clearFrames();
    const double start = realSeconds();
    for (auto _ : state)
        benchmark::DoNotOptimize(controller.setParameters(all));
    const double perCall = (realSeconds() - start) / static_cast<double>(state.iterations());
    const double bytes = static_cast<double>(commandBytes(sim.frames()));
    state.counters["ids"] = idCount(all);
    state.counters["us_per_call"] = perCall * 1e6;
    state.counters["command_bytes"] = bytes;
    const std::string what = "unchanged " + std::to_string(idCount(all)) + "-id set";
    recordGoal("1", what + ": time per call", perCall * 1e6, "us", 20.0);
    recordGoal("1", what + ": bytes on the wire (all calls)", bytes, "bytes", 0.0);
}
BENCHMARK(UnchangedSet)->Iterations(20000)->Unit(benchmark::kMicrosecond);

// A changed set at the line's speed, set against the wire time of every
// byte that crossed the line meanwhile, the pauses the protocol mandates (the
// waits the calling thread was asked for) and the line's own latency per
// frame: what a bare exchange on the same paced line takes beyond its wire
// time (the pty's and the simulator's wake-ups, which a UART does not have).
void ChangedSet(benchmark::State& state, const Family* family, int baud) {
    BenchUnit unit(family->driverClass, baud, true);
    if (!unit.startFor(state))
        return;
    ISensorController& controller = unit.controller();
    std::string texts[2];
    int ids = 0;
    changedTexts(*family, texts[0], texts[1], ids);
    controller.setParameters(texts[1]); // so that the first timed set changes every id
    double wall = 0.0;
    double wire = 0.0;
    double pauses = 0.0;
    std::size_t frames = 0;
    int n = 0;
    for (auto _ : state) {
        const std::string& text = texts[n++ % 2];
        unit.resetWire();
        unit.clearFrames();
        const double slept = PlatformClock::threadSleptSeconds();
        const double start = realSeconds();
        controller.setParameters(text);
        wall += realSeconds() - start;
        pauses += PlatformClock::threadSleptSeconds() - slept;
        wire += unit.wireSeconds(unit.wireBytes());
        frames += unit.frames().size();
    }
    // The line's latency, from one setting's frame and answer (a try or two:
    // a frame of the controller's own threads may come in between).
    std::vector<std::uint8_t> request;
    std::uint64_t answerBytes = 0;
    const Setting& probe = family->command;
    for (int i = 0; i < 5 && request.empty(); ++i) {
        unit.capture(
            [&] { return controller.setParameterToSensor(probe.id, i % 2 ? probe.a : probe.b); },
            request, answerBytes);
    }
    const double bare = bareExchange(family->driverClass, baud, true, request, answerBytes);
    if (bare < 0.0) {
        state.SkipWithError("no bare exchange on the paced line");
        return;
    }
    const double latency =
        std::max(0.0, bare - unit.wireSeconds(request.size() + answerBytes)) * frames;
    const double ratio = wall / (wire + pauses + latency);
    state.counters["ids"] = ids;
    state.counters["frames"] = static_cast<double>(frames) / n;
    state.counters["wall_ms"] = wall / n * 1e3;
    state.counters["wire_ms"] = wire / n * 1e3;
    state.counters["pauses_ms"] = pauses / n * 1e3;
    state.counters["line_latency_ms"] = latency / n * 1e3;
    state.counters["ratio_wire_only"] = wall / (wire + pauses);
    state.counters["ratio"] = ratio;
    const std::string what =
        std::string(family->name) + ", " + std::to_string(ids) + " ids at " + std::to_string(baud);
    recordInfo("2", what + ": wall / (wire + pauses)", wall / (wire + pauses), "x");
    recordGoal("2", what + ": wall / (wire + pauses + line latency)", ratio, "x", 1.05);
}

const bool kRegistered = [] {
    for (const Family& family : families()) {
        for (int baud : {9600, 115200}) {
            benchmark::RegisterBenchmark(
                ("ChangedSet/" + std::string(family.name) + "/" + std::to_string(baud)).c_str(),
                ChangedSet, &family, baud)
                ->Iterations(4)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}();

} // namespace

} // namespace kvbench

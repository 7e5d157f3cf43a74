// One acknowledged command and one inquiry per family: the library's time beyond the bytes'
// own exchange, and its processor time while it waits for a module that answers late.
#include "BenchUnit.h"
#include "Families.h"
#include "Goals.h"

#include "platform/PlatformClock.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace kvbench {

namespace {

constexpr int kBaud = 9600;
constexpr int kSamples = 40;
constexpr double kLateSeconds = 0.020;

struct Exchange {
    const char* kind; // "command", "inquiry"
    int (*call)(const Family& family, ISensorController& controller, int sample);
};

// The pause a protocol mandates after a setting is a plain sleep: its real
// length and the processor time of its one timer wake-up, measured on this
// thread, so that they can be told from the exchange's own.
struct PauseCost {
    double wall = 0.0;
    double cpu = 0.0;
};

PauseCost pauseCost(double seconds) {
    PauseCost cost;
    if (seconds <= 0.0)
        return cost;
    std::vector<double> walls;
    const double cpu0 = threadCpuSeconds(pthread_self());
    for (int i = 0; i < kSamples; ++i) {
        const double start = realSeconds();
        PlatformClock::sleepFor(PlatformClock::Duration(seconds));
        walls.push_back(realSeconds() - start);
    }
    cost.wall = median(walls);
    cost.cpu = (threadCpuSeconds(pthread_self()) - cpu0) / kSamples;
    return cost;
}

void SingleExchange(benchmark::State& state, const Family* family, const Exchange* exchange) {
    BenchUnit unit(family->driverClass, kBaud, false);
    if (!unit.startFor(state))
        return;
    ISensorController& controller = unit.controller();
    // On time: the call's time and the pause it made and, from one clean
    // sample, the request and answer for the bare exchange.
    std::vector<double> times;
    std::vector<double> pauses;
    std::vector<std::uint8_t> request;
    std::uint64_t answerBytes = 0;
    int failed = 0;
    for (int i = 0; i < kSamples; ++i) {
        const double slept = PlatformClock::threadSleptSeconds();
        const double start = realSeconds();
        failed += unit.capture([&] { return exchange->call(*family, controller, i); }, request,
                               answerBytes) == 1
                      ? 0
                      : 1;
        times.push_back(realSeconds() - start);
        pauses.push_back(PlatformClock::threadSleptSeconds() - slept);
    }
    const double bare = bareExchange(family->driverClass, kBaud, false, request, answerBytes);
    if (failed > 0 || bare < 0.0) {
        state.SkipWithError("the exchange failed, or no clean sample of it");
        return;
    }
    const PauseCost pause = pauseCost(median(pauses));
    // Late: the processor time of the whole process, less the simulator's,
    // per exchange, less the mandated pause's wake-up.
    unit.setLateAnswer(kLateSeconds);
    const double cpu0 = processCpuSeconds() - unit.simulatorCpuSeconds();
    int n = 0;
    for (auto _ : state)
        failed += exchange->call(*family, controller, n++) == 1 ? 0 : 1;
    const double cpu = (processCpuSeconds() - unit.simulatorCpuSeconds() - cpu0) / n - pause.cpu;
    unit.setLateAnswer(0.0);
    const double beyond = median(times) - pause.wall - bare;
    state.counters["bare_us"] = bare * 1e6;
    state.counters["beyond_us"] = beyond * 1e6;
    state.counters["cpu_us"] = cpu * 1e6;
    state.counters["pause_ms"] = median(pauses) * 1e3;
    state.counters["pause_cpu_us"] = pause.cpu * 1e6;
    state.counters["failed_late"] = failed;
    const std::string what = std::string(family->name) + ", " + exchange->kind;
    recordInfo("3", what + ": time beyond the bare exchange", beyond * 1e6, "us");
    recordGoal("3", what + ": CPU per exchange, module 20 ms late", cpu * 1e6, "us", 100.0);
}

int command(const Family& f, ISensorController& c, int i) {
    // Alternating, so that every call is a change the module must take.
    return c.setParameterToSensor(f.command.id, i % 2 != 0 ? f.command.a : f.command.b);
}

int inquiry(const Family& f, ISensorController& c, int) {
    return f.inquiry(c);
}

const Exchange kExchanges[] = {{"command", &command}, {"inquiry", &inquiry}};

const bool kRegistered = [] {
    for (const Family& family : families()) {
        for (const Exchange& exchange : kExchanges) {
            if (exchange.call == &inquiry && family.inquiry == nullptr)
                continue;
            benchmark::RegisterBenchmark(
                ("SingleExchange/" + std::string(family.name) + "/" + exchange.kind).c_str(),
                SingleExchange, &family, &exchange)
                ->Iterations(kSamples)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}();

} // namespace

} // namespace kvbench

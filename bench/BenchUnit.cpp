// A simulated unit for the benchmarks: one controller, run as sensorctl runs it, on a simulator.
#include "BenchUnit.h"

#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "tools/DriverClasses.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sys/resource.h>

namespace {

// The record's serial settings at `baud` ("RS485=9600,8,0,1" -> "RS485=115200,8,0,1").
std::string atBaud(std::string parameters, int baud) {
    const std::string from = "=9600,";
    const auto at = parameters.find(from);
    if (at != std::string::npos)
        parameters.replace(at, from.size(), "=" + std::to_string(baud) + ",");
    return parameters;
}

// The sample unit's files (examples/rootfs) in a new temporary directory:
// the zoom dome runs with its parameter, ZMA and IR power files, as the demo
// does. "" when it could not be made.
std::string sampleRoot() {
    namespace fs = std::filesystem;
    std::string pattern = (fs::temp_directory_path() / "kvbench.XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        return "";
    std::error_code error;
    fs::copy(fs::path(KV_SOURCE_DIR) / "examples" / "rootfs", pattern, fs::copy_options::recursive,
             error);
    return pattern;
}

Options unitOptions(const std::string& driverClass, int baud, const std::string& root) {
    Options options;
    options.root = root;
    options.rootGiven = !root.empty();
    options.simulate = true;
    options.timeScale = 1.0;
    options.driver = driverClass;
    const DriverClass* row = driverClass.empty() ? nullptr : findDriverClass(driverClass);
    options.params = atBaud(row != nullptr ? row->parameters : kViscaSampleParameters, baud);
    options.paramsGiven = true;
    return options;
}

} // namespace

BenchUnit::BenchUnit(const std::string& driverClass, int baud, bool paced)
    : m_strRoot(driverClass.empty() ? sampleRoot() : ""),
      m_session(unitOptions(driverClass, baud, m_strRoot)), m_nBaud(baud), m_bPaced(paced) {}

BenchUnit::~BenchUnit() {
    m_session.release();
    if (!m_strRoot.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(m_strRoot, ignored);
    }
}

bool BenchUnit::prepare(std::string& error) {
    if (!m_session.prepare(error))
        return false;
    auto bind = [this](auto* sim) {
        m_strDevice = sim->slavePath();
        m_line.in = [sim] { return sim->bytesIn(); };
        m_line.out = [sim] { return sim->bytesOut(); };
        m_line.reset = [sim] { sim->resetByteCounts(); };
        m_line.frames = [sim] {
            std::vector<std::vector<std::uint8_t>> frames;
            for (const auto& f : sim->frames())
                frames.emplace_back(f.begin(), f.end());
            return frames;
        };
        m_line.clearFrames = [sim] { sim->clearFrames(); };
        m_line.cpu = [sim] { return sim->readerCpuSeconds(); };
        m_line.late = [sim](double s) { s > 0 ? sim->setLateAnswer(s) : sim->clearFaults(); };
        m_line.silence = [sim](bool on) { on ? sim->setSilence() : sim->clearFaults(); };
    };
    if (ViscaSimulator* sim = m_session.simulator()) {
        // The module's own speed must be the line's, or it does not answer.
        for (int index = 0; index < 4; ++index) {
            if (ViscaSimulator::baudOfIndex(index) == m_nBaud)
                sim->setModuleBaudIndex(index);
        }
        sim->setPacing(m_bPaced);
        bind(sim);
    } else if (AsciiSimulator* ascii = m_session.asciiSimulator()) {
        ascii->setPacing(m_bPaced ? m_nBaud : 0);
        bind(ascii);
    } else if (BinarySimulator* binary = m_session.binarySimulator()) {
        binary->setPacing(m_bPaced ? m_nBaud : 0);
        bind(binary);
    } else {
        error = "the unit has no serial module to benchmark";
        return false;
    }
    return true;
}

bool BenchUnit::start(std::string& error) {
    return m_session.init(error);
}

bool BenchUnit::startFor(benchmark::State& state) {
    std::string error;
    if (prepare(error) && start(error))
        return true;
    state.SkipWithError(error.c_str());
    return false;
}

ISensorController& BenchUnit::controller() {
    return *m_session.controller();
}

std::uint64_t BenchUnit::bytesIn() const {
    return m_line.in();
}

std::uint64_t BenchUnit::bytesOut() const {
    return m_line.out();
}

std::vector<std::vector<std::uint8_t>> BenchUnit::frames() const {
    return m_line.frames();
}

void BenchUnit::clearFrames() {
    m_line.clearFrames();
}

void BenchUnit::resetWire() {
    m_line.reset();
}

double BenchUnit::simulatorCpuSeconds() const {
    return m_line.cpu();
}

int BenchUnit::capture(const std::function<int()>& call, std::vector<std::uint8_t>& request,
                       std::uint64_t& answerBytes) {
    clearFrames();
    resetWire();
    const int result = call();
    const auto frames = this->frames();
    if (request.empty() && frames.size() == 1) {
        request = frames.front();
        answerBytes = bytesOut();
    }
    return result;
}

void BenchUnit::setLateAnswer(double seconds) {
    m_line.late(seconds);
}

void BenchUnit::setSilence(bool silent) {
    m_line.silence(silent);
}

double processCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double realSeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double> values) {
    if (values.empty())
        return 0.0;
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

double bareExchange(const std::string& driverClass, int baud, bool paced,
                    const std::vector<std::uint8_t>& request, std::uint64_t answerBytes) {
    constexpr int kSamples = 40;
    constexpr int kTimeout = 100; // 10 ms units
    BenchUnit bare(driverClass, baud, paced);
    std::string error;
    if (request.empty() || answerBytes == 0 || !bare.prepare(error))
        return -1.0;
    TermiosUARTController uart;
    const int port = uart.open(bare.devicePath().c_str());
    if (port < 0 || uart.setParameter(port, baud, 8, 1, 0) == 0)
        return -1.0;
    std::vector<char> answer(answerBytes);
    std::vector<double> times;
    for (int i = 0; i < kSamples; ++i) {
        uart.clearRecvBuffer(port);
        const double start = realSeconds();
        uart.send(port, reinterpret_cast<const char*>(request.data()),
                  static_cast<int>(request.size()));
        const int got = uart.recv(port, answer.data(), static_cast<int>(answerBytes), kTimeout);
        times.push_back(realSeconds() - start);
        if (got != static_cast<int>(answerBytes)) {
            uart.close(port);
            return -1.0;
        }
    }
    uart.close(port);
    return median(times);
}

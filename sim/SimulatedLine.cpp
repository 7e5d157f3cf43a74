// The line side every simulated register module shares: pty, reader thread, answer queue, faults.
#include "sim/SimulatedLine.h"

#include "platform/PlatformClock.h"

#include <algorithm>
#include <chrono>

namespace {

// Longest real wait of the reader between looks at its queue and stop flag.
constexpr double kPollSeconds = 0.005;

double realNow() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

template <class Frame>
SimulatedLine<Frame>::SimulatedLine(double quietRealSeconds)
    : m_dQuietRealSeconds(quietRealSeconds) {}

template <class Frame>
SimulatedLine<Frame>::~SimulatedLine() {
    stop();
}

template <class Frame>
bool SimulatedLine<Frame>::start(int baud, Module module) {
    m_module = std::move(module);
    if (!m_pty.open(baud))
        return false;
    m_thread = std::thread(&SimulatedLine::run, this);
    m_reader = m_thread.native_handle();
    m_bRunning = true;
    return true;
}

template <class Frame>
void SimulatedLine<Frame>::stop() {
    m_bStop = true;
    if (m_thread.joinable())
        m_thread.join();
}

// ---- reader thread -------------------------------------------------------

template <class Frame>
void SimulatedLine<Frame>::run() {
    usePreciseTimers();
    uint8_t buf[256];
    while (!m_bStop) {
        double wait = kPollSeconds;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_partial.empty())
                wait = std::min(wait, std::max(m_dPartialAt + quietSeconds() - realNow(), 0.0));
            if (!m_queue.empty()) {
                const double left = (m_queue.front().due - PlatformClock::monotonicSeconds()) *
                                    PlatformClock::timeScale();
                wait = std::clamp(left, 0.0, wait);
            }
        }
        const int n = m_pty.read(buf, static_cast<int>(sizeof(buf)), toMicroseconds(wait));
        std::vector<Frame> out;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const double now = PlatformClock::monotonicSeconds();
            for (int i = 0; i < n; ++i)
                m_module.feed(buf[i], m_wire.arrive(now));
            // A paced frame's last byte is in only when the wire has carried it.
            if (n > 0 && m_wire.isOn())
                m_dPartialAt = realNow() + (m_wire.inFree() - now) * PlatformClock::timeScale();
            if (!m_partial.empty() && realNow() - m_dPartialAt >= quietSeconds())
                m_module.endQuiet(std::max(now, m_wire.inFree()));
            while (!m_queue.empty() && m_queue.front().due <= now) {
                m_wire.countOut(m_queue.front().bytes.size());
                out.push_back(std::move(m_queue.front().bytes));
                m_queue.pop_front();
            }
        }
        for (const Frame& chunk : out)
            m_pty.write(reinterpret_cast<const uint8_t*>(chunk.data()),
                        static_cast<int>(chunk.size()));
    }
}

// Unpaced, the family's own quiet; paced, two byte times of silence, as a
// UART's idle detection would take it.
template <class Frame>
double SimulatedLine<Frame>::quietSeconds() const {
    return m_wire.isOn() ? 2.0 * m_wire.byteSeconds() * PlatformClock::timeScale()
                         : m_dQuietRealSeconds;
}

template <class Frame>
void SimulatedLine<Frame>::extend(uint8_t byte) {
    m_partial.push_back(static_cast<typename Frame::value_type>(byte));
    m_dPartialAt = realNow();
}

template <class Frame>
void SimulatedLine<Frame>::record(Frame frame) {
    m_vecFrames.push_back(std::move(frame));
    m_cond.notify_all();
}

template <class Frame>
void SimulatedLine<Frame>::answer(Frame bytes, double now) {
    if (bytes.empty())
        return;
    if (m_module.bend)
        m_module.bend(bytes);
    double due = m_faults.bendAnswer(bytes, now);
    due = m_wire.depart(due, bytes.size());
    if (!m_queue.empty())
        due = std::max(due, m_queue.back().due);
    if (!bytes.empty())
        m_queue.push_back({due, std::move(bytes)});
}

// ---- test-side accessors -------------------------------------------------

template <class Frame>
std::vector<Frame> SimulatedLine<Frame>::frames() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecFrames;
}

template <class Frame>
void SimulatedLine<Frame>::clearFrames() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_vecFrames.clear();
}

template <class Frame>
bool SimulatedLine<Frame>::waitForFrames(size_t n, double realSeconds) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::duration<double>(realSeconds),
                           [&] { return m_vecFrames.size() >= n; });
}

template <class Frame>
int SimulatedLine<Frame>::registerValue(int address) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto reg = m_registers.find(address);
    return reg != m_registers.end() ? reg->second : 0;
}

template <class Frame>
void SimulatedLine<Frame>::setRegisterValue(int address, int value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers[address] = value;
}

template <class Frame>
void SimulatedLine<Frame>::setFault(ViscaFaults::Kind kind, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(kind, frames);
}

template <class Frame>
void SimulatedLine<Frame>::setSilence(int frames) {
    setFault(ViscaFaults::Silence, frames);
}

template <class Frame>
void SimulatedLine<Frame>::setLateAnswer(double deviceSeconds, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.lateSeconds = std::max(0.0, deviceSeconds);
    m_faults.set(ViscaFaults::Late, frames);
}

template <class Frame>
void SimulatedLine<Frame>::setCutShort(int bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.cutBytes = std::max(0, bytes);
    m_faults.set(ViscaFaults::CutShort, frames);
}

template <class Frame>
void SimulatedLine<Frame>::setGarbage(const Frame& bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.garbage.assign(bytes.begin(), bytes.end());
    m_faults.set(ViscaFaults::Garbage, frames);
}

template <class Frame>
void SimulatedLine<Frame>::clearFaults() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.clear();
}

template <class Frame>
void SimulatedLine<Frame>::setPacing(int baud) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_wire.setBaud(baud);
}

template <class Frame>
std::uint64_t SimulatedLine<Frame>::bytesIn() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_wire.bytesIn();
}

template <class Frame>
std::uint64_t SimulatedLine<Frame>::bytesOut() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_wire.bytesOut();
}

template <class Frame>
void SimulatedLine<Frame>::resetByteCounts() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_wire.resetCounts();
}

template <class Frame>
double SimulatedLine<Frame>::readerCpuSeconds() const {
    return m_bRunning ? threadCpuSeconds(m_reader) : 0.0;
}

// The two frame kinds the simulated modules use.
template class SimulatedLine<std::string>;
template class SimulatedLine<std::vector<uint8_t>>;

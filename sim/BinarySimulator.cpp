// Simulated binary register module answering on a pseudo-terminal: what every such family shares.
#include "sim/BinarySimulator.h"

#include "platform/PlatformClock.h"

#include <algorithm>
#include <chrono>

namespace {

// The line is quiet after this long without a byte (real seconds): a frame
// still incomplete then was cut short, and dropping after garbage ends. A
// client writes a frame in one go, and waits longer than this for an answer
// before it writes again.
constexpr double kQuietRealSeconds = 0.01;
// Longest real wait of the reader between looks at its queue and stop flag.
constexpr int kPollMs = 5;
constexpr int kQuietPollMs = 1;
// A line that never falls quiet is recorded in pieces of this size.
constexpr size_t kMaxDropped = 4096;

double realNow() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

BinarySimulator::BinarySimulator(std::unique_ptr<BinaryFamily> family, int baud)
    : m_family(std::move(family)) {
    if (!m_family)
        return;
    for (const auto& reg : m_family->powerUp())
        m_registers[reg.first] = reg.second;
    if (!m_pty.open(baud))
        return;
    m_thread = std::thread(&BinarySimulator::run, this);
    m_bRunning = true;
}

BinarySimulator::~BinarySimulator() {
    m_bStop = true;
    if (m_thread.joinable())
        m_thread.join();
}

// ---- reader thread -------------------------------------------------------

void BinarySimulator::run() {
    uint8_t buf[256];
    while (!m_bStop) {
        int waitMs = kPollMs;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_partial.empty())
                waitMs = kQuietPollMs;
            if (!m_queue.empty()) {
                const double left = (m_queue.front().due - PlatformClock::monotonicSeconds()) *
                                    PlatformClock::timeScale();
                waitMs = std::clamp(static_cast<int>(left * 1000.0), 0, waitMs);
            }
        }
        const int n = m_pty.read(buf, static_cast<int>(sizeof(buf)), waitMs);
        std::vector<Bytes> out;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const double now = PlatformClock::monotonicSeconds();
            for (int i = 0; i < n; ++i)
                feed(buf[i], now);
            if (!m_partial.empty() && realNow() - m_dPartialAt >= kQuietRealSeconds)
                endQuiet();
            while (!m_queue.empty() && m_queue.front().due <= now) {
                out.push_back(std::move(m_queue.front().bytes));
                m_queue.pop_front();
            }
        }
        for (const Bytes& chunk : out)
            m_pty.write(chunk.data(), static_cast<int>(chunk.size()));
    }
}

// The family tells from the first bytes how long the frame is; a frame is
// handled the moment its last byte comes.
void BinarySimulator::feed(uint8_t byte, double now) {
    m_partial.push_back(byte);
    m_dPartialAt = realNow();
    if (m_bDropping) {
        // Kept non-empty: the quiet that ends the dropping is timed from it.
        if (m_partial.size() > kMaxDropped) {
            record(Bytes(m_partial.begin(), m_partial.end() - 1));
            m_partial.erase(m_partial.begin(), m_partial.end() - 1);
        }
        return;
    }
    const size_t length = m_family->frameLength(m_partial);
    if (length == BinaryFamily::kGarbage) {
        m_bDropping = true;
        if (!m_faults.take(ViscaFaults::Silence))
            answer(m_family->refuseGarbage(m_partial), now);
        return;
    }
    if (length == 0 || m_partial.size() < length)
        return;
    Bytes frame;
    frame.swap(m_partial);
    if (m_faults.take(ViscaFaults::Silence)) {
        record(std::move(frame));
        return;
    }
    for (Bytes& reply : m_family->answer(frame, m_registers))
        answer(std::move(reply), now);
    record(std::move(frame));
}

// The line fell quiet: garbage dropped so far, or a frame cut short, is
// recorded and forgotten.
void BinarySimulator::endQuiet() {
    Bytes frame;
    frame.swap(m_partial);
    m_bDropping = false;
    record(std::move(frame));
}

void BinarySimulator::record(Bytes frame) {
    m_vecFrames.push_back(std::move(frame));
    m_cond.notify_all();
}

// Queues an answer after the fault switches have bent it.
void BinarySimulator::answer(Bytes bytes, double now) {
    if (bytes.empty())
        return;
    const int checksum = m_family->checksumAt(bytes);
    if (checksum >= 0 && static_cast<size_t>(checksum) < bytes.size() &&
        m_faults.take(ViscaFaults::WrongChecksum))
        ++bytes[static_cast<size_t>(checksum)];
    const int count = m_family->countAt(bytes);
    if (count >= 0 && static_cast<size_t>(count) < bytes.size() &&
        m_faults.take(ViscaFaults::OverlongCount))
        bytes[static_cast<size_t>(count)] = 0xFF;
    double due = m_faults.bendAnswer(bytes, now);
    if (!m_queue.empty())
        due = std::max(due, m_queue.back().due);
    if (!bytes.empty())
        m_queue.push_back({due, std::move(bytes)});
}

// ---- test-side accessors -------------------------------------------------

std::vector<BinarySimulator::Bytes> BinarySimulator::frames() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecFrames;
}

void BinarySimulator::clearFrames() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_vecFrames.clear();
}

bool BinarySimulator::waitForFrames(size_t n, double realSeconds) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::duration<double>(realSeconds),
                           [&] { return m_vecFrames.size() >= n; });
}

int BinarySimulator::registerValue(int address) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto reg = m_registers.find(address);
    return reg != m_registers.end() ? reg->second : 0;
}

void BinarySimulator::setRegisterValue(int address, int value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers[address] = value;
}

void BinarySimulator::setSilence(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::Silence, frames);
}

void BinarySimulator::setLateAnswer(double deviceSeconds, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.lateSeconds = std::max(0.0, deviceSeconds);
    m_faults.set(ViscaFaults::Late, frames);
}

void BinarySimulator::setCutShort(int bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.cutBytes = std::max(0, bytes);
    m_faults.set(ViscaFaults::CutShort, frames);
}

void BinarySimulator::setGarbage(const Bytes& bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.garbage = bytes;
    m_faults.set(ViscaFaults::Garbage, frames);
}

void BinarySimulator::setWrongChecksum(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::WrongChecksum, frames);
}

void BinarySimulator::setOverlongCount(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::OverlongCount, frames);
}

void BinarySimulator::clearFaults() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.clear();
}

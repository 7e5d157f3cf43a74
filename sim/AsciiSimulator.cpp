// Simulated ASCII register block module answering on a pseudo-terminal.
#include "sim/AsciiSimulator.h"

#include "drivers/protocols/AsciiRegisterProtocol.h"
#include "platform/PlatformClock.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr char kStart = ':';
constexpr unsigned char kMaskStart = 0xA1;
constexpr size_t kMaskFrame = 4;
constexpr size_t kMinFrame = 8;  // ":WFCC820"
constexpr size_t kMaxFrame = 10; // ":RFB380000"
constexpr size_t kAddressAt = 2;
constexpr size_t kDataAt = 6;
// The line is quiet, and a pending frame complete, after this long without a
// byte (real seconds); a client writes a frame in one go.
constexpr double kQuietRealSeconds = 0.003;
// Longest real wait of the reader between looks at its queue and stop flag.
constexpr int kPollMs = 5;
constexpr int kQuietPollMs = 1;
constexpr int kModuleBaud = 9600;

double realNow() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

AsciiSimulator::AsciiSimulator(const AsciiModel* model)
    : m_model(model != nullptr ? *model : defaultAsciiModel()) {
    for (const auto& reg : m_model.registers)
        m_registers[reg.first] = reg.second;
    if (!m_pty.open(kModuleBaud))
        return;
    m_thread = std::thread(&AsciiSimulator::run, this);
    m_bRunning = true;
}

AsciiSimulator::~AsciiSimulator() {
    m_bStop = true;
    if (m_thread.joinable())
        m_thread.join();
}

// ---- reader thread -------------------------------------------------------

void AsciiSimulator::run() {
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
        std::vector<std::string> out;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const double now = PlatformClock::monotonicSeconds();
            for (int i = 0; i < n; ++i)
                feed(static_cast<char>(buf[i]), now);
            if (!m_partial.empty() && realNow() - m_dPartialAt >= kQuietRealSeconds)
                endFrame(now);
            while (!m_queue.empty() && m_queue.front().due <= now) {
                out.push_back(std::move(m_queue.front().bytes));
                m_queue.pop_front();
            }
        }
        for (const std::string& chunk : out)
            m_pty.write(reinterpret_cast<const uint8_t*>(chunk.data()),
                        static_cast<int>(chunk.size()));
    }
}

// A ":" begins a frame (and ends the one before), as does the mask
// commands' A1, whose frames are four bytes; bytes outside a frame are noise
// and dropped.
void AsciiSimulator::feed(char c, double now) {
    const bool mask = static_cast<unsigned char>(c) == kMaskStart;
    if ((c == kStart || mask) && !m_partial.empty() &&
        static_cast<unsigned char>(m_partial[0]) != kMaskStart)
        endFrame(now);
    if (m_partial.empty() && c != kStart && !mask)
        return;
    m_partial.push_back(c);
    m_dPartialAt = realNow();
    const bool maskFrame = static_cast<unsigned char>(m_partial[0]) == kMaskStart;
    if (m_partial.size() == (maskFrame ? kMaskFrame : kMaxFrame))
        endFrame(now);
}

void AsciiSimulator::endFrame(double now) {
    std::string frame;
    frame.swap(m_partial);
    m_vecFrames.push_back(frame);
    m_cond.notify_all();
    if (m_faults.take(ViscaFaults::Silence))
        return;
    handleFrame(frame, now);
}

void AsciiSimulator::handleFrame(const std::string& frame, double now) {
    // The zoom modules' privacy-mask commands, A1 <command> <argument> FF, are
    // binary and echoed whole.
    if (frame.size() == kMaskFrame && static_cast<unsigned char>(frame[0]) == 0xA1 &&
        static_cast<unsigned char>(frame[3]) == 0xFF) {
        answer(frame, now);
        return;
    }
    if (frame.size() < kMinFrame)
        return;
    const int address = AsciiRegisterProtocol::ascToHex(frame.substr(kAddressAt, 4));
    const std::string data = frame.substr(kDataAt);
    const int value = AsciiRegisterProtocol::ascToHex(data);
    if (address < 0 || value < 0)
        return;
    switch (frame[1]) {
    case 'W': // one byte; the 9-character focus frame is only echoed
        if (data.size() == 2)
            m_registers[address] = value;
        else if (data.size() != 3)
            return;
        answer(frame, now);
        return;
    case 'w':
        if (data.size() != 4)
            return;
        m_registers[address] = value;
        answer(frame, now);
        return;
    case 'R': {
        if (data.size() != 2 && data.size() != 4)
            return;
        const int width = static_cast<int>(data.size());
        const int mask = width == 2 ? 0xFF : 0xFFFF;
        const auto reg = m_registers.find(address);
        const int current = reg != m_registers.end() ? reg->second & mask : 0;
        answer(AsciiRegisterProtocol::assembleString(frame.substr(0, kDataAt), current, width),
               now);
        return;
    }
    case 'r': // the initialisation-complete notice: taken, never answered
    default:
        return;
    }
}

// Queues an answer after the fault switches have bent it.
void AsciiSimulator::answer(std::string bytes, double now) {
    if (bytes.size() >= kDataAt && m_faults.take(ViscaFaults::WrongEcho)) {
        char& digit = bytes[kDataAt - 1];
        digit = digit == '0' ? '1' : '0';
    }
    double due = m_faults.bendAnswer(bytes, now);
    if (!m_queue.empty())
        due = std::max(due, m_queue.back().due);
    if (!bytes.empty())
        m_queue.push_back({due, std::move(bytes)});
}

// ---- test-side accessors -------------------------------------------------

std::vector<std::string> AsciiSimulator::frames() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecFrames;
}

void AsciiSimulator::clearFrames() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_vecFrames.clear();
}

bool AsciiSimulator::waitForFrames(size_t n, double realSeconds) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::duration<double>(realSeconds),
                           [&] { return m_vecFrames.size() >= n; });
}

int AsciiSimulator::registerValue(int address) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto reg = m_registers.find(address);
    return reg != m_registers.end() ? reg->second : 0;
}

void AsciiSimulator::setRegisterValue(int address, int value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers[address] = value;
}

void AsciiSimulator::setSilence(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::Silence, frames);
}

void AsciiSimulator::setLateAnswer(double deviceSeconds, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.lateSeconds = std::max(0.0, deviceSeconds);
    m_faults.set(ViscaFaults::Late, frames);
}

void AsciiSimulator::setWrongEcho(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::WrongEcho, frames);
}

void AsciiSimulator::setCutShort(int bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.cutBytes = std::max(0, bytes);
    m_faults.set(ViscaFaults::CutShort, frames);
}

void AsciiSimulator::setGarbage(const std::string& bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.garbage.assign(bytes.begin(), bytes.end());
    m_faults.set(ViscaFaults::Garbage, frames);
}

void AsciiSimulator::clearFaults() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.clear();
}

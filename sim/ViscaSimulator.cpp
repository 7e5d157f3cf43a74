// Simulated VISCA zoom block camera answering on a pseudo-terminal.
#include "sim/ViscaSimulator.h"

#include "platform/PlatformClock.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr uint8_t kEnd = 0xFF;
constexpr uint8_t kVendor = 0xFE;
constexpr uint8_t kEcho = 0xA1;
constexpr size_t kEchoLength = 4;
constexpr size_t kMaxViscaLength = 16;
// Values of the day/night register, and the modes of the IR-cut frame.
constexpr uint8_t kFilterNight = 0x02;
constexpr uint8_t kFilterDay = 0x03;
constexpr uint8_t kIrCutAuto = 0;
constexpr uint8_t kIrCutNight = 1;
constexpr uint8_t kIrCutDay = 2;
// A partial frame older than this (real seconds) is line noise and dropped.
constexpr double kStaleRealSeconds = 0.2;
// Longest real wait of the reader between looks at its queue and stop flag.
constexpr double kPollSeconds = 0.005;
const int kBauds[] = {9600, 19200, 38400, 115200};

double realNow() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

bool isViscaStart(uint8_t b) {
    return b >= 0x80 && b <= 0x8F;
}

} // namespace

ViscaSimulator::ViscaSimulator() : ViscaSimulator(Options()) {}

ViscaSimulator::ViscaSimulator(const Options& options)
    : m_model(options.model != nullptr ? *options.model : defaultViscaModel()),
      m_registers(std::clamp(options.baudIndex, 0, 3),
                  options.videoFormat >= 0 ? options.videoFormat : m_model.videoFormat),
      m_dRestartSeconds(options.restartSeconds), m_bPacing(options.pacing) {
    for (const auto& reg : m_model.registers)
        m_registers.setValue(reg.first, reg.second);
    updateFilter();
    if (!m_pty.open(baudOfIndex(m_registers.activeBaudIndex())))
        return;
    m_thread = std::thread(&ViscaSimulator::run, this);
    m_reader = m_thread.native_handle();
    m_bRunning = true;
}

ViscaSimulator::~ViscaSimulator() {
    m_bStop = true;
    if (m_thread.joinable())
        m_thread.join();
}

int ViscaSimulator::baudOfIndex(int index) {
    return index >= 0 && index <= 3 ? kBauds[index] : 0;
}

// ---- reader thread -------------------------------------------------------

void ViscaSimulator::run() {
    usePreciseTimers();
    uint8_t buf[256];
    while (!m_bStop) {
        double wait = kPollSeconds;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_queue.empty()) {
                const double left = (m_queue.front().due - PlatformClock::monotonicSeconds()) *
                                    PlatformClock::timeScale();
                wait = std::clamp(left, 0.0, kPollSeconds);
            }
        }
        const int n = m_pty.read(buf, static_cast<int>(sizeof(buf)), toMicroseconds(wait));
        std::vector<Bytes> out;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const double now = PlatformClock::monotonicSeconds();
            checkRestart(now);
            // Paced, the wire runs at the module's speed of the moment.
            const int baud = m_bPacing ? baudOfIndex(m_registers.activeBaudIndex()) : 0;
            if (baud != m_wire.baud())
                m_wire.setBaud(baud);
            for (int i = 0; i < n; ++i)
                feed(buf[i], m_wire.arrive(now));
            out = takeDue(now);
        }
        for (const Bytes& chunk : out)
            m_pty.write(chunk.data(), static_cast<int>(chunk.size()));
    }
}

std::vector<ViscaSimulator::Bytes> ViscaSimulator::takeDue(double now) {
    std::vector<Bytes> out;
    while (!m_queue.empty() && m_queue.front().due <= now) {
        m_wire.countOut(m_queue.front().bytes.size());
        out.push_back(std::move(m_queue.front().bytes));
        m_queue.pop_front();
    }
    return out;
}

void ViscaSimulator::checkRestart(double now) {
    if (m_dRestartUntil >= 0.0 && now >= m_dRestartUntil) {
        m_dRestartUntil = -1.0;
        m_registers.restart(now);
    }
}

// Splits the byte stream into frames: VISCA 8x .. FF, vendor FE + the model's length,
// echo A1 + 3 bytes. Bytes outside a frame are noise and dropped.
void ViscaSimulator::feed(uint8_t byte, double now) {
    const double real = realNow();
    if (!m_partial.empty() && real - m_dPartialAt > kStaleRealSeconds)
        m_partial.clear();
    m_dPartialAt = real;
    if (m_partial.empty()) {
        if (isViscaStart(byte) || byte == kVendor || byte == kEcho)
            m_partial.push_back(byte);
        return;
    }
    m_partial.push_back(byte);
    const uint8_t start = m_partial[0];
    bool complete = false;
    if (start == kVendor)
        complete = m_partial.size() == m_model.vendorLength;
    else if (start == kEcho)
        complete = m_partial.size() == kEchoLength;
    else if (byte == kEnd)
        complete = true;
    else if (m_partial.size() >= kMaxViscaLength)
        m_partial.clear();
    if (!complete)
        return;
    Bytes frame;
    frame.swap(m_partial);
    m_vecFrames.push_back(frame);
    m_cond.notify_all();
    // A held answer leaves before anything this frame brings.
    if (!m_held.empty()) {
        m_queue.push_back({now, std::move(m_held)});
        m_held.clear();
    }
    if (m_dRestartUntil >= 0.0 || !lineMatches())
        return; // restarting, or the bytes arrive garbled at the wrong speed
    if (m_faults.take(ViscaFaults::Silence))
        return;
    handleFrame(frame, now);
}

bool ViscaSimulator::lineMatches() const {
    const int line = m_nHostBaud > 0 ? m_nHostBaud : m_pty.lineBaud();
    return line == 0 || line == baudOfIndex(m_registers.activeBaudIndex());
}

void ViscaSimulator::handleFrame(const Bytes& frame, double now) {
    if (frame[0] == kVendor)
        handleVendor(frame, now);
    else if (frame[0] == kEcho)
        handleEcho(frame, now);
    else
        handleVisca(frame, now);
}

void ViscaSimulator::handleVisca(const Bytes& frame, double now) {
    if (frame[0] != 0x81 || frame.size() < 4)
        return; // broadcast or another address: not this module's business
    const uint8_t type = frame[1];
    if (type != 0x01 && type != 0x09) {
        answer({0x90, 0x60, 0x02, kEnd}, now);
        return;
    }
    const Bytes body(frame.begin() + 2, frame.end() - 1);
    // The restart command, like the vendor restart, is not answered at all.
    if (type == 0x01 && !m_model.restartCommand.empty() && body == m_model.restartCommand) {
        beginRestart(now);
        return;
    }
    if (takeErrorReply(now))
        return;
    if (type == 0x01 && m_faults.take(ViscaFaults::CommandRefusal)) {
        answer({0x90, 0x60, 0x41, kEnd}, now);
        return;
    }
    if (type == 0x09) {
        Bytes data;
        if (!m_registers.inquire(body, now, data)) {
            answer({0x90, 0x60, 0x02, kEnd}, now);
            return;
        }
        Bytes reply{0x90, 0x50};
        reply.insert(reply.end(), data.begin(), data.end());
        reply.push_back(kEnd);
        answer(reply, now);
        return;
    }
    if (!m_registers.command(body, now)) {
        answer({0x90, 0x60, 0x02, kEnd}, now);
        return;
    }
    // A filter set by command stays set: automatic ends.
    if (writesDayNight(body))
        m_bIrCutAuto = false;
    if (m_model.restartsOnVideoFormat && body.size() == 5 && body[0] == 0x04 && body[1] == 0x24 &&
        body[2] == 0x72) {
        // The acknowledge alone, then the restart that takes the new format.
        const auto s = static_cast<uint8_t>(m_nSocket);
        m_nSocket = m_nSocket == 1 ? 2 : 1;
        answer({0x90, static_cast<uint8_t>(0x40 | s), kEnd}, now);
        m_dRestartUntil = now + m_dRestartSeconds;
        ++m_nRestarts;
        return;
    }
    acknowledge(now);
}

bool ViscaSimulator::takeErrorReply(double now) {
    if (!m_faults.take(ViscaFaults::ErrorReply))
        return false;
    answer({0x90, static_cast<uint8_t>(0x60 | (m_faults.errorSocket & 0x0F)),
            static_cast<uint8_t>(m_faults.errorCode), kEnd},
           now);
    return true;
}

// ACK and completion of a command on the next socket, in one write.
void ViscaSimulator::acknowledge(double now) {
    const auto s = static_cast<uint8_t>(m_nSocket);
    m_nSocket = m_nSocket == 1 ? 2 : 1;
    const Bytes ack{0x90, static_cast<uint8_t>(0x40 | s), kEnd};
    const Bytes done{0x90, static_cast<uint8_t>(0x50 | s), kEnd};
    Bytes reply = m_faults.take(ViscaFaults::CompletionFirst) ? done : ack;
    const Bytes& second = reply == ack ? done : ack;
    reply.insert(reply.end(), second.begin(), second.end());
    answer(reply, now);
}

void ViscaSimulator::beginRestart(double now) {
    m_dRestartUntil = now + m_dRestartSeconds;
    ++m_nRestarts;
    m_queue.clear();
    m_held.clear();
}

// Vendor frames FE body cs FF; a bad checksum or ending, and a body the
// model does not know, get no answer.
void ViscaSimulator::handleVendor(const Bytes& frame, double now) {
    const size_t n = frame.size();
    if (n < 4 || frame[n - 1] != kEnd)
        return;
    int sum = 0;
    for (size_t i = 1; i + 2 < n; ++i)
        sum += frame[i];
    if (frame[n - 2] != (sum & 0xFF))
        return;
    const Bytes command(frame.begin() + 1, frame.end() - 2);
    const Bytes& irCut = m_model.irCutVendor;
    if (!irCut.empty() && command.size() == irCut.size() + 1 &&
        std::equal(irCut.begin(), irCut.end(), command.begin())) {
        handleIrCut(command.back(), now);
        return;
    }
    if (!m_model.restartVendor.empty() && command == m_model.restartVendor) {
        beginRestart(now);
        return;
    }
    if (!m_model.versionVendor.empty() && command == m_model.versionVendor) {
        // FE, three model bytes, the version, then the plain sum of bytes 1..6.
        Bytes reply{kVendor, 0x01, 0x02, 0x03, m_version[0], m_version[1], m_version[2]};
        int check = 0;
        for (size_t i = 1; i < reply.size(); ++i)
            check += reply[i];
        reply.push_back(static_cast<uint8_t>(check & 0xFF));
        reply.push_back(kEnd);
        answer(reply, now);
    }
}

// The IR-cut frame is acknowledged and completed like a command; an unknown
// mode is an unknown frame and goes unanswered.
void ViscaSimulator::handleIrCut(uint8_t mode, double now) {
    if (mode != kIrCutAuto && mode != kIrCutNight && mode != kIrCutDay)
        return;
    if (takeErrorReply(now))
        return;
    m_bIrCutAuto = mode == kIrCutAuto;
    if (m_bIrCutAuto)
        updateFilter();
    else
        m_registers.setValue(m_model.dayNightRegister,
                             {mode == kIrCutNight ? kFilterNight : kFilterDay});
    acknowledge(now);
}

bool ViscaSimulator::writesDayNight(const Bytes& body) const {
    const Bytes& reg = m_model.dayNightRegister;
    return !reg.empty() && body.size() > reg.size() &&
           std::equal(reg.begin(), reg.end(), body.begin());
}

// In automatic the filter follows the scene light.
void ViscaSimulator::updateFilter() {
    if (m_model.dayNightRegister.empty() || !m_bIrCutAuto)
        return;
    m_registers.setValue(m_model.dayNightRegister, {m_bSceneDark ? kFilterNight : kFilterDay});
}

void ViscaSimulator::handleEcho(const Bytes& frame, double now) {
    Bytes reply = frame;
    if (m_faults.take(ViscaFaults::WrongEcho))
        reply[2] ^= 0x01;
    answer(reply, now);
}

// Queues an answer after the faults that bend every answer have had their say.
void ViscaSimulator::answer(Bytes bytes, double now) {
    double due = m_faults.bendAnswer(bytes, now);
    if (!m_queue.empty())
        due = std::max(due, m_queue.back().due);
    if (bytes.empty())
        return;
    if (m_faults.take(ViscaFaults::Duplicate)) {
        const Bytes once = bytes;
        bytes.insert(bytes.end(), once.begin(), once.end());
    }
    if (m_faults.take(ViscaFaults::Held)) {
        m_held.insert(m_held.end(), bytes.begin(), bytes.end());
        return;
    }
    if (!m_bPacing) {
        m_queue.push_back({due, std::move(bytes)});
        return;
    }
    // Byte by byte, each when its last bit is out at the module's speed.
    for (uint8_t b : bytes)
        m_queue.push_back({m_wire.depart(due, 1), Bytes{b}});
}

// ---- test-side accessors -------------------------------------------------

std::vector<ViscaSimulator::Bytes> ViscaSimulator::frames() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecFrames;
}

void ViscaSimulator::clearFrames() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_vecFrames.clear();
}

bool ViscaSimulator::waitForFrames(size_t n, double realSeconds) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::duration<double>(realSeconds),
                           [&] { return m_vecFrames.size() >= n; });
}

ViscaSimulator::Bytes ViscaSimulator::registerValue(const Bytes& key) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.value(key);
}

void ViscaSimulator::setRegisterValue(const Bytes& key, const Bytes& data) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers.setValue(key, data);
}

int ViscaSimulator::zoomPosition() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.zoomPosition(PlatformClock::monotonicSeconds());
}

void ViscaSimulator::setZoomPosition(int position) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers.setZoomPosition(position, PlatformClock::monotonicSeconds());
}

int ViscaSimulator::focusPosition() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.focusPosition(PlatformClock::monotonicSeconds());
}

void ViscaSimulator::setFocusPosition(int position) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers.setFocusPosition(position, PlatformClock::monotonicSeconds());
}

int ViscaSimulator::videoFormat() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.activeVideoFormat();
}

int ViscaSimulator::moduleBaudIndex() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.activeBaudIndex();
}

void ViscaSimulator::setModuleBaudIndex(int index) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (index >= 0 && index <= 3)
        m_registers.setActiveBaudIndex(index);
}

int ViscaSimulator::lineBaud() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nHostBaud > 0 ? m_nHostBaud : m_pty.lineBaud();
}

void ViscaSimulator::setHostBaud(int baud) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_nHostBaud = std::max(0, baud);
}

bool ViscaSimulator::isRestarting() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dRestartUntil >= 0.0 && PlatformClock::monotonicSeconds() < m_dRestartUntil;
}

int ViscaSimulator::restartCount() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nRestarts;
}

void ViscaSimulator::setVersion(int major, int minor, int patch) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_version[0] = static_cast<uint8_t>(major);
    m_version[1] = static_cast<uint8_t>(minor);
    m_version[2] = static_cast<uint8_t>(patch);
}

void ViscaSimulator::setPacing(bool on) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bPacing = on;
}

std::uint64_t ViscaSimulator::bytesIn() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_wire.bytesIn();
}

std::uint64_t ViscaSimulator::bytesOut() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_wire.bytesOut();
}

void ViscaSimulator::resetByteCounts() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_wire.resetCounts();
}

double ViscaSimulator::readerCpuSeconds() const {
    return m_bRunning ? threadCpuSeconds(m_reader) : 0.0;
}

void ViscaSimulator::setSceneDark(bool dark) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bSceneDark = dark;
    updateFilter();
}

void ViscaSimulator::setSilence(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::Silence, frames);
}

void ViscaSimulator::setLateAnswer(double deviceSeconds, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.lateSeconds = std::max(0.0, deviceSeconds);
    m_faults.set(ViscaFaults::Late, frames);
}

void ViscaSimulator::setErrorReply(int socket, int code, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.errorSocket = socket;
    m_faults.errorCode = code;
    m_faults.set(ViscaFaults::ErrorReply, frames);
}

void ViscaSimulator::setCommandRefusal(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::CommandRefusal, frames);
}

void ViscaSimulator::setCompletionFirst(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::CompletionFirst, frames);
}

void ViscaSimulator::setWrongEcho(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::WrongEcho, frames);
}

void ViscaSimulator::setCutShort(int bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.cutBytes = std::max(0, bytes);
    m_faults.set(ViscaFaults::CutShort, frames);
}

void ViscaSimulator::setGarbage(const Bytes& bytes, int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.garbage = bytes;
    m_faults.set(ViscaFaults::Garbage, frames);
}

void ViscaSimulator::setDuplicate(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::Duplicate, frames);
}

void ViscaSimulator::setHeldAnswer(int frames) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.set(ViscaFaults::Held, frames);
}

void ViscaSimulator::clearFaults() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults.clear();
}

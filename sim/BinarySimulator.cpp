// Simulated binary register module answering on a pseudo-terminal: what every such family shares.
#include "sim/BinarySimulator.h"

namespace {

// The line is quiet after this long without a byte (real seconds): a frame
// still incomplete then was cut short, and dropping after garbage ends. A
// client writes a frame in one go, and waits longer than this for an answer
// before it writes again.
constexpr double kQuietRealSeconds = 0.01;
// A line that never falls quiet is recorded in pieces of this size.
constexpr size_t kMaxDropped = 4096;

} // namespace

BinarySimulator::BinarySimulator(std::unique_ptr<BinaryFamily> family, int baud)
    : SimulatedLine(kQuietRealSeconds), m_family(std::move(family)) {
    if (!m_family)
        return;
    for (const auto& reg : m_family->powerUp())
        m_registers[reg.first] = reg.second;
    start(baud, {[this](uint8_t byte, double now) { feed(byte, now); },
                 [this](double) { endQuiet(); }, [this](Bytes& bytes) { bendOwn(bytes); }});
}

BinarySimulator::~BinarySimulator() {
    stop();
}

// The family tells from the first bytes how long the frame is; a frame is
// handled the moment its last byte comes.
void BinarySimulator::feed(uint8_t byte, double now) {
    extend(byte);
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

void BinarySimulator::bendOwn(Bytes& bytes) {
    const int checksum = m_family->checksumAt(bytes);
    if (checksum >= 0 && static_cast<size_t>(checksum) < bytes.size() &&
        m_faults.take(ViscaFaults::WrongChecksum))
        ++bytes[static_cast<size_t>(checksum)];
    const int count = m_family->countAt(bytes);
    if (count >= 0 && static_cast<size_t>(count) < bytes.size() &&
        m_faults.take(ViscaFaults::OverlongCount))
        bytes[static_cast<size_t>(count)] = 0xFF;
}

bool BinarySimulator::setLightValue(int value) {
    if (!m_family || m_family->lightRegister() < 0 || value < 0 || value > m_family->lightLimit())
        return false;
    setRegisterValue(m_family->lightRegister(), value);
    return true;
}

void BinarySimulator::setWrongChecksum(int frames) {
    setFault(ViscaFaults::WrongChecksum, frames);
}

void BinarySimulator::setOverlongCount(int frames) {
    setFault(ViscaFaults::OverlongCount, frames);
}

// The Effio module's frames and answers, for the binary register simulator.
#include "sim/EffioFamily.h"

#include "drivers/protocols/BinaryLink.h"

#include <algorithm>

namespace {

constexpr uint8_t kWrite = 0x57;
constexpr uint8_t kRead = 0x52;
constexpr uint8_t kDone = 0x00;
constexpr uint8_t kBadChecksum = 0xF0;
constexpr uint8_t kNoCategory = 0xF1;
constexpr uint8_t kNoByte = 0xF2;
constexpr uint8_t kOther = 0xFE;
// A read answers at most this many value bytes.
constexpr int kMaxValues = 16;

uint8_t sum(const BinaryFamily::Bytes& bytes, size_t count) {
    return binary::additiveChecksum(bytes.data(), static_cast<int>(count));
}

BinaryFamily::Bytes closed(BinaryFamily::Bytes bytes) {
    bytes.push_back(sum(bytes, bytes.size()));
    return bytes;
}

BinaryFamily::Bytes writeAnswer(uint8_t status) {
    return closed({kWrite, status});
}

BinaryFamily::Bytes readAnswer(uint8_t status, BinaryFamily::Bytes values) {
    values.insert(values.begin(), {kRead, status});
    return closed(std::move(values));
}

} // namespace

// Brightness 512, gains 256, sharpness 128, the rest plain defaults.
const std::vector<EffioFamily::Register>& EffioFamily::defaultRegisters() {
    static const std::vector<Register> registers = {
        {0x0261, 2, 0x0100}, {0x0262, 2, 0x0100}, {0x0263, 2, 0x0200}, {0x026D, 1, 1},
        {0x028D, 1, 0x00},   {0x0299, 1, 0x80},   {0x0301, 1, 0},      {0x0302, 1, 0x50},
        {0x030D, 1, 0x80},   {0x0317, 1, 8},      {0x0321, 1, 0},      {0x0401, 1, 2},
        {0x0501, 1, 0},      {0x0649, 1, 0},      {0x0C03, 1, 0x01},
    };
    return registers;
}

EffioFamily::EffioFamily() {
    for (const Register& r : defaultRegisters())
        m_mapWidths[r.key] = r.width;
}

int EffioFamily::widthOf(int key) const {
    const auto found = m_mapWidths.find(key);
    return found == m_mapWidths.end() ? 0 : found->second;
}

std::vector<std::pair<int, int>> EffioFamily::powerUp() const {
    std::vector<std::pair<int, int>> values;
    for (const Register& r : defaultRegisters())
        values.emplace_back(r.key, r.value);
    return values;
}

size_t EffioFamily::frameLength(const Bytes& pending) const {
    const uint8_t first = pending.front();
    return first == 6 || first == 7 ? first : kGarbage;
}

std::vector<BinaryFamily::Bytes> EffioFamily::answer(const Bytes& frame, Registers& registers) {
    if (frame[1] == kRead && frame.size() == 6)
        return {answerRead(frame, registers)};
    return {answerWrite(frame, registers)};
}

uint8_t EffioFamily::lookUp(int category, int byteNumber) const {
    const bool known = std::any_of(m_mapWidths.begin(), m_mapWidths.end(),
                                   [category](const auto& r) { return r.first >> 8 == category; });
    if (!known)
        return kNoCategory;
    return widthOf(category << 8 | byteNumber) == 0 ? kNoByte : kDone;
}

BinaryFamily::Bytes EffioFamily::answerWrite(const Bytes& frame, Registers& registers) const {
    const size_t n = frame.size();
    if (frame[n - 1] != sum(frame, n - 1))
        return writeAnswer(kBadChecksum);
    if (frame[1] != kWrite)
        return writeAnswer(kOther);
    const uint8_t status = lookUp(frame[2], frame[3]);
    if (status != kDone)
        return writeAnswer(status);
    const int key = frame[2] << 8 | frame[3];
    const int width = static_cast<int>(n) - 5;
    if (width != widthOf(key))
        return writeAnswer(kOther);
    registers[key] = width == 2 ? frame[4] << 8 | frame[5] : frame[4];
    return writeAnswer(kDone);
}

BinaryFamily::Bytes EffioFamily::answerRead(const Bytes& frame, const Registers& registers) const {
    const int category = frame[2];
    const int first = frame[3];
    const int last = frame[4];
    // The length the client waits for: the widths of the registers asked.
    int length = 0;
    for (int b = first; b <= last; ++b)
        length += std::max(1, widthOf(category << 8 | b));
    const Bytes zeros(static_cast<size_t>(std::min(std::max(length, 1), kMaxValues)), 0);
    if (frame[5] != sum(frame, 5))
        return readAnswer(kBadChecksum, zeros);
    if (last < first || length > kMaxValues)
        return readAnswer(kOther, zeros);
    Bytes values;
    for (int b = first; b <= last; ++b) {
        const uint8_t status = lookUp(category, b);
        if (status != kDone)
            return readAnswer(status, zeros);
        const int key = category << 8 | b;
        const auto reg = registers.find(key);
        const int value = reg == registers.end() ? 0 : reg->second;
        if (widthOf(key) == 2)
            values.push_back(static_cast<uint8_t>(value >> 8 & 0xFF));
        values.push_back(static_cast<uint8_t>(value & 0xFF));
    }
    return readAnswer(kDone, std::move(values));
}

BinaryFamily::Bytes EffioFamily::refuseGarbage(const Bytes&) const {
    return writeAnswer(kOther);
}

int EffioFamily::checksumAt(const Bytes& answer) const {
    const bool ours = answer.size() >= 3 && (answer[0] == kWrite || answer[0] == kRead);
    return ours ? static_cast<int>(answer.size()) - 1 : -1;
}

// Fixed-length answers hold no count byte.
int EffioFamily::countAt(const Bytes&) const {
    return -1;
}

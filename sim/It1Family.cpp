// The IT1 register modules' frames and answers, for the binary register simulator.
#include "sim/It1Family.h"

#include <algorithm>

namespace {

constexpr uint8_t kShortRequest = 8; // a read, or a one-byte write
constexpr uint8_t kLongRequest = 9;  // a two-byte write
constexpr uint8_t kAddress = 0x01;   // byte 1 of every frame
constexpr uint8_t kWrite = 0x02;
constexpr uint8_t kRead = 0x01;

constexpr uint8_t kDone = 0x01;
constexpr uint8_t kBadChecksum = 0xE1;
constexpr uint8_t kNoRegister = 0xE2;
constexpr uint8_t kMalformed = 0xE3;

// The zoom modules' lens frames: 81 .. FF, at most 16 bytes.
constexpr uint8_t kLensStart = 0x81;
constexpr uint8_t kLensEnd = 0xFF;
constexpr size_t kLensMax = 16;

uint8_t checksum(const BinaryFamily::Bytes& bytes, size_t count) {
    unsigned sum = 0;
    for (size_t i = 0; i < count; ++i)
        sum += bytes[i];
    return static_cast<uint8_t>(sum);
}

// length, 01, length less 3, result code, value bytes, checksum.
BinaryFamily::Bytes reply(uint8_t code, const BinaryFamily::Bytes& value = {}) {
    const auto length = static_cast<uint8_t>(5 + value.size());
    BinaryFamily::Bytes out(length);
    out[0] = length;
    out[1] = kAddress;
    out[2] = static_cast<uint8_t>(length - 3);
    out[3] = code;
    std::copy(value.begin(), value.end(), out.begin() + 4);
    out[length - 1U] = checksum(out, length - 1U);
    return out;
}

bool isIt1Answer(const BinaryFamily::Bytes& answer) {
    return answer.size() >= 5 && answer[0] == answer.size() && answer[1] == kAddress;
}

} // namespace

size_t It1Family::frameLength(const Bytes& pending) const {
    const uint8_t first = pending.front();
    if (first == kShortRequest || first == kLongRequest)
        return first;
    if (first != kLensStart || !m_model.lensFrames)
        return kGarbage;
    const auto end = std::find(pending.begin(), pending.end(), kLensEnd);
    if (end != pending.end())
        return static_cast<size_t>(end - pending.begin()) + 1;
    return pending.size() < kLensMax ? 0 : kGarbage;
}

std::vector<BinaryFamily::Bytes> It1Family::answer(const Bytes& frame, Registers& registers) {
    if (frame.front() == kLensStart)
        return answerLens(frame);
    return {answerRegister(frame, registers)};
}

// 81 01 04 B1 p FF recalls lens preset p.
std::vector<BinaryFamily::Bytes> It1Family::answerLens(const Bytes& frame) {
    const Bytes preset{kLensStart, 0x01, 0x04, 0xB1};
    if (frame.size() != preset.size() + 2 ||
        !std::equal(preset.begin(), preset.end(), frame.begin()))
        return {{0x90, 0x60, 0x02, 0xFF}};
    m_vecLensPresets.push_back(frame[4]);
    return {{0x90, 0x41, 0xFF}, {0x90, 0x51, 0xFF}};
}

BinaryFamily::Bytes It1Family::answerRegister(const Bytes& frame, Registers& registers) const {
    const size_t n = frame.size();
    if (frame[n - 1] != checksum(frame, n - 1))
        return reply(kBadChecksum);
    if (frame[1] != kAddress || frame[2] != n - 3)
        return reply(kMalformed);
    const int address = frame[4] << 8 | frame[5];
    const auto reg = registers.find(address);
    if (frame[3] == kWrite) {
        if (reg == registers.end() || address == kLightRegister)
            return reply(kNoRegister);
        reg->second = n == kShortRequest ? frame[6] : frame[6] | frame[7] << 8;
        return reply(kDone);
    }
    if (frame[3] != kRead || n != kShortRequest || frame[6] < 1 || frame[6] > 2)
        return reply(kMalformed);
    if (reg == registers.end())
        return reply(kNoRegister);
    const auto low = static_cast<uint8_t>(reg->second & 0xFF);
    const auto high = static_cast<uint8_t>(reg->second >> 8 & 0xFF);
    return frame[6] == 1 ? reply(kDone, {low}) : reply(kDone, {low, high});
}

BinaryFamily::Bytes It1Family::refuseGarbage(const Bytes& head) const {
    if (head.front() == kLensStart && m_model.lensFrames)
        return {0x90, 0x60, 0x02, 0xFF};
    return reply(kMalformed);
}

int It1Family::checksumAt(const Bytes& answer) const {
    return isIt1Answer(answer) ? static_cast<int>(answer.size()) - 1 : -1;
}

int It1Family::countAt(const Bytes& answer) const {
    return isIt1Answer(answer) ? 0 : -1;
}

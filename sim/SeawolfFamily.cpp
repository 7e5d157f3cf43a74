// The Seawolf register modules' frames and answers, for the binary register simulator.
#include "sim/SeawolfFamily.h"

namespace {

constexpr uint8_t kRead = 0x03;
constexpr uint8_t kWrite = 0x02;
constexpr uint8_t kSave = 0x07;
constexpr uint8_t kRestart = 0x09;

constexpr uint8_t kAccepted = 0x01;
constexpr uint8_t kData = 0x02;
constexpr uint8_t kRejected = 0x03;

// The registers of the module and their values at power-up.
const std::vector<std::pair<int, int>> kPowerUp = {
    {0x0F, 0},   // lens type: auto iris
    {0x20, 30},  // maximum gain 30, gain boost off
    {0x22, 50},  // brightness
    {0x32, 0},   // exposure preference
    {0x41, 2},   // gamma
    {0x44, 32},  // noise reduction
    {0x45, 0},   // flip
    {0x4C, 0},   // exposure area
    {0x59, 50},  // sharpness
    {0x5C, 50},  // saturation
    {0x61, 0},   // shutter limit
    {0x78, 1},   // video system: PAL
    {0x8F, 0},   // white balance
    {0x9C, 0},   // resolution
    {0x042C, 0}, // backlight and fluorescent compensation
    {SeawolfFamily::kVersionRegister, 1},
    {SeawolfFamily::kLightRegister, 128},
};

uint8_t inverted(const BinaryFamily::Bytes& bytes, size_t count) {
    unsigned sum = 0;
    for (size_t i = 0; i < count; ++i)
        sum += bytes[i];
    return static_cast<uint8_t>(~sum);
}

} // namespace

SeawolfFamily::SeawolfFamily() : m_store(kPowerUp.begin(), kPowerUp.end()) {}

std::vector<std::pair<int, int>> SeawolfFamily::powerUp() const {
    return kPowerUp;
}

size_t SeawolfFamily::frameLength(const Bytes& pending) const {
    switch (pending.front()) {
    case kRead:
        return 5;
    case kWrite:
        return 9;
    case kSave:
        return 3;
    case kRestart:
        return 4;
    default:
        return kGarbage;
    }
}

std::vector<BinaryFamily::Bytes> SeawolfFamily::answer(const Bytes& frame, Registers& registers) {
    const size_t n = frame.size();
    if (frame[n - 1] != inverted(frame, n - 1))
        return {{kRejected}};
    switch (frame[0]) {
    case kSave:
        if (frame[1] != 0x00)
            return {{kRejected}};
        m_store = registers;
        ++m_nSaves;
        return {{kAccepted}};
    case kRestart:
        if (frame[1] != 0x01 || frame[2] != 0x01)
            return {{kRejected}};
        for (auto& reg : registers) {
            const auto kept = m_store.find(reg.first);
            if (kept != m_store.end() && reg.first != kLightRegister)
                reg.second = kept->second;
        }
        ++m_nRestarts;
        return {{kAccepted}};
    default:
        return {answerRegister(frame, registers)};
    }
}

BinaryFamily::Bytes SeawolfFamily::answerRegister(const Bytes& frame, Registers& registers) const {
    const bool write = frame[0] == kWrite;
    if (frame[1] != (write ? 0x06 : 0x02))
        return {kRejected};
    const int address = frame[2] << 8 | frame[3];
    const auto reg = registers.find(address);
    if (reg == registers.end())
        return {kRejected};
    if (write) {
        if (address == kVersionRegister || address == kLightRegister)
            return {kRejected};
        reg->second = static_cast<int>(static_cast<uint32_t>(frame[4]) << 24 | frame[5] << 16 |
                                       frame[6] << 8 | frame[7]);
        return {kAccepted};
    }
    const auto v = static_cast<uint32_t>(reg->second);
    Bytes out{kData,
              4,
              static_cast<uint8_t>(v >> 24),
              static_cast<uint8_t>(v >> 16),
              static_cast<uint8_t>(v >> 8),
              static_cast<uint8_t>(v),
              0};
    out[6] = inverted(out, 6);
    return out;
}

BinaryFamily::Bytes SeawolfFamily::refuseGarbage(const Bytes&) const {
    return {kRejected};
}

int SeawolfFamily::checksumAt(const Bytes& answer) const {
    return answer.size() >= 3 && answer[0] == kData ? static_cast<int>(answer.size()) - 1 : -1;
}

int SeawolfFamily::countAt(const Bytes& answer) const {
    return answer.size() >= 3 && answer[0] == kData ? 1 : -1;
}

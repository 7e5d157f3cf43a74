// The ITN register modules' frames and answers, for the binary register simulator.
#include "sim/ItnFamily.h"

#include <algorithm>

namespace {

constexpr uint8_t kRead = 0x01;
constexpr uint8_t kWrite = 0x02;
constexpr uint8_t kPairsLength = 0x0E;
constexpr int kPairs = 3;

// The module's registers: key, width in bytes, power-up value.
struct Register {
    int key;
    int width;
    int value;
};
const Register kRegisters[] = {
    {0x1A0005, 1, 128},  {0x1A0006, 1, 128},   {0x1A0003, 1, 128}, {0x1A0004, 1, 0},
    {0x1A0002, 1, 0},    {0x1F0001, 1, 0},     {0x150002, 1, 0},   {0x150032, 2, 50},
    {0x15000C, 1, 25},   {0x15000E, 2, 10000}, {0x150010, 2, 512}, {0x1500C4, 1, 1},
    {0x150025, 1, 8},    {0x150024, 1, 0x88},  {0x13001B, 1, 128}, {0x130018, 1, 8},
    {0x170090, 1, 0},    {0x17009E, 1, 0},     {0x1C0001, 1, 3},   {0x1B0558, 2, 800},
    {0x1B055A, 2, 1200}, {0x1D0020, 1, 1},     {0x1D0021, 1, 128}, {0x1D0022, 1, 128},
    {0x1D0030, 1, 1},    {0x1D0031, 1, 128},   {0x1D0032, 1, 128}, {0x1B0050, 1, 0x34},
};

const Register* findRegister(int key) {
    for (const Register& reg : kRegisters)
        if (reg.key == key)
            return &reg;
    return nullptr;
}

uint8_t sum(const BinaryFamily::Bytes& bytes, size_t count) {
    unsigned total = 0;
    for (size_t i = 0; i < count; ++i)
        total += bytes[i];
    return static_cast<uint8_t>(total);
}

BinaryFamily::Bytes withChecksum(BinaryFamily::Bytes bytes) {
    bytes.push_back(sum(bytes, bytes.size()));
    return bytes;
}

const BinaryFamily::Bytes kAcknowledge{0x05, 0x01, 0x02, 0x01, 0x09};
const BinaryFamily::Bytes kRefusal{0x05, 0x01, 0x02, 0x00, 0x08};

int keyOf(const BinaryFamily::Bytes& frame, size_t at) {
    return frame[4] << 16 | frame[5] << 8 | frame[at];
}

bool isItnAnswer(const BinaryFamily::Bytes& answer) {
    const uint8_t first = answer.empty() ? 0 : answer[0];
    return (first == 5 || first == 6 || first == 7 || first == 11) && answer.size() == first;
}

} // namespace

std::vector<std::pair<int, int>> ItnFamily::powerUp() const {
    std::vector<std::pair<int, int>> out;
    for (const Register& reg : kRegisters)
        out.emplace_back(reg.key, reg.value);
    return out;
}

size_t ItnFamily::frameLength(const Bytes& pending) const {
    const uint8_t first = pending.front();
    return first == 8 || first == 9 || first == 10 || first == kPairsLength ? first : kGarbage;
}

std::vector<BinaryFamily::Bytes> ItnFamily::answer(const Bytes& frame, Registers& registers) {
    const size_t n = frame.size();
    if (frame[n - 1] != sum(frame, n - 1) || frame[1] != 0x01 || frame[2] != n - 3)
        return {kRefusal};
    if (n == 8 && frame[3] == kRead) {
        const Register* reg = findRegister(keyOf(frame, 6));
        if (reg == nullptr)
            return {kRefusal};
        const int value = registers[reg->key];
        if (reg->width == 1)
            return {withChecksum({6, 0x01, 0x03, 0x01, static_cast<uint8_t>(value & 0xFF)})};
        return {withChecksum({7, 0x01, 0x04, 0x01, static_cast<uint8_t>(value >> 8 & 0xFF),
                              static_cast<uint8_t>(value & 0xFF)})};
    }
    if (frame[3] != kWrite)
        return {kRefusal};
    if (n == kPairsLength) {
        if (frame[6] != kPairs)
            return {kRefusal};
        for (int i = 0; i < kPairs; ++i) {
            const Register* reg = findRegister(keyOf(frame, 7 + 2 * static_cast<size_t>(i)));
            if (reg == nullptr || reg->width != 1)
                return {kRefusal};
        }
        for (int i = 0; i < kPairs; ++i)
            registers[keyOf(frame, 7 + 2 * static_cast<size_t>(i))] = frame[8 + 2 * i];
        return {kAcknowledge};
    }
    const Register* reg = findRegister(keyOf(frame, 6));
    const int width = static_cast<int>(n) - 8;
    if (n < 9 || reg == nullptr || reg->width != width)
        return {kRefusal};
    registers[reg->key] = width == 1 ? frame[7] : frame[7] << 8 | frame[8];
    return {kAcknowledge};
}

BinaryFamily::Bytes ItnFamily::refuseGarbage(const Bytes&) const {
    return kRefusal;
}

int ItnFamily::checksumAt(const Bytes& answer) const {
    return isItnAnswer(answer) ? static_cast<int>(answer.size()) - 1 : -1;
}

int ItnFamily::countAt(const Bytes& answer) const {
    return isItnAnswer(answer) ? 0 : -1;
}

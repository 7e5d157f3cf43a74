// ITN binary register protocol: write frames, one bounded exchange by answer form, writes.
#include "drivers/protocols/ItnProtocol.h"

#include "controller/ISensorController.h"

#include <algorithm>
#include <cstdio>

namespace {

// The acknowledge after its first byte: 01 02 01 and the checksum of 05 01 02 01.
constexpr uint8_t kAck[4] = {0x01, 0x02, 0x01, 0x09};

// A value answer's form by its first byte: the header's middle byte and the
// number of value bytes; 0 for no such form.
struct Form {
    uint8_t first;
    uint8_t middle;
    int values;
    const char* missingChecksum;
};
constexpr Form kForms[] = {
    {6, 0x03, 1, "2 recv checksum error"},
    {7, 0x04, 2, "3 recv checksum error"},
    {11, 0x08, 6, "4 recv checksum error"},
};

} // namespace

ItnProtocol::ItnProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                         ISensorController& log)
    : m_objLink(uart, port, log), m_lock(lock), m_log(log) {}

void ItnProtocol::computeCheckSum(uint8_t* frame, int length) {
    if (frame != nullptr && length > 0)
        frame[length - 1] = binary::additiveChecksum(frame, length - 1);
}

int ItnProtocol::writeFrame(uint8_t frame[10], int group, int sub, int reg, int width, int value) {
    const int length = width == 2 ? 10 : 9;
    frame[0] = static_cast<uint8_t>(length);
    frame[1] = 0x01;
    frame[2] = static_cast<uint8_t>(length - 3);
    frame[3] = 0x02;
    frame[4] = static_cast<uint8_t>(group & 0xFF);
    frame[5] = static_cast<uint8_t>(sub & 0xFF);
    frame[6] = static_cast<uint8_t>(reg & 0xFF);
    if (width == 2) {
        frame[7] = static_cast<uint8_t>((value >> 8) & 0xFF);
        frame[8] = static_cast<uint8_t>(value & 0xFF);
    } else {
        frame[7] = static_cast<uint8_t>(value & 0xFF);
    }
    frame[length - 1] = 0;
    return length;
}

int ItnProtocol::readFrame(uint8_t frame[8], int group, int sub, int reg) {
    const uint8_t bytes[8] = {8,
                              0x01,
                              5,
                              0x01,
                              static_cast<uint8_t>(group & 0xFF),
                              static_cast<uint8_t>(sub & 0xFF),
                              static_cast<uint8_t>(reg & 0xFF),
                              0};
    std::copy(bytes, bytes + 8, frame);
    return 8;
}

int ItnProtocol::pairsFrame(uint8_t frame[kPairsLength], int group, int sub, const int regs[kPairs],
                            const int values[kPairs]) {
    frame[0] = kPairsLength;
    frame[1] = 0x01;
    frame[2] = kPairsLength - 3;
    frame[3] = 0x02;
    frame[4] = static_cast<uint8_t>(group & 0xFF);
    frame[5] = static_cast<uint8_t>(sub & 0xFF);
    frame[6] = kPairs;
    for (int i = 0; i < kPairs; ++i) {
        frame[7 + 2 * i] = static_cast<uint8_t>(regs[i] & 0xFF);
        frame[8 + 2 * i] = static_cast<uint8_t>(values[i] & 0xFF);
    }
    frame[kPairsLength - 1] = 0;
    return kPairsLength;
}

int ItnProtocol::sendCommand(uint8_t* frame, int length, uint8_t* values, int capacity,
                             int& count) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    count = 0;
    computeCheckSum(frame, length);
    // An answer still on its way to an earlier frame is not this one's.
    m_objLink.clear();
    const int sent = m_objLink.write(frame, length);
    if (sent != length) {
        std::printf("sendData failed,actualSendLength=%d,expectedSendLength=%d\n", sent, length);
        if (sent <= 0)
            return -1;
    }
    uint8_t first = 0;
    const int got = m_objLink.read(&first, 1, kTimeout);
    if (got != 1) {
        std::printf("recv ResultCode failed,nRecvLength=%d,nResult = %d\n", got, first);
        return -2;
    }
    if (first == 5) {
        uint8_t rest[4] = {};
        const int n = m_objLink.read(rest, 4, kTimeout);
        if (n != 4) {
            std::printf("__recv failed,nRet = %d !=4\n", n);
            return -2;
        }
        for (int i = 0; i < 4; ++i)
            if (rest[i] != kAck[i])
                return -2;
        return kAccepted;
    }
    return readValue(first, values, capacity, count);
}

int ItnProtocol::readValue(uint8_t first, uint8_t* values, int capacity, int& count) {
    const Form* form = nullptr;
    for (const Form& f : kForms)
        if (f.first == first)
            form = &f;
    if (form == nullptr) {
        std::printf("recv code failed,first recv code = 0x%x\n", first);
        return -1;
    }
    uint8_t answer[3 + 1 + kMaxValue + 1] = {first};
    int n = m_objLink.read(answer + 1, 3, kTimeout);
    if (n != 3) {
        std::printf("__recv failed,nRet = %d !=3\n", n);
        return -2;
    }
    if (answer[1] != 0x01 || answer[2] != form->middle || answer[3] != 0x01)
        return -2;
    // Never more than the caller's buffer takes.
    if (form->values > capacity)
        return -2;
    n = m_objLink.read(answer + 4, form->values, kTimeout);
    if (n != form->values) {
        std::printf("__recv failed,nRet = %d !=%d\n", n, form->values);
        return -2;
    }
    const int at = 4 + form->values;
    if (m_objLink.read(answer + at, 1, kTimeout) != 1) {
        std::printf("%s\n", form->missingChecksum);
        return -2;
    }
    // Only an answer whose checksum holds answers this frame.
    if (answer[at] != binary::additiveChecksum(answer, at)) {
        m_log.ErrorPrintf("recv checksum error: %s", binary::hexText(answer, at + 1).c_str());
        return -2;
    }
    for (int i = 0; i < form->values; ++i)
        values[i] = answer[4 + i];
    count = form->values;
    return kValue;
}

int ItnProtocol::recvLeftData() {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    return m_objLink.drain(kTimeout);
}

int ItnProtocol::setParameterValue(uint8_t* frame, int length) {
    uint8_t values[kMaxValue] = {};
    int count = 0;
    const int result = sendCommand(frame, length, values, kMaxValue, count);
    if (result == kAccepted)
        return 1;
    failed("setParameterValue", result, frame, length, values, count);
    return 0;
}

void ItnProtocol::failed(const char* what, int result, const uint8_t* frame, int length,
                         const uint8_t* values, int count) {
    std::printf("%s error,nRet = %d\n\tsend command is:%s\n\trecv command is:%s\n", what, result,
                binary::hexText(frame, length).c_str(), binary::hexText(values, count).c_str());
    recvLeftData();
}

int ItnProtocol::readRegister(int group, int sub, int reg, int width, int& value) {
    uint8_t frame[8];
    const int length = readFrame(frame, group, sub, reg);
    uint8_t values[kMaxValue] = {};
    int count = 0;
    const int result = sendCommand(frame, length, values, kMaxValue, count);
    // Only the width asked for answers this read.
    if (result != kValue || count != width || width < 1 || width > 2) {
        failed("getParameterValue", result, frame, length, values, count);
        return 0;
    }
    value = width == 2 ? values[0] << 8 | values[1] : values[0];
    return 1;
}

int ItnProtocol::writeRegister(int group, int sub, int reg, int width, int value) {
    uint8_t frame[10];
    const int length = writeFrame(frame, group, sub, reg, width, value);
    return setParameterValue(frame, length);
}

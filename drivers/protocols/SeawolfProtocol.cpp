// Seawolf binary register protocol: frames, one bounded exchange by result code, registers, store.
#include "drivers/protocols/SeawolfProtocol.h"

#include "controller/ISensorController.h"
#include "platform/GlobalEnv.h"

#include <algorithm>
#include <cstdio>

namespace {

bool printing() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}

constexpr uint8_t kRead = 0x03;
constexpr uint8_t kWrite = 0x02;
// The longest data a result code 2 can announce (its count is one byte).
constexpr int kMaxData = 255;

} // namespace

SeawolfProtocol::SeawolfProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                                 ISensorController& log)
    : m_objLink(uart, port, log), m_lock(lock), m_log(log) {}

uint8_t SeawolfProtocol::getCheckSum(const uint8_t* frame, int length) {
    return binary::invertedChecksum(frame, length - 1);
}

void SeawolfProtocol::computeCheckSum(uint8_t* frame, int length) {
    if (frame != nullptr && length > 0)
        frame[length - 1] = getCheckSum(frame, length);
}

int SeawolfProtocol::readFrame(uint8_t frame[5], int page, int reg) {
    frame[0] = kRead;
    frame[1] = 0x02; // bytes of address that follow
    frame[2] = static_cast<uint8_t>(page & 0xFF);
    frame[3] = static_cast<uint8_t>(reg & 0xFF);
    frame[4] = 0;
    return 5;
}

int SeawolfProtocol::writeFrame(uint8_t frame[9], int page, int reg, int value) {
    const auto v = static_cast<uint32_t>(value);
    frame[0] = kWrite;
    frame[1] = 0x06; // address and value bytes that follow
    frame[2] = static_cast<uint8_t>(page & 0xFF);
    frame[3] = static_cast<uint8_t>(reg & 0xFF);
    frame[4] = static_cast<uint8_t>(v >> 24);
    frame[5] = static_cast<uint8_t>(v >> 16);
    frame[6] = static_cast<uint8_t>(v >> 8);
    frame[7] = static_cast<uint8_t>(v);
    frame[8] = 0;
    return 9;
}

int SeawolfProtocol::sendCommand(uint8_t* frame, int length, uint8_t* answer, int capacity,
                                 int* received) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    if (received != nullptr)
        *received = 0;
    if (frame == nullptr || length <= 0)
        return kNotSent;
    computeCheckSum(frame, length);
    // An answer still on its way to an earlier frame is not this one's.
    m_objLink.clear();
    const int sent = m_objLink.write(frame, length);
    if (sent != length) {
        m_log.ErrorPrintf("sendData failed,actualSendLength=%d,expectedSendLength=%d", sent,
                          length);
        if (sent <= 0)
            return kNotSent;
    }
    uint8_t code = 0;
    const int got = m_objLink.read(&code, 1, kTimeout);
    if (got != 1) {
        m_log.ErrorPrintf("recv ResultCode failed,nRecvLength=%d,nResult = %d", got, code);
        return kNoAnswer;
    }
    switch (code) {
    case kAccepted:
        return kAccepted;
    case kRejected:
        m_log.ErrorPrintf("command , data length or checksum error");
        return kModuleError;
    case kData:
        return readData(answer, capacity, received);
    default:
        m_log.ErrorPrintf("unknown result code 0x%02x", code);
        return kUnknownCode;
    }
}

// After result code 2: N, N data bytes, checksum. The count is judged before
// any data byte is read.
int SeawolfProtocol::readData(uint8_t* answer, int capacity, int* received) {
    // code, count, data, checksum
    uint8_t buf[1 + 1 + kMaxData + 1] = {kData};
    const int room = answer == nullptr ? 0 : std::clamp(capacity, 0, kMaxData);
    const BinaryLink::Counted got =
        m_objLink.readCounted(buf + 1, room + 2, 2, 2, kTimeout, kTimeout);
    switch (got.status) {
    case BinaryLink::Counted::NoCount:
        m_log.ErrorPrintf("recv ResultCode failed,nRecvLength=%d,nResult = %d", got.got, kData);
        return kNoAnswer;
    case BinaryLink::Counted::TooLong:
        m_log.ErrorPrintf("ERROR !!!!!!nLen > p_RecvLength");
        return 0;
    case BinaryLink::Counted::BadCount:
    case BinaryLink::Counted::Short:
        m_log.ErrorPrintf("recv data failed,nRecvLength=%d,nExpectedLength=%d", got.got - 1,
                          got.total - 1);
        return kNoAnswer;
    case BinaryLink::Counted::Ok:
        break;
    }
    const int n = got.count;
    // The checksum covers the result code, the count and the data.
    if (buf[2 + n] != binary::invertedChecksum(buf, 2 + n)) {
        m_log.ErrorPrintf("the checksum get from sensor is error!");
        return 0;
    }
    std::copy(buf + 2, buf + 2 + n, answer);
    if (received != nullptr)
        *received = n;
    return kData;
}

int SeawolfProtocol::recvLeftData() {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    return m_objLink.drain(kTimeout);
}

int SeawolfProtocol::setParameterValue(uint8_t* frame, int length) {
    uint8_t answer[kAnswerCapacity] = {};
    if (sendCommand(frame, length, answer, kAnswerCapacity) == kAccepted)
        return 1;
    recvLeftData();
    return 0;
}

int SeawolfProtocol::getParameterValue(uint8_t* frame, int length, uint8_t* answer, int capacity,
                                       int* received) {
    int count = 0;
    const int result = sendCommand(frame, length, answer, capacity, &count);
    if (received != nullptr)
        *received = count;
    if (result == kData)
        return 1;
    if (printing())
        std::printf("getParameterValue error,nRet = %d\n\tsend command is:%s\n\trecv command "
                    "is:%s\n",
                    result, binary::hexText(frame, length).c_str(),
                    binary::hexText(answer, count).c_str());
    recvLeftData();
    return 0;
}

int SeawolfProtocol::getParameterValue(int reg, uint8_t* answer, int capacity) {
    uint8_t frame[5];
    const int length = readFrame(frame, kDefaultPage, reg);
    if (getParameterValue(frame, length, answer, capacity) == 1)
        return 1;
    m_log.ErrorPrintf("______________getParameterValue(0x%02x)failed", reg);
    return 0;
}

int SeawolfProtocol::getParameterValue(int page, int reg, uint8_t* answer, int capacity) {
    uint8_t frame[5];
    const int length = readFrame(frame, page, reg);
    if (getParameterValue(frame, length, answer, capacity) == 1)
        return 1;
    m_log.ErrorPrintf("______________getParameterValue(0x%02x),(0x%02x)failed", page, reg);
    return 0;
}

int SeawolfProtocol::writeRegister(int page, int reg, int value) {
    uint8_t frame[9];
    const int length = writeFrame(frame, page, reg, value);
    return setParameterValue(frame, length);
}

int SeawolfProtocol::readRegister(int page, int reg, int& value) {
    uint8_t frame[5];
    const int length = readFrame(frame, page, reg);
    uint8_t data[kValueBytes] = {};
    int count = 0;
    if (getParameterValue(frame, length, data, kValueBytes, &count) == 0) {
        m_log.ErrorPrintf("______________getParameterValue(0x%02x),(0x%02x)failed", page, reg);
        return 0;
    }
    // Only a register value answers a register read.
    if (count != kValueBytes) {
        m_log.ErrorPrintf("register 0x%02x,0x%02x answered with %d data bytes", page, reg, count);
        return 0;
    }
    const uint32_t v = static_cast<uint32_t>(data[0]) << 24 | static_cast<uint32_t>(data[1]) << 16 |
                       static_cast<uint32_t>(data[2]) << 8 | data[3];
    value = static_cast<int>(v);
    return 1;
}

int SeawolfProtocol::flush() {
    uint8_t frame[3] = {0x07, 0x00, 0x00};
    if (setParameterValue(frame, 3) == 1)
        return 1;
    m_log.ErrorPrintf("save parameter failed");
    return 0;
}

int SeawolfProtocol::resetParameters() {
    uint8_t frame[4] = {0x09, 0x01, 0x01, 0x00};
    if (setParameterValue(frame, 4) == 1)
        return 1;
    m_log.ErrorPrintf("resetParameters failed");
    return 0;
}

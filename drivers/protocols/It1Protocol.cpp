// IT1 binary register protocol: frames, one bounded exchange, its second try, register access.
#include "drivers/protocols/It1Protocol.h"

#include "controller/ISensorController.h"
#include "platform/GlobalEnv.h"
#include "platform/PlatformClock.h"

#include <cstdio>

namespace {

bool printing() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}

// An answer of N bytes: count, 01, N - 3, result, values, checksum.
constexpr int kAnswerHead = 4;
constexpr int kWriteAnswer = 5;

} // namespace

It1Protocol::It1Protocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                         ISensorController& log)
    : m_objLink(uart, port, log), m_lock(lock), m_log(log) {}

void It1Protocol::computeCheckSum(uint8_t* frame, int length) {
    if (frame == nullptr || length <= 0)
        return;
    frame[length - 1] = binary::additiveChecksum(frame, length - 1);
}

int It1Protocol::writeFrame(uint8_t frame[9], int address, int width, int value) {
    const int length = width == 2 ? 9 : 8;
    frame[0] = static_cast<uint8_t>(length);
    frame[1] = 0x01;
    frame[2] = static_cast<uint8_t>(length - 3);
    frame[3] = kWrite;
    frame[4] = static_cast<uint8_t>((address >> 8) & 0xFF);
    frame[5] = static_cast<uint8_t>(address & 0xFF);
    frame[6] = static_cast<uint8_t>(value & 0xFF);
    if (width == 2)
        frame[7] = static_cast<uint8_t>((value >> 8) & 0xFF);
    frame[length - 1] = 0;
    return length;
}

int It1Protocol::readFrame(uint8_t frame[8], int address, int width) {
    writeFrame(frame, address, 1, width == 2 ? 2 : 1);
    frame[3] = kRead;
    return 8;
}

int It1Protocol::baseSendCommand(uint8_t* frame, int length, uint8_t* answer, int capacity) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    computeCheckSum(frame, length);
    // An answer still on its way to an earlier frame is not this one's.
    m_objLink.clear();
    const int sent = m_objLink.write(frame, length);
    if (sent != length) {
        m_log.ErrorPrintf("p_pszSendCommandLen = %d,nSendLength=%d", length, sent);
        return kShortWrite;
    }
    const BinaryLink::Counted got =
        m_objLink.readCounted(answer, capacity, kWriteAnswer, 0, kTimeout, kTimeout);
    switch (got.status) {
    case BinaryLink::Counted::NoCount:
        m_log.ErrorPrintf("recv dataCount failed,nRecvLength=%d", got.got);
        return kNoAnswer;
    case BinaryLink::Counted::TooLong:
        if (printing())
            std::printf("recv dataCount failed,dataCount=%d,nResult=0x%02x\n", got.count,
                        got.count);
        return kTooLong;
    case BinaryLink::Counted::BadCount:
    case BinaryLink::Counted::Short:
        m_log.ErrorPrintf("recv data failed,nRecvLength=%d,nRecvCount=%d", got.got - 1,
                          got.total - 1);
        return kNoAnswer;
    case BinaryLink::Counted::Ok:
        break;
    }
    const int n = got.total;
    const uint8_t received = answer[n - 1];
    computeCheckSum(answer, n);
    if (answer[n - 1] != received) {
        m_log.ErrorPrintf("checkSum error,nExpectedCheckSum = 0x%02x,actualCheckSum=0x%02x",
                          answer[n - 1], received);
        answer[n - 1] = received;
        return kBadChecksum;
    }
    return n;
}

int It1Protocol::sendCommand(uint8_t* frame, int length, uint8_t* answer, int capacity) {
    int result = baseSendCommand(frame, length, answer, capacity);
    if (result > 0 || PlatformClock::stopRequested())
        return result;
    result = baseSendCommand(frame, length, answer, capacity);
    if (result <= 0 && printing())
        std::printf("second sendCommand failed,nCount=%d\n", result);
    return result;
}

int It1Protocol::recvLeftData() {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    return m_objLink.drain(kTimeout);
}

int It1Protocol::setParameterValue(uint8_t* frame, int length) {
    uint8_t answer[kAnswerCapacity] = {};
    const int result = sendCommand(frame, length, answer, kAnswerCapacity);
    // Only an acknowledge of a write that was done answers this frame.
    if (result == kWriteAnswer && answer[1] == 0x01 && answer[2] == kWriteAnswer - 3 &&
        answer[3] == kDone)
        return 1;
    printExchange("setParameterValue error,nRet = %d,\n\tsendCommand is:", result, frame, length,
                  "\trecvCommand:", answer, result);
    recvLeftData();
    return 0;
}

int It1Protocol::getParameterValue(uint8_t* frame, int length, int& value) {
    uint8_t answer[kAnswerCapacity] = {};
    const int result = sendCommand(frame, length, answer, kAnswerCapacity);
    // The answer must carry as many value bytes as this read asked for.
    const int wanted = length >= 8 ? frame[6] : 0;
    if ((result == 6 || result == 7) && result == kAnswerHead + wanted + 1 && answer[1] == 0x01 &&
        answer[2] == result - 3 && answer[3] == kDone) {
        value = result == 6 ? answer[4] : answer[4] + 256 * answer[5];
        return 1;
    }
    printExchange("getParameterValue error,nRet = %d,command is:", result, frame, length,
                  "\trecvCommand:", answer, result);
    recvLeftData();
    return 0;
}

int It1Protocol::writeRegister(int address, int width, int value) {
    uint8_t frame[9];
    const int length = writeFrame(frame, address, width, value);
    return setParameterValue(frame, length);
}

int It1Protocol::readRegister(int address, int width, int& value) {
    uint8_t frame[8];
    const int length = readFrame(frame, address, width);
    return getParameterValue(frame, length, value);
}

void It1Protocol::printExchange(const char* head, int result, const uint8_t* frame, int length,
                                const char* recvHead, const uint8_t* answer, int answerLength) {
    std::printf(head, result);
    std::printf("%s\n%s%s\n", binary::hexText(frame, length).c_str(), recvHead,
                binary::hexText(answer, answerLength > 0 ? answerLength : 0).c_str());
}

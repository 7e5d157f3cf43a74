// Effio binary register protocol: frames, the write and read exchanges, register access.
#include "drivers/protocols/EffioProtocol.h"

#include "controller/ISensorController.h"
#include "platform/KovantTime.h"

#include <cstdio>

namespace {

constexpr int kWriteAnswer = 3;

struct Refusal {
    uint8_t status;
    const char* message;
};
constexpr Refusal kRefusals[] = {
    {0xF0, "Communication error"},
    {0xF1, "Category number error"},
    {0xF2, "Byte number error"},
    {0xFE, "Other error"},
};

// What a short answer logs: the failure (with the count read), then both sides.
constexpr EffioProtocol::ShortAnswer kWriteDump = {
    "setParameters : recv len failed expectlen=3,actuallen=%d", "\nset send :%s\n",
    "set recv :%s\n"};
constexpr EffioProtocol::ShortAnswer kReadDump = {"getParmaters recv len error",
                                                  "recv request :%s\n", "\nresult :%s\n"};

uint8_t low(int value) {
    return static_cast<uint8_t>(value & 0xFF);
}

} // namespace

EffioProtocol::EffioProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                             ISensorController& log)
    : m_objLink(uart, port, log), m_lock(lock), m_log(log) {}

void EffioProtocol::computeCheckSum(uint8_t* frame, int length) {
    if (frame != nullptr && length > 0)
        frame[length - 1] = binary::additiveChecksum(frame, length - 1);
}

int EffioProtocol::writeFrame(uint8_t frame[7], int category, int byteNumber, int width,
                              int value) {
    const int length = width == 2 ? 7 : 6;
    frame[0] = static_cast<uint8_t>(length);
    frame[1] = kWrite;
    frame[2] = low(category);
    frame[3] = low(byteNumber);
    if (width == 2) {
        splitData(value, frame[4], frame[5]);
    } else {
        frame[4] = low(value);
    }
    frame[length - 1] = 0;
    return length;
}

int EffioProtocol::readFrame(uint8_t frame[6], int category, int first, int last) {
    frame[0] = 0x06;
    frame[1] = kRead;
    frame[2] = low(category);
    frame[3] = low(first);
    frame[4] = low(last);
    frame[5] = 0;
    return 6;
}

const char* EffioProtocol::statusMessage(uint8_t status) {
    for (const Refusal& r : kRefusals)
        if (r.status == status)
            return r.message;
    return nullptr;
}

bool EffioProtocol::send(uint8_t* frame, int length, const char* what) {
    computeCheckSum(frame, length);
    // An answer still on its way to an earlier frame is not this one's.
    m_objLink.clear();
    if (m_objLink.write(frame, length) == length)
        return true;
    m_log.ErrorPrintf("%s::send command failed (%s)", what, binary::hexText(frame, length).c_str());
    return false;
}

bool EffioProtocol::receive(uint8_t* answer, int total, const ShortAnswer& dump,
                            const uint8_t* frame, int length) {
    const int got = m_objLink.read(answer, total, kTimeout);
    if (got != total) {
        m_log.ErrorPrintf(dump.failure, got);
        std::printf(dump.sent, binary::hexText(frame, length).c_str());
        std::printf(dump.received, binary::hexText(answer, got).c_str());
        return false;
    }
    if (const char* refusal = statusMessage(answer[1])) {
        m_log.ErrorPrintf("%s", refusal);
        return false;
    }
    return true;
}

int EffioProtocol::setParameters(uint8_t* frame, int length) {
    if (frame == nullptr || length < 2)
        return 0;
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    if (!send(frame, length, "setParameters"))
        return 0;
    uint8_t answer[kWriteAnswer] = {};
    if (!receive(answer, kWriteAnswer, kWriteDump, frame, length))
        return 0;
    // Only this request's answer: its operation repeated, the sum right.
    if (answer[0] != frame[1] || answer[2] != binary::additiveChecksum(answer, 2)) {
        m_log.ErrorPrintf("setParameters : not this write's answer (%s)",
                          binary::hexText(answer, kWriteAnswer).c_str());
        return 0;
    }
    KovantTime::wait(KovantTime(0, kWritePause));
    return 1;
}

int EffioProtocol::getParameters(uint8_t* frame, int length, uint8_t* values, int n) {
    if (frame == nullptr || length < 2 || values == nullptr || n < 1 || n > kMaxValues) {
        m_log.ErrorPrintf("getParameters : %d value bytes cannot be read", n);
        return 0;
    }
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    if (!send(frame, length, "getParameters"))
        return 0;
    uint8_t answer[kMaxValues + 3] = {};
    const int total = n + 3;
    if (!receive(answer, total, kReadDump, frame, length))
        return 0;
    const uint8_t expect = binary::additiveChecksum(answer, total - 1);
    if (answer[total - 1] != expect) {
        m_log.ErrorPrintf("check sum error expect=%d , but actual = %d", expect, answer[total - 1]);
        return 0;
    }
    if (answer[0] != frame[1]) {
        m_log.ErrorPrintf("getParameters : not this read's answer (%s)",
                          binary::hexText(answer, total).c_str());
        return 0;
    }
    for (int i = 0; i < n; ++i)
        values[i] = answer[2 + i];
    return 1;
}

int EffioProtocol::writeRegister(int category, int byteNumber, int width, int value) {
    uint8_t frame[7];
    const int length = writeFrame(frame, category, byteNumber, width, value);
    return setParameters(frame, length);
}

int EffioProtocol::readRegister(int category, int byteNumber, int width, int& value) {
    uint8_t frame[6];
    const int length = readFrame(frame, category, byteNumber, byteNumber);
    uint8_t bytes[2] = {};
    const int n = width == 2 ? 2 : 1;
    if (getParameters(frame, length, bytes, n) == 0)
        return 0;
    value = n == 2 ? assembleData(bytes[0], bytes[1]) : bytes[0];
    return 1;
}

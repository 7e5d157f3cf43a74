// VISCA link: reply reader, acknowledged commands, inquiries, echo-checked sends.
#include "drivers/protocols/ViscaTransport.h"

#include "controller/ISensorController.h"

#include <cstring>
#include <functional>
#include <vector>

namespace {

constexpr unsigned char kReplyStart = 0x90;
constexpr unsigned char kTerminator = 0xFF;
// A run of completion messages longer than this is a babbling module, not a
// reply; the reader gives up rather than loop on it.
constexpr int kMaxCompletionsSkipped = 16;

unsigned char byteAt(const char* data, int i) {
    return static_cast<unsigned char>(data[i]);
}

bool isCompletion(const char* msg, int len) {
    return len == 3 && byteAt(msg, 0) == kReplyStart &&
           (byteAt(msg, 1) == 0x51 || byteAt(msg, 1) == 0x52) && byteAt(msg, 2) == kTerminator;
}

bool isAcknowledge(const char* msg) {
    return byteAt(msg, 0) == kReplyStart && (byteAt(msg, 1) == 0x41 || byteAt(msg, 1) == 0x42) &&
           byteAt(msg, 2) == kTerminator;
}

} // namespace

ViscaTransport::ViscaTransport(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                               ISensorController& log)
    : m_uart(uart), m_nPort(port), m_lock(lock), m_log(log), m_szRecv() {}

int ViscaTransport::getRealData(char* buf, int maxLen, int timeout) {
    char scratch[kMaxReply];
    int count = 0;
    // Bytes before the reply's 0x90 are line noise; at most one buffer's worth
    // of them is skipped, so a stream of garbage cannot hold the reader.
    int skipped = 0;
    while (count < kMaxReply && skipped < kMaxReply) {
        char c = 0;
        if (m_uart->recv(m_nPort, &c, 1, timeout) < 1)
            break;
        if (count == 0 && static_cast<unsigned char>(c) != kReplyStart) {
            ++skipped;
            continue;
        }
        scratch[count++] = c;
        if (static_cast<unsigned char>(c) == kTerminator)
            break;
    }
    if (count < 1 || count > maxLen || buf == nullptr)
        return -1;
    std::memcpy(buf, scratch, static_cast<std::size_t>(count));
    return count;
}

int ViscaTransport::recvData(char* buf, int len, int timeout) {
    int got = getRealData(buf, len, timeout);
    for (int skipped = 0; isCompletion(buf, got); ++skipped) {
        if (skipped == kMaxCompletionsSkipped)
            return -1;
        got = getRealData(buf, len, timeout);
    }
    return got;
}

int ViscaTransport::exchange(const char* frame, int len, const char* name,
                             const std::function<bool(int attempt)>& receive) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        const int sent = m_uart->send(m_nPort, frame, len);
        if (sent != len)
            logSendFailure(name, attempt, sent, frame, len);
        else if (receive(attempt))
            return 1;
        drain();
    }
    return 0;
}

int ViscaTransport::command(const char* frame, int len, const char* name) {
    if (frame == nullptr || len <= 0)
        return 0;
    return exchange(frame, len, name, [&](int attempt) {
        const int got = recvData(m_szRecv, 3, kReplyTimeout);
        if (got != 3) {
            logRecvFailure(name, attempt, frame, len, m_szRecv, got);
            return false;
        }
        if (isAcknowledge(m_szRecv))
            return true;
        m_log.ErrorPrintf("===send:");
        m_log.recodeArray(frame, len);
        m_log.ErrorPrintf("===%s(%d times) recv error,recv:0x%x,0x%x,0x%x", name, attempt,
                          byteAt(m_szRecv, 0), byteAt(m_szRecv, 1), byteAt(m_szRecv, 2));
        return false;
    });
}

int ViscaTransport::inquiry(const char* frame, int len, char* reply, int replyLen,
                            const char* name) {
    if (frame == nullptr || len <= 0 || reply == nullptr || replyLen <= 0 || replyLen > kMaxReply)
        return 0;
    return exchange(frame, len, name, [&](int attempt) {
        const int got = recvData(m_szRecv, replyLen, kReplyTimeout);
        if (got != replyLen) {
            logRecvFailure(name, attempt, frame, len, m_szRecv, got);
            return false;
        }
        std::memcpy(reply, m_szRecv, static_cast<std::size_t>(replyLen));
        return true;
    });
}

int ViscaTransport::sendWithEcho(const char* frame, int len, const char* name) {
    if (frame == nullptr || len <= 0)
        return 0;
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    std::vector<char> echo(static_cast<std::size_t>(len));
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        // m_uart-> throws on an empty UART pointer, on every attempt.
        const int sent = m_uart->send(m_nPort, frame, len);
        if (sent != len) {
            logSendFailure(name, attempt, sent, frame, len);
            drain();
            continue;
        }
        const int got = m_uart->recv(m_nPort, echo.data(), len, kEchoTimeout);
        if (got != len) {
            logRecvFailure(name, attempt, frame, len, echo.data(), got);
            drain();
            continue;
        }
        // The frame reached the module; a wrong echo is reported per differing
        // byte, and only on the last attempt does it fail the send.
        for (int i = 0; i < len; ++i) {
            if (echo[static_cast<std::size_t>(i)] == frame[i])
                continue;
            m_log.ErrorPrintf("===check(%d times) @%s failed,send:", attempt, name);
            m_log.recodeArray(frame, len);
            m_log.ErrorPrintf("===recv(%d):", got);
            m_log.recodeArray(echo.data(), got);
            drain();
            if (attempt == kAttempts)
                return 0;
        }
        return 1;
    }
    return 0;
}

int ViscaTransport::sendPlain(const char* frame, int len) {
    if (frame == nullptr || len <= 0)
        return -1;
    return m_uart->send(m_nPort, frame, len);
}

void ViscaTransport::vendorFrame(char out[7], int b1, int b2, int b3, int b4) {
    const int bytes[4] = {b1, b2, b3, b4};
    unsigned sum = 0;
    out[0] = static_cast<char>(0xFE);
    for (int i = 0; i < 4; ++i) {
        out[i + 1] = static_cast<char>(bytes[i] & 0xFF);
        sum += static_cast<unsigned>(bytes[i]) & 0xFFu;
    }
    out[5] = static_cast<char>(sum & 0xFFu);
    out[6] = static_cast<char>(0xFF);
}

void ViscaTransport::nibbles(int value, char out[2]) {
    out[0] = static_cast<char>((value >> 4) & 0x0F);
    out[1] = static_cast<char>(value & 0x0F);
}

void ViscaTransport::encodePosition(int value, char out[4]) {
    for (int i = 0; i < 4; ++i)
        out[i] = static_cast<char>((value >> (12 - 4 * i)) & 0x0F);
}

int ViscaTransport::decodePosition(const char in[4]) {
    int value = 0;
    for (int i = 0; i < 4; ++i)
        value = value * 16 + (static_cast<unsigned char>(in[i]) & 0x0F);
    return value;
}

void ViscaTransport::drain() {
    m_uart->clearRecvBuffer(m_nPort);
}

void ViscaTransport::logSendFailure(const char* name, int attempt, int sent, const char* frame,
                                    int len) {
    m_log.ErrorPrintf("===send(%d times) @%s failed,send(%d):", attempt, name, sent);
    m_log.recodeArray(frame, len);
}

void ViscaTransport::logRecvFailure(const char* name, int attempt, const char* frame, int len,
                                    const char* reply, int got) {
    m_log.ErrorPrintf("===recv(%d times) @%s failed,send:", attempt, name);
    m_log.recodeArray(frame, len);
    m_log.ErrorPrintf("===recv(%d):", got);
    m_log.recodeArray(reply, got);
}

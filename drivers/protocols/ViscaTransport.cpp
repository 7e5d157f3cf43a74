// VISCA link: reply reader, acknowledged commands, inquiries, echo-checked sends.
#include "drivers/protocols/ViscaTransport.h"

#include "controller/ISensorController.h"
#include "platform/KovantTime.h"
#include "platform/PlatformClock.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

namespace {

constexpr unsigned char kReplyStart = 0x90;
constexpr unsigned char kTerminator = 0xFF;
// A run of completion messages longer than this is a babbling module, not a
// reply; the reader gives up rather than loop on it. It also bounds the
// replies one attempt reads.
constexpr int kMaxCompletionsSkipped = 16;

unsigned char byteAt(const char* data, int i) {
    return static_cast<unsigned char>(data[i]);
}

// Replies are told apart by their second byte: kind in the high nibble
// (4 acknowledge, 5 completion or inquiry reply, 6 error), socket in the low.
bool isCompletion(const char* msg, int len) {
    return len == 3 && byteAt(msg, 0) == kReplyStart &&
           (byteAt(msg, 1) == 0x51 || byteAt(msg, 1) == 0x52) && byteAt(msg, 2) == kTerminator;
}

bool isAcknowledge(const char* msg, int len) {
    return len == 3 && byteAt(msg, 0) == kReplyStart &&
           (byteAt(msg, 1) == 0x41 || byteAt(msg, 1) == 0x42) && byteAt(msg, 2) == kTerminator;
}

// 90 50 <data> FF, whole: the reply to an inquiry (socket 0).
bool isInquiryReply(const char* msg, int len) {
    return len >= 3 && byteAt(msg, 0) == kReplyStart && byteAt(msg, 1) == 0x50 &&
           byteAt(msg, len - 1) == kTerminator;
}

// A reply that can only belong to another frame: a completion (the answer to a
// command is its acknowledge), an acknowledge after an inquiry, an inquiry
// reply with data after a command.
bool isForeign(const char* msg, int len, bool inquiry, bool completionAnswers) {
    if (isCompletion(msg, len))
        return inquiry || !completionAnswers;
    return inquiry ? isAcknowledge(msg, len) : len > 3 && isInquiryReply(msg, len);
}

} // namespace

ViscaTransport::ViscaTransport(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                               ISensorController& log)
    : m_uart(uart), m_nPort(port), m_lock(lock), m_log(log), m_szRecv() {}

int ViscaTransport::openPort(const std::string& device, int baud, int dataBits, int stopBits,
                             int parity) {
    if (m_uart.get() == nullptr || (m_nPort = m_uart->open(device.c_str())) < 0) {
        m_log.ErrorPrintf("open uart (%s) failed", device.c_str());
        return 0;
    }
    if (m_uart->setParameter(m_nPort, baud, dataBits, stopBits, parity) == 0) {
        m_log.ErrorPrintf("m_pUART->setParameter(m_nUARTIndex,m_nBaudarate,m_nDataBits,m_nStopBits,"
                          "m_nParity) failed\n");
        m_uart->close(m_nPort);
        m_nPort = -1;
        return 0;
    }
    return 1;
}

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

int ViscaTransport::exchange(const char* frame, int len, const char* name, bool inquiry,
                             const std::function<bool(int attempt, int got)>& judge) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    // Whatever an earlier exchange left on the line answers no frame of this one.
    drain();
    // A thread being stopped starts no attempt: it would only send a frame and
    // give up on its answer at once.
    for (int attempt = 1; attempt <= kAttempts && !PlatformClock::stopRequested(); ++attempt) {
        if (!inquiry && m_commandTrace)
            m_commandTrace(attempt, frame, len);
        const int sent = m_uart->send(m_nPort, frame, len);
        if (sent != len)
            logSendFailure(name, attempt, sent, frame, len);
        else if (judge(attempt, readAnswer(inquiry)))
            return 1;
        drain();
    }
    return 0;
}

// Reads the replies to the frame just sent and keeps the one that answers it
// in m_szRecv; returns its length as the reply reader counts it (-1: none).
// Replies that can only be another frame's are passed over. After an attempt
// that got no whole answer, the module may still send it: the module answers
// in order, so that late answer comes first, and until an attempt has again
// read the line until it fell quiet, every reply within the time-out is read
// and the last one kept.
int ViscaTransport::readAnswer(bool inquiry) {
    char msg[kMaxReply];
    int answer = -1;
    for (int read = 0; read < kMaxCompletionsSkipped; ++read) {
        const int got = getRealData(msg, kMaxReply, m_policy.replyTimeout);
        if (got < 1)
            break;
        if (isForeign(msg, got, inquiry, m_policy.completionAnswersCommand))
            continue;
        std::memcpy(m_szRecv, msg, static_cast<std::size_t>(got));
        answer = got;
        if (!m_bLateAnswer)
            break;
    }
    m_bLateAnswer = answer < 1 || byteAt(m_szRecv, answer - 1) != kTerminator;
    return answer;
}

int ViscaTransport::command(const char* frame, int len, const char* name) {
    if (frame == nullptr || len <= 0)
        return 0;
    return exchange(frame, len, name, false, [&](int attempt, int got) {
        if (got < 3 || (got > 3 && !m_policy.firstThreeBytes)) {
            // A longer reply overflows the 3-byte answer: counted as nothing read.
            logRecvFailure(name, attempt, frame, len, m_szRecv, got > 3 ? -1 : got);
            return false;
        }
        if (got == 3 && (isAcknowledge(m_szRecv, got) ||
                         (m_policy.completionAnswersCommand && isCompletion(m_szRecv, got))))
            return true;
        m_log.ErrorPrintf("===send:");
        m_log.recodeArray(frame, len);
        m_log.ErrorPrintf("===%s(%d times) recv error,recv:0x%x,0x%x,0x%x", name, attempt,
                          byteAt(m_szRecv, 0), byteAt(m_szRecv, 1), byteAt(m_szRecv, 2));
        return false;
    });
}

// Only a whole inquiry reply of the asked length answers: an error reply, a
// reply cut off by the time-out or one of another form fails the attempt,
// whatever its length.
int ViscaTransport::inquiry(const char* frame, int len, char* reply, int replyLen,
                            const char* name) {
    if (frame == nullptr || len <= 0 || reply == nullptr || replyLen <= 0 || replyLen > kMaxReply)
        return 0;
    return exchange(frame, len, name, true, [&](int attempt, int got) {
        if (got != replyLen || !isInquiryReply(m_szRecv, got)) {
            logRecvFailure(name, attempt, frame, len, m_szRecv, got > replyLen ? -1 : got);
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
    for (int attempt = 1; attempt <= kAttempts && !PlatformClock::stopRequested(); ++attempt) {
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

int ViscaTransport::commandWithRestart(const char* frame, int len, int timeout, char answer[3],
                                       const char* name) {
    if (frame == nullptr || len <= 0 || !isOpen())
        return -1;
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    drain();
    const int sent = m_uart->send(m_nPort, frame, len);
    if (sent != len) {
        logSendFailure(name, 1, sent, frame, len);
        drain();
        return -1;
    }
    char msg[kMaxReply];
    int got = 0;
    for (int read = 0; read < 2 && got < 1; ++read)
        got = std::max(0, getRealData(msg, kMaxReply, timeout));
    std::memcpy(answer, msg, static_cast<std::size_t>(std::min(got, 3)));
    return std::min(got, 3);
}

int ViscaTransport::sendPlain(const char* frame, int len) {
    if (frame == nullptr || len <= 0)
        return -1;
    return m_uart->send(m_nPort, frame, len);
}

int ViscaTransport::vendorFrame(char* out, std::initializer_list<int> body) {
    int n = 0;
    unsigned sum = 0;
    out[n++] = static_cast<char>(0xFE);
    for (int value : body) {
        if (n > kMaxVendorBody)
            break;
        out[n++] = static_cast<char>(value & 0xFF);
        sum += static_cast<unsigned>(value) & 0xFFu;
    }
    out[n++] = static_cast<char>(sum & 0xFFu);
    out[n++] = static_cast<char>(0xFF);
    return n;
}

int ViscaTransport::sendRestart(const char* frame, int len) {
    if (!isOpen() || sendPlain(frame, len) != len) {
        KovantTime::wait(KovantTime(1, 0));
        return 0;
    }
    std::puts("Restarting sensor");
    // The module hears nothing while it restarts.
    KovantTime::wait(KovantTime(20, 0));
    drain();
    return 1;
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

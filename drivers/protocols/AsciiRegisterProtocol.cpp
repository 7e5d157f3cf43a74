// ASCII register link: frame formatting, echo-checked writes, register reads.
#include "drivers/protocols/AsciiRegisterProtocol.h"

#include "controller/ISensorController.h"
#include "platform/PlatformClock.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

// Operation names in the log lines: writes report as the parameter setter,
// reads as the parameter getter, a wrong or missing echo as the send itself.
constexpr const char* kWriteName = "setParameterValue";
constexpr const char* kReadName = "getParameterValue";
constexpr const char* kEchoName = "sendData";
// More hex digits than this would overflow an int.
constexpr std::size_t kMaxHexDigits = 7;

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

const char* const AsciiRegisterProtocol::kInitComplete = ":rE1ED0000";

AsciiRegisterProtocol::AsciiRegisterProtocol(SafePointer<IUARTController>& uart, int& port,
                                             KVMutex& lock, ISensorController& log)
    : m_uart(uart), m_nPort(port), m_lock(lock), m_log(log), m_szWriteName(kWriteName), m_szRecv() {
}

std::string AsciiRegisterProtocol::assembleString(const std::string& prefix, int value, int width) {
    width = std::clamp(width, 1, 8);
    // The width is part of the format: "%s%0<width>x".
    char format[16];
    std::snprintf(format, sizeof format, "%%s%%0%dx", width);
    const int len = std::snprintf(nullptr, 0, format, prefix.c_str(), value);
    std::string out(static_cast<std::size_t>(std::max(len, 0)) + 1, '\0');
    std::snprintf(&out[0], out.size(), format, prefix.c_str(), value);
    out.pop_back();
    const std::size_t from = out.size() > static_cast<std::size_t>(width)
                                 ? out.size() - static_cast<std::size_t>(width)
                                 : 0;
    for (std::size_t i = from; i < out.size(); ++i)
        out[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[i])));
    return out;
}

int AsciiRegisterProtocol::ascToHex(const std::string& text) {
    if (text.empty() || text.size() > kMaxHexDigits)
        return -1;
    int value = 0;
    for (char c : text) {
        const int digit = hexDigit(c);
        if (digit < 0)
            return -1;
        value = value * 16 + digit;
    }
    return value;
}

int AsciiRegisterProtocol::sendData(const std::string& frame) {
    if (frame.empty() || frame.size() > static_cast<std::size_t>(kMaxReply))
        return 0;
    if (frame == kInitComplete)
        return sendNotice(frame);
    if (!portOpen(frame))
        return 0;
    const int len = static_cast<int>(frame.size());
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    for (int attempt = 1; attempt <= kAttempts && !PlatformClock::stopRequested(); ++attempt) {
        if (!write(frame, attempt, m_szWriteName))
            continue;
        const int got = readAnswer(len, kEchoTimeout);
        if (got != len) {
            logAnswer("recv", attempt, kEchoName, frame, got);
            drain();
            continue;
        }
        // The frame reached the module. A differing echo is logged at each
        // differing byte; only on the last attempt does it fail the send.
        for (int i = 0; i < len; ++i) {
            if (m_szRecv[i] == frame[static_cast<std::size_t>(i)])
                continue;
            logAnswer("check", attempt, kEchoName, frame, got);
            drain();
            if (attempt == kAttempts)
                return 0;
        }
        return 1;
    }
    return 0;
}

int AsciiRegisterProtocol::sendNotice(const std::string& frame) {
    if (frame.empty() || !portOpen(frame))
        return 0;
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    for (int attempt = 1; attempt <= kAttempts && !PlatformClock::stopRequested(); ++attempt) {
        if (write(frame, attempt, m_szWriteName))
            return 1;
    }
    return 0;
}

int AsciiRegisterProtocol::recvData(const std::string& request, int n, int& value) {
    const int len = static_cast<int>(request.size());
    if (n <= 0 || n >= len || len > kMaxReply || !portOpen(request))
        return 0;
    const std::size_t head = static_cast<std::size_t>(len - n);
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    for (int attempt = 1; attempt <= kAttempts && !PlatformClock::stopRequested(); ++attempt) {
        if (!write(request, attempt, kReadName))
            continue;
        const int got = readAnswer(len, kReadTimeout);
        if (got != len) {
            logAnswer("recv", attempt, kReadName, request, got);
            drain();
            continue;
        }
        // Only the answer to this very request: same command and register.
        const int v = std::memcmp(m_szRecv, request.data(), head) == 0
                          ? ascToHex(std::string(m_szRecv + head, static_cast<std::size_t>(n)))
                          : -1;
        if (v < 0) {
            logAnswer("check", attempt, kReadName, request, got);
            drain();
            continue;
        }
        value = v;
        return 1;
    }
    return 0;
}

// Before start-up has opened the port (or after a failed one) nothing is sent.
bool AsciiRegisterProtocol::portOpen(const std::string& frame) {
    if (m_uart.get() != nullptr && m_nPort >= 0)
        return true;
    m_log.ErrorPrintf("serial port not open: %s not sent", frame.c_str());
    return false;
}

// Whatever is waiting on the line answers no frame of this attempt: the input
// is cleared before the frame goes out.
bool AsciiRegisterProtocol::write(const std::string& frame, int attempt, const char* name) {
    drain();
    const int len = static_cast<int>(frame.size());
    const int sent = m_uart->send(m_nPort, frame.data(), len);
    if (sent == len)
        return true;
    m_log.ErrorPrintf("===send(%d times) @%s failed,send(%d):", attempt, name, sent);
    m_log.recodeArray(frame.data(), len);
    drain();
    return false;
}

int AsciiRegisterProtocol::readAnswer(int len, int timeout) {
    std::memset(m_szRecv, 0, sizeof m_szRecv);
    return m_uart->recv(m_nPort, m_szRecv, len, timeout);
}

void AsciiRegisterProtocol::logAnswer(const char* what, int attempt, const char* name,
                                      const std::string& frame, int got) {
    m_log.ErrorPrintf("===%s(%d times) @%s failed,send:", what, attempt, name);
    m_log.recodeArray(frame.data(), static_cast<int>(frame.size()));
    m_log.ErrorPrintf("===recv(%d):", got);
    m_log.recodeArray(m_szRecv, std::max(got, 0));
}

void AsciiRegisterProtocol::drain() {
    m_uart->clearRecvBuffer(m_nPort);
}

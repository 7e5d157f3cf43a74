// Time on a serial line at its speed, for a simulator that plays a real line.
#include "sim/WirePacing.h"

#include <algorithm>
#include <ctime>
#include <sys/prctl.h>

void WirePacing::setBaud(int baud) {
    m_nBaud = std::max(0, baud);
    m_dInFree = 0.0;
    m_dOutFree = 0.0;
}

// Ten bits a byte: start, eight data bits, stop.
double WirePacing::byteSeconds() const {
    return m_nBaud > 0 ? 10.0 / m_nBaud : 0.0;
}

double WirePacing::arrive(double now) {
    ++m_nIn;
    if (m_nBaud <= 0)
        return now;
    // Bytes written together queue up behind each other on the wire.
    m_dInFree = std::max(now, m_dInFree) + byteSeconds();
    return m_dInFree;
}

double WirePacing::depart(double ready, std::size_t bytes) {
    if (m_nBaud <= 0)
        return ready;
    m_dOutFree = std::max(ready, m_dOutFree) + static_cast<double>(bytes) * byteSeconds();
    return m_dOutFree;
}

void WirePacing::resetCounts() {
    m_nIn = 0;
    m_nOut = 0;
}

std::chrono::microseconds toMicroseconds(double seconds) {
    return std::chrono::microseconds(static_cast<long long>(std::max(seconds, 0.0) * 1e6));
}

double threadCpuSeconds(pthread_t thread) {
    clockid_t clock;
    timespec ts{};
    if (pthread_getcpuclockid(thread, &clock) != 0 || clock_gettime(clock, &ts) != 0)
        return 0.0;
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

void usePreciseTimers() {
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
}

// A span of time (seconds and microseconds) and the platform's wait.
#pragma once

// Device code waits by building a span and passing it to KovantTime::wait:
// KovantTime::wait(KovantTime(1, 0)) waits one second, KovantTime(0, 30000)
// 30 ms. Waits go through the platform clock, so tests can scale them; a wait
// made on a platform thread returns early once that thread is being stopped.
class KovantTime {
public:
    KovantTime() = default;
    KovantTime(long seconds, long microseconds)
        : m_lSeconds(seconds), m_lMicroseconds(microseconds) {}

    long getSeconds() const { return m_lSeconds; }
    long getMicroseconds() const { return m_lMicroseconds; }
    double toSeconds() const { return m_lSeconds + m_lMicroseconds / 1e6; }

    // Waits the span; 1 when it ran in full, 0 when cut short by a stop.
    static int wait(const KovantTime& span);

private:
    long m_lSeconds = 0;
    long m_lMicroseconds = 0;
};

// Time on a serial line at its speed, for a simulator that plays a real line.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <pthread.h>

// A pseudo-terminal moves a whole frame at once; a UART takes ten bit times
// a byte. A paced simulator takes each byte from the client only when its
// last bit would be in, and its answer is out only after the answer's own
// wire time, so that a client meets the delays of a real line and a
// benchmark can tell the client's own time from the wire's. The bytes are
// counted both ways, paced or not. Times are device seconds.
class WirePacing {
public:
    // 0 switches pacing off (the bytes are still counted).
    void setBaud(int baud);
    int baud() const { return m_nBaud; }
    bool isOn() const { return m_nBaud > 0; }
    // Device seconds of one byte on the wire (0 when off).
    double byteSeconds() const;

    // A byte from the client read at `now`: when its last bit is in.
    double arrive(double now);
    // When the line towards the module is free again (0 before any byte).
    double inFree() const { return m_dInFree; }
    // An answer of `bytes` bytes that may start at `ready`: when it is all
    // out (ready itself when off).
    double depart(double ready, std::size_t bytes);
    void countOut(std::size_t bytes) { m_nOut += bytes; }

    std::uint64_t bytesIn() const { return m_nIn; }
    std::uint64_t bytesOut() const { return m_nOut; }
    void resetCounts();

private:
    int m_nBaud = 0;
    double m_dInFree = 0.0;
    double m_dOutFree = 0.0;
    std::uint64_t m_nIn = 0;
    std::uint64_t m_nOut = 0;
};

// Makes the calling thread's timed waits end on time (no timer slack): a
// paced line's answers are due to the microsecond.
void usePreciseTimers();
// Real seconds as a wait for the pty (whole microseconds, at least 0).
std::chrono::microseconds toMicroseconds(double seconds);
// Processor time a simulator's reader thread has used, in seconds (0 when
// the system cannot tell).
double threadCpuSeconds(pthread_t thread);

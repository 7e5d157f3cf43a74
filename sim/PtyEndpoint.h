// Master side of a pseudo-terminal on which a simulated camera module answers.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// A simulator plays the module on the master side; the code under test opens
// the slave path as if it were the module's serial port. The endpoint keeps
// its own descriptor of the slave open, so that the master never sees a
// hang-up while the client closes and reopens the port between tests. Every
// read and write is bounded in time; the master runs non-blocking.
class PtyEndpoint {
public:
    PtyEndpoint() = default;
    ~PtyEndpoint();
    PtyEndpoint(const PtyEndpoint&) = delete;
    PtyEndpoint& operator=(const PtyEndpoint&) = delete;

    // Creates the pair and puts the slave in raw mode at the given speed.
    bool open(int baud);
    void close();
    bool isOpen() const { return m_nMaster >= 0; }
    const std::string& slavePath() const { return m_strSlave; }

    // Waits up to `timeout` (real time) for input; returns the count read,
    // 0 when nothing came, -1 on error.
    int read(uint8_t* buf, int len, std::chrono::microseconds timeout);
    // Writes what the line takes within a short bound; returns bytes written.
    int write(const uint8_t* buf, int len);

    // The speed the client last set on the slave (a pty master reports the
    // slave's settings); 0 when unknown.
    int lineBaud() const;

private:
    int m_nMaster = -1;
    int m_nSlave = -1;
    std::string m_strSlave;
};

// Master side of a pseudo-terminal on which a simulated camera module answers.
#include "sim/PtyEndpoint.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Longest real time a write waits for the client to drain its input.
constexpr int kWriteBoundMs = 100;

const struct {
    int baud;
    speed_t speed;
} kRates[] = {{1200, B1200},   {2400, B2400},     {4800, B4800},
              {9600, B9600},   {19200, B19200},   {38400, B38400},
              {57600, B57600}, {115200, B115200}, {230400, B230400}};

speed_t toSpeed(int baud) {
    for (const auto& rate : kRates) {
        if (rate.baud == baud)
            return rate.speed;
    }
    return B9600;
}

int toBaud(speed_t speed) {
    for (const auto& rate : kRates) {
        if (rate.speed == speed)
            return rate.baud;
    }
    return 0;
}

} // namespace

PtyEndpoint::~PtyEndpoint() {
    close();
}

bool PtyEndpoint::open(int baud) {
    close();
    m_nMaster = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_nMaster < 0)
        return false;
    char name[128] = {};
    if (::grantpt(m_nMaster) != 0 || ::unlockpt(m_nMaster) != 0 ||
        ::ptsname_r(m_nMaster, name, sizeof(name)) != 0) {
        close();
        return false;
    }
    m_strSlave = name;
    m_nSlave = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    termios t{};
    if (m_nSlave < 0 || ::tcgetattr(m_nSlave, &t) != 0) {
        close();
        return false;
    }
    ::cfmakeraw(&t);
    t.c_cflag |= CLOCAL | CREAD;
    t.c_cc[VMIN] = 0;
    t.c_cc[VTIME] = 0;
    ::cfsetispeed(&t, toSpeed(baud));
    ::cfsetospeed(&t, toSpeed(baud));
    const int flags = ::fcntl(m_nMaster, F_GETFL);
    if (::tcsetattr(m_nSlave, TCSANOW, &t) != 0 || flags < 0 ||
        ::fcntl(m_nMaster, F_SETFL, flags | O_NONBLOCK) != 0) {
        close();
        return false;
    }
    return true;
}

void PtyEndpoint::close() {
    if (m_nSlave >= 0)
        ::close(m_nSlave);
    if (m_nMaster >= 0)
        ::close(m_nMaster);
    m_nSlave = -1;
    m_nMaster = -1;
    m_strSlave.clear();
}

int PtyEndpoint::read(uint8_t* buf, int len, std::chrono::microseconds timeout) {
    if (m_nMaster < 0 || buf == nullptr || len <= 0)
        return -1;
    pollfd pfd{m_nMaster, POLLIN, 0};
    const long long us = std::max<long long>(0, timeout.count());
    const timespec wait{static_cast<time_t>(us / 1000000), static_cast<long>(us % 1000000) * 1000};
    const int r = ::ppoll(&pfd, 1, &wait, nullptr);
    if (r <= 0)
        return r < 0 && errno != EINTR ? -1 : 0;
    if ((pfd.revents & POLLIN) == 0)
        return 0;
    const ssize_t n = ::read(m_nMaster, buf, static_cast<size_t>(len));
    if (n < 0)
        return errno == EAGAIN || errno == EINTR ? 0 : -1;
    return static_cast<int>(n);
}

int PtyEndpoint::write(const uint8_t* buf, int len) {
    if (m_nMaster < 0 || buf == nullptr || len <= 0)
        return 0;
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(kWriteBoundMs);
    int sent = 0;
    while (sent < len) {
        const ssize_t n = ::write(m_nMaster, buf + sent, static_cast<size_t>(len - sent));
        if (n > 0) {
            sent += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)
            break;
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            break;
        pollfd pfd{m_nMaster, POLLOUT, 0};
        ::poll(&pfd, 1, static_cast<int>(left.count()));
    }
    return sent;
}

int PtyEndpoint::lineBaud() const {
    termios t{};
    if (m_nMaster < 0 || ::tcgetattr(m_nMaster, &t) != 0)
        return 0;
    return toBaud(::cfgetospeed(&t));
}

// Serial-port controller over Linux termios.
#include "platform/TermiosUARTController.h"

#include "platform/KVRoot.h"
#include "platform/PlatformClock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// Shortest real wait for a receive with a time-out, whatever the clock scale.
constexpr double kMinRecvSeconds = 0.020;
// Device seconds a blocked line may hold up a send, on top of the time the
// bytes need on the wire; and the shortest real budget for a send.
constexpr double kSendSlackSeconds = 1.0;
constexpr double kMinSendSeconds = 0.100;
// Upper bound of what clearRecvBuffer() reads after flushing.
constexpr int kMaxDrainBytes = 64 * 1024;

bool toSpeed(int baud, speed_t& speed) {
    static const struct {
        int baud;
        speed_t speed;
    } kRates[] = {{1200, B1200},   {2400, B2400},     {4800, B4800},
                  {9600, B9600},   {19200, B19200},   {38400, B38400},
                  {57600, B57600}, {115200, B115200}, {230400, B230400}};
    for (const auto& rate : kRates) {
        if (rate.baud == baud) {
            speed = rate.speed;
            return true;
        }
    }
    return false;
}

bool toCharSize(int dataBits, tcflag_t& size) {
    static const tcflag_t kSizes[] = {CS5, CS6, CS7, CS8};
    if (dataBits < 5 || dataBits > 8)
        return false;
    size = kSizes[dataBits - 5];
    return true;
}

// Raw mode: bytes pass untouched in both directions, reads never block in the
// kernel (poll does the waiting), no software or hardware flow control.
void makeRaw(termios& t) {
    cfmakeraw(&t);
    t.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    t.c_cflag |= CLOCAL | CREAD;
    t.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
    t.c_cc[VMIN] = 0;
    t.c_cc[VTIME] = 0;
}

std::string devicePath(const char* name) {
    const std::string raw(name);
    const std::string mapped = kvroot::resolve(raw);
    if (mapped == raw)
        return raw;
    struct stat st {};
    return ::stat(mapped.c_str(), &st) == 0 ? mapped : raw;
}

// Milliseconds left until the deadline, for poll(); 0 once it has passed.
int msLeft(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0)
        return 0;
    // Round up so that a poll does not wake just before the deadline and spin.
    const long long ms = left.count() + 1;
    return static_cast<int>(std::min<long long>(ms, INT_MAX));
}

Clock::time_point deadlineAfter(double realSeconds) {
    const double capped = std::min(realSeconds, 1.0e7);
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(capped));
}

} // namespace

struct TermiosUARTController::Port {
    std::string name;
    int fd = -1;
    int openCount = 1;
    int baud = 9600;
    std::mutex txMutex;
    std::mutex rxMutex;
};

TermiosUARTController::TermiosUARTController() = default;

TermiosUARTController::~TermiosUARTController() {
    std::lock_guard<std::mutex> lock(m_tableMutex);
    for (auto& entry : m_mapPorts) {
        Port& p = *entry.second;
        std::scoped_lock portLock(p.txMutex, p.rxMutex);
        if (p.fd >= 0)
            ::close(p.fd);
        p.fd = -1;
    }
    m_mapPorts.clear();
}

std::shared_ptr<TermiosUARTController::Port> TermiosUARTController::find(int port) const {
    std::lock_guard<std::mutex> lock(m_tableMutex);
    const auto it = m_mapPorts.find(port);
    return it == m_mapPorts.end() ? nullptr : it->second;
}

int TermiosUARTController::open(const char* deviceName) {
    if (deviceName == nullptr || deviceName[0] == '\0')
        return -1;
    std::lock_guard<std::mutex> lock(m_tableMutex);
    for (auto& entry : m_mapPorts) {
        if (entry.second->name == deviceName) {
            ++entry.second->openCount;
            return entry.first;
        }
    }
    const std::string path = devicePath(deviceName);
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return -1;
    termios t{};
    if (!isatty(fd) || tcgetattr(fd, &t) != 0) {
        ::close(fd);
        return -1;
    }
    // Go raw at once, keeping the current speed, so that nothing sent before
    // setParameter() is echoed back or held in a line buffer.
    makeRaw(t);
    if (tcsetattr(fd, TCSANOW, &t) != 0) {
        ::close(fd);
        return -1;
    }
    auto p = std::make_shared<Port>();
    p->name = deviceName;
    p->fd = fd;
    if (m_nNextIndex == INT_MAX)
        m_nNextIndex = 0;
    while (m_mapPorts.count(m_nNextIndex) != 0)
        ++m_nNextIndex;
    const int index = m_nNextIndex++;
    m_mapPorts[index] = p;
    return index;
}

int TermiosUARTController::setParameter(int port, int baud, int dataBits, int stopBits,
                                        int parity) {
    speed_t speed{};
    tcflag_t size{};
    if (!toSpeed(baud, speed) || !toCharSize(dataBits, size) || (stopBits != 1 && stopBits != 2) ||
        parity < 0 || parity > 2)
        return 0;
    const auto p = find(port);
    if (!p)
        return 0;
    std::scoped_lock lock(p->txMutex, p->rxMutex);
    termios t{};
    if (p->fd < 0 || tcgetattr(p->fd, &t) != 0)
        return 0;
    makeRaw(t);
    t.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | PARODD);
    t.c_cflag |= size;
    if (stopBits == 2)
        t.c_cflag |= CSTOPB;
    if (parity != 0) {
        t.c_cflag |= PARENB;
        if (parity == 1)
            t.c_cflag |= PARODD;
        t.c_iflag |= INPCK;
    }
    if (cfsetispeed(&t, speed) != 0 || cfsetospeed(&t, speed) != 0)
        return 0;
    if (tcsetattr(p->fd, TCSANOW, &t) != 0)
        return 0;
    p->baud = baud;
    return 1;
}

int TermiosUARTController::send(int port, const char* buf, int len) {
    if (len < 0 || (buf == nullptr && len > 0))
        return -1;
    const auto p = find(port);
    if (!p)
        return -1;
    std::lock_guard<std::mutex> lock(p->txMutex);
    if (p->fd < 0)
        return -1;
    // Ten bits a byte on the wire, plus slack for a line held up by the peer.
    const double wire = static_cast<double>(len) * 10.0 / p->baud;
    const double budget = std::max(kSendSlackSeconds * PlatformClock::timeScale(), kMinSendSeconds);
    const auto deadline = deadlineAfter(wire + budget);
    int sent = 0;
    while (sent < len) {
        const ssize_t n = ::write(p->fd, buf + sent, static_cast<size_t>(len - sent));
        if (n > 0) {
            sent += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
            return sent > 0 ? sent : -1;
        const int wait = msLeft(deadline);
        if (wait == 0)
            break;
        pollfd pfd{p->fd, POLLOUT, 0};
        const int r = ::poll(&pfd, 1, wait);
        if (r < 0 && errno != EINTR)
            return sent > 0 ? sent : -1;
        if (r > 0 && (pfd.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0 &&
            (pfd.revents & POLLOUT) == 0)
            return sent > 0 ? sent : -1;
    }
    return sent;
}

int TermiosUARTController::recv(int port, char* buf, int len, int timeout) {
    if (len < 0 || (buf == nullptr && len > 0))
        return -1;
    const auto p = find(port);
    if (!p)
        return -1;
    std::lock_guard<std::mutex> lock(p->rxMutex);
    if (p->fd < 0)
        return -1;
    double real = 0.0;
    if (timeout > 0)
        real = std::max(timeout / 10.0 * PlatformClock::timeScale(), kMinRecvSeconds);
    const auto deadline = deadlineAfter(real);
    // A platform thread being stopped takes what has come and waits no more.
    PlatformClock::StopToken* const token = PlatformClock::currentStopToken();
    int got = 0;
    bool hungUp = false;
    while (got < len) {
        const ssize_t n = ::read(p->fd, buf + got, static_cast<size_t>(len - got));
        if (n > 0) {
            got += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        // A raw tty with nothing pending answers 0 or EAGAIN; anything else,
        // or nothing left after a hang-up, means the line is gone.
        if ((n < 0 && errno != EAGAIN && errno != EWOULDBLOCK) || hungUp)
            return got > 0 ? got : -1;
        const int wait = msLeft(deadline);
        if (wait == 0 || (token != nullptr && token->stopRequested()))
            break;
        pollfd pfd[2] = {{p->fd, POLLIN, 0}, {token != nullptr ? token->wakeFd() : -1, POLLIN, 0}};
        const int r = ::poll(pfd, 2, wait);
        if (r < 0 && errno != EINTR)
            return got > 0 ? got : -1;
        // Read what is still buffered once more, then give up.
        if (r > 0 && (pfd[0].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0)
            hungUp = true;
    }
    return got;
}

int TermiosUARTController::clearRecvBuffer(int port) {
    const auto p = find(port);
    if (!p)
        return 0;
    std::lock_guard<std::mutex> lock(p->rxMutex);
    if (p->fd < 0 || tcflush(p->fd, TCIFLUSH) != 0)
        return 0;
    // Bytes still on their way through the line discipline escape the flush;
    // read off whatever has arrived by now.
    char scratch[256];
    int drained = 0;
    while (drained < kMaxDrainBytes) {
        const ssize_t n = ::read(p->fd, scratch, sizeof scratch);
        if (n > 0) {
            drained += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        break;
    }
    return 1;
}

int TermiosUARTController::close(int port) {
    std::shared_ptr<Port> p;
    {
        std::lock_guard<std::mutex> lock(m_tableMutex);
        const auto it = m_mapPorts.find(port);
        if (it == m_mapPorts.end())
            return 0;
        if (--it->second->openCount > 0)
            return 1;
        p = it->second;
        m_mapPorts.erase(it);
    }
    // A send or receive in progress on another thread finishes first.
    std::scoped_lock lock(p->txMutex, p->rxMutex);
    if (p->fd >= 0)
        ::close(p->fd);
    p->fd = -1;
    return 1;
}

// Tests of the termios serial port across a pseudo-terminal pair.
// labels: threaded
#include "platform/TermiosUARTController.h"

#include "platform/PlatformClock.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// The module's end of the line: the pty master, and the slave's name that the
// controller opens.
class PtyPeer {
public:
    PtyPeer() {
        m_nMaster = posix_openpt(O_RDWR | O_NOCTTY);
        if (m_nMaster < 0 || grantpt(m_nMaster) != 0 || unlockpt(m_nMaster) != 0)
            return;
        char name[128];
        if (ptsname_r(m_nMaster, name, sizeof name) == 0)
            m_strSlave = name;
    }
    ~PtyPeer() { hangUp(); }
    PtyPeer(const PtyPeer&) = delete;
    PtyPeer& operator=(const PtyPeer&) = delete;

    bool ok() const { return m_nMaster >= 0 && !m_strSlave.empty(); }
    const std::string& slave() const { return m_strSlave; }

    void write(const std::string& bytes) const {
        ASSERT_EQ(::write(m_nMaster, bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }

    // Reads exactly n bytes or what came within the time.
    std::string read(size_t n, std::chrono::milliseconds within = std::chrono::seconds(1)) const {
        std::string out;
        const auto deadline = Clock::now() + within;
        while (out.size() < n && Clock::now() < deadline) {
            pollfd pfd{m_nMaster, POLLIN, 0};
            if (::poll(&pfd, 1, 10) <= 0)
                continue;
            char buf[256];
            const ssize_t got = ::read(m_nMaster, buf, std::min(sizeof buf, n - out.size()));
            if (got <= 0)
                break;
            out.append(buf, static_cast<size_t>(got));
        }
        return out;
    }

    void hangUp() {
        if (m_nMaster >= 0)
            ::close(m_nMaster);
        m_nMaster = -1;
    }

private:
    int m_nMaster = -1;
    std::string m_strSlave;
};

// A second descriptor on the slave, to look at its settings and input queue.
class SlaveProbe {
public:
    explicit SlaveProbe(const std::string& name)
        : m_nFd(::open(name.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {}
    ~SlaveProbe() {
        if (m_nFd >= 0)
            ::close(m_nFd);
    }
    SlaveProbe(const SlaveProbe&) = delete;
    SlaveProbe& operator=(const SlaveProbe&) = delete;

    termios settings() const {
        termios t{};
        tcgetattr(m_nFd, &t);
        return t;
    }
    int pending() const {
        int n = -1;
        ioctl(m_nFd, FIONREAD, &n);
        return n;
    }
    bool waitReadable() const {
        pollfd pfd{m_nFd, POLLIN, 0};
        return ::poll(&pfd, 1, 1000) == 1;
    }

private:
    int m_nFd;
};

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class UartTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_peer.ok());
        m_nPort = m_uart.open(m_peer.slave().c_str());
        ASSERT_GE(m_nPort, 0);
        ASSERT_EQ(m_uart.setParameter(m_nPort, 9600, 8, 1, 0), 1);
    }

    kvtest::TestRoot m_root; // the pty is not under it: the raw name is used
    PtyPeer m_peer;
    TermiosUARTController m_uart;
    int m_nPort = -1;
};

} // namespace

TEST_F(UartTest, BytesPassUnchangedInBothDirections) {
    // Control characters a cooked line would translate, echo or act on.
    const std::string frame("\x81\x01\x04\x07\x0d\x0a\x03\x11\x13\x7f\x00\xff", 12);
    ASSERT_EQ(m_uart.send(m_nPort, frame.data(), static_cast<int>(frame.size())), 12);
    EXPECT_EQ(m_peer.read(frame.size()), frame);

    const std::string reply("\x90\x41\xff\x0d\x0a\x04\x1a\x00", 8);
    m_peer.write(reply);
    char buf[16] = {};
    ASSERT_EQ(m_uart.recv(m_nPort, buf, 8, 10), 8);
    EXPECT_EQ(std::string(buf, 8), reply);
    // Nothing was echoed back towards the module.
    EXPECT_EQ(m_peer.read(1, std::chrono::milliseconds(50)), "");
}

TEST_F(UartTest, ReceiveTimeOutReturnsWhatCame) {
    m_peer.write("\x90\x50\x01");
    char buf[10] = {};
    auto start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 10, 5), 3);
    EXPECT_LT(secondsSince(start), 1.0);
    EXPECT_EQ(std::string(buf, 3), "\x90\x50\x01");

    start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 1, 2), 0);
    // Scaled to 0.2 ms by the test clock, raised to the 20 ms floor.
    EXPECT_GE(secondsSince(start), 0.015);
    EXPECT_LT(secondsSince(start), 1.0);
}

TEST_F(UartTest, ReceiveTimeOutFollowsTheClockScale) {
    PlatformClock::setTimeScale(0.05);
    char c;
    const auto start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, &c, 1, 10), 0); // 1 device second = 50 ms
    EXPECT_GE(secondsSince(start), 0.045);
    EXPECT_LT(secondsSince(start), 1.0);
}

TEST_F(UartTest, ReceiveWaitsForALateAnswerWithinTheTimeOut) {
    PlatformClock::setTimeScale(0.1); // 20 tenths = 200 ms
    std::thread module([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        m_peer.write("\x90\x41");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        m_peer.write("\xff");
    });
    char buf[3] = {};
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 3, 20), 3);
    module.join();
    EXPECT_EQ(std::string(buf, 3), "\x90\x41\xff");
}

TEST_F(UartTest, ClearRecvBufferDropsPendingInput) {
    SlaveProbe probe(m_peer.slave());
    m_peer.write("stale answer");
    ASSERT_TRUE(probe.waitReadable());
    EXPECT_EQ(m_uart.clearRecvBuffer(m_nPort), 1);
    EXPECT_EQ(probe.pending(), 0);
    m_peer.write("OK");
    char buf[16] = {};
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 16, 1), 2);
    EXPECT_EQ(std::string(buf, 2), "OK");
}

TEST_F(UartTest, LineSettingsReachTheDevice) {
    SlaveProbe probe(m_peer.slave());
    // A pseudo-terminal always runs 8 bits without parity, so only the speed,
    // the stop bits and the raw mode can be seen here.
    ASSERT_EQ(m_uart.setParameter(m_nPort, 19200, 7, 2, 1), 1);
    termios t = probe.settings();
    EXPECT_EQ(cfgetospeed(&t), static_cast<speed_t>(B19200));
    EXPECT_EQ(cfgetispeed(&t), static_cast<speed_t>(B19200));
    EXPECT_NE(t.c_cflag & CSTOPB, 0u);
    EXPECT_EQ(t.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), 0u);
    EXPECT_EQ(t.c_iflag & (IXON | IXOFF | ICRNL | ISTRIP), 0u);
    EXPECT_EQ(t.c_oflag & OPOST, 0u);

    ASSERT_EQ(m_uart.setParameter(m_nPort, 115200, 8, 1, 2), 1);
    t = probe.settings();
    EXPECT_EQ(cfgetospeed(&t), static_cast<speed_t>(B115200));
    EXPECT_EQ(t.c_cflag & CSTOPB, 0u);
}

TEST_F(UartTest, UnsupportedSettingsAreRefusedAndChangeNothing) {
    SlaveProbe probe(m_peer.slave());
    EXPECT_EQ(m_uart.setParameter(m_nPort, 12345, 8, 1, 0), 0);
    EXPECT_EQ(m_uart.setParameter(m_nPort, 9600, 9, 1, 0), 0);
    EXPECT_EQ(m_uart.setParameter(m_nPort, 9600, 8, 3, 0), 0);
    EXPECT_EQ(m_uart.setParameter(m_nPort, 9600, 8, 1, 3), 0);
    EXPECT_EQ(m_uart.setParameter(m_nPort, 9600, 8, 1, -1), 0);
    termios t = probe.settings();
    EXPECT_EQ(cfgetospeed(&t), static_cast<speed_t>(B9600));
}

TEST_F(UartTest, BadPortsAndArgumentsFailCleanly) {
    char buf[4] = {};
    EXPECT_EQ(m_uart.send(m_nPort + 7, "x", 1), -1);
    EXPECT_EQ(m_uart.recv(m_nPort + 7, buf, 1, 1), -1);
    EXPECT_EQ(m_uart.setParameter(-1, 9600, 8, 1, 0), 0);
    EXPECT_EQ(m_uart.clearRecvBuffer(m_nPort + 7), 0);
    EXPECT_EQ(m_uart.close(m_nPort + 7), 0);
    EXPECT_EQ(m_uart.send(m_nPort, nullptr, 3), -1);
    EXPECT_EQ(m_uart.send(m_nPort, "x", -1), -1);
    EXPECT_EQ(m_uart.recv(m_nPort, buf, -1, 1), -1);
    EXPECT_EQ(m_uart.send(m_nPort, "x", 0), 0);
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 0, 1), 0);

    EXPECT_EQ(m_uart.open(nullptr), -1);
    EXPECT_EQ(m_uart.open(""), -1);
    EXPECT_EQ(m_uart.open("/dev/ttyNoSuchPort"), -1);
    m_root.writeFile("/dev/ttyS1", "not a terminal");
    EXPECT_EQ(m_uart.open("/dev/ttyS1"), -1);
}

TEST_F(UartTest, DeviceUnderTheRootIsPreferred) {
    std::filesystem::create_directories(m_root.path("/dev"));
    std::filesystem::create_symlink(m_peer.slave(), m_root.path("/dev/ttyS1"));
    const int port = m_uart.open("/dev/ttyS1");
    ASSERT_GE(port, 0);
    EXPECT_NE(port, m_nPort);
    ASSERT_EQ(m_uart.send(port, "\x81\x09", 2), 2);
    EXPECT_EQ(m_peer.read(2), "\x81\x09");
    EXPECT_EQ(m_uart.close(port), 1);
}

TEST_F(UartTest, OpeningTwiceSharesThePortUntilTheLastClose) {
    const int again = m_uart.open(m_peer.slave().c_str());
    EXPECT_EQ(again, m_nPort);
    EXPECT_EQ(m_uart.close(m_nPort), 1);
    EXPECT_EQ(m_uart.send(m_nPort, "a", 1), 1);
    EXPECT_EQ(m_peer.read(1), "a");
    EXPECT_EQ(m_uart.close(m_nPort), 1);
    EXPECT_EQ(m_uart.send(m_nPort, "a", 1), -1);
    EXPECT_EQ(m_uart.close(m_nPort), 0);
    // A new opening gets a fresh index, so a stale index cannot reach it.
    const int reopened = m_uart.open(m_peer.slave().c_str());
    EXPECT_GE(reopened, 0);
    EXPECT_NE(reopened, m_nPort);
}

TEST_F(UartTest, PortsAreIndependent) {
    PtyPeer other;
    ASSERT_TRUE(other.ok());
    const int second = m_uart.open(other.slave().c_str());
    ASSERT_GE(second, 0);
    ASSERT_NE(second, m_nPort);
    other.write("B");
    m_peer.write("A");
    char a = 0;
    char b = 0;
    EXPECT_EQ(m_uart.recv(second, &b, 1, 10), 1);
    EXPECT_EQ(m_uart.recv(m_nPort, &a, 1, 10), 1);
    EXPECT_EQ(a, 'A');
    EXPECT_EQ(b, 'B');
}

TEST_F(UartTest, VanishedPeerEndsReceiveAtOnce) {
    m_peer.hangUp();
    PlatformClock::setTimeScale(1.0); // a hang would now cost 10 real seconds
    char buf[4];
    const auto start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 4, 100), -1);
    EXPECT_LT(secondsSince(start), 1.0);
    EXPECT_EQ(m_uart.send(m_nPort, "x", 1), -1);
}

TEST_F(UartTest, ConcurrentSendAndReceiveOnOnePort) {
    PlatformClock::setTimeScale(0.1);
    std::thread sender([this] {
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(m_uart.send(m_nPort, "s", 1), 1);
    });
    m_peer.write(std::string(50, 'r'));
    int got = 0;
    char buf[64];
    while (got < 50) {
        const int n = m_uart.recv(m_nPort, buf, 50 - got, 10);
        if (n <= 0)
            break;
        got += n;
    }
    sender.join();
    EXPECT_EQ(got, 50);
    EXPECT_EQ(m_peer.read(50), std::string(50, 's'));
}

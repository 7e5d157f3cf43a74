// Tests of the termios serial port across a pseudo-terminal pair.
// labels: threaded
#include "platform/TermiosUARTController.h"

#include "platform/KVThread.h"
#include "platform/PlatformClock.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <string>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// The module's end of the line: a pty master; the controller opens its slave.
struct PtyPeer {
    PtyPeer() : master(posix_openpt(O_RDWR | O_NOCTTY)) {
        char name[128];
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0 &&
            ptsname_r(master, name, sizeof name) == 0)
            slave = name;
    }
    ~PtyPeer() { ::close(master); }
    void write(const std::string& bytes) const {
        ASSERT_EQ(::write(master, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }
    // Reads n bytes, or what came before a pause of `withinMs`.
    std::string read(size_t n, int withinMs = 1000) const {
        std::string out;
        char buf[256];
        pollfd pfd{master, POLLIN, 0};
        while (out.size() < n && ::poll(&pfd, 1, withinMs) == 1) {
            const ssize_t got = ::read(master, buf, std::min(sizeof buf, n - out.size()));
            if (got <= 0)
                break;
            out.append(buf, size_t(got));
        }
        return out;
    }
    int master;
    std::string slave;
};

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class UartTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(m_peer.slave.empty());
        m_nPort = m_uart.open(m_peer.slave.c_str());
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
    const std::string frame("\x81\x01\x04\x07\x0d\x0a\x03\x11\x13\x1a\x7f\x00\xff", 13);
    ASSERT_EQ(m_uart.send(m_nPort, frame.data(), 13), 13);
    EXPECT_EQ(m_peer.read(13), frame);
    m_peer.write(frame);
    char buf[16] = {};
    ASSERT_EQ(m_uart.recv(m_nPort, buf, 13, 10), 13);
    EXPECT_EQ(std::string(buf, 13), frame);
    EXPECT_EQ(m_peer.read(1, 50), ""); // nothing echoed
}

TEST_F(UartTest, ReceiveTimeOutReturnsWhatCameAndFollowsTheClock) {
    m_peer.write("\x90\x50\x01");
    char buf[10] = {};
    auto start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 10, 5), 3);
    EXPECT_LT(secondsSince(start), 1.0);
    EXPECT_EQ(std::string(buf, 3), "\x90\x50\x01");
    start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 1, 2), 0);
    EXPECT_GE(secondsSince(start), 0.015); // 0.2 ms scaled, raised to the 20 ms floor
    PlatformClock::setTimeScale(0.05);
    start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 1, 10), 0); // 1 device second = 50 ms
    EXPECT_GE(secondsSince(start), 0.045);
    EXPECT_LT(secondsSince(start), 1.0);
}

TEST_F(UartTest, ReceiveWaitsForALateAnswerWhileTheOtherDirectionSends) {
    PlatformClock::setTimeScale(0.1); // 20 tenths = 200 ms
    std::thread module([this] {
        for (const char* part : {"\x90\x41", "\xff"}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            m_peer.write(part);
        }
    });
    std::thread sender([this] {
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(m_uart.send(m_nPort, "s", 1), 1);
    });
    char buf[3] = {};
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 3, 20), 3);
    module.join();
    sender.join();
    EXPECT_EQ(std::string(buf, 3), "\x90\x41\xff");
    EXPECT_EQ(m_peer.read(50), std::string(50, 's'));
}

TEST_F(UartTest, StoppingTheReceivingThreadEndsItsWait) {
    PlatformClock::setTimeScale(0.1); // 100 tenths = 1 s
    std::atomic<int> got{-2};
    KVThread reader(
        [&] {
            char c = 0;
            got = m_uart.recv(m_nPort, &c, 1, 100);
            return 0;
        },
        "reader");
    ASSERT_EQ(reader.start(), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto start = Clock::now();
    reader.stop();
    EXPECT_LT(secondsSince(start), 0.02);
    EXPECT_EQ(got, 0);
}

TEST_F(UartTest, ClearRecvBufferDropsPendingInput) {
    m_peer.write("stale answer");
    char buf[16] = {};
    ASSERT_EQ(m_uart.recv(m_nPort, buf, 1, 10), 1); // the rest has arrived too
    EXPECT_EQ(m_uart.clearRecvBuffer(m_nPort), 1);
    m_peer.write("OK");
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 16, 1), 2);
    EXPECT_EQ(std::string(buf, 2), "OK");
}

TEST_F(UartTest, LineSettingsReachTheDeviceAndBadOnesChangeNothing) {
    // A pseudo-terminal always runs 8 bits without parity: only the speed and
    // the stop bits can be seen here.
    const int probe = ::open(m_peer.slave.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    termios t{};
    ASSERT_EQ(m_uart.setParameter(m_nPort, 19200, 7, 2, 1), 1);
    tcgetattr(probe, &t);
    EXPECT_EQ(cfgetospeed(&t), speed_t(B19200));
    EXPECT_NE(t.c_cflag & CSTOPB, 0u);
    ASSERT_EQ(m_uart.setParameter(m_nPort, 115200, 8, 1, 2), 1);
    const int bad[][4] = {
        {12345, 8, 1, 0}, {9600, 9, 1, 0}, {9600, 8, 3, 0}, {9600, 8, 1, 3}, {9600, 8, 1, -1}};
    for (const auto& b : bad)
        EXPECT_EQ(m_uart.setParameter(m_nPort, b[0], b[1], b[2], b[3]), 0) << b[1] << b[2] << b[3];
    tcgetattr(probe, &t);
    ::close(probe);
    EXPECT_EQ(cfgetospeed(&t), speed_t(B115200));
    EXPECT_EQ(t.c_cflag & CSTOPB, 0u);
}

TEST_F(UartTest, PortIsSharedUntilTheLastCloseAndBadCallsFail) {
    EXPECT_EQ(m_uart.open(m_peer.slave.c_str()), m_nPort);
    EXPECT_EQ(m_uart.close(m_nPort), 1);
    EXPECT_EQ(m_uart.send(m_nPort, "a", 1), 1);
    EXPECT_EQ(m_peer.read(1), "a");
    EXPECT_EQ(m_uart.close(m_nPort), 1);
    char buf[4] = {};
    EXPECT_EQ(m_uart.send(m_nPort, "a", 1), -1);
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 1, 1), -1);
    EXPECT_EQ(m_uart.setParameter(m_nPort, 9600, 8, 1, 0), 0);
    EXPECT_EQ(m_uart.clearRecvBuffer(m_nPort), 0);
    EXPECT_EQ(m_uart.close(m_nPort), 0);
    // A new opening gets a fresh index, so a stale index cannot reach it.
    const int port = m_uart.open(m_peer.slave.c_str());
    EXPECT_NE(port, m_nPort);
    EXPECT_EQ(m_uart.send(port, nullptr, 3), -1);
    EXPECT_EQ(m_uart.send(port, "x", -1), -1);
    EXPECT_EQ(m_uart.recv(port, buf, -1, 1), -1);
    EXPECT_EQ(m_uart.open(nullptr), -1);
    m_root.writeFile("/dev/ttyS1", "not a terminal");
    EXPECT_EQ(m_uart.open("/dev/ttyS1"), -1);
}

TEST_F(UartTest, DeviceUnderTheRootIsPreferredAndPortsAreIndependent) {
    PtyPeer other;
    ASSERT_FALSE(other.slave.empty());
    std::filesystem::create_directories(m_root.path("/dev"));
    std::filesystem::create_symlink(other.slave, m_root.path("/dev/ttyS1"));
    const int second = m_uart.open("/dev/ttyS1");
    ASSERT_GE(second, 0);
    other.write("B");
    m_peer.write("A");
    char a = 0;
    char b = 0;
    EXPECT_EQ(m_uart.recv(second, &b, 1, 10), 1);
    EXPECT_EQ(m_uart.recv(m_nPort, &a, 1, 10), 1);
    EXPECT_EQ(std::string() + a + b, "AB");
}

TEST_F(UartTest, VanishedPeerEndsReceiveAtOnce) {
    ::close(m_peer.master);
    m_peer.master = -1;
    PlatformClock::setTimeScale(1.0); // a hang would now cost 10 real seconds
    char buf[4];
    const auto start = Clock::now();
    EXPECT_EQ(m_uart.recv(m_nPort, buf, 4, 100), -1);
    EXPECT_LT(secondsSince(start), 1.0);
    EXPECT_EQ(m_uart.send(m_nPort, "x", 1), -1);
}

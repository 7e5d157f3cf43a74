// Tests of the simulated ASCII register module, driven from a client on its pty.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "sim/AsciiSimulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class AsciiSimulatorTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(sim.isRunning());
        port = uart.open(sim.slavePath().c_str());
        ASSERT_GE(port, 0);
        ASSERT_EQ(1, uart.setParameter(port, 9600, 8, 1, 0));
    }
    void send(const std::string& bytes) {
        ASSERT_EQ(int(bytes.size()), uart.send(port, bytes.data(), int(bytes.size())));
    }
    // Up to len bytes within the time-out (tenths of a device second).
    std::string read(int len, int timeout = 20) {
        std::vector<char> buf(static_cast<size_t>(len));
        const int n = uart.recv(port, buf.data(), len, timeout);
        return n <= 0 ? std::string() : std::string(buf.data(), static_cast<size_t>(n));
    }

    kvtest::TestRoot root{0.1};
    AsciiSimulator sim;
    TermiosUARTController uart;
    int port = -1;
};

} // namespace

// Frames have no terminator: a ":" or the line falling quiet ends one.
// Malformed frames and the special read are recorded but never answered.
TEST_F(AsciiSimulatorTest, FramesAreSplitAndOnlyWellFormedOnesAnswered) {
    send(":WFCC810:RFCC800");
    EXPECT_EQ(read(16), ":WFCC810:RFCC810");
    const char* unanswered[] = {":WFCC8",    ":XFCC800",   ":WFCC8G0", ":wFD4601",
                                ":RFFE7000", ":rE1ED0000", "noise"};
    for (const char* frame : unanswered) {
        send(frame);
        EXPECT_EQ(read(1, 3), "") << frame;
    }
    send(":RE1EE00");
    EXPECT_EQ(read(8), ":RE1EE03") << "the model's version register";
    send(":R123400");
    EXPECT_EQ(read(8), ":R123400") << "a register never set reads 0";
    EXPECT_EQ(sim.frames(), (std::vector<std::string>{":WFCC810", ":RFCC800", ":WFCC8", ":XFCC800",
                                                      ":WFCC8G0", ":wFD4601", ":RFFE7000",
                                                      ":rE1ED0000", ":RE1EE00", ":R123400"}));
}

TEST_F(AsciiSimulatorTest, LateAnswerKeepsTheOrder) {
    sim.setLateAnswer(1.0, 1);
    send(":WFF4A01");
    EXPECT_EQ(read(8, 5), "") << "not within half a second";
    send(":RFF4A00");
    EXPECT_EQ(read(16, 20), ":WFF4A01:RFF4A01");
}

// Paced, a frame without terminator ends after two byte times of quiet once
// its last byte is in, and its echo comes after both frames' wire time.
TEST_F(AsciiSimulatorTest, PacedFramesEndWhenTheWireFallsQuiet) {
    sim.setPacing(9600);
    const double byte = 10.0 / 9600;
    for (const std::string frame : {":WFF4A01", ":RFF4A00"}) {
        const double start = PlatformClock::monotonicSeconds();
        send(frame);
        EXPECT_EQ(read(8), frame == ":WFF4A01" ? frame : ":RFF4A01");
        EXPECT_GE(PlatformClock::monotonicSeconds() - start, (8 + 2 + 8) * byte) << frame;
    }
    EXPECT_EQ(sim.bytesIn(), 16u);
    EXPECT_EQ(sim.bytesOut(), 16u);
}

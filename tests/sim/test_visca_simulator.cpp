// Tests of the simulated VISCA block camera, driven from a client on its pty.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "sim/ViscaSimulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

class SimulatorRig : public ::testing::Test {
protected:
    explicit SimulatorRig(const ViscaSimulator::Options& options = {}) : sim(options) {}
    void SetUp() override {
        ASSERT_TRUE(sim.isRunning());
        port = uart.open(sim.slavePath().c_str());
        ASSERT_GE(port, 0);
        ASSERT_EQ(1, uart.setParameter(port, 9600, 8, 1, 0));
    }
    void send(const Bytes& frame) {
        ASSERT_EQ(int(frame.size()),
                  uart.send(port, reinterpret_cast<const char*>(frame.data()), int(frame.size())));
    }
    // Up to len bytes within the time-out (tenths of a device second): recv
    // returns as soon as the bytes are in.
    Bytes read(int len, int timeout = 200) {
        std::vector<char> buf(static_cast<size_t>(len));
        const int n = uart.recv(port, buf.data(), len, timeout);
        return n <= 0 ? Bytes() : Bytes(buf.begin(), buf.begin() + n);
    }
    Bytes exchange(const Bytes& frame, int replyLen) {
        send(frame);
        return read(replyLen);
    }
    // True when nothing at all comes back within half a device second.
    bool silent() { return read(1, 5).empty(); }

    kvtest::TestRoot root{0.01};
    ViscaSimulator sim;
    TermiosUARTController uart;
    int port = -1;
};

class ViscaSimulatorTest : public SimulatorRig {};

ViscaSimulator::Options cmd8300() {
    ViscaSimulator::Options options;
    options.model = viscaModelOfModule(25);
    return options;
}

// The fixed-lens CMD8300: 8-byte vendor frames, IR-cut frame, restart by 81 01 04 19 03 FF.
class Cmd8300SimulatorTest : public SimulatorRig {
protected:
    Cmd8300SimulatorTest() : SimulatorRig(cmd8300()) {}
};

const Bytes kSaturation7{0x81, 0x01, 0x04, 0xA1, 0x00, 0x00, 0x00, 0x07, 0xFF};
const Bytes kAck1Done1{0x90, 0x41, 0xFF, 0x90, 0x51, 0xFF};
const Bytes kAck2Done2{0x90, 0x42, 0xFF, 0x90, 0x52, 0xFF};
const Bytes kVersion{0xFE, 0x06, 0x01, 0x01, 0x01, 0x09, 0xFF};
const Bytes kBaudInquiry{0x81, 0x09, 0x04, 0x24, 0x24, 0xFF};
const Bytes kVideoInquiry{0x81, 0x09, 0x04, 0x24, 0x72, 0xFF};
const Bytes kDayNightInquiry{0x81, 0x09, 0x04, 0x01, 0xFF};
const Bytes kIrCutAuto{0xFE, 0x01, 0x1E, 0x02, 0x00, 0x00, 0x21, 0xFF};
const Bytes kIrCutNight{0xFE, 0x01, 0x1E, 0x02, 0x00, 0x01, 0x22, 0xFF};
const Bytes kIrCutDay{0xFE, 0x01, 0x1E, 0x02, 0x00, 0x02, 0x23, 0xFF};
const Bytes kRestart8300{0x81, 0x01, 0x04, 0x19, 0x03, 0xFF};

} // namespace

TEST_F(ViscaSimulatorTest, CommandsAndInquiriesOfTheDriversRegisters) {
    // Commands alternate sockets; inquiries answer with their reply lengths;
    // something never set is a syntax error, not made-up data.
    const struct {
        Bytes frame, reply;
    } script[] = {
        {kSaturation7, kAck1Done1},
        {{0x81, 0x01, 0x04, 0xA2, 0x00, 0x00, 0x00, 0x03, 0xFF}, kAck2Done2},
        {{0x81, 0x09, 0x04, 0xA1, 0xFF}, {0x90, 0x50, 0x00, 0x00, 0x00, 0x07, 0xFF}},
        {{0x81, 0x09, 0x04, 0x5B, 0xFF}, {0x90, 0x60, 0x02, 0xFF}},
        {{0x81, 0x09, 0x04, 0x4C, 0xFF}, {0x90, 0x50, 0x00, 0x00, 0x00, 0x00, 0xFF}},
        {kBaudInquiry, {0x90, 0x50, 0x00, 0x00, 0xFF}},
        {kVideoInquiry, {0x90, 0x50, 0x00, 0x06, 0xFF}},
        // Direct zoom position, then zoom and focus in one frame.
        {{0x81, 0x01, 0x04, 0x47, 0x05, 0x00, 0x00, 0x00, 0xFF}, kAck1Done1},
        {{0x81, 0x09, 0x04, 0x47, 0xFF}, {0x90, 0x50, 0x05, 0x00, 0x00, 0x00, 0xFF}},
        {{0x81, 0x01, 0x04, 0x47, 0x06, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0xFF},
         kAck2Done2},
        {{0x81, 0x09, 0x04, 0x48, 0xFF}, {0x90, 0x50, 0x02, 0x03, 0x04, 0x05, 0xFF}},
    };
    for (const auto& s : script)
        EXPECT_EQ(s.reply, exchange(s.frame, int(s.reply.size()))) << int(s.frame[3]);
    EXPECT_EQ(0x6001, sim.zoomPosition());
    EXPECT_EQ((Bytes{0x00, 0x00, 0x00, 0x03}), sim.registerValue({0x04, 0xA2}));
    const auto frames = sim.frames();
    ASSERT_EQ(11u, frames.size());
    EXPECT_EQ(kSaturation7, frames[0]);
}

TEST_F(ViscaSimulatorTest, ZoomDriveMovesOverDeviceTimeAndStops) {
    sim.setZoomPosition(0);
    EXPECT_EQ(kAck1Done1, exchange({0x81, 0x01, 0x04, 0x07, 0x27, 0xFF}, 6));
    PlatformClock::sleepFor(PlatformClock::Duration(0.5));
    exchange({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF}, 6);
    const int tele = sim.zoomPosition();
    EXPECT_GT(tele, 0);
    PlatformClock::sleepFor(PlatformClock::Duration(0.5));
    EXPECT_EQ(tele, sim.zoomPosition()); // stopped
    // Driving wide for long ends at the wide end, not below it.
    exchange({0x81, 0x01, 0x04, 0x07, 0x37, 0xFF}, 6);
    PlatformClock::sleepFor(PlatformClock::Duration(5.0));
    EXPECT_EQ(0, sim.zoomPosition());
}

TEST_F(ViscaSimulatorTest, RestartSilencesModuleThenAppliesPendingBaudAndVideo) {
    EXPECT_EQ(kAck1Done1, exchange({0x81, 0x01, 0x04, 0x24, 0x24, 0x00, 0x02, 0xFF}, 6));
    EXPECT_EQ(kAck2Done2, exchange({0x81, 0x01, 0x04, 0x24, 0x72, 0x00, 0x08, 0xFF}, 6));
    // The register answers the new index at once; the speed stays until restart.
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x02, 0xFF}), exchange(kBaudInquiry, 5));
    EXPECT_EQ(0, sim.moduleBaudIndex());
    EXPECT_EQ(6, sim.videoFormat());

    send({0xFE, 0x05, 0x03, 0x01, 0x01, 0x0A, 0xFF});
    ASSERT_TRUE(sim.waitForFrames(4, 1.0));
    send(kBaudInquiry);
    EXPECT_TRUE(silent());

    PlatformClock::sleepFor(PlatformClock::Duration(21.0));
    send(kBaudInquiry); // still at 9600: garbled for the module
    EXPECT_TRUE(silent());
    EXPECT_EQ(2, sim.moduleBaudIndex());
    EXPECT_EQ(8, sim.videoFormat());
    EXPECT_FALSE(sim.isRestarting());
    ASSERT_EQ(1, uart.setParameter(port, 38400, 8, 1, 0));
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x02, 0xFF}), exchange(kBaudInquiry, 5));
}

TEST_F(ViscaSimulatorTest, FaultModesSilenceOrDistortTheAnswers) {
    sim.setHostBaud(19200);
    send(kSaturation7);
    EXPECT_TRUE(silent());
    EXPECT_EQ(1u, sim.frames().size()); // recorded but not acted upon
    sim.setHostBaud(0);
    sim.setSilence(1);
    send(kSaturation7);
    EXPECT_TRUE(silent());
    EXPECT_TRUE(sim.registerValue({0x04, 0xA1}).empty());
    EXPECT_EQ(kAck1Done1, exchange(kSaturation7, 6));

    sim.setSilence();
    send(kVersion);
    EXPECT_TRUE(silent());
    send(kVersion);
    EXPECT_TRUE(silent());
    sim.clearFaults();
    EXPECT_EQ(9u, exchange(kVersion, 9).size());

    // Faults never take a socket: the next one is the second.
    sim.setErrorReply(0, 0x02, 1);
    EXPECT_EQ((Bytes{0x90, 0x60, 0x02, 0xFF}),
              exchange({0x81, 0x01, 0x04, 0xA2, 0x00, 0x00, 0x00, 0x03, 0xFF}, 4));
    EXPECT_TRUE(sim.registerValue({0x04, 0xA2}).empty());
    // A refusal of commands lets inquiries through and holds its count for the command.
    sim.setCommandRefusal(1);
    EXPECT_EQ(0x50, exchange({0x81, 0x09, 0x04, 0xA1, 0xFF}, 7).at(1));
    EXPECT_EQ((Bytes{0x90, 0x60, 0x41, 0xFF}),
              exchange({0x81, 0x01, 0x04, 0xA2, 0x00, 0x00, 0x00, 0x03, 0xFF}, 4));
    EXPECT_TRUE(sim.registerValue({0x04, 0xA2}).empty());
    sim.setCompletionFirst(1);
    EXPECT_EQ((Bytes{0x90, 0x52, 0xFF, 0x90, 0x42, 0xFF}), exchange(kSaturation7, 6));
    EXPECT_EQ(kAck1Done1, exchange(kSaturation7, 6));

    const Bytes mask{0xA1, 0x01, 0x03, 0xFF};
    sim.setWrongEcho(1);
    const Bytes wrong = exchange(mask, 4);
    EXPECT_NE(mask, wrong);
    EXPECT_EQ(mask[0], wrong.at(0));
    EXPECT_EQ(mask, exchange(mask, 4));

    sim.setCutShort(2, 1);
    EXPECT_EQ((Bytes{0x90, 0x42}), exchange(kSaturation7, 6));
    EXPECT_TRUE(silent());
    sim.setGarbage({0x12, 0x34}, 1);
    EXPECT_EQ((Bytes{0x12, 0x34, 0x90, 0x41, 0xFF, 0x90, 0x51, 0xFF}), exchange(kSaturation7, 8));
    sim.setLateAnswer(3.0, 1);
    send(kVersion);
    EXPECT_TRUE(read(1, 10).empty()); // not within 1 device second
    EXPECT_EQ(9u, read(9).size());    // but within 20

    // A duplicated answer; an answer held until the next frame, then sent before its own.
    sim.setDuplicate(1);
    EXPECT_EQ((Bytes{0x90, 0x42, 0xFF, 0x90, 0x52, 0xFF, 0x90, 0x42, 0xFF, 0x90, 0x52, 0xFF}),
              exchange(kSaturation7, 12));
    sim.setHeldAnswer(1);
    send(kBaudInquiry);
    EXPECT_TRUE(silent());
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x00, 0xFF, 0x90, 0x41, 0xFF, 0x90, 0x51, 0xFF}),
              exchange(kSaturation7, 11));
}

TEST_F(ViscaSimulatorTest, SplitsFramesAndDropsNoiseAndBadChecksums) {
    Bytes stream{0x00, 0x55};
    stream.insert(stream.end(), kSaturation7.begin(), kSaturation7.end());
    stream.insert(stream.end(), kVersion.begin(), kVersion.end());
    send(stream);
    EXPECT_EQ(6u + 9u, read(15).size());
    EXPECT_EQ((std::vector<Bytes>{kSaturation7, kVersion}), sim.frames());
    send({0xFE, 0x06, 0x01, 0x01, 0x01, 0x0A, 0xFF}); // wrong checksum: ignored
    EXPECT_TRUE(silent());
}

TEST_F(ViscaSimulatorTest, PacedAnswersTakeTheirTimeOnTheWire) {
    sim.setPacing(true);
    EXPECT_EQ(kAck1Done1, exchange(kSaturation7, 6));
    // Real time: nine bytes at 9600 baud need over 9 ms.
    PlatformClock::setTimeScale(1.0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(9u, exchange(kVersion, 9).size());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(8));
}

TEST_F(ViscaSimulatorTest, EightByteFramesAndTheVisca1903AreNothingSpecialHere) {
    // Read as a 7-byte vendor frame with a bad ending, the trailing FF as noise.
    send(kIrCutNight);
    EXPECT_TRUE(silent());
    EXPECT_EQ(kAck1Done1, exchange(kRestart8300, 6)); // an ordinary register
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x00, 0xFF}), exchange(kBaudInquiry, 5));
    EXPECT_EQ(0, sim.restartCount());
    EXPECT_EQ((Bytes{0x90, 0x60, 0x02, 0xFF}), exchange(kDayNightInquiry, 4));
    EXPECT_EQ((std::vector<Bytes>{Bytes(kIrCutNight.begin(), kIrCutNight.end() - 1), kRestart8300,
                                  kBaudInquiry, kDayNightInquiry}),
              sim.frames());
}

TEST_F(Cmd8300SimulatorTest, IrCutFramesAndSceneLightSetTheDayNightReport) {
    ASSERT_STREQ("cmd8300", sim.model().name);
    // Per step: the scene light, a frame (none: only the light changes) and its
    // answer (none: silence), then what 81 09 04 01 FF reports (02 night, 03 day).
    const struct {
        bool dark;
        Bytes frame, reply;
        uint8_t filter;
    } steps[] = {
        {false, {}, {}, 0x03}, // power-on: automatic, day
        {true, {}, {}, 0x02},
        {true, kIrCutNight, kAck1Done1, 0x02},
        {false, {}, {}, 0x02}, // night stays night by day
        {false, kIrCutDay, kAck2Done2, 0x03},
        {true, {}, {}, 0x03},
        {true, kIrCutAuto, kAck1Done1, 0x02},
        {false, {}, {}, 0x03},
        {false, {0x81, 0x01, 0x04, 0x01, 0x02, 0xFF}, kAck2Done2, 0x02}, // ends automatic
        {false, kIrCutAuto, kAck1Done1, 0x03},
        {false, {0xFE, 0x01, 0x1E, 0x02, 0x00, 0x01, 0x23, 0xFF}, {}, 0x03}, // bad checksum
        {true, {0xFE, 0x01, 0x1E, 0x02, 0x00, 0x03, 0x24, 0xFF}, {}, 0x02},  // no mode 3
        // The zoom domes' version and restart bodies mean nothing to this module.
        {false, {0xFE, 0x06, 0x01, 0x01, 0x01, 0x00, 0x09, 0xFF}, {}, 0x03},
        {false, {0xFE, 0x05, 0x03, 0x01, 0x01, 0x00, 0x0A, 0xFF}, {}, 0x03},
    };
    int i = 0;
    for (const auto& step : steps) {
        sim.setSceneDark(step.dark);
        if (!step.frame.empty()) {
            send(step.frame);
            if (step.reply.empty())
                EXPECT_TRUE(silent()) << i;
            else
                EXPECT_EQ(step.reply, read(int(step.reply.size()))) << i;
        }
        EXPECT_EQ((Bytes{0x90, 0x50, step.filter, 0xFF}), exchange(kDayNightInquiry, 4)) << i;
        ++i;
    }
    EXPECT_EQ(0, sim.restartCount());

    // The command fault switches bend the IR-cut frame's answer as a command's.
    sim.setErrorReply(0, 0x02, 1);
    EXPECT_EQ((Bytes{0x90, 0x60, 0x02, 0xFF}), exchange(kIrCutNight, 4));
    EXPECT_EQ((Bytes{0x90, 0x50, 0x03, 0xFF}), exchange(kDayNightInquiry, 4));
    sim.setCompletionFirst(1);
    EXPECT_EQ((Bytes{0x90, 0x52, 0xFF, 0x90, 0x42, 0xFF}), exchange(kIrCutNight, 6));
    EXPECT_EQ((Bytes{0x90, 0x50, 0x02, 0xFF}), exchange(kDayNightInquiry, 4));
}

TEST_F(Cmd8300SimulatorTest, ViscaRestartIsSilentThenAppliesThePendingVideoFormat) {
    // The start-up notice asks for nothing the module keeps.
    EXPECT_EQ((Bytes{0x90, 0x60, 0x02, 0xFF}), exchange({0x81, 0x09, 0x04, 0x22, 0xFF}, 4));
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x00, 0x00, 0x00, 0xFF}),
              exchange({0x81, 0x09, 0x04, 0x4C, 0xFF}, 7));
    EXPECT_EQ(kAck1Done1, exchange({0x81, 0x01, 0x04, 0x24, 0x72, 0x00, 0x08, 0xFF}, 6));
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x08, 0xFF}), exchange(kVideoInquiry, 5));
    EXPECT_EQ(6, sim.videoFormat());

    send(kRestart8300);
    ASSERT_TRUE(sim.waitForFrames(5, 1.0));
    EXPECT_EQ(1, sim.restartCount());
    EXPECT_TRUE(silent());
    send(kVideoInquiry);
    EXPECT_TRUE(silent());
    PlatformClock::sleepFor(PlatformClock::Duration(21.0));
    EXPECT_FALSE(sim.isRestarting());
    EXPECT_EQ(8, sim.videoFormat());
    EXPECT_EQ((Bytes{0x90, 0x50, 0x00, 0x08, 0xFF}), exchange(kVideoInquiry, 5));
    EXPECT_EQ(kAck2Done2, exchange(kIrCutDay, 6));
    EXPECT_EQ(1, sim.restartCount());
}

TEST(ViscaSimulatorLifetime, StopsQuickly) {
    kvtest::TestRoot root(0.01);
    const auto start = std::chrono::steady_clock::now();
    { ViscaSimulator sim; }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

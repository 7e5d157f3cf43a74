// Tests of the simulated IT1 register module, driven from a client on its pty.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "sim/It1Simulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <iterator>
#include <vector>

namespace {

using Bytes = BinarySimulator::Bytes;

// The bytes with their checksum (the sum of them all, mod 256) appended.
Bytes summed(Bytes bytes) {
    unsigned sum = 0;
    for (uint8_t b : bytes)
        sum += b;
    bytes.push_back(static_cast<uint8_t>(sum));
    return bytes;
}

const Bytes kDone = {0x05, 0x01, 0x02, 0x01, 0x09};
const Bytes kE1 = {0x05, 0x01, 0x02, 0xE1, 0xE9};
const Bytes kE2 = {0x05, 0x01, 0x02, 0xE2, 0xEA};
const Bytes kE3 = {0x05, 0x01, 0x02, 0xE3, 0xEB};

class It1SimulatorTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(sim.isRunning());
        port = uart.open(sim.slavePath().c_str());
        ASSERT_GE(port, 0);
        ASSERT_EQ(1, uart.setParameter(port, 9600, 8, 1, 0));
    }
    void send(const Bytes& bytes) {
        ASSERT_EQ(int(bytes.size()),
                  uart.send(port, reinterpret_cast<const char*>(bytes.data()), int(bytes.size())));
    }
    // Up to len bytes within the time-out (tenths of a device second).
    Bytes read(int len, int timeout = 20) {
        std::vector<char> buf(static_cast<size_t>(len));
        const int n = uart.recv(port, buf.data(), len, timeout);
        return n <= 0 ? Bytes() : Bytes(buf.begin(), buf.begin() + n);
    }
    Bytes exchange(const Bytes& request, size_t answerLength) {
        send(request);
        return read(int(answerLength));
    }

    kvtest::TestRoot root{0.1};
    It1Simulator sim{findIt1Model(GetParam())};
    TermiosUARTController uart;
    int port = -1;
};

struct Case {
    const char* what;
    Bytes request;
    Bytes answer;
};

} // namespace

// Both models answer the register frames alike; 0A08 is set to 0210 first.
TEST_P(It1SimulatorTest, RegisterFramesAreAnsweredOrRefused) {
    sim.setRegisterValue(0x0A08, 0x0210);
    const Case cases[] = {
        {"read 1 byte", summed({0x08, 0x01, 0x05, 0x01, 0x0A, 0x08, 0x01}),
         summed({0x06, 0x01, 0x03, 0x01, 0x10})},
        {"read 2 bytes, low first", summed({0x08, 0x01, 0x05, 0x01, 0x0A, 0x08, 0x02}),
         summed({0x07, 0x01, 0x04, 0x01, 0x10, 0x02})},
        {"write 1 byte", summed({0x08, 0x01, 0x05, 0x02, 0x0A, 0x03, 0x40}), kDone},
        {"write 2 bytes", summed({0x09, 0x01, 0x06, 0x02, 0x14, 0x1F, 0x34, 0x12}), kDone},
        {"read back", summed({0x08, 0x01, 0x05, 0x01, 0x14, 0x1F, 0x02}),
         summed({0x07, 0x01, 0x04, 0x01, 0x34, 0x12})},
        {"checksum", {0x08, 0x01, 0x05, 0x01, 0x0A, 0x03, 0x01, 0x00}, kE1},
        {"unknown register", summed({0x08, 0x01, 0x05, 0x01, 0x12, 0x34, 0x01}), kE2},
        {"light is read only", summed({0x09, 0x01, 0x06, 0x02, 0x3D, 0x0B, 0x00, 0x01}), kE2},
        {"byte 1", summed({0x08, 0x02, 0x05, 0x01, 0x0A, 0x03, 0x01}), kE3},
        {"byte 2", summed({0x08, 0x01, 0x06, 0x01, 0x0A, 0x03, 0x01}), kE3},
        {"operation", summed({0x08, 0x01, 0x05, 0x03, 0x0A, 0x03, 0x01}), kE3},
        {"read count", summed({0x08, 0x01, 0x05, 0x01, 0x0A, 0x03, 0x03}), kE3},
        {"9-byte read", summed({0x09, 0x01, 0x06, 0x01, 0x0A, 0x03, 0x01, 0x00}), kE3},
    };
    for (const Case& c : cases)
        EXPECT_EQ(exchange(c.request, c.answer.size()), c.answer) << c.what;
    EXPECT_EQ(sim.registerValue(0x0A03), 0x40);
    EXPECT_EQ(sim.registerValue(0x141F), 0x1234);
    EXPECT_EQ(sim.registerValue(0x3D0B), 0x0800);
    sim.setLightValue(0x0123);
    EXPECT_EQ(exchange(summed({0x08, 0x01, 0x05, 0x01, 0x3D, 0x0B, 0x02}), 7),
              summed({0x07, 0x01, 0x04, 0x01, 0x23, 0x01}));
    EXPECT_EQ(sim.frames().size(), std::size(cases) + 1);
}

// A byte that starts no frame is refused once and what follows it until the
// line is quiet is dropped; a frame cut short is dropped unanswered. The line
// then works again. The zoom model's lens frames are VISCA-style commands.
TEST_P(It1SimulatorTest, GarbageCutFramesAndLensFrames) {
    const Bytes read = summed({0x08, 0x01, 0x05, 0x01, 0x0A, 0x03, 0x01});
    const Bytes brightness = summed({0x06, 0x01, 0x03, 0x01, 0x32});
    send({0xFF, 0x08, 0x01, 0x05});
    EXPECT_EQ(this->read(16, 5), kE3);
    send({0x08, 0x01, 0x05});
    EXPECT_EQ(this->read(1, 5), Bytes()) << "a frame cut short";
    EXPECT_EQ(exchange(read, 6), brightness);

    const bool zoom = sim.model().lensFrames;
    send({0x81, 0x01, 0x04, 0xB1, 0x03, 0xFF});
    EXPECT_EQ(this->read(16, 5), (zoom ? Bytes{0x90, 0x41, 0xFF, 0x90, 0x51, 0xFF} : kE3));
    send({0x81, 0x09, 0x04, 0x47, 0xFF});
    EXPECT_EQ(this->read(16, 5), (zoom ? Bytes{0x90, 0x60, 0x02, 0xFF} : kE3));
    EXPECT_EQ(sim.lensPresets(), zoom ? std::vector<int>{3} : std::vector<int>{});
    EXPECT_EQ(exchange(read, 6), brightness);
}

// The two faults of the binary families, each for one answer: the checksum
// one more than the sum, the count byte FF with the rest as it was.
TEST_P(It1SimulatorTest, WrongChecksumAndOverlongCount) {
    const Bytes read = summed({0x08, 0x01, 0x05, 0x01, 0x0A, 0x03, 0x01});
    sim.setWrongChecksum(1);
    EXPECT_EQ(exchange(read, 6), (Bytes{0x06, 0x01, 0x03, 0x01, 0x32, 0x3E}));
    sim.setOverlongCount(1);
    EXPECT_EQ(exchange(read, 6), (Bytes{0xFF, 0x01, 0x03, 0x01, 0x32, 0x3D}));
    EXPECT_EQ(exchange(read, 6), summed({0x06, 0x01, 0x03, 0x01, 0x32}));
}

// Paced, an exchange takes at least the wire time of its bytes both ways at
// the line's speed (device time), and the bytes are counted each way, paced
// or not.
TEST_P(It1SimulatorTest, PacedLineTakesTheWireTimeAndCountsTheBytes) {
    const Bytes read = summed({0x08, 0x01, 0x05, 0x01, 0x0A, 0x03, 0x01});
    const Bytes brightness = summed({0x06, 0x01, 0x03, 0x01, 0x32});
    const double wire = (read.size() + brightness.size()) * 10.0 / 9600;
    sim.setPacing(9600);
    for (int i = 0; i < 2; ++i) {
        const double start = PlatformClock::monotonicSeconds();
        EXPECT_EQ(exchange(read, brightness.size()), brightness);
        EXPECT_GE(PlatformClock::monotonicSeconds() - start, wire);
    }
    EXPECT_EQ(sim.bytesIn(), 2 * read.size());
    EXPECT_EQ(sim.bytesOut(), 2 * brightness.size());
    sim.setPacing(0);
    sim.resetByteCounts();
    EXPECT_EQ(exchange(read, brightness.size()), brightness);
    EXPECT_EQ(sim.bytesIn() + sim.bytesOut(), read.size() + brightness.size());
}

INSTANTIATE_TEST_SUITE_P(Models, It1SimulatorTest, ::testing::Values("it1", "zoom"));

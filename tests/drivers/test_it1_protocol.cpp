// Tests of the IT1 framing and exchange against a scripted in-memory serial port.
#include "drivers/protocols/It1Protocol.h"

#include "drivers/ScriptedModule.h"
#include "drivers/ScriptedUart.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvtest::bytes;

using It1Host = kvtest::ScriptedHost<It1Protocol>;

const std::string kAck = bytes({0x05, 0x01, 0x02, 0x01, 0x09});

} // namespace

// Request frames as the module documents them, checksums included.
TEST(It1Frames, RequestsAndChecksums) {
    uint8_t f[9];
    const auto built = [&f](int length) {
        It1Protocol::computeCheckSum(f, length);
        return std::string(reinterpret_cast<char*>(f), static_cast<std::size_t>(length));
    };
    EXPECT_EQ(built(It1Protocol::writeFrame(f, 0x0A03, 1, 50)),
              bytes({0x08, 0x01, 0x05, 0x02, 0x0A, 0x03, 0x32, 0x4F}));
    EXPECT_EQ(built(It1Protocol::writeFrame(f, 0x0A08, 2, 10000)), // low byte first
              bytes({0x09, 0x01, 0x06, 0x02, 0x0A, 0x08, 0x10, 0x27, 0x5B}));
    EXPECT_EQ(built(It1Protocol::readFrame(f, 0x3D0B, 2)),
              bytes({0x08, 0x01, 0x05, 0x01, 0x3D, 0x0B, 0x02, 0x59}));
    EXPECT_EQ(built(1), bytes({0x00}));
}

// One register access per row: what the module answers to each attempt, and
// what comes of it.
TEST(It1Exchange, AnswersAttemptsAndFailures) {
    kvtest::TestRoot root;
    const std::string value0210 = bytes({0x07, 0x01, 0x04, 0x01, 0x10, 0x02, 0x1F});
    const struct {
        const char* name;
        bool read;
        int width;
        std::vector<std::string> answers;
        int result;
        int value;
        std::size_t frames;
        const char* log; // a line the attempts log, or ""
    } cases[] = {
        {"write acknowledged", false, 1, {kAck}, 1, -1, 1, ""},
        {"two-byte read 10 02", true, 2, {value0210}, 1, 0x0210, 1, ""},
        {"one-byte read", true, 1, {bytes({0x06, 0x01, 0x03, 0x01, 0x05, 0x10})}, 1, 5, 1, ""},
        {"silent once, then answered",
         false,
         1,
         {"", kAck},
         1,
         -1,
         2,
         "recv dataCount failed,nRecvLength=0"},
        {"silent throughout", true, 2, {"", ""}, 0, -1, 2, "getParameterValue error,nRet = -2"},
        {"wrong checksum throughout",
         false,
         1,
         {bytes({5, 1, 2, 1, 0x0A}), bytes({5, 1, 2, 1, 0x0A})},
         0,
         -1,
         2,
         "checkSum error,nExpectedCheckSum = 0x09,actualCheckSum=0x0a"},
        {"over-long count, then answered",
         true,
         2,
         {bytes({0x0B, 1, 8, 1, 0, 0, 0, 0, 0, 0, 0x16}), value0210},
         1,
         0x0210,
         2,
         ""},
        {"cut short",
         true,
         2,
         {bytes({0x07, 0x01, 0x04}), bytes({0x07, 0x01})},
         0,
         -1,
         2,
         "recv data failed,nRecvLength=2,nRecvCount=6"},
        {"count no answer can have",
         false,
         1,
         {bytes({0x02, 0x01, 0x03}), kAck},
         1,
         -1,
         2,
         "recv data failed"},
        {"refused: unknown register",
         false,
         1,
         {bytes({5, 1, 2, 0xE2, 0xEA})},
         0,
         -1,
         1,
         "setParameterValue error,nRet = 5"},
        {"answered with the other width",
         true,
         1,
         {value0210},
         0,
         -1,
         1,
         "getParameterValue error,nRet = 7"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        It1Host host;
        host.uart->answers = c.answers;
        kvtest::StdoutCapture out;
        int value = -1;
        const int result = c.read ? host.protocol.readRegister(0x3D0B, c.width, value)
                                  : host.protocol.writeRegister(0x0A03, c.width, 50);
        const std::string log = out.text();
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(host.uart->frames.size(), c.frames);
        EXPECT_NE(log.find(c.log), std::string::npos) << log;
        EXPECT_TRUE(host.uart->input.empty());
    }
}

// The count byte is judged before anything more is read: an answer longer than
// the caller's buffer is refused, its remaining bytes left on the line.
TEST(It1Exchange, OverLongCountIsRefusedBeforeReading) {
    kvtest::TestRoot root;
    It1Host host;
    host.uart->answers = {bytes({0xFF, 1, 2, 3, 4})};
    uint8_t frame[8];
    const int length = It1Protocol::readFrame(frame, 0x0A03, 1);
    uint8_t answer[It1Protocol::kAnswerCapacity] = {};
    EXPECT_EQ(host.protocol.baseSendCommand(frame, length, answer, sizeof answer),
              It1Protocol::kTooLong);
    EXPECT_EQ(host.uart->reads, std::vector<int>{1});
    EXPECT_EQ(host.uart->input.size(), 4u);
    EXPECT_EQ(host.protocol.recvLeftData(), 4);
}

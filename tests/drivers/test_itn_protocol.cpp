// Tests of the ITN framing and exchange against a scripted in-memory serial port.
#include "drivers/protocols/ItnProtocol.h"

#include "drivers/ScriptedModule.h"
#include "drivers/ScriptedUart.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvtest::bytes;
using ItnHost = kvtest::ScriptedHost<ItnProtocol>;

} // namespace

TEST(ItnFrames, WritesWithChecksums) {
    uint8_t f[10];
    const auto built = [&f](int length) {
        ItnProtocol::computeCheckSum(f, length);
        return std::string(reinterpret_cast<char*>(f), static_cast<std::size_t>(length));
    };
    // Brightness 100 % as 255, then a day-to-night threshold (sub 05), high byte first.
    EXPECT_EQ(built(ItnProtocol::writeFrame(f, 0x1A, 0x00, 0x05, 1, 255)),
              bytes({0x09, 0x01, 0x06, 0x02, 0x1A, 0x00, 0x05, 0xFF, 0x30}));
    EXPECT_EQ(built(ItnProtocol::writeFrame(f, 0x1B, 0x05, 0x58, 2, 0x0123)),
              bytes({0x0A, 0x01, 0x07, 0x02, 0x1B, 0x05, 0x58, 0x01, 0x23, 0xB0}));
    EXPECT_EQ(built(ItnProtocol::readFrame(f, 0x15, 0x00, 0x24)),
              bytes({0x08, 0x01, 0x05, 0x01, 0x15, 0x00, 0x24, 0x48}));
    uint8_t nr[ItnProtocol::kPairsLength];
    const int regs[] = {0x20, 0x21, 0x22};
    const int values[] = {1, 0x80, 0x80};
    ItnProtocol::computeCheckSum(nr, ItnProtocol::pairsFrame(nr, 0x1D, 0, regs, values));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(nr), sizeof nr),
              bytes({0x0E, 0x01, 0x0B, 0x02, 0x1D, 0x00, 0x03, 0x20, 0x01, 0x21, 0x80, 0x22, 0x80,
                     0xA0}));
}

// One exchange per row: the module's answer, the result, the value bytes
// handed over and what is logged.
TEST(ItnExchange, AnswerFormsAndFailures) {
    kvtest::TestRoot root;
    const struct {
        const char* name;
        std::string answer;
        int result;
        std::vector<uint8_t> values;
        const char* log;
    } cases[] = {
        {"acknowledge", bytes({5, 1, 2, 1, 9}), 1, {}, ""},
        {"acknowledge with a wrong checksum", bytes({5, 1, 2, 1, 8}), -2, {}, ""},
        {"one value byte", bytes({6, 1, 3, 1, 0x42, 0x4D}), 2, {0x42}, ""},
        {"two value bytes", bytes({7, 1, 4, 1, 0x10, 0x02, 0x1F}), 2, {0x10, 0x02}, ""},
        {"six value bytes",
         bytes({11, 1, 8, 1, 1, 2, 3, 4, 5, 6, 0x2A}),
         2,
         {1, 2, 3, 4, 5, 6},
         ""},
        {"value with a wrong checksum",
         bytes({6, 1, 3, 1, 0x42, 0x4E}),
         -2,
         {},
         "recv checksum error"},
        {"wrong header", bytes({6, 1, 4, 1, 0x42, 0x4E}), -2, {}, ""},
        {"checksum missing", bytes({7, 1, 4, 1, 0x10, 0x02}), -2, {}, "3 recv checksum error"},
        {"value cut short", bytes({11, 1, 8, 1, 1, 2}), -2, {}, "__recv failed,nRet = 2 !=6"},
        {"acknowledge cut short", bytes({5, 1, 2}), -2, {}, "__recv failed,nRet = 2 !=4"},
        {"no answer's first byte",
         bytes({0x33, 1, 2}),
         -1,
         {},
         "recv code failed,first recv code = 0x33"},
        {"silence", "", -2, {}, "recv ResultCode failed,nRecvLength=0,nResult = 0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ItnHost host;
        host.uart->answers = {c.answer};
        uint8_t frame[10];
        const int length = ItnProtocol::writeFrame(frame, 0x1A, 0x00, 0x05, 1, 50);
        uint8_t values[ItnProtocol::kMaxValue] = {};
        int count = 0;
        kvtest::StdoutCapture out;
        EXPECT_EQ(host.protocol.sendCommand(frame, length, values, sizeof values, count), c.result);
        const std::string log = out.text();
        EXPECT_EQ(std::vector<uint8_t>(values, values + count), c.values);
        EXPECT_NE(log.find(c.log), std::string::npos) << log;
        EXPECT_EQ(host.uart->frames.size(), 1u);
    }
}

// A write's failure is printed with both sides and the input drained; a
// value longer than the caller's buffer is refused before it is read.
TEST(ItnExchange, FailedWritesAndSmallBuffers) {
    kvtest::TestRoot root;
    ItnHost host;
    host.uart->answers = {bytes({5, 1, 2, 1, 8, 0xAA, 0xBB}), bytes({5, 1, 2, 1, 9})};
    {
        kvtest::StdoutCapture out;
        EXPECT_EQ(host.protocol.writeRegister(0x1A, 0x00, 0x05, 1, 50), 0);
        EXPECT_NE(
            out.text().find("setParameterValue error,nRet = -2\n\tsend command is:09 01 06 02 "
                            "1A 00 05 32 63"),
            std::string::npos)
            << out.text();
        EXPECT_TRUE(host.uart->input.empty());
    }
    EXPECT_EQ(host.protocol.writeRegister(0x1A, 0x00, 0x05, 1, 50), 1);

    host.uart->answers.push_back(bytes({11, 1, 8, 1, 1, 2, 3, 4, 5, 6, 0x2A}));
    uint8_t frame[10];
    const int length = ItnProtocol::writeFrame(frame, 0x1A, 0x00, 0x05, 1, 50);
    uint8_t values[2] = {};
    int count = 0;
    EXPECT_EQ(host.protocol.sendCommand(frame, length, values, sizeof values, count), -2);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(host.uart->reads.back(), 3) << "nothing read after the header";

    // A read takes only a value of the width asked for.
    host.uart->answers.push_back(bytes({6, 1, 3, 1, 0x42, 0x4D}));
    host.uart->answers.push_back(bytes({7, 1, 4, 1, 0x10, 0x02, 0x1F}));
    int value = -1;
    EXPECT_EQ(host.protocol.readRegister(0x1B, 0x05, 0x58, 2, value), 0);
    EXPECT_EQ(host.protocol.readRegister(0x1B, 0x05, 0x58, 2, value), 1);
    EXPECT_EQ(value, 0x1002);
}

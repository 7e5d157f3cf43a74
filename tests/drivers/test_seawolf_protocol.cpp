// Tests of the Seawolf framing and exchange against a scripted in-memory serial port.
#include "drivers/protocols/SeawolfProtocol.h"

#include "drivers/ScriptedModule.h"
#include "drivers/ScriptedUart.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvtest::bytes;
using SeawolfHost = kvtest::ScriptedHost<SeawolfProtocol>;

// Register value 0x80 in four data bytes: ~(2 + 4 + 0x80) = 0x79.
const std::string kValue80 = bytes({0x02, 0x04, 0x00, 0x00, 0x00, 0x80, 0x79});

} // namespace

// Request frames as the module documents them, checksums included.
TEST(SeawolfFrames, RequestsAndChecksums) {
    uint8_t f[9];
    const auto built = [&f](int length) {
        SeawolfProtocol::computeCheckSum(f, length);
        return std::string(reinterpret_cast<char*>(f), static_cast<std::size_t>(length));
    };
    EXPECT_EQ(built(SeawolfProtocol::readFrame(f, 0x04, 0x3E)),
              bytes({0x03, 0x02, 0x04, 0x3E, 0xB8}));
    EXPECT_EQ(built(SeawolfProtocol::writeFrame(f, 0x00, 0x22, 0x01020364)),
              bytes({0x02, 0x06, 0x00, 0x22, 0x01, 0x02, 0x03, 0x64, 0x6B}));

    SeawolfHost host;
    host.uart->answers = {bytes({1}), bytes({1})};
    EXPECT_EQ(host.protocol.flush(), 1);
    EXPECT_EQ(host.protocol.resetParameters(), 1);
    EXPECT_EQ(host.uart->frames, (std::vector<std::string>{bytes({0x07, 0x00, 0xF8}),
                                                           bytes({0x09, 0x01, 0x01, 0xF4})}));
}

// One exchange per row (a caller's buffer of four bytes): the module's answer,
// the result, the reads made and what is logged.
TEST(SeawolfExchange, ResultCodesAndFailures) {
    kvtest::TestRoot root;
    const struct {
        const char* name;
        std::string answer;
        int result;
        std::vector<int> reads;
        const char* log;
    } cases[] = {
        {"accepted", bytes({1}), 1, {1}, ""},
        {"data", kValue80, 2, {1, 1, 5}, ""},
        {"no data bytes", bytes({2, 0, 0xFD}), 2, {1, 1, 1}, ""},
        {"rejected: nothing more read",
         bytes({3, 0x55}),
         -3,
         {1},
         "command , data length or checksum error"},
        {"silent", "", -2, {1}, "recv ResultCode failed,nRecvLength=0,nResult = 0"},
        {"count missing", bytes({2}), -2, {1, 1}, "recv ResultCode failed"},
        {"count above the buffer: refused before the data",
         bytes({2, 5, 1, 2, 3, 4, 5, 0xE8}),
         0,
         {1, 1},
         "ERROR !!!!!!nLen > p_RecvLength"},
        {"wrong checksum",
         bytes({0x02, 0x04, 0x00, 0x00, 0x00, 0x80, 0x78}),
         0,
         {1, 1, 5},
         "the checksum get from sensor is error!"},
        {"cut short", bytes({0x02, 0x04, 0x00, 0x00}), -2, {1, 1, 5}, "recv data failed"},
        {"no result code", bytes({0x90, 0x41, 0xFF}), -4, {1}, "unknown result code 0x90"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SeawolfHost host;
        host.uart->answers = {c.answer};
        kvtest::StdoutCapture out;
        uint8_t frame[5];
        const int length = SeawolfProtocol::readFrame(frame, 0x04, 0x3E);
        uint8_t answer[5] = {0, 0, 0, 0, 0xA5};
        int received = -1;
        EXPECT_EQ(host.protocol.sendCommand(frame, length, answer, 4, &received), c.result);
        EXPECT_EQ(answer[4], 0xA5) << "written past the caller's buffer";
        EXPECT_EQ(received, c.result == 2 ? static_cast<int>(c.answer.size()) - 3 : 0);
        EXPECT_EQ(host.uart->reads, c.reads);
        const std::string log = out.text();
        EXPECT_TRUE(kvtest::contains(log, c.log)) << log;
    }
}

// Register access takes only its own answer, and drains the line after a failure.
TEST(SeawolfExchange, RegisterAccess) {
    kvtest::TestRoot root;
    SeawolfHost host;
    host.uart->answers = {kValue80, bytes({2, 2, 0, 0x80, 0x7B}), bytes({1}), bytes({3, 9, 9}),
                          kValue80};
    int value = -1;
    EXPECT_EQ(host.protocol.readRegister(0x04, 0x3E, value), 1);
    EXPECT_EQ(value, 0x80);
    kvtest::StdoutCapture out;
    EXPECT_EQ(host.protocol.readRegister(0x04, 0x3E, value), 0) << "two data bytes";
    EXPECT_EQ(host.protocol.writeRegister(0x00, 0x22, 55), 1);
    EXPECT_EQ(host.protocol.writeRegister(0x00, 0x22, 55), 0);
    EXPECT_TRUE(host.uart->input.empty()) << "the rest of a rejection is drained";
    uint8_t data[1] = {};
    EXPECT_EQ(host.protocol.getParameterValue(0x04, 0x3E, data, 1), 0);
    const std::string log = out.text();
    EXPECT_TRUE(kvtest::contains(log, "register 0x04,0x3e answered with 2 data bytes")) << log;
    EXPECT_TRUE(kvtest::contains(log, "______________getParameterValue(0x04),(0x3e)failed")) << log;
    EXPECT_EQ(host.uart->frames.back(), bytes({0x03, 0x02, 0x04, 0x3E, 0xB8}));
}

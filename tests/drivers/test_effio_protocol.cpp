// Tests of the Effio frames and exchanges against a scripted in-memory serial port.
#include "drivers/protocols/EffioProtocol.h"

#include "drivers/ScriptedModule.h"
#include "drivers/ScriptedUart.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvtest::bytes;
using kvtest::contains;
using EffioHost = kvtest::ScriptedHost<EffioProtocol>;

std::string sent(uint8_t* frame, int length) {
    EffioProtocol::computeCheckSum(frame, length);
    return std::string(reinterpret_cast<char*>(frame), static_cast<std::size_t>(length));
}

} // namespace

TEST(EffioFrames, WritesAndReadsWithChecksums) {
    uint8_t f[7];
    // Sharpness 100 %: 255 to 02/99.
    EXPECT_EQ(sent(f, EffioProtocol::writeFrame(f, 0x02, 0x99, 1, 100 * 255 / 100)),
              bytes({0x06, 0x57, 0x02, 0x99, 0xFF, 0xF7}));
    // Brightness 0x0312, high byte first.
    EXPECT_EQ(sent(f, EffioProtocol::writeFrame(f, 0x02, 0x63, 2, 0x0312)),
              bytes({0x07, 0x57, 0x02, 0x63, 0x03, 0x12, 0xD8}));
    EXPECT_EQ(sent(f, EffioProtocol::readFrame(f, 0x03, 0x02, 0x02)),
              bytes({0x06, 0x52, 0x03, 0x02, 0x02, 0x5F}));
}

// One write per row: the module's answer, the result and what is logged.
TEST(EffioExchange, WriteAnswers) {
    kvtest::TestRoot root;
    const struct {
        std::string answer;
        int result;
        const char* log;
    } cases[] = {
        {bytes({0x57, 0xF1, 0x48}), 0, "Category number error"},
        {bytes({0x57, 0x00, 0x57}), 1, ""},
        {bytes({0x57, 0xF0, 0x47}), 0, "Communication error"},
        {bytes({0x57, 0xF2, 0x49}), 0, "Byte number error"},
        {bytes({0x57, 0xFE, 0x55}), 0, "Other error"},
        {bytes({0x57, 0x00, 0x58}), 0, "not this write's answer (57 00 58)"},
        {bytes({0x52, 0x00, 0x52}), 0, "not this write's answer"},
        {bytes({0x57, 0x00}), 0,
         "setParameters : recv len failed expectlen=3,actuallen=2\n\nset send :06 57 02 99 FF "
         "F7\nset recv :57 00"},
        {"", 0, "recv len failed expectlen=3,actuallen=0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(kvtest::contains(c.log, "\n") ? "cut short" : c.log);
        EffioHost host;
        host.uart->answers = {c.answer};
        host.uart->input.assign({'\x57', '\x00', '\x57'}); // a stale answer, cleared first
        kvtest::StdoutCapture out;
        EXPECT_EQ(host.protocol.writeRegister(0x02, 0x99, 1, 255), c.result);
        EXPECT_TRUE(contains(out.text(), c.log)) << out.text();
        EXPECT_EQ(host.uart->reads, std::vector<int>{3});
    }
}

// Reads take exactly n + 3 bytes and hand over only a whole answer of this request.
TEST(EffioExchange, ReadAnswers) {
    kvtest::TestRoot root;
    const struct {
        std::string answer;
        int result;
        std::vector<uint8_t> values;
        const char* log;
    } cases[] = {
        {bytes({0x52, 0x00, 0x03, 0x12, 0x67}), 1, {0x03, 0x12}, ""},
        {bytes({0x52, 0xF2, 0x00, 0x00, 0x44}), 0, {0, 0}, "Byte number error"},
        {bytes({0x52, 0x00, 0x03, 0x12, 0x66}),
         0,
         {0, 0},
         "check sum error expect=103 , but actual = 102"},
        {bytes({0x57, 0x00, 0x03, 0x12, 0x6C}), 0, {0, 0}, "not this read's answer"},
        {bytes({0x52, 0x00, 0x03}),
         0,
         {0, 0},
         "getParmaters recv len error\nrecv request :06 52 02 63 63 20\n\nresult :52 00 03"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.log);
        EffioHost host;
        // A byte after a whole answer is left on the line.
        host.uart->answers = {c.answer.size() == 5 ? c.answer + bytes({0xAA}) : c.answer};
        uint8_t frame[6];
        const int length = EffioProtocol::readFrame(frame, 0x02, 0x63, 0x63);
        uint8_t values[3] = {0, 0, 0xA5};
        kvtest::StdoutCapture out;
        EXPECT_EQ(host.protocol.getParameters(frame, length, values, 2), c.result);
        EXPECT_TRUE(contains(out.text(), c.log)) << out.text();
        EXPECT_EQ(std::vector<uint8_t>(values, values + 2), c.values);
        EXPECT_EQ(values[2], 0xA5);
        EXPECT_EQ(host.uart->reads, std::vector<int>{5});
    }
    // A read longer than any answer is refused before anything goes out.
    EffioHost host;
    uint8_t frame[6];
    uint8_t values[EffioProtocol::kMaxValues + 1];
    EXPECT_EQ(host.protocol.getParameters(frame, EffioProtocol::readFrame(frame, 2, 0, 16), values,
                                          EffioProtocol::kMaxValues + 1),
              0);
    EXPECT_TRUE(host.uart->frames.empty());
}

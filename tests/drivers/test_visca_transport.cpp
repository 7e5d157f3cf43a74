// Tests of the VISCA transport across a pseudo-terminal with a scripted module.
// labels: threaded
#include "drivers/protocols/ViscaTransport.h"

#include "drivers/ScriptedModule.h"
#include "foundation/KVRuntimeError.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

using kvtest::bytes;

namespace {

const std::string kSaturation = bytes({0x81, 0x01, 0x04, 0xA1, 0x00, 0x00, 0x00, 0x07, 0xFF});
const std::string kZoomInquiry = bytes({0x81, 0x09, 0x04, 0x47, 0xFF});
const std::string kAck1 = bytes({0x90, 0x41, 0xFF});
const std::string kDone = bytes({0x90, 0x51, 0xFF});

class ViscaTransportTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_ctl.attach(m_module.slave())); }
    int command(const std::string& frame) {
        return m_ctl.visca().command(frame.data(), int(frame.size()));
    }

    // 2 tenths of a second of reply time-out = 50 ms: ample for the peer.
    kvtest::TestRoot m_root{0.25};
    kvtest::ScriptedModule m_module;
    kvtest::TestZoomController m_ctl;
};

} // namespace

TEST_F(ViscaTransportTest, AcknowledgeOnEitherSocketAndCompletionIsSkipped) {
    // The completion of the first command is still waiting when the second
    // command's acknowledge is read: the reader must skip it.
    m_module.play({{9, kAck1 + kDone}, {9, bytes({0x90, 0x42, 0xFF})}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(command(kSaturation), 1);
    EXPECT_EQ(command(kSaturation), 1);
    EXPECT_EQ(m_module.finish(), kSaturation + kSaturation);
    EXPECT_EQ(m_module.readMore(), "");
    EXPECT_EQ(kvtest::printed(out), "");
}

TEST_F(ViscaTransportTest, ErrorReplyOrSilenceGetsThreeAttemptsInBoundedTime) {
    const std::string error = bytes({0x90, 0x60, 0x02, 0xFF});
    m_module.play({{9, error}, {9, error}, {9, error}, {9, ""}, {9, ""}, {9, ""}});
    kvtest::StdoutCapture out;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(command(kSaturation), 0);
    EXPECT_EQ(command(kSaturation), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(m_module.finish().size(), 6 * kSaturation.size());
    EXPECT_EQ(m_module.readMore(), "");
    std::string once;
    for (int n = 1; n <= 3; ++n)
        once +=
            "===recv(" + std::to_string(n) +
            " times) @setParameterValue failed,send:\n81 01 04 A1 00 00 00 07 FF \n===recv(-1):\n";
    EXPECT_EQ(kvtest::printed(out), once + once);
}

TEST_F(ViscaTransportTest, ShortReplyIsLoggedAndGarbageBeforeAReplyIsSkipped) {
    m_module.play(
        {{9, bytes({0x00, 0x90, 0x50, 0xFF})},
         {9, bytes({0x00, 0xFF, 0x41, 0x12}) + kAck1},
         {5, bytes({0x07, 0xFF}) + kDone + bytes({0x90, 0x50, 0x01, 0x02, 0x03, 0x04, 0xFF})}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(command(kSaturation), 1);
    EXPECT_EQ(kvtest::printed(out),
              "===send:\n81 01 04 A1 00 00 00 07 FF \n"
              "===setParameterValue(1 times) recv error,recv:0x90,0x50,0xff\n");
    char reply[7] = {};
    ASSERT_EQ(m_ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, 7), 1);
    EXPECT_EQ(ViscaTransport::decodePosition(reply + 2), 0x1234);
}

TEST_F(ViscaTransportTest, InquiryNeedsExactlyTheReplyLength) {
    // A reply cut short (no terminator) and one too long both fail the attempt.
    const std::string cut = bytes({0x90, 0x50, 0x01, 0x02});
    m_module.play({{5, cut}, {5, bytes({0x90, 0x50, 0, 0, 0, 0, 0, 0xFF})}, {5, cut}});
    kvtest::StdoutCapture out;
    char reply[7] = {};
    EXPECT_EQ(m_ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, 7, "getZoomValue"), 0);
    EXPECT_EQ(m_module.finish().size(), 15u);
    const std::string text = kvtest::printed(out);
    EXPECT_NE(text.find("===recv(1 times) @getZoomValue failed,send:\n81 09 04 47 FF \n"
                        "===recv(4):\n90 50 01 02 \n"),
              std::string::npos);
    EXPECT_NE(text.find("===recv(2 times) @getZoomValue failed,send:\n81 09 04 47 FF \n"
                        "===recv(-1):\n===recv(3 times)"),
              std::string::npos);
}

// Answers that belong to an earlier frame, recorded as the module sent them: an
// acknowledge or inquiry reply that came after its attempt gave up, or one of
// the other kind. Each exchange must take the answer to its own frame.
TEST_F(ViscaTransportTest, LateOrForeignAnswersNeverAnswerTheCurrentFrame) {
    const std::string refused = bytes({0x90, 0x60, 0x02, 0xFF});
    const std::string gain = bytes({0x90, 0x50, 0x00, 0x00, 0x00, 0x0B, 0xFF});
    const std::string zoom = bytes({0x90, 0x50, 0x01, 0x02, 0x03, 0x04, 0xFF});
    m_module.play({// a command unanswered three times, its answer comes with the next one's
                   {9, ""},
                   {9, ""},
                   {9, ""},
                   {9, kAck1 + kDone + refused},
                   {9, refused},
                   {9, refused},
                   // a gain inquiry unanswered, its reply comes with the zoom reply
                   {5, ""},
                   {5, ""},
                   {5, ""},
                   {5, gain + zoom},
                   // a stale reply of the other kind before the right one
                   {9, gain + kAck1},
                   {5, kAck1 + kDone + zoom}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(command(kSaturation), 0);
    EXPECT_EQ(command(kSaturation), 0) << "refused, whatever came before";
    char reply[7] = {};
    EXPECT_EQ(m_ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, 7), 0);
    ASSERT_EQ(m_ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, 7), 1);
    EXPECT_EQ(std::string(reply, 7), zoom);
    EXPECT_EQ(command(kSaturation), 1);
    ASSERT_EQ(m_ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, 7), 1);
    EXPECT_EQ(std::string(reply, 7), zoom);
    EXPECT_EQ(m_module.finish().size(), 6 * 9 + 4 * 5 + 9 + 5u);
}

// Only a whole reply of the asked length and form answers an inquiry.
TEST_F(ViscaTransportTest, InquiryRefusesErrorCutAndForeignRepliesOfTheRightLength) {
    const struct {
        int length;
        std::string reply;
    } cases[] = {
        {4, bytes({0x90, 0x60, 0x02, 0xFF})},       // error reply
        {5, bytes({0x90, 0x50, 0x00, 0x08, 0x00})}, // cut off by the time-out
        {3, kAck1},                                 // an acknowledge
        {5, bytes({0x90, 0x61, 0x41, 0x00, 0xFF})}, // not an inquiry reply
    };
    for (const auto& c : cases) {
        kvtest::ScriptedModule module;
        kvtest::TestZoomController ctl;
        ASSERT_TRUE(ctl.attach(module.slave()));
        module.play({{5, c.reply}, {5, c.reply}, {5, c.reply}});
        kvtest::StdoutCapture out;
        char reply[8] = {};
        EXPECT_EQ(ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, c.length), 0) << c.length;
        EXPECT_EQ(module.finish().size(), 15u);
        EXPECT_NE(kvtest::printed(out).find("===recv(3 times) @getParameterValue failed"),
                  std::string::npos);
    }
}

TEST_F(ViscaTransportTest, ReaderRefusesEndlessCompletionsAndOversizedReplies) {
    std::string flood;
    for (int i = 0; i < 40; ++i)
        flood += kDone;
    char buf[8] = {};
    m_module.write(flood);
    EXPECT_EQ(m_ctl.visca().recvData(buf, 8, 2), -1);
    for (const std::string& noise : {std::string(150, '\x90'), std::string(150, '\x00') + kAck1}) {
        m_ctl.clearUartBuffer();
        m_module.write(noise); // no reply within the reader's limit
        EXPECT_EQ(m_ctl.visca().getRealData(buf, 8, 2), -1);
    }
}

TEST_F(ViscaTransportTest, EmptyUartThrowsAndReleasesTheLock) {
    kvtest::TestZoomController bare;
    EXPECT_THROW(bare.visca().sendWithEcho("\xA1\x00\x01\xFF", 4), KVRuntimeError);
    bool locked = false;
    std::thread([&] {
        locked = bare.m_mutex.try_lock();
        if (locked)
            bare.m_mutex.unlock();
    }).join();
    EXPECT_TRUE(locked);
}

TEST(ViscaFrameTest, VendorChecksumAndPositionNibbles) {
    char frame[ViscaTransport::kMaxVendorBody + 3];
    EXPECT_EQ(ViscaTransport::vendorFrame(frame, {0x05, 0x03, 0x01, 0x01}), 7);
    EXPECT_EQ(std::string(frame, 7), bytes({0xFE, 0x05, 0x03, 0x01, 0x01, 0x0A, 0xFF}));
    ViscaTransport::vendorFrame(frame, {0x80, 0x90, 0xF0, 0x01}); // sum 0x201: low byte only
    EXPECT_EQ(static_cast<unsigned char>(frame[5]), 0x01);
    // The CMD8300's five-byte body: the IR-cut frame for night.
    EXPECT_EQ(ViscaTransport::vendorFrame(frame, {0x01, 0x1E, 0x02, 0x00, 0x01}), 8);
    EXPECT_EQ(std::string(frame, 8), bytes({0xFE, 0x01, 0x1E, 0x02, 0x00, 0x01, 0x22, 0xFF}));
    char four[4];
    ViscaTransport::encodePosition(0xABCD, four);
    EXPECT_EQ(std::string(four, 4), bytes({0x0A, 0x0B, 0x0C, 0x0D}));
    const char highBits[4] = {'\xF1', '\x02', '\x03', '\x04'}; // only low nibbles count
    EXPECT_EQ(ViscaTransport::decodePosition(highBits), 0x1234);
}

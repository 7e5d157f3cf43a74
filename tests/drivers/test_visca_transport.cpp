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
using Step = kvtest::ScriptedModule::Step;

namespace {

const std::string kSaturation = bytes({0x81, 0x01, 0x04, 0xA1, 0x00, 0x00, 0x00, 0x07, 0xFF});
const std::string kSaturationDump = "81 01 04 A1 00 00 00 07 FF \n";
const std::string kZoomInquiry = bytes({0x81, 0x09, 0x04, 0x47, 0xFF});
const std::string kAck1 = bytes({0x90, 0x41, 0xFF});
const std::string kAck2 = bytes({0x90, 0x42, 0xFF});
const std::string kDone = bytes({0x90, 0x51, 0xFF});

class ViscaTransportTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_ctl.attach(m_module.slave())); }

    int command(const std::string& frame) {
        return m_ctl.visca().command(frame.data(), int(frame.size()));
    }
    int inquiry(const std::string& frame, char* reply, int replyLen) {
        return m_ctl.visca().inquiry(frame.data(), int(frame.size()), reply, replyLen);
    }

    // 2 tenths of a second of reply time-out = 50 ms: ample for the peer.
    kvtest::TestRoot m_root{0.25};
    kvtest::ScriptedModule m_module;
    kvtest::TestZoomController m_ctl;
};

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

TEST_F(ViscaTransportTest, AcknowledgeOnEitherSocketAndCompletionIsSkipped) {
    // The completion of the first command is still waiting when the second
    // command's acknowledge is read: the reader must skip it.
    m_module.play({{9, kAck1 + kDone}, {9, kAck2}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(command(kSaturation), 1);
    EXPECT_EQ(command(kSaturation), 1);
    EXPECT_EQ(m_module.finish(), kSaturation + kSaturation);
    EXPECT_EQ(m_module.readMore(), "");
    EXPECT_EQ(out.text(), "");
}

TEST_F(ViscaTransportTest, ErrorReplyIsRetriedThreeTimesThenFails) {
    const std::string error = bytes({0x90, 0x60, 0x02, 0xFF});
    m_module.play({{9, error}, {9, error}, {9, error}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(command(kSaturation), 0);
    EXPECT_EQ(m_module.finish(), kSaturation + kSaturation + kSaturation);
    std::string expected;
    for (int n = 1; n <= 3; ++n)
        expected += "===recv(" + std::to_string(n) + " times) @setParameterValue failed,send:\n" +
                    kSaturationDump + "===recv(-1):\n";
    EXPECT_EQ(out.text(), expected);
}

TEST_F(ViscaTransportTest, UnexpectedShortReplyIsLoggedAndTheNextAttemptSucceeds) {
    m_module.play({{9, bytes({0x00, 0x90, 0x50, 0xFF})}, {9, kAck1}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(command(kSaturation), 1);
    EXPECT_EQ(out.text(), "===send:\n" + kSaturationDump +
                              "===setParameterValue(1 times) recv error,recv:0x90,0x50,0xff\n");
}

TEST_F(ViscaTransportTest, SilentModuleGetsThreeAttemptsInBoundedTime) {
    m_module.play({{9, ""}, {9, ""}, {9, ""}});
    kvtest::StdoutCapture out;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(command(kSaturation), 0);
    EXPECT_LT(secondsSince(start), 2.0);
    EXPECT_EQ(m_module.finish(), kSaturation + kSaturation + kSaturation);
    EXPECT_EQ(m_module.readMore(), "");
    EXPECT_NE(out.text().find("===recv(3 times) @setParameterValue failed,send:"),
              std::string::npos);
}

TEST_F(ViscaTransportTest, GarbageBeforeTheReplyIsSkipped) {
    m_module.play(
        {{9, bytes({0x00, 0xFF, 0x41, 0x12}) + kAck1},
         {5, bytes({0x07, 0xFF}) + kDone + bytes({0x90, 0x50, 0x01, 0x02, 0x03, 0x04, 0xFF})}});
    EXPECT_EQ(command(kSaturation), 1);
    char reply[7] = {};
    ASSERT_EQ(inquiry(kZoomInquiry, reply, 7), 1);
    EXPECT_EQ(std::string(reply, 7), bytes({0x90, 0x50, 0x01, 0x02, 0x03, 0x04, 0xFF}));
    EXPECT_EQ(ViscaTransport::decodePosition(reply + 2), 0x1234);
}

TEST_F(ViscaTransportTest, InquiryNeedsExactlyTheReplyLength) {
    // A reply cut short (no terminator) and one too long both fail the attempt.
    const std::string cut = bytes({0x90, 0x50, 0x01, 0x02});
    const std::string longer = bytes({0x90, 0x50, 0, 0, 0, 0, 0, 0xFF});
    m_module.play({{5, cut}, {5, longer}, {5, cut}});
    kvtest::StdoutCapture out;
    char reply[7] = {};
    EXPECT_EQ(m_ctl.visca().inquiry(kZoomInquiry.data(), 5, reply, 7, "getZoomValue"), 0);
    EXPECT_EQ(m_module.finish().size(), 15u);
    const std::string text = out.text();
    EXPECT_NE(text.find("===recv(1 times) @getZoomValue failed,send:\n81 09 04 47 FF \n"
                        "===recv(4):\n90 50 01 02 \n"),
              std::string::npos);
    EXPECT_NE(text.find("===recv(2 times) @getZoomValue failed,send:\n81 09 04 47 FF \n"
                        "===recv(-1):\n===recv(3 times)"),
              std::string::npos);
}

TEST_F(ViscaTransportTest, ReaderRefusesEndlessCompletionsAndOversizedReplies) {
    std::string flood;
    for (int i = 0; i < 40; ++i)
        flood += kDone;
    m_module.write(flood);
    char buf[8] = {};
    EXPECT_EQ(m_ctl.visca().recvData(buf, 8, 2), -1);
    m_ctl.clearUartBuffer();
    m_module.write(std::string(150, '\x90')); // no terminator within the reader's limit
    EXPECT_EQ(m_ctl.visca().getRealData(buf, 8, 2), -1);
    m_ctl.clearUartBuffer();
    m_module.write(std::string(150, '\x00') + kAck1); // endless noise: the reader gives up
    EXPECT_EQ(m_ctl.visca().getRealData(buf, 8, 2), -1);
}

TEST_F(ViscaTransportTest, EmptyUartThrowsAndReleasesTheLock) {
    kvtest::TestZoomController bare;
    EXPECT_THROW(bare.visca().sendWithEcho("\xA1\x00\x01\xFF", 4), KVRuntimeError);
    bool locked = false;
    std::thread other([&] {
        locked = bare.m_mutex.try_lock();
        if (locked)
            bare.m_mutex.unlock();
    });
    other.join();
    EXPECT_TRUE(locked);
}

TEST(ViscaFrameTest, VendorFrameAndNibbleHelpers) {
    char frame[7];
    ViscaTransport::vendorFrame(frame, 0x05, 0x03, 0x01, 0x01);
    EXPECT_EQ(std::string(frame, 7), bytes({0xFE, 0x05, 0x03, 0x01, 0x01, 0x0A, 0xFF}));
    ViscaTransport::vendorFrame(frame, 0x80, 0x90, 0xF0, 0x01); // sum 0x201: low byte only
    EXPECT_EQ(static_cast<unsigned char>(frame[5]), 0x01);

    char two[2];
    ViscaTransport::nibbles(0xD7, two);
    EXPECT_EQ(std::string(two, 2), bytes({0x0D, 0x07}));
    char four[4];
    ViscaTransport::encodePosition(0xABCD, four);
    EXPECT_EQ(std::string(four, 4), bytes({0x0A, 0x0B, 0x0C, 0x0D}));
    EXPECT_EQ(ViscaTransport::decodePosition(four), 0xABCD);
    const char highBits[4] = {'\xF1', '\x02', '\x03', '\x04'}; // only low nibbles count
    EXPECT_EQ(ViscaTransport::decodePosition(highBits), 0x1234);
}

// Tests of the zoom-module base: echo-checked sends, mask frames and region rules.
// labels: threaded
#include "drivers/platform/IDMX420ZoomSensorController.h"

#include "drivers/ScriptedModule.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>

using kvtest::bytes;
using Step = kvtest::ScriptedModule::Step;

namespace {

const std::string kSetMask3 = bytes({0xA1, 0x01, 0x03, 0xFF});
const Step kEcho{4, "", true};

class ZoomBaseTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_ctl.attach(m_module.slave())); }
    int send(const std::string& frame) {
        return m_ctl.KVSendParam(frame.data(), int(frame.size()));
    }

    // 5 tenths of a second of echo time-out = 125 ms.
    kvtest::TestRoot m_root{0.25};
    kvtest::ScriptedModule m_module;
    kvtest::TestZoomController m_ctl;
};

} // namespace

TEST_F(ZoomBaseTest, WrongFirstEchoIsOnlyLoggedButThreeBadEchoesFail) {
    // First send: a wrong echo is accepted. Second: silence, short, wrong.
    m_module.play({{4, bytes({0xA1, 0x01, 0x04, 0xFF})},
                   {4, ""},
                   {4, bytes({0xA1})},
                   {4, bytes({0xA1, 0x02, 0x04, 0xFF})}});
    kvtest::StdoutCapture out;
    EXPECT_EQ(send(kSetMask3), 1);
    EXPECT_EQ(send(kSetMask3), 0);
    EXPECT_EQ(m_module.finish(), kSetMask3 + kSetMask3 + kSetMask3 + kSetMask3);
    EXPECT_EQ(m_module.readMore(), "");
    const std::string sent = " @KVSendParam failed,send:\nA1 01 03 FF \n";
    EXPECT_EQ(kvtest::printed(out), "===check(1 times)" + sent + "===recv(4):\nA1 01 04 FF \n" +
                                        "===recv(1 times)" + sent + "===recv(0):\n" +
                                        "===recv(2 times)" + sent + "===recv(1):\nA1 \n" +
                                        "===check(3 times)" + sent + "===recv(4):\nA1 02 04 FF \n");
}

TEST_F(ZoomBaseTest, MaskCommandsSendTheirFrames) {
    m_ctl.m_bisInited = true;
    m_module.play(std::vector<Step>(10, kEcho));
    EXPECT_EQ(m_ctl.setRegion(3), 1);
    EXPECT_EQ(m_ctl.m_nRegion, 3);
    using Ctl = kvtest::TestZoomController;
    const struct {
        int (Ctl::*op)();
        int sub, arg;
    } cases[] = {
        {&Ctl::setMask, 0x01, 3},       {&Ctl::showMask, 0x04, 3},
        {&Ctl::hideMask, 0x05, 3},      {&Ctl::clearMask, 0x06, 3},
        {&Ctl::clearAllMask, 0x07, 3},  {&Ctl::increaseWidth, 0x20, 1},
        {&Ctl::decreaseWidth, 0x20, 2}, {&Ctl::increaseHight, 0x20, 3},
        {&Ctl::decreaseHight, 0x20, 4},
    };
    std::string expected = bytes({0xA1, 0x00, 0x03, 0xFF});
    for (const auto& c : cases) {
        EXPECT_EQ((m_ctl.*c.op)(), 1);
        expected += bytes({0xA1, c.sub, c.arg, 0xFF});
    }
    EXPECT_EQ(m_module.finish(), expected);
}

TEST_F(ZoomBaseTest, RegionRulesBeforeInitAndWithoutRegion) {
    m_module.play({kEcho, kEcho});
    kvtest::StdoutCapture out;
    // No region: refused without sending, except clearing all masks.
    EXPECT_EQ(m_ctl.setMask(), 0);
    EXPECT_EQ(m_ctl.decreaseHight(), 0);
    EXPECT_EQ(m_ctl.clearAllMask(), 1);
    // Before init the region is only kept locally; its low byte is sent later.
    EXPECT_EQ(m_ctl.setRegion(0x103), 1);
    EXPECT_EQ(m_ctl.setMask(), 1);
    EXPECT_EQ(m_module.finish(), bytes({0xA1, 0x07, 0x00, 0xFF}) + kSetMask3);
    m_ctl.m_bisInited = true;
    EXPECT_EQ(m_ctl.setRegion(0), 1); // region 0 is never sent
    EXPECT_EQ(m_ctl.m_nRegion, 0);
    EXPECT_EQ(m_module.readMore(), "");
    EXPECT_EQ(kvtest::printed(out), "0==m_nRegion\n0==m_nRegion\n");
}

TEST_F(ZoomBaseTest, FailedSendsKeepTheRegionAndNameTheOperation) {
    m_ctl.m_bisInited = true;
    m_ctl.m_nRegion = 2;
    kvtest::StdoutCapture out;
    EXPECT_EQ(m_ctl.setRegion(5), 0);
    EXPECT_EQ(m_ctl.m_nRegion, 2);
    EXPECT_EQ(m_ctl.hideMask(), 0);
    const std::string text = kvtest::printed(out);
    EXPECT_NE(text.find("===recv(3 times) @KVSendParam failed,send:\nA1 00 05 FF \n"
                        "===recv(0):\nsetRegion failed\n"),
              std::string::npos);
    EXPECT_NE(text.find("A1 05 02 FF \n===recv(0):\nhideMask failed\n"), std::string::npos);
}

// Tests of the FBS8300 driver's parameter ids and lens operations against the simulated module.
// labels: threaded
#include "platform/TermiosUARTController.h"
#include "platform/kvia.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Counts the drains of the receive direction between attempts.
class CountingUart : public TermiosUARTController {
public:
    int clearRecvBuffer(int port) override {
        ++drains;
        return TermiosUARTController::clearRecvBuffer(port);
    }
    int drains = 0;
};

class Fbs8300ParametersTest : public ::testing::Test {
protected:
    void SetUp() override {
        KviaSimulator::reset();
        m_pUart = new CountingUart();
        rig.uart = SafePointer<IUARTController>(m_pUart);
        ASSERT_TRUE(rig.connectReady());
    }
    void TearDown() override { KviaSimulator::reset(); }

    kvtest::Fbs8300Driver& drv() { return *rig.driver; }
    // The frames received since the last call, one hex line each.
    std::string wire() {
        const std::string text = kvtest::Fbs8300Rig::hex(rig.frames());
        rig.sim.clearFrames();
        return text;
    }
    int set(int id, int value) { return drv().setParameterToSensor(id, value); }

    kvtest::Fbs8300Rig rig;
    CountingUart* m_pUart = nullptr; // owned by rig.uart
};

TEST_F(Fbs8300ParametersTest, EveryIdSendsItsFrame) {
    // Manual exposure and manual white balance, so the conditioned ids are sent.
    drv().storeParameter(10, 1);
    drv().storeParameter(18, 5);
    const struct {
        int id, value;
        const char* frames;
    } cases[] = {
        {1, 50, "81 01 04 A1 00 00 00 07 FF\n"},
        {2, 100, "81 01 04 A2 00 00 00 0F FF\n"},
        {3, 20, "81 01 04 42 00 00 00 03 FF\n"},
        {4, 5, "81 01 04 5B 05 FF\n"},
        {5, 3, "81 01 04 53 03 FF\n"},
        {6, 1, "81 01 04 A5 01 FF\n"},
        {7, 60, "81 01 04 A3 09 FF\n"},
        {8, 1, "81 01 04 61 02 FF\n81 01 04 66 03 FF\n"},
        {9, 2, "81 01 04 62 02 FF\n"},
        {10, 0, "81 01 04 39 00 FF\n"},
        {11, 21, "81 01 04 4A 00 00 01 05 FF\n"},
        {12, 13, "81 01 04 4B 00 00 00 0D FF\n"},
        {13, 5, "81 01 04 4D 00 00 00 05 FF\n"},
        {14, 15, "81 01 04 4C 00 00 00 0F FF\n"},
        {15, 4, "81 01 04 2C 04 FF\n"},
        {16, 2, "81 01 04 5A 02 FF\n"},
        {17, 3, "81 01 04 33 03 FF\n"},
        {18, 9, "81 01 04 35 09 FF\n"},
        {19, 200, "81 01 04 43 00 00 0C 08 FF\n"},
        {20, 255, "81 01 04 44 00 00 0F 0F FF\n"},
        {21, 0, "81 01 04 51 02 FF\n81 01 04 01 03 FF\n"},
        // The data byte FF closes the frame early; the module drops the stray FF.
        {21, 1, "81 01 04 51 FF\n81 01 04 01 FF\n"},
        {21, 3, "81 01 04 51 03 FF\n81 01 04 01 03 FF\n"},
        {23, 2, "81 01 04 3D 02 FF\n"},
        {24, 1, "81 01 04 A6 01 FF\n"},
        {25, 100, "81 01 04 A4 00 00 00 0F FF\n"},
        {26, 2, "81 01 04 06 02 FF\n"},
        {27, 1, "81 01 04 38 02 FF\n81 01 04 57 02 FF\n"},
        {27, 2, "81 01 04 38 02 FF\n81 01 04 57 00 FF\n"},
        {27, 3, "81 01 04 38 03 FF\n"},
        {28, 77, "81 01 04 18 01 FF\n"},
        {29, 3, "81 01 04 58 03 FF\n"},
        {30, 4, "81 01 04 28 04 00 00 00 FF\n"},
        {30, 5, "81 01 04 18 02 FF\n"},
        {31, 5, "81 01 04 21 00 00 00 05 FF\n"},
        {32, 126, "81 01 04 21 01 00 07 0E FF\n"},
        {68, 100, "81 01 04 AF 00 00 08 00 FF\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("id " + std::to_string(c.id) + " value " + std::to_string(c.value));
        EXPECT_EQ(set(c.id, c.value), 1);
        EXPECT_EQ(wire(), c.frames);
    }
    EXPECT_EQ(drv().ntoD(), 5);
    EXPECT_EQ(drv().dtoN(), 126);
    EXPECT_EQ(drv().focusMode(), 3);
}

TEST_F(Fbs8300ParametersTest, RefusalsSendNothingAndNameTheSetter) {
    drv().storeParameter(10, 1);
    drv().storeParameter(18, 5);
    const struct {
        int id, value;
        const char* refusal;
        const char* failure;
    } cases[] = {
        {1, 101, "setSaturation(101) is out of range", "setSaturation error,value is 101"},
        {2, -1, "setContrast(-1) is out of range", "setContrast failed,value is -1"},
        {8, 4, "setMirror(4) is out of range", "setMirror error,value is 4"},
        {9, 1, "setStillImage(1) is out of range", "setStillImage error,value is 1"},
        {10, 5, "setExposalMode(5) is out of range", "setExposalMode error,value is 5"},
        {13, 3, "setBright(3) is out of range", "setBright error,value is 3"},
        {18, 6, "setWBMode(6) out of range", "setWBMode error,value is 6"},
        {19, 256, "setRedGain(256) out of range", "setRedGain failed,value is 256"},
        {21, 4, "setInfrared(4) out of range", "setInfrared error,value is 4"},
        {25, 101, "setSharpness(101) is out of range", "setBrightness error,value is 101"},
        {27, 0, "setFocusMode(0) is out of range", "setFocusMode error,value is 0"},
        {30, 6, "setFocusNearLimit(6) is out of range", "setFocusNearLimit error,value is 6"},
        {31, 10, "m_nDtoNSensitivity(15) - p_nNtoDSensitivity(10) < 10",
         "setNtoDSensitivity error,value is 10"},
        {32, 14, "setDtoNSensitivity(14) is out of range", "setDtoNSensitivity error,value is 14"},
        {60, 25, "setDTNTime_H(25) is out of range", "setDTNTime_H failed"},
        {68, 101, "setChromaSuppress(101) is out of range", "setChromaSuppress error,value is 101"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("id " + std::to_string(c.id));
        kvtest::StdoutCapture out;
        EXPECT_EQ(set(c.id, c.value), 0);
        const std::string text = out.text();
        EXPECT_NE(text.find(c.refusal), std::string::npos) << text;
        EXPECT_NE(text.find(c.failure), std::string::npos) << text;
        EXPECT_EQ(wire(), "");
    }
    EXPECT_EQ(drv().ntoD(), 5);
}

TEST_F(Fbs8300ParametersTest, StatusAndIdsOutsideTheTable) {
    EXPECT_EQ(set(40, 1), -1);
    EXPECT_EQ(set(69, 1), -1);
    int value = 0;
    EXPECT_EQ(drv().getParameterFromSensor(33, value), -1);
    EXPECT_EQ(drv().getParameterFromSensor(500, value), 1); // the base's scheme window
    drv().setStatus(ISensorController::NotInited);
    kvtest::StdoutCapture out;
    EXPECT_EQ(set(1, 50), 0);
    EXPECT_EQ(drv().getParameterFromSensor(1, value), 0);
    EXPECT_NE(out.text().find("m_SensorStatus != ISensorController::InitSuccess!"),
              std::string::npos);
    EXPECT_EQ(wire(), "");
}

TEST_F(Fbs8300ParametersTest, ConditionedSettingsWaitForTheirMode) {
    drv().storeParameter(10, 0); // full auto
    drv().storeParameter(18, 0); // auto white balance
    for (int id : {11, 12, 13, 14, 19, 20})
        EXPECT_EQ(set(id, 7), 1) << id;
    EXPECT_EQ(wire(), "");
    drv().storeParameter(10, 4); // bright mode: only bright goes through
    EXPECT_EQ(set(13, 5), 1);
    EXPECT_EQ(set(11, 7), 1);
    EXPECT_EQ(wire(), "81 01 04 4D 00 00 00 05 FF\n");
}

TEST_F(Fbs8300ParametersTest, ManualExposureResendsTheUserValues) {
    drv().storeParameter(10, 0);
    EXPECT_EQ(set(11, 7), 1);
    EXPECT_EQ(set(12, 4), 1);
    EXPECT_EQ(set(14, 9), 1);
    EXPECT_EQ(set(14, 99), 0); // out of range: the user value stays 9
    EXPECT_EQ(wire(), "");
    EXPECT_EQ(set(10, 1), 1);
    EXPECT_EQ(wire(), "81 01 04 39 03 FF\n81 01 04 4C 00 00 00 09 FF\n"
                      "81 01 04 4A 00 00 00 07 FF\n81 01 04 4B 00 00 00 04 FF\n");
    EXPECT_EQ(set(10, 2), 1);
    EXPECT_EQ(wire(), "81 01 04 39 0A FF\n81 01 04 4A 00 00 00 07 FF\n");
    EXPECT_EQ(set(10, 3), 1);
    EXPECT_EQ(wire(), "81 01 04 39 0B FF\n81 01 04 4B 00 00 00 04 FF\n");
    EXPECT_EQ(set(10, 9), 0); // refused, but recorded as the current mode
    EXPECT_EQ(drv().exposalMode(), 9);
}

TEST_F(Fbs8300ParametersTest, IrisAndFocusMovesAreUndoneByRestoreAeMode) {
    EXPECT_EQ(set(10, 2), 1);
    EXPECT_EQ(set(27, 1), 1);
    wire();
    EXPECT_EQ(drv().IrisUp(), 1);
    EXPECT_EQ(drv().FocusNear(2), 1);
    EXPECT_EQ(wire(), "81 01 04 39 03 FF\n81 01 04 4C 00 00 00 00 FF\n"
                      "81 01 04 4A 00 00 00 00 FF\n81 01 04 4B 00 00 00 00 FF\n"
                      "81 01 04 4A 00 00 00 05 FF\n81 01 04 0B 02 FF\n"
                      "81 01 04 38 03 FF\n81 01 04 08 32 FF\n");
    EXPECT_EQ(drv().restoreAeMode(), 1);
    EXPECT_EQ(wire(), "81 01 04 39 0A FF\n81 01 04 4A 00 00 00 00 FF\n"
                      "81 01 04 38 02 FF\n81 01 04 57 02 FF\n");
    EXPECT_EQ(drv().restoreAeMode(), 1); // nothing left to restore
    EXPECT_EQ(wire(), "");
}

TEST_F(Fbs8300ParametersTest, SensitivitiesKeepTheirGap) {
    EXPECT_EQ(set(31, 10), 0); // 15 - 10 < 10
    EXPECT_EQ(set(32, 24), 1);
    EXPECT_EQ(set(31, 14), 1);
    EXPECT_EQ(set(32, 23), 0); // 23 - 14 < 10
    EXPECT_EQ(wire(), "81 01 04 21 01 00 01 08 FF\n81 01 04 21 00 00 00 0E FF\n");
    EXPECT_EQ(drv().ntoD(), 14);
    EXPECT_EQ(drv().dtoN(), 24);
    // Only an acknowledged value is kept.
    rig.sim.setErrorReply(0, 2, 3);
    EXPECT_EQ(drv().setNtoDSensitivity(5), 0);
    EXPECT_EQ(drv().ntoD(), 14);
}

TEST_F(Fbs8300ParametersTest, MirrorFollowsTheGeneration) {
    const char* const other[] = {"03 03", "02 03", "03 02", "02 02"};
    const char* const fourth[] = {"02 02", "03 02", "02 03", "03 03"};
    for (int generation : {3, 4}) {
        drv().setGeneration(generation);
        for (int v = 0; v < 4; ++v) {
            const std::string pair = generation == 4 ? fourth[v] : other[v];
            EXPECT_EQ(drv().setMirror(v), 1);
            EXPECT_EQ(wire(), "81 01 04 61 " + pair.substr(0, 2) + " FF\n81 01 04 66 " +
                                  pair.substr(3) + " FF\n")
                << generation << " " << v;
        }
    }
}

TEST_F(Fbs8300ParametersTest, NoiseReductionKeepsItsStateInTheAdapter) {
    EXPECT_EQ(set(65, 3), 1);
    EXPECT_EQ(KviaSimulator::value(133), 3);
    EXPECT_EQ(set(65, 0), 1);
    EXPECT_EQ(wire(), "81 01 04 53 01 FF\n81 01 04 53 00 FF\n");
    EXPECT_EQ(KviaSimulator::value(133), 0);

    KviaSimulator::setValue(134, 60);
    EXPECT_EQ(set(67, 2), 1); // manual: the stored manual value applies again
    EXPECT_EQ(KviaSimulator::value(132), 2);
    EXPECT_EQ(set(66, 30), 1);
    EXPECT_EQ(KviaSimulator::value(134), 30);
    EXPECT_EQ(set(66, 101), 1); // above 100: level 0
    EXPECT_EQ(wire(), "81 01 04 53 04 FF\n81 01 04 53 03 FF\n81 01 04 53 00 FF\n");

    KviaSimulator::setValue(133, 5);
    EXPECT_EQ(set(67, 1), 1);  // automatic: the stored automatic value applies again
    EXPECT_EQ(set(66, 80), 1); // ignored in automatic mode
    EXPECT_EQ(KviaSimulator::value(134), 101);
    EXPECT_EQ(set(67, 4), 1); // a fixed level
    EXPECT_EQ(set(67, 6), 0);
    EXPECT_EQ(wire(), "81 01 04 53 01 FF\n81 01 04 53 04 FF\n");

    KviaSimulator::failCode(133, 0x55);
    EXPECT_EQ(set(65, 1), 0);
}

TEST_F(Fbs8300ParametersTest, GettersCoverEveryRegisteredId) {
    int value = -1;
    const struct {
        int id, value;
    } fixed[] = {{1, 80}, {2, 27},  {3, 54},  {4, 1},   {7, 0},   {12, 10}, {13, 11},
                 {16, 3}, {19, 38}, {20, 34}, {22, 1},  {25, 65}, {27, 2},  {29, 2},
                 {31, 5}, {32, 15}, {57, 50}, {60, 18}, {64, 0},  {68, 75}};
    for (const auto& f : fixed) {
        EXPECT_EQ(drv().getParameterFromSensor(f.id, value), 1) << f.id;
        EXPECT_EQ(value, f.value) << f.id;
    }
    drv().storeParameter(8, 2);
    EXPECT_EQ(drv().getParameterFromSensor(8, value), 1);
    EXPECT_EQ(value, 2);
    for (int id = 1; id <= 68; ++id) {
        if (id >= 33 && id <= 56)
            continue;
        EXPECT_EQ(drv().getParameterFromSensor(id, value), 1) << id;
    }
    EXPECT_EQ(wire(), ""); // nothing asked of the module
}

TEST_F(Fbs8300ParametersTest, ErrorReplyFailsAfterThreeAttemptsAndDrains) {
    rig.sim.setErrorReply(0, 2, 3);
    kvtest::StdoutCapture out;
    EXPECT_EQ(set(1, 50), 0);
    const std::string frame = "81 01 04 A1 00 00 00 07 FF\n";
    EXPECT_EQ(wire(), frame + frame + frame);
    EXPECT_EQ(m_pUart->drains, 3);
    const std::string text = out.text();
    // 90 60 02 FF is longer than an acknowledge: each attempt is a failed read.
    EXPECT_NE(text.find("===recv(3 times) @setParameterValue failed,send:"), std::string::npos)
        << text;
    EXPECT_NE(text.find("setSaturation error,value is 50"), std::string::npos);
    // The fault is used up: the module answers again.
    EXPECT_EQ(set(1, 50), 1);
}

// ---- lens --------------------------------------------------------------------

TEST(Fbs8300ZoomRatio, FollowsTheMagnificationTable) {
    using Ctl = AmbaS2FBS8300SenseController;
    EXPECT_EQ(Ctl::zoomRatio(0), 1000);
    EXPECT_EQ(Ctl::zoomRatio(16384), 1000);
    EXPECT_EQ(Ctl::zoomRatio(20480), 1500);
    EXPECT_EQ(Ctl::zoomRatio(24576), 2000);
    EXPECT_EQ(Ctl::zoomRatio(25920), 2500);
    EXPECT_EQ(Ctl::zoomRatio(31424), 12000);
    EXPECT_EQ(Ctl::zoomRatio(31425), 12000);
    EXPECT_EQ(Ctl::zoomRatio(65535), 12000);
}

TEST_F(Fbs8300ParametersTest, LensFrames) {
    EXPECT_EQ(drv().ZoomIn(3), 1);
    EXPECT_EQ(drv().ZoomOut(8), 1);
    EXPECT_EQ(drv().StopZoomContrl(), 1);
    EXPECT_EQ(drv().FocusFar(0x12), 1);
    EXPECT_EQ(drv().StopFocusContrl(), 1);
    EXPECT_EQ(drv().setZoomValue(0x1234), 1);
    EXPECT_EQ(drv().setFocusValue(0xABCD), 1);
    EXPECT_EQ(drv().setZoomAndFocusValue(0x1234, 0xABCD), 1);
    EXPECT_EQ(drv().OnePushTrigger(), 1);
    EXPECT_EQ(drv().IrisDown(), 1);
    EXPECT_EQ(drv().setRunAutoIris(), 1);
    EXPECT_EQ(wire(), "81 01 04 07 23 FF\n81 01 04 07 38 FF\n81 01 04 07 00 FF\n"
                      "81 01 04 38 03 FF\n81 01 04 08 22 FF\n81 01 04 08 00 FF\n"
                      "81 01 04 47 01 02 03 04 FF\n81 01 04 48 0A 0B 0C 0D FF\n"
                      "81 01 04 47 01 02 03 04 0A 0B 0C 0D FF\n81 01 04 18 01 FF\n"
                      "81 01 04 39 03 FF\n81 01 04 4C 00 00 00 00 FF\n"
                      "81 01 04 4A 00 00 00 00 FF\n81 01 04 4B 00 00 00 00 FF\n"
                      "81 01 04 4A 00 00 00 05 FF\n81 01 04 0B 03 FF\n81 01 04 39 00 FF\n");
    kvtest::StdoutCapture out;
    EXPECT_EQ(drv().ZoomIn(9), 0);
    EXPECT_EQ(drv().ZoomOut(-1), 0);
    EXPECT_EQ(drv().setZoomValue(0x10000), 0);
    EXPECT_NE(out.text().find("ZoomUp(9) is out of range"), std::string::npos);
    EXPECT_NE(out.text().find("ZoomOut(-1) is out of range"), std::string::npos);
    EXPECT_EQ(wire(), "");
}

TEST_F(Fbs8300ParametersTest, PositionsAreReadFromTheModule) {
    rig.sim.setZoomPosition(20480);
    rig.sim.setFocusPosition(0x1A2B);
    int position = 0;
    int ratio = 0;
    EXPECT_EQ(drv().getZoomValue(position, ratio), 1);
    EXPECT_EQ(position, 20480);
    EXPECT_EQ(ratio, 1500);
    EXPECT_EQ(drv().getFocusValue(position), 1);
    EXPECT_EQ(position, 0x1A2B);
    EXPECT_EQ(wire(), "81 09 04 47 FF\n81 09 04 48 FF\n");
    rig.sim.setSilence(3);
    EXPECT_EQ(drv().getZoomValue(position, ratio), 0);
    EXPECT_EQ(position, 0x1A2B);
}

} // namespace

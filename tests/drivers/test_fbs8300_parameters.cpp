// Tests of the FBS8300 driver's parameter ids and lens operations against the simulated module.
// labels: threaded
#include "platform/kvia.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

class Fbs8300ParametersTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(rig.connectReady()); }

    kvtest::Fbs8300Driver& drv() { return *rig.driver; }
    // The frames received since the last call, one hex line each.
    std::string wire() {
        std::string text;
        for (const std::string& frame : rig.frames(true))
            text += frame + "\n";
        rig.sim.clearFrames();
        return text;
    }
    int set(int id, int value) { return drv().setParameterToSensor(id, value); }

    kvtest::Fbs8300Rig rig;
};

// Command frames "81 01 04 <payload> FF" as wire() prints them, one per ';'-separated payload.
std::string cmds(const std::string& payloads) {
    std::string out;
    for (std::size_t start = 0; start <= payloads.size();) {
        const std::size_t end = std::min(payloads.find(';', start), payloads.size());
        out += "81 01 04 " + payloads.substr(start, end - start) + " FF\n";
        start = end + 1;
    }
    return out;
}

TEST_F(Fbs8300ParametersTest, EveryIdSendsItsFrame) {
    // Manual exposure and manual white balance, so the conditioned ids are sent.
    // Payloads after 81 01 04, one frame each. For infrared 1 the data byte FF
    // closes the frame early; the module drops the stray FF.
    drv().storeParameter(10, 1);
    drv().storeParameter(18, 5);
    const struct {
        int id, value;
        const char* payloads;
    } cases[] = {{1, 50, "A1 00 00 00 07"},
                 {2, 100, "A2 00 00 00 0F"},
                 {3, 20, "42 00 00 00 03"},
                 {4, 5, "5B 05"},
                 {5, 3, "53 03"},
                 {6, 1, "A5 01"},
                 {7, 60, "A3 09"},
                 {8, 1, "61 02;66 03"},
                 {9, 2, "62 02"},
                 {10, 0, "39 00"},
                 {11, 21, "4A 00 00 01 05"},
                 {12, 13, "4B 00 00 00 0D"},
                 {13, 5, "4D 00 00 00 05"},
                 {14, 15, "4C 00 00 00 0F"},
                 {15, 4, "2C 04"},
                 {16, 2, "5A 02"},
                 {17, 3, "33 03"},
                 {18, 9, "35 09"},
                 {19, 200, "43 00 00 0C 08"},
                 {20, 255, "44 00 00 0F 0F"},
                 {21, 0, "51 02;01 03"},
                 {21, 1, "51;01"},
                 {21, 3, "51 03;01 03"},
                 {23, 2, "3D 02"},
                 {24, 1, "A6 01"},
                 {25, 100, "A4 00 00 00 0F"},
                 {26, 2, "06 02"},
                 {27, 1, "38 02;57 02"},
                 {27, 2, "38 02;57 00"},
                 {27, 3, "38 03"},
                 {28, 77, "18 01"},
                 {29, 3, "58 03"},
                 {30, 4, "28 04 00 00 00"},
                 {30, 5, "18 02"},
                 {31, 5, "21 00 00 00 05"},
                 {32, 126, "21 01 00 07 0E"},
                 {68, 100, "AF 00 00 08 00"}};
    for (const auto& c : cases) {
        SCOPED_TRACE("id " + std::to_string(c.id) + " value " + std::to_string(c.value));
        EXPECT_EQ(set(c.id, c.value), 1);
        EXPECT_EQ(wire(), cmds(c.payloads));
    }
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
        {20, 256, "setBlueGain(256) is out of range", "setBlueGain failed,value is 256"},
        {60, 2147483647, "setDTNTime_H(2147483647) is out of range", "setDTNTime_H failed"},
        {67, -1, "setNoiseReductionMode(-1) is out of range",
         "setNoiseReductionMode error,value is -1"},
        {68, 101, "setChromaSuppress(101) is out of range", "setChromaSuppress error,value is 101"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("id " + std::to_string(c.id));
        kvtest::StdoutCapture out;
        EXPECT_EQ(set(c.id, c.value), 0);
        const std::string text = out.text();
        EXPECT_TRUE(kvtest::contains(text, c.refusal)) << text;
        EXPECT_TRUE(kvtest::contains(text, c.failure)) << text;
        EXPECT_EQ(wire(), "");
    }
}

TEST_F(Fbs8300ParametersTest, IdsOutsideTheTableAndTheNotReadyState) {
    int value = 0;
    for (int id = 1; id <= 69; ++id) { // getters answer from the store, without asking the module
        const bool known = id < 33 || (id > 56 && id < 69);
        EXPECT_EQ(drv().getParameterFromSensor(id, value), known ? 1 : -1) << id;
    }
    EXPECT_EQ(drv().getParameterFromSensor(500, value), 1); // the base's scheme window
    EXPECT_EQ(set(40, 1), -1);
    EXPECT_EQ(set(69, 1), -1);
    drv().setStatus(ISensorController::NotInited);
    kvtest::StdoutCapture out;
    EXPECT_EQ(set(1, 50), 0);
    EXPECT_EQ(drv().getParameterFromSensor(1, value), 0);
    EXPECT_TRUE(kvtest::contains(out.text(), "m_SensorStatus != ISensorController::InitSuccess!"));
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
    EXPECT_EQ(wire(), cmds("4D 00 00 00 05"));
}

TEST_F(Fbs8300ParametersTest, ManualExposureResendsTheUserValues) {
    drv().storeParameter(10, 0);
    EXPECT_EQ(set(11, 7), 1);
    EXPECT_EQ(set(12, 4), 1);
    EXPECT_EQ(set(14, 9), 1);
    EXPECT_EQ(set(14, 99), 0); // out of range: the user value stays 9
    EXPECT_EQ(wire(), "");
    EXPECT_EQ(set(10, 1), 1);
    EXPECT_EQ(wire(), cmds("39 03;4C 00 00 00 09;4A 00 00 00 07;4B 00 00 00 04"));
    EXPECT_EQ(set(10, 2), 1);
    EXPECT_EQ(wire(), cmds("39 0A;4A 00 00 00 07"));
    EXPECT_EQ(set(10, 3), 1);
    EXPECT_EQ(wire(), cmds("39 0B;4B 00 00 00 04"));
}

TEST_F(Fbs8300ParametersTest, SensitivitiesKeepTheirGap) {
    EXPECT_EQ(set(31, 10), 0); // 15 - 10 < 10
    EXPECT_EQ(set(32, 24), 1);
    EXPECT_EQ(set(31, 14), 1);
    EXPECT_EQ(set(32, 23), 0); // 23 - 14 < 10
    EXPECT_EQ(wire(), cmds("21 01 00 01 08;21 00 00 00 0E"));
    EXPECT_EQ(drv().ntoD(), 14);
    EXPECT_EQ(drv().dtoN(), 24);
    // Only an acknowledged value is kept.
    rig.sim.setErrorReply(0, 2, 3);
    EXPECT_EQ(drv().setNtoDSensitivity(5), 0);
    EXPECT_EQ(drv().ntoD(), 14);
}

TEST_F(Fbs8300ParametersTest, MirrorFollowsTheGeneration) {
    // Data bytes of 61 (left/right) and 66 (up/down) per mirror value.
    const char* const pairs[2][4] = {{"03 03", "02 03", "03 02", "02 02"},  // generation 3
                                     {"02 02", "03 02", "02 03", "03 03"}}; // generation 4
    for (int generation : {3, 4}) {
        drv().setGeneration(generation);
        for (int v = 0; v < 4; ++v) {
            const std::string pair = pairs[generation - 3][v];
            EXPECT_EQ(drv().setMirror(v), 1);
            EXPECT_EQ(wire(), cmds("61 " + pair.substr(0, 2) + ";66 " + pair.substr(3)))
                << generation << " " << v;
        }
    }
}

TEST_F(Fbs8300ParametersTest, NoiseReductionKeepsItsStateInTheAdapter) {
    EXPECT_EQ(set(65, 3), 1);
    EXPECT_EQ(KviaSimulator::value(133), 3);
    EXPECT_EQ(set(65, 0), 1);
    EXPECT_EQ(wire(), cmds("53 01;53 00"));
    EXPECT_EQ(KviaSimulator::value(133), 0);

    KviaSimulator::setValue(134, 60);
    EXPECT_EQ(set(67, 2), 1); // manual: the stored manual value applies again
    EXPECT_EQ(KviaSimulator::value(132), 2);
    EXPECT_EQ(set(66, 30), 1);
    EXPECT_EQ(KviaSimulator::value(134), 30);
    EXPECT_EQ(set(66, 101), 1); // above 100: level 0
    EXPECT_EQ(wire(), cmds("53 04;53 03;53 00"));

    KviaSimulator::setValue(133, 5);
    EXPECT_EQ(set(67, 1), 1);  // automatic: the stored automatic value applies again
    EXPECT_EQ(set(66, 80), 1); // ignored in automatic mode
    EXPECT_EQ(KviaSimulator::value(134), 101);
    EXPECT_EQ(set(67, 4), 1); // any other mode is sent as the level byte
    EXPECT_EQ(set(67, 6), 1);
    EXPECT_EQ(KviaSimulator::value(132), 6);
    EXPECT_EQ(set(67, 0x1FF), 0) << "its byte would be the terminator";
    EXPECT_EQ(KviaSimulator::value(132), 6);
    EXPECT_EQ(wire(), cmds("53 01;53 04;53 06"));

    KviaSimulator::failCode(133, 0x55);
    EXPECT_EQ(set(65, 1), 0);
}

// ---- lens --------------------------------------------------------------------

TEST(Fbs8300ZoomRatio, FollowsTheMagnificationTable) {
    const int table[][2] = {{0, 1000},     {16384, 1000},  {20480, 1500},  {24576, 2000},
                            {25920, 2500}, {31424, 12000}, {31425, 12000}, {65535, 12000}};
    for (const auto& row : table)
        EXPECT_EQ(AmbaS2FBS8300SenseController::zoomRatio(row[0]), row[1]) << row[0];
}

TEST_F(Fbs8300ParametersTest, LensFramesAndRestoreAeMode) {
    EXPECT_EQ(set(10, 2), 1);
    EXPECT_EQ(set(27, 1), 1);
    wire();
    EXPECT_EQ(drv().ZoomIn(3), 1);
    EXPECT_EQ(drv().ZoomOut(8), 1);
    EXPECT_EQ(drv().StopZoomContrl(), 1);
    EXPECT_EQ(drv().FocusFar(0x12), 1);
    EXPECT_EQ(drv().StopFocusContrl(), 1);
    EXPECT_EQ(drv().setZoomValue(0x1234), 1);
    EXPECT_EQ(drv().setFocusValue(0xABCD), 1);
    EXPECT_EQ(drv().setZoomAndFocusValue(0x1234, 0xABCD), 1);
    EXPECT_EQ(drv().OnePushTrigger(), 1);
    EXPECT_EQ(wire(), cmds("07 23;07 38;07 00;38 03;08 22;08 00;47 01 02 03 04;48 0A 0B 0C 0D;47 "
                           "01 02 03 04 0A 0B 0C 0D;18 01"));
    // An iris move switches to manual exposure (and the focus move above to
    // manual focus); restoreAeMode brings back the user's modes once.
    EXPECT_EQ(drv().IrisUp(), 1);
    EXPECT_EQ(wire(),
              cmds("39 03;4C 00 00 00 00;4A 00 00 00 00;4B 00 00 00 00;4A 00 00 00 05;0B 02"));
    EXPECT_EQ(drv().restoreAeMode(), 1);
    EXPECT_EQ(wire(), cmds("39 0A;4A 00 00 00 00;38 02;57 02"));
    EXPECT_EQ(drv().restoreAeMode(), 1); // nothing left to restore
    EXPECT_EQ(wire(), "");
    EXPECT_EQ(drv().setRunAutoIris(), 1);
    EXPECT_EQ(wire(), cmds("39 00"));
    kvtest::StdoutCapture out;
    EXPECT_EQ(drv().ZoomIn(9), 0);
    EXPECT_EQ(drv().ZoomOut(-1), 0);
    EXPECT_TRUE(kvtest::contains(out.text(), "ZoomUp(9) is out of range"));
    EXPECT_EQ(wire(), "");
    // A position is framed as its four low nibbles, whatever its size.
    EXPECT_EQ(drv().setZoomValue(0x12345), 1);
    EXPECT_EQ(drv().setFocusValue(-1), 1);
    EXPECT_EQ(wire(), cmds("47 02 03 04 05;48 0F 0F 0F 0F"));
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
}

} // namespace

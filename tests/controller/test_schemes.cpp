// Parameter schemes: choice by time of day, manual mode, window ids 500..504, sensor.xml.
#include "platform/PlatformClock.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

const char* const kXml = "/mnt/mtd/code/config_file/sensor.xml";
const std::string kScheme1 = "(1,10)(500,1)(501,8)(502,0)(503,18)(504,0)";
const std::string kScheme4 = "(1,40)(500,1)(501,0)(502,0)(503,24)(504,0)";
const std::string kFactoryText = "(1,99)(500,1)(501,0)(502,0)(503,0)(504,0)";

std::string schemeFile(int i) {
    return "/mnt/mtd/code/config_file/sensor" + std::to_string(i + 1) + ".cfg";
}

// Four schemes: 08:00-18:00 (enabled), two disabled ones and the all-day one,
// scheme 0 in force, the controller running. The clock runs at real speed so
// that a time of day set by a test stays put while it checks.
class SchemeTest : public ::testing::Test {
protected:
    void SetUp() override {
        root.writeFile("/mnt/mtd/code/config_file/sensor_Factory.cfg", kFactoryText);
        const std::string texts[] = {kScheme1, "(1,20)(500,0)(501,9)(502,0)(503,10)(504,0)",
                                     "(1,30)(500,0)(501,0)(502,0)(503,0)(504,0)", kScheme4};
        for (int i = 0; i < 4; ++i)
            root.writeFile(schemeFile(i), texts[i]);
        ASSERT_EQ(ctrl.initParamSchemeList(), 1);
        ASSERT_EQ(ctrl.createSensorXML(), 1);
        ctrl.setParamSchemeStartTime(0, 800);
        ctrl.setParamSchemeEndTime(0, 1800);
        ctrl.setParamSchemeEnableFlag(0, 1);
        ctrl.m_bisInited = true;
    }
    int xmlIndex() {
        int index = -7;
        ctrl.getParamSchemeFromFile(index);
        return index;
    }
    // Start, end and enable flag of scheme i's record.
    std::vector<int> record(int i) {
        std::vector<int> r(3, -1);
        ctrl.m_vecParamScheme[static_cast<std::size_t>(i)]->getStartTime(r[0]);
        ctrl.m_vecParamScheme[static_cast<std::size_t>(i)]->getEndTime(r[1]);
        ctrl.m_vecParamScheme[static_cast<std::size_t>(i)]->getEnableFlag(r[2]);
        return r;
    }

    kvtest::TestRoot root{1.0};
    kvtest::RecordingController ctrl;
};

TEST_F(SchemeTest, ChoiceAcrossTheDayIncludesTheWindowEnds) {
    EXPECT_EQ(record(3), (std::vector<int>{0, 2400, 1})); // the last scheme is all day
    int scheme = -7;
    std::string text;
    const struct {
        int hour, minute, scheme;
    } cases[] = {{7, 59, 3}, {8, 0, 0}, {12, 0, 0}, {18, 0, 0}, {18, 1, 3}, {23, 59, 3}};
    for (const auto& c : cases) {
        PlatformClock::setTimeOfDay(c.hour, c.minute);
        EXPECT_EQ(ctrl.readCurrentParam(scheme, text), 1) << c.hour << ":" << c.minute;
        EXPECT_EQ(scheme, c.scheme) << c.hour << ":" << c.minute;
    }
    EXPECT_EQ(text, kScheme4);

    // The worker moves to the all-day scheme at 18:01 and back at 18:00.
    kvtest::StdoutCapture out;
    PlatformClock::setTimeOfDay(18, 1);
    EXPECT_EQ(ctrl.paramSchemeSwitchBody(), 0);
    EXPECT_EQ(ctrl.m_nParamScheme, 3);
    EXPECT_EQ(ctrl.moduleValue(1), 40);
    EXPECT_EQ(xmlIndex(), 3);
    PlatformClock::setTimeOfDay(18, 0);
    EXPECT_EQ(ctrl.paramSchemeSwitchBody(), 0);
    EXPECT_EQ(ctrl.m_nParamScheme, 0);
    EXPECT_EQ(ctrl.moduleValue(1), 10);
    EXPECT_EQ(xmlIndex(), 0);
    int end = -1; // the window ids report the scheme in force
    ctrl.getParamEndTime_H(end);
    EXPECT_EQ(end, 18);
    // Nothing to do while the scheme in force is still the right one.
    ctrl.clearRecords();
    EXPECT_EQ(ctrl.paramSchemeSwitchBody(), 0);
    EXPECT_TRUE(ctrl.sent().empty());
}

TEST_F(SchemeTest, WithEverySchemeDisabledTheFactoryTextAppliesAndTheWorkerStays) {
    // The all-day scheme cannot be disabled through its record writer...
    ctrl.setParamSchemeEnableFlag(3, 0);
    EXPECT_EQ(record(3)[2], 1);
    // ...but a record loaded from a disabled file can be.
    ctrl.m_vecParamScheme[3]->setEnableFlag(0);
    ctrl.setParamSchemeEnableFlag(0, 0);
    PlatformClock::setTimeOfDay(12, 0);
    int scheme = 5;
    std::string text;
    EXPECT_EQ(ctrl.readCurrentParam(scheme, text), 0);
    EXPECT_EQ(scheme, -1);
    EXPECT_EQ(text, kFactoryText);
    ctrl.m_nParamScheme = 2;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.paramSchemeSwitchBody(), -1);
    EXPECT_EQ(ctrl.m_nParamScheme, 2);
    EXPECT_TRUE(ctrl.sent().empty());

    kvtest::RecordingController bare; // no scheme list at all: the factory text as well
    EXPECT_EQ(bare.readCurrentParam(scheme, text), 0);
    EXPECT_EQ(text, kFactoryText);
}

TEST_F(SchemeTest, ManualModeNeverSwitchesAndLeavesTheAllDayScheme) {
    PlatformClock::setTimeOfDay(12, 0);
    kvtest::StdoutCapture out;
    ASSERT_EQ(ctrl.setParamScheme(3), 1);
    // Manual mode while the all-day scheme is in force moves to scheme 0.
    ASSERT_EQ(ctrl.setParamMode(0), 1);
    EXPECT_EQ(ctrl.m_nParamScheme, 0);
    EXPECT_EQ(ctrl.moduleValue(1), 10);
    EXPECT_EQ(xmlIndex(), 0);
    int mode = -1;
    EXPECT_EQ(ctrl.getParamSchemeModeFromFile(mode), 1);
    EXPECT_EQ(mode, 0);
    ctrl.clearRecords();
    for (int hour : {3, 12, 20}) {
        PlatformClock::setTimeOfDay(hour, 0);
        EXPECT_EQ(ctrl.paramSchemeSwitchBody(), 0);
        EXPECT_EQ(ctrl.m_nParamScheme, 0);
    }
    EXPECT_TRUE(ctrl.sent().empty());
}

TEST_F(SchemeTest, FailedSwitchKeepsTheSchemeInForce) {
    ctrl.failIds.insert(1);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParamScheme(1), 0);
    PlatformClock::setTimeOfDay(20, 0);
    EXPECT_EQ(ctrl.paramSchemeSwitchBody(), -1); // a failed automatic switch likewise
    EXPECT_EQ(ctrl.m_nParamScheme, 0);
    EXPECT_EQ(xmlIndex(), 0);
    // A scheme file that cannot be read applies nothing: the switch succeeds.
    ctrl.failIds.clear();
    std::remove(root.path(schemeFile(2)).c_str());
    ctrl.clearRecords();
    EXPECT_EQ(ctrl.setParamScheme(2), 1);
    EXPECT_EQ(ctrl.m_nParamScheme, 2);
    EXPECT_TRUE(ctrl.sent().empty());
    // A chosen scheme whose file is gone still wins the time of day.
    std::remove(root.path(schemeFile(0)).c_str());
    PlatformClock::setTimeOfDay(12, 0);
    int scheme = -1;
    std::string text = "old";
    EXPECT_EQ(ctrl.readCurrentParam(scheme, text), 1);
    EXPECT_EQ(scheme, 0);
}

// Indexes are checked; values only by the setters' own rules (start after
// end, past 24:00) and by whether the time fits an int at all.
TEST_F(SchemeTest, IndexesAreCheckedAndValuesOnlyByTheirOwnRules) {
    kvtest::StdoutCapture out;
    std::string text;
    EXPECT_EQ(ctrl.setParamScheme(4), 0);
    EXPECT_EQ(ctrl.setParamScheme(-1), 0);
    EXPECT_EQ(ctrl.readParamByScheme(4, text), 0);
    EXPECT_EQ(ctrl.setParamSchemeStartTime(-2, 100), 0);
    EXPECT_EQ(ctrl.m_nParamScheme, 0);
    EXPECT_TRUE(ctrl.sent().empty());

    ctrl.reInitSchemeTimeMember();
    const struct {
        int (ISensorController::*set)(int);
        int value, result, start, end; // record of scheme 0 afterwards
    } cases[] = {
        {&ISensorController::setParamStartTime_H, -3, 1, -300, 1800},
        {&ISensorController::setParamStartTime_M, 75, 1, -225, 1800},
        {&ISensorController::setParamEndTime_H, 20, 1, -225, 2000},
        {&ISensorController::setParamEndTime_M, 60, 1, -225, 2060},
        {&ISensorController::setParamEndTime_H, -2147483647 - 1, 0, -225, 2060}, // not an int
        {&ISensorController::setParamEndTime_H, 25, 0, -225, 2060},              // past 24:00
    };
    for (const auto& c : cases) {
        EXPECT_EQ((ctrl.*c.set)(c.value), c.result) << c.value;
        EXPECT_EQ(record(0)[0], c.start) << c.value;
        EXPECT_EQ(record(0)[1], c.end) << c.value;
    }
    EXPECT_EQ(ctrl.setEnableParam(3), 1);
    EXPECT_EQ(record(0)[2], 3);

    // Any mode is stored; every mode but 0 switches by time.
    EXPECT_EQ(ctrl.setParamMode(2), 1);
    EXPECT_EQ(ctrl.m_nParamMode, 2);
    int mode = -1;
    EXPECT_EQ(ctrl.getParamSchemeModeFromFile(mode), 1);
    EXPECT_EQ(mode, 2);
    PlatformClock::setTimeOfDay(21, 0);
    EXPECT_EQ(ctrl.paramSchemeSwitchBody(), 0);
    EXPECT_EQ(ctrl.m_nParamScheme, 3);

    // An index that is no longer valid reads as scheme 0.
    ctrl.m_nParamScheme = 9;
    int scheme = -1;
    ctrl.getParamScheme(scheme);
    EXPECT_EQ(scheme, 0);
    EXPECT_EQ(ctrl.setParamStartTime_H(3), 0);
}

TEST_F(SchemeTest, WindowIdsRefuseAStartAfterTheEndAndTimesPast24) {
    ctrl.reInitSchemeTimeMember();
    ASSERT_EQ(ctrl.setParamStartTime_H(8), 1);
    ASSERT_EQ(ctrl.setParamStartTime_M(30), 1);
    ASSERT_EQ(ctrl.setParamEndTime_H(18), 1);
    EXPECT_EQ(record(0), (std::vector<int>{830, 1800, 1}));
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParamStartTime_H(19), 0);
    EXPECT_EQ(ctrl.setParamEndTime_H(7), 0);
    EXPECT_EQ(ctrl.setParamEndTime_M(0), 1); // 18:00 is still after 08:30
    // While a reset re-applies stored values the order is not enforced, but 24:00 still caps.
    ctrl.m_bisReset = true;
    EXPECT_EQ(ctrl.setParamStartTime_H(24), 0);
    EXPECT_EQ(ctrl.setParamEndTime_M(30), 1);
    EXPECT_EQ(ctrl.setParamEndTime_H(24), 0);
    EXPECT_EQ(ctrl.setParamEndTime_M(0), 1);
    EXPECT_EQ(ctrl.setParamEndTime_H(24), 1);
    EXPECT_EQ(ctrl.setParamEndTime_M(5), 0);
    EXPECT_EQ(ctrl.setParamStartTime_M(0), 1);
    EXPECT_EQ(ctrl.setParamStartTime_H(24), 1);
    EXPECT_EQ(ctrl.setParamStartTime_M(1), 0);

    // The enable id writes the record of the scheme in force.
    ctrl.m_bisReset = false;
    EXPECT_EQ(ctrl.setParameterToSensor(500, 0), 1);
    EXPECT_EQ(record(0)[2], 0);
}

TEST_F(SchemeTest, AllDayRecordOverridesAndWindowReinit) {
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParamSchemeStartTime(3, 700), 1);
    EXPECT_EQ(ctrl.setParamSchemeEndTime(3, 1200), 1);
    EXPECT_EQ(record(3), (std::vector<int>{0, 2400, 1}));
    ctrl.reInitSchemeTimeMember();
    const int expected[][2] = {{501, 0}, {502, 0}, {503, 100}, {504, 0}};
    for (const auto& e : expected) {
        int value = -1;
        EXPECT_EQ(ctrl.m_pLastSensorCache->getSensorValue(e[0], value), 1);
        EXPECT_EQ(value, e[1]) << e[0];
    }
    // The end hour is resent on the next application, so the record is rewritten.
    ctrl.clearRecords();
    ASSERT_EQ(ctrl.setParameters(kScheme1), 1);
    const auto sent = ctrl.sent();
    EXPECT_NE(std::find(sent.begin(), sent.end(), std::make_pair(503, 18)), sent.end());
}

TEST_F(SchemeTest, SensorXmlLayoutAndBadFiles) {
    EXPECT_EQ(root.readFile(kXml), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
                                   "<sensor>\n"
                                   "    <paramScheme>\n"
                                   "        <item name=\"SchemeIndex\" value=\"0\" />\n"
                                   "        <item name=\"SchemeMode\" value=\"1\" />\n"
                                   "    </paramScheme>\n"
                                   "</sensor>\n");
    EXPECT_EQ(ctrl.setParamSchemeToFile(2), 1);
    EXPECT_EQ(xmlIndex(), 2);
    // Unusable stored values are failures and leave the caller's value alone.
    ctrl.setParamSchemeToFile(9);
    int value = -1;
    EXPECT_EQ(ctrl.getParamSchemeFromFile(value), 0);
    EXPECT_EQ(value, -1);
    // A file without the node gets it back on the next write.
    root.writeFile(kXml, "<sensor><other/></sensor>");
    EXPECT_EQ(ctrl.getParamSchemeModeFromFile(value), 0);
    EXPECT_EQ(ctrl.setParamSchemeModeToFile(0), 1);
    EXPECT_EQ(ctrl.getParamSchemeModeFromFile(value), 1);
    EXPECT_EQ(value, 0);

    root.writeFile(kXml, "<sensor><paramScheme><item name=");
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.getParamSchemeFromFile(value), 0);
    EXPECT_EQ(ctrl.setParamSchemeToFile(1), 0);
    EXPECT_EQ(ctrl.setParamMode(0), 0);
    EXPECT_EQ(ctrl.m_nParamMode, 1);
}

} // namespace

// CMD7400 dome end to end: manager, driver, termios port and the simulated CMD7400 module.
// labels: threaded
#include "drivers/platform/CMD7400SenseController.h"
#include "platform/kvia.h"
#include "support/TestRoot.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvtest::contains;
using Frames = std::vector<std::string>;

// A CMD7400 unit brought up by the manager as the host does. Unless it is
// a first start, scheme 1 is in force all day, so that no switch by time
// re-applies the scheme while a test sets values.
struct Cmd7400Unit {
    explicit Cmd7400Unit(bool firstStart = false)
        : rig(kvtest::Fbs8300Rig::modelOptions("cmd7400")) {
        rig.useModule(CMD7400SenseController::kSensorType);
        if (!firstStart) {
            const std::string window = "(500,1)(501,0)(502,0)(503,24)(504,0)(10000,999)(10001,999)";
            rig.root.writeFile("/mnt/mtd/code/config_file/sensor_Factory.cfg", window);
            rig.root.writeFile("/mnt/mtd/code/config_file/sensor1.cfg", window);
        }
        c = rig.init();
        dome = dynamic_cast<CMD7400SenseController*>(c.get());
    }
    kvtest::Fbs8300Rig rig;
    SafePointer<ISensorController> c;
    CMD7400SenseController* dome = nullptr;
};

TEST(Cmd7400Manager, StartsLikeTheFbs8300WithoutDayNightDCAndRegistersItsIds) {
    Cmd7400Unit unit(true);
    ASSERT_NE(unit.dome, nullptr) << "the factory must build the CMD7400 driver for id 83";
    EXPECT_EQ(unit.c->getSensorStatus(), ISensorController::InitSuccess);
    // Speed check, OSD off, start-up DC, version, video system (14 = system
    // 0: no restart), then day mode without its DC frame.
    const Frames start = {"81 09 04 24 24 FF",    "81 01 04 15 03 FF", "81 01 04 A7 00 01 03 00 FF",
                          "FE 06 01 01 01 09 FF", "81 09 04 24 72 FF", "81 01 04 51 03 FF",
                          "81 01 04 01 03 FF"};
    const Frames all = unit.rig.frames();
    ASSERT_GE(all.size(), start.size());
    EXPECT_EQ(Frames(all.begin(), all.begin() + 7), start);
    EXPECT_EQ(unit.rig.countCommands("81 01 04 A7"), 1) << "only the start-up DC frame";
    EXPECT_EQ(unit.rig.sim.restartCount(), 0);
    EXPECT_TRUE(
        contains(unit.rig.initOutput, "__CMD7400SenseController::init,ModuleConfigure is("));
    const std::string factory =
        unit.rig.root.readFile("/mnt/mtd/code/config_file/sensor_Factory.cfg");
    EXPECT_TRUE(contains(factory, "(12,10)(14,")) << factory;
    EXPECT_FALSE(contains(factory, "(13,") || contains(factory, "(28,")) << factory;
}

// Where the CMD7400's frames differ from the FBS8300's for the same value.
TEST(Cmd7400Manager, SettingsRoundToTheNearestLevelAndKeepItsOwnFrames) {
    Cmd7400Unit unit;
    ASSERT_NE(unit.dome, nullptr);
    struct Case {
        int id;
        int value;
        Frames frames; // the FBS8300 sends, in order: 07, 01, 0D, 07, 0A, 01, 18 02
    };
    const Case cases[] = {
        {1, 50, {"81 01 04 A1 00 00 00 08 FF"}},
        {2, 10, {"81 01 04 A2 00 00 00 02 FF"}},
        {3, 90, {"81 01 04 42 00 00 00 0E FF"}},
        {7, 50, {"81 01 04 A3 08 FF"}},
        {25, 70, {"81 01 04 A4 00 00 00 0B FF"}},
        {25, 0, {"81 01 04 A4 00 00 00 01 FF"}},
        {30, 5, {}},
        {30, 2, {"81 01 04 28 02 00 00 00 FF"}},
    };
    for (const Case& row : cases) {
        const std::string item =
            "(" + std::to_string(row.id) + "," + std::to_string(row.value) + ")";
        unit.rig.sim.clearFrames();
        EXPECT_EQ(unit.c->setParameters(item), 1) << item;
        EXPECT_EQ(unit.rig.commands(), row.frames) << item;
        std::string stored;
        EXPECT_EQ(unit.c->getParameters(std::to_string(row.id), stored), 1);
        EXPECT_EQ(stored, item) << "kept as applied";
    }
}

TEST(Cmd7400Manager, VideoSystemOneRestartsEveryTimeAndTheSwitchesSendNoDC) {
    Cmd7400Unit unit;
    ASSERT_NE(unit.dome, nullptr);
    for (int round = 1; round <= 2; ++round) {
        unit.rig.sim.clearFrames();
        EXPECT_EQ(unit.dome->setSensorVideoSystem(1, VideoResolution()), 1);
        EXPECT_EQ(unit.rig.frames(false, "81 01 04 24"), Frames{"81 01 04 24 72 01 01 FF"});
        EXPECT_EQ(unit.rig.frames(false, "FE"), Frames{"FE 05 03 01 01 0A FF"});
        EXPECT_EQ(unit.rig.sim.restartCount(), round);
    }
    EXPECT_EQ(unit.rig.sim.videoFormat(), 17);

    unit.rig.sim.clearFrames();
    EXPECT_EQ(unit.dome->turnPictureToNight(), 1);
    EXPECT_TRUE(unit.rig.nearPwm->enabled());
    EXPECT_EQ(unit.dome->turnPictureToDay(), 1);
    EXPECT_FALSE(unit.rig.nearPwm->enabled());
    const Frames switches = {"81 01 04 51 03 FF", "81 01 04 01 02 FF", "81 01 04 51 03 FF",
                             "81 01 04 01 03 FF"};
    EXPECT_EQ(unit.rig.commands(), switches);
}

TEST(Cmd7400Manager, DarkLevelFollowsTheGainPositionAndIsSentOnlyOnChange) {
    Cmd7400Unit unit;
    ASSERT_NE(unit.dome, nullptr);
    struct Step {
        ViscaSimulator::Bytes gain; // register 04 4C: 0p 0q 0r 0s
        Frames frames;
    };
    const Step steps[] = {
        {{0, 0, 0, 0}, {"81 01 04 A7 00 01 05 00 FF"}}, // position 0: 336
        {{0, 0, 0, 0}, {}},                             // the same level again
        {{0, 0, 0, 6}, {"81 01 04 A7 00 01 00 00 FF"}}, // 1..6: 256
        {{0, 0, 1, 2}, {"81 01 04 A7 00 00 08 00 FF"}}, // 18: 128
    };
    for (const Step& step : steps) {
        unit.rig.sim.setRegisterValue({0x04, 0x4C}, step.gain);
        unit.rig.sim.clearFrames();
        kvtest::StdoutCapture out;
        EXPECT_EQ(unit.dome->setCameraDarkLevel(), 0) << "reports 0 also after sending";
        const std::string text = out.text();
        EXPECT_EQ(unit.rig.commands(), step.frames) << text;
        EXPECT_EQ(
            contains(text, "nDarkLevel == m_nLastDarkLevel,do not need set command to camera"),
            step.frames.empty())
            << text;
        EXPECT_TRUE(contains(text, "Camera current gain position = ")) << text;
    }

    // The 2A link hands the last zoom position read to the image adapter.
    unit.rig.sim.setZoomPosition(0x2628);
    int position = 0, ratio = 0;
    ASSERT_EQ(unit.dome->getZoomValue(position, ratio), 1);
    KviaSimulator::clearWriteLog();
    EXPECT_EQ(unit.dome->set2AParam(1), 1);
    bool mode = false, zoom = false;
    for (const auto& write : KviaSimulator::writeLog()) {
        mode = mode || (write.code == 49 && write.value == 1);
        zoom = zoom || (write.code == 337 && write.value == 0x2628);
    }
    EXPECT_TRUE(mode && zoom);
}

} // namespace

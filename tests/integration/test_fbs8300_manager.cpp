// FBS8300 dome end to end: manager, driver, termios port, simulated module, PWM, ADC and files.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/kvia.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::string kConfigDir = "/mnt/mtd/code/config_file/";
const std::string kScheme1 = kConfigDir + "sensor1.cfg";
const std::string kFactory = kConfigDir + "sensor_Factory.cfg";

using kvtest::contains;
using kvtest::waitUntil;

const std::vector<std::string> kDayFrames = {"81 01 04 51 03 FF", "81 01 04 01 03 FF",
                                             "81 01 04 A7 00 01 03 00 FF"};
const std::vector<std::string> kNightFrames = {"81 01 04 51 03 FF", "81 01 04 01 02 FF",
                                               "81 01 04 A7 00 00 03 00 FF"};

TEST(Fbs8300Manager, FirstStartBringsTheModuleUpAndCreatesTheFilesFromIt) {
    kvtest::Fbs8300Rig rig;
    SafePointer<ISensorController> c = rig.init();
    ASSERT_EQ(c->getSensorType(), 82) << "the factory must build the FBS8300 driver for id 82";
    EXPECT_EQ(c->getSensorStatus(), ISensorController::InitSuccess);
    EXPECT_TRUE(rig.gpio->isInitComplete());

    // Speed check (module already at 9600), OSD off, DC, version, video
    // system (unchanged: no restart), then day mode.
    const std::vector<std::string> start = {
        "81 09 04 24 24 FF",    "81 01 04 15 03 FF", "81 01 04 A7 00 01 03 00 FF",
        "FE 06 01 01 01 09 FF", "81 09 04 24 72 FF", kDayFrames[0],
        kDayFrames[1],          kDayFrames[2]};
    const auto all = rig.frames();
    ASSERT_GE(all.size(), start.size());
    EXPECT_EQ(std::vector<std::string>(all.begin(), all.begin() + 8), start);
    EXPECT_EQ(rig.sim.restartCount(), 0);

    // The factory file holds the module's fixed answers and the IR defaults.
    const std::string factory = rig.root.readFile(kFactory);
    for (const char* item : {"(1,80)", "(2,27)", "(3,54)", "(4,1)", "(7,0)", "(12,10)", "(13,11)",
                             "(16,3)", "(19,38)", "(20,34)", "(25,65)", "(29,2)", "(31,5)",
                             "(32,15)", "(57,50)", "(58,50)", "(59,50)", "(64,0)", "(68,75)"})
        EXPECT_TRUE(contains(factory, item)) << item << " in " << factory;
    EXPECT_FALSE(contains(factory, "(28,")) << "set-only";
    EXPECT_FALSE(contains(factory, "(33,"));
    EXPECT_EQ(rig.root.readFile(kScheme1).substr(0, 7), "(1,80)(") << "first scheme = factory";
}

TEST(Fbs8300Manager, ModuleAt38400IsMovedTo9600AndRestarted) {
    ViscaSimulator::Options options;
    options.baudIndex = 2;
    kvtest::Fbs8300Rig rig(options);
    SafePointer<ISensorController> c = rig.init();
    ASSERT_EQ(c->getSensorType(), 82);
    EXPECT_EQ(c->getSensorStatus(), ISensorController::InitSuccess);

    // Inquiries at 9600 and 19200 go unanswered; at 38400 the module answers
    // index 2, is told index 0 and restarted; then the start-up goes on.
    const auto all = rig.frames(true);
    std::size_t i = 0;
    while (i < all.size() && all[i] == "81 09 04 24 24 FF")
        ++i;
    EXPECT_GE(i, 3u) << "probing";
    ASSERT_GE(all.size(), i + 3);
    EXPECT_EQ(all[i], "81 01 04 24 24 00 00 FF");
    EXPECT_EQ(all[i + 1], "FE 05 03 01 01 0A FF");
    EXPECT_EQ(all[i + 2], "81 01 04 15 03 FF") << "next frame after the restart";
    EXPECT_EQ(rig.sim.restartCount(), 1);
    EXPECT_EQ(rig.sim.moduleBaudIndex(), 0);
    EXPECT_EQ(rig.sim.lineBaud(), 9600);
    EXPECT_GT(rig.countCommands(kDayFrames[1]), 0) << "the module heard day mode at 9600";
}

TEST(Fbs8300Manager, SavedSchemeIsAppliedThenSetsReachTheWireCacheAndFile) {
    kvtest::Fbs8300Rig rig;
    // A unit that has run before: wildcard stamps, scheme 1 in force all day
    // with three of the user's values.
    const std::string window = "(500,1)(501,0)(502,0)(503,24)(504,0)";
    rig.root.writeFile(kFactory, window + "(10000,999)(10001,999)");
    rig.root.writeFile(kScheme1, "(1,60)(4,3)(8,1)" + window + "(10000,999)(10001,999)");
    SafePointer<ISensorController> c = rig.init();
    ASSERT_EQ(c->getSensorType(), 82);

    // Each saved value (saturation 60, gamma 3, mirror 1 of generation 3)
    // went out once, and no other value of those settings.
    for (const std::string frame : {"81 01 04 A1 00 00 00 09 FF", "81 01 04 5B 03 FF",
                                    "81 01 04 61 02 FF", "81 01 04 66 03 FF"}) {
        EXPECT_EQ(rig.countCommands(frame), 1) << frame;
        EXPECT_EQ(rig.countCommands(frame.substr(0, 11)), 1) << frame;
    }
    std::string out;
    EXPECT_EQ(c->getParameters("1,4,8", out), 1);
    EXPECT_EQ(out, "(1,60)(4,3)(8,1)");
    EXPECT_TRUE(contains(rig.root.readFile(kScheme1), "(2,27)")) << "missing ids from module";

    // The same values again: all in force already, nothing sent.
    rig.sim.clearFrames();
    EXPECT_EQ(c->setParameters("(1,60)(4,3)(8,1)"), 1);
    EXPECT_EQ(rig.commands(), std::vector<std::string>());

    // New values: exact frames, last-applied cache, and after flush the file.
    EXPECT_EQ(c->setParameters("(2,40)(68,50)(1,100)"), 1);
    const std::vector<std::string> expected = {
        "81 01 04 A1 00 00 00 0F FF", "81 01 04 A2 00 00 00 06 FF", "81 01 04 AF 00 00 04 00 FF"};
    EXPECT_EQ(rig.commands(), expected) << "applied in ascending id order";
    EXPECT_EQ(c->getParameters("1,2,4,68", out), 1);
    EXPECT_EQ(out, "(1,100)(2,40)(4,3)(68,50)");
    EXPECT_FALSE(contains(rig.root.readFile(kScheme1), "(2,40)")) << "not saved before flush";
    EXPECT_EQ(c->flush(), 1);
    const std::string saved = rig.root.readFile(kScheme1);
    for (const char* item : {"(1,100)", "(2,40)", "(4,3)", "(8,1)", "(68,50)", "(500,1)"})
        EXPECT_TRUE(contains(saved, item)) << item << " in " << saved;
}

TEST(Fbs8300Manager, LightSensorDrivesNightAndDayAndIrFollowsZoom) {
    kvtest::Fbs8300Rig rig;
    SafePointer<ISensorController> c = rig.init();
    ASSERT_EQ(c->getSensorType(), 82);
    int state = -1;
    EXPECT_EQ(c->getDayNightState(state), 1);
    EXPECT_EQ(state, 1);
    EXPECT_FALSE(rig.nearPwm->enabled());

    // Dark: night at the pass that first reads it, without the to-day delay
    // (the worker reads the light sensor once a pass, a second apart).
    rig.sim.clearFrames();
    KviaSimulator::clearWriteLog();
    const int readings = rig.adc->requestCount();
    rig.adc->setValue(300);
    ASSERT_TRUE(waitUntil([&] { return rig.commands().size() >= 3; })) << "no night frames";
    EXPECT_LE(rig.adc->requestCount() - readings, 3) << "light-sensor passes before night";
    EXPECT_EQ(rig.commands(), kNightFrames);
    EXPECT_TRUE(rig.nearPwm->enabled() && rig.midPwm->enabled() && rig.farPwm->enabled());
    EXPECT_EQ(c->getDayNightState(state), 1);
    EXPECT_EQ(state, 0);
    bool told2A = false;
    for (const auto& write : KviaSimulator::writeLog())
        told2A = told2A || (write.code == 49 && write.value == 2);
    EXPECT_TRUE(told2A) << "2A library told night";

    // At night the IR banks follow the zoom: 4x selects the fourth row of the
    // sample table (near 30, mid 60, far 25), 2x the second (55, 35, 0).
    auto duties = [&](int nearPercent, int midPercent, int farPercent) {
        auto duty = [](int percent) { return 100 * ZoomIrIllumination::getRealPWM(percent); };
        return rig.nearPwm->duty() == duty(nearPercent) && rig.midPwm->duty() == duty(midPercent) &&
               rig.farPwm->duty() == duty(farPercent);
    };
    rig.sim.setZoomPosition(0x2628);
    EXPECT_TRUE(waitUntil([&] { return duties(30, 60, 25); })) << rig.nearPwm->duty();
    rig.sim.setZoomPosition(0x16A1);
    EXPECT_TRUE(waitUntil([&] { return duties(55, 35, 0); })) << rig.nearPwm->duty();
    EXPECT_EQ(rig.farPwm->period(), ZoomIrIllumination::kPwmPeriod);

    // Light again: day only once the reading has held for 5 device seconds.
    rig.sim.clearFrames();
    const double t0 = PlatformClock::monotonicSeconds();
    rig.adc->setValue(700);
    ASSERT_TRUE(waitUntil([&] { return rig.countCommands(kDayFrames[1]) > 0; })) << "no day frames";
    EXPECT_GE(PlatformClock::monotonicSeconds() - t0, 5.0);
    ASSERT_TRUE(waitUntil([&] { return rig.commands().size() >= 3; }));
    EXPECT_EQ(rig.commands(), kDayFrames);
    EXPECT_FALSE(rig.nearPwm->enabled() || rig.midPwm->enabled() || rig.farPwm->enabled());
    EXPECT_EQ(c->getDayNightState(state), 1);
    EXPECT_EQ(state, 1);
}

} // namespace

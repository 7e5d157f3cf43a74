// CMD8300 end to end: manager or driver, termios port and the simulated CMD8300 module.
// labels: threaded
#include "drivers/platform/CMD8300SenseController.h"
#include "platform/SysfsGPIO.h"
#include "platform/kvia.h"
#include "support/TestRoot.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using kvtest::contains;
using Frames = std::vector<std::string>;

const char* const kLampDetail = "RS485=/dev/ttyS1;isInfrared=1";
const char* const kNoLampDetail = "RS485=/dev/ttyS1;isInfrared=0";
const char* const kScript = "/mnt/mtd/code/config_file/sensorInit.sh";

class Cmd8300Driver : public CMD8300SenseController {
public:
    void ready() { m_SensorStatus = InitSuccess; }
};

// The driver alone (no worker thread, so only the test's own exchanges are
// on the line), initialised on the simulated CMD8300.
struct Cmd8300Bench {
    explicit Cmd8300Bench(const char* detail = kLampDetail) : rig(options()) {
        driver.setOperator(rig.uart, SafePointer<IGPIO>(new SysfsGPIO()));
        kvtest::StdoutCapture quiet;
        initResult =
            driver.initController(CMD8300SenseController::kSensorType,
                                  ModuleConfigure(CMD8300SenseController::kSensorType, detail,
                                                  kvtest::Fbs8300Rig::kParameters));
        driver.ready();
        rig.sim.clearFrames();
    }
    // The module is back well within the driver's 20 s restart wait.
    static ViscaSimulator::Options options() {
        ViscaSimulator::Options options = kvtest::Fbs8300Rig::modelOptions("cmd8300");
        options.restartSeconds = 10.0;
        return options;
    }
    // What `run` prints (the driver's log lines go to standard output too).
    static std::string printed(const std::function<void()>& run) {
        kvtest::StdoutCapture out;
        run();
        return out.text();
    }
    // Frames other than inquiries; a retry counts once unless `attempts`.
    Frames sent(bool attempts = false) const {
        Frames out;
        for (const std::string& frame : rig.frames(attempts))
            if (frame.compare(0, 5, "81 09") != 0)
                out.push_back(frame);
        return out;
    }
    kvtest::Fbs8300Rig rig;
    Cmd8300Driver driver;
    int initResult = 0;
};

TEST(Cmd8300Manager, StartsWithOsdOffVideoCheckDayPictureAndTheNotice) {
    kvtest::Fbs8300Rig rig(kvtest::Fbs8300Rig::modelOptions("cmd8300"));
    rig.useModule(CMD8300SenseController::kSensorType);
    SafePointer<ISensorController> c = rig.init();
    ASSERT_NE(dynamic_cast<CMD8300SenseController*>(c.get()), nullptr)
        << "the factory must build the CMD8300 driver for id 25";
    EXPECT_EQ(c->getSensorStatus(), ISensorController::InitSuccess);
    // OSD off, video system (6 = system 0: no restart), the day picture on
    // the lamp's IR-cut frame with the day DC, and at the end the notice.
    const Frames start = {"81 01 04 15 03 FF", "81 09 04 24 72 FF", "FE 01 1E 02 00 02 23 FF",
                          "81 01 04 A7 00 01 03 00 FF"};
    const Frames all = rig.frames();
    ASSERT_GE(all.size(), start.size());
    EXPECT_EQ(Frames(all.begin(), all.begin() + 4), start);
    // The notice is the last frame of the start-up; the simulator may still be reading it.
    for (int i = 0; i < 200 && rig.frames(false, "81 09 04 22").empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(rig.frames(false, "81 09 04 22").size(), 1u);
    EXPECT_EQ(rig.sim.restartCount(), 0);
    EXPECT_TRUE(contains(rig.initOutput, "__CMD8300SenseController::init,ModuleConfigure is("));
    EXPECT_TRUE(contains(rig.initOutput, "RS485(/dev/ttyS1) param is (9600,8,0,1)"));
    EXPECT_TRUE(
        contains(rig.initOutput, "===~~~~~~~~~~~~~~~~~~send(1 times) setParameterValue send:"));
    const std::string factory = rig.root.readFile("/mnt/mtd/code/config_file/sensor_Factory.cfg");
    EXPECT_TRUE(contains(factory, "(66,")) << factory;
    EXPECT_FALSE(contains(factory, "(67,") || contains(factory, "(68,") ||
                 contains(factory, "(28,"))
        << factory;
}

// Day/night on both builds of the module: one IR-cut frame with the lamp;
// without it the auto-IR-cut register, then the day/night register twice;
// the switches to night and day end with their DC frame (DCNight 0,3, DCDay 1,3).
TEST(Cmd8300Driver, DayNightFramesWithAndWithoutTheLamp) {
    struct Case {
        const char* detail;
        int (CMD8300SenseController::*op)();
        Frames frames;       // a frame sent twice counts once here
        const char* doubled; // the frame sent twice, or nullptr
        int reported;        // what the module then reports (getDNStatusFromSensor)
    };
    const Case cases[] = {
        {kLampDetail,
         &CMD8300SenseController::turnPictureToNight,
         {"FE 01 1E 02 00 01 22 FF", "81 01 04 A7 00 00 03 00 FF"},
         nullptr,
         0},
        {kLampDetail,
         &CMD8300SenseController::turnPictureToDay,
         {"FE 01 1E 02 00 02 23 FF", "81 01 04 A7 00 01 03 00 FF"},
         nullptr,
         1},
        {kLampDetail,
         &CMD8300SenseController::enterAutoMode,
         {"FE 01 1E 02 00 00 21 FF"},
         nullptr,
         1},
        {kNoLampDetail,
         &CMD8300SenseController::turnPictureToNight,
         {"81 01 04 51 03 FF", "81 01 04 01 03 FF", "81 01 04 A7 00 00 03 00 FF"},
         "81 01 04 01 03 FF",
         -1},
        {kNoLampDetail,
         &CMD8300SenseController::turnPictureToDay,
         {"81 01 04 51 02 FF", "81 01 04 01 02 FF", "81 01 04 A7 00 01 03 00 FF"},
         "81 01 04 01 02 FF",
         -1},
        {kNoLampDetail,
         &CMD8300SenseController::enterAutoMode,
         {"81 01 04 51 02 FF", "81 01 04 01 03 FF"},
         "81 01 04 01 03 FF",
         -1},
    };
    for (const Case& row : cases) {
        Cmd8300Bench bench(row.detail);
        ASSERT_EQ(bench.initResult, 1);
        EXPECT_EQ((bench.driver.*row.op)(), 1);
        EXPECT_EQ(bench.sent(), row.frames) << row.detail;
        if (row.doubled != nullptr) {
            const Frames all = bench.sent(true);
            EXPECT_GE(std::count(all.begin(), all.end(), row.doubled), 2) << row.doubled;
        }
        int status = -1;
        if (row.reported >= 0) {
            EXPECT_EQ(bench.driver.getDNStatusFromSensor(status), 1);
            EXPECT_EQ(status, row.reported);
        }
    }
}

TEST(Cmd8300Driver, DayNightReadingRefusesValuesOtherThanTwoAndThree) {
    Cmd8300Bench bench;
    for (int value : {2, 3, 4, 0}) {
        bench.rig.sim.setRegisterValue({0x04, 0x01}, {static_cast<uint8_t>(value)});
        int status = -1;
        int result = -1;
        const std::string log =
            Cmd8300Bench::printed([&] { result = bench.driver.getDNStatusFromSensor(status); });
        const bool known = value == 2 || value == 3;
        EXPECT_EQ(result, known ? 1 : 0) << value;
        if (known)
            EXPECT_EQ(status, value - 2);
        else
            EXPECT_TRUE(
                contains(log, "get daynight value out of range value = " + std::to_string(value)))
                << log;
    }
    bench.rig.sim.setSilence();
    int status = -1;
    int result = -1;
    const std::string log =
        Cmd8300Bench::printed([&] { result = bench.driver.getDNStatusFromSensor(status); });
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(contains(log, "get dn failed")) << log;
}

TEST(Cmd8300Driver, VideoSystemRestartsByViscaAndTheStartupScriptFollows) {
    Cmd8300Bench bench;
    kvtest::StdoutCapture out;
    EXPECT_EQ(bench.driver.setSensorVideoSystem(1, VideoResolution()), 1);
    EXPECT_EQ(bench.rig.frames(),
              (Frames{"81 09 04 24 72 FF", "81 01 04 24 72 00 08 FF", "81 01 04 19 03 FF"}));
    EXPECT_EQ(bench.rig.sim.restartCount(), 1);
    EXPECT_EQ(bench.rig.sim.videoFormat(), 8);
    EXPECT_EQ(bench.driver.setSensorVideoSystem(1, VideoResolution()), 1);
    EXPECT_EQ(bench.rig.sim.restartCount(), 1) << "already PAL";
    const std::string printed = out.text();
    EXPECT_TRUE(contains(printed, "Restarting sensor")) << printed;
    EXPECT_TRUE(contains(printed, "Video system not change!")) << printed;

    // The sample unit ships both scripts; system 2 has none and copies nothing.
    const std::string pal = bench.rig.root.readFile(CMD8300SenseController::kPALScript);
    const std::string ntsc = bench.rig.root.readFile(CMD8300SenseController::kNTSCScript);
    ASSERT_FALSE(pal.empty());
    ASSERT_NE(pal, ntsc);
    const struct {
        int system;
        std::string script;
    } steps[] = {{1, pal}, {0, ntsc}, {2, ntsc}, {1, pal}};
    for (const auto& step : steps) {
        EXPECT_EQ(bench.driver.updateSensorVideoSystem(step.system, VideoResolution()), 1);
        EXPECT_EQ(bench.rig.root.readFile(kScript), step.script) << step.system;
    }
    // A unit without the script keeps the one it has.
    std::remove(bench.rig.root.path(CMD8300SenseController::kNTSCScript).c_str());
    int result = 0;
    Cmd8300Bench::printed(
        [&] { result = bench.driver.updateSensorVideoSystem(0, VideoResolution()); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(bench.rig.root.readFile(kScript), pal);
}

// Where the CMD8300 differs from the dome for the same id, and its lens moves.
TEST(Cmd8300Driver, SettingsLensAndGainLink) {
    Cmd8300Bench bench;
    struct Case {
        int id;
        int value;
        int result;
        Frames frames;
    };
    const Case cases[] = {
        {1, 50, 1, {"81 01 04 A1 00 00 00 07 FF"}}, // truncated, as the FBS8300
        {30, 5, 1, {"81 01 04 18 02 FF"}},          // the infinity preset
        {28, 0, 1, {"81 01 04 18 01 FF"}},
        {57, 40, 1, {}}, // no LED banks: taken, nothing sent
        {64, 1, 1, {}},
        {67, 1, -1, {}}, // not this module's ids
        {68, 50, -1, {}},
    };
    for (const Case& row : cases) {
        bench.rig.sim.clearFrames();
        EXPECT_EQ(bench.driver.setParameterToSensor(row.id, row.value), row.result) << row.id;
        EXPECT_EQ(bench.sent(), row.frames) << row.id;
    }
    const struct {
        std::function<int()> move;
        const char* frame;
    } moves[] = {
        {[&] { return bench.driver.FocusUp(); }, "81 01 04 08 03 FF"},
        {[&] { return bench.driver.FocusDown(); }, "81 01 04 08 02 FF"},
        {[&] { return bench.driver.IrisUp(); }, "81 01 04 0B 02 FF"},
        {[&] { return bench.driver.IrisDown(); }, "81 01 04 0B 03 FF"},
        {[&] { return bench.driver.OnePushTrigger(); }, "81 01 04 18 01 FF"},
    };
    for (const auto& move : moves) {
        bench.rig.sim.clearFrames();
        EXPECT_EQ(move.move(), 1);
        EXPECT_EQ(bench.sent(), Frames{move.frame});
    }

    // The worker's hook hands the module's gain (reply byte 5) to the 2A library.
    bench.rig.sim.setRegisterValue({0x04, 0x4C}, {0, 0, 0, 9});
    EXPECT_EQ(bench.driver.doDependOnThread(), 0);
    EXPECT_EQ(KviaSimulator::value(35), 9);
    bench.rig.sim.setSilence();
    const std::string log = Cmd8300Bench::printed([&] { bench.driver.doDependOnThread(); });
    EXPECT_TRUE(contains(log, "setGainValue failed")) << log;
}

} // namespace

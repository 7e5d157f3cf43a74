// FBS8300 dome driver against the simulated module: start-up, module control, 2A, day/night.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/kvia.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using kvtest::contains;
using kvtest::Fbs8300Rig;

const std::string kVersion = "FE 06 01 01 01 09 FF";
const std::string kVideoInquiry = "81 09 04 24 72 FF";

bool allPwm(Fbs8300Rig& rig, bool enabled) {
    return rig.nearPwm->enabled() == enabled && rig.midPwm->enabled() == enabled &&
           rig.farPwm->enabled() == enabled;
}

// The start-up frames at 9600 and the probe at 38400 are checked end to end
// in test_fbs8300_manager; these are the failures of the start-up.
TEST(Fbs8300Init, BadConfigurationFailsWithItsMessage) {
    Fbs8300Rig rig;
    const std::string params = Fbs8300Rig::kParameters;
    const std::vector<std::vector<std::string>> cases = {
        {"RS485", params, "parse detail failed"},
        {"isInfrared=1", params, "get RS232DeviceName from detail failed"},
        {Fbs8300Rig::kDetail, "toDayDelay=5", "get RS232Parameter from senseParameter failed"},
        {Fbs8300Rig::kDetail, "RS485=9600,8", "parse RS485 param failed,nRet=2"},
        {"RS485=/dev/ttyNone", params, "open uart (/dev/ttyNone) failed"},
        {Fbs8300Rig::kDetail, "RS485=9600,8,0,1xyz", "(9600,8,0,1xyz) is not \"%d,%d,%d,%d\""},
        {Fbs8300Rig::kDetail, "RS485=4800,8,0,1", "baud rate 4800 is not one of"},
    };
    for (const auto& c : cases) {
        kvtest::StdoutCapture out;
        EXPECT_EQ(rig.initController(c[0], c[1]), 0) << c[2];
        EXPECT_TRUE(contains(out.text(), c[2])) << out.text();
    }
    EXPECT_TRUE(rig.frames().empty());
}

TEST(Fbs8300Init, MissingOptionalKeysAndFilesAreOnlyLogged) {
    Fbs8300Rig rig(ViscaSimulator::Options(), false);
    const std::vector<std::pair<bool, std::vector<const char*>>> runs = {
        {false,
         {"get isInfrared from detail failed", "get generation from detail failed",
          "initController------initIRPowerParamV2Config---failed--",
          "objZMAFileToArray.setFilePath(AmbaS2FBS8300_TOOL::ZMA_PARAM_CONFIG_FILE_NAME) failed"}},
        {true,
         {"get DCDay from senseParameter failed", "get toNightADCVal from senseParameter failed",
          "get toDayDelay from senseParameter failed"}}};
    for (const auto& run : runs) {
        if (run.first)
            rig.installSampleFiles();
        kvtest::StdoutCapture out;
        EXPECT_EQ(rig.initController("RS485=/dev/ttyS1", "RS485=9600,8,0,1"), 1);
        for (const char* message : run.second)
            EXPECT_TRUE(contains(out.text(), message)) << message << "\n" << out.text();
        EXPECT_TRUE(run.first || rig.driver->dnSource() == 0) << "no light sensor: module decides";
    }
}

// DC values are read strictly at start-up; every switch then sends its DC
// frame, with the start-up setting 1,3 where a value is missing or refused.
TEST(Fbs8300Init, DCValuesAreCheckedAtStartUpAndEverySwitchSendsOne) {
    const struct {
        const char* dc;
        const char* message;
        const char* day;
        const char* night;
    } cases[] = {
        {"DCDay=2,4;DCNight=0,3", nullptr, "02 04", "00 03"},
        {"DCDay=255,3;DCNight=0,3", "DCDay(255,3) refused", "01 03", "00 03"},
        {"DCDay=2,4;DCNight=1,2x", "DCNight(1,2x) refused", "02 04", "01 03"},
        {"DCDay=2,-1", "get DCNight from senseParameter failed", "01 03", "01 03"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.dc);
        Fbs8300Rig rig;
        kvtest::StdoutCapture out;
        ASSERT_EQ(rig.initController(Fbs8300Rig::kDetail, std::string("RS485=9600,8,0,1;") + c.dc),
                  1);
        EXPECT_TRUE(c.message == nullptr || contains(out.text(), c.message)) << out.text();
        rig.driver->setStatus(ISensorController::InitSuccess);
        rig.sim.clearFrames();
        ASSERT_EQ(rig.driver->turnPictureToDay(), 1);
        ASSERT_EQ(rig.driver->turnPictureToNight(), 1);
        const std::vector<std::string> dc = {std::string("81 01 04 A7 00 ") + c.day + " 00 FF",
                                             std::string("81 01 04 A7 00 ") + c.night + " 00 FF"};
        EXPECT_EQ(rig.frames(true, "81 01 04 A7"), dc);
    }
}

// A baud probe that cannot set the local port ends the change with the error line.
TEST(Fbs8300Init, FailingBaudProbeEndsWithItsMessage) {
    struct DeafUART : IUARTController {
        int setCalls = 0;
        int open(const char*) override { return 0; }
        int setParameter(int, int, int, int, int) override { return ++setCalls > 1 ? 1 : 0; }
        int send(int, const char*, int len) override { return len; }
        int recv(int, char*, int, int) override { return 0; }
        int clearRecvBuffer(int) override { return 1; }
        int close(int) override { return 1; }
    };
    Fbs8300Rig rig;
    auto* uart = new DeafUART();
    rig.driver->setOperator(SafePointer<IUARTController>(uart),
                            SafePointer<IGPIO>(new SysfsGPIO()));
    rig.driver->setPort(0);
    rig.driver->setStatus(ISensorController::InitSuccess);
    kvtest::StdoutCapture out;
    EXPECT_EQ(rig.driver->changeCameraBuadrate(9600), 0);
    EXPECT_TRUE(contains(out.text(), "m_pUART->setParameter(m_nUARTIndex,m_nBaudarate,"));
    EXPECT_EQ(uart->setCalls, 1) << "the probe ends there";
}

class Fbs8300Ready : public ::testing::Test {
protected:
    // Started with the sample record, marked ready, the start-up frames
    // forgotten, and the line drained: the start-up's version read takes the
    // first nine bytes, a completion first, and leaves the rest.
    void SetUp() override {
        ASSERT_EQ(rig.initController(), 1);
        rig.driver->setStatus(ISensorController::InitSuccess);
        rig.driver->clearUartBuffer();
        rig.sim.clearFrames();
    }
    Fbs8300Rig rig;
};

// The vendor frames are plain sends: no lock, and the version read takes the
// first nine bytes on the line as they come.
TEST_F(Fbs8300Ready, VendorFramesTakeNoLockAndTheVersionReadIsPlain) {
    auto& d = *rig.driver;
    std::string version;
    kvtest::StdoutCapture out;
    rig.sim.setGarbage({0x90, 0x51, 0xFF}, 1); // a completion ahead of the answer
    EXPECT_EQ(d.getCameraVerInf(version), 0);
    EXPECT_TRUE(contains(out.text(), "getCameraVerInf szRecvBuf error"));
    d.clearUartBuffer();
    ASSERT_EQ(d.setCameraOsdOff(), 1); // its completion stays on the line
    EXPECT_EQ(d.getCameraVerInf(version), 0);
    d.clearUartBuffer();

    std::atomic<bool> held{false}, release{false};
    std::thread holder([&] {
        KVMutexLocker lock(d.controllerLock());
        held = true;
        while (!release)
            std::this_thread::yield();
    });
    while (!held)
        std::this_thread::yield();
    auto done = std::async(std::launch::async,
                           [&] { return d.getCameraVerInf(version) + d.restartCamera(); });
    const bool finished = done.wait_for(std::chrono::seconds(3)) == std::future_status::ready;
    release = true;
    holder.join();
    EXPECT_TRUE(finished) << "a vendor frame waited for the controller lock";
    EXPECT_EQ(done.get(), 2);
}

// The wait before the video-system inquiry is 100 µs.
TEST_F(Fbs8300Ready, VideoSystemWaitIsMicroseconds) {
    PlatformClock::setTimeScale(1.0);
    double shortest = 1.0;
    for (int i = 0; i < 5; ++i) {
        const double start = PlatformClock::monotonicSeconds();
        ASSERT_EQ(rig.driver->setSensorVideoSystem(0, VideoResolution()), 1);
        shortest = std::min(shortest, PlatformClock::monotonicSeconds() - start);
    }
    PlatformClock::setTimeScale(0.01);
    EXPECT_LT(shortest, 0.09);
}

TEST_F(Fbs8300Ready, PwmAndIrOperationsAreTheControllers) {
    auto& d = *rig.driver;
    EXPECT_EQ(d.getRealPWM(1), 2300);
    EXPECT_EQ(d.getRealPWM(100), 6600);
    EXPECT_EQ(d.openPWM(), 1);
    EXPECT_TRUE(allPwm(rig, true));
    EXPECT_EQ(d.closePWM(), 1);
    EXPECT_TRUE(allPwm(rig, false));
    EXPECT_EQ(d.initPWM(), 1) << "a reopen";
    IRPowerItem row;
    EXPECT_EQ(d.getIRPowerItem(1, row), 1);
    EXPECT_EQ(d.getIRPowerItem(0, row), 0);
    kvtest::StdoutCapture out;
    EXPECT_EQ(d.setPWM(-1, 50), 0);
    EXPECT_EQ(d.setNearLight(1), 1);
    EXPECT_EQ(rig.nearPwm->duty(), 230000);
}

TEST_F(Fbs8300Ready, VersionChecksumRule) {
    auto& d = *rig.driver;
    std::string version;
    rig.sim.setVersion(7, 8, 9);
    ASSERT_EQ(d.getCameraVerInf(version), 1);
    EXPECT_EQ(version, "7.8.9");
    EXPECT_EQ(rig.frames(), std::vector<std::string>{kVersion});

    // 1+2+3+100+100+94 = 300: only the low byte fits in the reply, and the
    // driver compares the whole sum, so such a module is refused.
    rig.sim.setVersion(100, 100, 94);
    version = "unchanged";
    kvtest::StdoutCapture out;
    EXPECT_EQ(d.getCameraVerInf(version), 0);
    EXPECT_TRUE(contains(out.text(), "getCameraVerInf return CS error"));
    EXPECT_EQ(version, "unchanged");
}

TEST_F(Fbs8300Ready, VideoSystemUnchangedOrChangedWithRestart) {
    auto& d = *rig.driver;
    kvtest::StdoutCapture same;
    EXPECT_EQ(d.setSensorVideoSystem(0, VideoResolution()), 1);
    EXPECT_TRUE(contains(same.text(), "Video system not change!"));
    EXPECT_EQ(rig.frames(), std::vector<std::string>{kVideoInquiry});

    rig.sim.clearFrames();
    EXPECT_EQ(d.setSensorVideoSystem(1, VideoResolution()), 1);
    const std::vector<std::string> expected = {kVideoInquiry, "81 01 04 24 72 00 08 FF",
                                               "FE 05 03 01 01 0A FF"};
    EXPECT_EQ(rig.frames(), expected);
    EXPECT_EQ(rig.sim.restartCount(), 1);
    // The simulator applies a restart's values on its own thread, just after
    // the driver's restart wait: give it a moment (bounded).
    for (int i = 0; i < 200 && rig.sim.videoFormat() != 8; ++i)
        PlatformClock::sleepFor(PlatformClock::Duration(0.5));
    EXPECT_EQ(rig.sim.videoFormat(), 8);
}

TEST_F(Fbs8300Ready, BaudRateRefusesUnknownRates) {
    auto& d = *rig.driver;
    EXPECT_EQ(d.setCameraBuadRate(4), 0);
    EXPECT_EQ(d.setCameraBuadRate(-1), 0) << "its byte would be the terminator";
    EXPECT_EQ(d.changeCameraBuadrate(4800), 0);
    EXPECT_EQ(d.changeCameraBuadrate(9600), 1) << "already right: nothing to do";
    EXPECT_EQ(rig.sim.restartCount(), 0);
    EXPECT_TRUE(rig.commands().empty());
    EXPECT_EQ(d.setCameraBuadRate(-2), 1) << "a negative index goes out as its low byte";
    EXPECT_EQ(rig.commands(), std::vector<std::string>{"81 01 04 24 24 00 FE FF"});
}

TEST_F(Fbs8300Ready, GainGoesToThe2ALibrary) {
    auto& d = *rig.driver;
    rig.sim.setRegisterValue({0x04, 0x4C}, {0x00, 0x00, 0x00, 0x0B});
    EXPECT_EQ(d.doDependOnThread(), 0) << "reports 0 even on success";
    EXPECT_EQ(KviaSimulator::value(35), 11);

    rig.sim.setSilence();
    KviaSimulator::setValue(35, 99);
    EXPECT_EQ(d.setCameraGainTo2ALib(), 0);
    EXPECT_EQ(KviaSimulator::value(35), 99);
    rig.sim.clearFaults();

    EXPECT_EQ(d.set2AParam(1), 1);
    EXPECT_EQ(KviaSimulator::value(49), 1);
    EXPECT_EQ(d.set2AParam(0), 1);
    EXPECT_EQ(KviaSimulator::value(49), 2);
}

// Answers held past the next frame, duplicated or cut (the simulator's fault
// switches) are never taken as the answer to another frame.
TEST_F(Fbs8300Ready, LateDuplicatedOrCutAnswersAnswerNoOtherFrame) {
    auto& d = *rig.driver;
    for (const bool held : {true, false}) {
        rig.sim.clearFaults();
        held ? rig.sim.setHeldAnswer(1) : rig.sim.setDuplicate(1);
        EXPECT_EQ(d.setParameterToSensor(1, 60), 1);
        rig.sim.setErrorReply(0, 2); // the module refuses the next set
        EXPECT_EQ(d.setParameterToSensor(2, 40), 0) << held;
        EXPECT_TRUE(rig.sim.registerValue({0x04, 0xA2}).empty());
    }

    rig.sim.clearFaults();
    rig.sim.setRegisterValue({0x04, 0x4C}, {0x00, 0x00, 0x00, 0x0B});
    rig.sim.setZoomPosition(0x1234);
    rig.sim.setHeldAnswer(1); // the worker's gain inquiry, then the host's zoom get
    d.setCameraGainTo2ALib();
    EXPECT_EQ(KviaSimulator::value(35), 11);
    int position = 0, ratio = 0;
    ASSERT_EQ(d.getZoomValue(position, ratio), 1);
    EXPECT_EQ(position, 0x1234);

    // Replies of the asked length whose end was lost: the time-out ends them.
    rig.sim.clearFrames();
    rig.sim.setCutShort(0, 1);
    rig.sim.setGarbage({0x90, 0x50, 0x00, 0x08, 0x00}, 1);
    EXPECT_EQ(d.setSensorVideoSystem(0, VideoResolution()), 1);
    EXPECT_EQ(rig.sim.restartCount(), 0);
    EXPECT_EQ(rig.countCommands("81 01 04 24 72"), 0);
    rig.sim.setCutShort(0, 1);
    rig.sim.setGarbage({0x90, 0x50, 0x00, 0x00, 0x00, 0x0A, 0x00}, 1);
    d.setCameraGainTo2ALib();
    EXPECT_EQ(KviaSimulator::value(35), 11);
}

// The turn frames themselves are checked end to end in test_fbs8300_manager.
TEST_F(Fbs8300Ready, TurnsSwitchTheLedsOnceAndOnlyAfterTheFrames) {
    auto& d = *rig.driver;
    ASSERT_EQ(d.turnPictureToNight(), 1);
    EXPECT_TRUE(allPwm(rig, true));
    rig.nearPwm->clearLog();
    ASSERT_EQ(d.turnPictureToNight(), 1);
    EXPECT_TRUE(rig.nearPwm->writeLog().empty()) << "already on: no second enable";
    ASSERT_EQ(d.turnPictureToDay(), 1);
    EXPECT_TRUE(allPwm(rig, false));

    // A refused frame ends the switch before the LEDs move.
    rig.sim.setErrorReply(0, 2);
    EXPECT_EQ(d.turnPictureToNight(), 0);
    EXPECT_TRUE(allPwm(rig, false));
}

TEST_F(Fbs8300Ready, DayNightModesMapOntoTheBase) {
    auto& d = *rig.driver;
    kvtest::StdoutCapture out;
    EXPECT_EQ(d.setDayNightMode(2), 0);
    EXPECT_EQ(d.setDayNightMode(0), 0);
    EXPECT_TRUE(contains(out.text(), "setDayNightMode(2) out of range"));
    EXPECT_TRUE(rig.frames().empty());

    // A forced mode switches now and leaves the base's state alone: the
    // worker's next pass runs the whole switch for the new mode.
    d.setDNState(1);
    EXPECT_EQ(d.setDayNightMode(4), 1); // night
    EXPECT_EQ(d.ir().getLightSensorState(), 0);
    // (Counted as at least: a slow answer on a loaded machine costs a retry.)
    const int sentByMode = rig.countCommands("81 01 04 01 02 FF");
    EXPECT_GE(sentByMode, 1);
    int state = -1;
    d.getDayNightState(state);
    EXPECT_EQ(state, 1);
    EXPECT_EQ(d.lastDNMode(), -1);
    EXPECT_EQ(d.DNSwitchHandle(), 1);
    EXPECT_GT(rig.countCommands("81 01 04 01 02 FF"), sentByMode);
    d.getDayNightState(state);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(d.setDayNightMode(3), 1); // day
    EXPECT_EQ(d.ir().getLightSensorState(), 1);
    EXPECT_GT(rig.countCommands("81 01 04 01 03 FF"), 0);
    rig.sim.clearFrames();
    EXPECT_EQ(d.setDayNightMode(5), 1);
    EXPECT_TRUE(rig.frames().empty()) << "switching by time sends nothing now";

    // Automatic: a dark reading turns the picture to night at once.
    d.setDNState(1);
    rig.adc->setValue(100);
    EXPECT_EQ(d.setDayNightMode(1), 1);
    EXPECT_EQ(d.getDayNightState(state), 1);
    EXPECT_EQ(state, 0);
    EXPECT_TRUE(allPwm(rig, true));
}

TEST_F(Fbs8300Ready, LightSensorHysteresisThroughTheDriver) {
    auto& d = *rig.driver;
    d.setDNState(1);
    int status = -1;
    for (auto step : std::vector<std::pair<int, int>>{{500, 1}, {399, 0}, {600, 0}, {601, 1}}) {
        rig.adc->setValue(step.first);
        ASSERT_EQ(d.getDNStatusFromLDR(status), 1);
        EXPECT_EQ(status, step.second) << step.first;
    }
    rig.adc->setFailing(true);
    EXPECT_EQ(d.getDNStatusFromLDR(status), 0);
    rig.keptOpen = 1; // a failed reading keeps the ADC open
}

} // namespace

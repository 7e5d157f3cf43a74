// FBS8300 dome driver against the simulated module: start-up, module control, 2A, day/night.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/kvia.h"
#include "support/controller/Fbs8300Rig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvtest::Fbs8300Rig;
using Bytes = Fbs8300Rig::Bytes;

constexpr unsigned long kPwmEnable = 0x7A09;
constexpr unsigned long kPwmDisable = 0x7A0A;

const Bytes kBaudInquiry = Fbs8300Rig::bytes({0x81, 0x09, 0x04, 0x24, 0x24, 0xFF});
const Bytes kOsdOff = Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0x15, 0x03, 0xFF});
const Bytes kDCInit = Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0xA7, 0x00, 0x01, 0x03, 0x00, 0xFF});
const Bytes kVersion = Fbs8300Rig::bytes({0xFE, 0x06, 0x01, 0x01, 0x01, 0x09, 0xFF});
const Bytes kRestart = Fbs8300Rig::bytes({0xFE, 0x05, 0x03, 0x01, 0x01, 0x0A, 0xFF});
const Bytes kVideoInquiry = Fbs8300Rig::bytes({0x81, 0x09, 0x04, 0x24, 0x72, 0xFF});
const Bytes kColourOff = Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0x51, 0x03, 0xFF});
const Bytes kFilterOut = Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0x01, 0x02, 0xFF});
const Bytes kFilterIn = Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0x01, 0x03, 0xFF});
const Bytes kDCNight = Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0xA7, 0x00, 0x00, 0x03, 0x00, 0xFF});
const Bytes kDCDay = kDCInit;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

unsigned long lastRequest(const SimulatedPwm& pwm) {
    const auto log = pwm.writeLog();
    return log.empty() ? 0 : log.back().request;
}

// The simulator applies a restart's values on its own thread, just after the
// driver's restart wait: give it a moment (bounded).
bool formatBecomes(const ViscaSimulator& sim, int format) {
    for (int i = 0; i < 200 && sim.videoFormat() != format; ++i)
        PlatformClock::sleepFor(PlatformClock::Duration(0.5));
    return sim.videoFormat() == format;
}

bool allPwm(Fbs8300Rig& rig, bool enabled) {
    return rig.nearPwm->enabled() == enabled && rig.midPwm->enabled() == enabled &&
           rig.farPwm->enabled() == enabled;
}

TEST(Fbs8300Init, ModuleAtTheConfiguredSpeedStartsWithoutRestart) {
    Fbs8300Rig rig;
    rig.installSampleFiles();
    rig.sim.setVersion(1, 2, 3);
    kvtest::StdoutCapture out;
    ASSERT_EQ(rig.initController(), 1);
    const std::string text = out.text();

    const std::vector<Bytes> expected = {kBaudInquiry, kOsdOff, kDCInit, kVersion};
    EXPECT_EQ(Fbs8300Rig::hex(rig.frames()), Fbs8300Rig::hex(expected));
    EXPECT_EQ(rig.sim.restartCount(), 0);
    EXPECT_TRUE(contains(text, "__AmbaS2FBSSenseController::init,ModuleConfigure is(RS485="))
        << text;
    EXPECT_TRUE(contains(text, "The camera version is 1.2.3")) << text;

    auto& d = *rig.driver;
    EXPECT_EQ(d.baudRate(), 9600);
    EXPECT_EQ(d.dataBits(), 8);
    EXPECT_EQ(d.parity(), 0);
    EXPECT_EQ(d.stopBits(), 1);
    EXPECT_EQ(d.generation(), 3);
    EXPECT_EQ(d.isInfrared(), 1);
    EXPECT_TRUE(d.isNewInfrared());
    EXPECT_EQ(d.dcDay(), "1,3");
    EXPECT_EQ(d.dcNight(), "0,3");
    EXPECT_TRUE(d.irBoard());
    EXPECT_EQ(d.dnSource(), 2) << "light sensor fitted";
    EXPECT_EQ(d.switchDelay(), 5);
    int toDay = 0, toNight = 0;
    d.ir().getThresholds(toDay, toNight);
    EXPECT_EQ(toDay, 600);
    EXPECT_EQ(toNight, 400);
    EXPECT_GT(d.ir().irPowerTableSize(), 0);
    EXPECT_TRUE(d.irThreadRunning());
    // The LEDs start off.
    EXPECT_EQ(lastRequest(*rig.nearPwm), kPwmDisable);
    EXPECT_EQ(lastRequest(*rig.farPwm), kPwmDisable);
    EXPECT_TRUE(allPwm(rig, false));
}

TEST(Fbs8300Init, ModuleAt38400IsFoundRestartedAndBroughtToTheLocalSpeed) {
    ViscaSimulator::Options options;
    options.baudIndex = 2;
    Fbs8300Rig rig(0.01, options);
    rig.installSampleFiles();
    kvtest::StdoutCapture out;
    ASSERT_EQ(rig.initController(), 1);
    const std::string text = out.text();

    EXPECT_EQ(rig.sim.restartCount(), 1);
    EXPECT_EQ(rig.sim.moduleBaudIndex(), 0);
    EXPECT_TRUE(rig.received(Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0x24, 0x24, 0x00, 0x00, 0xFF})));
    EXPECT_TRUE(rig.received(kRestart));
    EXPECT_TRUE(contains(text, "Restarting sensor")) << text;
    // After the restart the module talks at 9600 again: the version is read.
    EXPECT_TRUE(contains(text, "The camera version is 1.2.3")) << text;
    EXPECT_FALSE(contains(text, "changeCameraBuadrate(9600)failed")) << text;
}

TEST(Fbs8300Init, BadConfigurationFailsWithItsMessage) {
    struct Case {
        std::string detail;
        std::string parameters;
        const char* message;
    };
    Fbs8300Rig rig;
    const std::string params = Fbs8300Rig::kParameters;
    const std::vector<Case> cases = {
        {"RS485", params, "parse detail failed"},
        {"isInfrared=1", params, "get RS232DeviceName from detail failed"},
        {rig.detail(), "toDayDelay=5", "get RS232Parameter from senseParameter failed"},
        {rig.detail(), "RS485=9600,8", "parse RS485 param failed,nRet=2"},
        {"RS485=/dev/ttyNone", params, "open uart (/dev/ttyNone) failed"},
    };
    for (const Case& c : cases) {
        kvtest::StdoutCapture out;
        EXPECT_EQ(rig.initController(rig.config(c.detail, c.parameters)), 0) << c.message;
        const std::string text = out.text();
        EXPECT_TRUE(contains(text, c.message)) << text;
    }
    EXPECT_TRUE(rig.frames().empty());
}

TEST(Fbs8300Init, MissingOptionalKeysAndZmaTable) {
    Fbs8300Rig rig;
    // No sample files: the IR and ZMA tables are only logged; the camera still starts.
    kvtest::StdoutCapture out;
    EXPECT_EQ(rig.initController(rig.config("RS485=" + rig.sim.slavePath(), "RS485=9600,8,0,1")),
              1);
    const std::string text = out.text();
    for (const char* message :
         {"get isInfrared from detail failed", "get isNewInfrared from detail failed",
          "get generation from detail failed",
          "initController------initIRPowerParamV2Config---failed--",
          "objZMAFileToArray.setFilePath(AmbaS2FBS8300_TOOL::ZMA_PARAM_CONFIG_FILE_NAME) failed"})
        EXPECT_TRUE(contains(text, message)) << message << "\n" << text;
    EXPECT_EQ(rig.driver->dnSource(), 0) << "no light sensor: the module decides";
    EXPECT_FALSE(rig.driver->irBoard());

    rig.installSampleFiles();
    kvtest::StdoutCapture second;
    EXPECT_EQ(rig.initController(rig.config("RS485=" + rig.sim.slavePath(), "RS485=9600,8,0,1")),
              1);
    const std::string text2 = second.text();
    for (const char* message :
         {"get DCDay from senseParameter failed", "get DCNight from senseParameter failed",
          "get toDayADCVal from senseParameter failed",
          "get toNightADCVal from senseParameter failed",
          "get toDayDelay from senseParameter failed"})
        EXPECT_TRUE(contains(text2, message)) << message << "\n" << text2;
}

class Fbs8300Ready : public ::testing::Test {
protected:
    void SetUp() override {
        rig.installSampleFiles();
        ASSERT_TRUE(rig.initReady());
    }
    Fbs8300Rig rig;
};

TEST_F(Fbs8300Ready, VersionFrameAndItsChecksumRule) {
    auto& d = *rig.driver;
    std::string version;
    rig.sim.setVersion(7, 8, 9);
    ASSERT_EQ(d.getCameraVerInf(version), 1);
    EXPECT_EQ(version, "7.8.9");
    EXPECT_EQ(Fbs8300Rig::hex(rig.frames()), Fbs8300Rig::hex(std::vector<Bytes>{kVersion}));

    // 1+2+3+100+100+94 = 300: only the low byte fits in the reply, and the
    // driver compares the whole sum, so such a module is refused.
    rig.sim.setVersion(100, 100, 94);
    version = "unchanged";
    kvtest::StdoutCapture out;
    EXPECT_EQ(d.getCameraVerInf(version), 0);
    EXPECT_TRUE(contains(out.text(), "getCameraVerInf return CS error"));
    EXPECT_EQ(version, "unchanged");

    rig.sim.setSilence(1);
    kvtest::StdoutCapture silent;
    EXPECT_EQ(d.getCameraVerInf(version), 0);
    EXPECT_TRUE(contains(silent.text(), "getCameraVerInf recv error"));
}

TEST_F(Fbs8300Ready, VideoSystemUnchangedOrChangedWithRestart) {
    auto& d = *rig.driver;
    kvtest::StdoutCapture same;
    EXPECT_EQ(d.setSensorVideoSystem(0, VideoResolution()), 1);
    EXPECT_TRUE(contains(same.text(), "Video system not change!"));
    EXPECT_EQ(Fbs8300Rig::hex(rig.frames()), Fbs8300Rig::hex(std::vector<Bytes>{kVideoInquiry}));

    rig.sim.clearFrames();
    kvtest::StdoutCapture changed;
    EXPECT_EQ(d.setSensorVideoSystem(1, VideoResolution()), 1);
    EXPECT_TRUE(contains(changed.text(), "set video system,nValue=8,szRecv[3]=6"));
    const std::vector<Bytes> expected = {
        kVideoInquiry, Fbs8300Rig::bytes({0x81, 0x01, 0x04, 0x24, 0x72, 0x00, 0x08, 0xFF}),
        kRestart};
    EXPECT_EQ(Fbs8300Rig::hex(rig.frames()), Fbs8300Rig::hex(expected));
    EXPECT_EQ(rig.sim.restartCount(), 1);
    EXPECT_TRUE(formatBecomes(rig.sim, 8));

    rig.sim.setErrorReply(0, 2);
    kvtest::StdoutCapture failed;
    EXPECT_EQ(d.setSensorVideoSystem(0, VideoResolution()), 0);
    EXPECT_TRUE(contains(failed.text(), "get sensor video system failed"));
}

TEST_F(Fbs8300Ready, BaudRateIndexRangeAndUnknownRate) {
    auto& d = *rig.driver;
    int index = -1;
    EXPECT_EQ(d.getCameraBaudRate(index), 1);
    EXPECT_EQ(index, 0);
    kvtest::StdoutCapture out;
    EXPECT_EQ(d.setCameraBuadRate(4), 0);
    EXPECT_EQ(d.changeCameraBuadrate(4800), 0);
    const std::string text = out.text();
    EXPECT_TRUE(contains(text, "setCameraBuadRate(4) is out of range"));
    EXPECT_TRUE(contains(text, "p_nBuadrate out of range, p_nBuadrate = 4800"));
    EXPECT_EQ(d.changeCameraBuadrate(9600), 1) << "already right: nothing to do";
    EXPECT_EQ(rig.sim.restartCount(), 0);
}

TEST_F(Fbs8300Ready, GainGoesToThe2ALibrary) {
    auto& d = *rig.driver;
    KviaSimulator::reset();
    rig.sim.setRegisterValue({0x04, 0x4C}, {0x00, 0x00, 0x00, 0x0B});
    EXPECT_EQ(d.doDependOnThread(), 0) << "reports 0 even on success";
    EXPECT_EQ(KviaSimulator::value(35), 11);
    EXPECT_TRUE(rig.received(Fbs8300Rig::bytes({0x81, 0x09, 0x04, 0x4C, 0xFF})));

    rig.sim.setSilence();
    KviaSimulator::setValue(35, 99);
    kvtest::StdoutCapture out;
    EXPECT_EQ(d.setCameraGainTo2ALib(), 0);
    EXPECT_TRUE(contains(out.text(), "setCameraGainTo2ALib failed"));
    EXPECT_EQ(KviaSimulator::value(35), 99);
    rig.sim.clearFaults();

    EXPECT_EQ(d.set2AParam(1), 1);
    EXPECT_EQ(KviaSimulator::value(49), 1);
    EXPECT_EQ(d.set2AParam(0), 1);
    EXPECT_EQ(KviaSimulator::value(49), 2);
    KviaSimulator::reset();
}

TEST_F(Fbs8300Ready, TurnsSendFramesAndSwitchTheLeds) {
    auto& d = *rig.driver;
    ASSERT_EQ(d.turnPictureToNight(), 1);
    EXPECT_EQ(Fbs8300Rig::hex(rig.frames()),
              Fbs8300Rig::hex(std::vector<Bytes>{kColourOff, kFilterOut, kDCNight}));
    EXPECT_TRUE(allPwm(rig, true));
    EXPECT_EQ(lastRequest(*rig.midPwm), kPwmEnable);

    rig.sim.clearFrames();
    rig.nearPwm->clearLog();
    ASSERT_EQ(d.turnPictureToNight(), 1);
    EXPECT_TRUE(rig.nearPwm->writeLog().empty()) << "already on: no second enable";

    rig.sim.clearFrames();
    ASSERT_EQ(d.turnPictureToDay(), 1);
    EXPECT_EQ(Fbs8300Rig::hex(rig.frames()),
              Fbs8300Rig::hex(std::vector<Bytes>{kColourOff, kFilterIn, kDCDay}));
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

    EXPECT_EQ(d.setDayNightMode(4), 1);
    EXPECT_EQ(d.baseDayNightMode(), 2);
    EXPECT_EQ(d.moduleDayNightMode(), 4);
    EXPECT_EQ(d.ir().getLightSensorState(), 0);
    EXPECT_TRUE(rig.received(kFilterOut));

    EXPECT_EQ(d.setDayNightMode(3), 1);
    EXPECT_EQ(d.baseDayNightMode(), 1);
    EXPECT_EQ(d.ir().getLightSensorState(), 1);
    EXPECT_TRUE(rig.received(kFilterIn));

    rig.sim.clearFrames();
    EXPECT_EQ(d.setDayNightMode(5), 1);
    EXPECT_EQ(d.baseDayNightMode(), 3);
    EXPECT_TRUE(rig.frames().empty()) << "switching by time sends nothing now";

    // Automatic: a dark reading turns the picture to night at once.
    d.setDNState(1);
    rig.adc->setValue(100);
    EXPECT_EQ(d.setDayNightMode(1), 1);
    EXPECT_EQ(d.baseDayNightMode(), 0);
    int state = -1;
    EXPECT_EQ(d.getDayNightState(state), 1);
    EXPECT_EQ(state, 0);
    EXPECT_TRUE(allPwm(rig, true));
    int status = -1;
    EXPECT_EQ(d.getDNStatusFromSensor(status), 1);
    EXPECT_EQ(status, 0);
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
    int value = 0;
    EXPECT_EQ(d.getADCVal(value), 1);
    EXPECT_EQ(value, 601);
    rig.adc->setFailing(true);
    EXPECT_EQ(d.getDNStatusFromLDR(status), 0);
}

} // namespace

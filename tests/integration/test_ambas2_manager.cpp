// The on-chip ISP controller (module 80) against the simulated ISP: through the manager, as the
// host runs it, and the driver alone for start-up texts and the IR-cut wait.
// labels: threaded
#include "controller/SensorControllerManager.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "platform/DeviceIoctl.h"
#include "platform/PlatformClock.h"
#include "platform/SimulatedDevices.h"
#include "platform/SysfsGPIO.h"
#include "platform/TermiosUARTController.h"
#include "platform/kvia.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using kvtest::contains;
using kvtest::waitUntil;

const char* const kDetail = "autoFocus=0;manualFocus=0;fisheye=0;isInfrared=0;autoIris=0";
const char* const kLampDetail =
    "autoFocus=0;manualFocus=0;fisheye=0;isInfrared=1;autoIris=0;GPIOInfraredLight=4,5,1";
const char* const kParams = "GPIO=1,7,0";

// A unit with module 80 at clock scale `scale`: the ISP at its power-up
// values, the light sensor simulated. init() starts it through the manager.
struct IspRig {
    explicit IspRig(double scale = 0.01) : root(scale), adc(std::make_shared<SimulatedAdc>()) {
        root.writeFile("/mnt/mtd/code/config_file/.keep", "");
        KviaSimulator::reset();
        KviaSimulator::loadPowerUpValues();
        DeviceIoctl::registerDevice(AmbaS2SenseController::kAdcDevice, adc);
    }
    ~IspRig() {
        manager.reset();
        EXPECT_EQ(DeviceIoctl::openSimulatedCount(), 0) << "ADC descriptor leaked";
        DeviceIoctl::unregisterAll();
        KviaSimulator::reset();
    }
    AmbaS2SenseController& init(const char* detail = kDetail) {
        manager = std::make_unique<SensorControllerManager>();
        manager->setUARTController(SafePointer<IUARTController>(new TermiosUARTController()));
        manager->setGPIO(SafePointer<IGPIO>(new SysfsGPIO()));
        kvtest::StdoutCapture out;
        manager->init(0, VideoResolution(),
                      ModuleConfigure(AmbaS2SenseController::kSensorType, detail, kParams));
        ctl = manager->getSensorController().get(); // the manager's to keep
        auto* isp = dynamic_cast<AmbaS2SenseController*>(ctl);
        EXPECT_NE(isp, nullptr) << "the factory must build the ISP controller for id 80";
        // The worker's first pass puts the all-day scheme in force and applies
        // its file: sets made before that would be overwritten.
        EXPECT_TRUE(waitUntil([&] {
            int scheme = -1;
            ctl->getParamScheme(scheme);
            return scheme == 3;
        }));
        initOutput = out.text();
        return *isp;
    }
    // Successful writes of `code`: the first word of each, oldest first.
    static std::vector<int> writes(int code) {
        std::vector<int> out;
        for (const KviaSimulator::Write& w : KviaSimulator::writeLog())
            if (w.code == code)
                out.push_back(w.value);
        return out;
    }
    static int reads(int code) {
        int count = 0;
        for (const KviaSimulator::Call& c : KviaSimulator::callLog())
            count += c.code == code && c.direction == KVIA_DIR_READ ? 1 : 0;
        return count;
    }
    int set(int id, int value) {
        return ctl->setParameters("(" + std::to_string(id) + "," + std::to_string(value) + ")");
    }
    // The last-applied value (-999: none).
    int stored(int id) {
        std::string text;
        int read = 0;
        int value = -999;
        ctl->getParameters(std::to_string(id), text);
        return std::sscanf(text.c_str(), "(%d,%d)", &read, &value) == 2 ? value : -999;
    }

    kvtest::TestRoot root;
    std::shared_ptr<SimulatedAdc> adc;
    std::unique_ptr<SensorControllerManager> manager;
    ISensorController* ctl = nullptr;
    std::string initOutput;
};

} // namespace

// Start-up, then each id on its code: what is written, or what refuses it
// (with the stored value kept).
TEST(IspManager, StartsAndPutsEachIdOnItsCodeOrRefusesIt) {
    IspRig rig;
    AmbaS2SenseController& isp = rig.init();
    EXPECT_EQ(isp.getSensorStatus(), ISensorController::InitSuccess);
    EXPECT_EQ(KviaSimulator::preinitCount(), 1);
    EXPECT_EQ(KviaSimulator::words(KVIA_CODE_GPIO_OUTPUT), (std::vector<int32_t>{1, 7, 0}));
    EXPECT_EQ(IspRig::writes(20), std::vector<int>{1}) << "video system 0";
    EXPECT_EQ(rig.stored(1), 50) << "the first factory file holds the ISP's values";

    struct Case {
        int id;
        int value;
        int code;    // 0: nothing may be written
        int written; // the word on the code
        const char* log;
    };
    const Case cases[] = {
        {1, 100, 1, 100, nullptr},
        {3, 40, 4, 40, nullptr},
        {4, 60, 3, 60, nullptr},
        {6, 21, 18, 21, "AmbaS2SenseController::setMaxShutter p_nMaxShutter = 21"},
        {17, 1, 81, 1, nullptr},
        {27, 0, 134, 0, nullptr},
        {39, -7, 225, -7, nullptr},
        {41, 9, 276, 9, nullptr},
        {43, 1, 274, 2, nullptr},
        {52, 1, 277, 6, nullptr},
        {56, 3, 322, 3, nullptr},
        {1, -1, 0, 0, "IsAppointRange(-1) out of range"},
        {5, 2, 0, 0, "p_nShutterMode(2) out of range"},
        {17, 2, 0, 0, "p_nShutterMode(2) out of range"},
        {54, 3, 0, 0, "p_nShutterMode(3) out of range"},
        {7, 22, 0, 0, "p_nFixShutter(22) out of range"},
        {16, 3, 0, 0, "p_nRoomIntOrOutMode(3) out of range"},
        {20, 4, 0, 0, "p_nMirror(4) out of range"},
        {21, 2, 0, 0, "setBeAwayMode(2) out of range"},
        {35, 0, 0, 0, "setSmartInfraredMode failed"},
        {40, 5, 0, 0, "setZoomMoveInterval failed"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("id " + std::to_string(c.id) + " value " + std::to_string(c.value));
        const int before = rig.stored(c.id);
        KviaSimulator::clearWriteLog();
        kvtest::StdoutCapture out;
        const int result = rig.set(c.id, c.value);
        const std::string text = out.text();
        EXPECT_TRUE(c.log == nullptr || contains(text, c.log)) << text;
        if (c.code != 0) {
            EXPECT_EQ(result, 1);
            EXPECT_EQ(IspRig::writes(c.code), std::vector<int>{c.written});
        } else {
            EXPECT_EQ(result, 0);
            for (const KviaSimulator::Write& w : KviaSimulator::writeLog())
                EXPECT_TRUE(w.code == 49 || w.code == KVIA_CODE_GPIO_OUTPUT) << w.code;
            EXPECT_EQ(rig.stored(c.id), before);
        }
    }
    // The focus interval's getter hands the interval to the driver again.
    KviaSimulator::clearWriteLog();
    int interval = 0;
    EXPECT_EQ(isp.getParameterFromSensor(41, interval), 1);
    EXPECT_EQ(interval, 9);
    EXPECT_EQ(IspRig::writes(276), std::vector<int>{9});
    EXPECT_EQ(isp.getParameterFromSensor(45, interval), -1);
    EXPECT_EQ(isp.getParameterFromSensor(43, interval), -1) << "set-only";
}

// A driver call that fails is logged with its error code and fails the set;
// the store keeps the last good value. Reads fail likewise.
TEST(IspManager, FailedDriverCallsKeepTheStoredValue) {
    IspRig rig;
    AmbaS2SenseController& isp = rig.init();
    ASSERT_EQ(rig.set(2, 70), 1);
    KviaSimulator::failCode(2, 0x55);
    kvtest::StdoutCapture out;
    EXPECT_EQ(rig.set(2, 80), 0);
    int value = 0;
    EXPECT_EQ(isp.getParameterFromSensor(2, value), 0);
    const std::string text = out.text();
    EXPECT_TRUE(contains(text, "CheckKVEWFIResult are failed! errcode:0x55")) << text;
    EXPECT_TRUE(contains(text, "setSaturation failed")) << text;
    EXPECT_TRUE(contains(text, "getSaturation failed ")) << text;
    EXPECT_EQ(rig.stored(2), 70);
    KviaSimulator::clearFailures();
    EXPECT_EQ(rig.set(2, 80), 1) << "the failed id is sent again";
    EXPECT_EQ(KviaSimulator::value(2), 80);
}

// Without the lamp ids 12/13 are the ISP's thresholds and keep their order;
// 32/33 write them unchecked. With the lamp 12/13 do nothing and 32/33 are
// the light sensor's, kept in order but written nowhere.
TEST(IspManager, ThresholdsWithAndWithoutTheLamp) {
    {
        IspRig rig;
        rig.init();
        KviaSimulator::clearWriteLog();
        kvtest::StdoutCapture out;
        EXPECT_EQ(rig.set(13, 40), 1);
        EXPECT_EQ(rig.set(12, 40), 0);
        EXPECT_EQ(rig.set(12, 41), 1);
        EXPECT_EQ(rig.set(13, 41), 0);
        EXPECT_EQ(rig.set(32, -5), 1);
        const std::string text = out.text();
        EXPECT_TRUE(contains(text, "Error:DTN<NTD @setDTNThreshold")) << text;
        EXPECT_TRUE(contains(text, "Error:DTN<NTD @setNTDThreshold")) << text;
        EXPECT_EQ(IspRig::writes(51), std::vector<int>{40});
        EXPECT_EQ(IspRig::writes(50), (std::vector<int>{41, -5}));
    }
    IspRig rig;
    rig.init(kLampDetail);
    EXPECT_TRUE(contains(rig.initOutput, "gpio group 4 pin  5  val 1")) << rig.initOutput;
    KviaSimulator::clearWriteLog();
    kvtest::StdoutCapture out;
    EXPECT_EQ(rig.set(12, 10), 1);
    EXPECT_EQ(rig.set(32, 25), 0) << "the lamp's night-to-day threshold is 30";
    EXPECT_EQ(rig.set(33, 75), 0) << "the lamp's day-to-night threshold is 70";
    EXPECT_EQ(rig.set(33, 20), 1);
    EXPECT_EQ(rig.set(32, 60), 1);
    const std::string text = out.text();
    EXPECT_TRUE(contains(text, "Error:DTN(25)<NTD(30) @setInfraredDTNThreshold")) << text;
    EXPECT_TRUE(contains(text, "Error:DTN(70)<NTD(75) @setInfraredNTDThreshold")) << text;
    EXPECT_TRUE(IspRig::writes(50).empty() && IspRig::writes(51).empty());

    // The light sensor's percent of 1428 against 100-20 (day) and 100-60
    // (night); in between the last state holds.
    ASSERT_EQ(rig.ctl->setDayNightMode(1), 1); // the worker leaves the sensor alone
    const struct {
        int adc;
        int status;
    } readings[] = {{1428, 1}, {1000, 1}, {571, 0}, {572, 0}, {1142, 0}, {1143, 1}, {0, 0}};
    for (const auto& r : readings) {
        rig.adc->setValue(r.adc);
        int status = -1;
        EXPECT_EQ(rig.ctl->getDNStatusFromLDR(status), 1);
        EXPECT_EQ(status, r.status) << "ADC " << r.adc;
    }
    rig.adc->setFailing(true);
    int status = -1;
    EXPECT_EQ(rig.ctl->getDNStatusFromLDR(status), 0);
}

// Automatic day/night from the ISP's light measure: dark goes to night at
// once, the band between the thresholds changes nothing, light returns to
// day after the switch delay.
TEST(IspManager, AutomaticDayNightFollowsTheLightMeasure) {
    IspRig rig;
    rig.init();
    const auto picture = [] {
        const std::vector<int> w = IspRig::writes(KVIA_CODE_DAYNIGHT);
        return w.empty() ? 0 : w.back();
    };
    EXPECT_EQ(picture(), 1) << "start-up puts the day picture on";
    KviaSimulator::setLightMeasure(80);
    ASSERT_TRUE(waitUntil([&] { return picture() == 2; }));
    EXPECT_TRUE(waitUntil([] { return IspRig::reads(KVIA_CODE_IRCUT_STATUS) > 0; }))
        << "night waits for the filter";

    KviaSimulator::setLightMeasure(45);
    const double start = PlatformClock::monotonicSeconds();
    EXPECT_FALSE(waitUntil([&] { return picture() != 2; }, 0.1)) << "the band holds";
    KviaSimulator::setLightMeasure(10);
    ASSERT_TRUE(waitUntil([&] { return picture() == 1; }));
    EXPECT_GE(PlatformClock::monotonicSeconds() - start, 5.0) << "the day delay";
}

// Mirror values 1 and 2 trade places while be-away mode is on; switching
// the mode with a mirror in force clears and sets the mirror again.
TEST(IspManager, MirrorFollowsBeAwayMode) {
    IspRig rig;
    rig.init();
    const struct {
        int id;
        int value;
        std::vector<std::vector<int>> writes; // {code, word}
    } steps[] = {
        {20, 1, {{113, 1}}}, {21, 1, {{113, 0}, {114, 1}, {113, 2}}}, {20, 2, {{113, 1}}},
        {20, 3, {{113, 3}}}, {21, 0, {{113, 0}, {114, 0}, {113, 3}}}, {20, 1, {{113, 1}}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(std::to_string(step.id) + "=" + std::to_string(step.value));
        KviaSimulator::clearWriteLog();
        EXPECT_EQ(rig.set(step.id, step.value), 1);
        std::vector<std::vector<int>> written;
        for (const KviaSimulator::Write& w : KviaSimulator::writeLog())
            if (w.code == 113 || w.code == 114)
                written.push_back({w.code, w.value});
        EXPECT_EQ(written, step.writes);
    }
}

// The driver alone: start-up texts with missing or malformed keys start with
// their messages; a refused pre-initialisation stops the start.
TEST(IspDriver, StartUpTextsAndTheirMessages) {
    kvtest::TestRoot root(0.01);
    const struct {
        const char* detail;
        const char* params;
        std::vector<const char*> messages;
        std::vector<int32_t> gpio; // last GPIO output, empty: none
    } cases[] = {
        {"",
         "",
         {"get autoFocus from detail failed", "get autoIris from detail failed",
          "get GPIOInfraredLight from detail failed", "get GPIO from detail failed"},
         {}},
        {"GPIOInfraredLight=1,2",
         "GPIO=1,2,3x",
         {"parse GPIOInfraredLight param failed,nRet=2", "parse GPIO param failed,nRet=3"},
         {}},
        {"a;b", "GPIO", {"parse detail failed", "parse senseParameter failed"}, {}},
        {kLampDetail, kParams, {"gpio group 4 pin  5  val 1"}, {1, 7, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.detail);
        KviaSimulator::reset();
        AmbaS2SenseController isp;
        int value = 0;
        EXPECT_EQ(isp.getParameterFromSensor(1, value), 0) << "not configured yet";
        kvtest::StdoutCapture out;
        EXPECT_EQ(isp.initController(80, ModuleConfigure(80, c.detail, c.params)), 1);
        const std::string text = out.text();
        for (const char* message : c.messages)
            EXPECT_TRUE(contains(text, message)) << message << "\n" << text;
        if (c.gpio.empty())
            EXPECT_TRUE(IspRig::writes(KVIA_CODE_GPIO_OUTPUT).empty());
        else
            EXPECT_EQ(KviaSimulator::words(KVIA_CODE_GPIO_OUTPUT), c.gpio);
        EXPECT_EQ(isp.updateSensorVideoSystem(2, VideoResolution()), 0);
    }
    KviaSimulator::reset();
    KviaSimulator::failPreinit(0x21);
    AmbaS2SenseController isp;
    kvtest::StdoutCapture out;
    EXPECT_EQ(isp.initController(80, ModuleConfigure(80, kDetail, kParams)), 0);
    EXPECT_TRUE(contains(out.text(), "kvia_preinit"));
    KviaSimulator::reset();
}

// Towards night the filter's status is polled every 20 ms until it settles,
// for at most 1 s, then 40 ms more; a refused picture write stops at once.
TEST(IspDriver, NightWaitsForTheFilterAtMostOneSecond) {
    kvtest::TestRoot root(0.1);
    const struct {
        double settle; // < 0: jammed
        bool fail;
        double minSeconds;
        double maxSeconds;
        int result;
    } cases[] = {{0.3, false, 0.34, 5.0, 1}, {-1.0, false, 1.04, 6.0, 1}, {0.3, true, 0, 5.0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.settle);
        KviaSimulator::reset();
        KviaSimulator::setIrCutSettleTime(c.settle);
        if (c.fail)
            KviaSimulator::failCode(KVIA_CODE_DAYNIGHT, 1);
        AmbaS2SenseController isp;
        kvtest::StdoutCapture out;
        const double start = PlatformClock::monotonicSeconds();
        EXPECT_EQ(isp.turnPictureToNight(), c.result);
        const double took = PlatformClock::monotonicSeconds() - start;
        EXPECT_GE(took, c.minSeconds);
        EXPECT_LT(took, c.maxSeconds);
        EXPECT_EQ(IspRig::reads(KVIA_CODE_IRCUT_STATUS) > 1, !c.fail);
        EXPECT_EQ(contains(out.text(), "still moving"), c.settle < 0);
    }
    KviaSimulator::reset();
}

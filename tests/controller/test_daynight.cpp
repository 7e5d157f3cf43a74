// Day/night switching: modes, delay, switch times, status sources, IR-cut orders, worker thread.
// labels: threaded
#include "platform/KVDeviceTime.h"
#include "platform/PlatformClock.h"
#include "platform/SysfsGPIO.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

// One ordered record of picture hooks and GPIO moves, safe across threads.
struct Events {
    void add(const std::string& event) {
        std::lock_guard<std::mutex> lock(mutex);
        list.push_back(event);
    }
    Strings take() {
        std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(list, {});
    }
    std::mutex mutex;
    Strings list;
};

// Sysfs GPIO under the test root that also notes each move as "<N>=<level>".
class NotingGPIO : public SysfsGPIO {
public:
    explicit NotingGPIO(Events& events) : m_events(events) {}
    int setLevel(int group, int pin, int level) override {
        m_events.add(std::to_string(group * 32 + pin) + "=" + std::to_string(level));
        return SysfsGPIO::setLevel(group, pin, level);
    }

private:
    Events& m_events;
};

class DNController : public kvtest::RecordingController {
public:
    using ISensorController::m_nDTNTime;
    using ISensorController::m_nHDRMode;
    using ISensorController::m_nNTDTime;
    Events events;

    // Filter line gpio37 (day 1), IR lamps gpio3 (day 0), light sensor gpio64 (day 1).
    void attachGPIO() {
        m_pGPIO = SafePointer<IGPIO>(new NotingGPIO(events));
        m_objFilterGPIO = {1, 5, 1};
        m_objInfraredGPIO = {0, 3, 0};
        m_objLDRGPIO = {2, 0, 1};
    }
    // One pass of the switch; returns the day/night state after it.
    int pass() {
        EXPECT_EQ(DNSwitchHandle(), 1);
        return m_nDNState;
    }
    int turnToAutoDayNightMode() override { return note("auto", 1); }
    int turnToManualDayNightMode() override { return note("manual", 1); }
    int turnPictureToDay() override {
        return note("picture day", RecordingController::turnPictureToDay());
    }
    int turnPictureToNight() override {
        return note("picture night", RecordingController::turnPictureToNight());
    }
    int updateHDRMode(int mode) override { return note("hdr " + std::to_string(mode), 1); }
    int note(const std::string& what, int result) {
        events.add(what);
        return result;
    }
};

const char* const kFilterValue = "/sys/class/gpio/gpio37/value";
const char* const kInfraredValue = "/sys/class/gpio/gpio3/value";
const char* const kLDRValue = "/sys/class/gpio/gpio64/value";

// Runs the device clock fast for `seconds`, then back at real speed, so that
// the delay seen by the next pass is the one the test means. A late wake-up
// adds 50 device ms per real ms: tests keep a margin of seconds.
void advance(double seconds) {
    PlatformClock::setTimeScale(0.02);
    PlatformClock::sleepFor(PlatformClock::Duration(seconds));
    PlatformClock::setTimeScale(1.0);
}

TEST(DayNightTest, SwitchTimeSettersKeepTheOtherHalfAndRefuseEqualTimes) {
    kvtest::TestRoot root(1.0);
    DNController ctrl;
    ctrl.m_nDTNTime = 6677;
    ctrl.m_nNTDTime = 600;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setDTNTime_H(18), 1); // keeps the old minute
    EXPECT_EQ(ctrl.m_nDTNTime, 1877);
    EXPECT_EQ(ctrl.setDTNTime_M(0), 1);
    // Once running, equal times are refused, except while a reset re-applies values.
    ctrl.m_bisInited = true;
    EXPECT_EQ(ctrl.setNTDTime_H(18), 0);
    EXPECT_EQ(ctrl.m_nNTDTime, 600);
    // Hours and minutes have no range of their own; only a time beyond an int is refused.
    EXPECT_EQ(ctrl.setDTNTime_H(25), 1);
    EXPECT_EQ(ctrl.m_nDTNTime, 2500);
    EXPECT_EQ(ctrl.setNTDTime_M(-1), 1);
    EXPECT_EQ(ctrl.m_nNTDTime, 599);
    EXPECT_EQ(ctrl.setDTNTime_M(2147483647), 0);
    EXPECT_EQ(ctrl.m_nDTNTime, 2500);
    ctrl.m_bisReset = true;
    EXPECT_EQ(ctrl.setNTDTime_H(25), 1);
    EXPECT_EQ(ctrl.setNTDTime_M(0), 1); // equal times pass while a reset re-applies values
    EXPECT_EQ(ctrl.m_nNTDTime, 2500);
}

TEST(DayNightTest, ByTimeOfDayInBothOrdersAndWithEqualTimes) {
    kvtest::TestRoot root(1.0);
    DNController ctrl;
    const struct {
        int dtn, ntd, hour, minute, status;
    } cases[] = {{1800, 600, 17, 59, 1}, {1800, 600, 18, 0, 0}, {1800, 600, 5, 59, 0},
                 {1800, 600, 6, 0, 1},   {100, 500, 0, 59, 1},  {100, 500, 1, 0, 0},
                 {100, 500, 4, 59, 0},   {100, 500, 5, 0, 1}};
    for (const auto& c : cases) {
        ctrl.m_nDTNTime = c.dtn;
        ctrl.m_nNTDTime = c.ntd;
        PlatformClock::setTimeOfDay(c.hour, c.minute);
        int status = -1;
        EXPECT_EQ(ctrl.DNSwitchByTime(status), 1);
        EXPECT_EQ(status, c.status) << c.dtn << "/" << c.ntd << " at " << c.hour << ":" << c.minute;
    }
    // Mode 3 through a whole pass.
    ctrl.m_bIntegratedModule = true;
    ctrl.m_nDTNTime = 1800;
    ctrl.m_nNTDTime = 600;
    PlatformClock::setTimeOfDay(19, 0);
    EXPECT_EQ(ctrl.setDayNightMode(3), 1);
    EXPECT_EQ(ctrl.pass(), 0);
    EXPECT_EQ(ctrl.events.take(), (Strings{"manual", "picture night"}));
    // Equal times decide nothing.
    ctrl.m_nNTDTime = 1800;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.DNSwitchHandle(), 0);
    EXPECT_EQ(ctrl.m_nDNState, 0);
}

TEST(DayNightTest, AutomaticModeGoesToNightAtOnceAndToDayAfterTheDelay) {
    kvtest::TestRoot root(1.0);
    DNController ctrl;
    ctrl.m_bIntegratedModule = true;
    EXPECT_EQ(ctrl.setDayNightMode(0), 1);
    // Module reading and seconds waited before each pass, state after it. A
    // night reading interrupts: the next day reading waits the full delay again.
    const struct {
        int reading;
        double wait;
        int state;
    } passes[] = {{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 3, 0}, {1, 2, 1},
                  {0, 0, 0}, {1, 0, 0}, {1, 3, 0}, {1, 2, 1}};
    for (const auto& p : passes) {
        ctrl.dnStatusFromSensor = p.reading;
        advance(p.wait);
        EXPECT_EQ(ctrl.pass(), p.state) << p.reading << " after " << p.wait;
    }
    EXPECT_EQ(ctrl.events.take(),
              (Strings{"auto", "picture night", "picture day", "picture night", "picture day"}));
    const Strings calls = ctrl.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "set2AParam 1"), 2);

    // An unreadable module decides nothing.
    ctrl.dnStatusResult = 0;
    ctrl.dnStatusFromSensor = 0;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.pass(), 1);
}

TEST(DayNightTest, ForcedModesSwitchOnceAndTheModuleModeOnlyFollows) {
    kvtest::TestRoot root(0.001);
    DNController ctrl;
    ctrl.m_bIntegratedModule = true;
    ctrl.m_nHDRMode = 3;
    ctrl.setDayNightMode(2);
    ctrl.pass();
    EXPECT_EQ(ctrl.pass(), 0);
    ctrl.setDayNightMode(1);
    ctrl.pass();
    EXPECT_EQ(ctrl.pass(), 1);
    EXPECT_EQ(ctrl.events.take(),
              (Strings{"manual", "hdr 2", "picture night", "manual", "hdr 1", "picture day"}));

    // Module-controlled: the module is put in its own automatic mode once and
    // its reported state is followed without switching anything.
    ctrl.setDayNightMode(4);
    ctrl.dnStatusFromSensor = 0;
    ctrl.clearRecords();
    ctrl.pass();
    EXPECT_EQ(ctrl.pass(), 0);
    EXPECT_EQ(ctrl.calls(), (Strings{"enterAutoMode", "set2AParam 0", "set2AParam 0"}));
    EXPECT_TRUE(ctrl.events.take().empty());

    // A failing picture hook leaves the state alone.
    ctrl.setDayNightMode(2);
    ctrl.turnNightResult = 0;
    ctrl.m_nDNState = 1;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.DNSwitchHandle(), 0);
    EXPECT_EQ(ctrl.m_nDNState, 1);
}

TEST(DayNightTest, IrCutAndLampOrdersForEachHardwareSetup) {
    kvtest::TestRoot root(0.001);
    for (const char* file : {kFilterValue, kInfraredValue, kLDRValue})
        root.writeFile(file, "0");
    DNController ctrl;
    ctrl.attachGPIO();
    const struct {
        int source;
        bool board, integrated;
        Strings night, day;
    } cases[] = {
        {0, false, false, {"picture night", "37=0"}, {"37=1", "picture day"}},
        {2, true, false, {"picture night", "37=0"}, {"37=1", "picture day"}},
        {1, false, false, {"picture night"}, {"picture day"}},
        {0, true, true, {"picture night"}, {"picture day"}},
        {1, true, false, {"picture night", "37=0", "3=1"}, {"3=0", "37=1", "picture day"}},
    };
    for (const auto& c : cases) {
        ctrl.m_nDNSource = c.source;
        ctrl.m_bIRBoard = c.board;
        ctrl.m_bIntegratedModule = c.integrated;
        ctrl.m_nDNState = -1;
        EXPECT_EQ(ctrl.enterNightMode(), 1);
        EXPECT_EQ(ctrl.events.take(), c.night) << c.source << c.board << c.integrated;
        EXPECT_EQ(ctrl.enterDayMode(), 1);
        EXPECT_EQ(ctrl.events.take(), c.day) << c.source << c.board << c.integrated;
    }
    // The lines hold the levels of the last (day) switch.
    EXPECT_EQ(root.readFile(kFilterValue), "1");
    EXPECT_EQ(root.readFile(kInfraredValue), "0");

    // 100 ms between the two moves.
    const double before = KVDeviceTime::getSeconds();
    EXPECT_EQ(ctrl.SwitchInfraredIrCutToNight(), 1);
    EXPECT_GE(KVDeviceTime::getSeconds() - before, 0.1);

    // A failed move reports and stops the switch.
    ctrl.events.take();
    ctrl.m_objFilterGPIO.m_nGroup = 99;
    ctrl.m_nDNState = 0;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.enterDayMode(), 0);
    EXPECT_EQ(ctrl.m_nDNState, 0);
    EXPECT_EQ(ctrl.events.take(), (Strings{"3=0", "3173=1"}));
}

TEST(DayNightTest, StatusSourcesAndTheirFailures) {
    kvtest::TestRoot root(0.001);
    DNController ctrl;
    int status = -1;
    // Without a GPIO controller every line read fails cleanly.
    ctrl.m_nDNSource = 1;
    EXPECT_EQ(ctrl.getCurrentDNStatus(status), 0);
    EXPECT_EQ(ctrl.getDNStatusFromLDR(status), 0);

    // A plain GPIO input switches to day without the delay.
    ctrl.attachGPIO();
    root.writeFile(kFilterValue, "0");
    ctrl.setDayNightMode(0);
    EXPECT_EQ(ctrl.pass(), 0);
    root.writeFile(kFilterValue, "1");
    EXPECT_EQ(ctrl.pass(), 1);

    // With a lamp board the light sensor decides.
    ctrl.m_bIRBoard = true;
    root.writeFile(kLDRValue, "0");
    EXPECT_EQ(ctrl.getCurrentDNStatus(status), 1);
    EXPECT_EQ(status, 0);
    // Light sensor only, without a board: no source at all.
    ctrl.m_bIRBoard = false;
    ctrl.m_nDNSource = 2;
    status = 7;
    EXPECT_EQ(ctrl.getCurrentDNStatus(status), 0);
    EXPECT_EQ(status, 7);
    // An unreadable line fails.
    kvtest::StdoutCapture out;
    ctrl.m_nDNSource = 1;
    std::remove(root.path(kFilterValue).c_str());
    EXPECT_EQ(ctrl.getCurrentDNStatus(status), 0);
}

// The worker thread switches schemes and day/night while the host changes the
// scheme, the mode and parameters; run under ThreadSanitizer as well.
TEST(DayNightTest, WorkerThreadRunsAlongsideTheHost) {
    kvtest::TestRoot root(0.001);
    root.writeFile("/mnt/mtd/code/config_file/sensor_Factory.cfg", "(1,99)");
    for (int i = 1; i <= 4; ++i)
        root.writeFile("/mnt/mtd/code/config_file/sensor" + std::to_string(i) + ".cfg",
                       "(1," + std::to_string(i) + ")(2,7)(500,1)(501,8)(502,0)(503,18)(504,0)");
    root.writeFile(kFilterValue, "0");
    DNController ctrl;
    ctrl.attachGPIO();
    ASSERT_EQ(ctrl.initParamSchemeList(), 1);
    ASSERT_EQ(ctrl.createSensorXML(), 1);
    ctrl.setParamSchemeStartTime(0, 800);
    ctrl.setParamSchemeEndTime(0, 1800);
    ctrl.setParamSchemeEnableFlag(0, 1);
    ctrl.m_bisInited = true;
    PlatformClock::setTimeOfDay(17, 58);

    kvtest::StdoutCapture out;
    ASSERT_NE(ctrl.m_DNChangeThread->start(), 0);
    for (int i = 0; i < 60; ++i) {
        ctrl.setParamScheme(i % 4);
        ctrl.setDayNightMode(i % 5);
        ctrl.setParameters("(1," + std::to_string(100 + i) + ")(2," + std::to_string(i) + ")");
        ctrl.setParamMode(i % 3 == 0 ? 0 : 1);
        ctrl.setDTNTime_H(i % 24);
        int value = 0;
        ctrl.getParamScheme(value);
        PlatformClock::sleepFor(PlatformClock::Duration(1.0));
    }
    ctrl.m_DNChangeThread->stop();
    int scheme = -1;
    EXPECT_EQ(ctrl.getParamSchemeFromFile(scheme), 1);
    EXPECT_GE(ctrl.m_nParamScheme, 0);
    EXPECT_LT(ctrl.m_nParamScheme, 4);
    const Strings calls = ctrl.calls(); // the worker did run passes
    EXPECT_GT(std::count_if(calls.begin(), calls.end(),
                            [](const std::string& c) { return c.rfind("set2AParam", 0) == 0; }),
              0);
}

} // namespace

// The ITN controller against the simulated module on a pty: settings as the module stores them,
// the GPIO day/night thread by mode, faults.
// labels: threaded
#include "drivers/PtyBench.h"
#include "drivers/modules/ITNSenseController.h"
#include "platform/KovantTime.h"
#include "sim/ItnSimulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace {

using kvtest::contains;

// The day/night input line; every other line reads 0.
class InputLine : public IGPIO {
public:
    std::atomic<int> level{1};
    int getLevel(int group, int pin, int& out) override {
        out = group == 0 && pin == 20 ? level.load() : 0;
        return 1;
    }
    int setLevel(int, int, int) override { return 1; }
    int initComplete() override { return 1; }
};

class Bench : public kvtest::PtyBench<ITNSenseController> {
public:
    int start(InputLine* line, const char* parameters = "RS232=9600,8,0,1;GPIO=0,20,1") {
        return PtyBench::start("RS232DeviceName=/dev/ttyS1", parameters, line);
    }
};

class ItnController : public ::testing::Test {
protected:
    void link(const ItnSimulator& sim) { kvtest::linkSerialDevice(m_root, sim.slavePath()); }
    // Exchange time-out 3 tenths: 30 ms real; a thread pass 100 ms.
    kvtest::TestRoot m_root{0.1};
};

constexpr int key(int group, int reg, int sub = 0) {
    return ITNSenseController::key(group, sub, reg);
}

} // namespace

// Settings reach the registers as the module documents them; refusals send
// nothing and keep what the module has; reads come back from the module.
TEST_F(ItnController, SettingsAsTheModuleStoresThem) {
    ItnSimulator sim;
    link(sim);
    Bench ctl;
    ASSERT_EQ(ctl.start(new InputLine()), 1);
    ctl.stopSwitchThread(); // only this test's frames on the line
    const kvtest::SettingStep steps[] = {
        {1, 100, 1, {{key(0x1A, 0x05), 255}}, ""},
        {1, 101, 0, {{key(0x1A, 0x05), 255}}, "p_Brightness is out of range,p_WDR = 101"},
        {6, 4, 0, {}, "p_WDR is out of range,p_WDR = 4"},
        {14, 5, 1, {{key(0x15, 0x24), 0x85}}, ""},
        {15, 2, 1, {{key(0x15, 0x24), 0x25}}, ""},
        {8, 4000, 1, {{key(0x15, 0x32), 4000}}, ""},
        {21, 700, 1, {{key(0x1B, 0x58, 5), 700}}, ""},
        {23, 50, 1, {{key(0x1D, 0x20), 1}, {key(0x1D, 0x21), 127}, {key(0x1D, 0x22), 127}}, ""},
        {24, 0, 1, {{key(0x1D, 0x30), 0}, {key(0x1D, 0x31), 0}}, ""},
        {25, 4, 0, {}, "setDayNightMode(4) is out of range"},
        {27, 1, -1, {}, ""},
    };
    kvtest::checkSettings(ctl, sim, steps);
    const struct {
        int id;
        int value;
    } reads[] = {{1, 100}, {14, 5}, {15, 2}, {8, 4000}, {21, 700}, {23, 50}, {24, 0}};
    for (const auto& r : reads) {
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(r.id, value), 1) << r.id;
        EXPECT_EQ(value, r.value) << r.id;
    }
}

// Start-up needs the record's GPIO line and a module that answers.
TEST_F(ItnController, StartUpRecord) {
    ItnSimulator sim;
    link(sim);
    const struct {
        const char* parameters;
        const char* log;
    } records[] = {
        {"RS485=9600,8,0,1;GPIO=0,20,1", "get RS232Parameter from senseParameter failed"},
        {"RS232=9600,8,0;GPIO=0,20,1", "parse RS232 param failed,nRet=3"},
        {"RS232=9600,8,0,1;GPIO=0,20", "parse GPIO param failed,nRet=2"},
        {"RS232=9600,8,0,1", "get GPIO from senseParameter failed"},
    };
    for (const auto& r : records) {
        SCOPED_TRACE(r.parameters);
        Bench ctl;
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.start(new InputLine(), r.parameters), 0);
        EXPECT_TRUE(contains(out.text(), r.log)) << out.text();
    }
    sim.setSilence();
    Bench ctl;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctl.start(new InputLine()), 0);
    EXPECT_TRUE(contains(out.text(), "Init getMirror Value failed"));
}

// The thread follows the mode: automatic from the input line (night at once,
// day after the switch delay), forced day or night; a wrong mode is logged.
TEST_F(ItnController, DayNightThreadFollowsTheInputLine) {
    ItnSimulator sim;
    link(sim);
    auto* line = new InputLine();
    Bench ctl;
    ASSERT_EQ(ctl.start(line), 1);
    // A 10 s delay: 1 s real, far longer than a pass on a loaded machine.
    ASSERT_EQ(ctl.setParameterToSensor(26, 10), 1);
    const auto becomes = [&](int value) {
        return kvtest::waitUntil([&] { return sim.dayNightValue() == value; });
    };
    line->level = 0;
    EXPECT_TRUE(becomes(ITNSenseController::kNightValue));
    line->level = 1;
    KovantTime::wait(KovantTime(2, 0));
    EXPECT_EQ(sim.dayNightValue(), ITNSenseController::kNightValue) << "day waits the delay";
    EXPECT_TRUE(becomes(ITNSenseController::kDayValue));
    ASSERT_EQ(ctl.setParameterToSensor(25, 2), 1);
    EXPECT_TRUE(becomes(ITNSenseController::kNightValue));
    EXPECT_TRUE(kvtest::waitUntil([&] {
        int state = -1;
        return ctl.getDayNightState(state) == 1 && state == 0;
    }));
    kvtest::StdoutCapture out;
    ctl.setDayNightMode(7);
    KovantTime::wait(KovantTime(5, 0)); // five passes, or a few on a loaded machine
    const std::string log = out.text();
    EXPECT_TRUE(contains(log, "ThreadBody failed , m_nDayNightSetup (7) is wrong"));
    EXPECT_EQ(log.find("m_nDayNightSetup (7)"), log.rfind("m_nDayNightSetup (7)")) << "once";
}

// A silent, wrong-checksum, over-long or refusing module fails the setting
// with its message and the input drained; the module's value stays; once it
// recovers all works again.
TEST_F(ItnController, FaultsEndInBoundedFailures) {
    ItnSimulator sim;
    link(sim);
    Bench ctl;
    ASSERT_EQ(ctl.start(new InputLine()), 1);
    ctl.stopSwitchThread();
    ASSERT_EQ(ctl.setParameterToSensor(2, 40), 1);
    const struct {
        const char* fault;
        std::function<void()> set;
        const char* log;
    } faults[] = {
        {"silence", [&] { sim.setSilence(); }, "recv ResultCode failed,nRecvLength=0"},
        {"wrong checksum", [&] { sim.setWrongChecksum(); }, "setParameterValue error,nRet = -2"},
        {"over-long count", [&] { sim.setOverlongCount(); },
         "recv code failed,first recv code = 0xff"},
        {"cut short", [&] { sim.setCutShort(3); }, "__recv failed,nRet = 2 !=4"},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.fault);
        sim.clearFaults();
        f.set();
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.setParameterToSensor(2, 80), 0);
        EXPECT_TRUE(contains(out.text(), f.log)) << out.text();
        EXPECT_EQ(sim.registerValue(key(0x1A, 0x06)),
                  f.fault == std::string("silence") ? 102 : 204);
        sim.clearFaults();
        sim.setRegisterValue(key(0x1A, 0x06), 102);
    }
    EXPECT_EQ(ctl.setParameterToSensor(2, 80), 1);
    EXPECT_EQ(sim.registerValue(key(0x1A, 0x06)), 204);
}

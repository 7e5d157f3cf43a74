// The IT1 controllers against the simulated module on a pty: start-up, settings as the module
// stores them, the light-level day/night thread, faults, the zoom module's lens frames.
// labels: threaded
#include "drivers/PtyBench.h"
#include "drivers/modules/IT1SenseController.h"
#include "drivers/modules/IT1ZoomModuleSenseController.h"
#include "sim/It1Simulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <functional>
#include <string>
#include <vector>

namespace {

using kvtest::contains;

const char* const kDetail = "RS232DeviceName=/dev/ttyS1";
const char* const kParameters = "RS485=9600,8,0,1";

template <class T>
class Bench : public kvtest::PtyBench<T> {
public:
    int start() { return kvtest::PtyBench<T>::start(kDetail, kParameters); }
};

class It1Controllers : public ::testing::Test {
protected:
    void link(const It1Simulator& sim) { kvtest::linkSerialDevice(m_root, sim.slavePath()); }
    // Exchange time-out 6 tenths: 30 ms real, ample for the simulator on a
    // loaded machine; a day/night pass 50 ms.
    kvtest::TestRoot m_root{0.05};
};

} // namespace

// Settings reach the registers as the module documents them; refusals send
// nothing and keep what the module has; reads come back from the module.
TEST_F(It1Controllers, SettingsAsTheModuleStoresThem) {
    It1Simulator sim;
    link(sim);
    Bench<IT1SenseController> ctl;
    ASSERT_EQ(ctl.start(), 1);
    ctl.stopSwitchThread(); // only this test's frames on the line
    const int mirrorBefore = sim.registerValue(0x1500);
    const int chroma = sim.registerValue(0x141F);
    const kvtest::SettingStep steps[] = {
        {1, 55, 1, {{0x0A03, 55}}, ""},
        {1, 101, 0, {{0x0A03, 55}}, "p_nBrightness(101) is out of range"},
        {2, 100, 1, {{0x1402, 255}, {0x1403, 255}}, ""},
        {6, 3, 1, {{0x1500, (mirrorBefore & ~3) | 3}}, ""},
        {13, 2, 1, {}, ""},
        {14, 1, 1, {}, ""},
        {12, 0x2A5, 1, {{0x0A15, 0x02}, {0x0A16, 0xA5}}, ""},
        {12, 1024, 0, {{0x0A15, 0x02}}, "invalid value"},
        {9, 5, 1, {}, ""}, // automatic mode: kept for later
        {8, 1, 1, {{0x0A08, 1000}, {0x0A0C, 1000}}, ""},
        {10, 3, 1, {{0x0A08, 1000}}, ""}, // fixed mode: kept for later
        {8, 0, 1, {{0x0A08, 250}, {0x0A0C, 10000}}, ""},
        {11, 2, 0, {{0x0A0C, 10000}}, "set MaxShutterValue < MinShutterValue!"},
        {18, 200, 0, {}, "Error : NTD(200) is more than DTN(160)"},
        {17, 50, 0, {}, "Error : DTN(50) is less than NTD(96)"},
        {17, 200, 1, {{0x1412, 200}}, ""},
        {19, 100, 1, {{0x141F, chroma * 2}}, ""},
        {22, 77, 1, {{0x0A27, 77}, {0x0A2A, 77}}, ""},
        {7, 1, -1, {}, ""},
    };
    kvtest::checkSettings(ctl, sim, steps);
    EXPECT_EQ(sim.registerValue(0x0A01) & 0x13, 0x12);
    const struct {
        int id;
        int value;
    } reads[] = {{1, 55}, {2, 100}, {6, 3}, {13, 2}, {14, 1}, {12, 0x2A5}, {10, 3}, {17, 200}};
    for (const auto& r : reads) {
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(r.id, value), 1) << r.id;
        EXPECT_EQ(value, r.value) << r.id;
    }
}

// The thread turns the light value into a level and a result: night above
// the day-to-night threshold, day below the night-to-day one, and between
// them the last result holds. The base takes a pending switch once.
TEST_F(It1Controllers, DayNightFollowsTheLightLevelWithABand) {
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(0), INT_MIN);
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(126), 0); // -0.73: the integer part
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(64), -32);
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(128), 0);
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(1024), 96);
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(4096), 160);
    EXPECT_EQ(IBaseIT1SenseController::lightLevel(65535), 287);

    It1Simulator sim;
    link(sim);
    sim.setLightValue(2048); // level 128: inside the band from the start
    Bench<IT1SenseController> ctl;
    ASSERT_EQ(ctl.start(), 1);
    const struct {
        int light;
        int state; // 1 day, 0 night
    } steps[] = {{2048, 1}, {16384, 0}, {2048, 0}, {4096, 0},
                 {1024, 0}, {512, 1},   {4097, 1}, {5000, 0}};
    for (const auto& s : steps) {
        SCOPED_TRACE("light " + std::to_string(s.light));
        sim.setLightValue(s.light);
        sim.clearFrames();
        // Two whole passes of the thread after the change.
        ASSERT_TRUE(sim.waitForFrames(2, 5.0));
        int state = -1;
        EXPECT_EQ(ctl.getDayNightState(state), 1);
        EXPECT_EQ(state, s.state);
    }
    EXPECT_EQ(ctl.pendingSwitch(), 0);
    int status = -1;
    EXPECT_EQ(ctl.getDNStatusFromSensor(status), 1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ctl.pendingSwitch(), -1);
    // A module that stops answering has no state until it answers again.
    sim.setSilence();
    sim.clearFrames();
    ASSERT_TRUE(sim.waitForFrames(3, 5.0));
    EXPECT_EQ(ctl.getDNStatusFromSensor(status), 0);
    sim.clearFaults();

    // The night picture is bit 6 of the mode register, the other bits kept.
    const int mode = sim.registerValue(0x0101);
    EXPECT_EQ(ctl.turnPictureToNight(), 1);
    EXPECT_EQ(sim.registerValue(0x0101), mode | 0x40);
    EXPECT_EQ(ctl.turnPictureToDay(), 1);
    EXPECT_EQ(sim.registerValue(0x0101), mode & ~0x40);
}

// A silent, garbage-sending, wrong-checksum or over-long-answering module
// fails each operation within its two attempts, with the module's message;
// the stored value stays (a silent module also keeps its register), and once
// the module recovers all works again.
TEST_F(It1Controllers, FaultsEndInBoundedFailures) {
    It1Simulator sim;
    link(sim);
    Bench<IT1SenseController> ctl;
    ASSERT_EQ(ctl.start(), 1);
    ctl.stopSwitchThread(); // only this test's frames on the line
    ASSERT_EQ(ctl.setParameter(1, 40), 1);
    const struct {
        const char* fault;
        std::function<void()> set;
        const char* log;
    } faults[] = {
        {"wrong checksum", [&] { sim.setWrongChecksum(); }, "checkSum error"},
        {"over-long count", [&] { sim.setOverlongCount(); }, "setParameterValue error,nRet = -4"},
        {"cut short", [&] { sim.setCutShort(3); }, "recv data failed"},
        {"garbage",
         [&] {
             sim.setGarbage({0x81, 0x90, 0x41, 0xFF});
         },
         "setBrightness failed"},
        {"silence", [&] { sim.setSilence(); }, "recv dataCount failed,nRecvLength=0"},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.fault);
        sim.clearFaults();
        f.set();
        sim.clearFrames();
        kvtest::StdoutCapture out;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(ctl.setParameter(1, 90), 0);
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(3, value), 0);
        const auto took = std::chrono::steady_clock::now() - start;
        const std::string log = out.text();
        EXPECT_LT(took, std::chrono::seconds(5));
        EXPECT_EQ(sim.frames().size(), 4u) << "two attempts each";
        EXPECT_TRUE(contains(log, f.log)) << log;
        EXPECT_TRUE(contains(log, "setBrightness failed")) << log;
        EXPECT_TRUE(contains(log, "get setGama(0) failed")) << log;
        EXPECT_EQ(ctl.getParameter(1, value), 1);
        EXPECT_EQ(value, 40);
    }
    EXPECT_EQ(sim.registerValue(0x0A03), 90) << "the module took the writes whose answers failed";
    sim.clearFaults();
    EXPECT_EQ(ctl.setParameter(1, 90), 1);
    int value = -1;
    EXPECT_EQ(ctl.getParameterFromSensor(1, value), 1);
    EXPECT_EQ(value, 90);
}

// Start-up: the record's refusals, the module's reads, and a silent module.
TEST_F(It1Controllers, StartUpReadsTheRecordAndTheModule) {
    It1Simulator sim;
    link(sim);
    const struct {
        const char* detail;
        const char* parameters;
        bool silent;
        const char* log; // nullptr: start-up succeeds
    } records[] = {
        {"isInfrared=0", kParameters, false, "get RS232DeviceName from detail failed"},
        {kDetail, "RS485=9600,8", false, "parse RS485 param failed,nRet=2"},
        {"RS232DeviceName=/dev/ttyS7", kParameters, false, "open UART(/dev/ttyS7) failed"},
        {kDetail, kParameters, true, "Init Low Shutter Value failed"},
        {kDetail, kParameters, false, nullptr},
    };
    for (const auto& r : records) {
        SCOPED_TRACE(r.detail + std::string(" / ") + r.parameters);
        IT1SenseController ctl;
        ctl.setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                        SafePointer<IGPIO>(new SysfsGPIO()));
        if (r.silent)
            sim.setSilence();
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.initController(0, ModuleConfigure(0, r.detail, r.parameters)), r.log ? 0 : 1);
        if (r.log != nullptr) {
            EXPECT_TRUE(contains(out.text(), r.log)) << out.text();
        }
        sim.clearFaults();
    }
    // Before start-up nothing reaches the module.
    IT1SenseController idle;
    EXPECT_EQ(idle.setParameterToSensor(1, 50), 0);
}

// The zoom module's lens frames go out VISCA-style on the same line; a
// module that does not take them fails the setting.
TEST_F(It1Controllers, ZoomLensFrames) {
    It1Simulator sim(findIt1Model("zoom"));
    link(sim);
    Bench<IT1ZoomModuleSenseController> ctl;
    ASSERT_EQ(ctl.start(), 1);
    EXPECT_EQ(ctl.setParameterToSensor(IT1ZoomModuleSenseController::kAutoFocus, 2), 1);
    EXPECT_EQ(ctl.setParameterToSensor(IT1ZoomModuleSenseController::kAdjustLens, 1), 1);
    EXPECT_EQ(ctl.setParameterToSensor(IT1ZoomModuleSenseController::kAutoFocus, 4), 0);
    EXPECT_EQ(sim.lensPresets(), (std::vector<int>{0x12, 0x03}));
    EXPECT_EQ(ctl.setParameterToSensor(IT1ZoomModuleSenseController::kIrisLevel, 9), 1);
    EXPECT_EQ(sim.registerValue(0x0A29), 9);
    int preset = -1;
    EXPECT_EQ(ctl.getParameterFromSensor(IT1ZoomModuleSenseController::kAutoFocus, preset), 1);
    EXPECT_EQ(preset, 2);

    It1Simulator plain;
    link(plain);
    Bench<IT1ZoomModuleSenseController> fixed;
    ASSERT_EQ(fixed.start(), 1);
    kvtest::StdoutCapture out;
    EXPECT_EQ(fixed.setAdjustLens(), 0);
    EXPECT_TRUE(contains(out.text(), "send data failed nRet=0")) << out.text();
}

// The Seawolf controller against the simulated module on a pty: start-up, settings as the
// module stores them, the light-level day/night and picture, the video system, faults.
// labels: threaded
#include "drivers/PtyBench.h"
#include "drivers/modules/SeawolfSenseController.h"
#include "sim/SeawolfSimulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace {

using kvtest::contains;
using Ctl = SeawolfSenseController;

const char* const kDetail = "RS232DeviceName=/dev/ttyS1";
const char* const kParameters = "RS485=9600,8,0,1";

class Bench : public kvtest::PtyBench<SeawolfSenseController> {
public:
    int start(const char* detail = kDetail) { return PtyBench::start(detail, kParameters); }
};

class SeawolfController : public ::testing::Test {
protected:
    void SetUp() override { kvtest::linkSerialDevice(m_root, m_sim.slavePath()); }
    // Exchange time-out 3 tenths: 30 ms real; the module's restart 200 ms.
    kvtest::TestRoot m_root{0.1};
    SeawolfSimulator m_sim;
};

} // namespace

// Settings reach the registers as the module documents them; refusals send
// nothing and keep what the module has; reads come back from the module.
TEST_F(SeawolfController, SettingsAsTheModuleStoresThem) {
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    const kvtest::SettingStep steps[] = {
        {Ctl::kBrightness, 55, 1, {{0x22, 55}}, ""},
        {Ctl::kBrightness, 101, 0, {{0x22, 55}}, "p_Bright(101) is out of range"},
        {Ctl::kSaturation, 101, 0, {{0x5C, 50}}, "p_Satulation(101) is out of range"},
        {Ctl::kSaturation, 70, 1, {{0x5C, 70}}, ""},
        {Ctl::kMaxGain, 45, 1, {{0x20, 45}}, ""},
        {Ctl::kGainBoost, 1, 1, {{0x20, 0x80 | 45}}, ""},
        {Ctl::kMaxGain, 61, 0, {{0x20, 0x80 | 45}}, "p_GainBoost[61] out of range!!"},
        {Ctl::kExposureArea, 5, 0, {}, "p_Exparea(5) value is error"},
        {Ctl::kBacklight, 1, 1, {{0x042C, 1}}, ""},
        {Ctl::kFluorescent, 2, 1, {{0x042C, 5}}, ""},
        {Ctl::kLensType,
         1,
         0,
         {{0x0F, 0}},
         "nCurrentFluorescent is only auto lens,can't set Manual"},
        {Ctl::kFluorescent, 1, 1, {{0x042C, 3}}, ""},
        {Ctl::kLensType, 1, 1, {{0x0F, 1}}, ""},
        {Ctl::kFluorescent,
         2,
         0,
         {{0x042C, 3}},
         "CurrentLensType is manual,can't set Fluorescent CRR2"},
        {Ctl::kNightToDay, 30, 0, {}, "night-to-day level (30) is below day-to-night level (40)"},
        {Ctl::kDayNightMode, 4, 0, {}, "p_DayNightMode(4) is out of range"},
        {Ctl::kSaveToModule, 1, 1, {}, ""},
        {Ctl::kDTNHour, 24, 0, {}, "p_DTNHour(24) is out of range"},
        {15, 1, -1, {}, ""},
    };
    kvtest::checkSettings(ctl, m_sim, steps);
    EXPECT_EQ(m_sim.saves(), 1);
    const struct {
        int id;
        int value;
    } reads[] = {{Ctl::kBrightness, 55}, {Ctl::kGainBoost, 1}, {Ctl::kMaxGain, 45},
                 {Ctl::kFluorescent, 1}, {Ctl::kLensType, 1},  {Ctl::kGamma, 2}};
    for (const auto& r : reads) {
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(r.id, value), 1) << r.id;
        EXPECT_EQ(value, r.value) << r.id;
    }
    std::string version;
    EXPECT_EQ(ctl.getCameraVerInf(version), 1);
    EXPECT_EQ(version, "Seawolf software version 1");
}

// The light level decides with a band between the thresholds; the base's
// pass turns the picture: no colour at night, the user's saturation by day,
// which is also what the module's store keeps.
TEST_F(SeawolfController, DayNightFollowsTheLightLevel) {
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    ASSERT_EQ(ctl.setParameterToSensor(Ctl::kSaturation, 64), 1);
    ASSERT_EQ(ctl.setParameterToSensor(Ctl::kSwitchDelay, 0), 1); // day comes at once too
    const struct {
        int light;
        int state; // 1 day, 0 night
        int saturation;
    } steps[] = {{128, 1, 64}, {39, 0, 0}, {50, 0, 0}, {60, 0, 0}, {61, 1, 64}, {40, 1, 64}};
    for (const auto& s : steps) {
        SCOPED_TRACE("light " + std::to_string(s.light));
        m_sim.setLightValue(s.light);
        EXPECT_EQ(ctl.DNSwitchHandle(), 1);
        int state = -1;
        EXPECT_EQ(ctl.getDayNightState(state), 1);
        EXPECT_EQ(state, s.state);
        EXPECT_EQ(ctl.lightLevel(), s.light);
        EXPECT_EQ(m_sim.registerValue(0x5C), s.saturation);
    }
    // At night a new saturation waits for the day; the store keeps it, and a
    // restart from the store stays without colour.
    m_sim.setLightValue(10);
    ASSERT_EQ(ctl.DNSwitchHandle(), 1);
    EXPECT_EQ(ctl.setParameterToSensor(Ctl::kSaturation, 80), 1);
    EXPECT_EQ(m_sim.registerValue(0x5C), 0);
    ASSERT_EQ(ctl.setParameterToSensor(Ctl::kSaveToModule, 1), 1);
    EXPECT_EQ(m_sim.storedValue(0x5C), 80);
    EXPECT_EQ(ctl.setParameterToSensor(Ctl::kRestartModule, 1), 1);
    EXPECT_EQ(m_sim.restarts(), 1);
    EXPECT_EQ(m_sim.registerValue(0x5C), 0);
    m_sim.setLightValue(200);
    ASSERT_EQ(ctl.DNSwitchHandle(), 1);
    EXPECT_EQ(m_sim.registerValue(0x5C), 80);
    // A module that stops answering has no state.
    m_sim.setSilence();
    int status = -1;
    EXPECT_EQ(ctl.getDNStatusFromSensor(status), 0);
    EXPECT_EQ(status, -1);
}

// Start-up reads the record and the module's version; the video system goes to
// the module only when it changes, kept in its store and applied by a restart.
TEST_F(SeawolfController, StartUpAndVideoSystem) {
    const struct {
        const char* detail;
        bool silent;
        int result;
        const char* log;
    } records[] = {
        {"isInfrared=0", false, 0, "get RS232DeviceName from detail failed"},
        {kDetail, true, 0, "Init getSensorSoftVersion failed"},
        {kDetail, false, 1, "____get sensor version = 1,==0:old . >0 new"},
    };
    for (const auto& r : records) {
        SCOPED_TRACE(r.detail);
        Bench ctl;
        if (r.silent)
            m_sim.setSilence();
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.start(r.detail), r.result);
        EXPECT_TRUE(contains(out.text(), r.log)) << out.text();
        m_sim.clearFaults();
    }
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    const VideoResolution resolution{};
    m_sim.clearFrames();
    EXPECT_EQ(ctl.setSensorVideoSystem(1, resolution), 1);
    EXPECT_EQ(m_sim.frames().size(), 1u) << "PAL already: read only";
    EXPECT_EQ(ctl.setSensorVideoSystem(0, resolution), 1);
    EXPECT_EQ(m_sim.frames().back(), (SeawolfSimulator::Bytes{0x09, 0x01, 0x01, 0xF4}));
    EXPECT_EQ(m_sim.registerValue(0x78), 0);
    EXPECT_EQ(m_sim.restarts(), 1);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctl.setSensorVideoSystem(2, resolution), 0);
    EXPECT_TRUE(contains(out.text(), "setVideoSystem false")) << out.text();
}

// A module answering wrongly fails each operation at once with its message,
// and the next exchange works again.
TEST_F(SeawolfController, FaultsEndInBoundedFailures) {
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    const struct {
        const char* fault;
        std::function<void()> set;
        const char* log;
    } faults[] = {
        {"wrong checksum", [&] { m_sim.setWrongChecksum(); },
         "the checksum get from sensor is error!"},
        {"over-long count", [&] { m_sim.setOverlongCount(); }, "ERROR !!!!!!nLen > p_RecvLength"},
        {"cut short", [&] { m_sim.setCutShort(3); }, "recv data failed"},
        {"garbage", [&] { m_sim.setGarbage({0x03}); }, "command , data length or checksum error"},
        {"silence", [&] { m_sim.setSilence(); }, "recv ResultCode failed,nRecvLength=0"},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.fault);
        f.set();
        kvtest::StdoutCapture out;
        const auto start = std::chrono::steady_clock::now();
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(Ctl::kGamma, value), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        EXPECT_TRUE(contains(out.text(), f.log)) << out.text();
        EXPECT_TRUE(contains(out.text(), "getParameterValue fail!")) << out.text();
        m_sim.clearFaults();
        EXPECT_EQ(ctl.getParameterFromSensor(Ctl::kGamma, value), 1);
        EXPECT_EQ(value, 2);
    }
}

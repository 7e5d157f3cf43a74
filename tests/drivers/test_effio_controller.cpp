// The Effio controller against the simulated module on a pty: start-up from the record, settings
// as the module stores them, module faults, and the GPIO day/night input driving the picture.
// labels: threaded
#include "drivers/PtyBench.h"
#include "drivers/modules/EffioSenseController.h"
#include "sim/EffioSimulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using kvtest::contains;

const char* const kDetail = "RS232DeviceName=/dev/ttyS1;GPIODNLevel=1,5,0";
const char* const kParameters = "RS232=9600,8,0,1";
const char* const kDNLevel = "/sys/class/gpio/gpio37/value"; // group 1, pin 5

class Bench : public kvtest::PtyBench<EffioSenseController> {
public:
    int start(const char* detail = kDetail, const char* parameters = kParameters) {
        return PtyBench::start(detail, parameters);
    }
    void runWorker() { m_DNChangeThread->start(); }
};

class EffioController : public ::testing::Test {
protected:
    EffioController() { kvtest::linkSerialDevice(m_root, m_sim.slavePath()); }
    // Exchange time-out 3 tenths: 30 ms real.
    kvtest::TestRoot m_root{0.1};
    EffioSimulator m_sim;
};

} // namespace

// Settings reach the registers as documented; shared registers keep the
// other setting's bits; refusals send nothing; reads come back from the module.
TEST_F(EffioController, SettingsAsTheModuleStoresThem) {
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    const kvtest::SettingStep steps[] = {
        {2, 100, 1, {{0x0299, 0xFF}}, ""},
        {1, 50, 1, {{0x0263, 511}}, ""},
        {1, 101, 0, {{0x0263, 511}}, "setBrightness(101) is out of range"},
        {3, 0x3FF, 1, {{0x0261, 0x3FF}}, ""},
        {8, 21, 1, {{0x0302, 0x40 | 21}}, ""}, // AGC mode bits (power-up 1) kept
        {10, 3, 1, {{0x0302, 0xC0 | 21}}, ""},
        {16, 2, 1, {{0x0C03, 0x02}}, ""},
        {19, 1, 1, {{0x0C03, 0x12}}, ""}, // HDR bits 4-5, ATR kept
        {6, 3, 1, {{0x0649, 3}}, ""},
        {9, 10, 0, {{0x0401, 2}}, "setShutterSpeed(10) is out of range"},
        {17, 3, 1, {}, ""},
        {17, 0, 0, {}, "setDayToNightTransition failed"},
        {21, 5, 0, {}, "setDayNightMode(5) is out of range"},
        {11, 1, -1, {}, ""},
    };
    kvtest::checkSettings(ctl, m_sim, steps);
    const int reads[][2] = {{1, 50}, {2, 100}, {3, 0x3FF}, {8, 21}, {10, 3},
                            {16, 2}, {19, 1},  {6, 3},     {17, 3}, {5, 256}};
    for (const auto& r : reads) {
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(r[0], value), 1) << r[0];
        EXPECT_EQ(value, r[1]) << r[0];
    }
}

// Module faults end each exchange in one bounded failure with the module's message.
TEST_F(EffioController, FaultsEndInBoundedFailures) {
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    const struct {
        std::function<void()> fault;
        const char* setLog;
        const char* getLog;
    } faults[] = {
        {[&] { m_sim.setWrongChecksum(); }, "not this write's answer", "check sum error expect="},
        {[&] { m_sim.setCutShort(2); }, "recv len failed expectlen=3,actuallen=2",
         "getParmaters recv len error"},
        {[&] { m_sim.setSilence(); }, "recv len failed expectlen=3,actuallen=0",
         "getParmaters recv len error"},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.setLog);
        m_sim.clearFaults();
        f.fault();
        m_sim.clearFrames();
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.setParameterToSensor(7, 1), 0);
        int value = -1;
        EXPECT_EQ(ctl.getParameterFromSensor(10, value), 0);
        const std::string log = out.text();
        EXPECT_TRUE(contains(log, f.setLog) && contains(log, "setExposalMode failed")) << log;
        EXPECT_TRUE(contains(log, f.getLog) && contains(log, "getAGC mode failed , value=0"))
            << log;
        EXPECT_EQ(m_sim.frames().size(), 2u) << "one exchange each";
    }
    m_sim.clearFaults();
    EXPECT_EQ(ctl.setParameterToSensor(7, 1), 1);
    // The module's refusals of registers it does not have, with their messages.
    const struct {
        int category;
        int byteNumber;
        int width;
        const char* log;
    } refusals[] = {{0x09, 0x01, 1, "Category number error"},
                    {0x02, 0x01, 1, "Byte number error"},
                    {0x02, 0x63, 1, "Other error"}};
    for (const auto& r : refusals) {
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.protocol().writeRegister(r.category, r.byteNumber, r.width, 0), 0);
        int value = -1;
        EXPECT_EQ(ctl.protocol().readRegister(r.category, r.byteNumber, 1, value), 0);
        EXPECT_TRUE(contains(out.text(), r.log)) << out.text();
    }
}

// Start-up takes the record's "RS232" settings and the day/night GPIO.
TEST_F(EffioController, StartUpReadsTheRecord) {
    const struct {
        const char* detail;
        const char* parameters;
        const char* log;
    } records[] = {
        {kDetail, "RS485=9600,8,0,1", "get RS232Parameter from senseParameter failed"},
        {kDetail, "RS232=9600,8", "parse RS232 param failed,nRet=2"},
        {"RS232DeviceName=/dev/ttyS1", kParameters, "get GPIODNLevel from detail failed"},
        {"RS232DeviceName=/dev/ttyS1;GPIODNLevel=1,5,2", kParameters,
         "get GPIODNLevel from detail failed"},
        {"RS232DeviceName=/dev/ttyS7;GPIODNLevel=1,5,0", kParameters,
         "open UART(/dev/ttyS7) failed"},
        {kDetail, kParameters, "RS232(/dev/ttyS1) param is (9600,8,0,1)"},
    };
    for (const auto& r : records) {
        SCOPED_TRACE(r.log);
        Bench ctl;
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.start(r.detail, r.parameters), r.log == records[5].log ? 1 : 0);
        EXPECT_TRUE(contains(out.text(), r.log)) << out.text();
    }
    EffioSenseController idle;
    EXPECT_EQ(idle.setParameterToSensor(1, 50), 0);
}

// The GPIO level (0 = night here) turns the picture once it has held for the
// transition's readings; the base's machine moves the picture register.
TEST_F(EffioController, DayNightFollowsTheGPIOLevel) {
    m_root.writeFile(kDNLevel, "1");
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    ASSERT_EQ(ctl.setParameterToSensor(17, 2), 1); // night after two readings
    ASSERT_EQ(ctl.setParameterToSensor(61, 0), 1); // day at once too
    ASSERT_EQ(ctl.setParameterToSensor(19, 3), 1); // HDR level follows the picture
    // One reading per pass; a lone night reading is dropped.
    const struct {
        const char* level;
        int picture;
    } passes[] = {{"1", 0}, {"0", 0}, {"0", 1}, {"1", 0}, {"0", 0}, {"1", 0}, {"0", 0}, {"0", 1}};
    for (const auto& p : passes) {
        m_root.writeFile(kDNLevel, p.level);
        EXPECT_EQ(ctl.DNSwitchHandle(), 1);
        EXPECT_EQ(m_sim.picture(), p.picture) << &p - passes;
        EXPECT_EQ(m_sim.registerValue(0x0C03) >> 4, p.picture + 1) << &p - passes;
    }
    std::filesystem::remove(m_root.path(kDNLevel));
    kvtest::StdoutCapture out;
    int status = -1;
    EXPECT_EQ(ctl.getDNStatusFromSensor(status), 0);
    EXPECT_TRUE(contains(out.text(), "GPIO(5) get DNLevel failed")) << out.text();
}

// The base's worker switches the picture while the host changes thresholds
// and the HDR mode; the controller stops the worker before its members go.
TEST_F(EffioController, WorkerSwitchesWhileTheHostSets) {
    m_root.writeFile(kDNLevel, "1");
    Bench ctl;
    ASSERT_EQ(ctl.start(), 1);
    ASSERT_EQ(ctl.setParameterToSensor(61, 0), 1);
    ctl.runWorker();
    m_root.writeFile(kDNLevel, "0");
    for (int v = 1; v <= 3; ++v) {
        EXPECT_EQ(ctl.setParameterToSensor(18, v), 1);
        EXPECT_EQ(ctl.setParameterToSensor(19, v), 1);
    }
    EXPECT_TRUE(kvtest::waitUntil([&] { return m_sim.picture() == 1; }, 5.0));
    m_root.writeFile(kDNLevel, "1");
    EXPECT_TRUE(kvtest::waitUntil([&] { return m_sim.picture() == 0; }, 5.0));
}

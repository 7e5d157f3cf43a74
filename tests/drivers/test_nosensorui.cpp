// The controller of a module without user settings, on a pty against the simulated module:
// nothing on the wire but the filter inquiry, the state from its answers, start-up.
// labels: threaded
#include "drivers/modules/NoSensorUIController.h"
#include "platform/SysfsGPIO.h"
#include "platform/TermiosUARTController.h"
#include "sim/ViscaSimulator.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using kvtest::contains;
using Bytes = ViscaSimulator::Bytes;

const Bytes kInquiry = {0x81, 0x09, 0x04, 0x01, 0xFF};

class Bench : public NoSensorUIController {
public:
    int start(const char* detail = "RS232DeviceName=/dev/ttyS1") {
        setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                    SafePointer<IGPIO>(new SysfsGPIO()));
        return initController(0, ModuleConfigure(0, detail, "RS485=9600,8,0,1"));
    }
    // Stops the "getDN" thread: every later pass and frame is the test's own.
    void quieten() { m_pGetDNThread->stop(); }
    int state() {
        int status = -1;
        return getDNStatusFromSensor(status) != 0 ? status : -1;
    }
};

std::string printed(const std::function<void()>& run) {
    kvtest::StdoutCapture out;
    run();
    return out.text();
}

class NoSensorUI : public ::testing::Test {
protected:
    NoSensorUI() {
        std::filesystem::create_directories(m_root.path("/dev"));
        std::filesystem::create_symlink(m_sim.slavePath(), m_root.path("/dev/ttyS1"));
    }
    static ViscaSimulator::Options model() {
        ViscaSimulator::Options o;
        o.model = findViscaModel("nosensorui");
        return o;
    }
    // The answer time-out (3 tenths) is 60 ms real: ample for the simulator.
    kvtest::TestRoot m_root{0.2};
    ViscaSimulator m_sim{model()};
};

} // namespace

// Settings never reach the module. Filter in (02) is night, out (03) day;
// anything else, or silence, leaves the state, in bounded time.
TEST_F(NoSensorUI, OnlyTheFilterInquiryGoesOutAndItsAnswerIsTheState) {
    Bench ctl;
    printed([&] { EXPECT_EQ(ctl.start(), 1); });
    ctl.quieten();
    // An inquiry the stopped pass had sent may still be on its way to the module.
    m_sim.waitForFrames(m_sim.frames().size() + 1, 0.1);
    m_sim.clearFrames();
    int value = 0;
    for (int id : {1, 12, 99, 500, 504})
        EXPECT_EQ(ctl.setParameterToSensor(id, 7) + ctl.getParameterFromSensor(id, value), 2) << id;
    EXPECT_EQ(ctl.getMirrorValue(value) + ctl.initFactorySetting() +
                  ctl.setSensorVideoSystem(1, VideoResolution(1280, 720)) +
                  ctl.NotifySensorInitComplate(),
              4);
    EXPECT_FALSE(m_sim.waitForFrames(1, 0.2));

    const struct {
        uint8_t filter;
        bool silent;
        int state;
        const char* log; // "" for none
    } passes[] = {
        {0x02, false, 0, ""},
        {0x03, false, 1, ""},
        {0x04, false, 1, "get daynight value out of range value = 4"},
        {0x02, false, 0, ""},
        {0x00, false, 0, "get daynight value out of range value = 0"},
        {0x03, true, 0, "recv @getDNbody failed,nRet = 0"},
        {0x03, false, 1, ""},
    };
    for (const auto& p : passes) {
        SCOPED_TRACE(std::to_string(p.filter) + (p.silent ? " silent" : ""));
        m_sim.setRegisterValue({0x04, 0x01}, {p.filter});
        if (p.silent)
            m_sim.setSilence(1);
        m_sim.clearFrames();
        const auto began = std::chrono::steady_clock::now();
        const std::string log = printed([&] { ctl.getDNbody(); });
        EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(3));
        EXPECT_EQ(ctl.state(), p.state);
        EXPECT_EQ(m_sim.frames(), std::vector<Bytes>{kInquiry});
        if (*p.log != '\0')
            EXPECT_TRUE(contains(log, p.log)) << log;
        else
            EXPECT_FALSE(contains(log, "failed") || contains(log, "range")) << log;
    }
}

TEST_F(NoSensorUI, StartUpOpensTheRecordsPortAndRunsTheThread) {
    {
        // No port yet: the pass logs and fails, nothing throws, no state comes.
        Bench ctl;
        const std::string log = printed([&] { ctl.getDNbody(); });
        EXPECT_TRUE(contains(log, "serial port not open: 5 bytes not sent")) << log;
        EXPECT_EQ(ctl.state(), -1);
    }
    for (const char* detail : {"isInfrared=0", "RS232DeviceName=/dev/ttyS7"}) {
        Bench ctl;
        const std::string log = printed([&] { EXPECT_EQ(ctl.start(detail), 0); });
        EXPECT_TRUE(contains(log, "NoSenseUIController::init,ModuleConfigure is(" +
                                      std::string(detail) + ",RS485=9600,8,0,1)"))
            << log;
        EXPECT_TRUE(contains(log, detail[0] == 'i' ? "get RS232DeviceName from detail failed"
                                                   : "open uart (/dev/ttyS7) failed"))
            << log;
    }
    // The filter is out at power-on: the thread brings the day, then the night.
    Bench ctl;
    printed([&] { EXPECT_EQ(ctl.start(), 1); });
    EXPECT_TRUE(kvtest::waitUntil([&] { return ctl.state() == 1; }));
    m_sim.setSceneDark(true);
    EXPECT_TRUE(kvtest::waitUntil([&] { return ctl.state() == 0; }));
    EXPECT_EQ(m_sim.frames().front(), kInquiry);
}

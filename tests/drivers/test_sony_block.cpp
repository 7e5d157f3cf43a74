// The Sony block camera controllers against the simulated camera on a pty: the recorded
// exchanges (data/sony_<model>_cases.txt), answers and faults, the IR-cut filter.
// labels: threaded
#include "drivers/modules/SONYCH3310SenseController.h"
#include "drivers/modules/SONYCV7500SenseController.h"
#include "drivers/modules/SONYEH4300SenseController.h"
#include "platform/TermiosUARTController.h"
#include "sim/ViscaSimulator.h"
#include "support/RecordedCases.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using kvtest::contains;
using Frames = std::vector<std::string>;

template <class Controller>
class Bench : public Controller {
public:
    using Controller::m_nUARTPort;
    using Controller::m_pLastSensorCache;
    using Controller::m_pUART;
    using Controller::m_SensorStatus;

    bool attach(const std::string& device) {
        m_pUART = SafePointer<IUARTController>(new TermiosUARTController());
        m_nUARTPort = m_pUART->open(device.c_str());
        m_SensorStatus = ISensorController::InitSuccess;
        return m_nUARTPort >= 0 && m_pUART->setParameter(m_nUARTPort, 9600, 8, 1, 0);
    }
    void store(int id, int value) { m_pLastSensorCache->setSensorValue(id, value); }
};

// The module's side: the controller's model, back 10 s after a restart (the driver waits 20).
template <class Controller = SONYCV7500SenseController>
struct Camera {
    static ViscaSimulator::Options options(const char* model) {
        ViscaSimulator::Options o;
        o.model = findViscaModel(model);
        o.restartSeconds = 10.0;
        return o;
    }
    explicit Camera(const char* model = "cv7500") : sim(options(model)) {
        ctl.attach(sim.slavePath());
    }
    Frames frames() const {
        Frames out;
        for (const ViscaSimulator::Bytes& frame : sim.frames()) {
            std::string text;
            char byte[4];
            for (uint8_t b : frame) {
                std::snprintf(byte, sizeof byte, "%s%02X", text.empty() ? "" : " ", b);
                text += byte;
            }
            out.push_back(text);
        }
        return out;
    }
    ViscaSimulator sim;
    Bench<Controller> ctl;
};

struct Case {
    int line = 0;
    std::string verb, setup, what, result, log;
    Frames frames;
};

std::vector<Case> loadCases(const std::string& model) {
    std::vector<Case> cases;
    for (const kvtest::RecordedCase& r :
         kvtest::loadRecordedCases("drivers/data/sony_" + model + "_cases.txt")) {
        Case c;
        c.line = r.line;
        c.log = r.log;
        c.frames = r.frames;
        std::size_t next = 0;
        const auto word = [&r, &next] { return next < r.words.size() ? r.words[next++] : ""; };
        c.verb = word();
        if (c.verb == "set")
            c.setup = word();
        c.what = word();
        if (c.verb == "video")
            c.what += " " + word();
        c.result = word();
        cases.push_back(c);
    }
    return cases;
}

template <class Controller>
void play(const Case& c, const char* model) {
    SCOPED_TRACE(std::string(model) + " data line " + std::to_string(c.line));
    Camera<Controller> cam(model);
    int id = 0, value = 0;
    if (c.verb == "set") {
        std::istringstream stored(c.setup == "-" ? "" : c.setup);
        for (std::string item; std::getline(stored, item, ',');)
            if (std::sscanf(item.c_str(), "%d=%d", &id, &value) == 2)
                cam.ctl.store(id, value);
    }
    std::string result;
    kvtest::StdoutCapture out;
    if (c.verb == "set") {
        // ID=VALUE[,ID=VALUE...]: one after the other, the first that is not ok counts.
        std::istringstream sets(c.what);
        for (std::string item;
             std::getline(sets, item, ',') && (result.empty() || result == "ok");) {
            std::sscanf(item.c_str(), "%d=%d", &id, &value);
            const int r = cam.ctl.setParameterToSensor(id, value);
            result = r == 1 ? "ok" : r == 0 ? "fail" : "none";
        }
    } else if (c.verb == "video") {
        int mode = 0, width = 0, height = 0;
        std::sscanf(c.what.c_str(), "%d %dx%d", &mode, &width, &height);
        result = cam.ctl.setSensorVideoSystem(mode, VideoResolution(width, height)) ? "ok" : "fail";
    } else if (c.verb == "sync") {
        if constexpr (std::is_same_v<Controller, SONYCH3310SenseController>) {
            cam.sim.setRegisterValue({0x04, 0x6A},
                                     {static_cast<uint8_t>(std::stoi(c.what, nullptr, 16))});
            result = cam.ctl.checkInterSync() ? "ok" : "fail";
        }
    } else {
        cam.sim.setRegisterValue({0x04, 0x01},
                                 {static_cast<uint8_t>(std::stoi(c.what, nullptr, 16))});
        int state = -1;
        result = cam.ctl.getDNStatusFromSensor(state) == 0 ? "none" : state == 1 ? "day" : "night";
    }
    const std::string printed = out.text();
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(cam.frames(), c.frames);
    if (!c.log.empty()) {
        EXPECT_TRUE(contains(printed, c.log)) << printed;
    }
}

class SonyBlock : public ::testing::Test {
protected:
    // The 4-tenths answer time-out is 80 ms real.
    kvtest::TestRoot m_root{0.2};
};

} // namespace

template <class Controller>
void playAll(const char* model, std::size_t atLeast) {
    const std::vector<Case> cases = loadCases(model);
    ASSERT_GT(cases.size(), atLeast);
    for (const Case& c : cases)
        play<Controller>(c, model);
}

TEST_F(SonyBlock, RecordedExchanges) {
    playAll<SONYCV7500SenseController>("cv7500", 60);
}

TEST_F(SonyBlock, RecordedExchangesCH3310) {
    playAll<SONYCH3310SenseController>("ch3310", 20);
}

TEST_F(SonyBlock, RecordedExchangesEH4300) {
    playAll<SONYEH4300SenseController>("eh4300", 20);
}

// A completion is as good as an acknowledge; a restart is announced with
// either socket's acknowledge; silence, an error or garbage fail a command
// after three attempts and the stored value stays.
TEST_F(SonyBlock, AnswersAndFaults) {
    Camera cam;
    cam.sim.setCompletionFirst(1);
    EXPECT_EQ(cam.ctl.setParameterToSensor(1, 100), 1);
    EXPECT_EQ(cam.frames().size(), 1u);
    // Two format changes: the acknowledges come on sockets 1 and 2 (90 41, 90 42).
    EXPECT_EQ(cam.ctl.setSensorVideoSystem(1, VideoResolution(1280, 720)), 1);
    EXPECT_EQ(cam.ctl.setSensorVideoSystem(0, VideoResolution(1920, 1080)), 1);
    EXPECT_EQ(cam.sim.restartCount(), 2);
    EXPECT_EQ(cam.sim.videoFormat(), 0x01);

    const struct {
        const char* fault;
        void (*set)(ViscaSimulator&);
        const char* log;
    } faults[] = {
        {"silence", [](ViscaSimulator& s) { s.setSilence(); },
         "===recv(3 times) @setParameterValue failed"},
        {"error", [](ViscaSimulator& s) { s.setErrorReply(1, 0x02); },
         "===setParameterValue(3 times) recv error,recv:0x90,0x61,0x2"},
        {"cut short", [](ViscaSimulator& s) { s.setCutShort(2); },
         "===recv(3 times) @setParameterValue failed"},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.fault);
        cam.sim.clearFaults();
        cam.ctl.store(1, 50);
        f.set(cam.sim);
        cam.sim.clearFrames();
        kvtest::StdoutCapture out;
        const int set = cam.ctl.setParameter(1, 80);
        int state = 0;
        const int dn = cam.ctl.getDNStatusFromSensor(state);
        const std::string log = out.text();
        EXPECT_EQ(set, 0);
        EXPECT_EQ(dn, 0);
        EXPECT_TRUE(contains(log, f.log)) << log;
        EXPECT_TRUE(contains(log, "setSharpness error,value is 80")) << log;
        EXPECT_TRUE(contains(log, "get dn failed")) << log;
        int value = 0;
        EXPECT_EQ(cam.ctl.getParameterFromSensor(1, value), 1);
        EXPECT_EQ(value, 50);
    }
    cam.sim.clearFaults();
    cam.sim.setSilence();
    kvtest::StdoutCapture out;
    EXPECT_EQ(cam.ctl.setSensorVideoSystem(1, VideoResolution(1280, 720)), 0);
    EXPECT_TRUE(contains(out.text(), "get video system failed"));
}

// The base's day/night switch: the filter in, a second, automatic off; out
// again; back to automatic.
TEST_F(SonyBlock, IrCutFilter) {
    Camera cam;
    EXPECT_EQ(cam.ctl.turnPictureToNight(), 1);
    EXPECT_EQ(cam.ctl.turnPictureToDay(), 1);
    EXPECT_EQ(cam.ctl.enterAutoMode(), 1);
    EXPECT_EQ(cam.frames(),
              (Frames{"81 01 04 01 02 FF", "81 01 04 51 03 FF", "81 01 04 01 03 FF",
                      "81 01 04 51 03 FF", "81 01 04 01 03 FF", "81 01 04 51 02 FF"}));
    int gain = -1;
    EXPECT_EQ(cam.ctl.getCurrentGain(gain), 1);
    EXPECT_EQ(gain, 0);
}

// The CH3310 asks its filter and its video format a second time after a
// failed inquiry (three silent frames); a setting that gets no answer fails
// with its own error and the stored value stays.
TEST_F(SonyBlock, CH3310SecondAttempts) {
    Camera<SONYCH3310SenseController> cam("ch3310");
    kvtest::StdoutCapture out;
    cam.sim.setSilence(3);
    int state = -1;
    EXPECT_EQ(cam.ctl.getDNStatusFromSensor(state), 1);
    EXPECT_EQ(state, 1);
    cam.sim.setSilence(3);
    EXPECT_EQ(cam.ctl.setSensorVideoSystem(1, VideoResolution(1920, 1080)), 1);
    EXPECT_EQ(cam.sim.restartCount(), 1);
    cam.sim.setSilence();
    cam.ctl.store(22, 3);
    EXPECT_EQ(cam.ctl.setParameterToSensor(22, 2), 0);
    int value = 0;
    EXPECT_EQ(cam.ctl.getParameterFromSensor(22, value), 1);
    EXPECT_EQ(value, 3);
    const std::string log = out.text();
    for (const char* line : {"get day night status second", "get video system second",
                             "Restarting sensor.....Wait 20s", "setDisplay error,value is 2"})
        EXPECT_TRUE(contains(log, line)) << line << "\n" << log;
    EXPECT_FALSE(contains(log, "get dn failed")) << log;
}

// The EH4300's module values: bad arguments send nothing; a read that gets
// no answer leaves the register alone and fails the white balance.
TEST_F(SonyBlock, EH4300ModuleValueFaults) {
    Camera<SONYEH4300SenseController> cam("eh4300");
    kvtest::StdoutCapture out;
    int value = 0;
    EXPECT_EQ(cam.ctl.getAppointValue(0x80, value), 0);
    EXPECT_EQ(cam.ctl.modifyAppointValue(0x50, 0x0F, 0x10), 0);
    EXPECT_TRUE(cam.frames().empty());
    cam.sim.setSilence();
    EXPECT_EQ(cam.ctl.setParameterToSensor(19, 1), 0);
    EXPECT_EQ(cam.frames(), Frames(3, "81 09 04 24 50 FF"));
    EXPECT_EQ(cam.sim.registerValue({0x04, 0x24, 0x50}), (ViscaSimulator::Bytes{0x01, 0x00}));
    const std::string log = out.text();
    for (const char* line :
         {"getAppointValue() parameter error", "modifyAppointValue() parameter error",
          "______setWBmode modifyAppointValue failed", "setWBmode error,value is 1"})
        EXPECT_TRUE(contains(log, line)) << line << "\n" << log;
}

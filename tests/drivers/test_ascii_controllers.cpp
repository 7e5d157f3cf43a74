// The ASCII register module controllers against the simulated module on a pty: the recorded
// register exchanges (data/ascii_register_cases.txt), start-up, faults.
// labels: threaded
#include "drivers/modules/CMD7200SenseController.h"
#include "drivers/modules/HitachCompatSenseController.h"
#include "drivers/modules/HitachSenseController.h"
#include "drivers/modules/SC110N_CSenseController.h"
#include "platform/PlatformClock.h"
#include "platform/SysfsGPIO.h"
#include "platform/TermiosUARTController.h"
#include "sim/AsciiSimulator.h"
#include "support/RecordedCases.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using kvtest::contains;
using Frames = std::vector<std::string>;

const char* const kDetail = "RS232DeviceName=/dev/ttyS1;isInfrared=0";
const char* const kParameters = "RS485=9600,8,0,1";

// A controller with its port opened straight onto the simulator (no start-up,
// so no thread is on the line) and its stored parameters at hand.
template <class T>
class Bench : public T {
public:
    bool attach(const std::string& device) {
        this->m_pUART = SafePointer<IUARTController>(new TermiosUARTController());
        this->m_nUARTPort = this->m_pUART->open(device.c_str());
        this->m_SensorStatus = ISensorController::InitSuccess;
        return this->m_nUARTPort >= 0 &&
               this->m_pUART->setParameter(this->m_nUARTPort, 9600, 8, 1, 0);
    }
    void store(int id, int value) { this->m_pLastSensorCache->setSensorValue(id, value); }
    void setModuleInfo(int version, bool thirdGeneration) {
        if constexpr (std::is_same_v<T, HitachSenseController>)
            this->m_nThirdGeneration = thirdGeneration ? 1 : 0;
        else if constexpr (!std::is_same_v<T, CMD7200SenseController>)
            this->m_nSensorVersion = version;
    }
};

// One recorded case of the data file: verb, model, set-up, what, result, frames.
struct Case {
    int line = 0;
    std::string verb, model, setup, what, result;
    Frames frames;
    std::string log; // a line the controller must log, or ""
};

std::vector<Case> loadCases() {
    std::vector<Case> cases;
    for (const kvtest::RecordedCase& r :
         kvtest::loadRecordedCases("drivers/data/ascii_register_cases.txt")) {
        Case c;
        c.line = r.line;
        c.log = r.log;
        std::size_t next = 0;
        const auto word = [&r, &next] { return next < r.words.size() ? r.words[next++] : ""; };
        c.verb = word();
        c.model = word();
        c.setup = word();
        c.what = word();
        if (c.verb == "video")
            c.what += " " + word();
        // A day/night case names the state the pass leaves where the others name the result.
        c.result = c.verb == "daynight" ? c.what : word();
        c.frames.assign(r.words.begin() + static_cast<long>(next), r.words.end());
        cases.push_back(c);
    }
    return cases;
}

// "a=b,c=d" as pairs of numbers in `base`.
std::vector<std::pair<int, int>> pairs(const std::string& text, int base) {
    std::vector<std::pair<int, int>> out;
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, ',');) {
        const std::size_t eq = item.find('=');
        if (eq != std::string::npos)
            out.emplace_back(std::stoi(item.substr(0, eq), nullptr, base),
                             std::stoi(item.substr(eq + 1), nullptr, base));
    }
    return out;
}

template <class T>
void play(const Case& c) {
    SCOPED_TRACE("data line " + std::to_string(c.line));
    AsciiSimulator sim(findAsciiModel(c.model));
    ASSERT_TRUE(sim.isRunning());
    Bench<T> ctl;
    ASSERT_TRUE(ctl.attach(sim.slavePath()));
    int version = 0;
    if (c.verb == "set") {
        for (const auto& [id, value] : pairs(c.setup, 10))
            ctl.store(id, value);
    } else {
        for (const auto& [reg, value] : pairs(c.setup, 16)) {
            sim.setRegisterValue(reg, value);
            version = reg == 0xE1EE ? value : version;
        }
    }
    ctl.setModuleInfo(version, contains(c.setup, "gen3"));

    std::string result;
    kvtest::StdoutCapture out;
    if (c.verb == "set") {
        const auto [id, value] = pairs(c.what, 10).at(0);
        const int r = ctl.setParameterToSensor(id, value);
        result = r == 1 ? "ok" : r == 0 ? "fail" : "none";
    } else if (c.verb == "video") {
        int mode = 0, width = 0, height = 0;
        std::sscanf(c.what.c_str(), "%d %dx%d", &mode, &width, &height);
        result = ctl.setSensorVideoSystem(mode, VideoResolution(width, height)) ? "ok" : "fail";
    } else {
        ctl.getDNbody();
        int status = -1;
        result = ctl.getDNStatusFromSensor(status) == 0 ? "none" : status == 1 ? "day" : "night";
    }
    const std::string printed = out.text();
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(sim.frames(), c.frames);
    if (!c.log.empty()) {
        EXPECT_TRUE(contains(printed, c.log)) << printed;
    }
}

void play(const Case& c) {
    if (c.model == "hitach")
        play<HitachSenseController>(c);
    else if (c.model == "compat")
        play<HitachCompatSenseController>(c);
    else if (c.model == "cmd7200")
        play<CMD7200SenseController>(c);
    else
        play<SC110N_CSenseController>(c);
}

class AsciiControllers : public ::testing::Test {
protected:
    // The 5-tenths echo time-out is 100 ms real: ample for the simulator.
    kvtest::TestRoot m_root{0.2};
};

} // namespace

TEST_F(AsciiControllers, RecordedRegisterExchanges) {
    const std::vector<Case> cases = loadCases();
    ASSERT_GT(cases.size(), 100u);
    for (const Case& c : cases)
        play(c);
}

// A write whose echo differs still went out on the first attempt; on the
// third it fails. A module that is silent, cut short or sends garbage fails
// every operation after three attempts, and the stored value survives.
TEST_F(AsciiControllers, EchoFaultsAndSilenceEndInBoundedAttempts) {
    AsciiSimulator sim(findAsciiModel("compat"));
    Bench<HitachCompatSenseController> ctl;
    ASSERT_TRUE(ctl.attach(sim.slavePath()));
    {
        kvtest::StdoutCapture out;
        sim.setWrongEcho(1);
        EXPECT_EQ(ctl.setParameterToSensor(1, 100), 1);
        EXPECT_EQ(sim.frames(), Frames{":WFD9EFF"});
        EXPECT_TRUE(contains(out.text(), "===check(1 times) @sendData failed,send:"));
    }
    // A write that reached the module on the first attempt counts, whatever
    // came back; a read takes only its own answer.
    const struct {
        const char* fault;
        std::function<void()> set;
        int written; // the write's result, after 1 attempt (1) or 3 (0)
    } faults[] = {
        {"wrong echo", [&] { sim.setWrongEcho(); }, 1},
        {"garbage", [&] { sim.setGarbage("::RZZ"); }, 1},
        {"silence", [&] { sim.setSilence(); }, 0},
        {"cut short", [&] { sim.setCutShort(4); }, 0},
        {"wrong echo on the third attempt",
         [&] {
             sim.setSilence(2);
             sim.setWrongEcho();
         },
         0},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.fault);
        sim.clearFaults();
        ctl.store(1, 50);
        f.set();
        sim.clearFrames();
        kvtest::StdoutCapture out;
        const auto start = std::chrono::steady_clock::now();
        const int set = ctl.setParameter(1, 80);
        const Frames frames = sim.frames();
        const int video = ctl.setSensorVideoSystem(1, VideoResolution(1280, 720));
        ctl.getDNbody();
        const auto took = std::chrono::steady_clock::now() - start;
        const std::string log = out.text();
        EXPECT_EQ(set, f.written);
        EXPECT_EQ(frames, Frames(f.written ? 1 : 3, ":WFD9ECC"));
        EXPECT_EQ(video, 0);
        EXPECT_LT(took, std::chrono::seconds(10));
        int value = 0;
        EXPECT_EQ(ctl.getParameterFromSensor(1, value), 1);
        EXPECT_EQ(value, f.written ? 80 : 50);
        EXPECT_EQ(ctl.getDNStatusFromSensor(value), 0) << "no state was ever read";
        EXPECT_TRUE(contains(log, "get video system failed")) << log;
        EXPECT_EQ(contains(log, "(3 times) @sendData failed"), f.written == 0) << log;
        EXPECT_TRUE(contains(log, "recvData @getDNbody failed")) << log;
    }
}

// Start-up from the module record: the serial set-up's refusals, the
// generation and version detection, and the notice at the end.
TEST_F(AsciiControllers, StartUpReadsTheRecordAndTheModule) {
    AsciiSimulator sim(findAsciiModel("compat"));
    std::filesystem::create_directories(m_root.path("/dev"));
    std::filesystem::create_symlink(sim.slavePath(), m_root.path("/dev/ttyS1"));
    {
        // Nothing opened yet: nothing is sent and nothing throws; before
        // start-up no parameter reaches the module.
        HitachCompatSenseController ctl;
        EXPECT_EQ(ctl.setParameterToSensor(1, 50), 0);
        kvtest::StdoutCapture out;
        const int step = ctl.FocusUp();
        const int notice = ctl.NotifySensorInitComplate();
        const std::string log = out.text();
        EXPECT_EQ(step + notice, 0);
        EXPECT_TRUE(contains(log, "serial port not open: :WFCBBAA not sent")) << log;
    }
    const struct {
        const char* detail;
        const char* parameters;
        const char* log; // nullptr: start-up succeeds
    } records[] = {
        {"isInfrared=0", kParameters, "get RS232DeviceName from detail failed"},
        {"RS232DeviceName=/dev/ttyS1", kParameters, "get isInfrared from detail failed"},
        {kDetail, "ParamSchemeNum=2", "get RS232Parameter from senseParameter failed"},
        {kDetail, "RS485=9600,8", "parse RS485 param failed,nRet=2"},
        {"RS232DeviceName=/dev/ttyS7;isInfrared=0", kParameters, "open UART(/dev/ttyS7) failed"},
        {kDetail, kParameters, nullptr},
    };
    for (const auto& r : records) {
        SCOPED_TRACE(r.detail + std::string(" / ") + r.parameters);
        HitachCompatSenseController ctl;
        ctl.setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                        SafePointer<IGPIO>(new SysfsGPIO()));
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.initController(0, ModuleConfigure(0, r.detail, r.parameters)), r.log ? 0 : 1);
        if (r.log != nullptr)
            EXPECT_TRUE(contains(out.text(), r.log)) << out.text();
        else
            EXPECT_EQ(ctl.getSensorVersion(), HitachCompatSenseController::kFFE7Version);
    }
    {
        HitachCompatSenseController ctl;
        ctl.setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                        SafePointer<IGPIO>(new SysfsGPIO()));
        sim.setSilence();
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctl.initController(0, ModuleConfigure(0, kDetail, kParameters)), 0);
        EXPECT_TRUE(contains(out.text(), "get SensorConfigVersion failed"));
        sim.clearFaults();
    }
    // Only a third-generation Hitach is told that start-up is over.
    for (const char* generation : {"0", "1"}) {
        HitachSenseController ctl;
        ctl.setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                        SafePointer<IGPIO>(new SysfsGPIO()));
        const std::string detail = kDetail + std::string(";isThridGeneration=") + generation;
        ASSERT_EQ(ctl.initController(0, ModuleConfigure(0, detail, kParameters)), 1);
        sim.clearFrames();
        EXPECT_EQ(ctl.NotifySensorInitComplate(), 1);
        // The notice has no answer: the simulator may still be taking it in.
        const bool told = kvtest::waitUntil(
            [&] {
                const Frames frames = sim.frames();
                return std::find(frames.begin(), frames.end(), ":rE1ED0000") != frames.end();
            },
            0.3);
        EXPECT_EQ(told, ctl.isThirdGeneration() == 1);
        EXPECT_EQ(ctl.isThirdGeneration(), std::atoi(generation));
    }
}

// The Hitach's periodic pass sends the camera mode in force again; the
// SC110N-C's mask ids reach the zoom base's mask commands.
TEST_F(AsciiControllers, CameraModeAgainAndMasks) {
    AsciiSimulator sim(findAsciiModel("hitach"));
    Bench<HitachSenseController> ctl;
    ASSERT_TRUE(ctl.attach(sim.slavePath()));
    EXPECT_EQ(ctl.reapplyCameraMode(), 1);
    EXPECT_TRUE(sim.frames().empty()) << "no camera mode set yet";
    ctl.store(10, 3);
    ASSERT_EQ(ctl.setCameraMode(4), 1);
    sim.clearFrames();
    EXPECT_EQ(ctl.reapplyCameraMode(), 1);
    EXPECT_EQ(sim.frames(), (Frames{":WFCC807", ":WFCC903"}));

    AsciiSimulator zoom(findAsciiModel("sc110n"));
    Bench<SC110N_CSenseController> dome;
    ASSERT_TRUE(dome.attach(zoom.slavePath()));
    EXPECT_EQ(dome.setParameterToSensor(SC110N_CSenseController::kMaskRegion, 3), 1);
    EXPECT_EQ(dome.setParameterToSensor(SC110N_CSenseController::kFirstMaskAction, 0), 1);
    ASSERT_EQ(zoom.frames().size(), 1u);
    EXPECT_EQ(static_cast<unsigned char>(zoom.frames()[0][0]), 0xA1);
}

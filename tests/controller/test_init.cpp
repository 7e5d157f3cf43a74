// Controller start-up: init order and failure, version check, file reconciliation.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/SysfsGPIO.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

namespace {

const std::string kDir = "/mnt/mtd/code/config_file/";
const std::string kFactory = kDir + "sensor_Factory.cfg";
const std::string kErrorLog = "/mnt/mtd/log/SensorError.log";
const std::string kInitLog = "/mnt/mtd/log/SensorInit.log";

std::string schemeFile(int number) {
    return kDir + "sensor" + std::to_string(number) + ".cfg";
}
bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
// The value of an id in a parameter file; -999 when it cannot be read.
int idValue(const std::string& path, int id) {
    int value = -999;
    return SensorConfigFile(path).readParameterById(id, value) == 1 ? value : -999;
}

// A serial link that records what is sent and reports a chosen count.
class FakeUART : public IUARTController {
public:
    int sendResult = -2; // -2: report the full length
    std::string sentBytes;

    int open(const char*) override { return 0; }
    int setParameter(int, int, int, int, int) override { return 1; }
    int send(int, const char* buf, int len) override {
        sentBytes.append(buf, static_cast<std::size_t>(len));
        return sendResult == -2 ? len : sendResult;
    }
    int recv(int, char*, int, int) override { return 0; }
    int clearRecvBuffer(int) override { return 1; }
    int close(int) override { return 1; }
};

// The recording driver with the start-up state opened up.
class InitController : public kvtest::RecordingController {
public:
    using ISensorController::m_bRealTimeUpdate;
    using ISensorController::m_nConfigStatus;
    using ISensorController::m_nISPDelayTime;
    using RecordingController::RecordingController;
    // The worker makes virtual calls: it has to end before this layer goes.
    ~InitController() override { m_DNChangeThread->stop(); }

    // Scheme files and records built here, so that the file reconciliation
    // can be checked on its own.
    void makeSchemes(int count) {
        for (int i = 1; i <= count; ++i) {
            m_vecSchemeConfigFile.emplace_back(new SensorConfigFile(schemeFile(i)));
            m_vecParamScheme.emplace_back(new ParamScheme());
        }
    }
    int reconcile() {
        kvtest::StdoutCapture quiet;
        return initConfigFile();
    }
};

class InitTest : public ::testing::Test {
protected:
    kvtest::TestRoot root{0.001};
    FakeUART* uart = new FakeUART();
    SafePointer<IUARTController> uartPointer{uart};
    SafePointer<IGPIO> gpioPointer{new SysfsGPIO()};

    void SetUp() override {
        root.writeFile(kDir + ".keep", "");
        PlatformClock::setTimeOfDay(12, 0);
    }
    // Runs init on a wired controller, capturing what it prints.
    int runInit(InitController& c, const std::string& parameters = "") {
        c.setOperator(uartPointer, gpioPointer);
        kvtest::StdoutCapture capture;
        return c.init(1, ModuleConfigure(99, "", parameters), VideoResolution());
    }
};

TEST_F(InitTest, FailingInitControllerStopsEverythingButTheLogs) {
    InitController c;
    c.initResult = 0;
    EXPECT_EQ(runInit(c), 0);
    EXPECT_EQ(c.calls(), std::vector<std::string>{"initController"});
    EXPECT_EQ(c.getSensorStatus(), ISensorController::NotInited);
    EXPECT_FALSE(c.m_DNChangeThread->isRunning());
    EXPECT_TRUE(contains(root.readFile(kErrorLog), "[SensorError] initController failed"));
    EXPECT_FALSE(root.exists(kFactory)) << "no parameter file is touched";
}

TEST_F(InitTest, SuccessfulInitRunsTheStepsInOrderAndStartsTheWorker) {
    InitController c;
    c.videoResult = 0;
    c.notifyResult = 0;
    EXPECT_EQ(runInit(c), 1);
    // The factory file is made after the module is up.
    const std::vector<std::string> order = {"initController", "setSensorVideoSystem",
                                            "initFactorySetting", "NotifySensorInitComplate"};
    std::vector<std::string> steps;
    for (const std::string& call : c.calls())
        if (std::find(order.begin(), order.end(), call) != order.end())
            steps.push_back(call);
    EXPECT_EQ(steps, order);
    EXPECT_EQ(c.getSensorStatus(), ISensorController::InitSuccess);
    EXPECT_EQ(c.m_nConfigStatus, 2);
    EXPECT_TRUE(c.m_DNChangeThread->isRunning());

    // First start: the files are made (see the reconciliation tests below).
    EXPECT_TRUE(root.exists(schemeFile(ISensorController::kDefaultParamSchemeNum)));
    EXPECT_TRUE(root.exists(kDir + "sensor.xml"));
    // Failed steps are logged to the init log and do not stop the sequence.
    EXPECT_TRUE(contains(root.readFile(kInitLog), "init setSensorVideoSystem failed"));

    InitController type17(17); // keeps its status
    EXPECT_EQ(runInit(type17), 1);
    EXPECT_EQ(type17.getSensorStatus(), ISensorController::NotInited);
}

TEST_F(InitTest, SchemeCountComesFromTheModuleParameters) {
    const std::pair<std::string, int> cases[] = {
        {"ParamSchemeNum=3", 3},  {"ParamSchemeNum=16", 16}, {"ParamSchemeNum=0", 4},
        {"ParamSchemeNum=17", 4}, {"ParamSchemeNum=2x", 4},  {"no equals sign", 4}};
    for (const auto& [text, expected] : cases) {
        InitController c;
        EXPECT_EQ(runInit(c, text), 1) << text;
        EXPECT_EQ(c.m_nParamSchemeNum, expected) << text;
    }
    EXPECT_TRUE(root.exists(schemeFile(16)));
    EXPECT_FALSE(root.exists(schemeFile(17)));
}

TEST_F(InitTest, StoredSettingsOfTheSchemeInForceReachTheModule) {
    // Scheme 1 covers 08:00-18:00; it is 12:00.
    root.writeFile(kFactory, "(1,50)(500,1)(501,0)(502,0)(503,24)(504,0)(10000,0)(10001,0)");
    root.writeFile(schemeFile(1), "(1,70)(500,1)(501,8)(502,0)(503,18)(504,0)(10000,0)(10001,0)");
    InitController c;
    EXPECT_EQ(runInit(c), 1);
    EXPECT_EQ(c.moduleValue(1), 70);
    EXPECT_EQ(idValue(schemeFile(1), 1), 70) << "user value kept";
}

// Init applies the text readCurrentParam picks and leaves the scheme in
// force alone; the worker's first pass makes the switch. On a fresh install
// the window ids carry the impossible 66:00-88:00, so midnight matches nothing.
TEST_F(InitTest, FreshInstallAppliesTheChosenTextAndTheWorkerSwitchesOnceForGood) {
    kvtest::TestRoot realTime(0.02); // a device minute lasts 1.2 s: times set here hold
    realTime.writeFile(kDir + ".keep", "");
    PlatformClock::setTimeOfDay(0, 0);
    InitController c;
    {
        // The worker's first pass waits for this lock until init is checked.
        KVMutexLocker hold(c.m_paramMutex);
        ASSERT_EQ(runInit(c), 1);
        EXPECT_EQ(c.m_nParamScheme, 0);
        int index = -1;
        EXPECT_EQ(c.getParamSchemeFromFile(index), 1);
        EXPECT_EQ(index, 0) << "init does not rewrite sensor.xml";
        EXPECT_FALSE(contains(realTime.readFile(kErrorLog), "Auto switch"));
    }
    const auto inForce = [&c] {
        KVMutexLocker lock(c.m_paramMutex);
        return c.m_nParamScheme;
    };
    for (int i = 0; i < 400 && inForce() != 3; ++i)
        PlatformClock::sleepFor(PlatformClock::Duration(0.005));
    c.m_DNChangeThread->stop();
    EXPECT_EQ(c.m_nParamScheme, 3);
    EXPECT_TRUE(contains(realTime.readFile(kErrorLog), "Auto switch  Scheme to:3"));
    EXPECT_TRUE(contains(realTime.readFile(kFactory), "(500,1)(501,66)(502,0)(503,88)(504,0)"));
    EXPECT_TRUE(contains(realTime.readFile(schemeFile(1)), "(501,66)(502,0)(503,88)(504,0)"));
    c.clearRecords();
    for (int minute : {0, 1, 0}) {
        PlatformClock::setTimeOfDay(0, minute);
        EXPECT_EQ(c.paramSchemeSwitchBody(), 0);
        EXPECT_EQ(c.m_nParamScheme, 3) << minute;
    }
    EXPECT_TRUE(c.sent().empty());

    // Manual mode with scheme 2 chosen: init still applies the scheme whose
    // window holds the time (scheme 1, 08:00-18:00), and scheme 2 stays in force.
    realTime.writeFile(schemeFile(1),
                       "(1,71)(500,1)(501,8)(502,0)(503,18)(504,0)(10000,0)(10001,0)");
    realTime.writeFile(schemeFile(2), "(1,72)(500,0)(10000,0)(10001,0)");
    InitController manual;
    manual.createSensorXML();
    manual.setParamSchemeToFile(1);
    manual.setParamSchemeModeToFile(0);
    PlatformClock::setTimeOfDay(12, 0);
    ASSERT_EQ(runInit(manual), 1);
    manual.m_DNChangeThread->stop();
    EXPECT_EQ(manual.moduleValue(1), 71);
    EXPECT_EQ(manual.m_nParamScheme, 1);
}

TEST_F(InitTest, DestroyingARunningControllerTakesMilliseconds) {
    kvtest::TestRoot realTime(1.0); // the worker's wait lasts a real second
    realTime.writeFile(kDir + ".keep", "");
    auto c = std::make_unique<InitController>();
    ASSERT_EQ(runInit(*c), 1);
    ASSERT_TRUE(c->m_DNChangeThread->isRunning());
    const auto start = std::chrono::steady_clock::now();
    c.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(InitTest, StopPTZSendsMenuOnOnlyToAnIntegratedModule) {
    InitController c;
    c.setOperator(uartPointer, gpioPointer);
    EXPECT_EQ(c.stopPTZ(), 1);
    EXPECT_EQ(uart->sentBytes, "") << "not an integrated module";
    c.m_bIntegratedModule = true;
    EXPECT_EQ(c.stopPTZ(), 1);
    EXPECT_EQ(uart->sentBytes, "MENUON");
    kvtest::StdoutCapture capture;
    for (int result : {5, 7, -1}) {
        uart->sendResult = result;
        EXPECT_EQ(c.stopPTZ(), 0) << result;
    }
    // An empty link is refused, and an unwired controller throws.
    EXPECT_THROW(c.setOperator(SafePointer<IUARTController>(), gpioPointer), KVRuntimeError);
    InitController unwired;
    unwired.m_bIntegratedModule = true;
    EXPECT_THROW(unwired.stopPTZ(), KVRuntimeError);
}

TEST_F(InitTest, ISPTablesAreReadAndReread) {
    InitController c;
    root.writeFile("/hd1/program/config/ISPParam.xml",
                   "<ISPParam><config time=\"5\" realTimeUpdate=\"true\"><day enable=\"true\">"
                   "<low min=\"0\" max=\"12\"><item name=\"EE\" value=\"6\"/></low>"
                   "</day></config></ISPParam>");
    EXPECT_EQ(c.ISPParamThreadInit(), 1);
    EXPECT_TRUE(c.m_bRealTimeUpdate);
    EXPECT_EQ(c.m_nISPDelayTime, 5);
    int value = 0;
    EXPECT_EQ(c.m_objISPParam->getParam("day", "EE", 3, value), 1);
    root.writeFile("/hd1/program/config/ISPParam.xml", "<ISPParam><config");
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.ISPParamBody(), 0);
    EXPECT_EQ(c.m_objISPParam->getParam("day", "EE", 3, value), 0) << "old tables cleared";
}

TEST_F(InitTest, VersionChangesRemoveTheFilesTheyInvalidate) {
    // Stamps in the files, driver versions, result, factory removed, schemes removed.
    const struct {
        const char* stamps;
        int version, version2, result;
        bool factoryGone;
        int schemesGone;
    } cases[] = {
        {"(10000,1)(10001,1)", 2, 1, 1, true, 3},      // first: factory + configured schemes
        {"(10000,1)(10001,1)", 1, 2, 0, true, 0},      // second: factory only
        {"(10000,1)(10001,2)", 1, 2, 1, false, 0},     // matching
        {"(10000,999)(10001,999)", 1, 2, 1, false, 0}, // wildcard
    };
    for (const auto& t : cases) {
        root.writeFile(kFactory, std::string("(1,50)") + t.stamps);
        for (int i = 1; i <= 4; ++i)
            root.writeFile(schemeFile(i), std::string("(1,60)") + t.stamps);
        InitController c;
        c.m_nParamSchemeNum = 3;
        c.setSensorConfigVersion(t.version);
        c.setSensorConfigVersion2(t.version2);
        kvtest::StdoutCapture capture;
        EXPECT_EQ(c.checkSensorConfigVersion(), t.result) << t.stamps;
        EXPECT_EQ(root.exists(kFactory), !t.factoryGone) << t.stamps;
        for (int i = 1; i <= 4; ++i)
            EXPECT_EQ(root.exists(schemeFile(i)), i > t.schemesGone) << t.stamps << " " << i;
    }
}

TEST_F(InitTest, FactoryFileIsCreatedFromTheModuleWhenMissing) {
    InitController c;
    c.setSensorConfigVersion(4);
    c.setSensorConfigVersion2(5);
    c.setModuleValue(3, 33);
    c.makeSchemes(3);
    EXPECT_EQ(c.reconcile(), 1);
    EXPECT_TRUE(contains(root.readFile(kFactory), "(10000,4)(10001,5)")) << "driver's stamps";
    const auto calls = c.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "initFactorySetting"), 1);
    // Every scheme is a copy of the factory file; all but the first start disabled.
    for (const std::string& path : {kFactory, schemeFile(1), schemeFile(2), schemeFile(3)}) {
        EXPECT_EQ(idValue(path, 3), 33) << path;
        EXPECT_EQ(idValue(path, 500), path == schemeFile(2) || path == schemeFile(3) ? 0 : 1);
    }

    InitController failing;
    failing.factoryResult = 0;
    failing.makeSchemes(2);
    std::remove(root.path(kFactory).c_str());
    std::remove(root.path(schemeFile(1)).c_str());
    EXPECT_EQ(failing.reconcile(), 0);
    EXPECT_FALSE(root.exists(kFactory));
    EXPECT_FALSE(root.exists(schemeFile(1)));
}

TEST_F(InitTest, ExistingAndLegacyFilesFollowTheModulesIdSetButKeepTheirValues) {
    // The files lack id 2 and hold the retired id 300; the legacy file becomes
    // scheme 1, later schemes still come from the factory file.
    root.writeFile(kFactory, "(1,11)(300,1)(500,1)(10000,0)(10001,0)");
    root.writeFile(kDir + "sensor.cfg", "(1,42)(300,1)(500,1)(10000,0)(10001,0)");
    InitController c;
    c.setModuleValue(2, 77);
    c.makeSchemes(2);
    EXPECT_EQ(c.reconcile(), 1);
    const auto calls = c.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "initFactorySetting"), 0);
    EXPECT_FALSE(root.exists(kDir + "sensor.cfg"));
    for (const auto& [path, kept] :
         {std::make_pair(kFactory, 11), std::make_pair(schemeFile(1), 42),
          std::make_pair(schemeFile(2), 11)}) {
        EXPECT_EQ(idValue(path, 1), kept) << path;
        EXPECT_EQ(idValue(path, 2), 77) << path;
        EXPECT_EQ(idValue(path, 300), -999) << path;
    }
}

TEST_F(InitTest, SchemeRecordsCountTheMinuteTenfoldAndTheXmlPicksTheScheme) {
    root.writeFile(kFactory, "(1,11)(500,1)(10000,0)(10001,0)");
    root.writeFile(schemeFile(1), "(500,1)(501,7)(502,3)(503,18)(504,30)(10000,0)(10001,0)");
    root.writeFile(schemeFile(2), "(500,0)(10000,0)(10001,0)"); // window ids absent
    root.writeFile(schemeFile(3), "(500,0)(501,5)(10000,0)(10001,0)");
    InitController c, picked, fewer;
    c.makeSchemes(3);
    c.m_vecParamScheme[2]->setEndTime(2400);
    c.m_vecParamScheme[2]->setEnableFlag(1);
    EXPECT_EQ(c.reconcile(), 1);
    // Start, end, enable; the all-day scheme is not taken from its file. The
    // window ids a file lacks come from the module: the unset 66:00-88:00.
    const std::vector<int> expected[] = {{730, 2100, 1}, {6600, 8800, 0}, {0, 2400, 1}};
    for (std::size_t i = 0; i < 3; ++i) {
        std::vector<int> r(3, -1);
        c.m_vecParamScheme[i]->getStartTime(r[0]);
        c.m_vecParamScheme[i]->getEndTime(r[1]);
        c.m_vecParamScheme[i]->getEnableFlag(r[2]);
        EXPECT_EQ(r, expected[i]) << i;
    }
    EXPECT_EQ(c.createSensorXML(), 1);
    EXPECT_EQ(c.setParamSchemeToFile(2), 1);
    EXPECT_EQ(c.setParamSchemeModeToFile(0), 1);
    picked.makeSchemes(3);
    EXPECT_EQ(picked.reconcile(), 1);
    EXPECT_EQ(picked.m_nParamScheme, 2);
    EXPECT_EQ(picked.m_nParamMode, 0);
    // An index the unit no longer has is not taken over.
    fewer.makeSchemes(2);
    EXPECT_EQ(fewer.reconcile(), 1);
    EXPECT_EQ(fewer.m_nParamScheme, 0);
}

} // namespace

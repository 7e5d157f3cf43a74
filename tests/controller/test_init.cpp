// Controller start-up: init order and failure, version check, file reconciliation.
// labels: threaded
#include "platform/PlatformClock.h"
#include "platform/SysfsGPIO.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>

namespace {

const std::string kDir = "/mnt/mtd/code/config_file/";
const std::string kFactory = kDir + "sensor_Factory.cfg";
const std::string kErrorLog = "/mnt/mtd/log/SensorError.log";
const std::string kInitLog = "/mnt/mtd/log/SensorInit.log";

std::string schemeFile(int number) {
    return kDir + "sensor" + std::to_string(number) + ".cfg";
}

// A serial link that records what is sent and reports a chosen count.
class FakeUART : public IUARTController {
public:
    int sendResult = -2; // -2: report the full length
    int lastPort = -100;
    std::string sentBytes;

    int open(const char*) override { return 0; }
    int setParameter(int, int, int, int, int) override { return 1; }
    int send(int port, const char* buf, int len) override {
        lastPort = port;
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
    using ISensorController::m_objISPParam;
    using RecordingController::RecordingController;
    // The worker makes virtual calls: it has to end before this layer goes.
    ~InitController() override { m_DNChangeThread->stop(); }

    // Scheme files and records built here, so that the file reconciliation
    // can be checked on its own.
    void makeSchemes(int count) {
        m_vecSchemeConfigFile.clear();
        m_vecParamScheme.clear();
        for (int i = 1; i <= count; ++i) {
            m_vecSchemeConfigFile.emplace_back(new SensorConfigFile(schemeFile(i)));
            m_vecParamScheme.emplace_back(new ParamScheme());
        }
    }
    void record(int index, int& start, int& end, int& enable) {
        m_vecParamScheme[static_cast<std::size_t>(index)]->getStartTime(start);
        m_vecParamScheme[static_cast<std::size_t>(index)]->getEndTime(end);
        m_vecParamScheme[static_cast<std::size_t>(index)]->getEnableFlag(enable);
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

    std::size_t position(const std::vector<std::string>& calls, const std::string& name) {
        return static_cast<std::size_t>(std::find(calls.begin(), calls.end(), name) -
                                        calls.begin());
    }
};

TEST_F(InitTest, FailingInitControllerStopsEverythingButTheLogs) {
    InitController c;
    c.initResult = 0;
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.init(1, ModuleConfigure(99, "", ""), VideoResolution()), 0);
    const std::string printed = capture.text();
    EXPECT_EQ(c.calls(), std::vector<std::string>{"initController"});
    EXPECT_EQ(c.getSensorStatus(), ISensorController::NotInited);
    EXPECT_EQ(c.m_nConfigStatus, 1);
    EXPECT_FALSE(c.m_DNChangeThread->isRunning());
    EXPECT_FALSE(c.m_bisInited);
    EXPECT_TRUE(root.exists(kInitLog));
    EXPECT_NE(root.readFile(kErrorLog).find("[SensorError] initController failed"),
              std::string::npos);
    EXPECT_NE(printed.find("initController failed"), std::string::npos);
    EXPECT_FALSE(root.exists(kFactory)) << "no parameter file is touched";
}

TEST_F(InitTest, SuccessfulInitRunsTheStepsInOrderAndStartsTheWorker) {
    InitController c;
    c.videoResult = 0;
    c.notifyResult = 0;
    EXPECT_EQ(runInit(c), 1);

    const auto calls = c.calls();
    const std::size_t init = position(calls, "initController");
    const std::size_t video = position(calls, "setSensorVideoSystem");
    const std::size_t factory = position(calls, "initFactorySetting");
    const std::size_t notify = position(calls, "NotifySensorInitComplate");
    ASSERT_LT(notify, calls.size());
    EXPECT_LT(init, video);
    EXPECT_LT(video, factory) << "the factory file is made after the module is up";
    EXPECT_LT(factory, notify);

    EXPECT_EQ(c.getSensorStatus(), ISensorController::InitSuccess);
    EXPECT_EQ(c.m_nConfigStatus, 2);
    EXPECT_TRUE(c.m_bisInited);
    EXPECT_TRUE(c.m_DNChangeThread->isRunning());

    // First start: factory file from the module, every scheme file, the XML.
    EXPECT_TRUE(root.exists(kFactory));
    for (int i = 1; i <= ISensorController::kDefaultParamSchemeNum; ++i)
        EXPECT_TRUE(root.exists(schemeFile(i))) << i;
    EXPECT_TRUE(root.exists(kDir + "sensor.xml"));

    // Failed steps are logged to the init log and do not stop the sequence.
    const std::string initLog = root.readFile(kInitLog);
    EXPECT_NE(initLog.find("init setSensorVideoSystem failed"), std::string::npos);
    EXPECT_NE(initLog.find("NotifySensorInitComplate failed"), std::string::npos);
    EXPECT_NE(root.readFile(kErrorLog).find("ISensorController::initSensor  success"),
              std::string::npos);
}

TEST_F(InitTest, SensorType17KeepsItsStatus) {
    InitController c(17);
    EXPECT_EQ(runInit(c), 1);
    EXPECT_EQ(c.getSensorStatus(), ISensorController::NotInited);
    EXPECT_TRUE(c.m_bisInited);
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
    EXPECT_EQ(root.readFile(schemeFile(1)).substr(0, 6), "(1,70)") << "user value kept";
}

TEST_F(InitTest, DestroyingARunningControllerTakesMilliseconds) {
    kvtest::TestRoot realTime(1.0); // the worker's wait lasts a real second
    realTime.writeFile(kDir + ".keep", "");
    auto c = std::make_unique<InitController>();
    ASSERT_EQ(runInit(*c), 1);
    ASSERT_TRUE(c->m_DNChangeThread->isRunning());
    const auto start = std::chrono::steady_clock::now();
    c.reset();
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count(), 200);
}

TEST_F(InitTest, StopPTZSendsMenuOnOnlyToAnIntegratedModule) {
    InitController c;
    c.setOperator(uartPointer, gpioPointer);
    c.m_nUARTPort = 3;
    EXPECT_EQ(c.stopPTZ(), 1);
    EXPECT_EQ(uart->sentBytes, "") << "not an integrated module";

    c.m_bIntegratedModule = true;
    EXPECT_EQ(c.stopPTZ(), 1);
    EXPECT_EQ(uart->sentBytes, "MENUON");
    EXPECT_EQ(uart->lastPort, 3);

    kvtest::StdoutCapture capture;
    for (int result : {5, 7, -1}) {
        uart->sendResult = result;
        EXPECT_EQ(c.stopPTZ(), 0) << result;
    }
    EXPECT_NE(capture.text().find("stop PTZ @getAllParameters failed"), std::string::npos);

    InitController unwired;
    unwired.m_bIntegratedModule = true;
    kvtest::StdoutCapture quiet;
    EXPECT_THROW(unwired.stopPTZ(), KVRuntimeError);
}

TEST_F(InitTest, SetOperatorRefusesAnEmptyLink) {
    InitController c;
    kvtest::StdoutCapture capture;
    EXPECT_THROW(c.setOperator(SafePointer<IUARTController>(), gpioPointer), KVRuntimeError);
    EXPECT_NE(capture.text().find(std::string("SafePointer Report:") +
                                  SafePointer<IUARTController>::typeName() +
                                  " Assigned NULL <T>pointer"),
              std::string::npos);
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
    EXPECT_EQ(value, 6);

    root.writeFile("/hd1/program/config/ISPParam.xml", "<ISPParam><config");
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.ISPParamBody(), 0);
    EXPECT_NE(capture.text().find("objISPParamParse.parse failed"), std::string::npos);
    EXPECT_EQ(c.m_objISPParam->getParam("day", "EE", 3, value), 0) << "old tables cleared";
}

// ---- version check --------------------------------------------------------------

class VersionTest : public InitTest {
protected:
    void writeAll(const std::string& stamps) {
        root.writeFile(kFactory, "(1,50)" + stamps);
        for (int i = 1; i <= 4; ++i)
            root.writeFile(schemeFile(i), "(1,60)" + stamps);
    }
};

TEST_F(VersionTest, FirstVersionChangeRemovesFactoryAndEverySchemeFile) {
    writeAll("(10000,1)(10001,1)");
    InitController c;
    c.m_nParamSchemeNum = 3;
    c.setSensorConfigVersion(2);
    c.setSensorConfigVersion2(1);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.checkSensorConfigVersion(), 1);
    EXPECT_NE(capture.text().find("sensor configure version 1 changed delete configure files "),
              std::string::npos);
    EXPECT_FALSE(root.exists(kFactory));
    for (int i = 1; i <= 3; ++i)
        EXPECT_FALSE(root.exists(schemeFile(i))) << i;
    EXPECT_TRUE(root.exists(schemeFile(4))) << "only the configured schemes are removed";
}

TEST_F(VersionTest, SecondVersionChangeRemovesOnlyTheFactoryFile) {
    writeAll("(10000,1)(10001,1)");
    InitController c;
    c.setSensorConfigVersion(1);
    c.setSensorConfigVersion2(2);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.checkSensorConfigVersion(), 0);
    EXPECT_NE(capture.text().find("sensor configure version 2 changed delete configure files "),
              std::string::npos);
    EXPECT_FALSE(root.exists(kFactory));
    for (int i = 1; i <= 4; ++i)
        EXPECT_TRUE(root.exists(schemeFile(i))) << i;
}

TEST_F(VersionTest, MatchingOrWildcardStampsKeepEverything) {
    for (const char* stamps : {"(10000,1)(10001,2)", "(10000,999)(10001,999)"}) {
        writeAll(stamps);
        InitController c;
        c.setSensorConfigVersion(1);
        c.setSensorConfigVersion2(2);
        EXPECT_EQ(c.checkSensorConfigVersion(), 1) << stamps;
        EXPECT_TRUE(root.exists(kFactory)) << stamps;
    }
}

// ---- file reconciliation ------------------------------------------------------------

TEST_F(InitTest, FactoryFileIsCreatedFromTheModuleWhenMissing) {
    InitController c;
    c.setSensorConfigVersion(4);
    c.setSensorConfigVersion2(5);
    c.setModuleValue(3, 33);
    c.makeSchemes(3);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.initConfigFile(), 1);
    const std::string printed = capture.text();
    EXPECT_NE(printed.find("create(" + kFactory + ") success"), std::string::npos);
    EXPECT_NE(printed.find("sensor1.cfg has not exit"), std::string::npos);
    EXPECT_NE(printed.find(kDir + "sensor.cfg not exit"), std::string::npos);

    const std::string factory = root.readFile(kFactory);
    EXPECT_NE(factory.find("(3,33)"), std::string::npos);
    EXPECT_NE(factory.find("(10000,4)(10001,5)"), std::string::npos) << "driver's stamps";
    const auto calls = c.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "initFactorySetting"), 1);

    // Scheme 1 is a copy of the factory file; later schemes start disabled.
    int value = -1;
    SensorConfigFile first(schemeFile(1));
    EXPECT_EQ(first.readParameterById(3, value), 1);
    EXPECT_EQ(value, 33);
    for (int i = 2; i <= 3; ++i) {
        SensorConfigFile file(schemeFile(i));
        EXPECT_EQ(file.readParameterById(500, value), 1) << i;
        EXPECT_EQ(value, 0) << i;
        EXPECT_EQ(file.readParameterById(3, value), 1) << i;
        EXPECT_EQ(value, 33) << i;
    }
    EXPECT_EQ(first.readParameterById(500, value), 1);
    EXPECT_EQ(value, 1) << "the first scheme keeps the factory's enable flag";
}

TEST_F(InitTest, FailingFactorySettingLeavesNoFile) {
    InitController c;
    c.factoryResult = 0;
    c.makeSchemes(2);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.initConfigFile(), 0);
    EXPECT_NE(capture.text().find("initFactorySetting failed"), std::string::npos);
    EXPECT_FALSE(root.exists(kFactory));
    EXPECT_FALSE(root.exists(schemeFile(1)));
}

TEST_F(InitTest, ExistingFilesFollowTheModulesIdSetButKeepTheirValues) {
    // The factory file lacks id 2 and holds the retired id 300.
    root.writeFile(kFactory, "(1,11)(300,1)(500,1)(10000,0)(10001,0)");
    root.writeFile(schemeFile(1), "(1,21)(300,1)(500,1)(10000,0)(10001,0)");
    InitController c;
    c.setModuleValue(2, 77);
    c.makeSchemes(1);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.initConfigFile(), 1);
    EXPECT_NE(capture.text().find("sensor1.cfg has exit"), std::string::npos);
    const auto calls = c.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "initFactorySetting"), 0)
        << "no factory setting when the file exists";
    const std::vector<std::pair<std::string, int>> files = {{kFactory, 11}, {schemeFile(1), 21}};
    for (const auto& [path, kept] : files) {
        SensorConfigFile file(path);
        int value = 0;
        EXPECT_EQ(file.readParameterById(1, value), 1) << path;
        EXPECT_EQ(value, kept) << path;
        EXPECT_EQ(file.readParameterById(2, value), 1) << path;
        EXPECT_EQ(value, 77) << path;
        EXPECT_EQ(file.readParameterById(300, value), 0) << path;
    }
}

TEST_F(InitTest, LegacyFileBecomesTheFirstScheme) {
    root.writeFile(kFactory, "(1,11)(500,1)(10000,0)(10001,0)");
    root.writeFile(kDir + "sensor.cfg", "(1,42)(500,1)(10000,0)(10001,0)");
    InitController c;
    c.makeSchemes(2);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.initConfigFile(), 1);
    const std::string printed = capture.text();
    EXPECT_NE(printed.find(kDir + "sensor.cfg exit"), std::string::npos);
    EXPECT_NE(printed.find("mv " + kDir + "sensor.cfg " + schemeFile(1)), std::string::npos);
    EXPECT_NE(printed.find("strAllParameters=("), std::string::npos);
    EXPECT_FALSE(root.exists(kDir + "sensor.cfg"));
    SensorConfigFile first(schemeFile(1));
    int value = 0;
    EXPECT_EQ(first.readParameterById(1, value), 1);
    EXPECT_EQ(value, 42);
    SensorConfigFile second(schemeFile(2));
    EXPECT_EQ(second.readParameterById(1, value), 1);
    EXPECT_EQ(value, 11) << "later schemes still come from the factory file";
}

TEST_F(InitTest, SchemeRecordsCountTheMinuteTenfold) {
    root.writeFile(kFactory, "(1,11)(500,1)(10000,0)(10001,0)");
    root.writeFile(schemeFile(1), "(500,1)(501,7)(502,3)(503,18)(504,30)(10000,0)(10001,0)");
    root.writeFile(schemeFile(2), "(500,0)(10000,0)(10001,0)"); // window ids absent
    root.writeFile(schemeFile(3), "(500,0)(501,5)(10000,0)(10001,0)");
    InitController c;
    c.makeSchemes(3);
    c.m_vecParamScheme[2]->setEndTime(2400);
    c.m_vecParamScheme[2]->setEnableFlag(1);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.initConfigFile(), 1);
    int start = -1, end = -1, enable = -1;
    c.record(0, start, end, enable);
    EXPECT_EQ(start, 730);
    EXPECT_EQ(end, 2100);
    EXPECT_EQ(enable, 1);
    c.record(1, start, end, enable);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 0);
    EXPECT_EQ(enable, 0);
    c.record(2, start, end, enable);
    EXPECT_EQ(start, 0) << "the all-day scheme is not taken from its file";
    EXPECT_EQ(end, 2400);
    EXPECT_EQ(enable, 1);
}

TEST_F(InitTest, SchemeIndexAndModeComeFromTheSensorXml) {
    root.writeFile(kFactory, "(1,11)(500,1)(10000,0)(10001,0)");
    {
        InitController writer;
        writer.makeSchemes(3);
        EXPECT_EQ(writer.createSensorXML(), 1);
        EXPECT_EQ(writer.setParamSchemeToFile(2), 1);
        EXPECT_EQ(writer.setParamSchemeModeToFile(0), 1);
    }
    InitController c;
    c.makeSchemes(3);
    kvtest::StdoutCapture capture;
    EXPECT_EQ(c.initConfigFile(), 1);
    EXPECT_EQ(c.m_nParamScheme, 2);
    EXPECT_EQ(c.m_nParamMode, 0);

    // An index the unit no longer has is not taken over.
    InitController fewer;
    fewer.makeSchemes(2);
    EXPECT_EQ(fewer.initConfigFile(), 1);
    EXPECT_EQ(fewer.m_nParamScheme, 0);
}

} // namespace

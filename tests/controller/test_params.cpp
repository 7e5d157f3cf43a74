// Controller parameters: applying, reading, saving, resetting, ISP tuning, TNF.
// labels: threaded
#include "platform/SensorParameterParser.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

const std::string kDir = "/mnt/mtd/code/config_file";
const std::string kFactory = kDir + "/sensor_Factory.cfg";
const std::string kEspecial = kDir + "/sensor_Especial.cfg";
const std::string kStamps = "(10000,-10000)(10001,-10000)";
const std::string kWindow = "(500,1)(501,0)(502,0)(503,24)(504,0)";

std::string scheme(int index) {
    return kDir + "/sensor" + std::to_string(index + 1) + ".cfg";
}

// "(first,value)...(last,value)"
std::string items(int first, int last, int value) {
    std::string text;
    for (int id = first; id <= last; ++id)
        text += "(" + std::to_string(id) + "," + std::to_string(value) + ")";
    return text;
}

// Refreshes ids 1..10 of a parameter text from the module, as a driver does.
class RefreshingController : public kvtest::RecordingController {
public:
    bool handBackGarbage = false;
    int UpdateParameters(std::string& text) override {
        if (handBackGarbage) {
            text = "(1,";
            return 1;
        }
        for (int id = 1; id <= 10; ++id)
            UpdateParametersIdValue(text, id, moduleValue(id));
        return 1;
    }
};

class ParamsTest : public ::testing::Test {
protected:
    kvtest::TestRoot root{0.001};
    RefreshingController ctrl;

    ParamsTest() { root.writeFile(kDir + "/.keep", ""); }

    // `count` scheme files and records, `current` in force.
    void useSchemes(int count, int current) {
        for (int i = 0; i < count; ++i) {
            ctrl.m_vecSchemeConfigFile.emplace_back(new SensorConfigFile(scheme(i)));
            ctrl.m_vecParamScheme.emplace_back(new ParamScheme());
        }
        ctrl.m_nParamScheme = current;
    }
    void seedLast(const std::string& text) { ctrl.m_pLastSensorCache->setSensorValues(text); }
    int last(int id) {
        int value = -999;
        ctrl.m_pLastSensorCache->getSensorValue(id, value);
        return value;
    }
};

TEST_F(ParamsTest, AppliesOnlyWhatChanged) {
    EXPECT_EQ(ctrl.setParameters(items(1, 10, 60) + kStamps), 1);
    EXPECT_EQ(ctrl.sent().size(), 10u); // the stamps never reach the module
    ctrl.clearRecords();

    EXPECT_EQ(ctrl.setParameters(items(1, 10, 60) + kStamps), 1);
    EXPECT_TRUE(ctrl.sent().empty());

    EXPECT_EQ(ctrl.setParameters("(2,60)(3,61)"), 1);
    EXPECT_EQ(ctrl.sent(), (std::vector<std::pair<int, int>>{{3, 61}}));
    EXPECT_EQ(last(3), 61);

    // The working set is read first, the last-applied values after it.
    int value = 0;
    EXPECT_EQ(ctrl.getParameter(3, value), 1);
    EXPECT_EQ(value, 61);
    EXPECT_EQ(ctrl.getParameter(7, value), 1);
    EXPECT_EQ(value, 60);
    EXPECT_EQ(ctrl.getParameter(77, value), 0);

    std::string out = "old";
    EXPECT_EQ(ctrl.getParameters("3, 1", out), 1);
    EXPECT_EQ(out, "(1,60)(3,61)");
    EXPECT_EQ(ctrl.getParameters("3,11", out), 0); // 11 is never cached
    EXPECT_EQ(ctrl.getParameters("1,,3", out), 0);
    EXPECT_EQ(out, "(1,60)(3,61)");
}

TEST_F(ParamsTest, CategoriesDecideWhatIsCached) {
    // Set-only: sent every time, never cached.
    EXPECT_EQ(ctrl.setParameter(11, 5), 1);
    EXPECT_EQ(ctrl.setParameter(11, 5), 1);
    EXPECT_EQ(ctrl.sent(), (std::vector<std::pair<int, int>>{{11, 5}, {11, 5}}));
    EXPECT_EQ(last(11), -999);

    // Keep-default-value: the module follows, the cache keeps the first value.
    EXPECT_EQ(ctrl.setParameter(12, 7), 1);
    EXPECT_EQ(ctrl.setParameter(12, 9), 1);
    EXPECT_EQ(ctrl.moduleValue(12), 9);
    EXPECT_EQ(last(12), 7);

    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParameter(99, 1), 0);
    EXPECT_NE(out.text().find("id type is unknow"), std::string::npos);
    EXPECT_EQ(last(99), -999);
}

TEST_F(ParamsTest, OneFailingIdLeavesTheOthersApplied) {
    ctrl.failIds = {4};
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParameters(items(1, 10, 60)), 0);
    const std::string text = out.text();
    EXPECT_NE(text.find("setParameterToSensor (4,60) failed"), std::string::npos);
    EXPECT_NE(text.find("setParameter (4,60) failed"), std::string::npos);
    EXPECT_EQ(ctrl.sent().size(), 10u);
    for (int id = 1; id <= 10; ++id)
        EXPECT_EQ(last(id), id == 4 ? -999 : 60) << id;
}

TEST_F(ParamsTest, LastSchemeIsAlwaysAllDay) {
    useSchemes(4, 3);
    EXPECT_EQ(ctrl.setParameter(503, 18), 1);
    EXPECT_EQ(ctrl.setParameter(500, 0), 1);
    EXPECT_EQ(ctrl.sent(), (std::vector<std::pair<int, int>>{{503, 24}, {500, 1}}));
    EXPECT_EQ(last(503), 24);
    EXPECT_EQ(last(500), 1);

    ctrl.clearRecords();
    ctrl.m_nParamScheme = 0;
    EXPECT_EQ(ctrl.setParameter(503, 18), 1);
    EXPECT_EQ(ctrl.sent(), (std::vector<std::pair<int, int>>{{503, 18}}));
}

TEST_F(ParamsTest, FlushWritesSchemeEspecialAndFactoryFiles) {
    ctrl.m_pIdManager->addParameterId(IdManager::Especial, 20);
    useSchemes(3, 1);
    root.writeFile(kFactory, "(1,50)(20,0)(30,4)" + kStamps);
    seedLast(items(1, 10, 50) + kWindow);
    ASSERT_EQ(ctrl.setParameters("(2,66)(20,7)"), 1);

    EXPECT_EQ(ctrl.flush(), 1);
    const std::string common = "(1,50)(2,66)" + items(3, 10, 50) + kWindow;
    EXPECT_EQ(root.readFile(scheme(1)), common + "(20,7)" + kStamps);
    EXPECT_EQ(root.readFile(kEspecial), "(20,7)" + kStamps);
    EXPECT_EQ(root.readFile(kFactory), "(1,50)(20,7)(30,4)" + kStamps);
    EXPECT_FALSE(root.exists(scheme(0)));

    // No scheme in force, or an id missing from the cache: nothing is written.
    ctrl.m_nParamScheme = 3;
    EXPECT_EQ(ctrl.flush(), 0);
    ctrl.m_nParamScheme = -1;
    EXPECT_EQ(ctrl.flush(), 0);
    ctrl.m_nParamScheme = 0;
    ctrl.m_pIdManager->addParameterId(IdManager::Common, 40);
    {
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctrl.flush(), 0);
        EXPECT_NE(out.text().find("getCommonIdValues from Last Cache failed"), std::string::npos);
    }
    EXPECT_FALSE(root.exists(scheme(0)));
    EXPECT_EQ(root.readFile(kFactory), "(1,50)(20,7)(30,4)" + kStamps);
}

TEST_F(ParamsTest, BadInputNeverCorruptsAnything) {
    useSchemes(2, 0);
    root.writeFile(kFactory, items(1, 10, 50) + kStamps);
    seedLast(items(1, 10, 50) + kWindow);
    ASSERT_EQ(ctrl.flush(), 1);
    const std::string saved = root.readFile(scheme(0));

    for (const char* bad : {"(1,5", "garbage", "(1,99999999999)", "(1,5)x", "(,)", "(1,5)(2"}) {
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctrl.setParameters(bad), 0) << bad;
    }
    EXPECT_TRUE(ctrl.sent().empty());
    EXPECT_EQ(ctrl.flush(), 1);
    EXPECT_EQ(root.readFile(scheme(0)), saved);

    EXPECT_EQ(ctrl.setParameters("(1,2147483647)(2,-2147483648)"), 1);
    EXPECT_EQ(ctrl.setParameter(INT_MIN, INT_MAX), 0);
    EXPECT_EQ(ctrl.flush(), 1);
    EXPECT_EQ(root.readFile(scheme(0)),
              "(1,2147483647)(2,-2147483648)" + items(3, 10, 50) + kWindow + kStamps);

    std::string text = "(1,5)(2,6)";
    EXPECT_EQ(ctrl.UpdateParametersIdValue(text, 2, -9), 1);
    EXPECT_EQ(text, "(1,5)(2,-9)");
    EXPECT_EQ(ctrl.UpdateParametersIdValue(text, 3, 1), 0);
    text = "(1,5)(2";
    EXPECT_EQ(ctrl.UpdateParametersIdValue(text, 1, 1), 0);
    EXPECT_EQ(text, "(1,5)(2");
}

TEST_F(ParamsTest, ResetToFactoryRewritesEverySchemeFile) {
    useSchemes(3, 0);
    const std::string factory = items(1, 10, 40) + kWindow + kStamps;
    root.writeFile(kFactory, factory);
    root.writeFile(scheme(1), "(1,1)" + kStamps);
    seedLast(items(1, 10, 50));

    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.resetParameters(), 1);
    const std::string text = out.text();
    EXPECT_NE(text.find("reset:" + factory + "\n"), std::string::npos);
    EXPECT_NE(text.find("resetParameters success"), std::string::npos);
    EXPECT_FALSE(ctrl.m_bisReset);
    for (int id = 1; id <= 10; ++id)
        EXPECT_EQ(ctrl.moduleValue(id), 40);
    EXPECT_EQ(root.readFile(scheme(0)), factory);
    const std::string disabled =
        items(1, 10, 40) + "(500,0)(501,0)(502,0)(503,24)(504,0)" + kStamps;
    EXPECT_EQ(root.readFile(scheme(1)), disabled);
    EXPECT_EQ(root.readFile(scheme(2)), disabled);
}

TEST_F(ParamsTest, FailedResetsLeaveTheFilesAlone) {
    useSchemes(2, 0);
    root.writeFile(scheme(0), "(1,1)" + kStamps);
    {
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctrl.resetParameters(), 0);
        EXPECT_NE(out.text().find("read factory setting failed"), std::string::npos);
    }
    EXPECT_TRUE(ctrl.m_bisReset); // left set on failure, as the system does

    root.writeFile(kFactory, items(1, 10, 40) + kStamps);
    ctrl.failIds = {3};
    {
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctrl.resetParameters(), 0);
        EXPECT_NE(out.text().find("setParameters @resetParameters failed"), std::string::npos);
    }
    root.writeFile(kFactory, "(1,40)(2,");
    EXPECT_EQ(ctrl.resetParameters(), 0);
    EXPECT_EQ(root.readFile(scheme(0)), "(1,1)" + kStamps);
    EXPECT_FALSE(root.exists(scheme(1)));

    ctrl.m_nParamScheme = 5;
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.resetToLastParameters(), 0);
    EXPECT_NE(out.text().find("read user setting failed"), std::string::npos);
}

TEST_F(ParamsTest, ResetToLastReappliesTheSchemeInForce) {
    useSchemes(2, 0);
    root.writeFile(kFactory, items(1, 10, 40) + kStamps);
    const std::string user = items(1, 10, 33) + kWindow + kStamps;
    root.writeFile(scheme(0), user);
    seedLast(items(1, 10, 50) + kWindow);

    EXPECT_EQ(ctrl.resetToLastParameters(), 1);
    EXPECT_FALSE(ctrl.m_bisReset);
    for (int id = 1; id <= 10; ++id)
        EXPECT_EQ(ctrl.moduleValue(id), 33);
    EXPECT_EQ(root.readFile(scheme(0)), user);
    EXPECT_EQ(root.readFile(kEspecial), kStamps);
}

TEST_F(ParamsTest, GetAllParametersRefreshesAndSavesOnChange) {
    useSchemes(2, 0);
    root.writeFile(kFactory, items(1, 10, 50) + kStamps);
    seedLast(items(1, 10, 50) + kWindow);
    ctrl.setModuleValue(3, 70);

    std::string out;
    {
        kvtest::StdoutCapture capture;
        EXPECT_EQ(ctrl.getAllParameters(out), 1);
        EXPECT_NE(capture.text().find("save sensor parameter"), std::string::npos);
    }
    const std::string expected = "(1,50)(2,50)(3,70)" + items(4, 10, 50) + kWindow;
    EXPECT_EQ(out, expected);
    EXPECT_EQ(last(3), 70);
    EXPECT_EQ(root.readFile(scheme(0)), expected + kStamps);
    {
        kvtest::StdoutCapture capture;
        EXPECT_EQ(ctrl.getAllParameters(out), 1);
        EXPECT_EQ(capture.text().find("save sensor parameter"), std::string::npos);
    }

    // A refresh that does not parse keeps the last-applied values.
    ctrl.handBackGarbage = true;
    EXPECT_EQ(ctrl.getAllParameters(out), 0);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(last(3), 70);
}

TEST_F(ParamsTest, ReadsEveryReadableIdFromTheModule) {
    ctrl.setModuleValue(12, 3);
    std::string out = "old";
    ASSERT_EQ(ctrl.getAllParametersFromSensor(out), 1);
    std::map<int, int> values;
    ASSERT_EQ(SensorParameterParser::parseSensorParameter(out, values), 1);
    EXPECT_EQ(values.size(), 16u); // 1..10, 12 and 500..504; set-only 11 is never read
    EXPECT_EQ(values.count(11), 0u);
    EXPECT_EQ(values[12], 3);
    EXPECT_EQ(values[500], 1);

    ctrl.m_pIdManager->addParameterId(IdManager::Common, 30); // the module has no 30
    kvtest::StdoutCapture capture;
    EXPECT_EQ(ctrl.getAllParametersFromSensor(out), 0);
    EXPECT_NE(capture.text().find("getParameterFromSensor(30) failed"), std::string::npos);
}

TEST_F(ParamsTest, TNF) {
    int value = -1;
    {
        kvtest::StdoutCapture out;
        ctrl.setTNF(1);
        ctrl.setTNF(100);
        ctrl.setTNF(0);
        EXPECT_EQ(out.text(), "setTNF=255\nsetTNF=0\n");
    }
    EXPECT_EQ(ctrl.getTNF(value), 1);
    EXPECT_EQ(value, 0);
    {
        kvtest::StdoutCapture out;
        ctrl.setTNF(INT_MAX);
        ctrl.setTNF(INT_MIN);
        EXPECT_EQ(out.text(), "setTNF=5531397015\nsetTNF=5531397532\n");
    }
    ctrl.setTNF(50);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setTNFMode(2), 1); // re-applies the stored value
    EXPECT_EQ(out.text(), "setTNF=129\n");
    EXPECT_EQ(ctrl.getTNFMode(value), 1);
    EXPECT_EQ(value, 2);
}

void loadTuning(ISPParam& p) {
    const struct {
        const char* band;
        int min, max, ee, dc, a0, tm;
    } bands[] = {{"low", 0, 12, 6, 128, 2, 1}, {"mid", 12, 30, 4, 120, 4, 2}};
    for (const auto& b : bands) {
        p.setParam("day", b.band, b.min, b.max, "EE", b.ee);
        p.setParam("day", b.band, b.min, b.max, "DC", b.dc);
        p.setParam("day", b.band, b.min, b.max, "A0", b.a0);
        p.setParam("day", b.band, b.min, b.max, "TM", b.tm);
    }
    p.setParam("dusk", "low", 0, 100, "EE", -3);
}

std::string tune(kvtest::RecordingController& c, const std::string& scheme, int level) {
    kvtest::StdoutCapture out;
    EXPECT_EQ(c.setISPParam(scheme, level), 1);
    return out.text();
}

TEST_F(ParamsTest, ISPTuningAppliesOnlyChanges) {
    loadTuning(*ctrl.m_objISPParam);
    EXPECT_EQ(ctrl.lookupISPValue("day", "DC", 12), 120);
    EXPECT_EQ(ctrl.lookupISPValue("day", "XX", 5), -100);
    EXPECT_EQ(tune(ctrl, "day", 5), "set ee=6\nset DC=128\nset A0=2,TM=1\n");
    EXPECT_EQ(tune(ctrl, "day", 11), "");
    EXPECT_EQ(tune(ctrl, "day", 20), "set ee=4\nset DC=120\nset A0=4,TM=2\n");
    EXPECT_EQ(tune(ctrl, "day", 99), ""); // no band: nothing changes
    EXPECT_EQ(tune(ctrl, "night", 5), "");

    ctrl.setTNFMode(1); // DC and 3DNR are applied again, edge enhancement is not
    EXPECT_EQ(tune(ctrl, "day", 20), "set DC=120\nset A0=4,TM=2\n");

    // A negative value is remembered, not applied: the next real one applies.
    EXPECT_EQ(tune(ctrl, "dusk", 5), "");
    EXPECT_EQ(tune(ctrl, "day", 20), "set ee=4\n");

    ctrl.m_objISPParam->setEnableFlag("day", false);
    EXPECT_EQ(tune(ctrl, "day", 5), "");
}

TEST_F(ParamsTest, ISPTuningExceptions) {
    kvtest::RecordingController type21(21), type5(5);
    loadTuning(*type21.m_objISPParam);
    loadTuning(*type5.m_objISPParam);
    EXPECT_EQ(tune(type5, "day", 5), "");

    type21.setTNFMode(1); // this type then takes no tuning from the table
    EXPECT_EQ(tune(type21, "day", 5), "");
    type21.setTNFMode(0);
    EXPECT_EQ(tune(type21, "day", 5), "set ee=6\nset DC=128\nset A0=2,TM=1\n");
}

// The host's set/flush/get racing the worker's scheme application.
TEST_F(ParamsTest, ConcurrentSetsStayConsistent) {
    useSchemes(2, 0);
    root.writeFile(kFactory, items(1, 10, 50) + kStamps);
    seedLast(items(1, 10, 50) + kWindow);
    std::atomic<int> failures{0};

    std::thread worker([&] {
        for (int i = 0; i < 150; ++i)
            if (ctrl.setParameters(items(1, 10, 100 + i % 5)) == 0)
                ++failures;
    });
    for (int i = 0; i < 150; ++i) {
        int value = 0;
        if (ctrl.setParameters(items(1, 10, i % 7)) == 0 || ctrl.flush() == 0 ||
            ctrl.getParameter(3, value) == 0)
            ++failures;
    }
    worker.join();

    EXPECT_EQ(failures.load(), 0);
    // Every set ran whole: the cache matches the module, and all ids agree.
    for (int id = 1; id <= 10; ++id) {
        EXPECT_EQ(last(id), ctrl.moduleValue(id)) << id;
        EXPECT_EQ(last(id), last(1)) << id;
    }
    std::map<int, int> saved;
    ASSERT_EQ(SensorParameterParser::parseSensorParameter(root.readFile(scheme(0)), saved), 1);
    EXPECT_EQ(saved.size(), 17u);
}

} // namespace

// Controller parameters: applying, reading, saving, resetting, ISP tuning, TNF.
// labels: threaded
#include "platform/SensorParameterParser.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Sent = std::vector<std::pair<int, int>>;

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
bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Refreshes ids 1..10 of a parameter text from the module, as a driver does.
class RefreshingController : public kvtest::RecordingController {
public:
    bool handBackGarbage = false;
    std::function<void()> duringUpdate;
    std::set<int> executeThenFail; // the module takes these, the set still fails once
    int setParameterToSensor(int id, int value) override {
        const int result = RecordingController::setParameterToSensor(id, value);
        return executeThenFail.erase(id) != 0 ? 0 : result;
    }
    int UpdateParameters(std::string& text) override {
        if (duringUpdate)
            duringUpdate();
        if (handBackGarbage)
            text = "(1,";
        for (int id = 1; id <= 10 && !handBackGarbage; ++id)
            UpdateParametersIdValue(text, id, moduleValue(id));
        return 1;
    }
};

class ParamsTest : public ::testing::Test {
protected:
    kvtest::TestRoot root{0.001};
    RefreshingController ctrl;

    // `count` scheme files and records, `current` in force; unless `factory` is
    // empty, the factory file and the last-applied values seeded.
    void useSchemes(int count, int current, const std::string& factory = items(1, 10, 50)) {
        for (int i = 0; i < count; ++i) {
            ctrl.m_vecSchemeConfigFile.emplace_back(new SensorConfigFile(scheme(i)));
            ctrl.m_vecParamScheme.emplace_back(new ParamScheme());
        }
        ctrl.m_nParamScheme = current;
        if (factory.empty())
            return;
        root.writeFile(kFactory, factory + kStamps);
        ctrl.m_pLastSensorCache->setSensorValues(items(1, 10, 50) + kWindow);
    }
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
    EXPECT_EQ(ctrl.sent(), (Sent{{3, 61}}));
    EXPECT_EQ(last(3), 61);
    std::string out = "old";
    EXPECT_EQ(ctrl.getParameters("3, 1", out), 1);
    EXPECT_EQ(out, "(1,60)(3,61)");
    EXPECT_EQ(ctrl.getParameters("1,,3", out), 0);
    EXPECT_EQ(out, "(1,60)(3,61)");
}

TEST_F(ParamsTest, CategoriesDecideWhatIsCached) {
    // Set-only: sent every time, never cached.
    EXPECT_EQ(ctrl.setParameter(11, 5), 1);
    EXPECT_EQ(ctrl.setParameter(11, 5), 1);
    EXPECT_EQ(ctrl.sent(), (Sent{{11, 5}, {11, 5}}));
    EXPECT_EQ(last(11), -999);
    // Keep-default-value: the module follows, the cache keeps the first value.
    EXPECT_EQ(ctrl.setParameter(12, 7), 1);
    EXPECT_EQ(ctrl.setParameter(12, 9), 1);
    EXPECT_EQ(ctrl.moduleValue(12), 9);
    EXPECT_EQ(last(12), 7);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParameter(99, 1), 0);
    EXPECT_EQ(last(99), -999);

    // One failing id leaves the others applied.
    ctrl.failIds = {4};
    EXPECT_EQ(ctrl.setParameters(items(1, 10, 60)), 0);
    for (int id = 1; id <= 10; ++id)
        EXPECT_EQ(last(id), id == 4 ? -999 : 60) << id;
}

TEST_F(ParamsTest, LastSchemeIsAlwaysAllDay) {
    useSchemes(4, 3, "");
    EXPECT_EQ(ctrl.setParameter(503, 18), 1);
    EXPECT_EQ(ctrl.setParameter(500, 0), 1);
    EXPECT_EQ(ctrl.sent(), (Sent{{503, 24}, {500, 1}}));
    EXPECT_EQ(last(503), 24);
    ctrl.clearRecords();
    ctrl.m_nParamScheme = 0;
    EXPECT_EQ(ctrl.setParameter(503, 18), 1);
    EXPECT_EQ(ctrl.sent(), (Sent{{503, 18}}));
}

TEST_F(ParamsTest, FlushWritesSchemeEspecialAndFactoryFiles) {
    ctrl.m_pIdManager->addParameterId(IdManager::Especial, 20);
    useSchemes(3, 1, "(1,50)(20,0)(30,4)");
    ASSERT_EQ(ctrl.setParameters("(2,66)(20,7)"), 1);
    EXPECT_EQ(ctrl.flush(), 1);
    const std::string common = "(1,50)(2,66)" + items(3, 10, 50) + kWindow;
    EXPECT_EQ(root.readFile(scheme(1)), common + "(20,7)" + kStamps);
    EXPECT_EQ(root.readFile(kEspecial), "(20,7)" + kStamps);
    EXPECT_EQ(root.readFile(kFactory), "(1,50)(20,7)(30,4)" + kStamps);

    // No scheme in force, or an id missing from the cache: nothing is written.
    ctrl.m_nParamScheme = 3;
    EXPECT_EQ(ctrl.flush(), 0);
    ctrl.m_nParamScheme = 0;
    ctrl.m_pIdManager->addParameterId(IdManager::Common, 40);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.flush(), 0);
    EXPECT_FALSE(root.exists(scheme(0)));
    EXPECT_EQ(root.readFile(kFactory), "(1,50)(20,7)(30,4)" + kStamps);
}

TEST_F(ParamsTest, BadInputNeverCorruptsAnything) {
    useSchemes(2, 0);
    ASSERT_EQ(ctrl.flush(), 1);
    const std::string saved = root.readFile(scheme(0));
    // A text that does not parse fills nothing: nothing is applied, no id fails.
    for (const char* bad : {"(1,5", "garbage", "(1,99999999999)", "(1,5)x", "(,)", "(1,5)(2"}) {
        kvtest::StdoutCapture out;
        EXPECT_EQ(ctrl.setParameters(bad), 1) << bad;
    }
    EXPECT_TRUE(ctrl.sent().empty());
    EXPECT_EQ(ctrl.flush(), 1);
    EXPECT_EQ(root.readFile(scheme(0)), saved);

    EXPECT_EQ(ctrl.setParameters("(1,2147483647)(2,-2147483648)"), 1);
    EXPECT_EQ(ctrl.setParameter(INT_MIN, INT_MAX), 0);
    EXPECT_EQ(ctrl.flush(), 1);
    EXPECT_EQ(root.readFile(scheme(0)),
              "(1,2147483647)(2,-2147483648)" + items(3, 10, 50) + kWindow + kStamps);

    std::string text = "(1,5)(2";
    EXPECT_EQ(ctrl.UpdateParametersIdValue(text, 3, 1), 0);
    EXPECT_EQ(ctrl.UpdateParametersIdValue(text, 1, 1), 0);
    EXPECT_EQ(text, "(1,5)(2");
}

TEST_F(ParamsTest, ResetToFactoryRewritesEverySchemeFileAndResetToLastReapplies) {
    const std::string factory = items(1, 10, 40) + kWindow;
    useSchemes(3, 0, factory);
    root.writeFile(scheme(1), "(1,1)" + kStamps);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.resetParameters(), 1);
    EXPECT_FALSE(ctrl.m_bisReset);
    EXPECT_EQ(ctrl.moduleValue(7), 40);
    EXPECT_EQ(root.readFile(scheme(0)), factory + kStamps);
    const std::string disabled =
        items(1, 10, 40) + "(500,0)(501,0)(502,0)(503,24)(504,0)" + kStamps;
    EXPECT_EQ(root.readFile(scheme(1)), disabled);
    EXPECT_EQ(root.readFile(scheme(2)), disabled);

    const std::string user = items(1, 10, 33) + kWindow + kStamps;
    root.writeFile(scheme(0), user);
    EXPECT_EQ(ctrl.resetToLastParameters(), 1);
    for (int id = 1; id <= 10; ++id)
        EXPECT_EQ(ctrl.moduleValue(id), 33);
    EXPECT_EQ(root.readFile(scheme(0)), user);
    EXPECT_EQ(root.readFile(kEspecial), kStamps);
}

TEST_F(ParamsTest, FailedResetsLeaveTheFilesAlone) {
    useSchemes(2, 0);
    std::remove(root.path(kFactory).c_str());
    root.writeFile(scheme(0), "(1,1)" + kStamps);
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.resetParameters(), 0); // no factory file
    EXPECT_TRUE(ctrl.m_bisReset);         // left set on failure, as the system does
    root.writeFile(kFactory, items(1, 10, 40) + kStamps);
    ctrl.failIds = {3};
    EXPECT_EQ(ctrl.resetParameters(), 0);
    root.writeFile(kFactory, "(1,40)(2,"); // applies nothing; the files refuse the text
    EXPECT_EQ(ctrl.resetParameters(), 1);
    EXPECT_EQ(root.readFile(scheme(0)), "(1,1)" + kStamps);
    EXPECT_FALSE(root.exists(scheme(1)));
    ctrl.m_nParamScheme = 5;
    EXPECT_EQ(ctrl.resetToLastParameters(), 0);
}

// A set whose outcome is unknown (the module may have taken it) is sent
// again next time, even with the last-applied value; the cache keeps that
// value meanwhile, so a flush still saves it.
TEST_F(ParamsTest, AnUnconfirmedSetIsSentAgainEvenWithAnEqualValue) {
    useSchemes(2, 0);
    ctrl.executeThenFail = {4};
    kvtest::StdoutCapture out;
    EXPECT_EQ(ctrl.setParameter(4, 70), 0);
    EXPECT_EQ(ctrl.moduleValue(4), 70) << "the module took it";
    EXPECT_EQ(last(4), 50);
    ASSERT_EQ(ctrl.flush(), 1);
    EXPECT_TRUE(contains(root.readFile(scheme(0)), "(4,50)"));
    ctrl.clearRecords();
    EXPECT_EQ(ctrl.setParameter(4, 50), 1);
    EXPECT_EQ(ctrl.sent(), (Sent{{4, 50}}));
    EXPECT_EQ(ctrl.moduleValue(4), 50);
    ctrl.clearRecords(); // confirmed now: equal values are skipped again
    EXPECT_EQ(ctrl.setParameter(4, 50), 1);
    EXPECT_TRUE(ctrl.sent().empty());
}

TEST_F(ParamsTest, GetAllParametersRefreshesAndSavesOnChange) {
    useSchemes(2, 0);
    ctrl.setModuleValue(3, 70);
    std::string out;
    kvtest::StdoutCapture first;
    EXPECT_EQ(ctrl.getAllParameters(out), 1);
    EXPECT_TRUE(contains(first.text(), "save sensor parameter"));
    const std::string expected = "(1,50)(2,50)(3,70)" + items(4, 10, 50) + kWindow;
    EXPECT_EQ(out, expected);
    EXPECT_EQ(last(3), 70);
    EXPECT_EQ(root.readFile(scheme(0)), expected + kStamps);
    kvtest::StdoutCapture second;
    EXPECT_EQ(ctrl.getAllParameters(out), 1);
    EXPECT_FALSE(contains(second.text(), "save sensor parameter"));
    // The module I/O of the refresh runs without the parameter lock.
    bool lockFree = false;
    ctrl.duringUpdate = [&] {
        std::thread other([&] {
            lockFree = ctrl.m_paramMutex.try_lock();
            if (lockFree)
                ctrl.m_paramMutex.unlock();
        });
        other.join();
    };
    EXPECT_EQ(ctrl.getAllParameters(out), 1);
    EXPECT_TRUE(lockFree);
    ctrl.duringUpdate = nullptr;
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
    EXPECT_EQ(values[12], 3);
    ctrl.m_pIdManager->addParameterId(IdManager::Common, 30); // the module has no 30
    kvtest::StdoutCapture capture;
    EXPECT_EQ(ctrl.getAllParametersFromSensor(out), 0);
}

TEST_F(ParamsTest, TNFStrengthScaleAndModeReapply) {
    kvtest::StdoutCapture out;
    for (int value : {1, 100, 0, INT_MAX, INT_MIN, 50})
        ctrl.setTNF(value);
    EXPECT_EQ(ctrl.setTNFMode(2), 1); // re-applies the stored value
    EXPECT_EQ(out.text(), "setTNF=255\nsetTNF=0\nsetTNF=5531397015\nsetTNF=5531397532\n"
                          "setTNF=129\nsetTNF=129\n");
}

void loadTuning(ISPParam& p) {
    const struct {
        const char* band;
        int min, max, values[4];
    } bands[] = {{"low", 0, 12, {6, 128, 2, 1}}, {"mid", 12, 30, {4, 120, 4, 2}}};
    const char* const names[] = {"EE", "DC", "A0", "TM"};
    for (const auto& b : bands)
        for (int i = 0; i < 4; ++i)
            p.setParam("day", b.band, b.min, b.max, names[i], b.values[i]);
    p.setParam("dusk", "low", 0, 100, "EE", -3);
}

std::string tune(kvtest::RecordingController& c, const std::string& scheme, int level) {
    kvtest::StdoutCapture out;
    EXPECT_EQ(c.setISPParam(scheme, level), 1);
    return out.text();
}

TEST_F(ParamsTest, ISPTuningAppliesOnlyChanges) {
    loadTuning(*ctrl.m_objISPParam);
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

    kvtest::RecordingController type21(21);
    loadTuning(*type21.m_objISPParam);
    type21.setTNFMode(1); // this type then takes no tuning from the table
    EXPECT_EQ(tune(type21, "day", 5), "");
    type21.setTNFMode(0);
    EXPECT_EQ(tune(type21, "day", 5), "set ee=6\nset DC=128\nset A0=2,TM=1\n");
}

// The host's set/flush/get racing the worker's scheme application.
TEST_F(ParamsTest, ConcurrentSetsStayConsistent) {
    useSchemes(2, 0);
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

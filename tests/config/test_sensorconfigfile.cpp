// Parameter files: format, version stamps, reconciliation and crash safety.
#include "config/ParamScheme.h"
#include "config/SensorConfigFile.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char* kPath = "/mnt/mtd/code/config_file/sensor1.cfg";

class SensorConfigFileTest : public ::testing::Test {
protected:
    kvtest::TestRoot root;
    void write(const std::string& content) { root.writeFile(kPath, content); }
    std::string contents() { return root.readFile(kPath); }
};

TEST_F(SensorConfigFileTest, SaveAppendsOrRewritesStamps) {
    root.writeFile("/mnt/mtd/code/config_file/.keep", "");
    SensorConfigFile file(kPath);
    EXPECT_EQ(file.saveParametersToFile(std::string("(1,5)")), 1);
    EXPECT_EQ(contents(), "(1,5)(10000,-10000)(10001,-10000)");
    file.setVersion(3);
    EXPECT_EQ(file.saveParametersToFile(std::string("(1,5)(10000,7)")), 1);
    EXPECT_EQ(contents(), "(1,5)(10000,3)");
    std::map<int, int> values{{2, -3}, {0, 50}};
    file.setVersion2(1);
    EXPECT_EQ(file.saveParametersToFile(values), 1);
    EXPECT_EQ(contents(), "(0,50)(2,-3)(10000,3)(10001,1)");
}

TEST_F(SensorConfigFileTest, ReadsAndRejectsBadContentWithoutWriting) {
    SensorConfigFile file(kPath);
    std::string text = "x";
    EXPECT_EQ(file.readParametersFromFile(text), 0) << "missing file";
    EXPECT_EQ(text, "x");
    EXPECT_EQ(file.isExist(), 0);
    EXPECT_EQ(file.modifyParameter(1, 2), 0);
    EXPECT_FALSE(root.exists(kPath)) << "a failed modify creates nothing";

    write("");
    EXPECT_EQ(file.readParametersFromFile(text), 1);
    EXPECT_EQ(text, "");

    write("(1,5)(2,garbage)");
    std::map<int, int> values;
    EXPECT_EQ(file.readParametersFromFile(values), 0);
    EXPECT_EQ(file.modifyParameters(std::map<int, int>{{1, 9}}), 0);
    EXPECT_EQ(file.saveParametersToFile(std::string("(1,")), 0);
    EXPECT_EQ(contents(), "(1,5)(2,garbage)") << "nothing rewrote the file";
    int v = 0;
    EXPECT_EQ(file.readParameterById(1, v), 0);
}

TEST_F(SensorConfigFileTest, ModifyRules) {
    SensorConfigFile file(kPath);
    file.setVersion(4);
    file.setVersion2(2);
    write("(1,5)(2,6)(10000,4)(10001,2)");
    EXPECT_EQ(file.modifyParameter(9, 1), 1) << "absent id: file rewritten unchanged";
    EXPECT_EQ(contents(), "(1,5)(2,6)(10000,4)(10001,2)");
    EXPECT_EQ(file.modifyParameters(std::string("(2,7)(3,8)(10000,5)")), 1);
    EXPECT_EQ(contents(), "(1,5)(2,7)(10000,4)(10001,2)");
    int v = 0;
    EXPECT_EQ(file.readParameterById(2, v), 1);
    EXPECT_EQ(v, 7);

    write("(1,5)(2,6)");
    EXPECT_EQ(file.modifyIdUnEqualParameters(std::string("(1,9)(4,2)")), 1);
    EXPECT_EQ(contents(), "(1,5)(4,2)(10000,4)(10001,2)");
}

TEST_F(SensorConfigFileTest, VersionComparisonAndWildcard) {
    SensorConfigFile file(kPath);
    write("(1,5)(10000,999)(10001,3)");
    EXPECT_TRUE(file.isVersionEqual(12345));
    EXPECT_TRUE(file.isVersion2Equal(3));
    EXPECT_FALSE(file.isVersion2Equal(4));
    write("(1,5)");
    EXPECT_FALSE(file.isVersionEqual(-10000)) << "no stamp: never equal";
}

TEST_F(SensorConfigFileTest, UnwritableFilePrintsTheTextNotThePath) {
    SensorConfigFile file("/no/such/dir/sensor1.cfg");
    kvtest::StdoutCapture out;
    EXPECT_EQ(file.saveParametersToFile(std::string("(1,5)")), 0);
    EXPECT_EQ(out.text(), "________open file((1,5)) failed\n");
}

// A process killed at a random moment of a save leaves the complete old or
// the complete new file, never a mix.
TEST_F(SensorConfigFileTest, KilledSaveLeavesOldOrNewFile) {
    std::map<int, int> oldValues, newValues;
    for (int id = 1; id < 400; ++id) {
        oldValues[id] = id;
        newValues[id] = -id;
    }
    SensorConfigFile file(kPath);
    root.writeFile("/mnt/mtd/code/config_file/.keep", "");
    ASSERT_EQ(file.saveParametersToFile(oldValues), 1);
    const std::string oldText = contents();
    std::mt19937 random(7);
    int sawNew = 0;
    for (int round = 0; round < 40; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (;;) {
                file.saveParametersToFile(newValues);
                file.saveParametersToFile(oldValues);
            }
        }
        usleep(200 + random() % 3000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        std::map<int, int> now;
        ASSERT_EQ(file.readParametersFromFile(now), 1) << "round " << round;
        now.erase(10000);
        now.erase(10001);
        ASSERT_TRUE(now == oldValues || now == newValues) << "round " << round;
        sawNew += now == newValues;
    }
    // Either outcome is fine; the test is only useful if kills land mid-write.
    RecordProperty("rounds_with_new_file", sawNew);
}

TEST(ParamSchemeTest, StartsAtZeroAndStoresFields) {
    ParamScheme scheme;
    int s = -1, e = -1, f = -1;
    scheme.getStartTime(s);
    scheme.getEndTime(e);
    scheme.getEnableFlag(f);
    EXPECT_EQ(s + e + f, 0);
    scheme.setStartTime(800);
    scheme.setEndTime(1800);
    scheme.setEnableFlag(1);
    scheme.getStartTime(s);
    scheme.getEndTime(e);
    scheme.getEnableFlag(f);
    EXPECT_EQ(s, 800);
    EXPECT_EQ(e, 1800);
    EXPECT_EQ(f, 1);
}

} // namespace

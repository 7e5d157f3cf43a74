// Tests of sy_system: cp/mv/rm under the root, globbing, refusals and time-outs.
#include "platform/KVRoot.h"
#include "platform/SystemCommand.h"

#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string kDir = "/cfg/";

} // namespace

TEST(SySystem, CopyMoveRemoveUnderTheRootPrintNothing) {
    kvtest::TestRoot root;
    root.writeFile(kDir + "sensor1.cfg", "(1,5)");
    root.writeFile(kDir + "sensor.cfg", "legacy");
    kvtest::StdoutCapture out;
    EXPECT_EQ(sy_system("cp  /cfg/sensor1.cfg\t/cfg/sensor2.cfg -rf", 30), 0);
    EXPECT_EQ(sy_system("mv /cfg/sensor.cfg /cfg/sensor3.cfg", 30), 0);
    EXPECT_EQ(sy_system("mv /cfg/none.cfg /x", 30), 1);
    EXPECT_EQ(sy_system("rm /cfg/sensor_Factory.cfg", 30), 1);
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(root.readFile(kDir + "sensor2.cfg"), "(1,5)");
    EXPECT_FALSE(root.exists(kDir + "sensor.cfg"));
    EXPECT_EQ(root.readFile(kDir + "sensor3.cfg"), "legacy");
}

TEST(SySystem, GlobsExpandAfterMappingAndUnmatchedPatternsStayLiteral) {
    kvtest::TestRoot root;
    for (const char* name : {"sensor1.cfg", "sensor2.cfg", "sensor_Factory.cfg", "sensor.xml"})
        root.writeFile(kDir + name, "x");
    root.writeFile("/other/sensor9.cfg", "keep");
    EXPECT_EQ(sy_system("cp /cfg/sensor?.cfg /other -rf", 30), 0);
    EXPECT_EQ(root.readFile("/other/sensor2.cfg"), "x");
    EXPECT_EQ(sy_system("rm /cfg/sensor*.cfg -rf", 30), 0);
    EXPECT_FALSE(root.exists(kDir + "sensor_Factory.cfg"));
    EXPECT_TRUE(root.exists(kDir + "sensor.xml"));
    EXPECT_EQ(root.readFile("/other/sensor9.cfg"), "keep");
    // No match: rm -f of the literal name succeeds, cp of it fails.
    EXPECT_EQ(sy_system("rm /cfg/sensor*.cfg -rf", 30), 0);
    EXPECT_NE(sy_system("cp /cfg/none*.cfg /other", 30), 0);
    root.writeFile(kDir + "odd*.cfg", "literal");
    EXPECT_EQ(sy_system("cp /cfg/odd*.cfg /other/odd.cfg", 30), 0);
    EXPECT_EQ(root.readFile("/other/odd.cfg"), "literal");
}

// A root whose own path holds pattern characters is matched literally: the
// commands never reach the sibling folders such a pattern would match.
TEST(SySystem, PatternCharactersInTheRootStayLiteral) {
    kvtest::TestRoot outer;
    const std::string root = outer.path("/r[1]*?");
    const std::string sibling = "/r1xy/cfg/";
    outer.writeFile("/r[1]*?/cfg/sensor1.cfg", "(1,5)");
    outer.writeFile(sibling + "sensor1.cfg", "sibling");
    outer.writeFile(sibling + "sensor2.cfg", "sibling");
    kvroot::setRoot(root);
    EXPECT_EQ(sy_system("cp /cfg/sensor1.cfg /cfg/sensor2.cfg", 30), 0);
    EXPECT_EQ(sy_system("rm /cfg/sensor*.cfg -rf", 30), 0);
    EXPECT_EQ(sy_system("cp cfg/sensor1.cfg /cfg/x.cfg", 30), -1); // relative: refused
    kvroot::setRoot(outer.dir());
    EXPECT_FALSE(outer.exists("/r[1]*?/cfg/sensor1.cfg"));
    EXPECT_FALSE(outer.exists("/r[1]*?/cfg/sensor2.cfg"));
    EXPECT_EQ(outer.readFile(sibling + "sensor1.cfg"), "sibling");
    EXPECT_EQ(outer.readFile(sibling + "sensor2.cfg"), "sibling");
}

// A copy cut short (here by a file size limit, as a full medium or a cut
// would) leaves the old file, never a part-written one.
TEST(SySystem, CopyCutShortLeavesTheOldFile) {
    kvtest::TestRoot root;
    root.writeFile("/cfg/new.cfg", std::string(64 * 1024, 'n'));
    root.writeFile("/cfg/sensor2.cfg", "(1,5)(10000,1)(10001,1)");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const rlimit limit{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        _exit(sy_system("cp /cfg/new.cfg /cfg/sensor2.cfg", 30) == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(root.readFile("/cfg/sensor2.cfg"), "(1,5)(10000,1)(10001,1)");
    EXPECT_EQ(sy_system("cp /cfg/new.cfg /cfg/sensor2.cfg", 30), 0);
    EXPECT_EQ(root.readFile("/cfg/sensor2.cfg"), std::string(64 * 1024, 'n'));
}

TEST(SySystem, RefusesAnythingButPlainFileCommands) {
    kvtest::TestRoot root;
    root.writeFile("/a/b.cfg", "x");
    // clang-format off
    const char* const refused[] = {
        "", "ls /a", "sleep 1", "/bin/rm /a/b.cfg", "rm /a/b.cfg; reboot", "rm /a/b.cfg && reboot",
        "rm /a/b.cfg | cat", "cp $HOME/x /a/c.cfg", "cp `id` /a/c.cfg", "cp /a/b.cfg > /a/c.cfg",
        "cp '/a/b.cfg' /a/c.cfg", "cp /a/b.cfg\n/a/c.cfg", "rm /a/../../etc/passwd", "rm .."};
    // clang-format on
    for (const char* cmd : refused) {
        kvtest::StdoutCapture err(STDERR_FILENO);
        EXPECT_EQ(sy_system(cmd, 30), -1) << cmd;
        EXPECT_EQ(err.text(), "sy_system: refused command (" + std::string(cmd) + ")\n");
    }
    kvtest::StdoutCapture err(STDERR_FILENO);
    EXPECT_EQ(sy_system(nullptr, 30), -1);
    EXPECT_EQ(err.text(), "sy_system: refused command ()\n");
    EXPECT_TRUE(root.exists("/a/b.cfg"));
    EXPECT_FALSE(root.exists("/a/c.cfg"));
}

TEST(SySystem, CommandOutlastingItsTimeOutIsKilledAndReaped) {
    kvtest::TestRoot root;
    sy_system_setTestMode(true, 20); // one time-out second lasts 20 ms
    EXPECT_EQ(sy_system("sleep 0", 50), 0);
    kvtest::StdoutCapture err(STDERR_FILENO);
    const auto start = std::chrono::steady_clock::now();
    const int result = sy_system("sleep 30", 3);
    const auto took = std::chrono::steady_clock::now() - start;
    sy_system_setTestMode(false, 1000);
    EXPECT_EQ(result, -1);
    EXPECT_GE(took, std::chrono::milliseconds(60));
    EXPECT_LT(took, std::chrono::seconds(5));
    EXPECT_EQ(err.text(), "sy_system: command timed out (sleep 30)\n");
    // No child is left behind, not even a zombie.
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

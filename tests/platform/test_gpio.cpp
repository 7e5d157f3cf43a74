// Tests of GPIO access through sysfs value files under a test root.
#include "platform/SysfsGPIO.h"

#include "platform/KVRoot.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

const std::string kLine37 = "/sys/class/gpio/gpio37"; // group 1, pin 5

TEST(GpioTest, LineIsGroupTimes32PlusPinAndOutOfRangeTouchesNothing) {
    kvtest::TestRoot root;
    EXPECT_EQ(SysfsGPIO::linePath(1, 5), kLine37);
    EXPECT_EQ(SysfsGPIO::linePath(63, 31), "/sys/class/gpio/gpio2047");
    SysfsGPIO gpio;
    int level = 0;
    const int bad[][3] = {{1, 5, 2}, {1, 5, -1}, {-1, 5, 1}, {1, 32, 1}, {64, 0, 1}, {0, -1, 1}};
    for (const auto& b : bad) {
        EXPECT_EQ(gpio.setLevel(b[0], b[1], b[2]), 0) << b[0] << "/" << b[1] << "=" << b[2];
        EXPECT_EQ(gpio.getLevel(b[0], b[1], level), 0);
    }
    EXPECT_FALSE(root.exists("/sys"));
}

TEST(GpioTest, SetExportsAndDrivesTheLineAndGetReadsItBack) {
    kvtest::TestRoot root;
    SysfsGPIO gpio;
    int level = 5;
    EXPECT_EQ(gpio.getLevel(1, 5, level), 0); // missing line
    EXPECT_EQ(level, 5);
    root.writeFile("/sys/class/gpio/export", "");
    ASSERT_EQ(gpio.setLevel(1, 5, 1), 1);
    EXPECT_EQ(root.readFile("/sys/class/gpio/export"), "37");
    EXPECT_EQ(root.readFile(kLine37 + "/value"), "1");
    ASSERT_EQ(gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(level, 1);
    root.writeFile(kLine37 + "/direction", "in\n");
    ASSERT_EQ(gpio.setLevel(1, 5, 1), 1);
    EXPECT_EQ(root.readFile(kLine37 + "/direction"), "high"); // an input becomes an output
    root.writeFile(kLine37 + "/direction", "in\n");
    ASSERT_EQ(gpio.setLevel(1, 5, 0), 1);
    EXPECT_EQ(root.readFile(kLine37 + "/direction"), "low");
    EXPECT_EQ(root.readFile(kLine37 + "/value"), "0");
    // An output stays as it is, for a set and for a get.
    root.writeFile(kLine37 + "/direction", "out\n");
    ASSERT_EQ(gpio.setLevel(1, 5, 1), 1);
    ASSERT_EQ(gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(root.readFile(kLine37 + "/direction"), "out\n");
}

TEST(GpioTest, GetAcceptsKernelFormattingAndRefusesGarbage) {
    kvtest::TestRoot root;
    SysfsGPIO gpio;
    int level = -1;
    root.writeFile(kLine37 + "/value", "1\n");
    ASSERT_EQ(gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(level, 1);
    for (const char* bad : {"", "\n", "2", "x", "10", "-1", "1 1"}) {
        root.writeFile(kLine37 + "/value", bad);
        level = 7;
        EXPECT_EQ(gpio.getLevel(1, 5, level), 0) << '"' << bad << '"';
        EXPECT_EQ(level, 7);
    }
}

TEST(GpioRealRootTest, MissingLineFailsAndNothingIsCreated) {
    if (std::filesystem::exists("/sys/class/gpio/export"))
        GTEST_SKIP() << "this machine has real GPIO lines";
    const std::string oldRoot = kvroot::root();
    kvroot::setRoot("/");
    SysfsGPIO gpio;
    int level = 0;
    EXPECT_EQ(gpio.getLevel(63, 31, level), 0);
    EXPECT_EQ(gpio.setLevel(63, 31, 1), 0);
    kvroot::setRoot(oldRoot);
    EXPECT_FALSE(std::filesystem::exists("/sys/class/gpio/gpio2047"));
}

} // namespace

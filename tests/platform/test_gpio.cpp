// Tests of GPIO access through sysfs value files under a test root.
#include "platform/SysfsGPIO.h"

#include "platform/KVRoot.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

class GpioTest : public ::testing::Test {
protected:
    kvtest::TestRoot m_root;
    SysfsGPIO m_gpio;
};

const char* const kLine37 = "/sys/class/gpio/gpio37"; // group 1, pin 5

} // namespace

TEST_F(GpioTest, LineNumberIsGroupTimes32PlusPin) {
    EXPECT_EQ(SysfsGPIO::linePath(0, 0), "/sys/class/gpio/gpio0");
    EXPECT_EQ(SysfsGPIO::linePath(1, 5), kLine37);
    EXPECT_EQ(SysfsGPIO::linePath(63, 31), "/sys/class/gpio/gpio2047");
    EXPECT_EQ(SysfsGPIO::linePath(-1, 0), "");
    EXPECT_EQ(SysfsGPIO::linePath(64, 0), "");
    EXPECT_EQ(SysfsGPIO::linePath(0, 32), "");
    EXPECT_EQ(SysfsGPIO::linePath(0, -1), "");
}

TEST_F(GpioTest, SetWritesTheValueFileAndGetReadsItBack) {
    ASSERT_EQ(m_gpio.setLevel(1, 5, 1), 1);
    EXPECT_EQ(m_root.readFile(std::string(kLine37) + "/value"), "1");
    int level = -1;
    ASSERT_EQ(m_gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(level, 1);

    ASSERT_EQ(m_gpio.setLevel(1, 5, 0), 1);
    EXPECT_EQ(m_root.readFile(std::string(kLine37) + "/value"), "0");
    ASSERT_EQ(m_gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(level, 0);
    // Another line is another file.
    EXPECT_EQ(m_gpio.getLevel(1, 6, level), 0);
}

TEST_F(GpioTest, GetAcceptsKernelFormattingAndRefusesGarbage) {
    const std::string value = std::string(kLine37) + "/value";
    int level = -1;
    m_root.writeFile(value, "1\n");
    ASSERT_EQ(m_gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(level, 1);
    for (const char* bad : {"", "\n", "2", "x", "10", "-1", "1 1"}) {
        m_root.writeFile(value, bad);
        level = 7;
        EXPECT_EQ(m_gpio.getLevel(1, 5, level), 0) << '"' << bad << '"';
        EXPECT_EQ(level, 7);
    }
}

TEST_F(GpioTest, MissingLineFailsOnGetAndIsCreatedBySetUnderATestRoot) {
    int level = 5;
    EXPECT_EQ(m_gpio.getLevel(2, 0, level), 0);
    EXPECT_EQ(level, 5);
    EXPECT_FALSE(m_root.exists("/sys/class/gpio/gpio64/value"));
    EXPECT_EQ(m_gpio.setLevel(2, 0, 1), 1);
    EXPECT_EQ(m_root.readFile("/sys/class/gpio/gpio64/value"), "1");
}

TEST_F(GpioTest, OutOfRangeArgumentsFailWithoutTouchingFiles) {
    int level = 0;
    EXPECT_EQ(m_gpio.setLevel(1, 5, 2), 0);
    EXPECT_EQ(m_gpio.setLevel(1, 5, -1), 0);
    EXPECT_EQ(m_gpio.setLevel(-1, 5, 1), 0);
    EXPECT_EQ(m_gpio.setLevel(1, 32, 1), 0);
    EXPECT_EQ(m_gpio.setLevel(64, 0, 1), 0);
    EXPECT_EQ(m_gpio.getLevel(1, -3, level), 0);
    EXPECT_FALSE(m_root.exists("/sys"));
}

TEST_F(GpioTest, UnexportedLineIsExported) {
    m_root.writeFile("/sys/class/gpio/export", "");
    ASSERT_EQ(m_gpio.setLevel(1, 5, 1), 1);
    EXPECT_EQ(m_root.readFile("/sys/class/gpio/export"), "37");
    EXPECT_EQ(m_root.readFile(std::string(kLine37) + "/value"), "1");
}

TEST_F(GpioTest, SetMakesAnInputAnOutputAtTheWantedLevel) {
    const std::string direction = std::string(kLine37) + "/direction";
    m_root.writeFile(direction, "in\n");
    ASSERT_EQ(m_gpio.setLevel(1, 5, 1), 1);
    EXPECT_EQ(m_root.readFile(direction), "high");
    m_root.writeFile(direction, "in\n");
    ASSERT_EQ(m_gpio.setLevel(1, 5, 0), 1);
    EXPECT_EQ(m_root.readFile(direction), "low");
    // An output stays as it is.
    m_root.writeFile(direction, "out\n");
    ASSERT_EQ(m_gpio.setLevel(1, 5, 1), 1);
    EXPECT_EQ(m_root.readFile(direction), "out\n");
}

TEST_F(GpioTest, GetLeavesTheDirectionAlone) {
    const std::string direction = std::string(kLine37) + "/direction";
    m_root.writeFile(direction, "out\n");
    m_root.writeFile(std::string(kLine37) + "/value", "1\n");
    int level = 0;
    ASSERT_EQ(m_gpio.getLevel(1, 5, level), 1);
    EXPECT_EQ(level, 1);
    EXPECT_EQ(m_root.readFile(direction), "out\n");
}

TEST_F(GpioTest, InitCompleteIsRecorded) {
    EXPECT_FALSE(m_gpio.isInitComplete());
    EXPECT_EQ(m_gpio.initComplete(), 1);
    EXPECT_TRUE(m_gpio.isInitComplete());
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

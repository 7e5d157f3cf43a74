// Tests of the device-ioctl seam and the simulated PWM and ADC.
// labels: threaded
#include "platform/DeviceIoctl.h"
#include "platform/SimulatedDevices.h"

#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class DeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        DeviceIoctl::registerDevice("/dev/pwm1", m_pwm);
        DeviceIoctl::registerDevice("/dev/adc", m_adc);
    }
    void TearDown() override {
        DeviceIoctl::unregisterAll();
        EXPECT_EQ(DeviceIoctl::openSimulatedCount(), 0) << "a simulated descriptor leaked";
    }

    kvtest::TestRoot m_root;
    std::shared_ptr<SimulatedPwm> m_pwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedAdc> m_adc = std::make_shared<SimulatedAdc>();
};

} // namespace

TEST_F(DeviceTest, PwmRecordsConfigurationAndEnable) {
    const int fd = kv_dev_open("/dev/pwm1", O_RDWR);
    ASSERT_GE(fd, 0);
    PwmConfig config{230000, 1000000};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config), 0);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), 0);
    EXPECT_TRUE(m_pwm->enabled());
    config = {660000, 1000000};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config), 0);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_DISABLE, nullptr), 0);
    EXPECT_FALSE(m_pwm->enabled());
    EXPECT_EQ(m_pwm->duty(), 660000);
    EXPECT_EQ(m_pwm->period(), 1000000);

    const auto log = m_pwm->writeLog();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[0].request, PWM_IOCTL_CONFIG);
    EXPECT_EQ(log[0].duty, 230000);
    EXPECT_EQ(log[1].request, PWM_IOCTL_ENABLE);
    EXPECT_EQ(log[2].duty, 660000);
    EXPECT_EQ(log[3].request, PWM_IOCTL_DISABLE);
    EXPECT_EQ(kv_dev_close(fd), 0);
}

TEST_F(DeviceTest, PwmRefusesBadRequestsWithoutChangingState) {
    const int fd = kv_dev_open("/dev/pwm1", O_RDWR);
    ASSERT_GE(fd, 0);
    PwmConfig good{100000, 1000000};
    ASSERT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &good), 0);
    m_pwm->clearLog();

    errno = 0;
    EXPECT_EQ(kv_dev_ioctl(fd, 0x1234, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    PwmConfig bad{2000000, 1000000};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &bad), -1);
    bad = {-1, 1000000};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &bad), -1);
    bad = {0, 0};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &bad), -1);

    m_pwm->setFailing(true);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_FALSE(m_pwm->enabled());
    EXPECT_EQ(m_pwm->duty(), 100000);
    EXPECT_TRUE(m_pwm->writeLog().empty());
    kv_dev_close(fd);
}

TEST_F(DeviceTest, AdcAnswersTheSetValue) {
    const int fd = kv_dev_open("/dev/adc", O_RDONLY);
    ASSERT_GE(fd, 0);
    m_adc->setValue(612);
    AdcData data{1, 0};
    ASSERT_EQ(kv_dev_ioctl(fd, ADC_GET_DATA, &data), 0);
    EXPECT_EQ(data.channel, 1);
    EXPECT_EQ(data.value, 612);
    m_adc->setChannelValue(2, 33);
    data = {2, 0};
    ASSERT_EQ(kv_dev_ioctl(fd, ADC_GET_DATA, &data), 0);
    EXPECT_EQ(data.value, 33);
    EXPECT_EQ(m_adc->lastChannel(), 2);
    EXPECT_EQ(m_adc->requestCount(), 2);

    m_adc->setFailing(true);
    data = {1, -5};
    EXPECT_EQ(kv_dev_ioctl(fd, ADC_GET_DATA, &data), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(data.value, -5);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    kv_dev_close(fd);
}

TEST_F(DeviceTest, SimulatedDescriptorsAreRealAndDistinct) {
    const int a = kv_dev_open("/dev/pwm1", O_RDWR);
    const int b = kv_dev_open("/dev/pwm1", O_RDWR);
    const int real = ::open("/dev/null", O_RDONLY);
    ASSERT_GE(a, 0);
    ASSERT_GE(b, 0);
    EXPECT_NE(a, b);
    EXPECT_NE(real, a);
    EXPECT_NE(real, b);
    EXPECT_EQ(DeviceIoctl::openSimulatedCount(), 2);
    // Both descriptors reach the same device.
    EXPECT_EQ(kv_dev_ioctl(b, PWM_IOCTL_ENABLE, nullptr), 0);
    EXPECT_TRUE(m_pwm->enabled());
    EXPECT_EQ(kv_dev_close(a), 0);
    EXPECT_EQ(kv_dev_close(b), 0);
    EXPECT_EQ(kv_dev_close(b), -1);
    ::close(real);
}

TEST_F(DeviceTest, UnregisteredPathsGoToTheSystemUnderTheRoot) {
    errno = 0;
    EXPECT_EQ(kv_dev_open("/dev/pwm2", O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(kv_dev_open(nullptr, O_RDWR), -1);
    EXPECT_EQ(kv_dev_open("", O_RDWR), -1);

    m_root.writeFile("/dev/pwm2", "");
    const int fd = kv_dev_open("/dev/pwm2", O_RDWR);
    ASSERT_GE(fd, 0);
    PwmConfig config{1, 2};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config), -1); // a plain file
    EXPECT_EQ(kv_dev_close(fd), 0);
    EXPECT_EQ(kv_dev_ioctl(-1, PWM_IOCTL_ENABLE, nullptr), -1);
}

TEST_F(DeviceTest, UnregisteringStopsNewOpensButNotOpenDescriptors) {
    const int fd = kv_dev_open("/dev/pwm1", O_RDWR);
    ASSERT_GE(fd, 0);
    DeviceIoctl::unregisterDevice("/dev/pwm1");
    EXPECT_EQ(kv_dev_open("/dev/pwm1", O_RDWR), -1);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), 0);
    EXPECT_TRUE(m_pwm->enabled());
    kv_dev_close(fd);

    auto replacement = std::make_shared<SimulatedPwm>();
    DeviceIoctl::registerDevice("/dev/pwm1", replacement);
    const int again = kv_dev_open("/dev/pwm1", O_RDWR);
    ASSERT_GE(again, 0);
    EXPECT_EQ(kv_dev_ioctl(again, PWM_IOCTL_ENABLE, nullptr), 0);
    EXPECT_TRUE(replacement->enabled());
    kv_dev_close(again);
}

TEST_F(DeviceTest, DevicesServeSeveralThreadsAtOnce) {
    m_adc->setValue(500);
    constexpr int kRounds = 200;
    std::thread ir([] {
        for (int i = 0; i < kRounds; ++i) {
            const int fd = kv_dev_open("/dev/pwm1", O_RDWR);
            PwmConfig config{i, 1000000};
            EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config), 0);
            kv_dev_close(fd);
        }
    });
    std::thread host([] {
        const int fd = kv_dev_open("/dev/adc", O_RDONLY);
        for (int i = 0; i < kRounds; ++i) {
            AdcData data{1, 0};
            EXPECT_EQ(kv_dev_ioctl(fd, ADC_GET_DATA, &data), 0);
            EXPECT_EQ(data.value, 500);
        }
        kv_dev_close(fd);
    });
    for (int i = 0; i < kRounds; ++i) {
        const int fd = kv_dev_open("/dev/pwm1", O_RDWR);
        EXPECT_EQ(kv_dev_ioctl(fd, i % 2 ? PWM_IOCTL_ENABLE : PWM_IOCTL_DISABLE, nullptr), 0);
        kv_dev_close(fd);
    }
    ir.join();
    host.join();
    EXPECT_EQ(m_pwm->writeLog().size(), 2u * kRounds);
    EXPECT_EQ(m_adc->requestCount(), kRounds);
}

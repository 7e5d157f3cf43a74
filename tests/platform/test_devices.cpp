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

TEST_F(DeviceTest, PwmRecordsGoodRequestsAndRefusesBadOnes) {
    const int fd = kv_dev_open("/dev/pwm1", O_RDWR);
    ASSERT_GE(fd, 0);
    PwmConfig config{230000, 1000000};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config), 0);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), 0);
    EXPECT_TRUE(m_pwm->enabled());
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_DISABLE, nullptr), 0);
    EXPECT_FALSE(m_pwm->enabled());
    const auto log = m_pwm->writeLog();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[0].request, PWM_IOCTL_CONFIG);
    EXPECT_EQ(log[0].duty, 230000);
    EXPECT_EQ(log[2].request, PWM_IOCTL_DISABLE);
    m_pwm->clearLog();

    errno = 0;
    EXPECT_EQ(kv_dev_ioctl(fd, 0x1234, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    for (PwmConfig bad : {PwmConfig{2000000, 1000000}, PwmConfig{-1, 1000000}, PwmConfig{0, 0}})
        EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &bad), -1) << bad.duty << "/" << bad.period;
    m_pwm->setFailing(true);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_FALSE(m_pwm->enabled());
    EXPECT_EQ(m_pwm->duty(), 230000);
    EXPECT_TRUE(m_pwm->writeLog().empty());
    EXPECT_EQ(kv_dev_close(fd), 0);
}

TEST_F(DeviceTest, AdcAnswersTheSetValueUntilItFails) {
    const int fd = kv_dev_open("/dev/adc", O_RDONLY);
    ASSERT_GE(fd, 0);
    m_adc->setValue(612);
    m_adc->setChannelValue(2, 33);
    AdcData data{2, 0};
    ASSERT_EQ(kv_dev_ioctl(fd, ADC_GET_DATA, &data), 0);
    EXPECT_EQ(data.value, 33);
    EXPECT_EQ(m_adc->requestCount(), 1);
    m_adc->setFailing(true);
    data = {1, -5};
    EXPECT_EQ(kv_dev_ioctl(fd, ADC_GET_DATA, &data), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(data.value, -5);
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_ENABLE, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    kv_dev_close(fd);
}

TEST_F(DeviceTest, DescriptorsAreDistinctOutliveUnregisteringOrReachTheSystem) {
    const int a = kv_dev_open("/dev/pwm1", O_RDWR);
    const int b = kv_dev_open("/dev/pwm1", O_RDWR);
    ASSERT_GE(a, 0);
    ASSERT_GE(b, 0);
    EXPECT_NE(a, b);
    EXPECT_EQ(DeviceIoctl::openSimulatedCount(), 2);
    DeviceIoctl::unregisterDevice("/dev/pwm1");
    EXPECT_EQ(kv_dev_open("/dev/pwm1", O_RDWR), -1);
    EXPECT_EQ(kv_dev_ioctl(b, PWM_IOCTL_ENABLE, nullptr), 0);
    EXPECT_TRUE(m_pwm->enabled());
    EXPECT_EQ(kv_dev_close(a), 0);
    EXPECT_EQ(kv_dev_close(b), 0);
    EXPECT_EQ(kv_dev_close(b), -1);
    // Paths never registered go to the system, under the root.
    errno = 0;
    EXPECT_EQ(kv_dev_open("/dev/pwm2", O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    m_root.writeFile("/dev/pwm2", "");
    const int fd = kv_dev_open("/dev/pwm2", O_RDWR);
    ASSERT_GE(fd, 0);
    PwmConfig config{1, 2};
    EXPECT_EQ(kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config), -1); // a plain file
    EXPECT_EQ(kv_dev_close(fd), 0);
    EXPECT_EQ(kv_dev_ioctl(-1, PWM_IOCTL_ENABLE, nullptr), -1);
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
    const int adc = kv_dev_open("/dev/adc", O_RDONLY);
    for (int i = 0; i < kRounds; ++i) {
        const int pwm = kv_dev_open("/dev/pwm1", O_RDWR);
        EXPECT_EQ(kv_dev_ioctl(pwm, i % 2 ? PWM_IOCTL_ENABLE : PWM_IOCTL_DISABLE, nullptr), 0);
        kv_dev_close(pwm);
        AdcData data{1, 0};
        EXPECT_EQ(kv_dev_ioctl(adc, ADC_GET_DATA, &data), 0);
        EXPECT_EQ(data.value, 500);
    }
    kv_dev_close(adc);
    ir.join();
    EXPECT_EQ(m_pwm->writeLog().size(), 2u * kRounds);
    EXPECT_EQ(m_adc->requestCount(), kRounds);
}

// Platform clock, waits, device time and the recursive mutex.
// labels: threaded
#include "platform/KVDeviceTime.h"
#include "platform/KVMutex.h"
#include "platform/KVThread.h"
#include "platform/KovantTime.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

TEST(ClockTest, ScaledWaitAdvancesDeviceTimeByTheFullSpan) {
    kvtest::TestRoot root(0.001);
    const double before = KVDeviceTime::getSeconds();
    const auto t0 = Clock::now();
    EXPECT_EQ(KovantTime::wait(KovantTime(20, 0)), 1); // a module restart
    const auto real = Clock::now() - t0;
    const double device = KVDeviceTime::getSeconds() - before;
    EXPECT_LT(real, std::chrono::milliseconds(500));
    EXPECT_GE(device, 19.9);
    EXPECT_LT(device, 400.0);
}

TEST(ClockTest, SetTimeOfDayRunsOnAtTheScaledRate) {
    kvtest::TestRoot root(0.001);
    PlatformClock::setTimeOfDay(17, 59, 0);
    KVDeviceTime now;
    KVDeviceTime::getCurrentTime(now);
    EXPECT_EQ(now.getHourMinute(), 1759);
    KovantTime::wait(KovantTime(61, 0));
    KVDeviceTime::getCurrentTime(now);
    EXPECT_EQ(now.getHourMinute(), 1800);
    PlatformClock::setTimeOfDay(23, 59, 59);
    KovantTime::wait(KovantTime(2, 0));
    KVDeviceTime::getCurrentTime(now);
    EXPECT_EQ(now.getHour(), 0) << "wraps past midnight";
}

TEST(ClockTest, ScaleChangesKeepReadingsContinuous) {
    kvtest::TestRoot root(0.001);
    PlatformClock::setTimeOfDay(8, 0, 0);
    const double a = KVDeviceTime::getSeconds();
    PlatformClock::setTimeScale(1.0);
    PlatformClock::setTimeScale(0.0); // ignored
    EXPECT_DOUBLE_EQ(PlatformClock::timeScale(), 1.0);
    const double b = KVDeviceTime::getSeconds();
    EXPECT_GE(b, a);
    EXPECT_LT(b - a, 1.0);
}

TEST(KVThreadTest, StopWakesAWaitAndEndsAfterThePass) {
    kvtest::TestRoot root(1.0);
    std::atomic<int> passes{0}, starts{0}, stops{0};
    std::atomic<bool> inWait{false};
    KVThread thread(
        [&] {
            ++passes;
            inWait = true;
            KovantTime::wait(KovantTime(30, 0));
            inWait = false;
            return 0;
        },
        "waiter", [&] { return ++starts; }, [&] { return ++stops; });
    ASSERT_EQ(thread.start(), 1);
    while (!inWait)
        std::this_thread::yield();
    const auto t0 = Clock::now();
    thread.stop();
    EXPECT_LT(Clock::now() - t0, std::chrono::milliseconds(500));
    EXPECT_FALSE(inWait);
    EXPECT_EQ(passes, 1);
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(stops, 1);
    EXPECT_FALSE(thread.isRunning());
    // A stopped thread can be started again.
    ASSERT_EQ(thread.start(), 1);
    while (passes < 2)
        std::this_thread::yield();
    thread.stop();
}

TEST(KVThreadTest, WaitOutsidePlatformThreadIsNotInterruptible) {
    kvtest::TestRoot root(0.001);
    EXPECT_EQ(KovantTime::wait(KovantTime(0, 30000)), 1);
}

TEST(KVMutexTest, IsRecursiveAndExcludesOtherThreads) {
    KVMutex mutex;
    mutex.lock(__FILE__, __LINE__);
    mutex.lock(__FILE__, __LINE__);
    std::atomic<bool> got{false};
    std::thread other([&] { got = mutex.try_lock(); });
    other.join();
    EXPECT_FALSE(got);
    mutex.unlock();
    mutex.unLock();
    std::thread again([&] {
        KVMutexLocker lock(mutex, __FILE__, __LINE__);
        got = true;
    });
    again.join();
    EXPECT_TRUE(got);
}

} // namespace

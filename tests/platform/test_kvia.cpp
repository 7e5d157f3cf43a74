// Tests of the simulated image adapter behind kvia_ioctrl.
// labels: threaded
#include "platform/kvia.h"

#include "platform/PlatformClock.h"

#include <gtest/gtest.h>

#include <iterator>
#include <thread>
#include <vector>

namespace {

class KviaTest : public ::testing::Test {
protected:
    void SetUp() override { KviaSimulator::reset(); }
    void TearDown() override { KviaSimulator::reset(); }
};

} // namespace

TEST_F(KviaTest, WritesReadBackAndAreLoggedAndBadArgumentsAreRefused) {
    int v = 77;
    EXPECT_EQ(kvia_ioctrl(241, KVIA_DIR_READ, &v), KVIA_OK);
    EXPECT_EQ(v, 0); // never written
    int w = -3;
    ASSERT_EQ(kvia_ioctrl(1, KVIA_DIR_WRITE, &w), KVIA_OK);
    EXPECT_EQ(kvia_ioctrl(1, KVIA_DIR_READ, &v), KVIA_OK);
    EXPECT_EQ(v, -3);
    KviaSimulator::setValue(241, 90);
    EXPECT_EQ(kvia_ioctrl(241, KVIA_DIR_READ, &v), KVIA_OK);
    EXPECT_EQ(v, 90);

    EXPECT_EQ(kvia_ioctrl(1, KVIA_DIR_WRITE, nullptr), KVIA_ERR_ARGUMENT);
    EXPECT_EQ(kvia_ioctrl(1, 2, &v), KVIA_ERR_ARGUMENT);
    EXPECT_EQ(kvia_ioctrl(1, -1, &v), KVIA_ERR_ARGUMENT);
    EXPECT_EQ(kvia_ioctrl(-1, KVIA_DIR_WRITE, &v), KVIA_ERR_CODE);
    EXPECT_EQ(kvia_ioctrl(KVIA_MAX_CODE + 1, KVIA_DIR_WRITE, &v), KVIA_ERR_CODE);
    const auto log = KviaSimulator::writeLog();
    ASSERT_EQ(log.size(), 1u); // setValue, reads and refused calls are not writes
    EXPECT_EQ(log[0].code, 1);
    EXPECT_EQ(log[0].value, -3);
}

TEST_F(KviaTest, FailedCodeReturnsItsErrorAndChangesNothingUntilCleared) {
    KviaSimulator::setValue(49, 1);
    KviaSimulator::failCode(49, 0x2001);
    int v = 5;
    EXPECT_EQ(kvia_ioctrl(49, KVIA_DIR_WRITE, &v), 0x2001);
    EXPECT_EQ(kvia_ioctrl(49, KVIA_DIR_READ, &v), 0x2001);
    EXPECT_EQ(v, 5);
    EXPECT_EQ(KviaSimulator::value(49), 1);
    EXPECT_TRUE(KviaSimulator::writeLog().empty());
    EXPECT_EQ(kvia_ioctrl(50, KVIA_DIR_WRITE, &v), KVIA_OK); // other codes are unaffected
    KviaSimulator::failCode(49, 0);
    EXPECT_EQ(kvia_ioctrl(49, KVIA_DIR_WRITE, &v), KVIA_OK);
    KviaSimulator::failCode(51, -7);
    KviaSimulator::clearFailures();
    EXPECT_EQ(kvia_ioctrl(51, KVIA_DIR_READ, &v), KVIA_OK);

    KviaSimulator::failPreinit(0x33);
    EXPECT_EQ(kvia_preinit(), 0x33);
    KviaSimulator::failCode(49, 1);
    KviaSimulator::reset(); // forgets values, log, failures and preinit calls
    EXPECT_EQ(kvia_preinit(), 0);
    EXPECT_EQ(KviaSimulator::preinitCount(), 1);
    EXPECT_EQ(kvia_ioctrl(49, KVIA_DIR_READ, &v), KVIA_OK); // was 5
    EXPECT_EQ(v, 0);
    EXPECT_TRUE(KviaSimulator::writeLog().empty());
}

TEST_F(KviaTest, GpioOutputCarriesThreeWordsOtherCodesOne) {
    int triple[3] = {2, 14, 1};
    ASSERT_EQ(kvia_ioctrl(KVIA_CODE_GPIO_OUTPUT, KVIA_DIR_WRITE, triple), KVIA_OK);
    EXPECT_EQ(KviaSimulator::writeLog().at(0).words, (std::vector<int32_t>{2, 14, 1}));
    int back[3] = {};
    ASSERT_EQ(kvia_ioctrl(KVIA_CODE_GPIO_OUTPUT, KVIA_DIR_READ, back), KVIA_OK);
    EXPECT_EQ(back[2], 1);
    int single[2] = {5, 99};
    ASSERT_EQ(kvia_ioctrl(20, KVIA_DIR_READ, single), KVIA_OK);
    EXPECT_EQ(single[1], 99);
}

TEST_F(KviaTest, ConcurrentCallersLoseNoWrites) {
    constexpr int kThreads = 4;
    constexpr int kWrites = 250;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kWrites; ++i) {
                int v = i;
                EXPECT_EQ(kvia_ioctrl(100 + t, KVIA_DIR_WRITE, &v), KVIA_OK);
                EXPECT_EQ(kvia_ioctrl(100 + t, KVIA_DIR_READ, &v), KVIA_OK);
                EXPECT_EQ(v, i);
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(KviaSimulator::writeLog().size(), size_t(kThreads * kWrites));
    for (int t = 0; t < kThreads; ++t)
        EXPECT_EQ(KviaSimulator::value(100 + t), kWrites - 1);
}

// Every call is logged with its direction, the word written or read back and
// its result; setValue and the light measure are the test's, not calls.
TEST_F(KviaTest, CallLogRecordsReadsWritesAndInjectedFailures) {
    KviaSimulator::setLightMeasure(730);
    KviaSimulator::failCode(50, 0x2002);
    int v = 12;
    kvia_ioctrl(5, KVIA_DIR_WRITE, &v);
    kvia_ioctrl(KVIA_CODE_LIGHT_MEASURE, KVIA_DIR_READ, &v);
    kvia_ioctrl(50, KVIA_DIR_WRITE, &v);
    kvia_ioctrl(50, KVIA_DIR_READ, &v);
    kvia_ioctrl(5, 7, &v); // refused before the adapter: not a call
    const struct {
        int code, direction, value, result;
    } expected[] = {{5, KVIA_DIR_WRITE, 12, KVIA_OK},
                    {KVIA_CODE_LIGHT_MEASURE, KVIA_DIR_READ, 730, KVIA_OK},
                    {50, KVIA_DIR_WRITE, 730, 0x2002},
                    {50, KVIA_DIR_READ, 0, 0x2002}};
    const auto calls = KviaSimulator::callLog();
    ASSERT_EQ(calls.size(), std::size(expected));
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].code, expected[i].code) << i;
        EXPECT_EQ(calls[i].direction, expected[i].direction) << i;
        EXPECT_EQ(calls[i].value, expected[i].value) << i;
        EXPECT_EQ(calls[i].result, expected[i].result) << i;
    }
    KviaSimulator::clearWriteLog();
    EXPECT_TRUE(KviaSimulator::callLog().empty());
}

// The filter moves on each day/night write: the switching status reads 1
// until the settle time has passed, then 0; a jammed filter never settles.
TEST_F(KviaTest, IrCutStatusSettlesAfterADayNightWrite) {
    const double scale = PlatformClock::timeScale();
    PlatformClock::setTimeScale(0.01);
    const auto status = [] {
        int s = -1;
        EXPECT_EQ(kvia_ioctrl(KVIA_CODE_IRCUT_STATUS, KVIA_DIR_READ, &s), KVIA_OK);
        return s;
    };
    EXPECT_EQ(status(), 0) << "at rest before any switch";
    // Device seconds until the status reads 0 after a night write (-1: not within 300).
    const auto settleTime = [&] {
        int night = 2;
        EXPECT_EQ(kvia_ioctrl(KVIA_CODE_DAYNIGHT, KVIA_DIR_WRITE, &night), KVIA_OK);
        const double start = PlatformClock::monotonicSeconds();
        EXPECT_EQ(status(), 1) << "moving right after the write";
        while (PlatformClock::monotonicSeconds() - start < 300.0) {
            if (status() == 0)
                return PlatformClock::monotonicSeconds() - start;
            PlatformClock::sleepFor(PlatformClock::Duration(5.0));
        }
        return -1.0;
    };
    // A hundred device seconds (1 s real): the moving filter is read in time
    // even on a loaded machine.
    KviaSimulator::setIrCutSettleTime(100.0);
    const double took = settleTime();
    EXPECT_GE(took, 100.0);
    EXPECT_LT(took, 300.0);
    KviaSimulator::setIrCutSettleTime(-1.0);
    EXPECT_EQ(settleTime(), -1.0);
    PlatformClock::setTimeScale(scale);
}

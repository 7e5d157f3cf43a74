// Tests of the simulated image adapter behind kvia_ioctrl.
// labels: threaded
#include "platform/kvia.h"

#include <gtest/gtest.h>

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

// Safe pointers: reports, lifetime rules and a copy racing the last release.
// labels: threaded
#include "foundation/Function.h"
#include "foundation/GThread.h"
#include "foundation/SafePointer.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

std::atomic<int> g_destroyed{0};

struct Tracked {
    explicit Tracked(int v = 0) : value(v) {}
    virtual ~Tracked() { ++g_destroyed; }
    int value;
};

class SafePointerTest : public ::testing::Test {
protected:
    void SetUp() override { g_destroyed = 0; }
};

// Runs `f`, expecting a KVRuntimeError; returns its text and what was printed.
template <class F>
std::pair<std::string, std::string> expectReport(F f) {
    kvtest::StdoutCapture capture;
    std::string what;
    try {
        f();
        ADD_FAILURE() << "no KVRuntimeError thrown";
    } catch (const KVRuntimeError& e) {
        what = e.what();
    }
    return {what, capture.text()};
}

TEST_F(SafePointerTest, NullConstructionReportsTypeNameAndThrows) {
    auto r = expectReport([] { SafePointer<GThread> p(nullptr); });
    const std::string expected = "SafePointer Report:7GThread Construct from NULL original pointer";
    EXPECT_EQ(r.first, expected);
    EXPECT_EQ(r.second, expected + "\n");
}

TEST_F(SafePointerTest, ReportsForDestroyedSourceAndNullUse) {
    // A pointer that destroyed its object (raw pointer now null) releases
    // nothing again and reports every further use.
    SafePointer<Tracked> p(new Tracked(1));
    p.dec_reference();
    EXPECT_EQ(g_destroyed, 1);
    EXPECT_EQ(p.get(), nullptr);
    p.dec_reference();
    EXPECT_EQ(g_destroyed, 1);

    const std::string prefix = std::string("SafePointer Report:") + typeid(Tracked).name() + " ";
    EXPECT_EQ(expectReport([&] { (void)p->value; }).first, prefix + "Use NULL pointer ->");
    EXPECT_EQ(expectReport([&] { SafePointer<Tracked> c(p); }).first,
              prefix + "Construct from NULL <T>pointer");
    SafePointer<Tracked> other(new Tracked(2));
    EXPECT_EQ(expectReport([&] { other = p; }).first, prefix + "Assigned NULL <T>pointer");
    // The failed assignment released nothing.
    EXPECT_EQ(other->value, 2);
    EXPECT_EQ(g_destroyed, 1);

    // An empty pointer (a member not given its object yet) reports alike.
    SafePointer<Tracked> empty;
    EXPECT_EQ(expectReport([&] { (void)empty->value; }).first, prefix + "Use NULL pointer ->");
    EXPECT_EQ(expectReport([&] { other = empty; }).first, prefix + "Assigned NULL <T>pointer");
    empty = other;
    EXPECT_EQ(empty->value, 2);
}

TEST_F(SafePointerTest, LastOfManyCopiesDestroysOnceAndReturnsRecord) {
    const std::size_t liveBefore = RefCountManager::getInstance()->liveCount();
    {
        SafePointer<Tracked> a(new Tracked(7));
        std::vector<SafePointer<Tracked>> copies(5, a);
        SafePointer<Tracked> b(a);
        b = b; // self-assignment neither releases nor takes a reference
        EXPECT_EQ(RefCountManager::getInstance()->liveCount(), liveBefore + 1);
        copies.clear();
        EXPECT_EQ(g_destroyed, 0);
        EXPECT_EQ(b->value, 7);
    }
    EXPECT_EQ(g_destroyed, 1);
    EXPECT_EQ(RefCountManager::getInstance()->liveCount(), liveBefore);
}

TEST_F(SafePointerTest, AssignmentDestroysOldObjectBeforeTakingNew) {
    struct Probe : Tracked {
        explicit Probe(std::atomic<int>* seen) : m_seen(seen) {}
        ~Probe() override { *m_seen = g_destroyed.load(); }
        std::atomic<int>* m_seen;
    };
    std::atomic<int> seenAtDestruction{-1};
    SafePointer<Tracked> a(new Probe(&seenAtDestruction));
    SafePointer<Tracked> b(new Tracked(3));
    a = b;
    EXPECT_EQ(seenAtDestruction, 0);
    EXPECT_EQ(g_destroyed, 1);
    EXPECT_EQ(a.get(), b.get());
}

TEST_F(SafePointerTest, PointersBuiltFromOneRawPointerShareTheRecord) {
    Tracked* raw = new Tracked(4);
    {
        SafePointer<Tracked> a(raw);
        SafePointer<Tracked> b(raw);
    }
    EXPECT_EQ(g_destroyed, 1);
}

TEST_F(SafePointerTest, CopyFromObjectBeingDestroyedIsRefused) {
    // The interleaving where a copy locks the record just after the last
    // release dropped the count to 0: the copy must be refused, not revive it.
    SafePointer<Tracked> a(new Tracked(5));
    ref_count* record = RefCountManager::getInstance()->retrieveRefCount(a.get(), "x");
    record->dec_reference();
    record->dec_reference(); // count now 0: a release is "in progress"
    const std::string prefix = std::string("SafePointer Report:") + typeid(Tracked).name() + " ";
    EXPECT_EQ(expectReport([&] { SafePointer<Tracked> c(a); }).first,
              prefix + "Already destructed 3");
    EXPECT_EQ(g_destroyed, 0);
}

TEST_F(SafePointerTest, CopyRacingLastReleaseEitherWinsOrIsRefused) {
    for (int round = 0; round < 200; ++round) {
        g_destroyed = 0;
        // The shared pointer's reference is dropped with dec_reference and its
        // destructor never runs: if the copy wins, the release was not the
        // last and the pointer must not release a second time.
        alignas(SafePointer<Tracked>) unsigned char storage[sizeof(SafePointer<Tracked>)];
        auto* shared = new (storage) SafePointer<Tracked>(new Tracked(round));
        std::atomic<bool> go{false};
        std::atomic<int> copied{0}, refused{0};
        std::thread releaser([&] {
            while (!go) {
            }
            shared->dec_reference();
        });
        std::thread copier([&] {
            while (!go) {
            }
            try {
                SafePointer<Tracked> c(*shared);
                if (c->value == round)
                    ++copied;
            } catch (const KVRuntimeError&) {
                ++refused;
            }
        });
        {
            kvtest::StdoutCapture quiet;
            go = true;
            releaser.join();
            copier.join();
        }
        ASSERT_EQ(copied + refused, 1);
        ASSERT_EQ(g_destroyed, 1) << "round " << round;
    }
}

TEST(KVRuntimeErrorTest, KeepsMessageAndNullGivesEmpty) {
    EXPECT_STREQ(KVRuntimeError(std::string("boom")).what(), "boom");
    const char* none = nullptr;
    EXPECT_STREQ(KVRuntimeError(none).what(), "");
}

} // namespace

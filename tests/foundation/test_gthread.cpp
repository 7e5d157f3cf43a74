// Function objects and controller threads built around member functions.
// labels: threaded
#include "foundation/GThread.h"
#include "platform/KovantTime.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>

namespace {

struct Base {
    virtual ~Base() = default;
    virtual int body() { return 1; }
};

struct Derived : Base {
    int body() override { return 2; }
};

struct Counted : function_obj_base<int> {
    explicit Counted(int* deleted) : m_deleted(deleted) {}
    ~Counted() override { ++*m_deleted; }
    int operator()() override { return 9; }
    int* m_deleted;
};

TEST(FunctionTest, BoundVirtualMemberDispatchesDynamically) {
    Derived d;
    function<int> f = bind_member<int, Base>(&d, &Base::body);
    EXPECT_EQ(f(), 2);
    EXPECT_EQ(bind_function<int>(&GThread::emptyFun)(), 0);
}

TEST(FunctionTest, CopiesShareOneObjectDeletedWithTheLast) {
    int deleted = 0;
    {
        function<int> a(new Counted(&deleted));
        {
            function<int> b = a;
            EXPECT_EQ(b(), 9);
        }
        EXPECT_EQ(deleted, 0);
    }
    EXPECT_EQ(deleted, 1);
}

// A controller-like owner with a periodic body that waits a second a pass.
class Owner {
public:
    Owner() : m_pThread(makeMemberThread(this, &Owner::threadBody, "DayNightChangeThread")) {}
    ~Owner() {
        m_pThread->stop();
        delete m_pThread;
    }
    int threadBody() {
        ++m_passes;
        m_inPass = true;
        KovantTime::wait(KovantTime(1, 0));
        m_inPass = false;
        return 0;
    }
    GThread* m_pThread;
    std::atomic<int> m_passes{0};
    std::atomic<bool> m_inPass{false};
};

TEST(GThreadTest, RunsPassesAndStopsAfterTheCurrentPass) {
    kvtest::TestRoot root(0.001); // one device second = 1 ms
    Owner owner;
    EXPECT_EQ(owner.m_pThread->getName(), "DayNightChangeThread");
    ASSERT_NE(owner.m_pThread->start(), 0);
    EXPECT_EQ(owner.m_pThread->start(), 0) << "a running thread does not start twice";
    while (owner.m_passes < 5)
        std::this_thread::yield();
    owner.m_pThread->stop();
    EXPECT_FALSE(owner.m_inPass);
    const int passes = owner.m_passes;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(owner.m_passes, passes) << "no pass after stop";
}

TEST(GThreadTest, StopInterruptsALongWaitInsideTheBody) {
    kvtest::TestRoot root(1.0); // real time: the body would wait a full second
    auto owner = std::make_unique<Owner>();
    ASSERT_NE(owner->m_pThread->start(), 0);
    while (owner->m_passes < 1)
        std::this_thread::yield();
    const auto t0 = std::chrono::steady_clock::now();
    owner.reset();
    const auto took = std::chrono::steady_clock::now() - t0;
    EXPECT_LT(took, std::chrono::milliseconds(500));
}

TEST(GThreadTest, UnstartedThreadIsDeletedCleanly) {
    Owner owner; // never started: destruction stops nothing and joins nothing
    SUCCEED();
}

} // namespace

// Named platform thread that calls its body pass after pass until stopped.
#pragma once

#include "platform/PlatformClock.h"

#include <functional>
#include <mutex>
#include <string>
#include <thread>

// The body does one pass of work (including its own wait) and returns; the
// thread calls it again until stop(). stop() returns only once the pass in
// progress has ended, so the owner may then delete the thread and itself. A
// wait made inside the body (KovantTime::wait) returns early when the thread
// is being stopped, so stopping takes milliseconds, not the rest of a wait.
// The start hook runs on the new thread before the first pass, the stop hook
// after the last.
class KVThread {
public:
    using Body = std::function<int()>;

    KVThread(Body body, std::string const& name, Body startHook = Body(), Body stopHook = Body());
    virtual ~KVThread();
    KVThread(const KVThread&) = delete;
    KVThread& operator=(const KVThread&) = delete;

    // Starts the thread; non-zero on success, 0 on failure (already running,
    // or the system refused a thread).
    int start();
    // Stops the thread and waits for the pass in progress to end. Safe to call
    // when not running, twice, or from the thread's own body (then it only
    // asks the loop to end).
    void stop();
    // Asks the thread to stop and returns at once: the pass in progress ends
    // its waits early. An owner with several threads asks them all before
    // stopping each, so that none waits out the others' passes.
    void requestStop();
    bool isRunning() const;
    const std::string& getName() const { return m_strName; }

private:
    void run();

    Body m_body;
    Body m_startHook;
    Body m_stopHook;
    std::string m_strName;
    PlatformClock::StopToken m_stopToken;
    mutable std::mutex m_mutex; // guards m_thread and m_bRunning
    std::thread m_thread;
    bool m_bRunning = false;
};

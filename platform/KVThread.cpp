// Platform thread.
#include "platform/KVThread.h"

#include <pthread.h>
#include <system_error>

KVThread::KVThread(Body body, std::string const& name, Body startHook, Body stopHook)
    : m_body(std::move(body)), m_startHook(std::move(startHook)), m_stopHook(std::move(stopHook)),
      m_strName(name) {}

KVThread::~KVThread() {
    stop();
}

int KVThread::start() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bRunning || !m_body)
        return 0;
    m_stopToken.reset();
    try {
        m_thread = std::thread(&KVThread::run, this);
    } catch (const std::system_error&) {
        return 0;
    }
    m_bRunning = true;
    return 1;
}

void KVThread::requestStop() {
    m_stopToken.requestStop();
}

void KVThread::stop() {
    requestStop();
    std::thread finished;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_thread.joinable())
            return;
        if (m_thread.get_id() == std::this_thread::get_id())
            return; // called from the body: the loop ends after this pass
        finished = std::move(m_thread);
    }
    finished.join();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bRunning = false;
}

bool KVThread::isRunning() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bRunning;
}

void KVThread::run() {
    // Linux limits thread names to 15 characters.
    pthread_setname_np(pthread_self(), m_strName.substr(0, 15).c_str());
    PlatformClock::setCurrentStopToken(&m_stopToken);
    if (m_startHook)
        m_startHook();
    while (!m_stopToken.stopRequested())
        m_body();
    if (m_stopHook)
        m_stopHook();
    PlatformClock::setCurrentStopToken(nullptr);
}

// Scaled, settable clock and stop-aware waits.
#include "platform/PlatformClock.h"

#include <cstdint>
#include <ctime>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

namespace PlatformClock {
namespace {

using Steady = std::chrono::steady_clock;

struct ClockState {
    std::mutex mutex;
    double scale = 1.0;
    // Device time is anchored: at the real instant `anchorReal` the device
    // clocks read `anchorMono` and `anchorWall`; from there they advance by
    // real elapsed time divided by the scale.
    Steady::time_point anchorReal = Steady::now();
    double anchorMono = 0.0;
    double anchorWall = 0.0;
    bool wallSet = false;
};

ClockState& state() {
    static ClockState s;
    return s;
}

double elapsedDevice(const ClockState& s, Steady::time_point now) {
    return std::chrono::duration<double>(now - s.anchorReal).count() / s.scale;
}

double systemLocalSeconds() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t t = system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&t, &local);
    const double frac = duration<double>(now.time_since_epoch()).count() - static_cast<double>(t);
    return static_cast<double>(t) + static_cast<double>(local.tm_gmtoff) + frac;
}

// Moves the anchor to now, keeping the device readings continuous.
void reanchor(ClockState& s) {
    const auto now = Steady::now();
    const double e = elapsedDevice(s, now);
    s.anchorMono += e;
    if (s.wallSet)
        s.anchorWall += e;
    s.anchorReal = now;
}

thread_local StopToken* t_token = nullptr;
thread_local double t_dSlept = 0.0; // device seconds asked of sleepFor on this thread

} // namespace

void setTimeScale(double scale) {
    if (!(scale > 0.0))
        return;
    ClockState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    reanchor(s);
    s.scale = scale;
}

double timeScale() {
    ClockState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.scale;
}

void setTimeOfDay(int hour, int minute, int second) {
    ClockState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    reanchor(s);
    const double today = systemLocalSeconds();
    const double midnight = today - static_cast<double>(static_cast<long long>(today) % 86400);
    s.anchorWall = midnight + hour * 3600.0 + minute * 60.0 + second;
    s.wallSet = true;
}

void resetTimeOfDay() {
    ClockState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    reanchor(s);
    s.wallSet = false;
}

double nowSeconds() {
    ClockState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.wallSet)
        return systemLocalSeconds();
    return s.anchorWall + elapsedDevice(s, Steady::now());
}

double monotonicSeconds() {
    ClockState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.anchorMono + elapsedDevice(s, Steady::now());
}

bool sleepFor(Duration d) {
    if (d.count() < 0)
        d = Duration(0);
    t_dSlept += d.count();
    const auto real = std::chrono::duration_cast<std::chrono::nanoseconds>(d * timeScale());
    if (t_token != nullptr)
        return t_token->waitFor(real);
    std::this_thread::sleep_for(real);
    return true;
}

double threadSleptSeconds() {
    return t_dSlept;
}

StopToken::StopToken() : m_nWakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

StopToken::~StopToken() {
    if (m_nWakeFd >= 0)
        ::close(m_nWakeFd);
}

void StopToken::requestStop() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_bStopped && m_nWakeFd >= 0) {
            const std::uint64_t one = 1;
            (void)!::write(m_nWakeFd, &one, sizeof one);
        }
        m_bStopped = true;
    }
    m_cond.notify_all();
}

void StopToken::reset() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bStopped && m_nWakeFd >= 0) {
        std::uint64_t count = 0;
        (void)!::read(m_nWakeFd, &count, sizeof count);
    }
    m_bStopped = false;
}

bool StopToken::stopRequested() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bStopped;
}

bool StopToken::waitFor(std::chrono::nanoseconds real) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_cond.wait_for(lock, real, [this] { return m_bStopped; });
}

void setCurrentStopToken(StopToken* token) {
    t_token = token;
}

StopToken* currentStopToken() {
    return t_token;
}

bool stopRequested() {
    return t_token != nullptr && t_token->stopRequested();
}

} // namespace PlatformClock

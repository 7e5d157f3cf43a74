// The one process-wide clock behind every wait and every time read.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// Device code waits (KovantTime::wait) and reads the time (KVDeviceTime)
// through this clock. On the device it is the real clock. Tests and demos can
// scale it, so that a 20 s module restart passes in 20 ms at scale 0.001 while
// the device time advances by the same 20 s, and can set the time of day.
namespace PlatformClock {

using Duration = std::chrono::duration<double>; // device seconds

// Real seconds per device second (1 = real time). Values <= 0 are ignored.
void setTimeScale(double scale);
double timeScale();

// Sets the device's local time of day; the clock then runs on from there at
// the scaled rate. resetTimeOfDay() returns to the system's wall clock.
void setTimeOfDay(int hour, int minute, int second = 0);
void resetTimeOfDay();

// Device wall time in seconds since the epoch (local time: the zone offset is
// already added, so that dividing by 86400 gives the time of day).
double nowSeconds();

// Device seconds since the process started, scaled; never goes backwards.
double monotonicSeconds();

// Waits the given device time. On a thread that carries a stop token (a
// platform thread), returns early, with false, once the token is stopped.
bool sleepFor(Duration d);
// Device seconds the calling thread has asked sleepFor() for, in all: the
// pauses a protocol mandates, as a benchmark tells them from the rest.
double threadSleptSeconds();

// Stop token of a platform thread: waits made on the thread observe it,
// sleeps through waitFor() and descriptor waits (poll) through wakeFd().
class StopToken {
public:
    StopToken();
    ~StopToken();
    StopToken(const StopToken&) = delete;
    StopToken& operator=(const StopToken&) = delete;

    void requestStop();
    void reset();
    bool stopRequested() const;
    // Waits up to the real duration; false when stopped.
    bool waitFor(std::chrono::nanoseconds real);
    // A descriptor that polls readable once a stop is requested (-1 when the
    // system refused one; a stop is then seen only between waits).
    int wakeFd() const { return m_nWakeFd; }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_cond;
    bool m_bStopped = false;
    int m_nWakeFd = -1;
};

// Binds a token to the calling thread for its lifetime (nullptr unbinds).
void setCurrentStopToken(StopToken* token);
StopToken* currentStopToken();
// True on a platform thread that is being stopped.
bool stopRequested();

} // namespace PlatformClock

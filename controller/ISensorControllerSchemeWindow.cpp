// Controller ids 500..504: enable flag and time window of the scheme in force.
#include "controller/ISensorController.h"

#include <climits>
#include <cstdio>

// Applying a scheme's text sends its ids 500..504 through these setters, in
// ascending order: the enable flag, start hour, start minute, end hour, end
// minute. Each setter edits one half of the window of the scheme in force
// (m_nParamSchemeStartTime / m_nParamSchemeEndTime, hour*100 + minute) and
// writes the result to that scheme's record, which the worker's time
// switching reads. reInitSchemeTimeMember() sets the window to 0..10000
// before a scheme is applied, so the start and end hours never collide with
// the window of the previous scheme.

namespace {

const char* const kStartAfterEnd = "failed:startTime(%d) > endTime(%d)\n";
constexpr int kDayEnd = 2400;

} // namespace

// Hours and minutes are not range-checked here: the refusals of the window
// and switch-time setters are the start-after-end, equal-times and past-24:00
// rules. Only a time that does not fit an int at all is refused.
bool ISensorController::composeTime(ISensorController& controller, const char* setter, int changed,
                                    long long hour, long long minute, int& time) {
    const long long value = hour * 100 + minute;
    if (value < INT_MIN || value > INT_MAX) {
        controller.ErrorPrintf("%s(%d) is out of range", setter, changed);
        return false;
    }
    time = static_cast<int>(value);
    return true;
}

int ISensorController::setEnableParam(int flag) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    setParamSchemeEnableFlag(m_nParamScheme, flag);
    return 1;
}

// The scheme in force is enabled by definition, whatever its record says.
int ISensorController::getEnableParam(int& flag) {
    flag = 1;
    return 1;
}

int ISensorController::setParamStartTime_H(int hour) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setParamStartTime_H", hour, hour, m_nParamSchemeStartTime % 100, time))
        return 0;
    if (m_bisInited && !m_bisReset && time > m_nParamSchemeEndTime) {
        ErrorPrintf(kStartAfterEnd, time, m_nParamSchemeEndTime);
        return 0;
    }
    if (time > kDayEnd) {
        ErrorPrintf("setParamStartTime_H failed:startTime > 24H,m_nParamSchemeStartTime=%d\n",
                    time);
        return 0;
    }
    std::printf("set start time:%d\n", time);
    m_nParamSchemeStartTime = time;
    return setParamSchemeStartTime(m_nParamScheme, time);
}

int ISensorController::setParamStartTime_M(int minute) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setParamStartTime_M", minute, m_nParamSchemeStartTime / 100, minute,
                     time))
        return 0;
    if (m_bisInited && !m_bisReset && time > m_nParamSchemeEndTime) {
        ErrorPrintf(kStartAfterEnd, time, m_nParamSchemeEndTime);
        return 0;
    }
    if (time > kDayEnd) {
        ErrorPrintf("setParamStartTime_M failed:startTime > 24H,m_nParamSchemeStartTime=%d,"
                    "p_nParamTime_M=%d\n",
                    time, minute);
        return 0;
    }
    std::printf("set start minute:%d\n", time);
    m_nParamSchemeStartTime = time;
    return setParamSchemeStartTime(m_nParamScheme, time);
}

int ISensorController::setParamEndTime_H(int hour) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setParamEndTime_H", hour, hour, m_nParamSchemeEndTime % 100, time))
        return 0;
    if (m_bisInited && !m_bisReset && m_nParamSchemeStartTime > time) {
        ErrorPrintf(kStartAfterEnd, m_nParamSchemeStartTime, time);
        return 0;
    }
    if (time > kDayEnd) {
        ErrorPrintf("failed:endTime > 24H, m_nParamSchemeEndTime=%d\n", time);
        return 0;
    }
    std::printf("set end time:%d\n", time);
    m_nParamSchemeEndTime = time;
    return setParamSchemeEndTime(m_nParamScheme, time);
}

int ISensorController::setParamEndTime_M(int minute) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setParamEndTime_M", minute, m_nParamSchemeEndTime / 100, minute, time))
        return 0;
    if (m_bisInited && !m_bisReset && m_nParamSchemeStartTime > time) {
        ErrorPrintf(kStartAfterEnd, m_nParamSchemeStartTime, time);
        return 0;
    }
    if (time > kDayEnd) {
        ErrorPrintf("failed:endTime > 24H,m_nParamSchemeEndTime=%d,p_nParamTime_M=%d\n", time,
                    minute);
        return 0;
    }
    std::printf("set end minute:%d\n", time);
    m_nParamSchemeEndTime = time;
    return setParamSchemeEndTime(m_nParamScheme, time);
}

// The getters report the window of the scheme in force as edited through
// ids 501..504. Until a scheme's window ids have been applied that is the
// impossible 66:00-88:00, so a factory file built from these getters carries
// a window that never matches the time of day.
int ISensorController::getParamStartTime_H(int& hour) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    hour = m_nParamSchemeStartTime / 100;
    return 1;
}

int ISensorController::getParamStartTime_M(int& minute) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    minute = m_nParamSchemeStartTime % 100;
    return 1;
}

int ISensorController::getParamEndTime_H(int& hour) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    hour = m_nParamSchemeEndTime / 100;
    return 1;
}

int ISensorController::getParamEndTime_M(int& minute) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    minute = m_nParamSchemeEndTime % 100;
    return 1;
}

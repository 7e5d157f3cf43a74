// Controller ids 500..504: enable flag and time window of the scheme in force.
#include "controller/ISensorController.h"

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

bool isValidHour(int hour) {
    return hour >= 0 && hour <= 24;
}
bool isValidMinute(int minute) {
    return minute >= 0 && minute <= 59;
}

} // namespace

int ISensorController::setEnableParam(int flag) {
    if (flag != 0 && flag != 1) {
        ErrorPrintf("setEnableParam(%d) is out of range", flag);
        return 0;
    }
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
    if (!isValidHour(hour)) {
        ErrorPrintf("setParamStartTime_H(%d) is out of range", hour);
        return 0;
    }
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    const int time = hour * 100 + m_nParamSchemeStartTime % 100;
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
    if (!isValidMinute(minute)) {
        ErrorPrintf("setParamStartTime_M(%d) is out of range", minute);
        return 0;
    }
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    const int time = m_nParamSchemeStartTime / 100 * 100 + minute;
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
    if (!isValidHour(hour)) {
        ErrorPrintf("setParamEndTime_H(%d) is out of range", hour);
        return 0;
    }
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    const int time = hour * 100 + m_nParamSchemeEndTime % 100;
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
    if (!isValidMinute(minute)) {
        ErrorPrintf("setParamEndTime_M(%d) is out of range", minute);
        return 0;
    }
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    const int time = m_nParamSchemeEndTime / 100 * 100 + minute;
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

// The getters read the record of the scheme in force (what the time switching
// uses); before the scheme list exists they fall back to the edited window.
namespace {

int windowTime(const std::vector<std::unique_ptr<ParamScheme>>& records, int scheme, bool start,
               int fallback) {
    if (scheme < 0 || static_cast<std::size_t>(scheme) >= records.size())
        return fallback;
    int time = 0;
    if (start)
        records[static_cast<std::size_t>(scheme)]->getStartTime(time);
    else
        records[static_cast<std::size_t>(scheme)]->getEndTime(time);
    return time;
}

} // namespace

int ISensorController::getParamStartTime_H(int& hour) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    hour = windowTime(m_vecParamScheme, m_nParamScheme, true, m_nParamSchemeStartTime) / 100;
    return 1;
}

int ISensorController::getParamStartTime_M(int& minute) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    minute = windowTime(m_vecParamScheme, m_nParamScheme, true, m_nParamSchemeStartTime) % 100;
    return 1;
}

int ISensorController::getParamEndTime_H(int& hour) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    hour = windowTime(m_vecParamScheme, m_nParamScheme, false, m_nParamSchemeEndTime) / 100;
    return 1;
}

int ISensorController::getParamEndTime_M(int& minute) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    minute = windowTime(m_vecParamScheme, m_nParamScheme, false, m_nParamSchemeEndTime) % 100;
    return 1;
}

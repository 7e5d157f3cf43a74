// Device time from the platform clock.
#include "platform/KVDeviceTime.h"

#include "platform/PlatformClock.h"

#include <cmath>
#include <ctime>

int KVDeviceTime::getCurrentTime(KVDeviceTime& now) {
    // nowSeconds() is local time already, so it is broken down as UTC.
    const std::time_t t = static_cast<std::time_t>(std::floor(PlatformClock::nowSeconds()));
    std::tm tm{};
    gmtime_r(&t, &tm);
    now.m_nYear = tm.tm_year + 1900;
    now.m_nMonth = tm.tm_mon + 1;
    now.m_nDay = tm.tm_mday;
    now.m_nHour = tm.tm_hour;
    now.m_nMinute = tm.tm_min;
    now.m_nSecond = tm.tm_sec;
    return 1;
}

double KVDeviceTime::getSeconds() {
    return PlatformClock::monotonicSeconds();
}

// The device's local date and time, read from the platform clock.
#pragma once

// A snapshot of the device clock. getCurrentTime fills one with the time of
// day (for schedules written as hour*100 + minute); getSeconds gives a
// running count of seconds with fractions, for measuring delays.
class KVDeviceTime {
public:
    KVDeviceTime() = default;

    // Fills `now` with the device's local time; returns 1.
    static int getCurrentTime(KVDeviceTime& now);
    // Device seconds since start-up, with fractions; never goes backwards.
    static double getSeconds();

    int getYear() const { return m_nYear; }
    int getMonth() const { return m_nMonth; } // 1..12
    int getDay() const { return m_nDay; }     // 1..31
    int getHour() const { return m_nHour; }
    int getMinute() const { return m_nMinute; }
    int getSecond() const { return m_nSecond; }
    // hour*100 + minute, the form schedules are written in.
    int getHourMinute() const { return m_nHour * 100 + m_nMinute; }

private:
    int m_nYear = 1970;
    int m_nMonth = 1;
    int m_nDay = 1;
    int m_nHour = 0;
    int m_nMinute = 0;
    int m_nSecond = 0;
};

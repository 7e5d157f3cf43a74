// In-process PWM output and ADC for hosts without the board's drivers.
#pragma once

#include "platform/DeviceIoctl.h"

#include <map>
#include <mutex>
#include <vector>

// One PWM output as the board's driver presents it: a {duty, period}
// configuration request, and enable/disable requests without argument. Keeps
// the state and a log of every accepted request so tests can check exactly
// what the LED code asked for.
class SimulatedPwm : public SimulatedDevice {
public:
    struct Write {
        unsigned long request;
        int duty;   // configuration requests only, else 0
        int period; // configuration requests only, else 0
    };

    int ioctl(unsigned long request, void* arg) override;

    int duty() const;
    int period() const;
    bool enabled() const;
    std::vector<Write> writeLog() const;
    void clearLog();
    // While failing, every request fails with EIO and changes nothing.
    void setFailing(bool failing);

private:
    mutable std::mutex m_mutex;
    int m_nDuty = 0;
    int m_nPeriod = 0;
    bool m_bEnabled = false;
    bool m_bFailing = false;
    std::vector<Write> m_vecLog;
};

// The light-sensor converter: answers a reading request with the value set
// for the requested channel (or the common value when none was set for it).
class SimulatedAdc : public SimulatedDevice {
public:
    int ioctl(unsigned long request, void* arg) override;

    // The value every channel reads unless setChannelValue() gave its own.
    void setValue(int value);
    void setChannelValue(int channel, int value);
    // While failing, reading requests fail with EIO.
    void setFailing(bool failing);
    int requestCount() const;
    int lastChannel() const;

private:
    mutable std::mutex m_mutex;
    int m_nValue = 0;
    std::map<int, int> m_mapChannels;
    bool m_bFailing = false;
    int m_nRequests = 0;
    int m_nLastChannel = -1;
};

// GPIO access through the Linux sysfs GPIO files.
#pragma once

#include "platform/IGPIO.h"

#include <mutex>
#include <string>

// Line (group, pin) is sysfs GPIO number group * 32 + pin, with its value in
// "/sys/class/gpio/gpio<N>/value" (mapped under the platform root).
//
// On a real sysfs the line is exported through "/sys/class/gpio/export" when
// its folder is missing, and a set makes the line an output first (writing
// "high" or "low" to its direction, which switches without a glitch). A get
// never turns an output into an input: reading an output gives back its driven
// level, and the line keeps being driven. Exported lines start as inputs, so a
// line that is only read needs no direction change.
//
// Under a test root (any root other than "/") the value files are plain files
// that tests and simulators read and write: a set creates a missing value
// file, a get of a missing one fails. On the real root a missing value file
// (after the export attempt) fails both operations.
class SysfsGPIO : public IGPIO {
public:
    SysfsGPIO();
    ~SysfsGPIO() override;
    SysfsGPIO(const SysfsGPIO&) = delete;
    SysfsGPIO& operator=(const SysfsGPIO&) = delete;

    int getLevel(int group, int pin, int& level) override;
    int setLevel(int group, int pin, int level) override;

    // Records that the front end is up; see isInitComplete(). Always 1.
    int initComplete() override;
    bool isInitComplete() const;

    // Highest group accepted; pins are 0..31.
    static constexpr int kMaxGroup = 63;

    // Device path of the line's folder ("/sys/class/gpio/gpio37"), or "" for
    // a line outside the accepted range.
    static std::string linePath(int group, int pin);

private:
    bool ensureExported(int number, const std::string& lineDir);

    mutable std::mutex m_mutex;
    bool m_bInitComplete = false;
};

// GPIO handed to the manager by sensorctl: sysfs lines, or lines kept in memory.
#pragma once

#include "platform/IGPIO.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

// Forwards to the sysfs GPIO when the unit's lines may be touched (real
// devices, or a root directory where the line files are plain files), and
// otherwise keeps the levels in memory, so that a host run with root "/"
// never writes the machine's own /sys. It also records whether the manager
// declared the start-up complete: that is how the tool learns that init
// succeeded.
class HostGpio : public IGPIO {
public:
    // `sysfs`: forward to SysfsGPIO; else in-memory lines (all read as 1).
    explicit HostGpio(bool sysfs);
    ~HostGpio() override;
    HostGpio(const HostGpio&) = delete;
    HostGpio& operator=(const HostGpio&) = delete;

    int getLevel(int group, int pin, int& level) override;
    int setLevel(int group, int pin, int level) override;
    int initComplete() override;

    bool isInitComplete() const { return m_bInitComplete; }
    void clearInitComplete() { m_bInitComplete = false; }

private:
    std::unique_ptr<IGPIO> m_pSysfs;
    std::mutex m_mutex;
    std::map<std::pair<int, int>, int> m_mapLevels;
    std::atomic<bool> m_bInitComplete{false};
};

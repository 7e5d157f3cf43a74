// GPIO handed to the manager by sensorctl: sysfs lines, or lines kept in memory.
#include "tools/HostGpio.h"

#include "platform/SysfsGPIO.h"

HostGpio::HostGpio(bool sysfs) {
    if (sysfs)
        m_pSysfs = std::make_unique<SysfsGPIO>();
}

HostGpio::~HostGpio() = default;

int HostGpio::getLevel(int group, int pin, int& level) {
    if (m_pSysfs)
        return m_pSysfs->getLevel(group, pin, level);
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_mapLevels.find({group, pin});
    level = it != m_mapLevels.end() ? it->second : 1;
    return 1;
}

int HostGpio::setLevel(int group, int pin, int level) {
    if (m_pSysfs)
        return m_pSysfs->setLevel(group, pin, level);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mapLevels[{group, pin}] = level;
    return 1;
}

int HostGpio::initComplete() {
    const int result = m_pSysfs ? m_pSysfs->initComplete() : 1;
    m_bInitComplete = true;
    return result;
}

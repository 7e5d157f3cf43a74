// IT1 module base: the light-level day/night decision, its thresholds, the picture and the thread.
#include "drivers/modules/IBaseIT1SenseController.h"

#include "platform/GlobalEnv.h"
#include "platform/KovantTime.h"

#include <climits>
#include <cmath>
#include <cstdio>

namespace {

bool printing() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}

constexpr int kDayToNightAddress = 0x1412;
constexpr int kNightToDayAddress = 0x1411;
constexpr int kThresholdLimit = 255;

} // namespace

// No state while the module's light value cannot be read: the base then
// keeps the picture it has rather than follow a stale result.
int IBaseIT1SenseController::getDNStatusFromSensor(int& status) {
    if (!m_bLightRead)
        return 0;
    status = m_nDayNight;
    m_nPendingSwitch = -1;
    return 1;
}

int IBaseIT1SenseController::getDayNightState(int& state) {
    state = m_nDayNight;
    return 1;
}

int IBaseIT1SenseController::turnPictureToDay() {
    return closeDayNightMode();
}

int IBaseIT1SenseController::turnPictureToNight() {
    return openDayNightMode();
}

// ---- day and night ------------------------------------------------------------------------

int IBaseIT1SenseController::base_setDayToNightTransition(int value) {
    if (value < 0 || value > kThresholdLimit) {
        ErrorPrintf("p_nDayToNightTransition(%d) is out of range", value);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (value < m_nNightToDay) {
        ErrorPrintf("Error : DTN(%d) is less than NTD(%d) \n", value, m_nNightToDay.load());
        return 0;
    }
    if (m_objSettings.writeField(kDayToNightAddress, 1, 0, 0, value) == 0) {
        ErrorPrintf("base_setDayToNightTransition failed");
        return 0;
    }
    m_nDayToNight = value;
    return 1;
}

int IBaseIT1SenseController::base_setNightToDayTransition(int value) {
    if (value < 0 || value > kThresholdLimit) {
        ErrorPrintf("p_nNightToDayTransition(%d) is out of range", value);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (value > m_nDayToNight) {
        ErrorPrintf("Error : NTD(%d) is more than DTN(%d)\n", value, m_nDayToNight.load());
        return 0;
    }
    if (m_objSettings.writeField(kNightToDayAddress, 1, 0, 0, value) == 0) {
        ErrorPrintf("base_setNightToDayTransition failed");
        return 0;
    }
    m_nNightToDay = value;
    return 1;
}

int IBaseIT1SenseController::getDayToNightTransition(int& value) const {
    value = m_nDayToNight;
    return 1;
}

int IBaseIT1SenseController::getNightToDayTransition(int& value) const {
    value = m_nNightToDay;
    return 1;
}

int IBaseIT1SenseController::openDayNightMode() {
    if (m_objSettings.writeField(kModeAddress, 1, kNightModeBit, 1, 1) == 0) {
        ErrorPrintf("openDayNight failed");
        return 0;
    }
    return 1;
}

int IBaseIT1SenseController::closeDayNightMode() {
    if (m_objSettings.writeField(kModeAddress, 1, kNightModeBit, 1, 0) == 0) {
        ErrorPrintf("closeDayNight failed");
        return 0;
    }
    return 1;
}

int IBaseIT1SenseController::lightLevel(int value) {
    if (value <= 0)
        return INT_MIN;
    // The integer part: towards zero, below 0 too.
    return static_cast<int>((std::log2(static_cast<double>(value)) - 7.0) * 32.0);
}

int IBaseIT1SenseController::getDayNightValue(int& result) {
    int value = 0;
    if (m_objProtocol.readRegister(kLightAddress, 2, value) == 0) {
        ErrorPrintf("getDayNightValue failed");
        m_bLightRead = false;
        return 0;
    }
    m_bLightRead = true;
    const int level = lightLevel(value);
    if (level < m_nNightToDay)
        m_nDayNight = 1;
    else if (level > m_nDayToNight)
        m_nDayNight = 0;
    result = m_nDayNight;
    if (printing())
        std::printf("light value = %d, level = %d, day/night = %d\n", value, level, result);
    return 1;
}

// ---- switching thread ----------------------------------------------------------------------

int IBaseIT1SenseController::startSwitchThread() {
    if (m_pSwitchThread->isRunning())
        return 1;
    m_nPendingSwitch = -1;
    if (m_pSwitchThread->start() == 0) {
        ErrorPrintf("start IBaseIT1SenseController DayNightSwitchThread failed");
        return 0;
    }
    if (printing())
        std::printf("start IBaseIT1SenseController DayNightSwitchThread success\n");
    return 1;
}

int IBaseIT1SenseController::stopSwitchThread() {
    m_pSwitchThread->stop();
    return 1;
}

int IBaseIT1SenseController::switchThreadBody() {
    const int before = m_nDayNight;
    int result = before;
    if (getDayNightValue(result) != 0 && result != before)
        m_nPendingSwitch = result;
    KovantTime::wait(KovantTime(1, 0));
    return 0;
}

// Controller day/night switching: mode, judgement, delay, IR-cut and IR lamp orders.
#include "controller/ISensorController.h"

#include "platform/KVDeviceTime.h"
#include "platform/KovantTime.h"

#include <cmath>
#include <cstdio>

namespace {

// The pause between the two GPIO moves of an IR-cut switch, and after a failed one.
void waitBetweenMoves() {
    KovantTime::wait(KovantTime(0, 100000));
}
void waitAfterFailure() {
    KovantTime::wait(KovantTime(1, 0));
}

// The four time setters share one rule: replace the hour or the minute of one
// of the two times, and once the controller runs (and no reset is re-applying
// stored values) refuse to make both times equal, which would leave the
// by-time mode without a night.
struct TimeEdit {
    int* target;      // the time being changed
    const int* other; // the opposite time
    const char* trace;
};

int applyTimeEdit(ISensorController& controller, const TimeEdit& edit, int newTime,
                  bool checkEqual) {
    if (checkEqual && newTime == *edit.other) {
        controller.ErrorPrintf("failed:DTNTIME == NTDTIME,value = %d\n", newTime);
        return 0;
    }
    std::printf(edit.trace, newTime);
    *edit.target = newTime;
    return 1;
}

} // namespace

// ---- mode, delay and switch times -------------------------------------------

int ISensorController::setDayNightMode(int mode) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    if (mode == 0)
        turnToAutoDayNightMode();
    else if (mode >= 1 && mode <= 3)
        turnToManualDayNightMode();
    m_nDayNightMode = mode;
    reInitDelayStartTime();
    return 1;
}

int ISensorController::setDNSwitchDelay(int seconds) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    m_nDNSwitchDelay = seconds;
    return 1;
}

// The delay reported to the host is the factory one, whatever was stored.
int ISensorController::getDNSwitchDelay(int& seconds) {
    seconds = 5;
    return 1;
}

int ISensorController::setDTNTime_H(int hour) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setDTNTime_H", hour, hour, m_nDTNTime % 100, time))
        return 0;
    return applyTimeEdit(*this, {&m_nDTNTime, &m_nNTDTime, "set DTN time:%d\n"}, time,
                         m_bisInited && !m_bisReset);
}

int ISensorController::setDTNTime_M(int minute) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setDTNTime_M", minute, m_nDTNTime / 100, minute, time))
        return 0;
    return applyTimeEdit(*this, {&m_nDTNTime, &m_nNTDTime, "set DTN time:%d\n"}, time,
                         m_bisInited && !m_bisReset);
}

int ISensorController::setNTDTime_H(int hour) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setNTDTime_H", hour, hour, m_nNTDTime % 100, time))
        return 0;
    return applyTimeEdit(*this, {&m_nNTDTime, &m_nDTNTime, "set NTD time:%d\n"}, time,
                         m_bisInited && !m_bisReset);
}

int ISensorController::setNTDTime_M(int minute) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    int time = 0;
    if (!composeTime(*this, "setNTDTime_M", minute, m_nNTDTime / 100, minute, time))
        return 0;
    return applyTimeEdit(*this, {&m_nNTDTime, &m_nDTNTime, "set NTD time:%d\n"}, time,
                         m_bisInited && !m_bisReset);
}

// The getters report the factory times 18:00 and 06:00, not the stored ones.
int ISensorController::getDTNTime_H(int& hour) {
    hour = 18;
    return 1;
}

int ISensorController::getDTNTime_M(int& minute) {
    minute = 0;
    return 1;
}

int ISensorController::getNTDTime_H(int& hour) {
    hour = 6;
    return 1;
}

int ISensorController::getNTDTime_M(int& minute) {
    minute = 0;
    return 1;
}

// ---- status sources -----------------------------------------------------------

int ISensorController::getDNStatusFromLDR(int& status) {
    int level = -1;
    if (m_pGPIO.get() == nullptr ||
        m_pGPIO->getLevel(m_objLDRGPIO.m_nGroup, m_objLDRGPIO.m_nPin, level) == 0) {
        ErrorPrintf("GPIO(%d) get DNLevel failed value = %d", m_objLDRGPIO.m_nPin, level);
        return 0;
    }
    status = level == m_objLDRGPIO.m_nDayLevel ? 1 : 0;
    return 1;
}

int ISensorController::getCurrentDNStatus(int& status) {
    if (m_nDNSource == 0 || m_bIntegratedModule) {
        if (getDNStatusFromSensor(status) == 0) {
            ErrorPrintf("getDNStatusFromSensor failed");
            return 0;
        }
        return 1;
    }
    if (m_nDNSource == 1 && !m_bIRBoard) {
        // The filter line doubles as the day/night input.
        int level = -1;
        if (m_pGPIO.get() == nullptr ||
            m_pGPIO->getLevel(m_objFilterGPIO.m_nGroup, m_objFilterGPIO.m_nPin, level) == 0) {
            ErrorPrintf("GPIO(%d) get DNLevel failed value = %d", m_objFilterGPIO.m_nPin, level);
            return 0;
        }
        status = level == m_objFilterGPIO.m_nDayLevel ? 1 : 0;
        return 1;
    }
    if (m_bIRBoard) {
        if (getDNStatusFromLDR(status) == 0) {
            ErrorPrintf("getDNStatusFromLDR failed");
            return 0;
        }
        return 1;
    }
    return 0;
}

int ISensorController::getCurrentTime(double& seconds) {
    seconds = KVDeviceTime::getSeconds();
    return 1;
}

int ISensorController::reInitDelayStartTime() {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    return getCurrentTime(m_dDelayStartTime);
}

// Night is taken at once (the picture must not stay dark); day only after the
// reading has stayed day for the whole delay, so a passing light (headlights,
// a torch) does not flip the camera back and forth.
int ISensorController::isTimeToSwitch(int status) {
    if (m_nDNSource != 0 && !m_bIRBoard)
        return 1;
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    double now = 0.0;
    getCurrentTime(now);
    if (status != m_nLastDNStatus) {
        m_dDelayStartTime = now;
        m_nLastDNStatus = status;
        if (status == 0)
            return 1;
    }
    return std::fabs(now - m_dDelayStartTime) >= m_nDNSwitchDelay ? 1 : 0;
}

int ISensorController::DNSwitchByTime(int& status) {
    KVDeviceTime time;
    KVDeviceTime::getCurrentTime(time);
    const int now = time.getHourMinute();
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    if (m_nDTNTime == m_nNTDTime) {
        std::puts("Error @ DNSwitchByTime");
        return 0;
    }
    if (m_nDTNTime < m_nNTDTime)
        status = (now < m_nDTNTime || now >= m_nNTDTime) ? 1 : 0;
    else
        status = (now >= m_nNTDTime && now < m_nDTNTime) ? 1 : 0;
    return 1;
}

// ---- judgement and handling ------------------------------------------------------

int ISensorController::DNSwitchJudge(int& status) {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    switch (m_nDayNightMode) {
    case 0:
        if (getCurrentDNStatus(status) == 0) {
            std::puts("getCurrentDNStatus false");
            return 0;
        }
        if (!(m_nDNSource != 0 && !m_bIRBoard) && isTimeToSwitch(status) == 0)
            return 0;
        return 1;
    case 1:
        status = 1;
        return 1;
    case 2:
        status = 0;
        return 1;
    case 3:
        DNSwitchByTime(status);
        return 1;
    case 4:
        if (m_nLastDayNightMode != 4)
            enterAutoMode();
        if (getCurrentDNStatus(status) == 0) {
            std::puts("getCurrentDNStatus false");
            return 0;
        }
        return 1;
    default:
        ErrorPrintf("====error=====,m_nDayNightMode out of range");
        return 0;
    }
}

int ISensorController::DNSwitchHandle() {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    int status = -1;
    if (DNSwitchJudge(status) == 0) {
        m_nLastDayNightMode = m_nDayNightMode;
        return 1;
    }
    set2AParam(status);
    if (m_nDayNightMode == 4) {
        // The module switches itself; only its state is followed.
        m_nLastDayNightMode = m_nDayNightMode;
        m_nDNState = status;
        return 1;
    }
    if (status == 1) {
        if (enterDayMode() == 0) {
            std::puts("enterDayMode failed");
            return 0;
        }
        m_nLastDayNightMode = m_nDayNightMode;
        return 1;
    }
    if (status == 0) {
        if (enterNightMode() == 0) {
            std::puts("enterNightMode failed");
            return 0;
        }
        m_nLastDayNightMode = m_nDayNightMode;
        return 1;
    }
    std::printf("=====error!=====nCurrentDNStatus out of range,nCurrentDNStatus=%d\n", status);
    return 0;
}

int ISensorController::enterDayMode() {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    if (m_nDNState == 1 && m_nLastDayNightMode == m_nDayNightMode)
        return 1;
    std::puts("!!!enterDayMode");
    if (m_nHDRMode == 3)
        updateHDRMode(1);
    if (SwitchInfraredIrCutToDay() == 0) {
        ErrorPrintf("SwitchInfraredIrCutToDay failed\n");
        return 0;
    }
    if (turnPictureToDay() == 0) {
        ErrorPrintf("turnPictureToDay failed\n");
        return 0;
    }
    m_nDNState = 1;
    return 1;
}

// The picture goes dark-ready before the filter leaves the light path.
int ISensorController::enterNightMode() {
    KVMutexLocker lock(m_DNMutex, "ISensorController.cpp", __LINE__);
    if (m_nDNState == 0 && m_nLastDayNightMode == m_nDayNightMode)
        return 1;
    std::puts("!!!enterNightMode");
    if (m_nHDRMode == 3)
        updateHDRMode(2);
    if (turnPictureToNight() == 0) {
        ErrorPrintf("turnPictureToNight failed\n");
        return 0;
    }
    if (SwitchInfraredIrCutToNight() == 0) {
        ErrorPrintf("SwitchInfraredIrCutToNight failed\n");
        return 0;
    }
    m_nDNState = 0;
    return 1;
}

// ---- IR-cut filter and IR lamps ---------------------------------------------------

// Towards day the lamps go off before the filter moves in; towards night the
// filter moves out before the lamps come on, so the picture never sees the
// lamps through the filter nor a dark scene without either.
int ISensorController::SwitchInfraredIrCutToDay() {
    if (m_bIntegratedModule)
        return 1;
    IGPIO* gpio = m_pGPIO.get();
    if (m_bIRBoard && m_nDNSource != 2) {
        if (gpio == nullptr || gpio->setLevel(m_objInfraredGPIO.m_nGroup, m_objInfraredGPIO.m_nPin,
                                              m_objInfraredGPIO.m_nDayLevel) == 0) {
            ErrorPrintf("gpio set infrared failed");
            waitAfterFailure();
            return 0;
        }
    }
    waitBetweenMoves();
    if (m_nDNSource != 0 && m_nDNSource != 2 && !m_bIRBoard)
        return 1;
    if (gpio == nullptr || gpio->setLevel(m_objFilterGPIO.m_nGroup, m_objFilterGPIO.m_nPin,
                                          m_objFilterGPIO.m_nDayLevel) == 0) {
        ErrorPrintf("gpio set filter failed");
        waitAfterFailure();
        return 0;
    }
    return 1;
}

int ISensorController::SwitchInfraredIrCutToNight() {
    if (m_bIntegratedModule)
        return 1;
    IGPIO* gpio = m_pGPIO.get();
    if (m_nDNSource == 0 || m_nDNSource == 2 || m_bIRBoard) {
        if (gpio == nullptr || gpio->setLevel(m_objFilterGPIO.m_nGroup, m_objFilterGPIO.m_nPin,
                                              1 - m_objFilterGPIO.m_nDayLevel) == 0) {
            ErrorPrintf("gpio set filter failed");
            waitAfterFailure();
            return 0;
        }
    }
    waitBetweenMoves();
    if (!m_bIRBoard || m_nDNSource == 2)
        return 1;
    if (gpio == nullptr || gpio->setLevel(m_objInfraredGPIO.m_nGroup, m_objInfraredGPIO.m_nPin,
                                          1 - m_objInfraredGPIO.m_nDayLevel) == 0) {
        ErrorPrintf("gpio set infrared failed");
        waitAfterFailure();
        return 0;
    }
    return 1;
}

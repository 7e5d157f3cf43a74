// VISCA zoom dome: day/night, IR LEDs and light sensor.
#include "drivers/platform/ViscaZoomDomeController.h"

namespace {
const char* const kFile = "ViscaZoomDomeDayNight.cpp";
} // namespace

// The host numbers this module's day/night modes 1 (automatic), 3 (day),
// 4 (night) and 5 (by time); the base's state machine knows them as 0..3.
int ViscaZoomDomeController::setDayNightMode(int mode) {
    int baseMode = 0;
    switch (mode) {
    case 1:
        baseMode = 0;
        initAutoDNStatus();
        break;
    case 3:
        baseMode = 1;
        if (turnPictureToDay() == 0)
            return 0;
        m_objIr.setLightSensorState(1);
        break;
    case 4:
        baseMode = 2;
        if (turnPictureToNight() == 0)
            return 0;
        m_objIr.setLightSensorState(0);
        break;
    case 5:
        baseMode = 3;
        break;
    default:
        ErrorPrintf("setDayNightMode(%d) out of range", mode);
        return 0;
    }
    KVMutexLocker lock(m_DNMutex, kFile, __LINE__);
    m_nModuleDayNightMode = mode;
    // Stores the base mode and restarts the switch delay, nothing more: the
    // worker's next day/night pass runs the whole switch for the new mode.
    return ISensorController::setDayNightMode(baseMode);
}

int ViscaZoomDomeController::initAutoDNStatus() {
    int status = -1;
    if (getDNStatusFromLDR(status) == 0) {
        ErrorPrintf("getDNStatusFromLDR() error\n");
        return 0;
    }
    if (status != 0 && status != 1) {
        ErrorPrintf("getDNStatusFromLDR(%d) out of range", status);
        return 0;
    }
    if (status == 1)
        enterDayMode();
    else
        enterNightMode();
    KVMutexLocker lock(m_DNMutex, kFile, __LINE__);
    m_nDNState = status;
    return 1;
}

// Night: colour off and IR-cut filter out on the module, LEDs on, night DC
// (on the modules that take it).
int ViscaZoomDomeController::turnPictureToNight() {
    if (sendCommand({0x04, 0x51, 0x03}) == 0 || sendCommand({0x04, 0x01, 0x02}) == 0)
        return 0;
    if (!m_objIr.isPWMEnabled())
        m_objIr.onNight();
    return m_profile.dcFrameOnSwitch ? m_objSettings.sendDCFrame(m_nDCNight) : 1;
}

// Day: filter in, LEDs off, day DC.
int ViscaZoomDomeController::turnPictureToDay() {
    if (sendCommand({0x04, 0x51, 0x03}) == 0 || sendCommand({0x04, 0x01, 0x03}) == 0)
        return 0;
    if (m_objIr.isPWMEnabled())
        m_objIr.onDay();
    return m_profile.dcFrameOnSwitch ? m_objSettings.sendDCFrame(m_nDCDay) : 1;
}

int ViscaZoomDomeController::getDNStatusFromLDR(int& status) {
    int current = -1;
    getDayNightState(current);
    return m_objIr.getDNStatusFromLDR(status, current);
}

// The module does not report day or night; the light sensor does.
int ViscaZoomDomeController::getDNStatusFromSensor(int& status) {
    status = 0;
    return 1;
}

int ViscaZoomDomeController::getDayNightState(int& state) {
    KVMutexLocker lock(m_DNMutex, kFile, __LINE__);
    state = m_nDNState;
    return 1;
}

int ViscaZoomDomeController::getADCVal(int& value) {
    return m_objIr.getADCVal(value);
}

int ViscaZoomDomeController::setNearLight(int power) {
    return m_objIr.setNearLight(power);
}

int ViscaZoomDomeController::getNearLight(int& power) {
    return m_objIr.getNearLight(power);
}

int ViscaZoomDomeController::setMiddleLight(int power) {
    return m_objIr.setMiddleLight(power);
}

int ViscaZoomDomeController::getMiddleLight(int& power) {
    return m_objIr.getMiddleLight(power);
}

int ViscaZoomDomeController::setFarLight(int power) {
    return m_objIr.setFarLight(power);
}

int ViscaZoomDomeController::getFarLight(int& power) {
    return m_objIr.getFarLight(power);
}

int ViscaZoomDomeController::setPowerMode(int mode) {
    return m_objIr.setPowerMode(mode);
}

int ViscaZoomDomeController::getPowerMode(int& mode) {
    return m_objIr.getPowerMode(mode);
}

int ViscaZoomDomeController::initIRPowerParamV2Config() {
    return m_objIr.loadIRPowerTable() == 0 ? 1 : 0;
}

int ViscaZoomDomeController::IrLedContrlThreadBody() {
    return m_objIr.irLedPass();
}

int ViscaZoomDomeController::initPWM() {
    return m_objIr.initPWM();
}

int ViscaZoomDomeController::openPWM() {
    return m_objIr.openPWM();
}

int ViscaZoomDomeController::closePWM() {
    return m_objIr.closePWM();
}

int ViscaZoomDomeController::setPWM(int fd, int percent) {
    return m_objIr.setPWM(fd, percent);
}

int ViscaZoomDomeController::getRealPWM(int percent) {
    return ZoomIrIllumination::getRealPWM(percent);
}

int ViscaZoomDomeController::getIRPowerItem(int ratio, IRPowerItem& item) {
    return m_objIr.getIRPowerItem(ratio, item);
}

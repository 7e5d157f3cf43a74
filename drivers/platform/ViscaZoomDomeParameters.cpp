// VISCA zoom dome: parameter ids 1..68, handled by the block camera's settings component.
#include "drivers/platform/ViscaZoomDomeController.h"

int ViscaZoomDomeController::setParameterToSensor(int id, int value) {
    return m_objSettings.setParameterToSensor(id, value);
}

int ViscaZoomDomeController::getParameterFromSensor(int id, int& value) {
    return m_objSettings.getParameterFromSensor(id, value);
}

int ViscaZoomDomeController::getMirrorValue(int& value) {
    return m_objSettings.getMirrorValue(value);
}

int ViscaZoomDomeController::getStillImageValue(int& value) {
    return m_objSettings.getStillImageValue(value);
}

int ViscaZoomDomeController::restoreAeMode() {
    return m_objSettings.restoreAeMode();
}

int ViscaZoomDomeController::setMirror(int value) {
    return m_objSettings.setMirror(value);
}

int ViscaZoomDomeController::setExposalMode(int value) {
    return m_objSettings.setExposalMode(value);
}

int ViscaZoomDomeController::setInfrared(int value) {
    return m_objSettings.setInfrared(value);
}

int ViscaZoomDomeController::setNtoDSensitivity(int value) {
    return m_objSettings.setNtoDSensitivity(value);
}

int ViscaZoomDomeController::setDtoNSensitivity(int value) {
    return m_objSettings.setDtoNSensitivity(value);
}

int ViscaZoomDomeController::setFocusNearLimit(int value) {
    return m_objSettings.setFocusNearLimit(value);
}

int ViscaZoomDomeController::setAutoNoiseReduction(int value) {
    return m_objSettings.setAutoNoiseReduction(value);
}

int ViscaZoomDomeController::setManualNoiseReduction(int value) {
    return m_objSettings.setManualNoiseReduction(value);
}

int ViscaZoomDomeController::setNoiseReductionMode(int mode) {
    return m_objSettings.setNoiseReductionMode(mode);
}

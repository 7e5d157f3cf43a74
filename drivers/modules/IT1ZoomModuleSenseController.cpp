// IT1 zoom module: its ids, the iris level and the VISCA-style lens frames.
#include "drivers/modules/IT1ZoomModuleSenseController.h"

#include "config/IdManager.h"
#include "platform/GlobalEnv.h"

#include <cstdio>

namespace {
const char* const kFocusNames[4] = {"auto focus 5cm", "auto focus 1m", "auto focus 2m",
                                    "auto focus 3m"};
} // namespace

void IT1ZoomModuleSenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 6);
    ids.addParameterId(IdManager::Common, 8, 21);
    ids.addParameterId(IdManager::SetOnly, kAdjustLens);
}

IT1ZoomModuleSenseController::IT1ZoomModuleSenseController()
    : IBaseIT1SenseController(kSensorType), m_objLens(m_pUART, m_nUARTPort, m_objSendMutex, *this) {
    registerIds(*m_pIdManager);
    m_objSettings.addOperation(
        kAutoFocus, [this](int v) { return setAutoFocus(v); },
        [this](int& v) { return getAutoFocus(v); });
    m_objSettings.addOperation(
        kIrisLevel, [this](int v) { return setIrisLevel(v); },
        [this](int& v) { return getIrisLevel(v); });
    m_objSettings.addOperation(kAdjustLens, [this](int) { return setAdjustLens(); });
}

IT1ZoomModuleSenseController::~IT1ZoomModuleSenseController() {
    stopThreads();
}

int IT1ZoomModuleSenseController::setAutoFocus(int preset) {
    if (preset < 0 || preset > 3) {
        ErrorPrintf("setAutoFocus(%d) is out of range", preset);
        return 0;
    }
    if (GlobalEnv::getInstance()->getPrintFlag() != 0)
        std::printf("%s\n", kFocusNames[preset]);
    if (sendLens(kFocusPresets[preset], "setAutoFocus") == 0)
        return 0;
    m_nAutoFocus = preset;
    return 1;
}

int IT1ZoomModuleSenseController::getAutoFocus(int& preset) const {
    preset = m_nAutoFocus;
    return 1;
}

int IT1ZoomModuleSenseController::setAdjustLens() {
    return sendLens(kAdjustLensCode, "setAdjustLens");
}

int IT1ZoomModuleSenseController::sendLens(int code, const char* name) {
    const char frame[6] = {'\x81', '\x01', '\x04', '\xB1', static_cast<char>(code), '\xFF'};
    const int result = m_objLens.command(frame, sizeof frame, name);
    if (result != 1) {
        ErrorPrintf("send data failed nRet=%d", result);
        return 0;
    }
    return 1;
}

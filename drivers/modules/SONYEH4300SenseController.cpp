// Sony EH4300 zoom block camera: gain and shutter modes, masks, white balance by module values.
#include "drivers/modules/SONYEH4300SenseController.h"

#include <cstdio>

namespace {

using E = SONYEH4300SenseController;

constexpr int kShutter = 11;
constexpr int kGain = 14;
constexpr int kWBMode = 19;
constexpr int kGainMode = 22;
constexpr int kOnePush = 37;
constexpr int kShutterMode = 38;
constexpr int kMaskRegion = 41;
constexpr int kMaskAction = 51;
constexpr int kFocusUp = 52;
constexpr int kIrisDown = 55;
constexpr int kWBSpeed = 64;

// The zoom base's mask actions, by the value of the action id.
using Action = int (IDMX420ZoomSensorController::*)();
const struct {
    const char* name;
    Action action;
} kMaskActions[] = {
    {"setMask", &E::setMask},
    {"showMask", &E::showMask},
    {"hideMask", &E::hideMask},
    {"clearMask", &E::clearMask},
    {"clearAllMask", &E::clearAllMask},
    {"increaseWidth", &E::increaseWidth},
    {"decreaseWidth", &E::decreaseWidth},
    {"increaseHight", &E::increaseHight},
    {"decreaseHight", &E::decreaseHight},
};
constexpr int kMaskActionCount = sizeof kMaskActions / sizeof kMaskActions[0];

} // namespace

void SONYEH4300SenseController::registerIds(IdManager& ids) {
    SonyBlockCamera::registerIds(ids, {{IdManager::Common, 1, 8},
                                       {IdManager::Common, 10, 30},
                                       {IdManager::Common, 32, 34},
                                       {IdManager::Common, 38, 41},
                                       {IdManager::Common, 44, 51},
                                       {IdManager::Common, 56, 64},
                                       {IdManager::SetOnly, kOnePush, kOnePush},
                                       {IdManager::SetOnly, kFocusUp, kIrisDown}});
}

namespace {

SonyBlockCamera::RestartTexts restartTexts() {
    SonyBlockCamera::RestartTexts texts{"recv time out in restart sensor",
                                        "restart sensor recv failed"};
    texts.current = "_szRecv[3]=%d\n";
    return texts;
}

} // namespace

SONYEH4300SenseController::SONYEH4300SenseController()
    : SonyBlockController(kSensorType, nullptr, 0, nullptr, restartTexts()) {
    registerIds(*m_pIdManager);
    SonyBlockCamera& c = m_objCamera;
    c.addFamilyOperations(true);
    c.addOperation(kWBMode, "setWBmode", [this](int v) { return setWBmode(v); });
    c.addOperation(kWBSpeed, "setWBSpeed", [this](int v) -> int {
        if (v < 0 || v > 3) {
            ErrorPrintf("p_nWBSpeed(%d) is out of range", v);
            return 0;
        }
        return modifyAppointValue(kWBRegister, kWBSpeedBits, v << 4);
    });
    c.addOperation(kGainMode, "setGainMode", [this](int v) { return setGainMode(v); });
    c.addOperation(kShutterMode, "setShutterMode", [this](int v) { return setShutterMode(v); });
    c.addOperation(
        kMaskRegion, "setRegion", [this](int v) { return setRegion(v); },
        [this](int& v) { return getRegion(v); });
    c.addOperation(kMaskAction, "setMaskAction", [this](int v) -> int {
        if (v < 0 || v >= kMaskActionCount) {
            ErrorPrintf("p_nMaskAction(%d) is out of range", v);
            return 0;
        }
        return (this->*kMaskActions[v].action)();
    });
}

SONYEH4300SenseController::~SONYEH4300SenseController() {
    stopThreads();
}

// ---- module values ---------------------------------------------------------------

int SONYEH4300SenseController::getAppointValue(int reg, int& value) {
    if (reg < 0 || reg > 0x7F) {
        ErrorPrintf("getAppointValue() parameter error");
        return 0;
    }
    char answer[5] = {};
    if (m_objCamera.inquiry({0x04, 0x24, reg}, answer, 5) == 0)
        return 0;
    value = ((answer[2] & 0x0F) << 4) | (answer[3] & 0x0F);
    return 1;
}

int SONYEH4300SenseController::modifyAppointValue(int reg, int mask, int bits) {
    if (reg < 0 || reg > 0x7F || mask <= 0 || mask > 0xFF || (bits & ~mask) != 0) {
        ErrorPrintf("modifyAppointValue() parameter error");
        return 0;
    }
    int value = 0;
    if (getAppointValue(reg, value) == 0)
        return 0;
    value = (value & ~mask) | bits;
    return m_objCamera.command({0x04, 0x24, reg, value >> 4, value & 0x0F});
}

int SONYEH4300SenseController::setWBmode(int mode) {
    if (mode < 0 || mode > 5) {
        ErrorPrintf("p_nWBmode is out of range");
        return 0;
    }
    if (modifyAppointValue(kWBRegister, kWBModeBits, mode) == 0) {
        ErrorPrintf("______setWBmode modifyAppointValue failed");
        return 0;
    }
    return 1;
}

int SONYEH4300SenseController::setGainMode(int mode) {
    if (mode != 0 && mode != 1) {
        ErrorPrintf("no such gain mode value(%d)", mode);
        return 0;
    }
    if (mode == 0)
        return m_objCamera.command({0x04, 0x39, 0x00});
    const int gain = m_objCamera.stored(kGain);
    return m_objCamera.command({0x04, 0x39, 0x03}) &&
           m_objCamera.command({0x04, 0x4C, 0x00, 0x00, gain >> 4, gain & 0x0F});
}

int SONYEH4300SenseController::setShutterMode(int mode) {
    int ok = 0;
    if (mode == 0) {
        ok = m_objCamera.command({0x04, 0x39, 0x00});
    } else if (mode == 1) {
        const int shutter = m_objCamera.stored(kShutter);
        ok = m_objCamera.command({0x04, 0x39, 0x0A}) &&
             m_objCamera.command({0x04, 0x4A, 0x00, 0x00, shutter >> 4, shutter & 0x0F});
    } else if (mode == 2) {
        ok = m_objCamera.command({0x04, 0x5A, 0x02});
    }
    if (ok == 0)
        ErrorPrintf("set shutter mode(%d) failed", mode);
    return ok;
}

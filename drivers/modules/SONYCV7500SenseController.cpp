// Sony CV7500 block camera: setting table, operations, point-light focus, start-up.
#include "drivers/modules/SONYCV7500SenseController.h"

#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

using V = ViscaSetting::Value;
using D = ViscaSetting::Data;
constexpr bool kIsOut = false;

// The regular settings: 81 01 <bytes> <value> FF. On/off settings take the
// module's own codes, 2 on and 3 off.
// clang-format off
const ViscaSetting kSettings[] = {
    {1, "setSharpness", 0, 100, 0, "p_Sharpness", kIsOut, {0x04, 0x42, 0x00, 0x00, 0x00}, 5, V::Level15, D::Byte, 0, 0, false},
    {2, "setSaturation", 0, 100, 0, "p_nSaturation", kIsOut, {0x04, 0x49, 0x00, 0x00, 0x00}, 5, V::Level14, D::Byte, 0, 0, false},
    {3, "setHue", 0, 100, 0, "p_nHue", kIsOut, {0x04, 0x4F, 0x00, 0x00, 0x00}, 5, V::Level14, D::Byte, 0, 0, false},
    {4, "setGamma", 0, 5, 0, "p_nGamma", kIsOut, {0x04, 0x5B}, 2, V::Raw, D::Byte, 0, 0, false},
    {5, "setHR", 2, 3, 0, "p_nHR", kIsOut, {0x04, 0x52}, 2, V::Raw, D::Byte, 0, 0, false},
    {6, "setNoiseReduction", 0, 5, 0, "p_nNoiseReduction", kIsOut, {0x04, 0x53}, 2, V::Raw, D::Byte, 0, 0, false},
    {7, "setLowLightChromaSuppress", 0, 3, 0, "p_nLowLightChromaSuppress", kIsOut, {0x04, 0x5F}, 2, V::Raw, D::Byte, 0, 0, false},
    {11, "setShutter", 0, 21, 0, "p_nShutter", kIsOut, {0x04, 0x4A, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {12, "setIri", 0, 17, 0, "p_nIri", kIsOut, {0x04, 0x4B, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {13, "setBright", 0, 27, 0, "p_nBright", kIsOut, {0x04, 0x4D, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {14, "setGain", 0, 15, 0, "p_nGain", kIsOut, {0x04, 0x4C, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {15, "setGainLimit", 4, 15, 0, "p_nGainLimit", kIsOut, {0x04, 0x2C}, 2, V::Raw, D::Byte, 0, 0, false},
    {16, "setAutoSlowShutter", 2, 3, 0, "p_nAutoSlowShutter", kIsOut, {0x04, 0x5A}, 2, V::Raw, D::Byte, 0, 0, false},
    {18, "setAEResponse", 1, 48, 0, "p_nAEResponse", kIsOut, {0x04, 0x5D}, 2, V::Raw, D::Byte, 0, 0, false},
    {19, "setWBMode", 0, 5, 0, "p_nWBMode", kIsOut, {0x04, 0x35}, 2, V::Raw, D::Byte, 0, 0, false},
    {20, "setRGain", 0, 255, 0, "p_nRGain", kIsOut, {0x04, 0x43, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {21, "setBGain", 0, 255, 0, "p_nBGain", kIsOut, {0x04, 0x44, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {23, "setThreshold", 0, 28, 0, "p_nThreshold", kIsOut, {0x04, 0x21, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {24, "setWDMode", 2, 3, 0, "p_nWDMode", kIsOut, {0x04, 0x3D}, 2, V::Raw, D::Byte, 0, 0, false},
    {28, "setDZoom", 2, 3, 0, "p_nDZoom", kIsOut, {0x04, 0x06}, 2, V::Raw, D::Byte, 0, 0, false},
    {29, "setIRCorrection", 0, 1, 0, "p_nIRCorrection", kIsOut, {0x04, 0x11}, 2, V::Raw, D::Byte, 0, 0, false},
    {32, "setAF_Sensitivity", 2, 3, 0, "p_nAFSensitivity", kIsOut, {0x04, 0x58}, 2, V::Raw, D::Byte, 0, 0, false},
    {33, "setFocusAutoMode", 0, 2, 0, "p_nFocusAutoMode", kIsOut, {0x04, 0x57}, 2, V::Raw, D::Byte, 0, 0, false},
    {40, "setHighSensitivity", 2, 3, 0, "p_nHighSensitivity", kIsOut, {0x04, 0x5E}, 2, V::Raw, D::Byte, 0, 0, false},
    {44, "setStabilizer", 2, 3, 0, "p_nStabilizer", kIsOut, {0x04, 0x34}, 2, V::Raw, D::Byte, 0, 0, false},
    {46, "setFocusMode", 2, 3, 0, "p_nFocusMode", kIsOut, {0x04, 0x38}, 2, V::Raw, D::Byte, 0, 0, false},
    {47, "setSpotAE", 2, 3, 0, "p_nSpotAE", kIsOut, {0x04, 0x59}, 2, V::Raw, D::Byte, 0, 0, false},
    {50, "setStillImage", 2, 3, 0, "p_nStillImage", kIsOut, {0x04, 0x62}, 2, V::Raw, D::Byte, 0, 0, false},
    {65, "setBackLight", 2, 3, 0, "p_nBackLight", kIsOut, {0x04, 0x33}, 2, V::Raw, D::Byte, 0, 0, false},
    {66, "setAutoICR", 2, 3, 0, "p_nAutoICR", kIsOut, {0x04, 0x51}, 2, V::Raw, D::Byte, 0, 0, false},
};
// clang-format on

// Ids of the operations.
enum OpId {
    kMirror = 8,
    kExposalMode = 10,
    kExpComp = 17,
    kCompensLevel = 25,
    kBrightLevel = 26,
    kBrightCompens = 27,
    kFocusNearLimit = 30,
    kLensMovement = 34,
    kOnePush = 37,
    kLensInterval = 39,
    kDefog = 45,
    kSpotX = 48,
    kSpotY = 49,
    kFocusUp = 52,
    kFocusDown = 53,
    kIrisUp = 54,
    kIrisDown = 55,
    kDayNightMode = 56,
    kTNF = 62,
    kTNFMode = 63,
    kPointLightMode = 64,
    kOpenPointLight = 67,
    kClosePointLight = 68,
};

// AE mode codes of exposure modes 0..4: auto, manual, shutter priority, iris priority, bright.
const int kAEModes[] = {0x00, 0x03, 0x0A, 0x0B, 0x0D};

bool inRange(ISensorController& log, const char* name, int v, int lo, int hi) {
    if (v >= lo && v <= hi)
        return true;
    log.ErrorPrintf("%s(%d) is out of range", name, v);
    return false;
}

} // namespace

// The point-light registers 7F 02 00..08 as the module answers them in
// point-light mode: 90 50 0r 00 00 0a 0b 0c FF.
const unsigned char SONYCV7500SenseController::kPointLightAnswers[81] = {
    0x90, 0x50, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0xFF, //
    0x90, 0x50, 0x01, 0x00, 0x00, 0x00, 0x00, 0x02, 0xFF, //
    0x90, 0x50, 0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFF, //
    0x90, 0x50, 0x03, 0x00, 0x00, 0x00, 0x00, 0x03, 0xFF, //
    0x90, 0x50, 0x04, 0x00, 0x00, 0x00, 0x02, 0x00, 0xFF, //
    0x90, 0x50, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0xFF, //
    0x90, 0x50, 0x06, 0x00, 0x00, 0x00, 0x00, 0x01, 0xFF, //
    0x90, 0x50, 0x07, 0x00, 0x00, 0x00, 0x0F, 0x0F, 0xFF, //
    0x90, 0x50, 0x08, 0x00, 0x00, 0x00, 0x00, 0x04, 0xFF, //
};

const ViscaSetting* SONYCV7500SenseController::settingTable(std::size_t& count) {
    count = std::size(kSettings);
    return kSettings;
}

void SONYCV7500SenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 8);
    ids.addParameterId(IdManager::Common, 10, 21);
    ids.addParameterId(IdManager::Common, 23, 30);
    ids.addParameterId(IdManager::Common, 32, 34);
    ids.addParameterId(IdManager::Common, 39, 40);
    ids.addParameterId(IdManager::Common, 44, 50);
    ids.addParameterId(IdManager::Common, 56, 66);
    ids.addParameterId(IdManager::SetOnly, kOnePush);
    ids.addParameterId(IdManager::SetOnly, kFocusUp, kIrisDown);
    ids.addParameterId(IdManager::SetOnly, kOpenPointLight, kClosePointLight);
}

SONYCV7500SenseController::SONYCV7500SenseController()
    : ISensorController(kSensorType),
      m_objCamera(*this, m_pUART, m_nUARTPort, m_mutex, *m_pLastSensorCache, kSettings,
                  std::size(kSettings)) {
    registerIds(*m_pIdManager);
    SonyBlockCamera& c = m_objCamera;
    c.addOperation(kMirror, "setMirror", [this](int v) -> int {
        if (!inRange(*this, "p_nMirror", v, 0, 3))
            return 0;
        // Left-right reverse, then flip: 02 on, 03 off.
        const bool reverse = v == 1 || v == 2;
        const bool flip = v >= 2;
        return m_objCamera.command({0x04, 0x61, reverse ? 0x02 : 0x03}) &&
               m_objCamera.command({0x04, 0x66, flip ? 0x02 : 0x03});
    });
    c.addOperation(
        kExposalMode, "setExposalMode",
        [this](int v) -> int {
            return v >= 0 && v <= 4 && m_objCamera.command({0x04, 0x39, kAEModes[v]});
        },
        {}, "setExposalMode failed");
    c.addOperation(kExpComp, "setExpComp", [this](int v) -> int {
        return inRange(*this, "p_nExpComp", v, 0, 14) && m_objCamera.command({0x04, 0x3E, 0x02}) &&
               m_objCamera.command({0x04, 0x4E, 0x00, 0x00, v >> 4, v & 0x0F});
    });
    // The visibility enhancer: 2D 00 <bright level> <bright compensation> <compensation level>.
    const auto enhancer = [this](int id, const char* name, int hi) {
        return [this, id, name, hi](int v) -> int {
            if (!inRange(*this, name, v, 0, hi))
                return 0;
            const auto value = [&](int which) {
                return which == id ? v : m_objCamera.stored(which);
            };
            return m_objCamera.command({0x04, 0x2D, 0x00, value(kBrightLevel),
                                        value(kBrightCompens), value(kCompensLevel)});
        };
    };
    c.addOperation(kCompensLevel, "setCompensLevel", enhancer(kCompensLevel, "p_nCompensLevel", 2));
    c.addOperation(kBrightLevel, "setBrightLevel", enhancer(kBrightLevel, "p_nBrightLevel", 6));
    c.addOperation(kBrightCompens, "setBrightCompens",
                   enhancer(kBrightCompens, "p_nBrightCompens", 3));
    c.addOperation(kFocusNearLimit, "setFocusNearLimit", [this](int v) -> int {
        return inRange(*this, "p_nFocusNearLimit", v, 0, 15) &&
               m_objCamera.command({0x04, 0x28, v, 0x00, 0x00, 0x00});
    });
    // AF movement time and interval: 27 0p 0q 0r 0s, one pair each.
    const auto lens = [this](int id, const char* name) {
        return [this, id, name](int v) -> int {
            if (!inRange(*this, name, v, 0, 255))
                return 0;
            const int movement = id == kLensMovement ? v : m_objCamera.stored(kLensMovement);
            const int interval = id == kLensInterval ? v : m_objCamera.stored(kLensInterval);
            return m_objCamera.command(
                {0x04, 0x27, movement >> 4, movement & 0x0F, interval >> 4, interval & 0x0F});
        };
    };
    c.addOperation(kLensMovement, "setLensMovement", lens(kLensMovement, "p_nMovement"));
    c.addOperation(kLensInterval, "setLensInterval", lens(kLensInterval, "p_nInterval"));
    c.addOperation(kDefog, "setDefog", [this](int v) -> int {
        return inRange(*this, "p_nDefog", v, 0, 3) &&
               m_objCamera.command({0x04, 0x37, v == 0 ? 0x03 : 0x02, v});
    });
    // Spot AE position: 29 0p 0q 0r 0s, X then Y.
    const auto spot = [this](int id, const char* name) {
        return [this, id, name](int v) -> int {
            if (!inRange(*this, name, v, 0, 15))
                return 0;
            const int x = id == kSpotX ? v : m_objCamera.stored(kSpotX);
            const int y = id == kSpotY ? v : m_objCamera.stored(kSpotY);
            return m_objCamera.command({0x04, 0x29, 0x00, x, 0x00, y});
        };
    };
    c.addOperation(kSpotX, "setSpotAE_X", spot(kSpotX, "p_nX"));
    c.addOperation(kSpotY, "setSpotAE_Y", spot(kSpotY, "p_nY"));
    // Lens steps and one-push focus: the value only triggers.
    const struct {
        int id;
        const char* name;
        int command;
        int data;
    } kSteps[] = {
        {kOnePush, "OnePushTrigger", 0x18, 0x01}, {kFocusUp, "FocusUp", 0x08, 0x03},
        {kFocusDown, "FocusDown", 0x08, 0x02},    {kIrisUp, "IrisUp", 0x0B, 0x02},
        {kIrisDown, "IrisDown", 0x0B, 0x03},
    };
    for (const auto& step : kSteps)
        c.addOperation(step.id, step.name, [this, step](int) -> int {
            return m_objCamera.command({0x04, step.command, step.data});
        });
    // The base's day/night mode, time windows and TNF.
    c.addOperation(
        kDayNightMode, "setDayNightMode", [this](int v) -> int { return setDayNightMode(v); },
        [this](int& v) { return getDayNightMode(v); });
    using Set = int (ISensorController::*)(int);
    using Get = int (ISensorController::*)(int&);
    const struct {
        const char* name;
        Set set;
        Get get;
    } kBase[] = {
        {"setDTNTime_H", &ISensorController::setDTNTime_H, &ISensorController::getDTNTime_H},
        {"setDTNTime_M", &ISensorController::setDTNTime_M, &ISensorController::getDTNTime_M},
        {"setNTDTime_H", &ISensorController::setNTDTime_H, &ISensorController::getNTDTime_H},
        {"setNTDTime_M", &ISensorController::setNTDTime_M, &ISensorController::getNTDTime_M},
        {"setDNSwitchDelay", &ISensorController::setDNSwitchDelay,
         &ISensorController::getDNSwitchDelay},
        {"setTNF", &ISensorController::setTNF, &ISensorController::getTNF},
        {"setTNFMode", &ISensorController::setTNFMode, &ISensorController::getTNFMode},
    };
    int id = kDayNightMode + 1;
    for (const auto& b : kBase)
        c.addOperation(
            id++, b.name, [this, b](int v) -> int { return (this->*b.set)(v); },
            [this, b](int& v) { return (this->*b.get)(v); });
    c.addOperation(kPointLightMode, "setPointLightFocusMode", [this](int v) -> int {
        return v == 0 ? ClosePointLightFocus() : v == 1 ? OpenPointLightFocus() : 0;
    });
    c.addOperation(kOpenPointLight, "OpenPointLightFocus",
                   [this](int) -> int { return OpenPointLightFocus(); });
    c.addOperation(kClosePointLight, "ClosePointLightFocus",
                   [this](int) -> int { return ClosePointLightFocus(); });
}

SONYCV7500SenseController::~SONYCV7500SenseController() {
    if (m_DNChangeThread) {
        m_DNChangeThread->requestStop();
        m_DNChangeThread->stop();
    }
    if (m_objCamera.transport().isOpen())
        m_pUART->close(m_nUARTPort);
}

int SONYCV7500SenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    return m_objCamera.openSerial(config, detail);
}

int SONYCV7500SenseController::setSensorVideoSystem(int videoSystem,
                                                    VideoResolution const& resolution) {
    return m_objCamera.setSensorVideoSystem(
        videoSystem, resolution, {"recv time out in reset sensor", "restart sensor recv failed"});
}

int SONYCV7500SenseController::NotifySensorInitComplate() {
    char answer[4] = {};
    return m_objCamera.inquiry({0x04, 0x22}, answer, 4);
}

int SONYCV7500SenseController::setParameterValue(const char* frame, int length) {
    return m_objCamera.transport().command(frame, length);
}

int SONYCV7500SenseController::getParameterValue(const char* frame, int length, char* answer,
                                                 int answerLength) {
    return m_objCamera.transport().inquiry(frame, length, answer, answerLength);
}

int SONYCV7500SenseController::setParameterToSensor(int id, int value) {
    return m_objCamera.setParameter(id, value);
}

int SONYCV7500SenseController::getParameterFromSensor(int id, int& value) {
    return m_objCamera.getParameter(id, value);
}

int SONYCV7500SenseController::getMirrorValue(int& value) {
    value = m_objCamera.stored(kMirror);
    return 1;
}

int SONYCV7500SenseController::getDNStatusFromSensor(int& status) {
    return m_objCamera.getDNStatus(status, nullptr);
}

int SONYCV7500SenseController::getDayNightState(int& state) {
    return m_objCamera.getDNStatus(state, nullptr);
}

int SONYCV7500SenseController::getCurrentGain(int& gain) {
    return m_objCamera.getCurrentGain(gain);
}

int SONYCV7500SenseController::turnPictureToNight() {
    return m_objCamera.turnPictureToNight();
}

int SONYCV7500SenseController::turnPictureToDay() {
    return m_objCamera.turnPictureToDay();
}

int SONYCV7500SenseController::enterAutoMode() {
    return m_objCamera.enterAutoMode();
}

// ---- point-light focus ----------------------------------------------------------

int SONYCV7500SenseController::OpenPointLightFocus() {
    if (m_objCamera.command({0x7F, 0x01, 0x01, 0x02}) == 0) {
        ErrorPrintf("set OpenPointLightFocus 1 falied\n");
        return 0;
    }
    if (m_objCamera.command({0x7F, 0x01, 0x02, 0x02}) == 0) {
        ErrorPrintf("set OpenPointLightFocus 2 falied\n");
        return 0;
    }
    int mode = 0;
    if (checkPointLightFocusMode(mode) == 0 || mode != 1) {
        ErrorPrintf("checkPointLightFocusMode @openPointLightFocusMode failed");
        return 0;
    }
    std::puts("SensorController OpenPointLightFocus mode");
    return 1;
}

int SONYCV7500SenseController::ClosePointLightFocus() {
    if (m_objCamera.command({0x7F, 0x01, 0x01, 0x03}) == 0) {
        ErrorPrintf("set ClosePointLightFocus 1 falied\n");
        return 0;
    }
    if (m_objCamera.command({0x7F, 0x01, 0x02, 0x03}) == 0) {
        ErrorPrintf("set ClosePointLightFocus 2 falied\n");
        return 0;
    }
    std::puts("SensorController ClosePointLightFocus mode");
    return 1;
}

int SONYCV7500SenseController::checkPointLightFocusMode(int& value) {
    constexpr int kAnswer = 9;
    value = 0;
    for (int r = 0; r < 9; ++r) {
        char answer[kAnswer] = {};
        if (m_objCamera.inquiry({0x7F, 0x02, r}, answer, kAnswer) == 0)
            return 0;
        if (std::memcmp(answer, kPointLightAnswers + r * kAnswer, kAnswer) != 0)
            return 1; // answered, but not in point-light mode
    }
    std::puts("======checkPointLightFocusMode return true=======");
    value = 1;
    return 1;
}

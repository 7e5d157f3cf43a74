// Hitach-compatible block module: version, register table, video system, day/night.
#include "drivers/modules/HitachCompatSenseController.h"

#include "platform/GlobalEnv.h"

#include <cstdio>

namespace {

constexpr int kIrisVoltage = 18;
constexpr int kAutoIris = 17;
constexpr int kWBMode = 19;
constexpr int kAdjustLens = 20;
constexpr int kTNFModeId = 21;
constexpr int kFocusUp = 54;
constexpr int kFocusDown = 55;

} // namespace

std::vector<ascii::Setting> HitachCompatSenseController::registerTable() {
    using namespace ascii;
    return {
        {kBrightness, "setBrightness", 0, 100, nullptr, {always({value(":WFD9E", 255, 100)})}},
        {kSharpness, "setVerticalSharpness", 0, 100, nullptr, {always({value(":WFBF9", 63, 100)})}},
        {kSaturation, "setSaturation", 0, 100, nullptr, {always({value(":WFC10", 255, 100)})}},
        {kNightColor, "setNightColor", 0, 255, nullptr, {always({value(":WFC11")})}},
        {kCameraMode, "setCameraMode", 0, 4, nullptr, cameraModeRules()},
        {kMaxGain, "setMaxGain", 0, 160, "p_nMaxGain out of range", {always({value(":WFA20")})}},
        {kDNSensitivity, "setDNSensitivity", 1, 3, nullptr, dnSensitivityRules()},
        {kFixShutter, "setFixShutter", kAny, INT_MAX, nullptr, fixShutterRules()},
        {kMirror, "setMirror", 0, 3, nullptr, mirrorRules()},
        {kFocusDistance,
         "setFocusDistance",
         0,
         3,
         nullptr,
         {on(0, {text(":WE13900")}), on(1, {text(":WE139F7")}), on(2, {text(":WE139F9")}),
          on(3, {text(":WE139F8")})}},
        {kFocusMode,
         "setFocusMode",
         0,
         2,
         nullptr,
         {on(0, {text(":WFF0E09")}), on(1, {text(":WFF0E08")}), on(2, {text(":WFF0E00")})}},
        {kHoriSharpness, "setHoriSharpness", 0, 100, nullptr, {always({value(":WFBF6", 63, 100)})}},
        {kAutoIris,
         "setAutoIris",
         0,
         1,
         nullptr,
         {on(0, {text(":WFFFB00")}), on(1, {text(":WFFFB01")})}},
        {kIrisVoltage,
         "setIrisVoltage",
         0,
         33,
         "p_nIrisVoltage is out of range",
         {always({value(":WFFFD")})}},
        {kWBMode,
         "setWBMode",
         0,
         1,
         "setWBMode is out of range",
         {on(0, {text(":WFBFF00")}), on(1, {text(":WFBFF08")})}},
        {kAdjustLens, "setAdjustLens", kAny, INT_MAX, nullptr, {always({text(":WE139F4")})}},
        {kFocusUp,
         "FocusUp",
         kAny,
         INT_MAX,
         nullptr,
         {always({text(":WFCBBAA"), text(":WFCBBFE")})}},
        // Nine characters on purpose: the module takes the step down so.
        {kFocusDown,
         "FocusDown",
         kAny,
         INT_MAX,
         nullptr,
         {always({text(":WFCBBAA9"), text(":WFCBBFE")})}},
        operation(kTNFModeId, "setTNFMode"),
    };
}

void HitachCompatSenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 4);
    ids.addParameterId(IdManager::Common, 6, 7);
    ids.addParameterId(IdManager::Common, 9, 10);
    ids.addParameterId(IdManager::Common, 12, 14);
    ids.addParameterId(IdManager::Common, 16, 19);
    ids.addParameterId(IdManager::SetOnly, kAdjustLens);
    ids.addParameterId(IdManager::Common, kTNFModeId);
    ids.addParameterId(IdManager::SetOnly, kFocusUp, kFocusDown);
}

namespace {

const AsciiRegisterModule::VideoSystemMap kVideoSystems = {
    {
        {{1}, 1280, 720, nullptr, {0x00}, {":WFFFE00"}},
        {{0, 2}, 1280, 960, nullptr, {0x02}, {":WFFFE02"}},
        {{0, 2}, 1280, 720, nullptr, {0x03}, {":WFFFE03"}},
    },
    {{":RFFFE00", 2, "get video system failed"}},
    nullptr,
    "video system change",
    "HitachCompat setSensorVideoSystem failed",
    {},
};

// FFE6: bit 7 says the module has a state, bit 6 that it is night.
int controlDayNight(int value) {
    if ((value & 0xC0) == 0xC0)
        return 1;
    if ((value & 0xC0) == 0x80)
        return 0;
    return -1;
}

const AsciiRegisterModule::DayNightRead kStateRegister = {
    {":RFFE700", 2, "recvData 1@getDNbody failed"}, &AsciiRegisterModule::plainDayNight};
const AsciiRegisterModule::DayNightRead kControlRegister = {
    {":RFFE600", 2, "recvData @getDNbody failed"}, &controlDayNight};

} // namespace

HitachCompatSenseController::HitachCompatSenseController()
    : AsciiRegisterController(kSensorType, registerTable(), -1, ascii::kMirror) {
    registerIds(*m_pIdManager);
    addTNFMode(kTNFModeId);
    m_objModule.addThread(this, &HitachCompatSenseController::getDNbody, "getDN");
}

HitachCompatSenseController::~HitachCompatSenseController() {
    stopThreads();
}

int HitachCompatSenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    if (m_objModule.openSerial(config, detail) == 0)
        return 0;
    int version = 0;
    if (m_objModule.protocol().recvData(":RE1EE00", 2, version) == 0) {
        ErrorPrintf("get SensorConfigVersion failed");
        return 0;
    }
    m_nSensorVersion = version;
    if (GlobalEnv::getInstance()->getPrintFlag() != 0)
        std::printf("m_nSensorVersion=%d\n", version);
    if (m_objModule.startThreads() != 0)
        InitPrintf("thread start success");
    return 1;
}

int HitachCompatSenseController::setSensorVideoSystem(int videoSystem,
                                                      VideoResolution const& resolution) {
    return m_objModule.setVideoSystem(kVideoSystems, videoSystem, resolution, false);
}

int HitachCompatSenseController::FocusUp() {
    return m_objModule.apply(kFocusUp, 0);
}

int HitachCompatSenseController::FocusDown() {
    return m_objModule.apply(kFocusDown, 0);
}

int HitachCompatSenseController::getDNbody() {
    return m_objModule.pollDayNight(m_nSensorVersion == kFFE7Version ? kStateRegister
                                                                     : kControlRegister);
}

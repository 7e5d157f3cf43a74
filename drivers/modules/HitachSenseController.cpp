// Hitach block module: start-up, generation, video system, dispatch, day/night.
#include "drivers/modules/HitachSenseController.h"

#include "platform/GlobalEnv.h"
#include "platform/KovantTime.h"

#include <cstdio>
#include <cstdlib>

namespace {

// The module's video systems: 1701 and FCC0. It is asked with write frames
// of 00, as the module has always been asked; the answer is their echo.
const AsciiRegisterModule::VideoSystemMap kVideoSystems = {
    {
        {{1}, 1280, 720, "_______set PAL & 1280*720", {1, 0}, {":W170101", ":WFCC000"}},
        {{0, 2}, 1280, 960, "_______set NTSC & 1280*960", {255, 1}, {":W1701FF", ":WFCC001"}},
        {{0, 2}, 1280, 720, "_______set NTSC & 1280*720", {255, 0}, {":W1701FF", ":WFCC000"}},
    },
    {{":W170100", 2, "get video system 1 failed"}, {":WFCC000", 2, "get video system 2 failed"}},
    nullptr,
    "video system change!",
    "Hitach setSensorVideoSystem failed",
    {":WFCAC00"},
};

const AsciiRegisterModule::DayNightRead kDayNight = {{":RFFE700", 2, "recvData @getDNbody failed"},
                                                     &AsciiRegisterModule::plainDayNight};

constexpr int kTNFModeId = 17;

} // namespace

std::vector<ascii::Setting> HitachSenseController::registerTable() {
    std::vector<ascii::Setting> table = ascii::referenceSettings();
    table.push_back(ascii::operation(kTNFModeId, "setTNFMode"));
    return table;
}

void HitachSenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 4);
    ids.addParameterId(IdManager::Common, 6, 11);
    ids.addParameterId(IdManager::Common, 13, 17);
}

HitachSenseController::HitachSenseController()
    : AsciiRegisterController(kSensorType, registerTable(), ascii::kPicMode, ascii::kMirror) {
    registerIds(*m_pIdManager);
    m_bBaseDNSwitch = false;
    m_objModule.addOperation(ascii::kCameraMode, [this](int v) { return setCameraMode(v); });
    m_objModule.addOperation(
        ascii::kFocusMode, [this](int v) { return setFocusMode(v); },
        [this](int& v) { return getFocusMode(v); });
    addTNFMode(kTNFModeId);
    m_objModule.addThread(this, &HitachSenseController::threadBody, "threadBody");
    m_objModule.addThread(this, &HitachSenseController::getDNbody, "getDN");
}

// The threads call this object: they stop before any member goes.
HitachSenseController::~HitachSenseController() {
    stopThreads();
}

int HitachSenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    if (m_objModule.openSerial(config, detail) == 0)
        return 0;
    std::string generation;
    m_nThirdGeneration = detail.getValue("isThridGeneration", generation) != 0
                             ? static_cast<int>(std::strtol(generation.c_str(), nullptr, 10))
                             : 0;
    m_objModule.startThreads();
    return 1;
}

int HitachSenseController::setSensorVideoSystem(int videoSystem,
                                                VideoResolution const& resolution) {
    return m_objModule.setVideoSystem(kVideoSystems, videoSystem, resolution,
                                      m_nThirdGeneration == 1);
}

int HitachSenseController::NotifySensorInitComplate() {
    if (m_nThirdGeneration != 1)
        return 1;
    return m_objModule.protocol().sendData(AsciiRegisterProtocol::kInitComplete);
}

int HitachSenseController::setFocusMode(int mode) {
    return m_objModule.apply(ascii::kFocusMode, mode);
}

int HitachSenseController::getFocusMode(int& mode) {
    mode = m_objModule.stored(ascii::kFocusMode);
    return 1;
}

int HitachSenseController::setCameraMode(int mode) {
    if (m_objModule.apply(ascii::kCameraMode, mode) != 1)
        return 0;
    if (GlobalEnv::getInstance()->getPrintFlag() != 0)
        std::printf("set cameramode %d \n", mode);
    m_nPendingCameraMode = mode;
    return 1;
}

int HitachSenseController::getDNbody() {
    return m_objModule.pollDayNight(kDayNight);
}

int HitachSenseController::threadBody() {
    reapplyCameraMode();
    KovantTime::wait(KovantTime(60, 0));
    return 0;
}

// Under the parameter lock, so that a host's camera mode set at the same time
// is not overtaken by the old mode.
int HitachSenseController::reapplyCameraMode() {
    KVMutexLocker lock(m_paramMutex, "HitachSenseController.cpp", __LINE__);
    const int mode = m_nPendingCameraMode;
    return mode == -1 ? 1 : m_objModule.apply(ascii::kCameraMode, mode);
}

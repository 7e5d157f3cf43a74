// CMD7400 controller: its files, names, parameter ids and own operations.
#include "drivers/platform/CMD7400SenseController.h"

#include "platform/KovantTime.h"
#include "platform/kvia.h"

#include <cstdint>
#include <cstdio>

namespace CMD7400_TOOL {
const char* const NearLight_Dev = "/dev/pwm1";
const char* const MidLight_Dev = "/dev/pwm2";
const char* const FarLight_Dev = "/dev/pwm4";
const char* const ZMA_PARAM_CONFIG_FILE_NAME = "/hd1/program/config/ZMAParam.txt";
} // namespace CMD7400_TOOL

namespace {

// kvia code of the 2A library that takes the zoom position.
constexpr int kKviaZoomPosition = 337;
constexpr int kGainReplyLength = 7; // 90 50 0p 0q 0r 0s FF

ViscaZoomDomeProfile cmd7400Profile() {
    const char* const lights[3] = {CMD7400_TOOL::NearLight_Dev, CMD7400_TOOL::MidLight_Dev,
                                   CMD7400_TOOL::FarLight_Dev};
    ViscaZoomDomeProfile profile = ViscaZoomDomeProfile::module(
        CMD7400SenseController::kSensorType, "CMD7400", "CMD7400", "CMD7400SenseController",
        CMD7400_TOOL::ZMA_PARAM_CONFIG_FILE_NAME, ZoomIrIllumination::Family::CMD7400, lights);
    profile.rounding = ViscaRounding::Nearest;
    // The module has no infinity preset: the nearest limit is left as it is.
    profile.nearLimitPreset = false;
    profile.videoValues[0] = 14;
    profile.videoValues[1] = 17;
    profile.dcFrameOnSwitch = false;
    return profile;
}

// Dark level for a gain position: the darker the scene (more gain), the lower.
int darkLevelOf(int position) {
    if (position <= 0)
        return 336;
    return position <= 6 ? 256 : 128;
}

} // namespace

CMD7400SenseController::CMD7400SenseController() : ViscaZoomDomeController(cmd7400Profile()) {
    m_pIdManager->addParameterId(IdManager::Common, 1, 12);
    m_pIdManager->addParameterId(IdManager::Common, 14, 27);
    m_pIdManager->addParameterId(IdManager::Common, 29, 32);
    m_pIdManager->addParameterId(IdManager::Common, 57, 68);
}

CMD7400SenseController::~CMD7400SenseController() {
    stopThreads();
}

int CMD7400SenseController::set2AParam(int status) {
    if (ViscaZoomDomeController::set2AParam(status) == 0)
        return 0;
    int position = m_nLastZoomPosition.load();
    return kvia_ioctrl(kKviaZoomPosition, 1, &position) == 0 ? 1 : 0;
}

int CMD7400SenseController::getZoomValue(int& position, int& ratio) {
    if (ViscaZoomDomeController::getZoomValue(position, ratio) == 0)
        return 0;
    m_nLastZoomPosition = position;
    return 1;
}

int CMD7400SenseController::getCameraGainPos(int& position) {
    const char frame[] = {'\x81', '\x09', '\x04', '\x4C', '\xFF'};
    char reply[kGainReplyLength] = {};
    if (getParameterValue(frame, 5, reply, kGainReplyLength) == 0) {
        ErrorPrintf("getCameraGainPos failed\n");
        KovantTime::wait(KovantTime(3, 0));
        if (m_pUART.get() != nullptr)
            clearUartBuffer();
        return 0;
    }
    position = static_cast<uint8_t>(reply[4]) * 16 + (reply[5] & 15);
    return 1;
}

// Returns 0 also after sending: callers only trigger it.
int CMD7400SenseController::setCameraDarkLevel() {
    int position = 0;
    if (getCameraGainPos(position) == 0)
        return 0;
    std::printf("Camera current gain position = %d\n", position);
    const int level = darkLevelOf(position);
    if (level == m_nLastDarkLevel) {
        std::puts("nDarkLevel == m_nLastDarkLevel,do not need set command to camera");
        return 0;
    }
    m_nLastDarkLevel = level;
    std::printf("nDarkLevel = %d \n", level);
    const int frame[9] = {0x81,       0x01, 0x04, 0xA7, 0x00, (level >> 8) & 15, (level >> 4) & 15,
                          level & 15, 0xFF};
    sendCommand({frame[2], frame[3], frame[4], frame[5], frame[6], frame[7]});
    std::printf("set DarkLevel command to camera = %x,%x,%x,%x,%x,%x,%x,%x,%x\n", frame[0],
                frame[1], frame[2], frame[3], frame[4], frame[5], frame[6], frame[7], frame[8]);
    return 0;
}

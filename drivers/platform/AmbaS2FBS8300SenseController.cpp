// FBS8300 controller: its files, names and parameter ids.
#include "drivers/platform/AmbaS2FBS8300SenseController.h"

#include <cstdint>
#include <cstdio>

namespace AmbaS2FBS8300_TOOL {
const char* const NearLight_Dev = "/dev/pwm1";
const char* const MidLight_Dev = "/dev/pwm2";
const char* const FarLight_Dev = "/dev/pwm4";
const char* const ZMA_PARAM_CONFIG_FILE_NAME = "/hd1/program/config/ZMAParam.txt";
const char* const IR_POWER_CONFIG_FILE_NAME = "/hd1/program/config/IRPowerConfigure.xml";

void printArray(char* data, int length) {
    for (int i = 0; data != nullptr && i < length; ++i)
        std::printf("%02x ", static_cast<unsigned>(static_cast<uint8_t>(data[i])));
    std::printf("\n");
}

void printIntArray(int* data, int length) {
    for (int i = 0; data != nullptr && i < length; ++i)
        std::printf("%d ", data[i]);
    std::printf("\n");
}
} // namespace AmbaS2FBS8300_TOOL

namespace {

ViscaZoomDomeProfile fbs8300Profile() {
    const char* const lights[3] = {AmbaS2FBS8300_TOOL::NearLight_Dev,
                                   AmbaS2FBS8300_TOOL::MidLight_Dev,
                                   AmbaS2FBS8300_TOOL::FarLight_Dev};
    ViscaZoomDomeProfile profile = ViscaZoomDomeProfile::module(
        AmbaS2FBS8300SenseController::kSensorType, "AmbaS2FBS", "AmbaS2FBS8300",
        "AmbaS2FBS8300SenseController", AmbaS2FBS8300_TOOL::ZMA_PARAM_CONFIG_FILE_NAME,
        ZoomIrIllumination::Family::FBS8300, lights);
    profile.ir.irPowerFile = AmbaS2FBS8300_TOOL::IR_POWER_CONFIG_FILE_NAME;
    return profile; // truncated levels, video values 6 and 8, DC frame at switches
}

} // namespace

AmbaS2FBS8300SenseController::AmbaS2FBS8300SenseController()
    : ViscaZoomDomeController(fbs8300Profile()) {
    m_pIdManager->addParameterId(IdManager::Common, 1, 27);
    m_pIdManager->addParameterId(IdManager::SetOnly, 28);
    m_pIdManager->addParameterId(IdManager::Common, 29, 32);
    m_pIdManager->addParameterId(IdManager::Common, 57, 68);
}

AmbaS2FBS8300SenseController::~AmbaS2FBS8300SenseController() {
    stopThreads();
}

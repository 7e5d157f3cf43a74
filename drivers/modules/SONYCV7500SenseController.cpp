// Sony CV7500 block camera: setting table, operations, point-light focus, start-up.
#include "drivers/modules/SONYCV7500SenseController.h"

#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

using R = SonyBlockCamera::Rows;

// The CV7500's own regular settings, besides the family's shared rows
// (SonyBlockCamera::kSharedSettings): 2 on, 3 off.
// clang-format off
const ViscaSetting kSettings[] = {
    {65, "setBackLight", 2, 3, 0, "p_nBackLight", R::kIsOut, {0x04, 0x33}, 2, R::V::Raw, R::D::Byte, 0, 0, false},
    {66, "setAutoICR", 2, 3, 0, "p_nAutoICR", R::kIsOut, {0x04, 0x51}, 2, R::V::Raw, R::D::Byte, 0, 0, false},
};
// clang-format on

// Ids of the CV7500's own operations and set-only ids.
enum OpId {
    kOnePush = 37,
    kFocusUp = 52,
    kIrisDown = 55,
    kPointLightMode = 64,
    kOpenPointLight = 67,
    kClosePointLight = 68,
};

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
    SonyBlockCamera::registerIds(ids, {{IdManager::Common, 1, 8},
                                       {IdManager::Common, 10, 21},
                                       {IdManager::Common, 23, 30},
                                       {IdManager::Common, 32, 34},
                                       {IdManager::Common, 39, 40},
                                       {IdManager::Common, 44, 50},
                                       {IdManager::Common, 56, 66},
                                       {IdManager::SetOnly, kOnePush, kOnePush},
                                       {IdManager::SetOnly, kFocusUp, kIrisDown},
                                       {IdManager::SetOnly, kOpenPointLight, kClosePointLight}});
}

SONYCV7500SenseController::SONYCV7500SenseController()
    : SonyBlockController(kSensorType, kSettings, std::size(kSettings), nullptr,
                          {"recv time out in reset sensor", "restart sensor recv failed"}) {
    registerIds(*m_pIdManager);
    SonyBlockCamera& c = m_objCamera;
    c.addFamilyOperations(true);
    c.addOperation(kPointLightMode, "setPointLightFocusMode", [this](int v) -> int {
        return v == 0 ? ClosePointLightFocus() : v == 1 ? OpenPointLightFocus() : 0;
    });
    c.addOperation(kOpenPointLight, "OpenPointLightFocus",
                   [this](int) -> int { return OpenPointLightFocus(); });
    c.addOperation(kClosePointLight, "ClosePointLightFocus",
                   [this](int) -> int { return ClosePointLightFocus(); });
}

SONYCV7500SenseController::~SONYCV7500SenseController() {
    stopThreads();
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

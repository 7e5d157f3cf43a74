// Sony CH3310 block camera: its own settings, the inter-sync check, start-up.
#include "drivers/modules/SONYCH3310SenseController.h"

#include <cstdio>
#include <iterator>

namespace {

using R = SonyBlockCamera::Rows;

// The CH3310's own regular settings, besides the family's shared rows.
// clang-format off
const ViscaSetting kSettings[] = {
    {22, "setDisplay", 2, 3, 0, "p_nDisplay", R::kIsOut, {0x04, 0x15}, 2, R::V::Raw, R::D::Byte, 0, 0, false},
    {38, "setSens", 0, 3, 0, "p_nSens", R::kIsOut, {0x04, 0x55}, 2, R::V::Raw, R::D::Byte, 0, 0, false},
    {41, "setBintens", 0, 15, 0, "p_nBintens", R::kIsOut, {0x04, 0x3A}, 2, R::V::Raw, R::D::Byte, 0, 0, false},
    {51, "setWintens", 0, 15, 0, "p_nWintens", R::kIsOut, {0x04, 0x3B}, 2, R::V::Raw, R::D::Byte, 0, 0, false},
    {52, "setShortTimeExp", 0, 21, 0, "p_nShortTimeExp", R::kIsOut, {0x04, 0x5C, 0x00, 0x00}, 4, R::V::Raw, R::D::Nibbles, 0, 0, false},
};
// clang-format on

constexpr int kOnePush = 37;
// The sync register: 02 internal sync, 03 line lock.
constexpr int kSyncRegister = 0x6A;
constexpr int kInternal = 0x02;
constexpr int kLineLock = 0x03;

} // namespace

void SONYCH3310SenseController::registerIds(IdManager& ids) {
    SonyBlockCamera::registerIds(ids, {{IdManager::Common, 1, 8},
                                       {IdManager::Common, 10, 30},
                                       {IdManager::Common, 32, 34},
                                       {IdManager::Common, 38, 41},
                                       {IdManager::Common, 44, 52},
                                       {IdManager::Common, 56, 63},
                                       {IdManager::SetOnly, kOnePush, kOnePush}});
}

namespace {

SonyBlockCamera::RestartTexts restartTexts() {
    SonyBlockCamera::RestartTexts texts{"restart sensor recv time out",
                                        "restart sensor recv failed"};
    texts.readAgain = "get video system second";
    texts.readFailed = "get videosystem failed";
    texts.current = "nGetVideoSystem=%x\n";
    return texts;
}

} // namespace

SONYCH3310SenseController::SONYCH3310SenseController()
    : SonyBlockController(kSensorType, kSettings, std::size(kSettings),
                          "get day night status second", restartTexts()) {
    registerIds(*m_pIdManager);
    m_objCamera.addFamilyOperations(false);
}

SONYCH3310SenseController::~SONYCH3310SenseController() {
    stopThreads();
}

int SONYCH3310SenseController::initController(int videoSystem, ModuleConfigure const& config) {
    if (SonyBlockController::initController(videoSystem, config) == 0)
        return 0;
    // A module left on line lock still works, on its own timing.
    checkInterSync();
    return 1;
}

int SONYCH3310SenseController::checkInterSync() {
    char answer[4] = {};
    if (m_objCamera.inquiry({0x04, kSyncRegister}, answer, 4) == 0) {
        ErrorPrintf("get sync failed");
        return 0;
    }
    const int sync = static_cast<unsigned char>(answer[2]);
    if (sync == kInternal) {
        std::puts("it's inter-sync");
        return 1;
    }
    if (sync != kLineLock) {
        ErrorPrintf("get sync error!");
        return 0;
    }
    std::puts("Open inter-sync");
    return m_objCamera.command({0x04, kSyncRegister, kInternal});
}

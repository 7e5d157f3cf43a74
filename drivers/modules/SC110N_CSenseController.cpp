// SC110N-C zoom block module: version, register table, masks, video system, day/night.
#include "drivers/modules/SC110N_CSenseController.h"

#include "platform/GlobalEnv.h"

#include <cstdio>

namespace {

using C = SC110N_CSenseController;

// The zoom base's mask operations, in parameter id order from 22.
const char* const kMaskNames[] = {"setMask",       "showMask",      "hideMask",
                                  "clearMask",     "increaseWidth", "decreaseWidth",
                                  "increaseHight", "decreaseHight"};

} // namespace

// The reference table, the noise reduction (mode 0/1, level 0..100 in both
// noise filters) and the operations: TNF mode and the privacy masks.
std::vector<ascii::Setting> SC110N_CSenseController::registerTable() {
    using namespace ascii;
    std::vector<Setting> settings = referenceSettings();
    settings.push_back({C::kNRMode,
                        "setNRMode",
                        0,
                        1,
                        "p_nNRMode(%d) out of range\n",
                        {on(0, {text(":WFF4A00")}), on(1, {text(":WFF4A01")})}});
    settings.push_back({C::kManualNR,
                        "setManualNR",
                        0,
                        100,
                        "p_nManualNR(%d) out of range\n",
                        {always({value(":WFF4F", 255, 100), value(":WFF4B", 255, 100)})}});
    settings.push_back(operation(kTNFModeId, "setTNFMode"));
    settings.push_back(operation(kMaskRegion, "setRegion"));
    int id = kFirstMaskAction;
    for (const char* name : kMaskNames)
        settings.push_back(operation(id++, name));
    return settings;
}

void SC110N_CSenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 4);
    ids.addParameterId(IdManager::Common, 6, 11);
    ids.addParameterId(IdManager::Common, 13, 18);
    ids.addParameterId(IdManager::KeepDefaultValue, kManualNR);
    ids.addParameterId(IdManager::SetOnly, kMaskRegion);
    ids.addParameterId(IdManager::SetOnly, kFirstMaskAction, kFirstMaskAction + 7);
}

namespace {

const AsciiRegisterModule::VideoSystemMap kVideoSystems = {
    {
        {{1}, 0, 0, "_______set PAL", {0x01}, {":W170101"}},
        {{0, 2}, 0, 0, "_______set NTSC", {0xFF}, {":W1701FF"}},
    },
    {{":R170100", 2, "get video system failed"}},
    nullptr,
    "video system change!",
    "SC110N_C setSensorVideoSystem failed",
    {},
};

const AsciiRegisterModule::DayNightRead kDayNight = {{":RFFE700", 2, "recvData @getDNbody failed"},
                                                     &AsciiRegisterModule::plainDayNight};

} // namespace

SC110N_CSenseController::SC110N_CSenseController()
    : AsciiRegisterController(kSensorType, registerTable(), ascii::kPicMode, ascii::kMirror) {
    registerIds(*m_pIdManager);
    m_bBaseDNSwitch = false;
    m_objModule.protocol().setWriteName("sendData");
    addTNFMode(kTNFModeId);
    m_objModule.addOperation(
        kMaskRegion, [this](int v) { return setRegion(v); },
        [this](int& v) { return getRegion(v); });
    using Action = int (IDMX420ZoomSensorController::*)();
    static const Action kMaskActions[] = {
        &C::setMask,       &C::showMask,      &C::hideMask,      &C::clearMask,
        &C::increaseWidth, &C::decreaseWidth, &C::increaseHight, &C::decreaseHight,
    };
    int id = kFirstMaskAction;
    for (Action action : kMaskActions)
        m_objModule.addOperation(id++, [this, action](int) { return (this->*action)(); });
    m_objModule.addThread(this, &SC110N_CSenseController::getDNbody, "getDN");
}

SC110N_CSenseController::~SC110N_CSenseController() {
    stopThreads();
}

int SC110N_CSenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    if (m_objModule.openSerial(config, detail) == 0)
        return 0;
    // An old module may not know the register: it is then taken as old.
    int version = 0;
    if (m_objModule.protocol().recvData(":RFB380000", 4, version) == 0) {
        ErrorPrintf("get sensor version failed");
        version = 0;
    }
    m_nSensorVersion = version;
    if (GlobalEnv::getInstance()->getPrintFlag() != 0)
        std::printf("____get sensor version = %d,==0:old . >0 new  \n", version);
    m_objModule.startThreads();
    return 1;
}

int SC110N_CSenseController::setSensorVideoSystem(int videoSystem,
                                                  VideoResolution const& resolution) {
    return m_objModule.setVideoSystem(kVideoSystems, videoSystem, resolution, false);
}

int SC110N_CSenseController::getDNbody() {
    return m_objModule.pollDayNight(kDayNight);
}

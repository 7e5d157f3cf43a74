// CMD7200 block module: register table, video system, day/night.
#include "drivers/modules/CMD7200SenseController.h"

namespace {

using C = CMD7200SenseController;

} // namespace

std::vector<ascii::Setting> CMD7200SenseController::registerTable() {
    using namespace ascii;
    return {
        {C::kBrightness, "setBrightness", 0, 100, nullptr, {always({value(":WFD9E", 255, 100)})}},
        {C::kSharpness, "setSharpness", 0, 100, nullptr, {always({value(":WFBF6", 63, 100)})}},
        {C::kSaturation, "setSaturation", 0, 100, nullptr, saturationRules()},
        {C::kShutterMode,
         "setShutterMode",
         0,
         3,
         "setShutterMode out of range",
         {on(0, {text(":WFCC808")}), on(1, {text(":WFCC809")}), on(2, {text(":WFCC80A")}),
          on(3, {text(":WFCC820")})}},
        {C::kFixShutter,
         "setFixShutter",
         1,
         10,
         "setFixShutter out of range",
         {always({shutter(":WFCC9", From::ShutterOfArgument)})}},
        // 0 automatic; 1 day and 2 night, by hand.
        {C::kDNMode,
         "setDNMode",
         0,
         2,
         "setDNMode is out of range",
         {on(0, {text(":WFFE680")}), on(1, {text(":WFFE6C0"), text(":WFCC800")}),
          on(2, {text(":WFFE6C0"), text(":WFCC801")})}},
        {C::kWBMode,
         "setWBMode",
         0,
         1,
         "setWBMode is out of range",
         {on(0, {text(":WFBFF00")}), on(1, {text(":WFBFF08")})}},
        {C::kMirror, "setMirror", 0, 3, "mirror value out of range", mirrorRules()},
        {C::kFocusMode,
         "setFocusMode",
         0,
         2,
         "setFocusMode out of range",
         {on(0, {text(":WFF0E00")}), on(1, {text(":WFF0E09")}), on(2, {text(":WFF0E08")})}},
        {C::kFocusLimit,
         "setFocusLimit",
         0,
         4,
         "setFocusLimit is out of range",
         {on(0, {text(":WE13900")}), on(1, {text(":WE139F9")}), on(2, {text(":WE139F8")}),
          on(3, {text(":WE139F7")}), on(4, {text(":WE139F4")})}},
    };
}

void CMD7200SenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 10);
}

namespace {

const AsciiRegisterModule::VideoSystemMap kVideoSystems = {
    {
        {{1}, 0, 0, nullptr, {0x01}, {":WFFFE01"}},
        {{0, 2}, 0, 0, nullptr, {0x03}, {":WFFFE03"}},
    },
    {{":RFFFE00", 2, "get video system failed"}},
    "getVideoSystemMode=%d\n",
    "video system change",
    "CMD7200 setSensorVideoSystem failed",
    {},
};

const AsciiRegisterModule::DayNightRead kDayNight = {{":RFFE700", 2, "recvData 1@getDNbody failed"},
                                                     &AsciiRegisterModule::plainDayNight};

} // namespace

CMD7200SenseController::CMD7200SenseController()
    : AsciiRegisterController(kSensorType, registerTable(), -1, kMirror) {
    registerIds(*m_pIdManager);
    m_bBaseDNSwitch = false;
    m_objModule.addThread(this, &CMD7200SenseController::getDNbody, "getDN");
}

CMD7200SenseController::~CMD7200SenseController() {
    stopThreads();
}

int CMD7200SenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    if (m_objModule.openSerial(config, detail) == 0)
        return 0;
    if (m_objModule.startThreads() != 0)
        InitPrintf("thread start success");
    return 1;
}

int CMD7200SenseController::setSensorVideoSystem(int videoSystem,
                                                 VideoResolution const& resolution) {
    return m_objModule.setVideoSystem(kVideoSystems, videoSystem, resolution, false);
}

int CMD7200SenseController::getDNbody() {
    return m_objModule.pollDayNight(kDayNight);
}

// Seawolf camera module: register rows and operations, start-up, video system, light-level
// day/night.
#include "drivers/modules/SeawolfSenseController.h"

#include "config/IdManager.h"
#include "drivers/protocols/SerialSettings.h"
#include "platform/GlobalEnv.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <functional>

namespace {

bool printing() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}

using Ctl = SeawolfSenseController;
constexpr const char* kGetFailure = "getParameterValue fail!";
// The module restarts from its store after the reset frame.
constexpr long kRestartSeconds = 2;

// Register keys are page x 256 + register; every register holds 32 bits.
// 0x20 holds the maximum gain (bits 0-6) and the gain boost switch (bit 7);
// page 4 register 0x2C the backlight compensation (bit 0) and the fluorescent
// compensation (bits 1-2).
const std::vector<regs::Setting> kRows = {
    {Ctl::kBrightness, 0x22, 4, 0, 0, 0, 100, 0, "p_Bright(%d) is out of range",
     "setBrightness(%d) failed", kGetFailure, nullptr},
    {Ctl::kSharpness, 0x59, 4, 0, 0, 0, 100, 0, "p_Sharpness(%d) is out of range",
     "setSharpness(%d) failed", kGetFailure, nullptr},
    {Ctl::kGamma, 0x41, 4, 0, 0, 0, 7, 0, "p_Gama(%d) is out of range", "setGama(%d) failed",
     kGetFailure, nullptr},
    {Ctl::kNoiseReduction, 0x44, 4, 0, 0, 0, 127, 0, "p_NoiseReduction(%d) is out of range",
     "setNoiseReduction(%d) failed", kGetFailure, nullptr},
    {Ctl::kFlip, 0x45, 4, 0, 0, 0, 3, 0, "p_Flip(%d) is out of range", "setFlip(%d) failed",
     kGetFailure, nullptr},
    {Ctl::kMaxGain, 0x20, 4, 0, 7, 0, 60, 0, "p_GainBoost[%d] out of range!!",
     "setMaxGain(%d) failed", kGetFailure, nullptr},
    {Ctl::kGainBoost, 0x20, 4, 7, 1, 0, 1, 0, "p_GainBoost[%d] out of range!!",
     "setGainBoost(%d) failed", kGetFailure, nullptr},
    {Ctl::kExposurePreference, 0x32, 4, 0, 0, 0, 2, 0, "p_EXPpreference(%d) is out of range",
     "setEXPpreference(%d) failed", kGetFailure, nullptr},
    {Ctl::kExposureArea, 0x4C, 4, 0, 0, 0, 4, 0, "p_Exparea(%d) value is error",
     "setExparea(%d) failed", kGetFailure, nullptr},
    {Ctl::kShutterLimit, 0x61, 4, 0, 0, 0, 7, 0, "p_Shutterlimit(%d) is out of range",
     "setShutterlimit(%d) failed", kGetFailure, nullptr},
    {Ctl::kWhiteBalance, 0x8F, 4, 0, 0, 0, 5, 0, "p_WBmode(%d) is out of range",
     "setWBmode(%d) failed", kGetFailure, nullptr},
    {Ctl::kBacklight, Ctl::kCompensationRegister, 4, 0, 1, 0, 1, 0, "p_BLC(%d) is out of range",
     "setBLC(%d) failed", kGetFailure, nullptr},
    {Ctl::kResolution, 0x9C, 4, 0, 0, 0, 3, 0, "p_Resolution(%d) is out of range",
     "setResolution(%d) failed", kGetFailure, nullptr},
};

// Rows reached through the operations of the controller.
const regs::Setting kSaturationRow = {0,
                                      Ctl::kSaturationRegister,
                                      4,
                                      0,
                                      0,
                                      0,
                                      100,
                                      0,
                                      "p_Satulation(%d) is out of range",
                                      "setSatulation(%d) failed",
                                      kGetFailure,
                                      nullptr};
const regs::Setting kFluorescentRow = {0,
                                       Ctl::kCompensationRegister,
                                       4,
                                       1,
                                       2,
                                       0,
                                       2,
                                       0,
                                       "p_Fluorescent(%d) is out of range",
                                       "setFluorescent(%d) failed",
                                       kGetFailure,
                                       nullptr};
const regs::Setting kLensTypeRow = {0,
                                    Ctl::kLensTypeRegister,
                                    4,
                                    0,
                                    0,
                                    0,
                                    1,
                                    0,
                                    "p_LensType(%d) is out of range",
                                    "setLensType(%d) failed",
                                    kGetFailure,
                                    nullptr};
const regs::Setting kVideoSystemRow = {0,
                                       Ctl::kVideoSystemRegister,
                                       4,
                                       0,
                                       0,
                                       0,
                                       1,
                                       0,
                                       "p_VideoSystem(%d) is out of range",
                                       "setVideoSystem(%d) failed",
                                       kGetFailure,
                                       nullptr};

bool outOfRange(const regs::Setting& row, int value) {
    return value < row.lo || value > row.hi;
}

} // namespace

void SeawolfSenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 14);
    ids.addParameterId(IdManager::Common, 16, 20);
    ids.addParameterId(IdManager::Common, kTNF);
    ids.addParameterId(IdManager::Common, kTNFMode);
    ids.addParameterId(IdManager::Common, 57, 61);
    ids.addParameterId(IdManager::SetOnly, 22, 28);
}

SeawolfSenseController::SeawolfSenseController()
    : ISensorController(kSensorType), m_objProtocol(m_pUART, m_nUARTPort, m_objSendMutex, *this),
      m_objSettings(
          *this, kRows,
          [this](int a, int, int v) { return m_objProtocol.writeRegister(a >> 8, a & 0xFF, v); },
          [this](int a, int, int& v) { return m_objProtocol.readRegister(a >> 8, a & 0xFF, v); }) {
    registerIds(*m_pIdManager);
    RegisterSettings& s = m_objSettings;
    s.addOperation(
        kSaturation, [this](int v) { return setSaturation(v); },
        [this](int& v) { return getSaturation(v); });
    s.addOperation(
        kFluorescent, [this](int v) { return setFluorescent(v); },
        [this](int& v) { return getFluorescent(v); });
    s.addOperation(
        kLensType, [this](int v) { return setLensType(v); },
        [this](int& v) { return getLensType(v); });
    s.addOperation(
        kDayToNight, [this](int v) { return setDayToNightThreshold(v); },
        [this](int& v) { return v = m_nDayToNight, 1; });
    s.addOperation(
        kNightToDay, [this](int v) { return setNightToDayThreshold(v); },
        [this](int& v) { return v = m_nNightToDay, 1; });
    // The base's day/night and noise settings, with the ranges they make sense in.
    s.addOperation(
        kDayNightMode, 0, 3, "p_DayNightMode(%d) is out of range",
        [this](int v) { return setDayNightMode(v); },
        [this](int& v) {
            KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
            v = m_nDayNightMode;
            return 1;
        });
    s.addOperation(
        kTNF, 0, 100, "p_TNF(%d) is out of range", [this](int v) { return setTNF(v); },
        [this](int& v) { return getTNF(v); });
    s.addOperation(
        kTNFMode, 0, 2, "p_TNFMode(%d) is out of range", [this](int v) { return setTNFMode(v); },
        [this](int& v) { return getTNFMode(v); });
    s.addDayNightSchedule(kDTNHour);
    // Set-only: commands, any value but the video system's acts.
    s.addOperation(kSaveToModule, [this](int) { return saveToModule(); });
    s.addOperation(kRestartModule, [this](int) { return restartModule(); });
    s.addOperation(kPictureDay, [this](int) { return turnPictureToDay(); });
    s.addOperation(kPictureNight, [this](int) { return turnPictureToNight(); });
    s.addOperation(kVideoSystem, [this](int v) { return setVideoSystem(v); });
    s.addOperation(kReadVersion, [this](int) { return getSensorSoftVersion(); });
    s.addOperation(kDrainLine, [this](int) { return m_objProtocol.recvLeftData(), 1; });
}

SeawolfSenseController::~SeawolfSenseController() {
    // The base's worker calls this class's members: it stops before they go.
    stopThreadsFirst();
}

// ---- start-up and hooks ----------------------------------------------------------------

int SeawolfSenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    SerialRecord record;
    if (!readSerialRecord(*this, config, false, detail, record))
        return 0;
    {
        KVMutexLocker exchange(m_objSendMutex, __FILE__, __LINE__);
        if (!openSerialPort(*this, m_pUART, m_nUARTPort, record))
            return 0;
    }
    m_objSettings.forgetRegisters();
    if (getSensorSoftVersion() == 0) {
        ErrorPrintf("Init getSensorSoftVersion failed");
        return 0;
    }
    int saturation = 0;
    if (m_objSettings.get(kSaturationRow, saturation) == 0) {
        ErrorPrintf("Init getSatulation failed");
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    m_nSaturation = saturation;
    m_bNightPicture = false;
    m_nDayNight = 1;
    return 1;
}

int SeawolfSenseController::setSensorVideoSystem(int videoSystem, VideoResolution const&) {
    if (setVideoSystem(videoSystem) == 0) {
        ErrorPrintf("setVideoSystem false");
        return 0;
    }
    return 1;
}

int SeawolfSenseController::setParameterToSensor(int id, int value) {
    return m_objSettings.dispatchSet(id, value);
}

int SeawolfSenseController::getParameterFromSensor(int id, int& value) {
    return m_objSettings.dispatchGet(id, value);
}

int SeawolfSenseController::getMirrorValue(int& value) {
    return m_objSettings.get(kFlip, value) == 1 ? 1 : 0;
}

int SeawolfSenseController::getCameraVerInf(std::string& text) {
    const int version = m_nSoftVersion;
    if (version < 0)
        return 0;
    text = "Seawolf software version " + std::to_string(version);
    return 1;
}

// ---- module store ----------------------------------------------------------------------

int SeawolfSenseController::flush() {
    const int saved = ISensorController::flush();
    if (m_SensorStatus != InitSuccess)
        return saved;
    return saved != 0 && saveToModule() != 0 ? 1 : 0;
}

// At night the saturation register holds 0 (no colour): the user's value is
// what the store must keep, so it goes back for the save and 0 after it.
int SeawolfSenseController::saveToModule() {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    const bool night = m_bNightPicture;
    if (night && m_objSettings.writeField(kSaturationRegister, 4, 0, 0, m_nSaturation) == 0)
        return 0;
    const int module = m_objProtocol.flush();
    if (night && m_objSettings.writeField(kSaturationRegister, 4, 0, 0, 0) == 0)
        return 0;
    return module;
}

// The module comes back with its store, so a night picture is turned off again.
int SeawolfSenseController::restartModule() {
    if (m_objProtocol.resetParameters() == 0)
        return 0;
    m_objSettings.forgetRegisters();
    KovantTime::wait(KovantTime(kRestartSeconds, 0));
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (m_bNightPicture && m_objSettings.writeField(kSaturationRegister, 4, 0, 0, 0) == 0) {
        ErrorPrintf("turnPictureToNight: setSatulation(0) failed");
        return 0;
    }
    return 1;
}

int SeawolfSenseController::resetParameters() {
    if (ISensorController::resetParameters() == 0)
        return 0;
    if (m_SensorStatus == InitSuccess && saveToModule() == 0) {
        ErrorPrintf("resetParameters failed");
        return 0;
    }
    return 1;
}

int SeawolfSenseController::getSensorSoftVersion() {
    int version = 0;
    if (m_objProtocol.readRegister(kVersionRegister >> 8, kVersionRegister & 0xFF, version) == 0) {
        ErrorPrintf("%s", kGetFailure);
        return 0;
    }
    m_nSoftVersion = version;
    std::printf("____get sensor version = %d,==0:old . >0 new  \n", version);
    return 1;
}

// Only a change reaches the module: the store is written and the module
// restarted, which takes it a while.
int SeawolfSenseController::setVideoSystem(int value) {
    if (outOfRange(kVideoSystemRow, value))
        return m_objSettings.set(kVideoSystemRow, value);
    int now = -1;
    if (m_objSettings.registerValue(kVideoSystemRegister, 4, now) != 0 && now == value)
        return 1;
    return m_objSettings.set(kVideoSystemRow, value) != 0 && saveToModule() != 0 &&
                   restartModule() != 0
               ? 1
               : 0;
}

int SeawolfSenseController::getVideoSystem(int& value) {
    return m_objSettings.get(kVideoSystemRow, value);
}

// ---- settings with rules -----------------------------------------------------------------

int SeawolfSenseController::setSaturation(int value) {
    if (outOfRange(kSaturationRow, value))
        return m_objSettings.set(kSaturationRow, value);
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    // At night the picture stays without colour; the value comes with the day.
    if (!m_bNightPicture && m_objSettings.set(kSaturationRow, value) == 0)
        return 0;
    m_nSaturation = value;
    return 1;
}

int SeawolfSenseController::getSaturation(int& value) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    value = m_nSaturation;
    return 1;
}

int SeawolfSenseController::setLensType(int value) {
    if (outOfRange(kLensTypeRow, value))
        return m_objSettings.set(kLensTypeRow, value);
    if (value == kLensManual) {
        int compensation = 0;
        if (m_objSettings.registerValue(kCompensationRegister, 4, compensation) == 0) {
            ErrorPrintf("%s", kGetFailure);
            return 0;
        }
        if (binary::appointedBits(compensation, kFluorescentRow.bit, kFluorescentRow.bits) ==
            kFluorescentCRR2) {
            ErrorPrintf("nCurrentFluorescent is only auto lens,can't set Manual");
            return 0;
        }
    }
    return m_objSettings.set(kLensTypeRow, value);
}

int SeawolfSenseController::getLensType(int& value) {
    return m_objSettings.get(kLensTypeRow, value);
}

int SeawolfSenseController::setFluorescent(int value) {
    if (outOfRange(kFluorescentRow, value))
        return m_objSettings.set(kFluorescentRow, value);
    if (value == kFluorescentCRR2) {
        int lens = 0;
        if (m_objSettings.registerValue(kLensTypeRegister, 4, lens) == 0) {
            ErrorPrintf("%s", kGetFailure);
            return 0;
        }
        if (lens == kLensManual) {
            ErrorPrintf("CurrentLensType is manual,can't set Fluorescent CRR2");
            return 0;
        }
    }
    return m_objSettings.set(kFluorescentRow, value);
}

int SeawolfSenseController::getFluorescent(int& value) {
    return m_objSettings.get(kFluorescentRow, value);
}

// ---- day and night -------------------------------------------------------------------------

int SeawolfSenseController::setDayToNightThreshold(int value) {
    if (value < 0 || value > 255) {
        ErrorPrintf("p_DayToNight(%d) is out of range", value);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (value > m_nNightToDay) {
        ErrorPrintf("day-to-night level (%d) is above night-to-day level (%d)", value,
                    m_nNightToDay.load());
        return 0;
    }
    m_nDayToNight = value;
    return 1;
}

int SeawolfSenseController::setNightToDayThreshold(int value) {
    if (value < 0 || value > 255) {
        ErrorPrintf("p_NightToDay(%d) is out of range", value);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (value < m_nDayToNight) {
        ErrorPrintf("night-to-day level (%d) is below day-to-night level (%d)", value,
                    m_nDayToNight.load());
        return 0;
    }
    m_nNightToDay = value;
    return 1;
}

int SeawolfSenseController::getDayNightValue(int& value) {
    int level = 0;
    if (m_objProtocol.readRegister(kLightRegister >> 8, kLightRegister & 0xFF, level) == 0) {
        ErrorPrintf("getDayNightValue failed");
        return 0;
    }
    m_nLightLevel = level;
    if (level < m_nDayToNight)
        m_nDayNight = 0;
    else if (level > m_nNightToDay)
        m_nDayNight = 1;
    value = m_nDayNight;
    if (printing())
        std::printf("light level = %d, day/night = %d\n", level, value);
    return 1;
}

// No state while the light level cannot be read: the base keeps the picture it has.
int SeawolfSenseController::getDNStatusFromSensor(int& status) {
    int result = 0;
    if (getDayNightValue(result) == 0)
        return 0;
    status = result;
    return 1;
}

int SeawolfSenseController::getDayNightState(int& state) {
    state = m_nDayNight;
    return 1;
}

int SeawolfSenseController::turnPictureToDay() {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (m_objSettings.writeField(kSaturationRegister, 4, 0, 0, m_nSaturation) == 0) {
        ErrorPrintf("turnPictureToDay: setSatulation(%d) failed", m_nSaturation);
        return 0;
    }
    m_bNightPicture = false;
    return 1;
}

int SeawolfSenseController::turnPictureToNight() {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (m_objSettings.writeField(kSaturationRegister, 4, 0, 0, 0) == 0) {
        ErrorPrintf("turnPictureToNight: setSatulation(0) failed");
        return 0;
    }
    m_bNightPicture = true;
    return 1;
}

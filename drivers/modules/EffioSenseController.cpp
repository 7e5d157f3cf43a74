// Effio module: register rows, start-up, dispatch, the GPIO day/night input and the picture.
#include "drivers/modules/EffioSenseController.h"

#include "config/IdManager.h"
#include "drivers/protocols/SerialSettings.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <string>

namespace {

using Id = EffioSenseController::Id;

// 03/02 holds the exposure level (bits 0-5) and the AGC mode (bits 6-7);
// 0C/03 the ATR strength (bits 0-1) and the HDR level (bits 4-5).
const std::vector<regs::Setting> kRows = {
    {Id::kBrightness, 0x0263, 2, 0, 0, 0, 100, 1023, "setBrightness(%d) is out of range",
     "setBrightness failed", "getBrightness failed", nullptr},
    {Id::kSharpness, 0x0299, 1, 0, 0, 0, 100, 255, "setSharpness(%d) is out of range",
     "setSharpness failed", "getSharpness failed", nullptr},
    {Id::kBGain, 0x0261, 2, 0, 0, 0, 1023, 0, "setBGain(%d) is out of range", "setBGain failed",
     "getBGain failed", nullptr},
    {Id::kRGain, 0x0262, 2, 0, 0, 0, 1023, 0, "setRGain(%d) is out of range", "setRGain failed",
     "getRGain failed", nullptr},
    {Id::kNoiseFilter, 0x026D, 1, 0, 0, 0, 3, 0, "setNR2_FILMODE(%d) is out of range",
     "setNR2_FILMODE failed", "getNR2_FILMODE failed", nullptr},
    {Id::kExposalMode, 0x0301, 1, 0, 0, 0, 1, 0, "setExposalMode(%d) is out of range",
     "setExposalMode failed", "getExposalMode failed", nullptr},
    {Id::kExposal, 0x0302, 1, 0, 6, 0, 63, 0, "setExposal(%d) is out of range", "setExposal failed",
     "getAEHighValue failed", nullptr},
    {Id::kAGCMode, 0x0302, 1, 6, 2, 0, 3, 0, "setAGCMode(%d) is out of range", "setAGCMode failed",
     "getAGC mode failed , value=%d", nullptr},
    {Id::kMaxAGC, 0x030D, 1, 0, 0, 0, 255, 0, "setMaxAGC(%d) is out of range", "setMaxAGC failed",
     "getMaxAGC failed", nullptr},
    {Id::kBackLightLevel, 0x0317, 1, 0, 0, 0, 15, 0, "setBackLightLevel(%d) is out of range",
     "setBackLightLevel failed", "getBackLightLevel failed", nullptr},
    {Id::kBackLight, 0x0321, 1, 0, 0, 0, 2, 0, "setBackLight(%d) is out of range",
     "setBackLight failed", "getBackLight failed", nullptr},
    {Id::kShutterSpeed, 0x0401, 1, 0, 0, 0, 9, 0, "setShutterSpeed(%d) is out of range",
     "setShutterSpeed failed", "getShutterSpeed failed", nullptr},
    {Id::kWhiteBalance, 0x0501, 1, 0, 0, 0, 4, 0, "setWB(%d) is out of range", "setWB failed",
     "getWB failed", nullptr},
    {Id::kMirror, 0x0649, 1, 0, 0, 0, 3, 0, "setMirror(%d) is out of range", "setMirror failed",
     "getMirror failed", nullptr},
    {Id::kATR, 0x0C03, 1, 0, 2, 0, 3, 0, "setATR(%d) is out of range", "setATR failed",
     "getATR failed", nullptr},
};

// The HDR level field of 0C/03, written by updateHDRMode only.
constexpr int kHDRRegister = 0x0C03;
constexpr int kHDRBit = 4;
constexpr int kHDRBits = 2;

} // namespace

void EffioSenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 10);
    ids.addParameterId(IdManager::Common, 12, 19);
    ids.addParameterId(IdManager::Common, kDayNightMode);
    ids.addParameterId(IdManager::Common, 57, 61);
}

EffioSenseController::EffioSenseController()
    : ISensorController(kSensorType), m_objProtocol(m_pUART, m_nUARTPort, m_objSendMutex, *this),
      m_objSettings(
          *this, kRows,
          [this](int key, int width, int value) {
              return m_objProtocol.writeRegister(key >> 8, key & 0xFF, width, value);
          },
          [this](int key, int width, int& value) {
              return m_objProtocol.readRegister(key >> 8, key & 0xFF, width, value);
          }) {
    registerIds(*m_pIdManager);
    m_nDNSource = 0;
    m_objSettings.addOperation(
        kDayToNight, [this](int v) { return setDayToNightTransition(v); },
        [this](int& v) { return getDayToNightTransition(v); });
    m_objSettings.addOperation(
        kNightToDay, [this](int v) { return setNightToDayTransition(v); },
        [this](int& v) { return getNightToDayTransition(v); });
    m_objSettings.addOperation(
        kHDRMode, [this](int v) { return setHDRMode(v); },
        [this](int& v) { return getHDRMode(v); });
    m_objSettings.addOperation(
        kDayNightMode, 0, 3, "setDayNightMode(%d) is out of range",
        [this](int v) { return setDayNightMode(v); },
        [this](int& v) { return getDayNightMode(v); });
    m_objSettings.addDayNightSchedule(57);
}

EffioSenseController::~EffioSenseController() {
    // The base's worker calls into this class: it stops before any member goes.
    stopThreadsFirst();
}

// ---- start-up and hooks ------------------------------------------------------------------

int EffioSenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    SerialRecord record;
    if (!readSerialRecord(*this, config, false, detail, record, "RS232"))
        return 0;
    // A missing entry reads as empty text, refused like a malformed one.
    std::string text;
    detail.getValue("GPIODNLevel", text);
    int line[3] = {}; // group, pin, night level
    const char* const refused = "get GPIODNLevel from detail failed";
    if (!parseGpioTriple(*this, text, line, refused))
        return 0;
    if (line[0] < 0 || line[1] < 0 || (line[2] != 0 && line[2] != 1)) {
        ErrorPrintf("%s", refused);
        return 0;
    }
    {
        KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
        m_objDNLevelGPIO = DNGPIOInfo{line[0], line[1], 1 - line[2]};
        m_nReported = -1;
        m_nRun = 0;
    }
    {
        KVMutexLocker exchange(m_objSendMutex, __FILE__, __LINE__);
        if (!openSerialPort(*this, m_pUART, m_nUARTPort, record))
            return 0;
    }
    m_objSettings.forgetRegisters();
    return 1;
}

int EffioSenseController::setSensorVideoSystem(int, VideoResolution const&) {
    return 1;
}

int EffioSenseController::setParameterToSensor(int id, int value) {
    return m_objSettings.dispatchSet(id, value);
}

int EffioSenseController::getParameterFromSensor(int id, int& value) {
    return m_objSettings.dispatchGet(id, value);
}

int EffioSenseController::getMirrorValue(int& value) {
    return getMirror(value);
}

// ---- HDR ---------------------------------------------------------------------------------

int EffioSenseController::updateHDRMode(int mode) {
    if (mode < 0 || mode > 2) {
        ErrorPrintf("updateHDRMode(%d) is out of range", mode);
        return 0;
    }
    if (m_objSettings.writeField(kHDRRegister, 1, kHDRBit, kHDRBits, mode) == 0) {
        ErrorPrintf("updateHDRMode failed");
        return 0;
    }
    return 1;
}

// Mode 3 follows the picture: the base calls updateHDRMode on each switch.
int EffioSenseController::setHDRMode(int mode) {
    if (mode < 0 || mode > 3) {
        ErrorPrintf("setHDRMode(%d) is out of range", mode);
        return 0;
    }
    KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
    const int level = mode != 3 ? mode : (m_nDNState == 0 ? 2 : 1);
    if (updateHDRMode(level) == 0)
        return 0;
    m_nHDRMode = mode;
    return 1;
}

int EffioSenseController::getHDRMode(int& mode) {
    KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
    mode = m_nHDRMode;
    return 1;
}

// ---- day and night -----------------------------------------------------------------------

int EffioSenseController::getDNStatusFromSensor(int& status) {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    int level = -1;
    if (m_pGPIO.get() == nullptr ||
        m_pGPIO->getLevel(m_objDNLevelGPIO.m_nGroup, m_objDNLevelGPIO.m_nPin, level) == 0) {
        ErrorPrintf("GPIO(%d) get DNLevel failed value = %d", m_objDNLevelGPIO.m_nPin, level);
        return 0;
    }
    const int reading = level == m_objDNLevelGPIO.m_nDayLevel ? 1 : 0;
    if (m_nReported == -1 || reading == m_nReported) {
        m_nReported = reading;
        m_nRun = 0;
    } else if (++m_nRun >= (reading == 0 ? m_nDayToNight : m_nNightToDay)) {
        m_nReported = reading;
        m_nRun = 0;
    }
    status = m_nReported;
    return 1;
}

int EffioSenseController::getDayNightMode(int& mode) {
    KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
    mode = m_nDayNightMode;
    return 1;
}

int EffioSenseController::turnPictureToDay() {
    return m_objSettings.writeField(kPictureRegister, 1, 0, 0, kPictureDay);
}

int EffioSenseController::turnPictureToNight() {
    return m_objSettings.writeField(kPictureRegister, 1, 0, 0, kPictureNight);
}

int EffioSenseController::setTransition(int& member, int readings) {
    if (readings < 1 || readings > kMaxTransition)
        return 0;
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    member = readings;
    return 1;
}

int EffioSenseController::setDayToNightTransition(int readings) {
    if (setTransition(m_nDayToNight, readings) == 0) {
        ErrorPrintf("setDayToNightTransition failed");
        return 0;
    }
    return 1;
}

int EffioSenseController::setNightToDayTransition(int readings) {
    if (setTransition(m_nNightToDay, readings) == 0) {
        ErrorPrintf("setNightToDayTransition failed");
        return 0;
    }
    return 1;
}

int EffioSenseController::getDayToNightTransition(int& readings) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    readings = m_nDayToNight;
    return 1;
}

int EffioSenseController::getNightToDayTransition(int& readings) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    readings = m_nNightToDay;
    return 1;
}

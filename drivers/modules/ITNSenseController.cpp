// ITN camera module: register rows, noise reduction, start-up, GPIO day/night thread.
#include "drivers/modules/ITNSenseController.h"

#include "config/IdManager.h"
#include "drivers/protocols/SerialSettings.h"
#include "platform/GlobalEnv.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>

namespace {

using Id = ITNSenseController::Id;

constexpr int key(int group, int reg, int sub = 0) {
    return ITNSenseController::key(group, sub, reg);
}

// Group 1A picture, 1F WDR, 15 exposure, 13 iris, 17 white balance, 1C gamma,
// 1B day/night (sub 05: the module's own transition thresholds). The spot AE
// window's X and Y share register 15/24 (X bits 0-3, Y bits 4-7). Shutters are
// 1/value seconds: the slowest allowed (min) one byte, the fastest (max) and
// the fixed one two bytes.
const std::vector<regs::Setting> kRows = {
    {Id::kBrightness, key(0x1A, 0x05), 1, 0, 0, 0, 100, 255,
     "p_Brightness is out of range,p_WDR = %d\n", "setParameterValue setBrightness failed",
     "getParameterValue getBrightness failed", nullptr},
    {Id::kSharpness, key(0x1A, 0x06), 1, 0, 0, 0, 100, 255,
     "p_Sharpness is out of range,p_Sharpness = %d\n", "setParameterValue setSharpness failed",
     "getParameterValue getSharpness failed", nullptr},
    {Id::kChroma, key(0x1A, 0x03), 1, 0, 0, 0, 100, 255, "p_Chroma is out of range,p_Chroma = %d\n",
     "setParameterValue setChroma failed", "getParameterValue getChroma failed", nullptr},
    {Id::kMirror, key(0x1A, 0x04), 1, 0, 0, 0, 3, 0, "p_Mirror is out of range,p_Mirror = %d\n",
     "setParameterValue setMirror failed", "getParameterValue getMirror failed", nullptr},
    {Id::kNightColor, key(0x1A, 0x02), 1, 0, 0, 0, 1, 0,
     "p_NightColor is out of range,p_NightColor = %d\n", "setParameterValue setNightColor failed",
     "getParameterValue getNightColor failed", nullptr},
    {Id::kWDR, key(0x1F, 0x01), 1, 0, 0, 0, 3, 0, "p_WDR is out of range,p_WDR = %d\n",
     "setParameterValue setWDR failed", "getParameterValue getWDR failed", nullptr},
    {Id::kAE, key(0x15, 0x02), 1, 0, 0, 0, 2, 0, "p_AE is out of range,p_AE = %d\n",
     "setParameterValue setAE failed", "getParameterValue getAE failed", nullptr},
    {Id::kFixShutter, key(0x15, 0x32), 2, 0, 0, 1, 10000, 0,
     "p_FixShutter is out of range,p_FixShutter = %d\n", "setParameterValue setFixShutter failed",
     "getParameterValue getFixShutter failed", nullptr},
    {Id::kMinShutter, key(0x15, 0x0C), 1, 0, 0, 1, 255, 0,
     "p_MinShutter is out of range,p_MinShutter = %d\n", "setParameterValue setMinShutter failed",
     "getParameterValue getMinShutter failed", nullptr},
    {Id::kMaxShutter, key(0x15, 0x0E), 2, 0, 0, 1, 10000, 0,
     "p_MaxShutter is out of range,p_MaxShutter = %d\n", "setParameterValue setMaxShutter failed",
     "getParameterValue getMaxShutter failed", nullptr},
    {Id::kMaxGain, key(0x15, 0x10), 2, 0, 0, 0, 1023, 0,
     "p_MaxGain is out of range,p_MaxGain = %d\n", "setParameterValue setMaxGain failed",
     "getParameterValue getMaxGain failed", nullptr},
    {Id::kAutoIris, key(0x15, 0xC4), 1, 0, 0, 0, 1, 0,
     "p_AutoIris is out of range,p_AutoIris = %d\n", "setParameterValue setAutoIris failed",
     "getParameterValue getAutoIris failed", nullptr},
    {Id::kSurrounding, key(0x15, 0x25), 1, 0, 0, 0, 15, 0,
     "p_Surrounding is out of range,p_Surrounding = %d\n",
     "setParameterValue setSurrounding failed", "getParameterValue getSurrounding failed", nullptr},
    {Id::kSpotAEX, key(0x15, 0x24), 1, 0, 4, 0, 15, 0,
     "p_SpotAE_X is out of range,p_SpotAE_X = %d\n", "setParameterValue setSpotAE_X failed",
     "getParameterValue getSpotAE_X failed", nullptr},
    {Id::kSpotAEY, key(0x15, 0x24), 1, 4, 4, 0, 15, 0,
     "p_SpotAE_Y is out of range,p_SpotAE_Y = %d\n", "setParameterValue setSpotAE_Y failed",
     "getParameterValue getSpotAE_Y failed", nullptr},
    {Id::kVoltage, key(0x13, 0x1B), 1, 0, 0, 0, 255, 0,
     "p_Voltage is out of range,p_Voltage = %d\n", "setParameterValue setVoltage failed",
     "getParameterValue getVoltage failed", nullptr},
    {Id::kIrisSpeed, key(0x13, 0x18), 1, 0, 0, 0, 15, 0,
     "p_IrisSpeed is out of range,p_IrisSpeed = %d\n", "setParameterValue setIrisSpeed failed",
     "getParameterValue getIrisSpeed failed", nullptr},
    {Id::kWBMode, key(0x17, 0x90), 1, 0, 0, 0, 4, 0, "p_WBMode is out of range,p_WBMode = %d\n",
     "setParameterValue setWBMode failed", "getParameterValue getWBMode failed", nullptr},
    {Id::kSpecific, key(0x17, 0x9E), 1, 0, 0, 0, 255, 0,
     "p_Specific is out of range,p_Specific = %d\n", "setParameterValue setSpecific failed",
     "getParameterValue getSpecific failed", nullptr},
    {Id::kGama, key(0x1C, 0x01), 1, 0, 0, 0, 7, 0, "p_GAMA is out of range,p_GAMA = %d\n",
     "setParameterValue setGAMA failed", "getParameterValue getGAMA failed", nullptr},
    {Id::kDayToNight, key(0x1B, 0x58, 0x05), 2, 0, 0, 0, 4095, 0,
     "p_DayToNight is out of range,p_DayToNight = %d\n",
     "setParameterValue setDayToNightTransition failed",
     "getParameterValue getDayToNightTransition failed", nullptr},
    {Id::kNightToDay, key(0x1B, 0x5A, 0x05), 2, 0, 0, 0, 4095, 0,
     "p_NightToDay is out of range,p_NightToDay = %d\n",
     "setParameterValue setNightToDayTransition failed",
     "getParameterValue getNightToDayTransition failed", nullptr},
};

// The noise reductions: group 1D, three registers each (on/off, luma and
// chroma strength); read back from the luma strength.
constexpr int kNoiseGroup = 0x1D;
constexpr int kNoiseRegisters[2][ItnProtocol::kPairs] = {{0x20, 0x21, 0x22}, {0x30, 0x31, 0x32}};
const regs::Setting kNoiseRows[2] = {
    {0, key(kNoiseGroup, 0x21), 1, 0, 0, 0, 100, 255, "p_NoiseReduction(%d) is out of range",
     "setParameterValue setNoiseReduction2D failed", "getParameterValue getNoiseReduction2D failed",
     nullptr},
    {0, key(kNoiseGroup, 0x31), 1, 0, 0, 0, 100, 255, "p_NoiseReduction(%d) is out of range",
     "setParameterValue setNoiseReduction3D failed", "getParameterValue getNoiseReduction3D failed",
     nullptr},
};

constexpr int kMaxSwitchDelay = 3600;

int groupOf(int address) {
    return address >> 16 & 0xFF;
}
int subOf(int address) {
    return address >> 8 & 0xFF;
}
int regOf(int address) {
    return address & 0xFF;
}

} // namespace

ITNSenseController::ITNSenseController()
    : ISensorController(kSensorType), m_objProtocol(m_pUART, m_nUARTPort, m_objSendMutex, *this),
      m_objSettings(
          *this, kRows,
          [this](int a, int w, int v) {
              return m_objProtocol.writeRegister(groupOf(a), subOf(a), regOf(a), w, v);
          },
          [this](int a, int w, int& v) {
              return m_objProtocol.readRegister(groupOf(a), subOf(a), regOf(a), w, v);
          }),
      m_pSwitchThread(
          makeMemberThread(this, &ITNSenseController::switchThreadBody, "DayNightSwitchThread")) {
    m_pIdManager->addParameterId(IdManager::Common, kBrightness, kDayNightDelay);
    // The thread switches this module; the base's handler stays out.
    m_bBaseDNSwitch = false;
    m_objSettings.addOperation(
        kNoiseReduction2D, [this](int v) { return setNoiseReduction(0, v); },
        [this](int& v) { return getNoiseReduction(0, v); });
    m_objSettings.addOperation(
        kNoiseReduction3D, [this](int v) { return setNoiseReduction(1, v); },
        [this](int& v) { return getNoiseReduction(1, v); });
    m_objSettings.addOperation(
        kDayNightMode, 0, 3, "setDayNightMode(%d) is out of range",
        [this](int v) { return setDayNightMode(v); },
        [this](int& v) {
            v = dayNightSetup();
            return 1;
        });
    m_objSettings.addOperation(
        kDayNightDelay, 0, kMaxSwitchDelay, "p_DNSwitchDelay(%d) is out of range",
        [this](int v) { return setDNSwitchDelay(v); },
        [this](int& v) { return getDNSwitchDelay(v); });
}

ITNSenseController::~ITNSenseController() {
    stopThreadsFirst(m_pSwitchThread.get());
}

int ITNSenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    ModuleParameterParser params;
    SerialRecord record;
    if (!readSerialRecord(*this, config, false, detail, record, "RS232", &params))
        return 0;
    std::string text;
    int gpio[3] = {};
    if (params.getValue("GPIO", text) == 0) {
        ErrorPrintf("get GPIO from senseParameter failed");
        return 0;
    }
    if (!parseGpioTriple(*this, text, gpio, "parse GPIO param failed,nRet=%d\n"))
        return 0;
    std::printf("GPIO param is (%d,%d,%d)\n", gpio[0], gpio[1], gpio[2]);
    // A second start-up opens the port anew: the thread stops before it goes.
    stopSwitchThread();
    m_nGpioGroup = gpio[0];
    m_nGpioPin = gpio[1];
    m_nGpioDayLevel = gpio[2];
    {
        KVMutexLocker exchange(m_objSendMutex, __FILE__, __LINE__);
        if (!openSerialPort(*this, m_pUART, m_nUARTPort, record))
            return 0;
    }
    m_objSettings.forgetRegisters();
    int value = 0;
    if (m_objSettings.get(kMirror, value) != 1) {
        ErrorPrintf("Init getMirror Value failed");
        return 0;
    }
    startSwitchThread();
    return 1;
}

int ITNSenseController::setSensorVideoSystem(int, VideoResolution const&) {
    return 1;
}

int ITNSenseController::setParameterToSensor(int id, int value) {
    return m_objSettings.dispatchSet(id, value);
}

int ITNSenseController::getParameterFromSensor(int id, int& value) {
    return m_objSettings.dispatchGet(id, value);
}

int ITNSenseController::getMirrorValue(int& value) {
    return m_objSettings.get(kMirror, value) == 1 ? 1 : 0;
}

int ITNSenseController::setNoiseReduction(int which, int value) {
    const regs::Setting& row = kNoiseRows[which];
    if (value < row.lo || value > row.hi) {
        ErrorPrintf(row.rangeMessage, value);
        return 0;
    }
    const int strength = value * row.scale / 100;
    const int values[ItnProtocol::kPairs] = {value > 0 ? 1 : 0, strength, strength};
    uint8_t frame[ItnProtocol::kPairsLength];
    const int length =
        ItnProtocol::pairsFrame(frame, kNoiseGroup, 0, kNoiseRegisters[which], values);
    if (m_objProtocol.setParameterValue(frame, length) == 0) {
        ErrorPrintf("%s", row.setFailure);
        return 0;
    }
    return 1;
}

int ITNSenseController::getNoiseReduction(int which, int& value) {
    return m_objSettings.get(kNoiseRows[which], value);
}

// ---- day and night -------------------------------------------------------------------

int ITNSenseController::dayNightSetup() {
    KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
    return m_nDayNightMode;
}

int ITNSenseController::getDNStatusFromSensor(int& status) {
    return JudgeDNChange(status);
}

int ITNSenseController::getDayNightState(int& state) {
    KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
    if (m_nDNState < 0)
        return 0;
    state = m_nDNState;
    return 1;
}

int ITNSenseController::turnPictureToDay() {
    return m_objProtocol.writeRegister(kDayNightGroup, 0, kDayNightRegister, 1, kDayValue);
}

int ITNSenseController::turnPictureToNight() {
    return m_objProtocol.writeRegister(kDayNightGroup, 0, kDayNightRegister, 1, kNightValue);
}

int ITNSenseController::JudgeDNChange(int& status) {
    const int pin = m_nGpioPin;
    int level = -1;
    IGPIO* gpio = m_pGPIO.get();
    if (gpio == nullptr || gpio->getLevel(m_nGpioGroup, pin, level) == 0) {
        ErrorPrintf("GPIO(%d) get DNLevel failed value = %d\n", pin, level);
        return 0;
    }
    status = level == m_nGpioDayLevel ? 1 : 0;
    return 1;
}

int ITNSenseController::applyDayNight(int status) {
    const int done = status == 1 ? enterDayMode() : enterNightMode();
    if (done == 0)
        return 0;
    KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
    m_nLastDayNightMode = m_nDayNightMode;
    return 1;
}

int ITNSenseController::startSwitchThread() {
    if (m_pSwitchThread->isRunning())
        return 1;
    if (m_pSwitchThread->start() == 0) {
        ErrorPrintf("start ITNSenseController DayNightSwitchThread failed");
        return 0;
    }
    return 1;
}

int ITNSenseController::stopSwitchThread() {
    m_pSwitchThread->stop();
    return 1;
}

// Automatic: night as soon as the input says so, day once it has said so for
// the switch delay (the base's rule). A wrong setup is reported once.
int ITNSenseController::switchThreadBody() {
    const int setup = dayNightSetup();
    int status = -1;
    switch (setup) {
    case 0:
        if (JudgeDNChange(status) != 0 && isTimeToSwitch(status) != 0)
            applyDayNight(status);
        break;
    case 1:
        applyDayNight(1);
        break;
    case 2:
        applyDayNight(0);
        break;
    case 3:
        if (DNSwitchByTime(status) != 0)
            applyDayNight(status);
        break;
    default:
        if (m_nReportedSetup.exchange(setup) != setup)
            ErrorPrintf("ThreadBody failed , m_nDayNightSetup (%d) is wrong \n", setup);
        break;
    }
    if (setup >= 0 && setup <= 3)
        m_nReportedSetup = -1;
    KovantTime::wait(KovantTime(1, 0));
    return 0;
}

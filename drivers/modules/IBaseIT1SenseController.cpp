// IT1 module base: register rows and operations, start-up, dispatch.
#include "drivers/modules/IBaseIT1SenseController.h"

#include "drivers/protocols/SerialSettings.h"
#include "platform/GlobalEnv.h"
#include "platform/ModuleParameterParser.h"

#include <algorithm>
#include <cstdio>

namespace {

bool printing() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}

using Id = IBaseIT1SenseController::Id;

// The settings that are one register or one field of a shared register.
// 0x0A01 holds the low-shutter setup (bits 0-1) and the iris drive mode (bit
// 4); 0x1500 the mirror (bits 0-1) among the module's other flip bits.
const std::vector<regs::Setting> kRows = {
    {Id::kBrightness, 0x0A03, 1, 0, 0, 0, 100, 0, "p_nBrightness(%d) is out of range",
     "setBrightness failed", "getBrightness failed", nullptr},
    {Id::kGamma, 0x1604, 1, 0, 0, 0, 7, 0, "setGama(%d) is out of range\n",
     "set setGama(%d) failed\n", "get setGama(%d) failed\n", nullptr},
    {Id::kWhiteBalance, 0x0B00, 1, 0, 0, 0, 4, 0, "setWhiteBalance(%d) is out of range",
     "set White Balance failed", "get White Balance failed", nullptr},
    {Id::kNightColor, 0x1410, 1, 0, 0, 0, 1, 0, "setNightColor(%d) is out of range",
     "setNightColor failed", "getNightColor failed", nullptr},
    {Id::kMirror, 0x1500, 1, 0, 2, 0, 3, 0, "setMirror(%d) is out of range", "setMirror failed",
     "getMirror failed", "mirror : m_n1500Value = %x nMirror = %x\n"},
    {Id::kLowShutterSetup, 0x0A01, 1, 0, 2, 0, 3, 0, "setLowShutterSetup(%d) is out of range",
     "setLowShutterSetup failed", "getLowShutterSetup failed", nullptr},
    {Id::kIrisDriveMode, 0x0A01, 1, 4, 1, 0, 1, 0, "setIrisDriveMode(%d) is out of range",
     "setIrisDriveMode failed", "getIrisDriveMode failed", nullptr},
    {Id::kIrisSpeed, 0x1C04, 1, 0, 0, 0, 15, 0, "invalid iris speed value (%d)",
     "setIrisSpeed failed", "getIrisSpeed failed", nullptr},
    {Id::kIrisVoltage, 0x1C03, 1, 0, 0, 0, 255, 0, "setIrisVoltage(%d) is out of range",
     "setIrisVoltage failed", "getIrisVoltage failed", nullptr},
};

// Rows reached only through the member functions.
const regs::Setting kIrisValues[4] = {
    {0, 0x0A27, 1, 0, 0, 0, 255, 0, "setIrisValue1(%d) is out of range", "setIrisValue1 failed",
     "getIrisValue1 failed", nullptr},
    {0, 0x0A28, 1, 0, 0, 0, 255, 0, "setIrisValue2(%d) is out of range", "setIrisValue2 failed",
     "getIrisValue2 failed", nullptr},
    {0, 0x0A29, 1, 0, 0, 0, 255, 0, "setIrisValue3(%d) is out of range", "setIrisValue3 failed",
     "getIrisValue3 failed", nullptr},
    {0, 0x0A2A, 1, 0, 0, 0, 255, 0, "setIrisValue4(%d) is out of range", "setIrisValue4 failed",
     "getIrisValue4 failed", nullptr},
};
const regs::Setting kSharpnessRows[2] = {
    {0, 0x1402, 1, 0, 0, 0, 100, 255, "p_nSharpness(%d) is out of range", "setSharpness failed",
     "getSharpness failed", nullptr},
    {0, 0x1403, 1, 0, 0, 0, 100, 255, "p_nSharpness(%d) is out of range", "setSharpness failed",
     "getSharpness failed", nullptr},
};

constexpr int kMaxAGCHigh = 0x0A15;
constexpr int kMaxAGCLow = 0x0A16;
constexpr int kMaxAGCLimit = 1023;
constexpr int kMinShutterAddress = 0x0A08;
constexpr int kMaxShutterAddress = 0x0A0C;
constexpr int kChromaAddress = 0x141F; // RY1; the other registers follow two apart
constexpr int kChromaLimit = 0xFFFF;
const char* const kChromaNames[8] = {"RY1", "BY1", "RY2", "BY2", "RY3", "BY3", "RY4", "BY4"};

bool validShutter(int code) {
    return code >= 0 && code < static_cast<int>(IBaseIT1SenseController::kShutterValues.size());
}

} // namespace

IBaseIT1SenseController::IBaseIT1SenseController(int sensorType)
    : ISensorController(sensorType), m_objProtocol(m_pUART, m_nUARTPort, m_objSendMutex, *this),
      m_objSettings(
          *this, kRows,
          [this](int a, int w, int v) { return m_objProtocol.writeRegister(a, w, v); },
          [this](int a, int w, int& v) { return m_objProtocol.readRegister(a, w, v); }),
      m_pSwitchThread(makeMemberThread(this, &IBaseIT1SenseController::switchThreadBody,
                                       "DayNightSwitchThread")) {
    m_objSettings.addOperation(
        kSharpness, [this](int v) { return setSharpness(v); },
        [this](int& v) { return getSharpness(v); });
    m_objSettings.addOperation(
        kShutterMode, [this](int v) { return setShutterMode(v); },
        [this](int& v) { return getShutterMode(v); });
    // A fixed shutter set while the mode is automatic is kept for mode 1.
    m_objSettings.addOperation(
        kFixedShutter,
        [this](int v) {
            KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
            if (m_nShutterMode != kShutterAuto || !validShutter(v))
                return base_setFixedShutter(v);
            m_nFixedShutter = v;
            return 1;
        },
        [this](int& v) { return getFixedShutter(v); });
    m_objSettings.addOperation(
        kMinShutter, [this](int v) { return setMinShutterValue(v); },
        [this](int& v) { return getMinShutterValue(v); });
    m_objSettings.addOperation(
        kMaxShutter, [this](int v) { return setMaxShutterValue(v); },
        [this](int& v) { return getMaxShutterValue(v); });
    m_objSettings.addOperation(
        kMaxAGC, [this](int v) { return setMaxAGCValue(v); },
        [this](int& v) { return getMaxAGCValue(v); });
    m_objSettings.addOperation(
        kDayToNight, [this](int v) { return base_setDayToNightTransition(v); },
        [this](int& v) { return getDayToNightTransition(v); });
    m_objSettings.addOperation(
        kNightToDay, [this](int v) { return base_setNightToDayTransition(v); },
        [this](int& v) { return getNightToDayTransition(v); });
    m_objSettings.addOperation(
        kSaturation, [this](int v) { return setSaturation(v); },
        [this](int& v) { return getSaturation(v); });
}

IBaseIT1SenseController::~IBaseIT1SenseController() {
    stopThreads();
}

void IBaseIT1SenseController::stopThreads() {
    stopThreadsFirst(m_pSwitchThread.get());
}

// ---- start-up and hooks ----------------------------------------------------------------

int IBaseIT1SenseController::initController(int, ModuleConfigure const& config) {
    ModuleParameterParser detail;
    SerialRecord record;
    if (!readSerialRecord(*this, config, false, detail, record))
        return 0;
    // A second start-up opens the port anew: the thread stops before it goes.
    stopSwitchThread();
    {
        KVMutexLocker exchange(m_objSendMutex, __FILE__, __LINE__);
        m_bLightRead = false;
        if (!openSerialPort(*this, m_pUART, m_nUARTPort, record))
            return 0;
    }
    m_objSettings.forgetRegisters();
    int value = 0;
    if (getLowShutterSetup(value) == 0) {
        ErrorPrintf("Init Low Shutter Value failed");
        return 0;
    }
    if (getSharpness(value) == 0) {
        ErrorPrintf("Init Low Sharpness Value failed");
        return 0;
    }
    if (m_objSettings.registerValue(kModeAddress, 1, value) == 0) {
        ErrorPrintf("Init Day Night Failed");
        return 0;
    }
    if (getMirror(value) == 0) {
        ErrorPrintf("Init getMirror Value failed");
        return 0;
    }
    Chroma chroma{};
    if (getChroma(chroma) == 0) {
        ErrorPrintf("Init getChroma Value failed");
        return 0;
    }
    {
        KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
        m_arrChroma = chroma;
        m_nSaturation = 50;
    }
    startSwitchThread();
    return 1;
}

int IBaseIT1SenseController::setSensorVideoSystem(int, VideoResolution const&) {
    return 1;
}

int IBaseIT1SenseController::setParameterToSensor(int id, int value) {
    return m_objSettings.dispatchSet(id, value);
}

int IBaseIT1SenseController::getParameterFromSensor(int id, int& value) {
    return m_objSettings.dispatchGet(id, value);
}

int IBaseIT1SenseController::getMirrorValue(int& value) {
    return getMirror(value);
}

// ---- single registers -----------------------------------------------------------------

#define IT1_ROW_ACCESS(Name, IdValue)                                                              \
    int IBaseIT1SenseController::set##Name(int value) {                                            \
        return m_objSettings.set(IdValue, value) == 1 ? 1 : 0;                                     \
    }                                                                                              \
    int IBaseIT1SenseController::get##Name(int& value) {                                           \
        return m_objSettings.get(IdValue, value) == 1 ? 1 : 0;                                     \
    }
IT1_ROW_ACCESS(Brightness, kBrightness)
IT1_ROW_ACCESS(LowShutterSetup, kLowShutterSetup)
IT1_ROW_ACCESS(IrisDriveMode, kIrisDriveMode)
IT1_ROW_ACCESS(Gama, kGamma)
IT1_ROW_ACCESS(WhiteBalance, kWhiteBalance)
IT1_ROW_ACCESS(NightColor, kNightColor)
IT1_ROW_ACCESS(Mirror, kMirror)
IT1_ROW_ACCESS(IrisVoltage, kIrisVoltage)
IT1_ROW_ACCESS(IrisSpeed, kIrisSpeed)
#undef IT1_ROW_ACCESS

int IBaseIT1SenseController::setIrisValue(int index, int value) {
    return index >= 0 && index < 4 ? m_objSettings.set(kIrisValues[index], value) : 0;
}

int IBaseIT1SenseController::getIrisValue(int index, int& value) {
    return index >= 0 && index < 4 ? m_objSettings.get(kIrisValues[index], value) : 0;
}

int IBaseIT1SenseController::setIrisLevel(int value) {
    for (int i = 0; i < 4; ++i)
        if (setIrisValue(i, value) == 0)
            return 0;
    return 1;
}

int IBaseIT1SenseController::getIrisLevel(int& value) {
    return getIrisValue(0, value);
}

int IBaseIT1SenseController::setSharpness(int value) {
    if (value < 0 || value > 100) {
        ErrorPrintf(kSharpnessRows[0].rangeMessage, value);
        return 0;
    }
    if (printing()) {
        std::printf("real sharpness = %d", value * 255 / 100);
        std::printf("sharpness byte = 0x%02x \n", value * 255 / 100);
    }
    return m_objSettings.set(kSharpnessRows[0], value) != 0 &&
                   m_objSettings.set(kSharpnessRows[1], value) != 0
               ? 1
               : 0;
}

int IBaseIT1SenseController::getSharpness(int& value) {
    return m_objSettings.get(kSharpnessRows[0], value);
}

int IBaseIT1SenseController::setMaxAGCValue(int value) {
    if (value < 0 || value > kMaxAGCLimit) {
        ErrorPrintf("invalid value");
        return 0;
    }
    int high = 0;
    int low = 0;
    getHigh8Bits(value, high);
    getLow8Bits(value, low);
    if (m_objSettings.writeField(kMaxAGCHigh, 1, 0, 0, high) == 0 ||
        m_objSettings.writeField(kMaxAGCLow, 1, 0, 0, low) == 0) {
        ErrorPrintf("setMaxAGCValue failed");
        return 0;
    }
    return 1;
}

int IBaseIT1SenseController::getMaxAGCValue(int& value) {
    int high = 0;
    int low = 0;
    if (m_objProtocol.readRegister(kMaxAGCHigh, 1, high) == 0 ||
        m_objProtocol.readRegister(kMaxAGCLow, 1, low) == 0) {
        ErrorPrintf("getMaxAGCValue failed");
        return 0;
    }
    value = std::min(high * 256 + low, kMaxAGCLimit);
    return 1;
}

// ---- chroma and saturation ----------------------------------------------------------------

int IBaseIT1SenseController::setChroma(const Chroma& chroma) {
    for (int i = 0; i < 8; ++i) {
        int high = 0;
        int low = 0;
        getHigh8Bits(chroma[i], high);
        getLow8Bits(chroma[i], low);
        if (printing())
            std::printf("high8bits=%d,low8bits=%d\n", high, low);
        if (m_objSettings.writeField(kChromaAddress + 2 * i, 2, 0, 0, high * 256 + low) == 0) {
            ErrorPrintf("set %s failed", kChromaNames[i]);
            return 0;
        }
    }
    return 1;
}

int IBaseIT1SenseController::getChroma(Chroma& chroma) {
    for (int i = 0; i < 8; ++i) {
        if (m_objProtocol.readRegister(kChromaAddress + 2 * i, 2, chroma[i]) == 0) {
            ErrorPrintf("get getChroma%s failed", kChromaNames[i]);
            return 0;
        }
    }
    if (printing())
        std::printf("RY1=0x%04x,BY1=0x%04x,RY2=0x%04x,BY2=0x%04x,RY3=0x%04x,BY3=0x%04x,RY4=0x%04x,"
                    "BY4=0x%04x\n",
                    chroma[0], chroma[1], chroma[2], chroma[3], chroma[4], chroma[5], chroma[6],
                    chroma[7]);
    return 1;
}

int IBaseIT1SenseController::setSaturation(int value) {
    if (value < 0 || value > 100) {
        ErrorPrintf("setSaturation(%d) is out of range", value);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    Chroma scaled{};
    for (int i = 0; i < 8; ++i)
        scaled[i] = std::min(m_arrChroma[i] * value / 50, kChromaLimit);
    if (setChroma(scaled) == 0)
        return 0;
    m_nSaturation = value;
    return 1;
}

int IBaseIT1SenseController::getSaturation(int& value) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    value = m_nSaturation;
    return 1;
}

// ---- shutter ------------------------------------------------------------------------------

int IBaseIT1SenseController::setShutterMode(int mode) {
    if (mode != kShutterAuto && mode != kShutterFixed) {
        ErrorPrintf("setShutterMode(%d) is out of range", mode);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    const int result = mode == kShutterAuto ? writeShutters(m_nMinShutter, m_nMaxShutter)
                                            : writeShutters(m_nFixedShutter, m_nFixedShutter);
    if (result == 0) {
        ErrorPrintf("setShutterMode failed");
        return 0;
    }
    m_nShutterMode = mode;
    return 1;
}

int IBaseIT1SenseController::getShutterMode(int& mode) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    mode = m_nShutterMode;
    return 1;
}

// A fixed shutter is the minimum and the maximum at the same code.
int IBaseIT1SenseController::base_setFixedShutter(int code) {
    if (!validShutter(code)) {
        ErrorPrintf("base_setFixedShutter(%d) is out of range", code);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (m_nShutterMode == kShutterAuto) {
        ErrorPrintf("set fixed shutter failed : current is shutter mode is auto");
        return 0;
    }
    if (writeShutters(code, code) == 0)
        return 0;
    m_nFixedShutter = code;
    return 1;
}

int IBaseIT1SenseController::base_setMinShutter(int code) {
    return writeShutter(kMinShutterAddress, code, "base_setMinShutter");
}

int IBaseIT1SenseController::base_setMaxShutter(int code) {
    return writeShutter(kMaxShutterAddress, code, "base_setMaxShutter");
}

int IBaseIT1SenseController::writeShutter(int address, int code, const char* name) {
    if (!validShutter(code) ||
        m_objSettings.writeField(address, 2, 0, 0, kShutterValues[code]) == 0) {
        ErrorPrintf("%s(%d) failed", name, code);
        return 0;
    }
    return 1;
}

int IBaseIT1SenseController::writeShutters(int minCode, int maxCode) {
    return base_setMinShutter(minCode) != 0 && base_setMaxShutter(maxCode) != 0 ? 1 : 0;
}

// In fixed mode the limits are kept and sent when the mode goes back to automatic.
int IBaseIT1SenseController::setMinShutterValue(int code) {
    if (!validShutter(code)) {
        ErrorPrintf("setMinShutterValue(%d) is out of range", code);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (code > m_nMaxShutter) {
        ErrorPrintf("set MinShutterValue > MaxShutterValue!");
        return 0;
    }
    if (m_nShutterMode == kShutterAuto && base_setMinShutter(code) == 0)
        return 0;
    m_nMinShutter = code;
    return 1;
}

int IBaseIT1SenseController::setMaxShutterValue(int code) {
    if (!validShutter(code)) {
        ErrorPrintf("setMaxShutterValue(%d) is out of range", code);
        return 0;
    }
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    if (code < m_nMinShutter) {
        ErrorPrintf("set MaxShutterValue < MinShutterValue!");
        return 0;
    }
    if (m_nShutterMode == kShutterAuto && base_setMaxShutter(code) == 0)
        return 0;
    m_nMaxShutter = code;
    return 1;
}

int IBaseIT1SenseController::getFixedShutter(int& code) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    code = m_nFixedShutter;
    return 1;
}

int IBaseIT1SenseController::getMinShutterValue(int& code) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    code = m_nMinShutter;
    return 1;
}

int IBaseIT1SenseController::getMaxShutterValue(int& code) const {
    KVMutexLocker lock(m_stateLock, __FILE__, __LINE__);
    code = m_nMaxShutter;
    return 1;
}

int IBaseIT1SenseController::modifyAppointedBit(int value, int bit, int width, int newBits) {
    return binary::modifyAppointedBit(value, bit, width, newBits);
}

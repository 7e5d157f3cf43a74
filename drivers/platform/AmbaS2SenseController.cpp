// AmbaS2 ISP controller: construction, the parameter-id tables and their dispatch.
#include "drivers/platform/AmbaS2SenseController.h"

#include "platform/DeviceIoctl.h"
#include "platform/kvia_driver.h"

#include <fcntl.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

const char* const AmbaS2SenseController::kAdcDevice = "/dev/adc";

namespace {

using Self = AmbaS2SenseController;

// How a plain setting checks its value before the write.
enum class Check {
    None,    // anything is written
    Appoint, // 0..100 through IsAppointRange
    Refusal, // min..max, else the refusal text
    Silent,  // min..max, refused without a message
};

// A parameter that is one driver word: written by the setter, read by the getter.
struct Setting {
    int id;
    int code;
    const char* setter; // "setBrightness"; the getter's name has "get"
    Check check;
    int min;
    int max;
    const char* refusal;      // "...(%d) out of range"
    const char* announcement; // printed with the value before the check
};

const Setting kSettings[] = {
    {1, 1, "setBrightness", Check::Appoint, 0, 100, nullptr, nullptr},
    {2, 2, "setSaturation", Check::Appoint, 0, 100, nullptr, nullptr},
    {3, 4, "setContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {4, 3, "setSharpness", Check::Appoint, 0, 100, nullptr, nullptr},
    {5, 17, "setShutterMode", Check::Refusal, 0, 1, "p_nShutterMode(%d) out of range", nullptr},
    {6, 18, "setMaxShutter", Check::Refusal, 0, 21, "p_nMaxShutter(%d) out of range",
     "AmbaS2SenseController::setMaxShutter p_nMaxShutter = %d\n"},
    {7, 19, "setFixShutter", Check::Refusal, 0, 21, "p_nFixShutter(%d) out of range",
     "AmbaS2SenseController::setFixShutter p_nFixShutter = %d\n"},
    {8, 33, "setGainMode", Check::Refusal, 0, 1, "p_nGainMode(%d) out of range", nullptr},
    {9, 34, "setMaxGain", Check::Appoint, 0, 100, nullptr, nullptr},
    {10, 35, "setFixGain", Check::Appoint, 0, 100, nullptr, nullptr},
    {14, 65, "setIrisMode", Check::Refusal, 0, 1, "p_nIrisMode(%d) out of range", nullptr},
    {15, 66, "setIrisSpeed", Check::Appoint, 0, 100, nullptr, nullptr},
    {16, 67, "setRoomInnerOrOutMode", Check::Refusal, 0, 2, "p_nRoomIntOrOutMode(%d) out of range",
     nullptr},
    // WDR and defog refuse with the shutter mode's text: log readers know it so.
    {17, 81, "setWDRMode", Check::Refusal, 0, 1, "p_nShutterMode(%d) out of range", nullptr},
    {18, 82, "setWDRContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {19, 97, "setPhotometry", Check::Refusal, 0, 3, "p_nPhotometry(%d) out of range", nullptr},
    {22, 129, "setNR2DMode", Check::Refusal, 0, 2, "p_nNR2DMode(%d) out of range", nullptr},
    {23, 130, "setNR2DMaxContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {24, 131, "setNR2DFixContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {25, 132, "setNR3DMode", Check::Refusal, 0, 2, "p_nNR3DMode(%d) out of range", nullptr},
    {26, 133, "setNR3DMaxContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {27, 134, "setNR3DFixContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {37, 209, "setHLCMode", Check::Refusal, 0, 1, "p_nHLCMode(%d) out of range", nullptr},
    {38, 210, "setHLCContrast", Check::Appoint, 0, 100, nullptr, nullptr},
    {39, 225, "setBLCMode", Check::None, 0, 0, nullptr, nullptr},
    {54, 305, "setDeFog", Check::Refusal, 0, 1, "p_nShutterMode(%d) out of range", nullptr},
    {55, 306, "setDeFogStrength", Check::Appoint, 0, 100, nullptr, nullptr},
    {56, 322, "setAntiShake", Check::None, 0, 0, nullptr, nullptr},
};

// Parameters with members of their own (the base's day/night ids among
// them). A null getter reads `code`. ResetAll (53, set-only) is the
// dispatch's own case.
struct Operation {
    int id;
    const char* setter;
    int (Self::*set)(int);
    int (Self::*get)(int&);
    int code;
};

const Operation kOperations[] = {
    {11, "setDayNightMode", &Self::setDayNightMode, &Self::getDayNightMode, 0},
    {12, "setDTNThreshold", &Self::setDTNThreshold, nullptr, 50},
    {13, "setNTDThreshold", &Self::setNTDThreshold, nullptr, 51},
    {20, "setMirror", &Self::setMirror, nullptr, 113},
    {21, "setBeAwayMode", &Self::setBeAwayMode, nullptr, 114},
    {28, "setDTNTime_H", &Self::setDTNTime_H, &Self::getDTNTime_H, 0},
    {29, "setDTNTime_M", &Self::setDTNTime_M, &Self::getDTNTime_M, 0},
    {30, "setNTDTime_H", &Self::setNTDTime_H, &Self::getNTDTime_H, 0},
    {31, "setNTDTime_M", &Self::setNTDTime_M, &Self::getNTDTime_M, 0},
    {32, "setInfraredDTNThreshold", &Self::setInfraredDTNThreshold, &Self::getInfraredDTNThreshold,
     0},
    {33, "setInfraredNTDThreshold", &Self::setInfraredNTDThreshold, &Self::getInfraredNTDThreshold,
     0},
    {34, "setDNSwitchDelay", &Self::setDNSwitchDelay, &Self::getDNSwitchDelay, 0},
    {35, "setSmartInfraredMode", &Self::setSmartInfraredMode, &Self::getSmartInfraredMode, 0},
    {36, "setInfraredManualValue", &Self::setInfraredManualValue, &Self::getInfraredManualValue, 0},
    {40, "setZoomMoveInterval", &Self::setZoomMoveInterval, &Self::getZoomMoveInterval, 0},
    {41, "setFocusMoveInterval", &Self::setFocusMoveInterval, &Self::getFocusMoveInterval, 0},
};

// Lens moves (set-only): a fixed value to the zoom (274) or focus (277) code.
struct LensMove {
    int id;
    const char* name;
    int code;
    int value;
};

constexpr int kZoomMove = 274;
constexpr int kFocusMove = 277;

const LensMove kLensMoves[] = {
    {43, "ZoomWideSlow", kZoomMove, 2},  {44, "ZoomTeleSlow", kZoomMove, 4},
    {46, "FocusFarSlow", kFocusMove, 4}, {47, "FocusNearSlow", kFocusMove, 2},
    {48, "ZoomWideFast", kZoomMove, 1},  {49, "ZoomTeleFast", kZoomMove, 3},
    {50, "FocusFarFast", kFocusMove, 3}, {51, "FocusNearFast", kFocusMove, 1},
    {52, "runAutoFocus", kFocusMove, 6},
};

template <class Row, size_t N>
const Row* findRow(const Row (&rows)[N], int id) {
    for (const Row& row : rows)
        if (row.id == id)
            return &row;
    return nullptr;
}

// "setX" -> "getX".
std::string getterName(const char* setter) {
    std::string name = setter;
    if (name.compare(0, 3, "set") == 0)
        name[0] = 'g';
    return name;
}

constexpr int kConfiguredStatus = 2;

} // namespace

AmbaS2SenseController::AmbaS2SenseController() : ISensorController(kSensorType) {
    m_pIdManager->addParameterId(IdManager::Common, 1, 41);
    m_pIdManager->addParameterId(IdManager::SetOnly, 43, 53);
    m_pIdManager->addParameterId(IdManager::Common, 54, 56);
    m_nAdcFd = kv_dev_open(kAdcDevice, O_RDONLY);
}

// The worker thread calls this object's virtuals: it stops before the
// members it uses go.
AmbaS2SenseController::~AmbaS2SenseController() {
    if (m_DNChangeThread) {
        m_DNChangeThread->requestStop();
        m_DNChangeThread->stop();
    }
    if (m_nAdcFd >= 0)
        kv_dev_close(m_nAdcFd);
}

// ---- driver calls -------------------------------------------------------------

bool AmbaS2SenseController::CheckKVEWFIResult(int result, const char* name, int line) {
    if (result == KVIA_OK)
        return true;
    ErrorPrintf("%s  %dCheckKVEWFIResult are failed! errcode:0x%x\n", name, line,
                static_cast<unsigned>(result));
    return false;
}

bool AmbaS2SenseController::IsAppointRange(int value, const char* name, int line) {
    if (static_cast<unsigned>(value) <= 100u)
        return true;
    ErrorPrintf("%s   %d IsAppointRange(%d) out of range", name, line, value);
    return false;
}

bool AmbaS2SenseController::readCode(int code, int& value, const char* name, int line) {
    int32_t word = 0;
    if (!CheckKVEWFIResult(kvia_ioctrl(code, KVIA_DIR_READ, &word), name, line))
        return false;
    value = word;
    return true;
}

bool AmbaS2SenseController::writeCode(int code, int value, const char* name, int line) {
    int32_t word = value;
    return CheckKVEWFIResult(kvia_ioctrl(code, KVIA_DIR_WRITE, &word), name, line);
}

bool AmbaS2SenseController::writeGpio(const int triple[3]) {
    int32_t words[3] = {triple[0], triple[1], triple[2]};
    return CheckKVEWFIResult(kvia_ioctrl(178, KVIA_DIR_WRITE, words), "initController", __LINE__);
}

// ---- parameter dispatch ---------------------------------------------------------

// The base's ids (scheme windows) first; then the tables. A failed set logs
// "<setter> failed"; the parameter store keeps its value (the base stores
// only what succeeded).
int AmbaS2SenseController::setParameterToSensor(int id, int value) {
    const int base = ISensorController::setParameterToSensor(id, value);
    if (base != -1)
        return base;
    const char* name = nullptr;
    bool done = false;
    if (const Setting* s = findRow(kSettings, id)) {
        name = s->setter;
        if (s->announcement != nullptr)
            std::printf(s->announcement, value);
        bool accepted = true;
        if (s->check == Check::Appoint) {
            accepted = IsAppointRange(value, s->setter, __LINE__);
        } else if (s->check != Check::None && (value < s->min || value > s->max)) {
            accepted = false;
            if (s->check == Check::Refusal)
                ErrorPrintf(s->refusal, value);
        }
        done = accepted && writeCode(s->code, value, s->setter, __LINE__);
    } else if (const Operation* op = findRow(kOperations, id)) {
        name = op->setter;
        done = (this->*op->set)(value) != 0;
    } else if (const LensMove* move = findRow(kLensMoves, id)) {
        name = move->name;
        done = writeCode(move->code, move->value, move->name, __LINE__);
    } else if (id == 53) {
        name = "ResetAll";
        done = ResetAll() != 0;
    } else {
        return -1; // 42, 45 and beyond 56
    }
    if (!done) {
        ErrorPrintf("%s failed", name);
        return 0;
    }
    return 1;
}

// Only once the parameter files are checked does the ISP answer for them.
int AmbaS2SenseController::getParameterFromSensor(int id, int& value) {
    if (m_nConfigStatus != kConfiguredStatus)
        return 0;
    if (id >= 500 && id <= 504)
        return ISensorController::getParameterFromSensor(id, value);
    std::string name;
    bool done = false;
    if (const Setting* s = findRow(kSettings, id)) {
        name = getterName(s->setter);
        done = readCode(s->code, value, name.c_str(), __LINE__);
    } else if (const Operation* op = findRow(kOperations, id)) {
        name = getterName(op->setter);
        done = op->get != nullptr ? (this->*op->get)(value) != 0
                                  : readCode(op->code, value, name.c_str(), __LINE__);
    } else {
        return -1;
    }
    if (!done) {
        ErrorPrintf("%s failed ", name.c_str());
        return 0;
    }
    return 1;
}

int AmbaS2SenseController::getMirrorValue(int& value) {
    return readCode(113, value, "getMirror", __LINE__) ? 1 : 0;
}

// ---- settings of more than one word -----------------------------------------------

// With be-away mode on, the picture is turned: mirror and flip trade places.
int AmbaS2SenseController::setMirror(int value) {
    if (value < 0 || value > 3) {
        ErrorPrintf("p_nMirror(%d) out of range", value);
        return 0;
    }
    int away = 0;
    if (!readCode(114, away, "setMirror", __LINE__))
        return 0;
    if (away == 1 && (value == 1 || value == 2))
        value = 3 - value;
    return writeCode(113, value, "setMirror", __LINE__) ? 1 : 0;
}

// A change of mode with a mirror in force clears the mirror, switches, and
// sets it again so that the picture keeps its orientation. Should the mode
// write fail, the mirror word is put back as it was.
int AmbaS2SenseController::setBeAwayMode(int mode) {
    if (mode < 0 || mode > 1) {
        ErrorPrintf("setBeAwayMode(%d) out of range", mode);
        return 0;
    }
    int mirror = 0;
    int away = 0;
    if (!readCode(113, mirror, "setBeAwayMode", __LINE__) ||
        !readCode(114, away, "setBeAwayMode", __LINE__))
        return 0;
    const bool remirror = mirror != 0 && away != mode;
    if (remirror)
        setMirror(0);
    const bool written = writeCode(114, mode, "setBeAwayMode", __LINE__);
    if (remirror) {
        if (!written)
            writeCode(113, mirror, "setBeAwayMode", __LINE__);
        else
            setMirror(mode == 0 && (mirror == 1 || mirror == 2) ? 3 - mirror : mirror);
    }
    return written ? 1 : 0;
}

// Only 1 and 2 reach the driver; 0 is kept and reported as a failure.
int AmbaS2SenseController::setSmartInfraredMode(int mode) {
    if (mode < 0 || mode > 2)
        return 0;
    if (mode == 0) {
        std::lock_guard<std::mutex> lock(m_mutexState);
        m_nSmartInfraredMode = 0;
        return 0;
    }
    if (!writeCode(193, mode, "setSmartInfraredMode", __LINE__))
        return 0;
    std::lock_guard<std::mutex> lock(m_mutexState);
    m_nSmartInfraredMode = mode;
    return 1;
}

int AmbaS2SenseController::getSmartInfraredMode(int& mode) {
    std::lock_guard<std::mutex> lock(m_mutexState);
    mode = m_nSmartInfraredMode;
    return 1;
}

int AmbaS2SenseController::setInfraredManualValue(int value) {
    if (value < 0 || value > 100 || !writeCode(194, value, "setInfraredManualValue", __LINE__))
        return 0;
    std::lock_guard<std::mutex> lock(m_mutexState);
    m_nInfraredManualValue = value;
    return 1;
}

int AmbaS2SenseController::getInfraredManualValue(int& value) {
    std::lock_guard<std::mutex> lock(m_mutexState);
    value = m_nInfraredManualValue;
    return 1;
}

int AmbaS2SenseController::setZoomMoveInterval(int value) {
    if (value < 0 || value > 4)
        return 0;
    return writeCode(273, value, "setZoomMoveInterval", __LINE__) ? 1 : 0;
}

int AmbaS2SenseController::getZoomMoveInterval(int& value) {
    int interval = 0;
    if (!readCode(273, interval, "getZoomMoveInterval", __LINE__) || interval > 4)
        return 0;
    value = interval;
    return 1;
}

int AmbaS2SenseController::setFocusMoveInterval(int value) {
    if (!writeCode(276, value, "setFocusMoveInterval", __LINE__))
        return 0;
    std::lock_guard<std::mutex> lock(m_mutexState);
    m_nFocusMoveInterval = value;
    return 1;
}

// Reading the interval hands it to the driver again (a write), as the lens
// code has always done.
int AmbaS2SenseController::getFocusMoveInterval(int& value) {
    {
        std::lock_guard<std::mutex> lock(m_mutexState);
        value = m_nFocusMoveInterval;
    }
    return writeCode(276, value, "getFocusMoveInterval", __LINE__) ? 1 : 0;
}

int AmbaS2SenseController::ResetAll() {
    writeCode(kZoomMove, 5, "ResetAll", __LINE__);
    return writeCode(kFocusMove, 5, "ResetAll", __LINE__) ? 1 : 0;
}

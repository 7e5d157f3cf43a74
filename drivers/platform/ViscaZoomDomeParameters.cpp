// VISCA zoom dome: parameter ids 1..68 (set, get, exposure, mirror, IR cut, noise reduction).
#include "drivers/platform/ViscaZoomDomeController.h"

#include "drivers/protocols/ViscaSettings.h"
#include "platform/KovantTime.h"
#include "platform/kvia.h"

#include <iterator>

namespace {

using Ctl = ViscaZoomDomeController;

// Image-adapter words that keep the noise-reduction state across restarts.
constexpr int kKviaNRMode = 132;
constexpr int kKviaAutoNR = 133;
constexpr int kKviaManualNR = 134;

// The user's exposure and focus modes: what restoreAeMode returns to.
constexpr int kExposureModeId = 10;
constexpr int kFocusModeId = 27;

// Settings whose frames are not of the shared table's shape: the setter, and
// how its failure is logged.
struct CodedSetter {
    int id;
    int (Ctl::*set)(int);
    const char* name; // "<name> error,value is %d"
    bool bare;        // "<name> failed" without the value
};

const CodedSetter kCodedSetters[] = {
    {8, &Ctl::setMirror, "setMirror", false},
    {10, &Ctl::setExposalMode, "setExposalMode", false},
    {21, &Ctl::setInfrared, "setInfrared", false},
    {22, &Ctl::setDayNightMode, "setDayNightMode", false},
    {27, &Ctl::setFocusMode, "setFocusMode", false},
    {30, &Ctl::setFocusNearLimit, "setFocusNearLimit", false},
    {31, &Ctl::setNtoDSensitivity, "setNtoDSensitivity", false},
    {32, &Ctl::setDtoNSensitivity, "setDtoNSensitivity", false},
    {57, &Ctl::setNearLight, "setNearLight", false},
    // The middle bank's failure is logged under the getter's name; log readers expect it.
    {58, &Ctl::setMiddleLight, "getMiddleLight", false},
    {59, &Ctl::setFarLight, "setFarLight", false},
    {60, &Ctl::setDTNTime_H, "setDTNTime_H", true},
    {61, &Ctl::setDTNTime_M, "setDTNTime_M", true},
    {62, &Ctl::setNTDTime_H, "setNTDTime_H", true},
    {63, &Ctl::setNTDTime_M, "setNTDTime_M", true},
    {64, &Ctl::setPowerMode, "setPowerMode", false},
    {65, &Ctl::setAutoNoiseReduction, "setAutoNoiseReduction", false},
    {66, &Ctl::setManualNoiseReduction, "setManualNoiseReduction", false},
    {67, &Ctl::setNoiseReductionMode, "setNoiseReductionMode", false},
};

const CodedSetter* findCodedSetter(int id) {
    for (const CodedSetter& s : kCodedSetters)
        if (s.id == id)
            return &s;
    return nullptr;
}

// What the module reports for settings it is never asked about: these values
// are what the factory file records for them.
struct FixedValue {
    int id;
    int value;
};
const FixedValue kFixedValues[] = {
    {1, 80},  {2, 27}, {3, 54},  {4, 1},  {7, 0},  {12, 10}, {13, 11}, {16, 3},  {19, 38},
    {20, 34}, {22, 1}, {25, 65}, {27, 2}, {29, 2}, {31, 5},  {32, 15}, {68, 75},
};

// The module's power-on values of the remaining settings, reported until a
// value has been applied: NR level 2, NR mode off, full-auto exposure,
// shutter 1/60 (index 10), gain 0, maximum gain 15, backlight off, auto white
// balance, IR cut automatic, WDR off, highlight hold off, digital zoom off,
// focus near limit 0, noise reduction automatic at level 1 of 0..100 = 50.
const FixedValue kModuleDefaults[] = {
    {5, 2},  {6, 0},  {10, 0}, {11, 10}, {14, 0}, {15, 15}, {17, 3},  {18, 0}, {21, 0},
    {23, 3}, {24, 0}, {26, 3}, {28, 0},  {30, 0}, {65, 1},  {66, 50}, {67, 1},
};

bool lookup(const FixedValue* begin, const FixedValue* end, int id, int& value) {
    for (const FixedValue* v = begin; v != end; ++v) {
        if (v->id == id) {
            value = v->value;
            return true;
        }
    }
    return false;
}

// Ids the dome controllers know: 1..32 and 57..68.
bool isOwnId(int id) {
    return (id >= 1 && id <= 32) || (id >= 57 && id <= 68);
}

// Module noise-reduction level for a manual value 0..100.
int manualNRLevel(int value) {
    if (value <= 0 || value > 100)
        return 0;
    return 2 + (value - 1) / 25;
}

// Sends one row of the shared setting table. With checkCondition, a setting
// that needs another exposure or white-balance mode (read from the parameter
// store) succeeds without being sent.
int applySetting(Ctl& ctl, const ViscaSetting& setting, int value, bool checkCondition) {
    if (!setting.accepts(value)) {
        char text[80];
        setting.refusal(value, text, sizeof text);
        ctl.ErrorPrintf("%s", text);
        return 0;
    }
    if (checkCondition && setting.conditionId != 0) {
        int mode = -1;
        if (ctl.getParameter(setting.conditionId, mode) == 0)
            mode = -1;
        if (!setting.conditionHolds(mode))
            return 1;
    }
    char frame[16];
    const int length = buildViscaSettingFrame(setting, value, ctl.rounding(), frame);
    return ctl.setParameterValue(frame, length);
}

} // namespace

// ---- dispatch -------------------------------------------------------------

int ViscaZoomDomeController::setParameterToSensor(int id, int value) {
    if (m_SensorStatus != InitSuccess) {
        ErrorPrintf("m_SensorStatus != ISensorController::InitSuccess!");
        return 0;
    }
    const int base = ISensorController::setParameterToSensor(id, value);
    if (base != -1)
        return base;

    int result = -1;
    if (const ViscaSetting* setting = findViscaSetting(id)) {
        if (id == 11 && setting->accepts(value))
            m_nUserShutVal = value;
        else if (id == 12 && setting->accepts(value))
            m_nUserIrisVal = value;
        else if (id == 14 && setting->accepts(value))
            m_nUserGainVal = value;
        result = applySetting(*this, *setting, value, true);
        if (result == 0)
            ErrorPrintf(setting->saysFailed ? "%s failed,value is %d" : "%s error,value is %d",
                        setting->name, value);
    } else if (const CodedSetter* coded = findCodedSetter(id)) {
        result = (this->*coded->set)(value);
        if (result == 0) {
            if (coded->bare)
                ErrorPrintf("%s failed", coded->name);
            else
                ErrorPrintf("%s error,value is %d", coded->name, value);
        } else if (id == kExposureModeId) {
            m_nStoredExposalMode = value;
        } else if (id == kFocusModeId) {
            m_nStoredFocusMode = value;
        }
    } else if (id == 28) {
        result = OnePushTrigger(); // the value only triggers
        if (result == 0)
            ErrorPrintf("OnePushTrigger error,value is %d", value);
    } else {
        return -1;
    }
    if (result == 0)
        return 0;
    KovantTime::wait(KovantTime(0, 30000));
    return 1;
}

int ViscaZoomDomeController::getParameterFromSensor(int id, int& value) {
    if (m_SensorStatus != InitSuccess) {
        ErrorPrintf("m_SensorStatus != ISensorController::InitSuccess!");
        return 0;
    }
    if (id >= 500 && id <= 504)
        return ISensorController::getParameterFromSensor(id, value);
    if (!isOwnId(id))
        return -1;
    if (lookup(std::begin(kFixedValues), std::end(kFixedValues), id, value))
        return 1;
    switch (id) {
    case 8:
        return getMirrorValue(value);
    case 9:
        return getStillImageValue(value);
    case 57:
        return getNearLight(value);
    case 58:
        return getMiddleLight(value);
    case 59:
        return getFarLight(value);
    case 60:
        return getDTNTime_H(value);
    case 61:
        return getDTNTime_M(value);
    case 62:
        return getNTDTime_H(value);
    case 63:
        return getNTDTime_M(value);
    case 64:
        return getPowerMode(value);
    default:
        break;
    }
    if (m_pLastSensorCache->getSensorValue(id, value) != 0)
        return 1;
    return lookup(std::begin(kModuleDefaults), std::end(kModuleDefaults), id, value) ? 1 : 0;
}

int ViscaZoomDomeController::getMirrorValue(int& value) {
    if (getParameter(8, value) == 0)
        value = 0;
    return 1;
}

int ViscaZoomDomeController::getStillImageValue(int& value) {
    if (getParameter(9, value) == 0)
        value = 3; // freeze off
    return 1;
}

// ---- exposure and focus modes --------------------------------------------

int ViscaZoomDomeController::setExposalMode(int value) {
    // Module codes: full auto, manual, shutter priority, iris priority, bright.
    static const int kModes[] = {0x00, 0x03, 0x0A, 0x0B, 0x0D};
    m_nExposalMode = value;
    if (value < 0 || value > 4) {
        ErrorPrintf("setExposalMode(%d) is out of range", value);
        return 0;
    }
    if (sendCommand({0x04, 0x39, kModes[value]}) == 0)
        return 0;
    // The manual values the user chose apply again in the modes that use them.
    int result = 1;
    if (value == 1 && applySetting(*this, *findViscaSetting(14), m_nUserGainVal, false) == 0) {
        ErrorPrintf("setGain(m_nUserGainVal) error\n");
        result = 0;
    }
    if ((value == 1 || value == 2) &&
        applySetting(*this, *findViscaSetting(11), m_nUserShutVal, false) == 0) {
        ErrorPrintf("setShutter(m_nUserShutVal) error\n");
        result = 0;
    }
    if ((value == 1 || value == 3) &&
        applySetting(*this, *findViscaSetting(12), m_nUserIrisVal, false) == 0) {
        ErrorPrintf("setIris(m_nUserIrisVal) error\n");
        result = 0;
    }
    return result;
}

int ViscaZoomDomeController::restoreAeMode() {
    if (m_nStoredExposalMode != m_nExposalMode && setExposalMode(m_nStoredExposalMode) == 0) {
        ErrorPrintf("restoreAeMode call setExposalMode error,value is %d", m_nStoredExposalMode);
        return 0;
    }
    if (m_nStoredFocusMode != m_nFocusMode && setFocusMode(m_nStoredFocusMode) == 0) {
        // Prints the exposure mode, as it always has.
        ErrorPrintf("restoreAeMode call setFocusMode error,value is %d", m_nStoredExposalMode);
        return 0;
    }
    return 1;
}

// ---- picture ----------------------------------------------------------------

int ViscaZoomDomeController::setMirror(int value) {
    // (left-right, flip) per mirror value; generation 4 modules count the other way round.
    static const int kGeneration4[4][2] = {{2, 2}, {3, 2}, {2, 3}, {3, 3}};
    static const int kOther[4][2] = {{3, 3}, {2, 3}, {3, 2}, {2, 2}};
    if (value < 0 || value > 3) {
        ErrorPrintf("setMirror(%d) is out of range", value);
        return 0;
    }
    const int* pair = m_nGeneration == 4 ? kGeneration4[value] : kOther[value];
    if (sendCommand({0x04, 0x61, pair[0]}) == 0)
        return 0;
    return sendCommand({0x04, 0x66, pair[1]});
}

int ViscaZoomDomeController::setInfrared(int value) {
    // IR-cut mode and day/night byte; 1 and 2 send FF as data on purpose.
    static const int kFrames[4][2] = {{0x02, 0x03}, {0xFF, 0xFF}, {0xFF, 0xFF}, {0x03, 0x03}};
    if (value < 0 || value > 3) {
        ErrorPrintf("setInfrared(%d) out of range", value);
        return 0;
    }
    if (sendCommand({0x04, 0x51, kFrames[value][0]}) == 0)
        return 0;
    return sendCommand({0x04, 0x01, kFrames[value][1]});
}

int ViscaZoomDomeController::setNtoDSensitivity(int value) {
    if (value < 5 || value > 116) {
        ErrorPrintf("setNtoDSensitivity(%d) is out of range", value);
        return 0;
    }
    if (m_nDtoNSensitivity - value < 10) {
        ErrorPrintf("m_nDtoNSensitivity(%d) - p_nNtoDSensitivity(%d) < 10", m_nDtoNSensitivity,
                    value);
        return 0;
    }
    if (sendCommand({0x04, 0x21, 0x00, 0x00, (value >> 4) & 0x0F, value & 0x0F}) == 0)
        return 0;
    m_nNtoDSensitivity = value;
    return 1;
}

int ViscaZoomDomeController::setDtoNSensitivity(int value) {
    if (value < 15 || value > 126) {
        ErrorPrintf("setDtoNSensitivity(%d) is out of range", value);
        return 0;
    }
    if (value - m_nNtoDSensitivity < 10) {
        ErrorPrintf("p_nDtoNSensitivity(%d) - m_nNtoDSensitivity(%d) < 10", value,
                    m_nNtoDSensitivity);
        return 0;
    }
    if (sendCommand({0x04, 0x21, 0x01, 0x00, (value >> 4) & 0x0F, value & 0x0F}) == 0)
        return 0;
    m_nDtoNSensitivity = value;
    return 1;
}

int ViscaZoomDomeController::setFocusNearLimit(int value) {
    if (value < 0 || value > 5) {
        ErrorPrintf("setFocusNearLimit(%d) is out of range", value);
        return 0;
    }
    // The nearest limit is not a position: it is the module's infinity preset.
    if (value == 5)
        return sendCommand({0x04, 0x18, 0x02});
    return sendCommand({0x04, 0x28, value, 0x00, 0x00, 0x00});
}

// ---- noise reduction ------------------------------------------------------
// The module holds only the level; the mode and the automatic and manual
// values are kept in the image adapter so they survive the module's restarts.

int ViscaZoomDomeController::setAutoNoiseReduction(int value) {
    if (sendCommand({0x04, 0x53, value != 0 ? 1 : 0}) == 0)
        return 0;
    int stored = value;
    const int rc = kvia_ioctrl(kKviaAutoNR, KVIA_DIR_WRITE, &stored);
    if (rc != KVIA_OK) {
        ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", kKviaAutoNR, rc);
        return 0;
    }
    return 1;
}

int ViscaZoomDomeController::setManualNoiseReduction(int value) {
    if (value < 0) {
        ErrorPrintf("setManualNoiseReduction(%d) is out of range", value);
        return 0;
    }
    int mode = 0;
    if (kvia_ioctrl(kKviaNRMode, KVIA_DIR_READ, &mode) == KVIA_OK && mode == 1)
        return 1; // automatic mode: the manual value waits
    if (sendCommand({0x04, 0x53, manualNRLevel(value)}) == 0)
        return 0;
    int stored = value;
    const int rc = kvia_ioctrl(kKviaManualNR, KVIA_DIR_WRITE, &stored);
    if (rc != KVIA_OK) {
        ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", kKviaManualNR, rc);
        return 0;
    }
    return 1;
}

int ViscaZoomDomeController::setNoiseReductionMode(int mode) {
    // 1 automatic, 2 manual; any other value is sent as the module's level
    // byte, unless that byte would be the terminator FF.
    if (mode != 1 && mode != 2 && (mode & 0xFF) == 0xFF) {
        ErrorPrintf("setNoiseReductionMode(%d) is out of range", mode);
        return 0;
    }
    int stored = mode;
    int rc = kvia_ioctrl(kKviaNRMode, KVIA_DIR_WRITE, &stored);
    if (rc != KVIA_OK) {
        ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", kKviaNRMode, rc);
        return 0;
    }
    if (mode == 1 || mode == 2) {
        const int code = mode == 1 ? kKviaAutoNR : kKviaManualNR;
        int value = 0;
        rc = kvia_ioctrl(code, KVIA_DIR_READ, &value);
        if (rc != KVIA_OK) {
            ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", code, rc);
            return 0;
        }
        return mode == 1 ? setAutoNoiseReduction(value) : setManualNoiseReduction(value);
    }
    return sendCommand({0x04, 0x53, mode});
}

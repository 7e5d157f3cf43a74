// VISCA block camera: parameter ids, exposure, mirror, IR cut, focus, noise reduction.
#include "drivers/protocols/ViscaCameraSettings.h"

#include "controller/ISensorController.h"
#include "drivers/protocols/ModuleDispatch.h"
#include "platform/KovantTime.h"
#include "platform/kvia.h"

#include <iterator>
#include <vector>

namespace {

using Self = ViscaCameraSettings;

// Image-adapter words that keep the noise-reduction state across restarts.
constexpr int kKviaNRMode = 132;
constexpr int kKviaAutoNR = 133;
constexpr int kKviaManualNR = 134;

// The user's exposure and focus modes: what restoreAeMode returns to.
constexpr int kExposureModeId = 10;
constexpr int kFocusModeId = 27;

// Settings whose frames are not of the shared table's shape: the setter (the
// component's own or the owning controller's), and how its failure is logged.
struct CodedSetter {
    int id;
    int (Self::*own)(int);
    int (ISensorController::*owner)(int);
    const char* name; // "<name> error,value is %d"
    bool bare;        // "<name> failed" without the value
};

const CodedSetter kCodedSetters[] = {
    {8, &Self::setMirror, nullptr, "setMirror", false},
    {10, &Self::setExposalMode, nullptr, "setExposalMode", false},
    {21, &Self::setInfrared, nullptr, "setInfrared", false},
    {22, nullptr, &ISensorController::setDayNightMode, "setDayNightMode", false},
    {27, nullptr, &ISensorController::setFocusMode, "setFocusMode", false},
    {30, &Self::setFocusNearLimit, nullptr, "setFocusNearLimit", false},
    {31, &Self::setNtoDSensitivity, nullptr, "setNtoDSensitivity", false},
    {32, &Self::setDtoNSensitivity, nullptr, "setDtoNSensitivity", false},
    {57, nullptr, &ISensorController::setNearLight, "setNearLight", false},
    // The middle bank's failure is logged under the getter's name; log readers expect it.
    {58, nullptr, &ISensorController::setMiddleLight, "getMiddleLight", false},
    {59, nullptr, &ISensorController::setFarLight, "setFarLight", false},
    {60, nullptr, &ISensorController::setDTNTime_H, "setDTNTime_H", true},
    {61, nullptr, &ISensorController::setDTNTime_M, "setDTNTime_M", true},
    {62, nullptr, &ISensorController::setNTDTime_H, "setNTDTime_H", true},
    {63, nullptr, &ISensorController::setNTDTime_M, "setNTDTime_M", true},
    {64, nullptr, &ISensorController::setPowerMode, "setPowerMode", false},
    {65, &Self::setAutoNoiseReduction, nullptr, "setAutoNoiseReduction", false},
    {66, &Self::setManualNoiseReduction, nullptr, "setManualNoiseReduction", false},
    {67, &Self::setNoiseReductionMode, nullptr, "setNoiseReductionMode", false},
};

const CodedSetter* findCodedSetter(int id) {
    for (const CodedSetter& s : kCodedSetters)
        if (s.id == id)
            return &s;
    return nullptr;
}

// Getters answered by the owning controller.
struct OwnerGetter {
    int id;
    int (ISensorController::*get)(int&);
};

const OwnerGetter kOwnerGetters[] = {
    {8, &ISensorController::getMirrorValue}, {9, &ISensorController::getStillImageValue},
    {57, &ISensorController::getNearLight},  {58, &ISensorController::getMiddleLight},
    {59, &ISensorController::getFarLight},   {60, &ISensorController::getDTNTime_H},
    {61, &ISensorController::getDTNTime_M},  {62, &ISensorController::getNTDTime_H},
    {63, &ISensorController::getNTDTime_M},  {64, &ISensorController::getPowerMode},
};

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

// Module noise-reduction level for a manual value 0..100.
int manualNRLevel(int value) {
    if (value <= 0 || value > 100)
        return 0;
    return 2 + (value - 1) / 25;
}

} // namespace

ViscaCameraSettings::ViscaCameraSettings(ISensorController& owner, SensorCache& lastApplied,
                                         const Options& options)
    : m_owner(owner), m_lastApplied(lastApplied), m_options(options) {}

bool ViscaCameraSettings::isOwnId(int id) const {
    return (id >= 1 && id <= 32) || (id >= 57 && id <= m_options.lastId);
}

int ViscaCameraSettings::applySetting(const ViscaSetting& setting, int value, bool checkCondition) {
    if (!setting.accepts(value)) {
        char text[80];
        setting.refusal(value, text, sizeof text);
        m_owner.ErrorPrintf("%s", text);
        return 0;
    }
    if (checkCondition && setting.conditionId != 0) {
        int mode = -1;
        if (m_owner.getParameter(setting.conditionId, mode) == 0)
            mode = -1;
        if (!setting.conditionHolds(mode))
            return 1;
    }
    char frame[16];
    const int length = buildViscaSettingFrame(setting, value, m_options.rounding, frame);
    return m_owner.setParameterValue(frame, length);
}

int ViscaCameraSettings::command(std::initializer_list<int> bytes) {
    std::vector<char> frame = {'\x81', '\x01'};
    for (int value : bytes)
        frame.push_back(static_cast<char>(value & 0xFF));
    frame.push_back('\xFF');
    return m_owner.setParameterValue(frame.data(), static_cast<int>(frame.size()));
}

// ---- dispatch -------------------------------------------------------------

// Only an initialised controller talks to its module. The base's ids
// (scheme windows) come first.
int ViscaCameraSettings::setParameterToSensor(int id, int value) {
    const int base = dispatchSetToBase(m_owner, id, value);
    if (base != -1)
        return base;
    if (!isOwnId(id))
        return -1;
    int result = -1;
    if (const ViscaSetting* setting = findViscaSetting(id)) {
        if (id == 11 && setting->accepts(value))
            m_nUserShutVal = value;
        else if (id == 12 && setting->accepts(value))
            m_nUserIrisVal = value;
        else if (id == 14 && setting->accepts(value))
            m_nUserGainVal = value;
        result = applySetting(*setting, value, true);
        if (result == 0)
            m_owner.ErrorPrintf(setting->saysFailed ? "%s failed,value is %d"
                                                    : "%s error,value is %d",
                                setting->name, value);
    } else if (const CodedSetter* coded = findCodedSetter(id)) {
        result =
            coded->own != nullptr ? (this->*coded->own)(value) : (m_owner.*coded->owner)(value);
        if (result == 0) {
            if (coded->bare)
                m_owner.ErrorPrintf("%s failed", coded->name);
            else
                m_owner.ErrorPrintf("%s error,value is %d", coded->name, value);
        } else if (id == kExposureModeId) {
            m_nStoredExposalMode = value;
        } else if (id == kFocusModeId) {
            m_nStoredFocusMode = value;
        }
    } else if (id == 28) {
        result = OnePushTrigger(); // the value only triggers
        if (result == 0)
            m_owner.ErrorPrintf("OnePushTrigger error,value is %d", value);
    } else {
        return -1;
    }
    if (result == 0)
        return 0;
    KovantTime::wait(KovantTime(0, 30000));
    return 1;
}

int ViscaCameraSettings::getParameterFromSensor(int id, int& value) {
    const int base = dispatchGetToBase(m_owner, id, value);
    if (base != -1)
        return base;
    if (!isOwnId(id))
        return -1;
    if (lookup(std::begin(kFixedValues), std::end(kFixedValues), id, value))
        return 1;
    for (const OwnerGetter& getter : kOwnerGetters)
        if (getter.id == id)
            return (m_owner.*getter.get)(value);
    if (m_lastApplied.getSensorValue(id, value) != 0)
        return 1;
    return lookup(std::begin(kModuleDefaults), std::end(kModuleDefaults), id, value) ? 1 : 0;
}

int ViscaCameraSettings::getMirrorValue(int& value) {
    if (m_owner.getParameter(8, value) == 0)
        value = 0;
    return 1;
}

int ViscaCameraSettings::getStillImageValue(int& value) {
    if (m_owner.getParameter(9, value) == 0)
        value = 3; // freeze off
    return 1;
}

// ---- exposure and focus modes --------------------------------------------

int ViscaCameraSettings::setExposalMode(int value) {
    // Module codes: full auto, manual, shutter priority, iris priority, bright.
    static const int kModes[] = {0x00, 0x03, 0x0A, 0x0B, 0x0D};
    m_nExposalMode = value;
    if (value < 0 || value > 4) {
        m_owner.ErrorPrintf("setExposalMode(%d) is out of range", value);
        return 0;
    }
    if (command({0x04, 0x39, kModes[value]}) == 0)
        return 0;
    // The manual values the user chose apply again in the modes that use them.
    int result = 1;
    if (value == 1 && applySetting(*findViscaSetting(14), m_nUserGainVal, false) == 0) {
        m_owner.ErrorPrintf("setGain(m_nUserGainVal) error\n");
        result = 0;
    }
    if ((value == 1 || value == 2) &&
        applySetting(*findViscaSetting(11), m_nUserShutVal, false) == 0) {
        m_owner.ErrorPrintf("setShutter(m_nUserShutVal) error\n");
        result = 0;
    }
    if ((value == 1 || value == 3) &&
        applySetting(*findViscaSetting(12), m_nUserIrisVal, false) == 0) {
        m_owner.ErrorPrintf("setIris(m_nUserIrisVal) error\n");
        result = 0;
    }
    return result;
}

int ViscaCameraSettings::restoreAeMode() {
    if (m_nStoredExposalMode != m_nExposalMode && setExposalMode(m_nStoredExposalMode) == 0) {
        m_owner.ErrorPrintf("restoreAeMode call setExposalMode error,value is %d",
                            m_nStoredExposalMode);
        return 0;
    }
    if (m_nStoredFocusMode != m_nFocusMode && m_owner.setFocusMode(m_nStoredFocusMode) == 0) {
        // Prints the exposure mode, as it always has.
        m_owner.ErrorPrintf("restoreAeMode call setFocusMode error,value is %d",
                            m_nStoredExposalMode);
        return 0;
    }
    return 1;
}

// 1 auto focus, 2 auto focus with interval, 3 manual. The mode is recorded
// before the module is told, so restoreAeMode sees what was asked for.
int ViscaCameraSettings::setFocusMode(int mode) {
    if (mode < 1 || mode > 3) {
        m_owner.ErrorPrintf("setFocusMode(%d) is out of range", mode);
        return 0;
    }
    m_nFocusMode = mode;
    if (mode == 3)
        return command({0x04, 0x38, 0x03});
    if (command({0x04, 0x38, 0x02}) == 0)
        return 0;
    return command({0x04, 0x57, mode == 1 ? 0x02 : 0x00});
}

int ViscaCameraSettings::OnePushTrigger() {
    return command({0x04, 0x18, 0x01});
}

int ViscaCameraSettings::setFocusNearLimit(int value) {
    if (value < 0 || value > 5) {
        m_owner.ErrorPrintf("setFocusNearLimit(%d) is out of range", value);
        return 0;
    }
    // The nearest limit is not a position: it is the module's infinity
    // preset, on the modules that have one.
    if (value == 5)
        return m_options.nearLimitPreset ? command({0x04, 0x18, 0x02}) : 1;
    return command({0x04, 0x28, value, 0x00, 0x00, 0x00});
}

// ---- picture ----------------------------------------------------------------

int ViscaCameraSettings::setMirror(int value) {
    // (left-right, flip) per mirror value; generation 4 modules count the other way round.
    static const int kGeneration4[4][2] = {{2, 2}, {3, 2}, {2, 3}, {3, 3}};
    static const int kOther[4][2] = {{3, 3}, {2, 3}, {3, 2}, {2, 2}};
    if (value < 0 || value > 3) {
        m_owner.ErrorPrintf("setMirror(%d) is out of range", value);
        return 0;
    }
    const int* pair = m_nGeneration == 4 ? kGeneration4[value] : kOther[value];
    if (command({0x04, 0x61, pair[0]}) == 0)
        return 0;
    return command({0x04, 0x66, pair[1]});
}

int ViscaCameraSettings::setInfrared(int value) {
    // IR-cut mode and day/night byte; 1 and 2 send FF as data on purpose.
    static const int kFrames[4][2] = {{0x02, 0x03}, {0xFF, 0xFF}, {0xFF, 0xFF}, {0x03, 0x03}};
    if (value < 0 || value > 3) {
        m_owner.ErrorPrintf("setInfrared(%d) out of range", value);
        return 0;
    }
    if (command({0x04, 0x51, kFrames[value][0]}) == 0)
        return 0;
    return command({0x04, 0x01, kFrames[value][1]});
}

int ViscaCameraSettings::setNtoDSensitivity(int value) {
    if (value < 5 || value > 116) {
        m_owner.ErrorPrintf("setNtoDSensitivity(%d) is out of range", value);
        return 0;
    }
    if (m_nDtoNSensitivity - value < 10) {
        m_owner.ErrorPrintf("m_nDtoNSensitivity(%d) - p_nNtoDSensitivity(%d) < 10",
                            m_nDtoNSensitivity, value);
        return 0;
    }
    if (command({0x04, 0x21, 0x00, 0x00, (value >> 4) & 0x0F, value & 0x0F}) == 0)
        return 0;
    m_nNtoDSensitivity = value;
    return 1;
}

int ViscaCameraSettings::setDtoNSensitivity(int value) {
    if (value < 15 || value > 126) {
        m_owner.ErrorPrintf("setDtoNSensitivity(%d) is out of range", value);
        return 0;
    }
    if (value - m_nNtoDSensitivity < 10) {
        m_owner.ErrorPrintf("p_nDtoNSensitivity(%d) - m_nNtoDSensitivity(%d) < 10", value,
                            m_nNtoDSensitivity);
        return 0;
    }
    if (command({0x04, 0x21, 0x01, 0x00, (value >> 4) & 0x0F, value & 0x0F}) == 0)
        return 0;
    m_nDtoNSensitivity = value;
    return 1;
}

// ---- noise reduction ------------------------------------------------------
// The module holds only the level; the mode and the automatic and manual
// values are kept in the image adapter so they survive the module's restarts.

int ViscaCameraSettings::setAutoNoiseReduction(int value) {
    if (command({0x04, 0x53, value != 0 ? 1 : 0}) == 0)
        return 0;
    int stored = value;
    const int rc = kvia_ioctrl(kKviaAutoNR, KVIA_DIR_WRITE, &stored);
    if (rc != KVIA_OK) {
        m_owner.ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", kKviaAutoNR, rc);
        return 0;
    }
    return 1;
}

int ViscaCameraSettings::setManualNoiseReduction(int value) {
    if (value < 0) {
        m_owner.ErrorPrintf("setManualNoiseReduction(%d) is out of range", value);
        return 0;
    }
    int mode = 0;
    if (kvia_ioctrl(kKviaNRMode, KVIA_DIR_READ, &mode) == KVIA_OK && mode == 1)
        return 1; // automatic mode: the manual value waits
    if (command({0x04, 0x53, manualNRLevel(value)}) == 0)
        return 0;
    int stored = value;
    const int rc = kvia_ioctrl(kKviaManualNR, KVIA_DIR_WRITE, &stored);
    if (rc != KVIA_OK) {
        m_owner.ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", kKviaManualNR, rc);
        return 0;
    }
    return 1;
}

int ViscaCameraSettings::setNoiseReductionMode(int mode) {
    // 1 automatic, 2 manual; any other value is sent as the module's level
    // byte, unless that byte would be the terminator FF.
    if (mode != 1 && mode != 2 && (mode & 0xFF) == 0xFF) {
        m_owner.ErrorPrintf("setNoiseReductionMode(%d) is out of range", mode);
        return 0;
    }
    int stored = mode;
    int rc = kvia_ioctrl(kKviaNRMode, KVIA_DIR_WRITE, &stored);
    if (rc != KVIA_OK) {
        m_owner.ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", kKviaNRMode, rc);
        return 0;
    }
    if (mode == 1 || mode == 2) {
        const int code = mode == 1 ? kKviaAutoNR : kKviaManualNR;
        int value = 0;
        rc = kvia_ioctrl(code, KVIA_DIR_READ, &value);
        if (rc != KVIA_OK) {
            m_owner.ErrorPrintf("kvia_ioctrl(%d) failed(0x%x)", code, rc);
            return 0;
        }
        return mode == 1 ? setAutoNoiseReduction(value) : setManualNoiseReduction(value);
    }
    return command({0x04, 0x53, mode});
}

// Names, ranges and categories of the parameter ids of a module, for the command line.
#include "tools/ParameterNames.h"

#include "drivers/modules/CMD7200SenseController.h"
#include "drivers/modules/HitachCompatSenseController.h"
#include "drivers/modules/HitachSenseController.h"
#include "drivers/modules/SC110N_CSenseController.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "drivers/platform/CMD7400SenseController.h"
#include "drivers/platform/CMD8300SenseController.h"
#include "drivers/protocols/ViscaSettings.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <set>

namespace {

struct Row {
    int id;
    const char* name;
    int min; // used when the shared setting table has no row for the id
    int max;
    const char* category;
    const char* note;
};

// The VISCA modules: ids 1..32 and 57..68 (FBS8300: 28 set-only; CMD7400:
// without 13 and 28; CMD8300: up to 66, day/night in the base's modes).
const Row kViscaRows[] = {
    {1, "saturation", 0, 100, "common", ""},
    {2, "contrast", 0, 100, "common", ""},
    {3, "sharpness", 0, 100, "common", ""},
    {4, "gamma", 0, 5, "common", ""},
    {5, "noise_reduction", 0, 5, "common", ""},
    {6, "nr_mode", 0, 1, "common", ""},
    {7, "defog", 0, 100, "common", ""},
    {8, "mirror", 0, 3, "common", "0 off, 1 mirror, 2 flip, 3 both"},
    {9, "still_image", 2, 3, "common", "2 freeze, 3 live"},
    {10, "exposure_mode", 0, 4, "common", "0 auto, 1 manual, 2 shutter, 3 iris, 4 bright"},
    {11, "shutter", 0, 21, "common", "exposure manual or shutter priority"},
    {12, "iris", 0, 13, "common", "exposure manual or iris priority"},
    {13, "bright", 0, 31, "common", "0 or 5..31, exposure manual or bright"},
    {14, "gain", 0, 15, "common", "exposure manual"},
    {15, "max_gain", 4, 15, "common", ""},
    {16, "slow_shutter", 2, 3, "common", "2 on, 3 off"},
    {17, "backlight", 2, 3, "common", "2 on, 3 off"},
    {18, "white_balance", 0, 9, "common", "0..5, 8, 9"},
    {19, "red_gain", 0, 255, "common", "white balance manual"},
    {20, "blue_gain", 0, 255, "common", "white balance manual"},
    {21, "ir_cut", 0, 3, "common", ""},
    {22, "daynight_mode", 1, 5, "common", "1 auto, 3 day, 4 night, 5 time"},
    {23, "wdr", 2, 3, "common", "2 on, 3 off"},
    {24, "highlight_hold", 0, 1, "common", ""},
    {25, "brightness", 0, 100, "common", ""},
    {26, "digital_zoom", 2, 3, "common", "2 on, 3 off"},
    {27, "focus_mode", 1, 3, "common", ""},
    {28, "one_push_focus", 0, INT_MAX, "set-only", "any value triggers"},
    {29, "af_sensitivity", 1, 3, "common", ""},
    {30, "focus_near_limit", 0, 5, "common", ""},
    {31, "ntod_sensitivity", 5, 116, "common", "at least 10 below dton_sensitivity"},
    {32, "dton_sensitivity", 15, 126, "common", ""},
    {57, "near_light", 0, 100, "common", "percent"},
    {58, "middle_light", 0, 100, "common", "percent"},
    {59, "far_light", 0, 100, "common", "percent"},
    {60, "to_night_hour", 0, 23, "common", "day/night by time"},
    {61, "to_night_minute", 0, 59, "common", "day/night by time"},
    {62, "to_day_hour", 0, 23, "common", "day/night by time"},
    {63, "to_day_minute", 0, 59, "common", "day/night by time"},
    {64, "ir_power_mode", 0, 1, "common", ""},
    {65, "auto_noise_reduction", 0, 1, "common", ""},
    {66, "manual_noise_reduction", 0, 100, "common", ""},
    {67, "noise_reduction_mode", 0, 5, "common", ""},
    {68, "chroma_suppress", 0, 100, "common", ""},
};

// The day/night mode of a module that keeps the base's numbering.
const Row kBaseDayNightRow = {22, "daynight_mode", 0,
                              3,  "common",        "0 auto, 1 day, 2 night, 3 time"};

// The on-chip ISP (module 80): each id one ISP word, with the base's
// day/night ids (11, 28..31, 34) among them; 43..53 move the lens (set-only).
// Ids 12/13 are the light-measure thresholds without the IR lamp, 32/33 the
// light sensor's with it. "not checked": the driver writes any value.
const Row kIspRows[] = {
    {1, "brightness", 0, 100, "common", ""},
    {2, "saturation", 0, 100, "common", ""},
    {3, "contrast", 0, 100, "common", ""},
    {4, "sharpness", 0, 100, "common", ""},
    {5, "shutter_mode", 0, 1, "common", ""},
    {6, "max_shutter", 0, 21, "common", ""},
    {7, "fixed_shutter", 0, 21, "common", ""},
    {8, "gain_mode", 0, 1, "common", ""},
    {9, "max_gain", 0, 100, "common", ""},
    {10, "fixed_gain", 0, 100, "common", ""},
    {11, "daynight_mode", 0, 4, "common", "0 auto, 1 day, 2 night, 3 time, 4 module"},
    {12, "dtn_threshold", 0, 100, "common", "night from this light measure; above ntd"},
    {13, "ntd_threshold", 0, 100, "common", "day from this light measure; below dtn"},
    {14, "iris_mode", 0, 1, "common", ""},
    {15, "iris_speed", 0, 100, "common", ""},
    {16, "indoor_outdoor", 0, 2, "common", ""},
    {17, "wdr_mode", 0, 1, "common", ""},
    {18, "wdr_strength", 0, 100, "common", ""},
    {19, "metering", 0, 3, "common", ""},
    {20, "mirror", 0, 3, "common", ""},
    {21, "be_away_mode", 0, 1, "common", ""},
    {22, "nr2d_mode", 0, 2, "common", ""},
    {23, "nr2d_max_strength", 0, 100, "common", ""},
    {24, "nr2d_fixed_strength", 0, 100, "common", ""},
    {25, "nr3d_mode", 0, 2, "common", ""},
    {26, "nr3d_max_strength", 0, 100, "common", ""},
    {27, "nr3d_fixed_strength", 0, 100, "common", ""},
    {28, "to_night_hour", 0, 23, "common", "day/night by time"},
    {29, "to_night_minute", 0, 59, "common", "day/night by time"},
    {30, "to_day_hour", 0, 23, "common", "day/night by time"},
    {31, "to_day_minute", 0, 59, "common", "day/night by time"},
    {32, "infrared_dtn_threshold", 0, 100, "common", "with the IR lamp; above infrared ntd"},
    {33, "infrared_ntd_threshold", 0, 100, "common", "with the IR lamp; below infrared dtn"},
    {34, "dn_switch_delay", 0, INT_MAX, "common", "seconds before day; reads back 5"},
    {35, "smart_infrared_mode", 0, 2, "common", "1, 2 (0 is refused)"},
    {36, "infrared_manual_value", 0, 100, "common", ""},
    {37, "hlc_mode", 0, 1, "common", ""},
    {38, "hlc_strength", 0, 100, "common", ""},
    {39, "blc_mode", 0, INT_MAX, "common", "not checked"},
    {40, "zoom_move_interval", 0, 4, "common", ""},
    {41, "focus_move_interval", 0, INT_MAX, "common", "not checked"},
    {43, "zoom_wide_slow", 0, INT_MAX, "set-only", "any value moves"},
    {44, "zoom_tele_slow", 0, INT_MAX, "set-only", "any value moves"},
    {46, "focus_far_slow", 0, INT_MAX, "set-only", "any value moves"},
    {47, "focus_near_slow", 0, INT_MAX, "set-only", "any value moves"},
    {48, "zoom_wide_fast", 0, INT_MAX, "set-only", "any value moves"},
    {49, "zoom_tele_fast", 0, INT_MAX, "set-only", "any value moves"},
    {50, "focus_far_fast", 0, INT_MAX, "set-only", "any value moves"},
    {51, "focus_near_fast", 0, INT_MAX, "set-only", "any value moves"},
    {52, "auto_focus", 0, INT_MAX, "set-only", "any value triggers"},
    {53, "reset_all", 0, INT_MAX, "set-only", "lens reset; any value triggers"},
    {54, "defog", 0, 1, "common", ""},
    {55, "defog_strength", 0, 100, "common", ""},
    {56, "anti_shake", 0, INT_MAX, "common", "not checked"},
};

bool hasViscaRow(int moduleId, int id) {
    if (moduleId == AmbaS2FBS8300SenseController::kSensorType)
        return true;
    if (moduleId == CMD7400SenseController::kSensorType)
        return id != 13 && id != 28;
    if (moduleId == CMD8300SenseController::kSensorType)
        return id <= 66;
    return false;
}

// Every controller's scheme window (ids 500..504).
const Row kSchemeRows[] = {
    {500, "scheme_enable", 0, 1, "common", "scheme in force"},
    {501, "scheme_start_hour", 0, 23, "common", "scheme in force"},
    {502, "scheme_start_minute", 0, 59, "common", "scheme in force"},
    {503, "scheme_end_hour", 0, 23, "common", "scheme in force"},
    {504, "scheme_end_minute", 0, 59, "common", "scheme in force"},
};

// `visca`: the range comes from the shared VISCA setting table where it has the id.
ParameterNames::Entry makeEntry(const Row& row, bool visca) {
    ParameterNames::Entry entry{row.id, row.name, row.min, row.max, row.category, row.note};
    if (const ViscaSetting* setting = visca ? findViscaSetting(row.id) : nullptr) {
        entry.min = setting->min;
        entry.max = setting->max;
    }
    return entry;
}

// The ASCII register modules name their ids in their own register tables.
struct AsciiClass {
    int sensorType;
    std::vector<ascii::Setting> (*table)();
    void (*ids)(IdManager&);
};
const AsciiClass kAsciiClasses[] = {
    {HitachSenseController::kSensorType, &HitachSenseController::registerTable,
     &HitachSenseController::registerIds},
    {HitachCompatSenseController::kSensorType, &HitachCompatSenseController::registerTable,
     &HitachCompatSenseController::registerIds},
    {CMD7200SenseController::kSensorType, &CMD7200SenseController::registerTable,
     &CMD7200SenseController::registerIds},
    {SC110N_CSenseController::kSensorType, &SC110N_CSenseController::registerTable,
     &SC110N_CSenseController::registerIds},
};

// "setDNSensitivity" -> "dn_sensitivity", "FocusUp" -> "focus_up".
std::string settingName(const std::string& setter) {
    const std::string bare = setter.compare(0, 3, "set") == 0 ? setter.substr(3) : setter;
    std::string name;
    for (std::size_t i = 0; i < bare.size(); ++i) {
        const bool upper = std::isupper(static_cast<unsigned char>(bare[i])) != 0;
        const bool wordStart =
            i > 0 && upper &&
            (std::islower(static_cast<unsigned char>(bare[i - 1])) != 0 ||
             (i + 1 < bare.size() && std::islower(static_cast<unsigned char>(bare[i + 1])) != 0));
        if (wordStart)
            name += '_';
        name += static_cast<char>(std::tolower(static_cast<unsigned char>(bare[i])));
    }
    return name;
}

std::vector<ParameterNames::Entry> asciiEntries(const AsciiClass& c) {
    IdManager ids;
    c.ids(ids);
    std::set<int> setOnly, keepDefault, common;
    ids.getSetOnlyIdList(setOnly);
    ids.getKeepDefaultValueList(keepDefault);
    ids.getCommonIdList(common);
    std::vector<ParameterNames::Entry> out;
    for (const ascii::Setting& row : c.table()) {
        const char* category = setOnly.count(row.id)       ? "set-only"
                               : keepDefault.count(row.id) ? "keep-default"
                               : common.count(row.id)      ? "common"
                                                           : "unsaved";
        out.push_back({row.id, settingName(row.name), row.lo, row.hi, category, ""});
    }
    std::sort(
        out.begin(), out.end(),
        [](const ParameterNames::Entry& a, const ParameterNames::Entry& b) { return a.id < b.id; });
    return out;
}

} // namespace

ParameterNames::ParameterNames(int moduleId) {
    for (const AsciiClass& c : kAsciiClasses)
        if (moduleId == c.sensorType)
            m_vecEntries = asciiEntries(c);
    const bool baseDayNight = moduleId == CMD8300SenseController::kSensorType;
    for (const Row& row : kViscaRows)
        if (hasViscaRow(moduleId, row.id))
            m_vecEntries.push_back(
                makeEntry(baseDayNight && row.id == 22 ? kBaseDayNightRow : row, true));
    if (moduleId == AmbaS2SenseController::kSensorType)
        for (const Row& row : kIspRows)
            m_vecEntries.push_back(makeEntry(row, false));
    for (const Row& row : kSchemeRows)
        m_vecEntries.push_back(makeEntry(row, false));
}

bool ParameterNames::lookup(const std::string& nameOrId, int& id) const {
    for (const Entry& entry : m_vecEntries) {
        if (entry.name == nameOrId) {
            id = entry.id;
            return true;
        }
    }
    return parseInt(nameOrId, id);
}

const ParameterNames::Entry* ParameterNames::find(int id) const {
    for (const Entry& entry : m_vecEntries)
        if (entry.id == id)
            return &entry;
    return nullptr;
}

std::string ParameterNames::label(int id) const {
    const Entry* entry = find(id);
    return entry != nullptr ? entry->name : std::to_string(id);
}

bool parseInt(const std::string& text, int& value) {
    if (text.empty() || text.size() > 12)
        return false;
    char* end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || end == text.c_str() || *end != '\0' || parsed < INT_MIN || parsed > INT_MAX)
        return false;
    value = static_cast<int>(parsed);
    return true;
}

// Register tables of the ASCII register modules: which frames each parameter value sends.
#pragma once

#include <climits>
#include <utility>
#include <vector>

// A parameter of an ASCII register module is a row of data: the values it
// accepts, and rules that turn a value into frames. A rule is for a band of
// values and may depend on another stored parameter ("only in camera mode
// 4"); the first rule that fits the value and its condition is the one
// applied, and a value no rule fits sends nothing and succeeds (the module is
// in a mode where the setting does not apply). Frames go out in order and
// stop at the first one that fails.
namespace ascii {

constexpr int kAny = INT_MIN; // as a rule's or a range's low end: every value

// Where the data digits of a frame come from.
enum class From {
    Nothing,           // the frame is fixed text
    Argument,          // the value being set
    Stored,            // another parameter's stored value
    ShutterOfArgument, // the FCC9 code of the fixed shutter being set
    ShutterOfStored,   // the FCC9 code of the stored fixed shutter
};

// One frame: a fixed text, or a prefix and a value x * mul / div written in
// `width` hex digits (2: one-byte register, 4: two-byte). Some registers
// move with the picture mode: then `otherPicturePrefix` is the prefix while
// the picture mode is not 0.
struct Frame {
    const char* prefix = "";
    const char* otherPicturePrefix = nullptr;
    From from = From::Nothing;
    int storedId = 0;
    int mul = 1;
    int div = 1;
    int width = 2;
};

// Holds when the stored value of parameter `id` is within lo..hi; id 0 always holds.
struct When {
    int id = 0;
    int lo = 0;
    int hi = 0;
};

struct Rule {
    int lo = kAny; // the values the rule is for (kAny: all)
    int hi = INT_MAX;
    When when;
    std::vector<Frame> frames; // none: nothing to send
};

// A parameter id and the register rules behind it. `rangeMessage` is logged
// (printf, with the value) when the value is outside lo..hi; nullptr: the
// value is refused without a message.
struct Setting {
    int id = 0;
    const char* name = "";
    int lo = kAny;
    int hi = INT_MAX;
    const char* rangeMessage = nullptr;
    std::vector<Rule> rules;
};

// ---- building rows ---------------------------------------------------------
inline Frame text(const char* frame) {
    return Frame{frame, nullptr, From::Nothing, 0, 1, 1, 2};
}
inline Frame value(const char* prefix, int mul = 1, int div = 1, int width = 2) {
    return Frame{prefix, nullptr, From::Argument, 0, mul, div, width};
}
inline Frame stored(const char* prefix, int id, int mul = 1, int div = 1) {
    return Frame{prefix, nullptr, From::Stored, id, mul, div, 2};
}
inline Frame shutter(const char* prefix, From from, int storedId = 0) {
    return Frame{prefix, nullptr, from, storedId, 1, 1, 2};
}
// The same frame with another prefix while the picture mode is not 0.
inline Frame pictured(Frame frame, const char* otherPicturePrefix) {
    frame.otherPicturePrefix = otherPicturePrefix;
    return frame;
}
inline Rule on(int v, std::vector<Frame> frames) {
    return Rule{v, v, When{}, std::move(frames)};
}
inline Rule always(std::vector<Frame> frames) {
    return Rule{kAny, INT_MAX, When{}, std::move(frames)};
}
// Value v while stored parameter `id` is within lo..hi.
inline Rule onWhen(int v, When when, std::vector<Frame> frames) {
    return Rule{v, v, when, std::move(frames)};
}
// Nothing is sent, whatever the value, while stored parameter `id` is within lo..hi.
inline Rule skipWhen(int id, int lo, int hi) {
    return Rule{kAny, INT_MAX, When{id, lo, hi}, {}};
}

// The row of an id that a controller serves with an operation of its own
// (AsciiRegisterModule::addOperation): it names the id and sends nothing.
inline Setting operation(int id, const char* name) {
    return Setting{id, name, kAny, INT_MAX, nullptr, {}};
}

// ---- rows the family's modules share ----------------------------------------
// Parameter ids of the reference (Hitach) table, which the others reuse.
enum Id {
    kBrightness = 1,
    kSharpness = 2,
    kSaturation = 3,
    kNightColor = 4,
    kCameraMode = 6,
    kMaxGain = 7,
    kWDR = 8,
    kDNSensitivity = 9,
    kFixShutter = 10,
    kBackLight = 11,
    kMirror = 12,
    kFocusDistance = 13,
    kFocusMode = 14,
    kPicMode = 15,
    kHoriSharpness = 16,
};

// FCC9 code of a fixed-shutter setting: steps 0..10 (1/25 s to 1/10000 s)
// are the code itself; beyond either end, the nearest step.
int getFixShutterValue(int shutter);

// Camera mode (FCC8, with FFE6 for the manual modes): 0 and 1 manual, 2 and
// 3 automatic with the day/night sensitivity (stored id 9), 4 fixed shutter
// (stored id 10).
std::vector<Rule> cameraModeRules();
// Day/night sensitivity 1..3, sent only in the automatic camera modes 2 and 3.
std::vector<Rule> dnSensitivityRules();
// Fixed shutter, sent only in camera mode 4.
std::vector<Rule> fixShutterRules();
// Mirror and flip 0..3 through FF30/FF31.
std::vector<Rule> mirrorRules();
// Saturation, both colour-difference gains.
std::vector<Rule> saturationRules();
// The whole reference table: ids 1..4, 6..16 (14, focus mode, included).
std::vector<Setting> referenceSettings();

} // namespace ascii

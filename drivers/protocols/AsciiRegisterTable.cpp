// The register rows the ASCII register modules share, and the reference module's table.
#include "drivers/protocols/AsciiRegisterTable.h"

#include <algorithm>

namespace ascii {

namespace {
constexpr int kLastShutterStep = 10;
} // namespace

int getFixShutterValue(int shutter) {
    return std::clamp(shutter, 0, kLastShutterStep);
}

std::vector<Rule> cameraModeRules() {
    return {
        on(0, {text(":WFCC800"), text(":WFFE6C0")}),
        on(1, {text(":WFCC801"), text(":WFFE6C0")}),
        onWhen(2, When{kDNSensitivity, 3, 3}, {text(":WFCC820")}),
        on(2, {text(":WFCC810")}),
        onWhen(3, When{kDNSensitivity, 3, 3}, {text(":WFCC831")}),
        onWhen(3, When{kDNSensitivity, 2, 2}, {text(":WFCC821")}),
        on(3, {text(":WFCC811")}),
        on(4, {text(":WFCC807"), shutter(":WFCC9", From::ShutterOfStored, kFixShutter)}),
    };
}

std::vector<Rule> dnSensitivityRules() {
    const When mode2{kCameraMode, 2, 2};
    const When mode3{kCameraMode, 3, 3};
    return {
        onWhen(1, mode3, {text(":WFCC811")}), onWhen(1, mode2, {text(":WFCC810")}),
        onWhen(2, mode3, {text(":WFCC821")}), onWhen(2, mode2, {text(":WFCC810")}),
        onWhen(3, mode3, {text(":WFCC831")}), onWhen(3, mode2, {text(":WFCC820")}),
    };
}

std::vector<Rule> fixShutterRules() {
    return {
        Rule{kAny, INT_MAX, When{kCameraMode, 4, 4}, {shutter(":WFCC9", From::ShutterOfArgument)}}};
}

std::vector<Rule> mirrorRules() {
    return {
        on(0, {text(":WFF3000"), text(":WFF3100")}),
        on(1, {text(":WFF3100"), text(":WFF3001")}),
        on(2, {text(":WFF3101"), text(":WFF3001")}),
        on(3, {text(":WFF3102"), text(":WFF3001")}),
    };
}

std::vector<Rule> saturationRules() {
    return {always({value(":WFC10", 255, 100), value(":WFC11", 255, 100)})};
}

// Picture mode 0 uses the normal exposure registers (brightness FD9E, gain
// FA20 and the two-byte FA1E); any other picture mode the second set (FDAE,
// FF6D and FD46).
std::vector<Setting> referenceSettings() {
    const Frame brightness = pictured(value(":WFD9E", 255, 100), ":WFDAE");
    const Frame gainWord = pictured(value(":wFA1E", 32, 1, 4), ":wFD46");
    const Frame gainByte = pictured(value(":WFA20", 32, 8), ":WFF6D");
    const std::vector<Frame> picture = {
        pictured(stored(":WFD9E", kBrightness, 255, 100), ":WFDAE"),
        pictured(stored(":WFA20", kMaxGain, 32, 8), ":WFF6D"),
    };
    auto picMode = [&picture](const char* select) {
        std::vector<Frame> frames = {text(select)};
        frames.insert(frames.end(), picture.begin(), picture.end());
        return frames;
    };
    auto focusMode = [](const char* last) {
        return std::vector<Frame>{text(":WFF0E00"), text(":WF8E000"), text(last)};
    };
    return {
        {kBrightness, "setBrightness", 0, 100, nullptr, {always({brightness})}},
        {kSharpness,
         "setSharpness",
         0,
         100,
         nullptr,
         {always({text(":WFBFF02"), value(":WFBF9", 63, 100)})}},
        {kSaturation, "setSaturation", 0, 100, nullptr, saturationRules()},
        {kNightColor,
         "setNightColor",
         1,
         50,
         nullptr,
         {always({value(":WFC12", 116, 50), value(":WFC13", 110, 50), value(":WFC14", 92, 50)})}},
        {kCameraMode, "setCameraMode", 0, 4, nullptr, cameraModeRules()},
        {kMaxGain,
         "setMaxGain",
         kAny,
         INT_MAX,
         nullptr,
         {skipWhen(kCameraMode, 2, 3), always({gainWord, gainByte})}},
        {kWDR,
         "setWDR",
         kAny,
         INT_MAX,
         nullptr,
         {skipWhen(kCameraMode, 4, 4), skipWhen(kBackLight, 1, 1), on(0, {text(":WFF4C00")}),
          always({text(":WFF4C01")})}},
        {kDNSensitivity, "setDNSensitivity", 1, 3, nullptr, dnSensitivityRules()},
        {kFixShutter, "setFixShutter", kAny, INT_MAX, nullptr, fixShutterRules()},
        {kBackLight,
         "setBackLight",
         kAny,
         INT_MAX,
         nullptr,
         {skipWhen(kWDR, 1, 1), on(0, {text(":WFECE00")}), always({text(":WFECE02")})}},
        {kMirror, "setMirror", 0, 3, nullptr, mirrorRules()},
        {kFocusDistance,
         "setFocusDistance",
         0,
         5,
         nullptr,
         {on(0, {text(":WE1F700")}), on(1, {text(":WE1F7F9")}), on(2, {text(":WE1F7F8")}),
          on(3, {text(":WE1F7F7")}), on(4, {text(":WE1F7F4")}), on(5, {text(":WE1F7F2")})}},
        {kFocusMode,
         "setFocusMode",
         0,
         4,
         nullptr,
         {on(0, {text(":WF8E000"), text(":WFF0E08")}), on(1, {text(":WFF0E00"), text(":WF8E000")}),
          on(2, focusMode(":WF8E005")), on(3, focusMode(":WF8E003")),
          on(4, focusMode(":WF8E001"))}},
        {kPicMode,
         "setPicMode",
         kAny,
         INT_MAX,
         nullptr,
         {on(0, picMode(":WFF6001")), always(picMode(":WFF6002"))}},
        {kHoriSharpness,
         "setHoriSharpness",
         0,
         100,
         nullptr,
         {always({text(":WFBFF02"), value(":WFBF6", 63, 100)})}},
    };
}

} // namespace ascii

// The shared VISCA picture-setting table.
#include "drivers/protocols/ViscaSettings.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <iterator>

namespace {

using V = ViscaSetting::Value;
using D = ViscaSetting::Data;

constexpr std::uint32_t modes(std::initializer_list<int> list) {
    std::uint32_t mask = 0;
    for (int m : list)
        mask |= 1u << m;
    return mask;
}

constexpr std::uint64_t values(int from, int to) {
    std::uint64_t mask = 0;
    for (int v = from; v <= to; ++v)
        mask |= std::uint64_t(1) << v;
    return mask;
}

constexpr const char* kSame = nullptr;
constexpr bool kIsOut = false;
constexpr bool kOut = true;

// Exposure mode is parameter 10 (0 auto, 1 manual, 2 shutter priority,
// 3 iris priority, 4 bright); white-balance mode is parameter 18 (5 manual).
// clang-format off
const ViscaSetting kSettings[] = {
    // id, name, min, max, allowed values, name in refusals, refusal form,
    // bytes after 81 01, their count, value, data, condition id and modes,
    // failure log says "failed"
    {1, "setSaturation", 0, 100, 0, kSame, kIsOut, {0x04, 0xA1, 0x00, 0x00, 0x00}, 5, V::Level15, D::Byte, 0, 0, false},
    {2, "setContrast", 0, 100, 0, kSame, kIsOut, {0x04, 0xA2, 0x00, 0x00, 0x00}, 5, V::Level15, D::Byte, 0, 0, true},
    {3, "setSharpness", 0, 100, 0, kSame, kIsOut, {0x04, 0x42, 0x00, 0x00, 0x00}, 5, V::Level15, D::Byte, 0, 0, false},
    {4, "setGamma", 0, 5, 0, kSame, kIsOut, {0x04, 0x5B}, 2, V::Raw, D::Byte, 0, 0, false},
    {5, "setNoiseReduction", 0, 5, 0, kSame, kIsOut, {0x04, 0x53}, 2, V::Raw, D::Byte, 0, 0, false},
    {6, "setNRMode", 0, 1, 0, kSame, kIsOut, {0x04, 0xA5}, 2, V::Raw, D::Byte, 0, 0, true},
    {7, "setDeFog", 0, 100, 0, kSame, kIsOut, {0x04, 0xA3}, 2, V::Level15, D::Byte, 0, 0, false},
    {9, "setStillImage", 2, 3, 0, kSame, kIsOut, {0x04, 0x62}, 2, V::Raw, D::Byte, 0, 0, false},
    {11, "setShutter", 0, 21, 0, kSame, kIsOut, {0x04, 0x4A, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 10, modes({1, 2}), false},
    {12, "setIris", 0, 13, 0, kSame, kIsOut, {0x04, 0x4B, 0x00, 0x00, 0x00}, 5, V::Raw, D::Byte, 10, modes({1, 3}), false},
    // Bright 1..4 are refused on purpose.
    {13, "setBright", 0, 31, values(0, 0) | values(5, 31), kSame, kIsOut, {0x04, 0x4D, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 10, modes({1, 4}), false},
    {14, "setGain", 0, 15, 0, kSame, kIsOut, {0x04, 0x4C, 0x00, 0x00, 0x00}, 5, V::Raw, D::Byte, 10, modes({1}), false},
    {15, "setMaxGain", 4, 15, 0, kSame, kIsOut, {0x04, 0x2C}, 2, V::Raw, D::Byte, 0, 0, false},
    {16, "setAutoSlowShutter", 2, 3, 0, kSame, kIsOut, {0x04, 0x5A}, 2, V::Raw, D::Byte, 0, 0, false},
    {17, "setBackLight", 2, 3, 0, kSame, kIsOut, {0x04, 0x33}, 2, V::Raw, D::Byte, 0, 0, false},
    {18, "setWBMode", 0, 9, values(0, 5) | values(8, 9), kSame, kOut, {0x04, 0x35}, 2, V::Raw, D::Byte, 0, 0, false},
    {19, "setRedGain", 0, 255, 0, kSame, kOut, {0x04, 0x43, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 18, modes({5}), true},
    {20, "setBlueGain", 0, 255, 0, kSame, kIsOut, {0x04, 0x44, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 18, modes({5}), true},
    {23, "setWDRMode", 2, 3, 0, kSame, kIsOut, {0x04, 0x3D}, 2, V::Raw, D::Byte, 0, 0, false},
    {24, "setHighlightHold", 0, 1, 0, kSame, kIsOut, {0x04, 0xA6}, 2, V::Raw, D::Byte, 0, 0, false},
    // Brightness reports its refusals under the sharpness name; log readers rely on it.
    {25, "setBrightness", 0, 100, 0, "setSharpness", kIsOut, {0x04, 0xA4, 0x00, 0x00, 0x00}, 5, V::Level14Plus1, D::Byte, 0, 0, false},
    {26, "setDZoom", 2, 3, 0, kSame, kIsOut, {0x04, 0x06}, 2, V::Raw, D::Byte, 0, 0, false},
    {29, "setAF_Sensitivity", 1, 3, 0, kSame, kIsOut, {0x04, 0x58}, 2, V::Raw, D::Byte, 0, 0, false},
    {68, "setChromaSuppress", 0, 100, 0, kSame, kIsOut, {0x04, 0xAF, 0x00, 0x00}, 4, V::Level128, D::Nibbles, 0, 0, false},
};
// clang-format on

int scaled(ViscaSetting::Value how, int v, ViscaRounding rounding) {
    switch (how) {
    case V::Level15:
        return rounding == ViscaRounding::Nearest ? (v * 15 + 50) / 100 : v * 15 / 100;
    case V::Level14Plus1:
        // Modules that round take brightness on the 0..15 scale, level 0 as 1.
        if (rounding == ViscaRounding::Nearest)
            return std::max(1, (v * 15 + 50) / 100);
        return v * 14 / 100 + 1;
    case V::Level128:
        return v * 128 / 100;
    case V::Level14:
        return v * 14 / 100;
    case V::Raw:
    default:
        return v;
    }
}

} // namespace

bool ViscaSetting::accepts(int v) const {
    if (v < min || v > max)
        return false;
    return allowedMask == 0 || (v < 64 && (allowedMask >> v & 1u) != 0);
}

void ViscaSetting::refusal(int v, char* text, int size) const {
    std::snprintf(text, static_cast<std::size_t>(size),
                  shortRangeText ? "%s(%d) out of range" : "%s(%d) is out of range",
                  rangeName != nullptr ? rangeName : name, v);
}

bool ViscaSetting::conditionHolds(int conditionValue) const {
    if (conditionId == 0)
        return true;
    return conditionValue >= 0 && conditionValue < 32 &&
           (conditionMask >> conditionValue & 1u) != 0;
}

const ViscaSetting* findViscaSetting(int id) {
    return findViscaSetting(kSettings, std::size(kSettings), id);
}

const ViscaSetting* findViscaSetting(const ViscaSetting* table, std::size_t count, int id) {
    for (std::size_t i = 0; i < count; ++i)
        if (table[i].id == id)
            return &table[i];
    return nullptr;
}

int buildViscaSettingFrame(const ViscaSetting& setting, int v, ViscaRounding rounding,
                           char frame[16]) {
    int n = 0;
    frame[n++] = static_cast<char>(0x81);
    frame[n++] = 0x01;
    for (int i = 0; i < setting.byteCount; ++i)
        frame[n++] = static_cast<char>(setting.bytes[i]);
    const int data = scaled(setting.value, v, rounding);
    if (setting.data == D::Nibbles) {
        frame[n++] = static_cast<char>((data >> 4) & 0x0F);
        frame[n++] = static_cast<char>(data & 0x0F);
    } else {
        frame[n++] = static_cast<char>(data & 0xFF);
    }
    frame[n++] = static_cast<char>(0xFF);
    return n;
}

// The VISCA picture settings shared by the block-camera drivers: id, name,
// valid values, frame and the exposure or white-balance mode they need.
#pragma once

#include <cstddef>
#include <cstdint>

// One row per setting whose frame is "81 01" + fixed bytes + the value's data
// bytes + "FF". Settings whose frames are not of that shape (mirror, exposure
// mode, focus, IR, noise-reduction modes...) stay code in the drivers. The
// FBS8300, CMD7400 and CMD8300 drivers all read this one table; where a
// module differs (CMD7400 rounds the 0..15 levels) it is a parameter.
struct ViscaSetting {
    enum class Value : std::uint8_t {
        Raw,          // v
        Level15,      // v*15/100 (a 0..100 setting on the module's 0..15 scale)
        Level14Plus1, // v*14/100 + 1 (rounding to nearest: round(v*15/100), at least 1)
        Level128,     // v*128/100
        Level14,      // v*14/100
    };
    enum class Data : std::uint8_t {
        Byte,    // one data byte
        Nibbles, // two data bytes: high nibble, low nibble
    };

    int id;
    const char* name; // setter name, used in the logs
    int min;          // valid values min..max,
    int max;          // restricted further by allowedMask when non-zero
    std::uint64_t allowedMask;
    const char* rangeName; // name in the refusal message (nullptr: `name`)
    bool shortRangeText;   // "...(%d) out of range" rather than "...(%d) is out of range"
    std::uint8_t bytes[6]; // frame bytes after 81 01, before the data
    int byteCount;
    Value value;
    Data data;
    int conditionId; // 0, or the parameter whose value must be in conditionMask
    std::uint32_t conditionMask;
    bool saysFailed; // failure log says "failed" rather than "error"

    bool accepts(int v) const;
    // The refusal message for value v, e.g. "setSaturation(120) is out of range".
    void refusal(int v, char* text, int size) const;
    // Bit v of conditionMask set for the value of parameter conditionId.
    bool conditionHolds(int conditionValue) const;
};

// How a driver turns 0..100 into the module's 0..15 levels: truncated, or
// rounded to the nearest level (then brightness is on that scale too).
enum class ViscaRounding { Truncate, Nearest };

// The row for `id`, or nullptr.
const ViscaSetting* findViscaSetting(int id);
// The row for `id` in another driver family's table of the same shape, or nullptr.
const ViscaSetting* findViscaSetting(const ViscaSetting* table, std::size_t count, int id);

// Builds the frame for value `v`; returns its length (at most 16 bytes).
int buildViscaSettingFrame(const ViscaSetting& setting, int v, ViscaRounding rounding,
                           char frame[16]);

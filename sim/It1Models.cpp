// Profiles of the simulated IT1 register modules.
#include "sim/It1Models.h"

#include "foundation/NamedRows.h"

namespace {

// The register set both models share. Values are one byte unless noted; the
// chroma pairs, the shutter limits and the light value are two.
const std::vector<std::pair<int, int>> kRegisters = {
    // brightness; shutter and iris mode bits; gamma; white balance (automatic)
    {0x0A03, 0x32},
    {0x0A01, 0x00},
    {0x1604, 0x01},
    {0x0B00, 0x00},
    // colour at night; sharpness, horizontal and vertical
    {0x1410, 0x00},
    {0x1402, 0x08},
    {0x1403, 0x08},
    // mirror bits (bit 4 belongs to another setting); iris voltage and speed
    {0x1500, 0x10},
    {0x1C03, 0x80},
    {0x1C04, 0x04},
    // iris values; maximum gain
    {0x0A27, 0x10},
    {0x0A28, 0x20},
    {0x0A29, 0x40},
    {0x0A2A, 0x80},
    {0x0A15, 0x01},
    {0x0A16, 0x80},
    // minimum and maximum shutter; day-to-night and night-to-day thresholds
    {0x0A08, 0x0001},
    {0x0A0C, 0x0465},
    {0x1412, 160},
    {0x1411, 96},
    // mode bits (bit 6: night picture)
    {0x0101, 0x00},
    // chroma pairs
    {0x141F, 0x0080},
    {0x1421, 0x0080},
    {0x1423, 0x0080},
    {0x1425, 0x0080},
    {0x1427, 0x0080},
    {0x1429, 0x0080},
    {0x142B, 0x0080},
    {0x142D, 0x0080},
    // light value, read only on the line
    {0x3D0B, 0x0800},
};

const It1Model kModels[] = {
    {"it1", false, kRegisters},
    {"zoom", true, kRegisters},
};

} // namespace

const It1Model* findIt1Model(const std::string& name) {
    return findNamedRow(kModels, name);
}

const It1Model& defaultIt1Model() {
    return kModels[0];
}

std::string it1ModelNames(const char* separator) {
    return joinRowNames(kModels, separator);
}

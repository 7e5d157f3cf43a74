// Profiles of the simulated VISCA modules.
#include "sim/ViscaModels.h"

#include "foundation/NamedRows.h"

namespace {

// The gain position register (04 4C): 90 50 0p 0q 0r 0s FF, position 0 at power-on.
// The zoom domes restart by a vendor frame and answer a vendor version
// inquiry; the fixed-lens CMD8300 has neither, takes 8-byte vendor frames,
// restarts by a VISCA command and switches its IR-cut filter by a vendor frame.
const ViscaModel kModels[] = {
    {"fbs8300",
     82,
     6,
     7,
     {0x05, 0x03, 0x01, 0x01},
     {0x06, 0x01, 0x01, 0x01},
     {},
     {},
     {},
     {{{0x04, 0x4C}, {0, 0, 0, 0}}}},
    {"cmd7400",
     83,
     14,
     7,
     {0x05, 0x03, 0x01, 0x01},
     {0x06, 0x01, 0x01, 0x01},
     {},
     {},
     {},
     {{{0x04, 0x4C}, {0, 0, 0, 0}}}},
    {"cmd8300",
     25,
     6,
     8,
     {},
     {},
     {0x04, 0x19, 0x03},
     {0x01, 0x1E, 0x02, 0x00},
     {0x04, 0x01},
     {{{0x04, 0x4C}, {0, 0, 0, 0}}}},
    // The Sony block camera: VISCA only (no vendor frames), the filter in
    // register 04 01, the start-up notice 04 22 answered, the point-light
    // focus registers 7F 02 00..08 as in point-light mode, a restart to take
    // a new video format (power-on 01: 1080i/59.94).
    {"cv7500",
     9,
     0x01,
     7,
     {},
     {},
     {},
     {},
     {0x04, 0x01},
     {{{0x04, 0x4C}, {0, 0, 0, 0}},
      {{0x04, 0x22}, {0x00}},
      {{0x7F, 0x02, 0x00}, {0x00, 0, 0, 0, 0x00, 0x01}},
      {{0x7F, 0x02, 0x01}, {0x01, 0, 0, 0, 0x00, 0x02}},
      {{0x7F, 0x02, 0x02}, {0x02, 0, 0, 0, 0x01, 0x00}},
      {{0x7F, 0x02, 0x03}, {0x03, 0, 0, 0, 0x00, 0x03}},
      {{0x7F, 0x02, 0x04}, {0x04, 0, 0, 0, 0x02, 0x00}},
      {{0x7F, 0x02, 0x05}, {0x05, 0, 0, 0, 0x00, 0x00}},
      {{0x7F, 0x02, 0x06}, {0x06, 0, 0, 0, 0x00, 0x01}},
      {{0x7F, 0x02, 0x07}, {0x07, 0, 0, 0, 0x0F, 0x0F}},
      {{0x7F, 0x02, 0x08}, {0x08, 0, 0, 0, 0x00, 0x04}}},
     true},
    // The CH3310: as the CV7500 without point-light registers; its sync
    // register 04 6A is on line lock (03) from power-on.
    {"ch3310",
     10,
     0x01,
     7,
     {},
     {},
     {},
     {},
     {0x04, 0x01},
     {{{0x04, 0x4C}, {0, 0, 0, 0}}, {{0x04, 0x22}, {0x00}}, {{0x04, 0x6A}, {0x03}}},
     true},
    // The EH4300: its white balance in module value 50 (04 24 50), AWB
    // speed 1 and automatic mode from power-on (10).
    {"eh4300",
     11,
     0x01,
     7,
     {},
     {},
     {},
     {},
     {0x04, 0x01},
     {{{0x04, 0x4C}, {0, 0, 0, 0}}, {{0x04, 0x22}, {0x00}}, {{0x04, 0x24, 0x50}, {0x01, 0x00}}},
     true},
    // Offers no image settings: it is only asked for its filter (04 01).
    {"nosensorui", 8, 6, 7, {}, {}, {}, {}, {0x04, 0x01}, {}},
};

} // namespace

const ViscaModel* findViscaModel(const std::string& name) {
    return findNamedRow(kModels, name);
}

const ViscaModel* viscaModelOfModule(int moduleId) {
    for (const ViscaModel& model : kModels)
        if (model.moduleId == moduleId)
            return &model;
    return nullptr;
}

const ViscaModel& defaultViscaModel() {
    return kModels[0];
}

std::string viscaModelNames(const char* separator) {
    return joinRowNames(kModels, separator);
}

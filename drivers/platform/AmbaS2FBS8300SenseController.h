// Controller of the FBS8300 zoom block camera in the Ambarella S2 dome.
#pragma once

#include "drivers/platform/ViscaZoomDomeController.h"

// File names and debug printers of the FBS8300 dome.
namespace AmbaS2FBS8300_TOOL {
extern const char* const NearLight_Dev;
extern const char* const MidLight_Dev;
extern const char* const FarLight_Dev;
extern const char* const ZMA_PARAM_CONFIG_FILE_NAME;
extern const char* const IR_POWER_CONFIG_FILE_NAME;
// Prints the bytes (hex) or integers on one line.
void printArray(char* data, int length);
void printIntArray(int* data, int length);
} // namespace AmbaS2FBS8300_TOOL

// The FBS8300 is the VISCA zoom dome module as ViscaZoomDomeController
// describes it: levels truncated to 0..15, video values 6 (system 0) and 8
// (system 1), the DC frame at every day/night switch.
//
// Parameter ids: 1..27, 29..32 and 57..68 common, 28 set-only.
class AmbaS2FBS8300SenseController : public ViscaZoomDomeController {
public:
    // Sensor type passed to the base (the factory's module id).
    static constexpr int kSensorType = 82;

    AmbaS2FBS8300SenseController();
    ~AmbaS2FBS8300SenseController() override;
};

// Controller of the CMD7400 zoom block camera in the Ambarella S2 dome.
#pragma once

#include "drivers/platform/ViscaZoomDomeController.h"

#include <atomic>

// Files of the CMD7400 dome.
namespace CMD7400_TOOL {
extern const char* const NearLight_Dev;
extern const char* const MidLight_Dev;
extern const char* const FarLight_Dev;
extern const char* const ZMA_PARAM_CONFIG_FILE_NAME;
} // namespace CMD7400_TOOL

// The CMD7400 is a VISCA zoom dome module (ViscaZoomDomeController) with its
// own ways: picture levels rounded to the nearest of 0..15 (brightness level
// 0 sent as 1), focus near limit 5 taken without a frame, the 2A link also
// handing the last zoom position to the image adapter, video values 14 and
// 17, day/night switches without the DC frame, a light sensor that applies
// both thresholds in one reading, and the dark level set from the module's
// gain position (setCameraDarkLevel).
//
// Parameter ids: 1..12, 14..27, 29..32 and 57..68 common; 13 and 28 are not
// registered.
class CMD7400SenseController : public ViscaZoomDomeController {
public:
    // Sensor type passed to the base (the factory's module id).
    static constexpr int kSensorType = 83;

    CMD7400SenseController();
    ~CMD7400SenseController() override;

    int set2AParam(int status) override;
    // Also keeps the position as the last one read, for the 2A link.
    int getZoomValue(int& position, int& ratio) override;

    // Gain position from the module: inquiry 81 09 04 4C FF, reply byte 4 *
    // 16 + low nibble of byte 5. On failure waits 3 s and drains the line.
    int getCameraGainPos(int& position);
    // Sends the dark level for the module's gain position (0: 336, 1..6:
    // 256, 7 and above: 128) unless it is the one sent last. Always 0.
    int setCameraDarkLevel();

protected:
    // The last dark level sent (0: none yet).
    int m_nLastDarkLevel = 0;
    std::atomic<int> m_nLastZoomPosition{0};
};

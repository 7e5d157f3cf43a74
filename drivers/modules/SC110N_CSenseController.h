// Controller of the SC110N-C register-programmed zoom block camera module.
#pragma once

#include "drivers/platform/IDMX420ZoomSensorController.h"
#include "drivers/protocols/AsciiRegisterController.h"

#include <atomic>

// A zoom module of the dome programmed like the Hitach module: the same ASCII
// register frames (its failed writes log as "sendData") and the family's
// reference register table, plus noise reduction (FF4A mode, FF4F/FF4B
// level) and the zoom base's privacy masks. Its version is the two-byte
// register FB38 (0: an old module). It switches day and night itself: the
// base's day/night handling is off and the "getDN" thread reads the state
// (FFE7). Video system in 1701 (01 PAL, FF NTSC, any frame size).
//
// Parameter ids: 1..4, 6..11, 13..18 common, 19 (noise-reduction level)
// keeps its default, 20 and 22..29 (privacy masks) set-only.
class SC110N_CSenseController : public AsciiRegisterController<IDMX420ZoomSensorController> {
public:
    // Sensor type passed to the base; the module has its own ISP.
    static constexpr int kSensorType = 7;
    static constexpr int kTNFModeId = 17;
    static constexpr int kNRMode = 18;
    static constexpr int kManualNR = 19;
    // Privacy masks: 20 selects the region (the value), 22..29 act on it.
    static constexpr int kMaskRegion = 20;
    static constexpr int kFirstMaskAction = 22;

    SC110N_CSenseController();
    ~SC110N_CSenseController() override;

    // The register table and the id categories the constructor uses.
    static std::vector<ascii::Setting> registerTable();
    static void registerIds(IdManager& ids);

    int initController(int videoSystem, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;

    // One pass of the "getDN" thread.
    int getDNbody();

    int getSensorVersion() const { return m_nSensorVersion; }

protected:
    std::atomic<int> m_nSensorVersion{0};
};

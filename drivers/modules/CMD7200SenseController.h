// Controller of the CMD7200 register-programmed block camera module.
#pragma once

#include "drivers/protocols/AsciiRegisterController.h"

// The CMD7200 speaks the ASCII register frames of the family
// (AsciiRegisterProtocol) with a shorter table of its own: brightness,
// sharpness, saturation, shutter mode and fixed shutter, its own day/night
// mode (FFE6 automatic or manual, FCC8 day or night), white balance,
// mirror, focus mode and focus limit. It switches day and night itself: the
// base's day/night handling is off and the "getDN" thread reads the state
// (FFE7). Video system in FFFE (01 PAL, 03 NTSC, any frame size).
//
// Parameter ids: 1..10 common.
class CMD7200SenseController : public AsciiRegisterController<ISensorController> {
public:
    // Sensor type passed to the base; the module has its own ISP.
    static constexpr int kSensorType = 6;
    // Ids of the CMD7200 table.
    enum Id {
        kBrightness = 1,
        kSharpness,
        kSaturation,
        kShutterMode,
        kFixShutter,
        kDNMode,
        kWBMode,
        kMirror,
        kFocusMode,
        kFocusLimit,
    };

    CMD7200SenseController();
    ~CMD7200SenseController() override;

    // The register table and the id categories the constructor uses.
    static std::vector<ascii::Setting> registerTable();
    static void registerIds(IdManager& ids);

    int initController(int videoSystem, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;

    // One pass of the "getDN" thread.
    int getDNbody();
};

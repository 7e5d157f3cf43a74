// Controller of the Sony CH3310 colour block camera (VISCA).
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/SonyBlockController.h"

// The CV7500's settings and operations under the same ids, without the
// point-light focus, the backlight and automatic IR-cut settings; with an
// on-screen display switch, an AE sensitivity, black and white intensities
// and the short exposure of the wide-dynamic mode (rows of its own table).
// At start-up it reads the sync setting and switches the module to its
// internal sync (line lock off) when it is not. Its video-format and
// day/night inquiries get a second attempt.
//
// Parameter ids (docs/modules.md has the list): 1..8, 10..30, 32..34,
// 38..41, 44..52, 56..63 common; 37 set-only.
class SONYCH3310SenseController : public SonyBlockController<ISensorController> {
public:
    // Sensor type passed to the base (hosts build the driver themselves).
    static constexpr int kSensorType = 10;

    SONYCH3310SenseController();
    ~SONYCH3310SenseController() override;

    static void registerIds(IdManager& ids);

    // Opens the port, then the inter-sync check.
    int initController(int videoSystem, ModuleConfigure const& config) override;
    // Reads the sync register (04 6A: 02 internal, 03 line lock) and
    // switches it to internal when it is not; 0 when it could not be read
    // or set.
    int checkInterSync();
};

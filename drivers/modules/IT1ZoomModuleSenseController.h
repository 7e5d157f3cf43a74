// Controller of the IT1 zoom camera module.
#pragma once

#include "drivers/modules/IBaseIT1SenseController.h"
#include "drivers/protocols/ViscaTransport.h"

// The IT1 base's settings, plus the zoom lens, which the module drives from
// VISCA-style frames on the same line: 81 01 04 B1 p FF, acknowledged
// 90 41 FF (ViscaTransport). p chooses the auto-focus near limit (id 20:
// 0 5 cm, 1 1 m, 2 2 m, 3 3 m) or, 03, starts the lens adjustment (id 22,
// set-only: any value runs it). Id 21 is the iris level (the four iris values
// set together).
//
// Parameter ids (docs/modules.md has the list): 1..6 and 8..21 common, 22
// set-only.
class IT1ZoomModuleSenseController : public IBaseIT1SenseController {
public:
    // Sensor type passed to the base (hosts build the driver themselves).
    static constexpr int kSensorType = 13;
    static constexpr int kAutoFocus = 20;
    static constexpr int kIrisLevel = 21;
    static constexpr int kAdjustLens = 22;
    // The p of the near-limit presets, nearest first, and of the adjustment.
    static constexpr int kFocusPresets[4] = {0x10, 0x11, 0x12, 0x13};
    static constexpr int kAdjustLensCode = 0x03;

    IT1ZoomModuleSenseController();
    ~IT1ZoomModuleSenseController() override;

    static void registerIds(IdManager& ids);

    // Near-limit preset 0..3 ("auto focus 5cm" .. "auto focus 3m" printed).
    int setAutoFocus(int preset);
    int getAutoFocus(int& preset) const;
    int setAdjustLens();

private:
    int sendLens(int code, const char* name);

    ViscaTransport m_objLens;
    std::atomic<int> m_nAutoFocus{0};
};

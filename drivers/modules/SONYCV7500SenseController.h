// Controller of the Sony CV7500 colour block camera (VISCA).
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/SonyBlockController.h"

// Every picture setting of the block camera is one VISCA command; the
// regular ones are rows of the family's shared setting table and of its own
// (command byte, range, scaling, refusal text), the others the family's
// operations (mirror, exposure mode and compensation, visibility enhancer,
// AF movement and interval, spot AE position, defog, lens steps) and its own
// point-light focus mode (category 7F). Commands count as done on the acknowledge or the
// completion. The base's day/night logic drives the IR-cut filter through
// turnPictureToNight/Day and enterAutoMode, reading the filter by inquiry.
// A video-format change restarts the module.
//
// Parameter ids (docs/modules.md has the list): 1..8, 10..21, 23..30, 32..34,
// 39, 40, 44..50, 56..66 common; 37, 52..55, 67, 68 set-only.
class SONYCV7500SenseController : public SonyBlockController<ISensorController> {
public:
    // Sensor type passed to the base (hosts build the driver themselves).
    static constexpr int kSensorType = 9;
    // The 81-byte table of what the point-light registers answer in that mode.
    static const unsigned char kPointLightAnswers[81];

    SONYCV7500SenseController();
    ~SONYCV7500SenseController() override;

    static void registerIds(IdManager& ids);
    // The CV7500's own setting rows (the shared ones are SonyBlockCamera's).
    static const ViscaSetting* settingTable(std::size_t& count);

    // ---- point-light focus -------------------------------------------------------------
    int OpenPointLightFocus();
    int ClosePointLightFocus();
    // 1 with value 1 when the module's point-light registers answer as in that mode.
    int checkPointLightFocusMode(int& value);
};

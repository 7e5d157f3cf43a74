// Controller of the Sony CV7500 colour block camera (VISCA).
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/SonyBlockCamera.h"

// Every picture setting of the block camera is one VISCA command; the
// regular ones are rows of the module's setting table (command byte, range,
// scaling, refusal text), the others operations of their own: mirror (two
// commands), exposure mode, exposure compensation (on, then the level), the
// visibility enhancer (three values in one command), AF movement and
// interval, spot AE position, defog, the lens steps and the point-light focus
// mode (category 7F). Commands count as done on the acknowledge or the
// completion. The base's day/night logic drives the IR-cut filter through
// turnPictureToNight/Day and enterAutoMode, reading the filter by inquiry.
// A video-format change restarts the module.
//
// Parameter ids (docs/modules.md has the list): 1..8, 10..21, 23..30, 32..34,
// 39, 40, 44..50, 56..66 common; 37, 52..55, 67, 68 set-only.
class SONYCV7500SenseController : public ISensorController {
public:
    // Sensor type passed to the base (hosts build the driver themselves).
    static constexpr int kSensorType = 9;
    // The 81-byte table of what the point-light registers answer in that mode.
    static const unsigned char kPointLightAnswers[81];

    SONYCV7500SenseController();
    ~SONYCV7500SenseController() override;

    static void registerIds(IdManager& ids);
    // The setting table's rows (the regular settings).
    static const ViscaSetting* settingTable(std::size_t& count);

    int initController(int videoSystem, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int NotifySensorInitComplate() override;

    // ---- VISCA exchanges ---------------------------------------------------------
    int setParameterValue(const char* frame, int length) override;
    int getParameterValue(const char* frame, int length, char* answer, int answerLength) override;

    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;

    // ---- day/night and gain ----------------------------------------------------------
    int getDNStatusFromSensor(int& status) override;
    // The filter as the module reports it (1 day, 0 night).
    int getDayNightState(int& state) override;
    int getCurrentGain(int& gain) override;
    int turnPictureToNight() override;
    int turnPictureToDay() override;
    int enterAutoMode() override;

    // ---- point-light focus -------------------------------------------------------------
    int OpenPointLightFocus();
    int ClosePointLightFocus();
    // 1 with value 1 when the module's point-light registers answer as in that mode.
    int checkPointLightFocusMode(int& value);

protected:
    SonyBlockCamera m_objCamera;
};

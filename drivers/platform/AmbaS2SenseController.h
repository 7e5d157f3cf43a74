// Controller of a plain sensor whose picture is made by the SoC's own ISP.
#pragma once

#include "controller/ISensorController.h"

#include <mutex>

// No serial module: every picture setting is one call of the ISP driver,
// kvia_ioctrl(code, direction, &word) (platform/kvia_driver.h), with a 0
// result for success. Which code and range each parameter id has is a table
// in AmbaS2SenseController.cpp; the settings that are more than one write
// (thresholds, mirror with be-away mode, the smart infrared mode, the lens
// reset) have their own members here.
//
// Day/night: from the ISP's light measure (code 241 against the thresholds of
// codes 50 and 51) or, on boards with an IR lamp ("GPIOInfraredLight" in the
// detail), from the light sensor on the ADC against the infrared thresholds
// (ids 32 and 33, kept here). The picture switches on code 49; towards night
// the IR-cut filter's status (code 177) is polled until it has settled.
//
// Parameter ids: 1..41 and 54..56 common, 43..53 set-only (lens moves).
class AmbaS2SenseController : public ISensorController {
public:
    // Sensor type passed to the base (the factory's module id).
    static constexpr int kSensorType = 80;
    // The light sensor, opened once at construction.
    static const char* const kAdcDevice;
    // Full scale of the light sensor's converter (100 percent).
    static constexpr double kAdcFullScale = 1428.0;

    AmbaS2SenseController();
    ~AmbaS2SenseController() override;

    // ---- start-up and video system -------------------------------------------
    int initController(int moduleId, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int updateSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;

    // ---- parameters --------------------------------------------------------------
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;

    // true when the driver call succeeded (0); otherwise logs the call's name,
    // line and error code.
    bool CheckKVEWFIResult(int result, const char* name, int line);
    // true for 0..100; otherwise logs the value with the caller's name and line.
    bool IsAppointRange(int value, const char* name, int line);

    int setDTNThreshold(int value);
    int setNTDThreshold(int value);
    int setInfraredDTNThreshold(int value);
    int setInfraredNTDThreshold(int value);
    int getInfraredDTNThreshold(int& value);
    int getInfraredNTDThreshold(int& value);
    int setMirror(int value);
    int setBeAwayMode(int mode);
    int setSmartInfraredMode(int mode);
    int getSmartInfraredMode(int& mode);
    int setInfraredManualValue(int value);
    int getInfraredManualValue(int& value);
    int setZoomMoveInterval(int value);
    // Fails for a value the setter would refuse (above 4).
    int getZoomMoveInterval(int& value);
    int setFocusMoveInterval(int value);
    // Reports the stored interval and writes it to the driver again.
    int getFocusMoveInterval(int& value);
    // Lens reset: zoom then focus; the focus write decides.
    int ResetAll();

    // ---- day/night ---------------------------------------------------------------
    int getDNStatusFromSensor(int& status) override;
    int getDNStatusFromLDR(int& status) override;
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    // The light sensor's raw reading.
    int getADCValue(int& value);
    // True when start-up found a well-formed "GPIOInfraredLight" triple.
    bool hasInfraredLight() const;

protected:
    // One driver word: read (0) or write (1), checked under `name`.
    bool readCode(int code, int& value, const char* name, int line);
    bool writeCode(int code, int value, const char* name, int line);
    bool writeGpio(const int triple[3]);

    // Start-up flags of the detail text.
    int m_nAutoFocus = 0;
    int m_nManualFocus = 0;
    int m_nFisheye = 0;
    int m_nIsInfrared = 0;
    int m_nAutoIris = 0;
    int m_nInfraredLightGPIO[3] = {0, 0, 0};
    int m_nGPIO[3] = {0, 0, 0};
    int m_nAdcFd = -1;

    // Guards the members below: the worker thread reads them while the host
    // thread sets parameters.
    mutable std::mutex m_mutexState;
    bool m_bInfraredLight = false;
    int m_nInfraredDTNThreshold = 70;
    int m_nInfraredNTDThreshold = 30;
    int m_nLightSensorState = 1;
    // Automatic until set: 0 is kept but never reaches the ISP.
    int m_nSmartInfraredMode = 1;
    int m_nInfraredManualValue = 0;
    int m_nFocusMoveInterval = 0;
};

// The host's single entry point to the camera front end.
#pragma once

#include "controller/ISensorController.h"
#include "foundation/SafePointer.h"
#include "platform/IGPIO.h"
#include "platform/IUARTController.h"
#include "platform/ModuleConfigure.h"
#include "platform/VideoResolution.h"

// The host hands over its serial link and GPIO access and the module
// configuration; the manager has the factory build the matching controller,
// wires it up, initialises it and from then on hands out shared references to
// it. The host thus never depends on which driver runs the fitted module.
//
// Before init there is no controller: getSensorController and
// updateSensorVideoSystem report the empty pointer (and throw), while the two
// getters the UI polls early answer 0 instead.
class SensorControllerManager {
public:
    SensorControllerManager() = default;
    ~SensorControllerManager() = default;
    SensorControllerManager(const SensorControllerManager&) = delete;
    SensorControllerManager& operator=(const SensorControllerManager&) = delete;

    void setUARTController(SafePointer<IUARTController> const& uart);
    void setGPIO(SafePointer<IGPIO> const& gpio);

    // Builds the controller for the configured module id, replacing any
    // earlier one. Module id 0 (no module) gets a controller that is neither
    // wired nor initialised.
    void init(int videoSystem, VideoResolution const& resolution, ModuleConfigure const& config);

    SafePointer<ISensorController> getSensorController();
    int updateSensorVideoSystem(int videoSystem, VideoResolution const& resolution);
    int getMirrorValue(int& value);
    int getStillImageValue(int& value);

private:
    // Released in reverse order: the controller before the links it uses.
    SafePointer<IUARTController> m_pUART;
    SafePointer<IGPIO> m_pGPIO;
    SafePointer<ISensorController> m_pSensorController;
};

// The controller for a module that no driver is built for.
#pragma once

#include "controller/ISensorController.h"

// Stands in when the configured module id has no driver (or none is fitted):
// the host still gets a working controller object, but it refuses to bring a
// module up and refuses every parameter, so nothing reaches any hardware.
// Sensor type 0.
class NullSenseController : public ISensorController {
public:
    NullSenseController();
    ~NullSenseController() override;

    int getMirrorValue(int& value) override;
    int getParameterFromSensor(int id, int& value) override;
    int setParameterToSensor(int id, int value) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int initController(int moduleId, ModuleConfigure const& config) override;
};

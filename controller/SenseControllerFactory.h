// Chooses and builds the controller for a camera-module id.
#pragma once

#include "controller/ISensorController.h"
#include "foundation/SafePointer.h"

// The host never names a driver class: the module id from the module
// configuration decides. Ids without a driver get a NullSenseController, so
// the caller always receives a usable controller.
class SenseControllerFactory {
public:
    // A new, unwired and uninitialised controller for `moduleId`.
    static SafePointer<ISensorController> create(int moduleId);
};

// Chooses and builds the controller for a camera-module id.
#include "controller/SenseControllerFactory.h"

#include "controller/NullSenseController.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "drivers/platform/CMD7400SenseController.h"
#include "drivers/platform/CMD8300SenseController.h"
#include "platform/GlobalEnv.h"

#include <cstdio>

namespace {

template <class Driver>
ISensorController* build() {
    return new Driver();
}

// One module id the factory knows; any other id gets the null controller.
// `announcement` is printed (when the print flag is on) as the driver is built.
struct DriverEntry {
    int moduleId;
    ISensorController* (*build)();
    const char* announcement;
};

// Plain new stands in for the device's tracking allocator: the object goes
// straight into a SafePointer, which owns and deletes it.
const DriverEntry kDrivers[] = {
    {25, &build<CMD8300SenseController>, nullptr},
    {80, &build<AmbaS2SenseController>, nullptr},
    {82, &build<AmbaS2FBS8300SenseController>, "new AmbaS2_Dome AmbaS2FBS8300!"},
    {83, &build<CMD7400SenseController>, "new AmbaS2_Dome CMD7400!"},
};

} // namespace

SafePointer<ISensorController> SenseControllerFactory::create(int moduleId) {
    for (const DriverEntry& entry : kDrivers) {
        if (entry.moduleId != moduleId)
            continue;
        if (entry.announcement != nullptr && GlobalEnv::getInstance()->getPrintFlag() != 0)
            std::puts(entry.announcement);
        return SafePointer<ISensorController>(entry.build());
    }
    return SafePointer<ISensorController>(new NullSenseController());
}

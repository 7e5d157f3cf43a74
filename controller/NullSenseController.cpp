// The controller for a module that no driver is built for.
#include "controller/NullSenseController.h"

NullSenseController::NullSenseController() : ISensorController(0) {}

NullSenseController::~NullSenseController() {
    // The worker calls virtual operations; it must end while this object is
    // still whole (it never starts, since initController refuses, but a
    // caller may start it by other means).
    m_DNChangeThread->stop();
}

int NullSenseController::getMirrorValue(int&) {
    return 0;
}
int NullSenseController::getParameterFromSensor(int, int&) {
    return 0;
}
int NullSenseController::setParameterToSensor(int, int) {
    return 0;
}
int NullSenseController::setSensorVideoSystem(int, VideoResolution const&) {
    return 0;
}
int NullSenseController::initController(int, ModuleConfigure const&) {
    return 0;
}

// The start every serial module's parameter dispatch shares.
#include "drivers/protocols/ModuleDispatch.h"

#include "controller/ISensorController.h"

namespace {
bool initialised(ISensorController& owner) {
    if (owner.getSensorStatus() == ISensorController::InitSuccess)
        return true;
    owner.ErrorPrintf("m_SensorStatus != ISensorController::InitSuccess!");
    return false;
}
} // namespace

int dispatchSetToBase(ISensorController& owner, int id, int value) {
    if (!initialised(owner))
        return 0;
    return owner.ISensorController::setParameterToSensor(id, value);
}

int dispatchGetToBase(ISensorController& owner, int id, int& value) {
    if (!initialised(owner))
        return 0;
    if (id >= 500 && id <= 504)
        return owner.ISensorController::getParameterFromSensor(id, value);
    return -1;
}

// IT1 fixed-lens module: its ids and the iris level.
#include "drivers/modules/IT1SenseController.h"

#include "config/IdManager.h"

void IT1SenseController::registerIds(IdManager& ids) {
    ids.addParameterId(IdManager::Common, 1, 6);
    ids.addParameterId(IdManager::Common, 8, 19);
    ids.addParameterId(IdManager::Common, kIrisLevel);
}

IT1SenseController::IT1SenseController() : IBaseIT1SenseController(kSensorType) {
    registerIds(*m_pIdManager);
    m_objSettings.addOperation(
        kIrisLevel, [this](int v) { return setIrisLevel(v); },
        [this](int& v) { return getIrisLevel(v); });
}

IT1SenseController::~IT1SenseController() {
    stopThreads();
}

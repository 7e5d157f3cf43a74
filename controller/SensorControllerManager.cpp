// The host's single entry point to the camera front end.
#include "controller/SensorControllerManager.h"

#include "controller/SenseControllerFactory.h"
#include "platform/GlobalEnv.h"

#include <cstdio>

namespace {
bool printFlag() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}
} // namespace

void SensorControllerManager::setUARTController(SafePointer<IUARTController> const& uart) {
    m_pUART = uart;
}

void SensorControllerManager::setGPIO(SafePointer<IGPIO> const& gpio) {
    m_pGPIO = gpio;
}

void SensorControllerManager::init(int videoSystem, VideoResolution const& resolution,
                                   ModuleConfigure const& config) {
    const int moduleId = config.getModuleId();
    m_pSensorController = SenseControllerFactory::create(moduleId);
    if (moduleId == 0)
        return;

    m_pSensorController->setOperator(m_pUART, m_pGPIO);
    if (m_pSensorController->init(videoSystem, config, resolution) != 0) {
        // Only now may the GPIO side put its lines into working order.
        if (m_pGPIO->initComplete() != 0 && printFlag())
            std::puts("!!!!!!!!!!!!!!!!!!SensorControllerManager::init successs");
    } else if (printFlag()) {
        std::puts("SensorControllerManager::initController error");
    }
}

SafePointer<ISensorController> SensorControllerManager::getSensorController() {
    return m_pSensorController;
}

int SensorControllerManager::updateSensorVideoSystem(int videoSystem,
                                                     VideoResolution const& resolution) {
    return m_pSensorController->updateSensorVideoSystem(videoSystem, resolution);
}

int SensorControllerManager::getMirrorValue(int& value) {
    if (m_pSensorController.get() == nullptr) {
        if (printFlag())
            std::puts("SensorControllerManager::getMirrorValue:m_pSensorController is NULL");
        return 0;
    }
    return m_pSensorController->getMirrorValue(value);
}

int SensorControllerManager::getStillImageValue(int& value) {
    if (m_pSensorController.get() == nullptr) {
        if (printFlag())
            std::puts("SensorControllerManager::getStillImageValue:m_pSensorController is NULL");
        return 0;
    }
    return m_pSensorController->getStillImageValue(value);
}

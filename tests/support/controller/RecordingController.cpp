// Recording test driver.
#include "support/controller/RecordingController.h"

namespace kvtest {

RecordingController::RecordingController(int sensorType) : ISensorController(sensorType) {
    m_pIdManager->addParameterId(IdManager::Common, 1, 10);
    m_pIdManager->addParameterId(IdManager::SetOnly, 11);
    m_pIdManager->addParameterId(IdManager::KeepDefaultValue, 12);
    for (int id = 1; id <= 12; ++id)
        m_mapModule[id] = 50;
}

RecordingController::~RecordingController() {
    // Stop the worker before this object's members go: its pass calls our hooks.
    m_DNChangeThread->stop();
}

void RecordingController::record(const std::string& call) {
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    m_vecCalls.push_back(call);
}

std::vector<std::string> RecordingController::calls() {
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    return m_vecCalls;
}

std::vector<std::pair<int, int>> RecordingController::sent() {
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    return m_vecSent;
}

void RecordingController::clearRecords() {
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    m_vecCalls.clear();
    m_vecSent.clear();
}

int RecordingController::moduleValue(int id) {
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    return m_mapModule[id];
}

void RecordingController::setModuleValue(int id, int value) {
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    m_mapModule[id] = value;
}

int RecordingController::getMirrorValue(int& value) {
    value = moduleValue(1);
    return 1;
}

int RecordingController::setSensorVideoSystem(int, VideoResolution const&) {
    record("setSensorVideoSystem");
    return videoResult;
}

int RecordingController::initController(int, ModuleConfigure const& config) {
    record("initController");
    moduleParameters = config.getParameters();
    return initResult;
}

int RecordingController::getParameterFromSensor(int id, int& value) {
    const int base = ISensorController::getParameterFromSensor(id, value);
    if (id >= 500 && id <= 504)
        return base;
    std::lock_guard<std::mutex> lock(m_mutexRecords);
    auto it = m_mapModule.find(id);
    if (it == m_mapModule.end())
        return 0;
    value = it->second;
    return 1;
}

int RecordingController::setParameterToSensor(int id, int value) {
    {
        std::lock_guard<std::mutex> lock(m_mutexRecords);
        m_vecSent.emplace_back(id, value);
    }
    const int base = ISensorController::setParameterToSensor(id, value);
    if (base != -1)
        return base;
    if (failIds.count(id) != 0)
        return 0;
    setModuleValue(id, value);
    return 1;
}

int RecordingController::NotifySensorInitComplate() {
    record("NotifySensorInitComplate");
    return notifyResult;
}

int RecordingController::initFactorySetting() {
    record("initFactorySetting");
    return factoryResult;
}

int RecordingController::getDNStatusFromSensor(int& status) {
    status = dnStatusFromSensor;
    return dnStatusResult;
}

int RecordingController::turnPictureToDay() {
    record("turnPictureToDay");
    return turnDayResult;
}

int RecordingController::turnPictureToNight() {
    record("turnPictureToNight");
    return turnNightResult;
}

int RecordingController::enterAutoMode() {
    record("enterAutoMode");
    return 1;
}

int RecordingController::set2AParam(int status) {
    record("set2AParam " + std::to_string(status));
    return 0;
}

int RecordingController::UpdateParameters(std::string& text) {
    record("UpdateParameters");
    return ISensorController::UpdateParameters(text);
}

} // namespace kvtest

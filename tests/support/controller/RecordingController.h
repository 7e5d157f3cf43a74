// A test driver: a controller whose "module" is a map, recording what the
// base class asks of it.
#pragma once

#include "controller/ISensorController.h"

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kvtest {

// Registers ids 1..10 as common, 11 as set-only and 12 as keep-default-value.
// The module holds a value per driver id (all 50 at the start); a set sends
// the value to the module unless the id is in `failIds`. Hook calls are logged
// by name in order ("initController", "setSensorVideoSystem",
// "turnPictureToDay", "turnPictureToNight", "NotifySensorInitComplate",
// "initFactorySetting", "enterAutoMode", "set2AParam", ...). Thread-safe.
class RecordingController : public ISensorController {
public:
    explicit RecordingController(int sensorType = 99);
    ~RecordingController() override;

    // Knobs (set before use).
    int initResult = 1;
    int videoResult = 1;
    int notifyResult = 1;
    int factoryResult = 1;
    int dnStatusFromSensor = 1; // reported by getDNStatusFromSensor
    int dnStatusResult = 1;     // result of getDNStatusFromSensor
    int turnDayResult = 1;
    int turnNightResult = 1;
    std::set<int> failIds;        // setParameterToSensor fails for these
    std::string moduleParameters; // copy of the configuration text given to init

    // What happened.
    std::vector<std::string> calls();
    std::vector<std::pair<int, int>> sent(); // driver ids and scheme ids sent
    void clearRecords();
    int moduleValue(int id);
    void setModuleValue(int id, int value);

    // ISensorController
    int getMirrorValue(int& value) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int initController(int moduleId, ModuleConfigure const& config) override;
    int getParameterFromSensor(int id, int& value) override;
    int setParameterToSensor(int id, int value) override;
    int NotifySensorInitComplate() override;
    int initFactorySetting() override;
    int getDNStatusFromSensor(int& status) override;
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    int enterAutoMode() override;
    int set2AParam(int status) override;
    int UpdateParameters(std::string& text) override;

    // The base's state, opened up for assertions.
    using ISensorController::lookupISPValue;
    using ISensorController::m_bBaseDNSwitch;
    using ISensorController::m_bIntegratedModule;
    using ISensorController::m_bIRBoard;
    using ISensorController::m_bisInited;
    using ISensorController::m_bisReset;
    using ISensorController::m_DNChangeThread;
    using ISensorController::m_nDayNightMode;
    using ISensorController::m_nDNSource;
    using ISensorController::m_nDNState;
    using ISensorController::m_nDNSwitchDelay;
    using ISensorController::m_nLastDayNightMode;
    using ISensorController::m_nParamMode;
    using ISensorController::m_nParamScheme;
    using ISensorController::m_nParamSchemeNum;
    using ISensorController::m_nUARTPort;
    using ISensorController::m_objFilterGPIO;
    using ISensorController::m_objInfraredGPIO;
    using ISensorController::m_objISPParam;
    using ISensorController::m_objLDRGPIO;
    using ISensorController::m_paramMutex;
    using ISensorController::m_pEspecialConfigFile;
    using ISensorController::m_pFactoryConfigFile;
    using ISensorController::m_pIdManager;
    using ISensorController::m_pLastSensorCache;
    using ISensorController::m_pSensorCache;
    using ISensorController::m_vecParamScheme;
    using ISensorController::m_vecSchemeConfigFile;

private:
    void record(const std::string& call);

    std::mutex m_mutexRecords;
    std::vector<std::string> m_vecCalls;
    std::vector<std::pair<int, int>> m_vecSent;
    std::map<int, int> m_mapModule;
};

} // namespace kvtest

// Controller parameters: set, get, reset, save, ISP tuning by scheme and TNF.
#include "controller/ISensorController.h"

#include "platform/SensorParameterParser.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace {
const int kVersionId = SensorConfigFile::VersionId;
const int kVersion2Id = SensorConfigFile::Version2Id;
const int kSchemeEnableId = 500;
const int kSchemeLastId = 504;
// Value of an ISP tuning entry that is absent, and the "nothing applied yet"
// mark of the last-applied tuning values.
const int kISPNone = -100;

// Sensor types whose pipeline has no ISP tuning.
bool hasNoISPTuning(int sensorType) {
    return sensorType >= 4 && sensorType <= 6;
}
} // namespace

// ---- applying ---------------------------------------------------------------

int ISensorController::setParameters(std::string const& text) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    m_pSensorCache->clear();
    // A text that does not parse fills nothing and so applies nothing; the
    // result only reports ids that failed.
    m_pSensorCache->setSensorValues(text);
    // Take the pairs out first: a driver's setter may use the working cache,
    // which would move the shared cursor under our feet.
    std::vector<std::pair<int, int>> pairs;
    int id = 0;
    int value = 0;
    for (int more = m_pSensorCache->getFirstIdValue(id, value); more != 0;
         more = m_pSensorCache->getNextIdValue(id, value))
        pairs.emplace_back(id, value);

    int result = 1;
    for (const auto& pair : pairs) {
        if (setParameter(pair.first, pair.second) == 0) {
            ErrorPrintf("setParameter (%d,%d) failed", pair.first, pair.second);
            result = 0;
        }
    }
    return result;
}

int ISensorController::setParameter(int id, int value) {
    if (id == kVersionId || id == kVersion2Id)
        return 1;
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    // An unconfirmed id is sent again whatever the cache holds: its last set
    // may have reached the module although no acknowledge came back.
    if (m_setUnconfirmedIds.count(id) == 0 && m_pLastSensorCache->isEqualToCache(id, value) != 0)
        return 1;

    // The last scheme is the all-day one: always enabled, 00:00 to 24:00.
    if (m_nParamScheme == schemeCount() - 1 && id >= kSchemeEnableId && id <= kSchemeLastId) {
        static const int forced[] = {1, 0, 0, 24, 0};
        value = forced[id - kSchemeEnableId];
    }

    if (setParameterToSensor(id, value) != 1) {
        // The stored value stays in the last-applied cache (a flush saves it).
        m_setUnconfirmedIds.insert(id);
        ErrorPrintf("setParameterToSensor (%d,%d) failed", id, value);
        return 0;
    }
    m_setUnconfirmedIds.erase(id);

    switch (m_pIdManager->getIdType(id)) {
    case IdManager::Common:
    case IdManager::Especial:
        if (m_pLastSensorCache->setSensorValue(id, value) == 0) {
            ErrorPrintf("setValue to cache failed");
            return 0;
        }
        return 1;
    case IdManager::SetOnly:
        return 1;
    case IdManager::KeepDefaultValue: {
        int cached = 0;
        if (m_pLastSensorCache->getSensorValue(id, cached) == 0 &&
            m_pLastSensorCache->setSensorValue(id, value) == 0) {
            ErrorPrintf("setValue to cache failed");
            return 0;
        }
        return 1;
    }
    default:
        ErrorPrintf("id type is unknow");
        return 0;
    }
}

// ---- reading ----------------------------------------------------------------

int ISensorController::getParameter(int id, int& value) {
    // No controller lock: each cache guards itself.
    if (m_pSensorCache->getSensorValue(id, value) != 0)
        return 1;
    return m_pLastSensorCache->getSensorValue(id, value);
}

int ISensorController::getParameters(std::string const& ids, std::string& out) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    return m_pLastSensorCache->getSensorValues(ids, out);
}

int ISensorController::getAllParameters(std::string& out) {
    if (stopPTZ() == 0) {
        ErrorPrintf("stop PTZ @getAllParameters failed");
        return 0;
    }
    std::string text;
    if (m_pLastSensorCache->getAllSensorValues(text) == 0) {
        ErrorPrintf("getAllSensorValues failed");
        return 0;
    }
    const std::string before = text;
    if (UpdateParameters(text) == 0) {
        ErrorPrintf("UpdateParameters() failed");
        return 0;
    }
    // The module I/O of the refresh runs unlocked; the refill is one locked
    // step. The refreshed text is checked before the cache is emptied, so a
    // driver handing back garbage cannot wipe the last-applied values.
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    std::map<int, int> check;
    if (SensorParameterParser::parseSensorParameter(text, check) == 0) {
        ErrorPrintf("setSensorValues failed");
        return 0;
    }
    m_pLastSensorCache->clear();
    if (m_pLastSensorCache->setSensorValues(text) == 0) {
        ErrorPrintf("setSensorValues failed");
        return 0;
    }
    if (text != before) {
        std::puts("save sensor parameter");
        flush();
    }
    out = text;
    return 1;
}

int ISensorController::getAllParametersFromSensor(std::string& out) {
    std::set<int> ids;
    std::set<int> list;
    m_pIdManager->getEspecialIdList(list);
    ids.insert(list.begin(), list.end());
    m_pIdManager->getCommonIdList(list);
    ids.insert(list.begin(), list.end());
    m_pIdManager->getKeepDefaultValueList(list);
    ids.insert(list.begin(), list.end());

    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    std::map<int, int> values;
    for (int id : ids) {
        int value = 0;
        // 0 is a failure, -1 an id nobody in the driver chain handles.
        if (getParameterFromSensor(id, value) <= 0) {
            ErrorPrintf("getParameterFromSensor(%d) failed", id);
            return 0;
        }
        values[id] = value;
    }
    out = SensorParameterParser::createSensorParameterString(values);
    return 1;
}

int ISensorController::UpdateParametersIdValue(std::string& text, int id, int value) {
    std::map<int, int> values;
    if (SensorParameterParser::parseSensorParameter(text, values) == 0)
        return 0;
    auto it = values.find(id);
    if (it == values.end())
        return 0;
    it->second = value;
    text = SensorParameterParser::createSensorParameterString(values);
    return 1;
}

// ---- saving and resetting ---------------------------------------------------

int ISensorController::flush() {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    std::set<int> commonIds;
    std::set<int> especialIds;
    if (m_pIdManager->getCommonIdList(commonIds) == 0 ||
        m_pIdManager->getEspecialIdList(especialIds) == 0)
        return 0;
    // Checked before anything is written, so a bad index leaves every file alone.
    if (!isValidScheme(m_nParamScheme)) {
        ErrorPrintf("flush: scheme %d out of range", m_nParamScheme);
        return 0;
    }
    std::string commonText;
    if (m_pLastSensorCache->getSensorValues(commonIds, commonText) == 0) {
        ErrorPrintf("getCommonIdValues from Last Cache failed");
        return 0;
    }
    std::string especialText;
    if (m_pLastSensorCache->getSensorValues(especialIds, especialText) == 0) {
        ErrorPrintf("getEspecialIdValues from Last Cache failed");
        return 0;
    }
    if (m_pFactoryConfigFile->modifyParameters(especialText) == 0)
        return 0;
    if (m_vecSchemeConfigFile[static_cast<std::size_t>(m_nParamScheme)]->saveParametersToFile(
            commonText + especialText) == 0)
        return 0;
    return m_pEspecialConfigFile->saveParametersToFile(especialText);
}

int ISensorController::resetParameters() {
    m_bisReset = true;
    std::string text;
    if (m_pFactoryConfigFile->readParametersFromFile(text) == 0) {
        ErrorPrintf("read factory setting failed");
        return 0;
    }
    std::printf("reset:%s\n", text.c_str());

    // One locked stretch, so the worker's scheme switch cannot slip in between
    // applying the factory set and writing it to the scheme files.
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    m_pSensorCache->clear();
    m_pSensorCache->setSensorValues(text);
    reInitSchemeTimeMember();
    if (setParameters(text) == 0) {
        ErrorPrintf("setParameters @resetParameters failed");
        return 0;
    }
    for (std::size_t i = 0; i < m_vecSchemeConfigFile.size(); ++i) {
        SensorConfigFile& file = *m_vecSchemeConfigFile[i];
        // A scheme other than the first starts disabled.
        if (file.saveParametersToFile(text) == 0 ||
            (i > 0 && file.modifyParameter(kSchemeEnableId, 0) == 0))
            ErrorPrintf("resetParameters: writing %s failed", file.getFilePath().c_str());
    }
    m_bisReset = false;
    std::puts("resetParameters success");
    return 1;
}

int ISensorController::resetToLastParameters() {
    m_bisReset = true;
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    std::string text;
    if (readParamByScheme(m_nParamScheme, text) == 0) {
        ErrorPrintf("read user setting failed");
        return 0;
    }
    m_pSensorCache->clear();
    m_pSensorCache->setSensorValues(text);
    if (setParameters(text) == 0) {
        ErrorPrintf("setParameters @resetToLastParameters failed");
        return 0;
    }
    if (flush() == 0) {
        ErrorPrintf("flush @resetToLastParameters false\n");
        return 0;
    }
    m_bisReset = false;
    return 1;
}

// ---- ISP tuning by scheme ------------------------------------------------------
// The tuning state (last applied values, TNF value and mode) is guarded by
// m_paramMutex: the host and the worker thread both reach it.

int ISensorController::lookupISPValue(std::string const& scheme, std::string const& name,
                                      int level) {
    bool enabled = true;
    if (m_objISPParam->getEnableFlag(scheme, enabled) != 0 && !enabled)
        return kISPNone;
    int value = kISPNone;
    if (m_objISPParam->getParam(scheme, name, level, value) == 0)
        return kISPNone;
    return value;
}

int ISensorController::setEEParam(std::string const& scheme, int level) {
    if (hasNoISPTuning(m_nSensorType))
        return 1;
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int value = -1;
    if (!(m_nTNFMode == 1 && m_nSensorType == 21)) {
        value = lookupISPValue(scheme, "EE", level);
        if (value == kISPNone)
            return 1;
    }
    if (value == m_nLastEE)
        return 1;
    if (value >= 0) {
        std::printf("set ee=%d\n", value);
        m_objEE->setEE(value);
    }
    m_nLastEE = value;
    return 1;
}

int ISensorController::setDCParam(std::string const& scheme, int level) {
    if (hasNoISPTuning(m_nSensorType))
        return 1;
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int value = -1;
    if (!(m_nTNFMode == 1 && m_nSensorType == 21)) {
        value = lookupISPValue(scheme, "DC", level);
        if (value == kISPNone)
            return 1;
    }
    if (value == m_nLastDC)
        return 1;
    if (value >= 0)
        std::printf("set DC=%d\n", value);
    m_nLastDC = value;
    return 1;
}

int ISensorController::set3DNRParam(std::string const& scheme, int level) {
    if (hasNoISPTuning(m_nSensorType))
        return 1;
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int a0 = -1;
    int tm = -1;
    if (!(m_nTNFMode == 1 && m_nSensorType == 21)) {
        // Strength and time mode go together: without both there is nothing to set.
        a0 = lookupISPValue(scheme, "A0", level);
        tm = lookupISPValue(scheme, "TM", level);
        if (a0 == kISPNone || tm == kISPNone)
            return 1;
    }
    if (a0 == m_nLastA0 && tm == m_nLastTM)
        return 1;
    if (a0 >= 0 && tm >= 0)
        std::printf("set A0=%d,TM=%d\n", a0, tm);
    m_nLastA0 = a0;
    m_nLastTM = tm;
    return 1;
}

int ISensorController::setISPParam(std::string const& scheme, int level) {
    if (setEEParam(scheme, level) == 0)
        std::puts("setEEParam failed");
    if (setDCParam(scheme, level) == 0)
        std::puts("setDCParam failed");
    if (set3DNRParam(scheme, level) == 0)
        std::puts("set3DNRParam failed");
    return 1;
}

// ---- TNF ----------------------------------------------------------------------

int ISensorController::setTNF(int value) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (value != 0) {
        // 64-bit: any int the host passes stays exact.
        const std::int64_t t = (static_cast<std::int64_t>(value) - 1) * 255 / 99;
        const std::int64_t distance = t > 255 ? t - 255 : 255 - t;
        std::printf("setTNF=%lld\n", static_cast<long long>(distance));
    }
    m_nTNF = value;
    return 1;
}

int ISensorController::getTNF(int& value) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    value = m_nTNF;
    return 1;
}

int ISensorController::setTNFMode(int mode) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (mode == 1) {
        // Forget what was applied, so the next tuning pass sets it again.
        m_nLastDC = -1;
        m_nLastA0 = -1;
        m_nLastTM = -1;
    } else if (mode == 2) {
        setTNF(m_nTNF);
    }
    m_nTNFMode = mode;
    return 1;
}

int ISensorController::getTNFMode(int& mode) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    mode = m_nTNFMode;
    return 1;
}

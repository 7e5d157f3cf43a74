// Parameter cache.
#include "config/SensorCache.h"

#include "platform/SensorParameterParser.h"

#include <cstdio>

SensorCache::SensorCache() : m_itCursor(m_mapValues.end()) {}

SensorCache::~SensorCache() = default;

int SensorCache::setSensorValue(int id, int value) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    m_mapValues[id] = value;
    return 1;
}

int SensorCache::getSensorValue(int id, int& value) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    auto it = m_mapValues.find(id);
    if (it == m_mapValues.end())
        return 0;
    value = it->second;
    return 1;
}

int SensorCache::isEqualToCache(int id, int value) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    auto it = m_mapValues.find(id);
    return it != m_mapValues.end() && it->second == value;
}

int SensorCache::setSensorValues(const std::string& text) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    const int result = SensorParameterParser::parseSensorParameter(text, m_mapValues);
    if (result == 0) {
        std::puts("parseSensorParameter failed");
        return 0;
    }
    return result;
}

int SensorCache::getAllSensorValues(std::string& text) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    text = SensorParameterParser::createSensorParameterString(m_mapValues);
    return 1;
}

int SensorCache::getSensorValues(const std::set<int>& ids, std::string& text) {
    if (ids.empty()) {
        text.clear();
        return 1;
    }
    std::map<int, int> found;
    for (int id : ids) {
        int value = 0;
        if (getSensorValue(id, value) == 0)
            return 0;
        found[id] = value;
    }
    text = SensorParameterParser::createSensorParameterString(found);
    return 1;
}

// Unlike the set form, one locked step: the values come from one state of
// the table (the lock is recursive, so the per-id lookups nest).
int SensorCache::getSensorValues(const std::string& idList, std::string& text) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    std::set<int> ids;
    if (SensorParameterParser::parseParameterIdList(idList, ids) == 0) {
        std::printf("________SensorParameterParser::parseParameterIdList(%s) failed\n",
                    idList.c_str());
        return 0;
    }
    return getSensorValues(ids, text);
}

int SensorCache::getFirstIdValue(int& id, int& value) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    if (m_mapValues.empty())
        return 0;
    m_itCursor = m_mapValues.begin();
    m_bCursorSet = true;
    id = m_itCursor->first;
    value = m_itCursor->second;
    return 1;
}

int SensorCache::getNextIdValue(int& id, int& value) {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    if (!m_bCursorSet || m_itCursor == m_mapValues.end())
        return 0;
    ++m_itCursor;
    if (m_itCursor == m_mapValues.end())
        return 0;
    id = m_itCursor->first;
    value = m_itCursor->second;
    return 1;
}

void SensorCache::clear() {
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    m_mapValues.clear();
    // The cursor pointed into the old table.
    m_bCursorSet = false;
    m_itCursor = m_mapValues.end();
}

// A controller's in-memory table of parameter values (id -> value).
#pragma once

#include "platform/KVMutex.h"

#include <map>
#include <set>
#include <string>

// Every operation holds the cache's lock for its whole run, except
// getSensorValues(set, ...), which locks per id. The iteration cursor is
// shared by all callers of one cache; iterate only while nobody writes.
class SensorCache {
public:
    SensorCache();
    ~SensorCache();

    int setSensorValue(int id, int value);
    int getSensorValue(int id, int& value);
    // 1 only when the id is present with exactly this value.
    int isEqualToCache(int id, int value);

    // Merges a parameter text into the table ("parseSensorParameter failed"
    // and 0 when it does not parse; the table is then unchanged).
    int setSensorValues(const std::string& text);
    int getAllSensorValues(std::string& text);
    // All or nothing: 0 and `text` untouched when any id is absent.
    int getSensorValues(const std::set<int>& ids, std::string& text);
    int getSensorValues(const std::string& idList, std::string& text);

    int getFirstIdValue(int& id, int& value);
    int getNextIdValue(int& id, int& value);

    void clear();

private:
    KVMutex m_mutex;
    std::map<int, int> m_mapValues;
    std::map<int, int>::iterator m_itCursor;
    bool m_bCursorSet = false;
};

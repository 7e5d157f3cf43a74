// Reference-count records and their process-wide manager.
#include "platform/RefCountManager.h"

ref_count::ref_count(void* object) : m_pObject(object), m_nCount(1) {}

int ref_count::lock() {
    m_mutex.lock();
    return 0;
}

void ref_count::unLock() {
    m_mutex.unlock();
}

int ref_count::inc_reference() const {
    int n = m_nCount.load();
    while (n > 0) {
        if (m_nCount.compare_exchange_weak(n, n + 1))
            return 1;
    }
    return 0;
}

int ref_count::dec_reference() {
    const int left = m_nCount.fetch_sub(1) - 1;
    return left < 0 ? 0 : left;
}

void ref_count::rebind(void* object) {
    m_pObject.store(object);
    m_nCount.store(1);
}

RefCountManager* RefCountManager::getInstance() {
    // Never destroyed: safe pointers held by static objects may release
    // their references during process exit.
    static RefCountManager* instance = new RefCountManager();
    return instance;
}

RefCountManager::~RefCountManager() = default;

ref_count* RefCountManager::retrieveRefCount(void* object, char const* /*typeName*/) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_mapLive.find(object);
    if (it != m_mapLive.end()) {
        if (it->second->inc_reference() != 0)
            return it->second;
        // Object at this address is being destroyed; the new owner gets a
        // fresh record.
        m_mapLive.erase(it);
    }
    ref_count* record = nullptr;
    if (m_dequeReturned.size() > kQuarantine) {
        record = m_dequeReturned.front();
        m_dequeReturned.pop_front();
        record->rebind(object);
    } else {
        record = new ref_count(object);
    }
    m_mapLive[object] = record;
    return record;
}

void RefCountManager::returnbackRefCount(ref_count* record, char const* /*typeName*/) {
    if (record == nullptr)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_mapLive.find(record->getPointer());
    if (it != m_mapLive.end() && it->second == record)
        m_mapLive.erase(it);
    m_dequeReturned.push_back(record);
}

std::size_t RefCountManager::liveCount() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mapLive.size();
}

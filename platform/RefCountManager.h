// Process-wide registry of reference-count records keyed by raw object pointer.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <mutex>
#include <unordered_map>

// One count record per shared object. The count lives here rather than in the
// object, so any object can be shared without deriving from a counted base.
// Every change of the count happens between lock() and unLock().
class ref_count {
public:
    explicit ref_count(void* object);

    // 0 on success; non-zero when the record is no longer usable.
    int lock();
    void unLock();

    void* getPointer() const { return m_pObject.load(); }

    // Adds one reference; 0 when the object is already being destroyed (count 0).
    int inc_reference() const;
    // Drops one reference; returns the number left (0: that was the last).
    int dec_reference();

    int count() const { return m_nCount.load(); }

private:
    friend class RefCountManager;
    // Reuse of a quarantined record for a new object (nobody holds it then).
    void rebind(void* object);

    std::mutex m_mutex;
    std::atomic<void*> m_pObject;
    mutable std::atomic<int> m_nCount;
};

// Hands out and takes back count records. Two pointers built separately from
// the same raw pointer share one record while the object lives.
//
// A record handed back is not freed at once: a copy racing the last release
// may still lock it and must find a count of 0 (and so report the object as
// destroyed) rather than freed memory. Returned records wait in a quarantine of
// kQuarantine entries before they are reused, which bounds memory while
// leaving a racing copy ample time.
class RefCountManager {
public:
    static RefCountManager* getInstance();

    // The record for `object`, already counting the new owner.
    ref_count* retrieveRefCount(void* object, char const* typeName);
    // Takes a record back once its object has been destroyed.
    void returnbackRefCount(ref_count* record, char const* typeName);

    // Records currently bound to live objects (for tests and diagnostics).
    std::size_t liveCount() const;

    static constexpr std::size_t kQuarantine = 4096;

private:
    RefCountManager() = default;
    ~RefCountManager();

    mutable std::mutex m_mutex;
    std::unordered_map<void*, ref_count*> m_mapLive;
    std::deque<ref_count*> m_dequeReturned;
};

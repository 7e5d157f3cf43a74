// The platform mutex: recursive, lockable with the caller's file and line.
#pragma once

#include <mutex>

// Recursive, because device code often calls one locked helper from another
// (a retrying send inside an already locked exchange). The file and line of
// the outermost lock call are kept in the object, so a debugger attached to a
// stuck process can name the holder. Meets Lockable, so std::lock_guard and
// std::unique_lock work.
class KVMutex {
public:
    KVMutex() = default;
    KVMutex(const KVMutex&) = delete;
    KVMutex& operator=(const KVMutex&) = delete;

    void lock(const char* file = nullptr, int line = 0);
    bool try_lock();
    void unlock();
    void unLock() { unlock(); }

private:
    std::recursive_mutex m_mutex;
    int m_nDepth = 0;
    const char* m_pszFile = nullptr;
    int m_nLine = 0;
};

// Scoped lock that records where it was taken.
class KVMutexLocker {
public:
    KVMutexLocker(KVMutex& mutex, const char* file = nullptr, int line = 0) : m_mutex(mutex) {
        m_mutex.lock(file, line);
    }
    ~KVMutexLocker() { m_mutex.unlock(); }
    KVMutexLocker(const KVMutexLocker&) = delete;
    KVMutexLocker& operator=(const KVMutexLocker&) = delete;

private:
    KVMutex& m_mutex;
};

// Platform mutex.
#include "platform/KVMutex.h"

void KVMutex::lock(const char* file, int line) {
    m_mutex.lock();
    if (m_nDepth++ == 0) {
        m_pszFile = file;
        m_nLine = line;
    }
}

bool KVMutex::try_lock() {
    if (!m_mutex.try_lock())
        return false;
    if (m_nDepth++ == 0) {
        m_pszFile = nullptr;
        m_nLine = 0;
    }
    return true;
}

void KVMutex::unlock() {
    if (--m_nDepth == 0) {
        m_pszFile = nullptr;
        m_nLine = 0;
    }
    m_mutex.unlock();
}

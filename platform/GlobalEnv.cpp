// Process-wide print flag.
#include "platform/GlobalEnv.h"

#include <cstdlib>

GlobalEnv::GlobalEnv() : m_nPrintFlag(0) {
    const char* env = std::getenv("KV_PRINT");
    if (env != nullptr)
        m_nPrintFlag = static_cast<int>(std::strtol(env, nullptr, 10));
}

GlobalEnv* GlobalEnv::getInstance() {
    static GlobalEnv instance;
    return &instance;
}

int GlobalEnv::getPrintFlag() const {
    return m_nPrintFlag.load();
}

void GlobalEnv::setPrintFlag(int flag) {
    m_nPrintFlag.store(flag);
}

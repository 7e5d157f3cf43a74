// Process-wide environment switches of the platform.
#pragma once

#include <atomic>

// The print flag gates the drivers' console traces. It starts from the
// environment variable KV_PRINT (a non-zero integer switches it on) and can be
// changed at any time.
class GlobalEnv {
public:
    static GlobalEnv* getInstance();

    int getPrintFlag() const;
    void setPrintFlag(int flag);

    GlobalEnv(const GlobalEnv&) = delete;
    GlobalEnv& operator=(const GlobalEnv&) = delete;

private:
    GlobalEnv();
    std::atomic<int> m_nPrintFlag;
};

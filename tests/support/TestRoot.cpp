// Temporary roots and stdout capture for the test programs.
#include "support/TestRoot.h"

#include "platform/KVRoot.h"
#include "platform/PlatformClock.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace kvtest {

TestRoot::TestRoot(double scale)
    : m_strOldRoot(kvroot::root()), m_dOldScale(PlatformClock::timeScale()) {
    std::string tmpl = (fs::temp_directory_path() / "kvroot-XXXXXX").string();
    if (mkdtemp(tmpl.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    m_strDir = tmpl;
    kvroot::setRoot(m_strDir);
    PlatformClock::setTimeScale(scale);
}

TestRoot::~TestRoot() {
    kvroot::setRoot(m_strOldRoot);
    PlatformClock::setTimeScale(m_dOldScale);
    PlatformClock::resetTimeOfDay();
    std::error_code ec;
    fs::remove_all(m_strDir, ec);
}

void TestRoot::writeFile(const std::string& devicePath, const std::string& content) const {
    const fs::path p = path(devicePath);
    fs::create_directories(p.parent_path());
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out << content;
}

std::string TestRoot::readFile(const std::string& devicePath) const {
    std::ifstream in(path(devicePath), std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool TestRoot::exists(const std::string& devicePath) const {
    return fs::exists(path(devicePath));
}

StdoutCapture::StdoutCapture(int fd) : m_nFd(fd) {
    std::fflush(stdout);
    std::fflush(stderr);
    char tmpl[] = "/tmp/kvstdout-XXXXXX";
    const int tmp = mkstemp(tmpl);
    if (tmp < 0)
        throw std::runtime_error("mkstemp failed");
    m_strFile = tmpl;
    m_nSavedFd = dup(m_nFd);
    dup2(tmp, m_nFd);
    close(tmp);
}

StdoutCapture::~StdoutCapture() {
    text();
}

std::string StdoutCapture::text() {
    if (m_nSavedFd >= 0) {
        std::fflush(stdout);
        std::fflush(stderr);
        dup2(m_nSavedFd, m_nFd);
        close(m_nSavedFd);
        m_nSavedFd = -1;
        std::ifstream in(m_strFile, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        m_strText = s.str();
        std::remove(m_strFile.c_str());
    }
    return m_strText;
}

bool waitUntil(const std::function<bool()>& done, double realSeconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(realSeconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace kvtest

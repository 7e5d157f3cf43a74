// Test fixture support: a fresh filesystem root and a fast platform clock.
#pragma once

#include <functional>
#include <string>

namespace kvtest {

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Polls `done` every 2 ms, for at most `realSeconds` of real time; true once
// it holds. For what a worker thread brings about.
bool waitUntil(const std::function<bool()>& done, double realSeconds = 10.0);

// Creates a temporary directory, makes it the platform root and scales the
// clock (1 device second = `scale` real seconds). Restores both on destruction
// and removes the directory.
class TestRoot {
public:
    explicit TestRoot(double scale = 0.001);
    ~TestRoot();
    TestRoot(const TestRoot&) = delete;
    TestRoot& operator=(const TestRoot&) = delete;

    const std::string& dir() const { return m_strDir; }
    // Host path of a device path: dir() + devicePath.
    std::string path(const std::string& devicePath) const { return m_strDir + devicePath; }

    // Writes a file at a device path, creating its folders.
    void writeFile(const std::string& devicePath, const std::string& content) const;
    // Reads a file at a device path ("" if it is missing).
    std::string readFile(const std::string& devicePath) const;
    bool exists(const std::string& devicePath) const;

private:
    std::string m_strDir;
    std::string m_strOldRoot;
    double m_dOldScale;
};

// Captures what the code under test prints on standard output (or, given
// STDERR_FILENO, on standard error: where platform diagnostics go).
class StdoutCapture {
public:
    explicit StdoutCapture(int fd = 1);
    ~StdoutCapture();
    // Ends the capture (if still running) and returns what was printed.
    std::string text();

private:
    int m_nFd;
    int m_nSavedFd = -1;
    std::string m_strFile;
    std::string m_strText;
};

} // namespace kvtest

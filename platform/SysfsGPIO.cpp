// GPIO access through the Linux sysfs GPIO files.
#include "platform/SysfsGPIO.h"

#include "platform/KVRoot.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

const char* const kGpioClassDir = "/sys/class/gpio";
// How long to wait for the kernel and udev to publish a freshly exported line.
constexpr auto kExportWait = std::chrono::milliseconds(100);
constexpr auto kExportPoll = std::chrono::milliseconds(5);

bool underTestRoot() {
    return !kvroot::root().empty();
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

// Reads a small sysfs attribute; false when it cannot be opened or read.
bool readSmall(const std::string& path, std::string& text) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    char buf[32];
    ssize_t n;
    do {
        n = ::read(fd, buf, sizeof buf);
    } while (n < 0 && errno == EINTR);
    ::close(fd);
    if (n < 0)
        return false;
    text.assign(buf, static_cast<size_t>(n));
    return true;
}

bool writeSmall(const std::string& path, const std::string& text, bool create) {
    int flags = O_WRONLY | O_TRUNC | O_CLOEXEC;
    if (create)
        flags |= O_CREAT;
    const int fd = ::open(path.c_str(), flags, 0644);
    if (fd < 0)
        return false;
    ssize_t n;
    do {
        n = ::write(fd, text.data(), text.size());
    } while (n < 0 && errno == EINTR);
    const bool closed = ::close(fd) == 0;
    return n == static_cast<ssize_t>(text.size()) && closed;
}

std::string trimmed(const std::string& s) {
    const auto first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return "";
    const auto last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

} // namespace

SysfsGPIO::SysfsGPIO() = default;
SysfsGPIO::~SysfsGPIO() = default;

std::string SysfsGPIO::linePath(int group, int pin) {
    if (group < 0 || group > kMaxGroup || pin < 0 || pin > 31)
        return "";
    return std::string(kGpioClassDir) + "/gpio" + std::to_string(group * 32 + pin);
}

bool SysfsGPIO::ensureExported(int number, const std::string& lineDir) {
    if (exists(lineDir))
        return true;
    const std::string exportFile = kvroot::resolve(std::string(kGpioClassDir) + "/export");
    if (!exists(exportFile))
        return false;
    // A line that is already exported makes this write fail; its folder is
    // checked below either way.
    writeSmall(exportFile, std::to_string(number), false);
    if (underTestRoot())
        return exists(lineDir);
    const auto deadline = std::chrono::steady_clock::now() + kExportWait;
    while (!exists(lineDir + "/value")) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(kExportPoll);
    }
    return true;
}

int SysfsGPIO::getLevel(int group, int pin, int& level) {
    const std::string line = linePath(group, pin);
    if (line.empty())
        return 0;
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string dir = kvroot::resolve(line);
    ensureExported(group * 32 + pin, dir);
    std::string text;
    if (!readSmall(dir + "/value", text))
        return 0;
    const std::string value = trimmed(text);
    if (value != "0" && value != "1")
        return 0;
    level = value == "1" ? 1 : 0;
    return 1;
}

int SysfsGPIO::setLevel(int group, int pin, int level) {
    const std::string line = linePath(group, pin);
    if (line.empty() || (level != 0 && level != 1))
        return 0;
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string dir = kvroot::resolve(line);
    const bool testRoot = underTestRoot();
    if (!ensureExported(group * 32 + pin, dir) && testRoot) {
        std::error_code ec;
        std::filesystem::create_directories(dir, ec);
    }
    const std::string direction = dir + "/direction";
    std::string current;
    if (readSmall(direction, current) && trimmed(current) != "out") {
        // "high"/"low" make the line an output already at the wanted level.
        if (!writeSmall(direction, level == 1 ? "high" : "low", false))
            return 0;
    }
    return writeSmall(dir + "/value", level == 1 ? "1" : "0", testRoot) ? 1 : 0;
}

int SysfsGPIO::initComplete() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bInitComplete = true;
    return 1;
}

bool SysfsGPIO::isInitComplete() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bInitComplete;
}

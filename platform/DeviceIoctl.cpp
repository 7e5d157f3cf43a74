// Open/ioctl/close seam for character devices.
#include "platform/DeviceIoctl.h"

#include "platform/KVRoot.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<SimulatedDevice>> byPath;
    std::map<int, std::shared_ptr<SimulatedDevice>> byFd;
};

Registry& registry() {
    static Registry r;
    return r;
}

std::shared_ptr<SimulatedDevice> simulatedFor(int fd) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const auto it = r.byFd.find(fd);
    return it == r.byFd.end() ? nullptr : it->second;
}

} // namespace

int kv_dev_open(const char* path, int flags) {
    if (path == nullptr || path[0] == '\0') {
        errno = ENOENT;
        return -1;
    }
    Registry& r = registry();
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        const auto it = r.byPath.find(path);
        if (it != r.byPath.end()) {
            const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
            if (fd < 0)
                return -1;
            r.byFd[fd] = it->second;
            return fd;
        }
    }
    return ::open(kvroot::resolve(path).c_str(), flags | O_CLOEXEC);
}

int kv_dev_ioctl(int fd, unsigned long request, void* arg) {
    // Called outside the registry lock: a simulated device may take its time
    // and the IR thread and the host thread use devices at once.
    if (const auto device = simulatedFor(fd))
        return device->ioctl(request, arg);
    return ::ioctl(fd, request, arg);
}

int kv_dev_close(int fd) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.byFd.erase(fd);
    // The reserved "/dev/null" descriptor of a simulated device goes too.
    return ::close(fd);
}

void DeviceIoctl::registerDevice(const std::string& path, std::shared_ptr<SimulatedDevice> device) {
    if (!device)
        return;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.byPath[path] = std::move(device);
}

void DeviceIoctl::unregisterDevice(const std::string& path) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.byPath.erase(path);
}

void DeviceIoctl::unregisterAll() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.byPath.clear();
}

int DeviceIoctl::openSimulatedCount() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return static_cast<int>(r.byFd.size());
}

// Open/ioctl/close seam for character devices (PWM outputs, ADC).
#pragma once

#include <memory>
#include <string>

// Requests and argument blocks of the board's PWM and ADC drivers.
constexpr unsigned long PWM_IOCTL_CONFIG = 0xC0087A08UL; // PwmConfig {duty, period}
constexpr unsigned long PWM_IOCTL_ENABLE = 0x7A09UL;     // no argument
constexpr unsigned long PWM_IOCTL_DISABLE = 0x7A0AUL;    // no argument
constexpr unsigned long ADC_GET_DATA = 0xC004677FUL;     // AdcData {channel, value}

struct PwmConfig {
    int duty;   // high time, in the period's unit
    int period; // period length
};

struct AdcData {
    int channel; // in: the converter channel
    int value;   // out: the reading
};

// A device that lives in the process instead of the kernel. ioctl() follows
// the system call's contract: 0 (or a non-negative result) on success, -1 with
// errno set on failure. Implementations must be thread-safe.
class SimulatedDevice {
public:
    virtual ~SimulatedDevice() = default;
    virtual int ioctl(unsigned long request, void* arg) = 0;
};

// The device calls of the drivers. By default they are the operating system's
// open/ioctl/close (absolute paths mapped under the platform root); a path
// that has a simulated device registered opens that device instead. A
// simulated descriptor is a real descriptor of "/dev/null" kept open for it,
// so its number can never collide with a real one.
int kv_dev_open(const char* path, int flags);
int kv_dev_ioctl(int fd, unsigned long request, void* arg);
int kv_dev_close(int fd);

// Registry of simulated devices. Registering replaces an earlier device of the
// same path. Unregistering stops new opens only: a descriptor already open
// keeps its device until it is closed.
class DeviceIoctl {
public:
    static void registerDevice(const std::string& path, std::shared_ptr<SimulatedDevice> device);
    static void unregisterDevice(const std::string& path);
    static void unregisterAll();
    // Number of simulated descriptors currently open (tests check for leaks).
    static int openSimulatedCount();
};

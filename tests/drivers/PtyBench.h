// Test support: a register-module controller started on a simulator's pseudo-terminal.
#pragma once

#include "controller/ISensorController.h"
#include "platform/ModuleConfigure.h"
#include "platform/SysfsGPIO.h"
#include "platform/TermiosUARTController.h"
#include "support/TestRoot.h"

#include <filesystem>
#include <string>

namespace kvtest {

// Points the root's serial device at a simulator's pty (replacing an older link).
inline void linkSerialDevice(const TestRoot& root, const std::string& slavePath,
                             const std::string& device = "/dev/ttyS1") {
    std::filesystem::create_directories(std::filesystem::path(root.path(device)).parent_path());
    std::filesystem::remove(root.path(device));
    std::filesystem::create_symlink(slavePath, root.path(device));
}

// A controller started through its module record with the host's serial
// port and the given GPIO (sysfs under the root by default), then taken as
// initialised, as the host's start-up does after initController.
template <class Controller>
class PtyBench : public Controller {
public:
    int start(const char* detail, const char* parameters, IGPIO* gpio = new SysfsGPIO()) {
        this->setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                          SafePointer<IGPIO>(gpio));
        const int result = this->initController(0, ModuleConfigure(0, detail, parameters));
        if (result == 1)
            this->m_SensorStatus = ISensorController::InitSuccess;
        return result;
    }
};

} // namespace kvtest

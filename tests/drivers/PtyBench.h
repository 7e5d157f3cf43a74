// Test support: a register-module controller started on a simulator's pseudo-terminal.
#pragma once

#include "controller/ISensorController.h"
#include "platform/ModuleConfigure.h"
#include "platform/SysfsGPIO.h"
#include "platform/TermiosUARTController.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

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

// One setting through setParameterToSensor: the result, the registers as the
// module then holds them (key, value), and a text the log must hold ("" any).
struct SettingStep {
    int id;
    int value;
    int result;
    std::vector<std::pair<int, int>> registers;
    const char* log;
};

// Runs the steps against a controller on a simulator; a refusal must send nothing.
template <class Controller, class Simulator, std::size_t N>
void checkSettings(Controller& ctl, Simulator& sim, const SettingStep (&steps)[N]) {
    for (const SettingStep& s : steps) {
        SCOPED_TRACE("id " + std::to_string(s.id) + " = " + std::to_string(s.value));
        sim.clearFrames();
        StdoutCapture out;
        EXPECT_EQ(ctl.setParameterToSensor(s.id, s.value), s.result);
        const std::string log = out.text();
        for (const auto& [key, value] : s.registers)
            EXPECT_EQ(sim.registerValue(key), value) << std::hex << key;
        EXPECT_TRUE(contains(log, s.log)) << log;
        if (s.result != 1) {
            EXPECT_TRUE(sim.frames().empty()) << "a refusal sends nothing";
        }
    }
}

} // namespace kvtest

// The controller as sensorctl runs it: root, devices, simulator, manager.
#pragma once

#include "controller/SensorControllerManager.h"
#include "platform/ModuleConfigure.h"
#include "platform/SimulatedDevices.h"
#include "sim/AsciiSimulator.h"
#include "sim/BinarySimulator.h"
#include "sim/ViscaSimulator.h"
#include "tools/DriverClasses.h"
#include "tools/Options.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class HostGpio;

// Does for one controller what the camera's main application does at
// start-up: a serial-port controller and GPIO handed to a
// SensorControllerManager, which is then initialised with the video system,
// the resolution and the module record. Around it the host stand-ins: the
// filesystem root (a temporary one when simulating without --root), the
// scaled clock, simulated PWM outputs and light sensor unless real devices
// are asked for, and the module simulator on a pseudo-terminal (for the
// on-chip ISP, which has no serial line, the simulated ISP driver instead).
// With --driver the named controller class is built directly and given the
// same start-up (operator, then init), with the simulator its row names.
class Session {
public:
    explicit Session(const Options& options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Root, clock, devices, simulator and module record; false with `error`.
    bool prepare(std::string& error);
    // The manager's start-up; false with `error` when the controller did not
    // come up. May be called again: the manager (or the --driver class's
    // row) then builds a new controller.
    bool init(std::string& error);
    bool isInitialised() const { return m_bInitialised; }
    // Ends the controller and its threads, as the application does when it
    // stops; init() brings up a new one.
    void release();

    SafePointer<ISensorController> controller();
    const ModuleConfigure& module() const { return m_objModule; }
    ViscaSimulator* simulator() { return m_pSim.get(); }
    AsciiSimulator* asciiSimulator() { return m_pAsciiSim.get(); }
    // The binary register module's simulator (IT1, ITN, ...).
    BinarySimulator* binarySimulator() { return m_pBinarySim.get(); }
    HostGpio* gpio() { return m_pGpio; }
    // The frames the simulated module received, from the `from`th on, as
    // text: an ASCII frame as it came (":WFCC820"), a binary one in hex
    // ("81 01 04 39 00 FF"). Empty without a simulated module.
    std::vector<std::string> moduleFrames(size_t from = 0) const;
    // Simulated devices (nullptr with --real-devices).
    SimulatedPwm* pwm(int bank) const; // 0 near, 1 middle, 2 far
    SimulatedAdc* adc() const { return m_pAdc.get(); }
    // Value of `key` in the module parameter text, or `fallback`.
    int moduleParameter(const std::string& key, int fallback) const;
    // True when the detail says the light sensor is fitted ("isInfrared=1").
    bool hasLightSensor() const;
    // True when the ISP driver is the simulated one (a host build without
    // --real-devices); the two calls below work only then.
    bool simulatedIsp() const;
    // Sets the scene light the simulated ISP measures.
    bool setLightMeasure(int measure);
    // The word of `code` in the simulated ISP.
    bool ispWord(int code, int& value) const;

private:
    void settleScheme();
    bool prepareRoot(std::string& error);
    bool loadModule(std::string& error);
    // A new controller of the --driver class; returns the module id it drives
    // (its sensor type).
    int makeDriver();
    bool startSimulator(std::string& error);
    // What stands in for the module under --simulate.
    DriverSimulator simulatorKind() const;
    // setOperator and init as the manager does them, on the --driver class.
    void initDriver(const VideoResolution& resolution);

    Options m_objOptions;
    std::string m_strTempRoot; // removed at the end
    std::shared_ptr<SimulatedPwm> m_pPwm[3];
    std::shared_ptr<SimulatedAdc> m_pAdc;
    std::unique_ptr<ViscaSimulator> m_pSim;
    std::unique_ptr<AsciiSimulator> m_pAsciiSim;
    std::unique_ptr<BinarySimulator> m_pBinarySim;
    ModuleConfigure m_objModule;
    HostGpio* m_pGpio = nullptr; // owned by the manager's (or the controller's) safe pointer
    std::unique_ptr<SensorControllerManager> m_pManager;
    const DriverClass* m_pDriverClass = nullptr; // --driver's row
    // Its controller; optional, since a safe pointer cannot be emptied.
    std::optional<SafePointer<ISensorController>> m_pDriver;
    bool m_bDriverUsed = false; // m_pDriver went through an init
    bool m_bInitialised = false;
};

// Value of `key` in a "name=value;name=value" text; false when absent.
bool configValue(const std::string& text, const std::string& key, std::string& value);

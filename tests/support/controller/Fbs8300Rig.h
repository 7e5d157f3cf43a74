// Test rig of the FBS8300 dome driver: simulated module, serial line, LEDs and light sensor.
#pragma once

#include "controller/SensorControllerManager.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "foundation/SafePointer.h"
#include "platform/IGPIO.h"
#include "platform/IUARTController.h"
#include "platform/ModuleConfigure.h"
#include "platform/SimulatedDevices.h"
#include "platform/SysfsGPIO.h"
#include "sim/ViscaSimulator.h"
#include "support/TestRoot.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace kvtest {

// GPIO lines that accept every level: the dome's filter line is the board's,
// the tests only need the base's day/night steps to get through.
class AcceptingGpio : public IGPIO {
public:
    int getLevel(int, int, int& level) override {
        level = 1;
        return 1;
    }
    int setLevel(int, int, int) override { return 1; }
    int initComplete() override { return 1; }
};

// The driver with its protected state opened up for the tests.
class Fbs8300Driver : public AmbaS2FBS8300SenseController {
public:
    // Lets the parameter entry points through without a full base init.
    void markInitSuccess() { m_SensorStatus = InitSuccess; }
    void setStatus(int status) { m_SensorStatus = status; }
    int status() const { return m_SensorStatus; }
    int port() const { return m_nUARTPort; }
    int baudRate() const { return m_nBaudarate; }
    int dataBits() const { return m_nDataBits; }
    int parity() const { return m_nParity; }
    int stopBits() const { return m_nStopBits; }
    int generation() const { return m_nGeneration; }
    int isInfrared() const { return m_nIsInfrared; }
    bool isNewInfrared() const { return m_bIsNewInfrared; }
    std::string dcDay() const { return m_strDCDay; }
    std::string dcNight() const { return m_strDCNight; }
    int dnSource() const { return m_nDNSource; }
    bool irBoard() const { return m_bIRBoard; }
    int switchDelay() const { return m_nDNSwitchDelay; }
    int baseDayNightMode() const { return m_nDayNightMode; }
    int moduleDayNightMode() const { return m_nModuleDayNightMode; }
    void setDNState(int state) { m_nDNState = state; }
    int exposalMode() const { return m_nExposalMode; }
    int focusMode() const { return m_nFocusMode; }
    int ntoD() const { return m_nNtoDSensitivity; }
    int dtoN() const { return m_nDtoNSensitivity; }
    ZoomIrIllumination& ir() { return m_objIr; }
    bool irThreadRunning() const;
    // Stores a value in the parameter store, as a set through the base would.
    int storeParameter(int id, int value);
    void setPort(int port) { m_nUARTPort = port; }
    void setGeneration(int generation) { m_nGeneration = generation; }
    void setSensitivities(int ntoD, int dtoN) {
        m_nNtoDSensitivity = ntoD;
        m_nDtoNSensitivity = dtoN;
    }
};

// Everything a FBS8300 driver test needs, built in this order and torn down in
// reverse: a temporary root at clock scale `scale` (0.01 keeps the 20 s module
// restart at 0.2 s real and lets silence be told apart from the UART's 20 ms
// floor), the simulated module on a pty, a termios UART handed to the driver,
// the three PWM outputs and the ADC registered with DeviceIoctl, and the
// driver itself (not initialised). The module configuration is the sample of
// examples/rootfs with the serial device replaced by the simulator's pty.
class Fbs8300Rig {
public:
    using Bytes = ViscaSimulator::Bytes;

    // The sample module configuration texts (RS485 device patched in detail()).
    static const char* const kDetail;
    static const char* const kParameters;

    explicit Fbs8300Rig(double scale = 0.01,
                        ViscaSimulator::Options options = ViscaSimulator::Options());
    ~Fbs8300Rig();
    Fbs8300Rig(const Fbs8300Rig&) = delete;
    Fbs8300Rig& operator=(const Fbs8300Rig&) = delete;

    // kDetail with "RS485=" naming the simulator's pty.
    std::string detail() const;
    ModuleConfigure config() const;
    ModuleConfigure config(const std::string& detail, const std::string& parameters) const;

    // Copies examples/rootfs (ZMA table, IR power table, ISP file, module
    // configuration) into the root.
    void installSampleFiles() const;

    // Hands the UART and GPIO to the driver and runs its initController with config().
    int initController();
    int initController(const ModuleConfigure& configuration);
    // installSampleFiles and initController, then marks the driver ready
    // (InitSuccess) and forgets the frames so far: where most tests start.
    bool initReady();
    // Without initController: opens the simulator's pty at 9600 8N1, hands the
    // port to the driver and marks it ready. For tests of single exchanges.
    bool connectReady();

    // Frames the module received, and helpers to compare them.
    std::vector<Bytes> frames() const { return sim.frames(); }
    static Bytes bytes(std::initializer_list<int> values);
    // True when `frame` was received at least once.
    bool received(const Bytes& frame) const;
    static std::string hex(const Bytes& frame);
    static std::string hex(const std::vector<Bytes>& frames);

    TestRoot root;
    ViscaSimulator sim;
    SafePointer<IUARTController> uart;
    SafePointer<IGPIO> gpio;
    std::shared_ptr<SimulatedPwm> nearPwm;
    std::shared_ptr<SimulatedPwm> midPwm;
    std::shared_ptr<SimulatedPwm> farPwm;
    std::shared_ptr<SimulatedAdc> adc;
    std::unique_ptr<Fbs8300Driver> driver;
};

} // namespace kvtest

namespace kvtest {

// The whole dome as the host sees it, for end-to-end tests through the
// manager: the sample unit's files (examples/rootfs) in a temporary root at
// clock scale 0.01, the simulated module linked as the unit's "/dev/ttyS1"
// (so the sample moduleConfig.xml is used unchanged), the PWM outputs and the
// ADC (reading 500, between the sample's to-night 400 and to-day 600), the
// simulated ISP adapter reset, sysfs GPIO under the root, and a manager. The
// destructor releases the manager first and reports leaked PWM/ADC
// descriptors as a test failure.
class Fbs8300Dome {
public:
    using Bytes = ViscaSimulator::Bytes;

    explicit Fbs8300Dome(ViscaSimulator::Options options = ViscaSimulator::Options());
    ~Fbs8300Dome();
    Fbs8300Dome(const Fbs8300Dome&) = delete;
    Fbs8300Dome& operator=(const Fbs8300Dome&) = delete;

    // The host's start-up: serial link and GPIO to the manager, then init
    // with the unit's module record, video system 0 (PAL, the module's own
    // format, so no restart). What it prints goes to initOutput.
    SafePointer<ISensorController> init();

    // Frames received (hex, as Fbs8300Rig::hex), and the commands (81 01 ..)
    // among them: the inquiries of the worker (gain, every second) and of
    // the IR thread (zoom, at night) left out. Unless `attempts`, a frame
    // sent again right after itself counts once: on a loaded machine an
    // answer can miss the 20 ms real floor of the UART's wait at scale 0.01,
    // and the driver's retry is then right, not a second command.
    std::vector<std::string> frames(bool attempts = false) const;
    std::vector<std::string> commands(bool attempts = false) const;
    int countCommands(const std::string& prefix) const;
    bool hasCommand(const std::string& frame) const;
    // The error log and the init log (current files), one after the other.
    std::string logs() const;
    // Standard output of init(): every ErrorPrintf line, also those that the
    // 10 KB error log has rotated away by the end of a noisy start-up.
    std::string initOutput;

    TestRoot root;
    std::shared_ptr<SimulatedPwm> nearPwm;
    std::shared_ptr<SimulatedPwm> midPwm;
    std::shared_ptr<SimulatedPwm> farPwm;
    std::shared_ptr<SimulatedAdc> adc;
    ViscaSimulator sim;
    SysfsGPIO* gpio; // owned by the manager's safe pointer
    std::unique_ptr<SensorControllerManager> manager;
};

} // namespace kvtest

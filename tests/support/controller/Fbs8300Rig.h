// Test rig of the zoom dome drivers (FBS8300, CMD7400): simulated module, serial line, LEDs and
// light sensor.
#pragma once

#include "controller/SensorControllerManager.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "foundation/SafePointer.h"
#include "platform/IUARTController.h"
#include "platform/SimulatedDevices.h"
#include "platform/SysfsGPIO.h"
#include "sim/ViscaSimulator.h"
#include "support/TestRoot.h"

#include <memory>
#include <string>
#include <vector>

namespace kvtest {

// The driver with the protected state the tests read or preset opened up.
class Fbs8300Driver : public AmbaS2FBS8300SenseController {
public:
    // The threads call this object's virtual hooks: stop them before its
    // destruction starts changing the object's type.
    ~Fbs8300Driver() override {
        m_pObjIrLedContrlThread->requestStop();
        m_DNChangeThread->requestStop();
        m_pObjIrLedContrlThread->stop();
        m_DNChangeThread->stop();
    }
    void setStatus(int status) { m_SensorStatus = status; }
    void setPort(int port) { m_nUARTPort = port; }
    void setGeneration(int generation) { m_objSettings.setGeneration(generation); }
    // The day/night worker reads these: take its lock as the base does.
    void setDNState(int state) {
        KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
        m_nDNState = state;
    }
    int lastDNMode() {
        KVMutexLocker lock(m_DNMutex, __FILE__, __LINE__);
        return m_nLastDayNightMode;
    }
    KVMutex& controllerLock() { return m_mutex; }
    int dnSource() const { return m_nDNSource; }
    int ntoD() const { return m_objSettings.ntoDSensitivity(); }
    int dtoN() const { return m_objSettings.dtoNSensitivity(); }
    ZoomIrIllumination& ir() { return m_objIr; }
    // Stores a value in the parameter store, as a set through the base would.
    int storeParameter(int id, int value) { return m_pSensorCache->setSensorValue(id, value); }
};

// The whole dome at clock scale 0.01 (the 20 s module restart takes 0.2 s
// real, and silence can be told from the UART's 20 ms floor): a temporary
// root holding the sample unit's files (examples/rootfs) unless
// `sampleFiles` is false, the simulated module linked as the unit's
// "/dev/ttyS1" (so the sample moduleConfig.xml is used unchanged), the three
// PWM outputs and the ADC (reading 500, between the sample's to-night 400 and
// to-day 600), the simulated ISP adapter reset, sysfs GPIO under the root,
// and a driver (not initialised). init() instead starts a manager as the host does. The
// destructor reports leaked PWM/ADC descriptors as a test failure.
class Fbs8300Rig {
public:
    using Bytes = ViscaSimulator::Bytes;

    // The sample unit's module record.
    static const char* const kDetail;
    static const char* const kParameters;

    explicit Fbs8300Rig(ViscaSimulator::Options options = ViscaSimulator::Options(),
                        bool sampleFiles = true);
    ~Fbs8300Rig();
    Fbs8300Rig(const Fbs8300Rig&) = delete;
    Fbs8300Rig& operator=(const Fbs8300Rig&) = delete;

    void installSampleFiles() const;
    // Makes the unit another VISCA module: its id in moduleConfig.xml (the
    // rest of the record as the sample's) and, as init() then builds it, its
    // driver through the manager. The simulator plays the model of the rig's
    // options (modelOptions("cmd7400"), ...).
    void useModule(int moduleId) const;
    // Replaces `from` by `to` in the unit's moduleConfig.xml record.
    void editModuleRecord(const std::string& from, const std::string& to) const;
    static ViscaSimulator::Options modelOptions(const char* model);

    // Driver level. initController hands the UART and GPIO to the driver and
    // runs its initController. connectReady skips the start-up: it opens the
    // line at 9600 8N1 and marks the driver ready, for tests of single exchanges.
    int initController(const std::string& detail = kDetail,
                       const std::string& parameters = kParameters);
    bool connectReady();

    // Manager level: the host's start-up with the unit's module record and
    // video system 0 (PAL, the module's own format, so no restart). What it
    // prints goes to initOutput.
    SafePointer<ISensorController> init();

    // Frames received ("81 01 04 ..", hex text) that start with `prefix`, and
    // the commands (81 01 ..) among them: the inquiries of the worker (gain,
    // every second) and of the IR thread (zoom, at night) left out. Unless
    // `attempts`, a frame sent again right after itself counts once: on a
    // loaded machine an answer can miss the 20 ms real floor of the UART's
    // wait, and the driver's retry is then right, not a second command.
    std::vector<std::string> frames(bool attempts = false, const std::string& prefix = "") const;
    std::vector<std::string> commands(bool attempts = false) const {
        return frames(attempts, "81 01 ");
    }
    // Commands starting with `prefix` (a whole frame counts that frame).
    int countCommands(const std::string& prefix) const;
    // The error log and the init log (current files), one after the other.
    std::string logs() const;
    // Standard output of init(): every ErrorPrintf line, also those that the
    // 10 KB error log has rotated away by the end of a noisy start-up.
    std::string initOutput;

    TestRoot root;
    ViscaSimulator sim;
    std::shared_ptr<SimulatedPwm> nearPwm;
    std::shared_ptr<SimulatedPwm> midPwm;
    std::shared_ptr<SimulatedPwm> farPwm;
    std::shared_ptr<SimulatedAdc> adc;
    SafePointer<IUARTController> uart;
    std::unique_ptr<Fbs8300Driver> driver;
    SysfsGPIO* gpio = nullptr; // init()'s, owned by the manager
    std::unique_ptr<SensorControllerManager> manager;
    // PWM/ADC descriptors the test expects still open at the end (a failed
    // light-sensor reading keeps the ADC open).
    int keptOpen = 0;
};

} // namespace kvtest

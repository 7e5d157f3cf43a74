// Test rig of the FBS8300 dome driver: simulated module, serial line, LEDs and light sensor.
#include "support/controller/Fbs8300Rig.h"

#include "platform/DeviceIoctl.h"
#include "platform/GlobalEnv.h"
#include "platform/ModuleConfigureParser.h"
#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "platform/kvia.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace kvtest {

bool Fbs8300Driver::irThreadRunning() const {
    return m_pObjIrLedContrlThread.get() != nullptr && m_pObjIrLedContrlThread->isRunning();
}

int Fbs8300Driver::storeParameter(int id, int value) {
    return m_pSensorCache->setSensorValue(id, value);
}

const char* const Fbs8300Rig::kDetail =
    "RS485=/dev/ttyS1;isInfrared=1;isNewInfrared=1;generation=3";
const char* const Fbs8300Rig::kParameters =
    "RS485=9600,8,0,1;DCDay=1,3;DCNight=0,3;toDayADCVal=600;toNightADCVal=400;toDayDelay=5;"
    "GUIConfig=FBS8300GUIConfig.xml;Prefix=FBS8300";

Fbs8300Rig::Fbs8300Rig(double scale, ViscaSimulator::Options options)
    : root(scale), sim(options), uart(new TermiosUARTController()), gpio(new AcceptingGpio()),
      nearPwm(std::make_shared<SimulatedPwm>()), midPwm(std::make_shared<SimulatedPwm>()),
      farPwm(std::make_shared<SimulatedPwm>()), adc(std::make_shared<SimulatedAdc>()) {
    DeviceIoctl::registerDevice("/dev/pwm1", nearPwm);
    DeviceIoctl::registerDevice("/dev/pwm2", midPwm);
    DeviceIoctl::registerDevice("/dev/pwm4", farPwm);
    DeviceIoctl::registerDevice("/dev/adc", adc);
    ZoomIrIllumination::resetFirstReading(ZoomIrIllumination::Family::FBS8300);
    driver = std::make_unique<Fbs8300Driver>();
}

Fbs8300Rig::~Fbs8300Rig() {
    driver.reset();
    DeviceIoctl::unregisterAll();
    GlobalEnv::getInstance()->setPrintFlag(0);
}

std::string Fbs8300Rig::detail() const {
    std::string text(kDetail);
    const std::string device = "/dev/ttyS1";
    text.replace(text.find(device), device.size(), sim.slavePath());
    return text;
}

ModuleConfigure Fbs8300Rig::config() const {
    return ModuleConfigure(AmbaS2FBS8300SenseController::kSensorType, detail(), kParameters);
}

ModuleConfigure Fbs8300Rig::config(const std::string& detailText,
                                   const std::string& parameters) const {
    return ModuleConfigure(AmbaS2FBS8300SenseController::kSensorType, detailText, parameters);
}

void Fbs8300Rig::installSampleFiles() const {
    namespace fs = std::filesystem;
    const fs::path source = fs::path(KV_SOURCE_DIR) / "examples" / "rootfs";
    std::error_code error;
    fs::copy(source, fs::path(root.dir()),
             fs::copy_options::recursive | fs::copy_options::overwrite_existing, error);
}

int Fbs8300Rig::initController() {
    return initController(config());
}

int Fbs8300Rig::initController(const ModuleConfigure& configuration) {
    driver->setOperator(uart, gpio);
    return driver->initController(AmbaS2FBS8300SenseController::kSensorType, configuration);
}

bool Fbs8300Rig::initReady() {
    installSampleFiles();
    const int result = initController();
    driver->markInitSuccess();
    sim.clearFrames();
    return result != 0;
}

bool Fbs8300Rig::connectReady() {
    driver->setOperator(uart, gpio);
    const int port = uart->open(sim.slavePath().c_str());
    if (port < 0 || uart->setParameter(port, 9600, 8, 1, 0) == 0)
        return false;
    driver->setPort(port);
    driver->markInitSuccess();
    return true;
}

Fbs8300Rig::Bytes Fbs8300Rig::bytes(std::initializer_list<int> values) {
    Bytes out;
    for (int value : values)
        out.push_back(static_cast<uint8_t>(value));
    return out;
}

bool Fbs8300Rig::received(const Bytes& frame) const {
    for (const Bytes& seen : sim.frames())
        if (seen == frame)
            return true;
    return false;
}

std::string Fbs8300Rig::hex(const Bytes& frame) {
    std::string out;
    char part[4];
    for (uint8_t byte : frame) {
        std::snprintf(part, sizeof(part), "%02X ", static_cast<unsigned>(byte));
        out += part;
    }
    if (!out.empty())
        out.pop_back();
    return out;
}

std::string Fbs8300Rig::hex(const std::vector<Bytes>& frames) {
    std::string out;
    for (const Bytes& frame : frames)
        out += hex(frame) + "\n";
    return out;
}

} // namespace kvtest

// ---- Fbs8300Dome ------------------------------------------------------------

namespace kvtest {

Fbs8300Dome::Fbs8300Dome(ViscaSimulator::Options options)
    : root(0.01), nearPwm(std::make_shared<SimulatedPwm>()),
      midPwm(std::make_shared<SimulatedPwm>()), farPwm(std::make_shared<SimulatedPwm>()),
      adc(std::make_shared<SimulatedAdc>()), sim(options), gpio(new SysfsGPIO()) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::copy(fs::path(KV_SOURCE_DIR) / "examples" / "rootfs", fs::path(root.dir()),
             fs::copy_options::recursive | fs::copy_options::overwrite_existing, error);
    fs::create_directories(root.path("/dev"), error);
    fs::create_symlink(sim.slavePath(), root.path("/dev/ttyS1"), error);
    root.writeFile("/mnt/mtd/code/config_file/.keep", "");
    PlatformClock::setTimeOfDay(12, 0);
    KviaSimulator::reset();
    ZoomIrIllumination::resetFirstReading(ZoomIrIllumination::Family::FBS8300);
    DeviceIoctl::registerDevice("/dev/pwm1", nearPwm);
    DeviceIoctl::registerDevice("/dev/pwm2", midPwm);
    DeviceIoctl::registerDevice("/dev/pwm4", farPwm);
    DeviceIoctl::registerDevice("/dev/adc", adc);
    adc->setValue(500);
}

Fbs8300Dome::~Fbs8300Dome() {
    const bool managed = manager != nullptr;
    manager.reset();
    if (!managed)
        delete gpio;
    EXPECT_EQ(DeviceIoctl::openSimulatedCount(), 0) << "PWM/ADC descriptors leaked";
    DeviceIoctl::unregisterAll();
}

SafePointer<ISensorController> Fbs8300Dome::init() {
    std::vector<ModuleConfigure> modules;
    EXPECT_EQ(ModuleConfigureParser::parse(modules), 1);
    EXPECT_EQ(modules.size(), 1u);
    manager = std::make_unique<SensorControllerManager>();
    manager->setUARTController(SafePointer<IUARTController>(new TermiosUARTController()));
    manager->setGPIO(SafePointer<IGPIO>(gpio));
    StdoutCapture quiet;
    manager->init(0, VideoResolution(), modules.empty() ? ModuleConfigure() : modules.front());
    initOutput = quiet.text();
    return manager->getSensorController();
}

std::vector<std::string> Fbs8300Dome::frames(bool attempts) const {
    std::vector<std::string> out;
    for (const Bytes& frame : sim.frames()) {
        std::string text = Fbs8300Rig::hex(frame);
        if (attempts || out.empty() || out.back() != text)
            out.push_back(std::move(text));
    }
    return out;
}

std::vector<std::string> Fbs8300Dome::commands(bool attempts) const {
    std::vector<std::string> out;
    for (const Bytes& frame : sim.frames()) {
        if (frame.size() < 3 || frame[0] != 0x81 || frame[1] != 0x01)
            continue;
        std::string text = Fbs8300Rig::hex(frame);
        if (attempts || out.empty() || out.back() != text)
            out.push_back(std::move(text));
    }
    return out;
}

int Fbs8300Dome::countCommands(const std::string& prefix) const {
    int count = 0;
    for (const std::string& frame : commands())
        count += frame.compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
    return count;
}

bool Fbs8300Dome::hasCommand(const std::string& frame) const {
    const std::vector<std::string> all = commands();
    return std::find(all.begin(), all.end(), frame) != all.end();
}

std::string Fbs8300Dome::logs() const {
    return root.readFile("/mnt/mtd/log/SensorError.log") +
           root.readFile("/mnt/mtd/log/SensorInit.log");
}

} // namespace kvtest

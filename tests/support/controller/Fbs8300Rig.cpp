// Test rig of the FBS8300 dome driver: simulated module, serial line, LEDs and light sensor.
#include "support/controller/Fbs8300Rig.h"

#include "platform/DeviceIoctl.h"
#include "platform/GlobalEnv.h"
#include "platform/ModuleConfigure.h"
#include "platform/ModuleConfigureParser.h"
#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "platform/kvia.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <utility>

namespace kvtest {

const char* const Fbs8300Rig::kDetail =
    "RS485=/dev/ttyS1;isInfrared=1;isNewInfrared=1;generation=3";
const char* const Fbs8300Rig::kParameters =
    "RS485=9600,8,0,1;DCDay=1,3;DCNight=0,3;toDayADCVal=600;toNightADCVal=400;toDayDelay=5;"
    "GUIConfig=FBS8300GUIConfig.xml;Prefix=FBS8300";

Fbs8300Rig::Fbs8300Rig(ViscaSimulator::Options options, bool sampleFiles)
    : root(0.01), sim(options), nearPwm(std::make_shared<SimulatedPwm>()),
      midPwm(std::make_shared<SimulatedPwm>()), farPwm(std::make_shared<SimulatedPwm>()),
      adc(std::make_shared<SimulatedAdc>()), uart(new TermiosUARTController()),
      driver(std::make_unique<Fbs8300Driver>()) {
    if (sampleFiles)
        installSampleFiles();
    std::error_code error;
    std::filesystem::create_directories(root.path("/dev"), error);
    std::filesystem::create_symlink(sim.slavePath(), root.path("/dev/ttyS1"), error);
    root.writeFile("/mnt/mtd/code/config_file/.keep", "");
    PlatformClock::setTimeOfDay(12, 0);
    KviaSimulator::reset();
    ZoomIrIllumination::resetFirstReading(ZoomIrIllumination::Family::FBS8300);
    ZoomIrIllumination::resetFirstReading(ZoomIrIllumination::Family::CMD7400);
    const std::pair<const char*, std::shared_ptr<SimulatedDevice>> devices[] = {
        {"/dev/pwm1", nearPwm}, {"/dev/pwm2", midPwm}, {"/dev/pwm4", farPwm}, {"/dev/adc", adc}};
    for (const auto& device : devices)
        DeviceIoctl::registerDevice(device.first, device.second);
    adc->setValue(500);
}

Fbs8300Rig::~Fbs8300Rig() {
    manager.reset();
    driver.reset();
    EXPECT_EQ(DeviceIoctl::openSimulatedCount(), keptOpen) << "PWM/ADC descriptors leaked";
    DeviceIoctl::unregisterAll();
    KviaSimulator::reset();
    GlobalEnv::getInstance()->setPrintFlag(0);
}

void Fbs8300Rig::installSampleFiles() const {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::copy(fs::path(KV_SOURCE_DIR) / "examples" / "rootfs", fs::path(root.dir()),
             fs::copy_options::recursive | fs::copy_options::overwrite_existing, error);
}

void Fbs8300Rig::useModule(int moduleId) const {
    editModuleRecord("<module id=\"82\"", "<module id=\"" + std::to_string(moduleId) + "\"");
}

void Fbs8300Rig::editModuleRecord(const std::string& from, const std::string& to) const {
    const std::string path = "/hd1/moduleConfig/moduleConfig.xml";
    std::string xml = root.readFile(path);
    const std::string::size_type at = xml.find(from);
    ASSERT_NE(at, std::string::npos) << xml;
    xml.replace(at, from.size(), to);
    root.writeFile(path, xml);
}

ViscaSimulator::Options Fbs8300Rig::modelOptions(const char* model) {
    ViscaSimulator::Options options;
    options.model = findViscaModel(model);
    return options;
}

int Fbs8300Rig::initController(const std::string& detail, const std::string& parameters) {
    driver->setOperator(uart, SafePointer<IGPIO>(new SysfsGPIO()));
    return driver->initController(
        AmbaS2FBS8300SenseController::kSensorType,
        ModuleConfigure(AmbaS2FBS8300SenseController::kSensorType, detail, parameters));
}

bool Fbs8300Rig::connectReady() {
    driver->setOperator(uart, SafePointer<IGPIO>(new SysfsGPIO()));
    const int port = uart->open(sim.slavePath().c_str());
    if (port < 0 || uart->setParameter(port, 9600, 8, 1, 0) == 0)
        return false;
    driver->setPort(port);
    driver->setStatus(ISensorController::InitSuccess);
    return true;
}

SafePointer<ISensorController> Fbs8300Rig::init() {
    std::vector<ModuleConfigure> modules;
    EXPECT_EQ(ModuleConfigureParser::parse(modules), 1);
    EXPECT_EQ(modules.size(), 1u);
    manager = std::make_unique<SensorControllerManager>();
    manager->setUARTController(SafePointer<IUARTController>(new TermiosUARTController()));
    gpio = new SysfsGPIO();
    manager->setGPIO(SafePointer<IGPIO>(gpio));
    StdoutCapture quiet;
    manager->init(0, VideoResolution(), modules.empty() ? ModuleConfigure() : modules.front());
    initOutput = quiet.text();
    return manager->getSensorController();
}

std::vector<std::string> Fbs8300Rig::frames(bool attempts, const std::string& prefix) const {
    std::vector<std::string> out;
    for (const Bytes& frame : sim.frames()) {
        std::string text;
        char part[4];
        for (uint8_t byte : frame) {
            std::snprintf(part, sizeof(part), text.empty() ? "%02X" : " %02X",
                          static_cast<unsigned>(byte));
            text += part;
        }
        if (text.compare(0, prefix.size(), prefix) == 0 &&
            (attempts || out.empty() || out.back() != text))
            out.push_back(std::move(text));
    }
    return out;
}

int Fbs8300Rig::countCommands(const std::string& prefix) const {
    int count = 0;
    for (const std::string& frame : commands())
        count += frame.compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
    return count;
}

std::string Fbs8300Rig::logs() const {
    return root.readFile("/mnt/mtd/log/SensorError.log") +
           root.readFile("/mnt/mtd/log/SensorInit.log");
}

} // namespace kvtest

// The controller as sensorctl runs it: root, devices, simulator, manager.
#include "tools/Session.h"

#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "platform/DeviceIoctl.h"
#include "platform/GlobalEnv.h"
#include "platform/KVRoot.h"
#include "platform/ModuleConfigureParser.h"
#include "platform/PlatformClock.h"
#include "platform/TermiosUARTController.h"
#include "platform/kvia.h"
#include "sim/AsciiModels.h"
#include "sim/BinaryModules.h"
#include "sim/ViscaModels.h"
#include "tools/HostGpio.h"
#include "tools/ParameterNames.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool isIspModule(int moduleId) {
    return moduleId == AmbaS2SenseController::kSensorType;
}

// A bright reading (above the sample's to-day threshold of 600).
constexpr int kDaylightReading = 700;

const char* const kPwmPaths[3] = {"/dev/pwm1", "/dev/pwm2", "/dev/pwm4"};

// Replaces the serial device in a detail text (RS485=, RS232= or, as the
// ASCII register modules name it, RS232DeviceName=; added as RS485= when none
// is there).
std::string withDevice(const std::string& detail, const std::string& device) {
    for (const char* key : {"RS485=", "RS232=", "RS232DeviceName="}) {
        size_t at = 0;
        while ((at = detail.find(key, at)) != std::string::npos) {
            if (at == 0 || detail[at - 1] == ';')
                break;
            ++at;
        }
        if (at == std::string::npos)
            continue;
        const size_t begin = at + std::strlen(key);
        const size_t end = detail.find(';', begin);
        return detail.substr(0, begin) + device +
               (end == std::string::npos ? std::string() : detail.substr(end));
    }
    return "RS485=" + device + (detail.empty() ? "" : ";" + detail);
}

} // namespace

bool configValue(const std::string& text, const std::string& key, std::string& value) {
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(';', start);
        if (end == std::string::npos)
            end = text.size();
        const std::string item = text.substr(start, end - start);
        const size_t eq = item.find('=');
        if (eq != std::string::npos && item.compare(0, eq, key) == 0 && eq == key.size()) {
            value = item.substr(eq + 1);
            return true;
        }
        start = end + 1;
    }
    return false;
}

Session::Session(const Options& options)
    : m_objOptions(options), m_pDriverClass(findDriverClass(options.driver)) {}

Session::~Session() {
    // The controller (and its threads) go first, then what it used.
    release();
    m_pSim.reset();
    m_pAsciiSim.reset();
    m_pBinarySim.reset();
    if (!m_objOptions.realDevices)
        DeviceIoctl::unregisterAll();
    if (!m_strTempRoot.empty()) {
        std::error_code ignored;
        fs::remove_all(m_strTempRoot, ignored);
    }
}

bool Session::prepare(std::string& error) {
    PlatformClock::setTimeScale(m_objOptions.timeScale);
    GlobalEnv::getInstance()->setPrintFlag(m_objOptions.verbose ? 1 : 0);
    if (!prepareRoot(error))
        return false;
    if (!m_objOptions.realDevices) {
        for (int bank = 0; bank < 3; ++bank) {
            m_pPwm[bank] = std::make_shared<SimulatedPwm>();
            DeviceIoctl::registerDevice(kPwmPaths[bank], m_pPwm[bank]);
        }
        m_pAdc = std::make_shared<SimulatedAdc>();
        m_pAdc->setValue(kDaylightReading);
        DeviceIoctl::registerDevice("/dev/adc", m_pAdc);
    }
    if (!loadModule(error))
        return false;
#ifdef KV_SIMULATED_ISP
    // The ISP's words as after power-up, for the unit's first factory file.
    if (simulatedIsp() && simulatorKind() == DriverSimulator::Isp)
        KviaSimulator::loadPowerUpValues();
#endif
    return true;
}

bool Session::prepareRoot(std::string& error) {
    std::string root = m_objOptions.root;
    if (m_objOptions.simulate && !m_objOptions.rootGiven) {
        // A simulated unit gets a scratch root: its files never touch this machine's.
        std::string pattern = (fs::temp_directory_path() / "sensorctl.XXXXXX").string();
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (::mkdtemp(buffer.data()) == nullptr) {
            error = "cannot create a temporary root directory";
            return false;
        }
        root = m_strTempRoot = buffer.data();
    }
    std::error_code code;
    if (!fs::is_directory(root, code)) {
        error = "root directory " + root + " does not exist";
        return false;
    }
    kvroot::setRoot(root == "/" ? "" : root);
    if (root != "/") {
        // Where the controller keeps its parameter files and logs.
        for (const char* dir : {"/mnt/mtd/code/config_file", "/mnt/mtd/log"})
            fs::create_directories(kvroot::resolve(dir), code);
    }
    return true;
}

bool Session::loadModule(std::string& error) {
    std::vector<ModuleConfigure> modules;
    ModuleConfigureParser::parse(modules);
    // --driver: the record of the module id the class drives.
    const int wanted = m_pDriverClass != nullptr ? makeDriver() : m_objOptions.moduleId;
    bool found = false;
    for (const ModuleConfigure& module : modules) {
        if (wanted < 0 || module.getModuleId() == wanted) {
            m_objModule = module;
            found = true;
            break;
        }
    }
    if (!found) {
        // A --driver class without a record runs on its row's sample. A
        // module with a simulator model but no record (simulated, or named
        // with --module) gets the sample unit's: its serial line, lamp and DC keys
        // suit every VISCA model. The on-chip ISP gets its own sample.
        const int sampleId = m_objOptions.moduleId < 0 ? AmbaS2FBS8300SenseController::kSensorType
                                                       : m_objOptions.moduleId;
        const bool sample = m_objOptions.simulate || m_objOptions.moduleId >= 0;
        if (m_pDriverClass != nullptr) {
            m_objModule =
                ModuleConfigure(wanted, m_pDriverClass->detail, m_pDriverClass->parameters);
        } else if (sample && viscaModelOfModule(sampleId) != nullptr) {
            m_objModule = ModuleConfigure(sampleId, kViscaSampleDetail, kViscaSampleParameters);
        } else if (sample && isIspModule(sampleId)) {
            m_objModule = ModuleConfigure(sampleId, kIspSampleDetail, kIspSampleParameters);
        } else if (m_objOptions.moduleId >= 0) {
            m_objModule = ModuleConfigure(m_objOptions.moduleId, "", "");
        } else {
            error = std::string("no module in ") + ModuleConfigureParser::DefaultPath +
                    " under root " + m_objOptions.root + " (give --module)";
            return false;
        }
    }
    if (m_objOptions.detailGiven)
        m_objModule.setDetail(m_objOptions.detail);
    if (m_objOptions.paramsGiven)
        m_objModule.setParameters(m_objOptions.params);
    const DriverSimulator kind = simulatorKind();
    if (m_objOptions.simulate && kind != DriverSimulator::None && kind != DriverSimulator::Isp)
        return startSimulator(error);
    if (!m_objOptions.device.empty())
        m_objModule.setDetail(withDevice(m_objModule.getDetail(), m_objOptions.device));
    return true;
}

int Session::makeDriver() {
    m_pDriver.reset();
    m_pDriver.emplace(m_pDriverClass->make());
    m_bDriverUsed = false;
    return (*m_pDriver)->getSensorType();
}

DriverSimulator Session::simulatorKind() const {
    if (m_pDriverClass != nullptr)
        return m_pDriverClass->simulator;
    // Through the manager: the VISCA model of the module id (the default
    // model for an id without one), the simulated ISP driver for the on-chip
    // ISP, which has no serial line.
    return isIspModule(m_objModule.getModuleId()) ? DriverSimulator::Isp : DriverSimulator::Visca;
}

// The simulator takes the place of the record's serial device.
bool Session::startSimulator(std::string& error) {
    const char* model = m_pDriverClass != nullptr ? m_pDriverClass->model : nullptr;
    std::string device;
    if (simulatorKind() == DriverSimulator::Ascii) {
        m_pAsciiSim =
            std::make_unique<AsciiSimulator>(model != nullptr ? findAsciiModel(model) : nullptr);
        if (m_pAsciiSim->isRunning())
            device = m_pAsciiSim->slavePath();
    } else if (const char* protocol = binaryProtocol(simulatorKind())) {
        m_pBinarySim = makeBinarySimulator(protocol, model != nullptr ? model : "");
        if (m_pBinarySim && m_pBinarySim->isRunning())
            device = m_pBinarySim->slavePath();
    } else {
        ViscaSimulator::Options simOptions;
        simOptions.model = model != nullptr ? findViscaModel(model)
                                            : viscaModelOfModule(m_objModule.getModuleId());
        m_pSim = std::make_unique<ViscaSimulator>(simOptions);
        if (m_pSim->isRunning())
            device = m_pSim->slavePath();
    }
    if (device.empty()) {
        error = "the module simulator could not start (no pseudo-terminal)";
        return false;
    }
    m_objModule.setDetail(withDevice(m_objModule.getDetail(), device));
    return true;
}

bool Session::init(std::string& error) {
    m_bInitialised = false;
    // Sysfs lines only where they are the unit's: real devices, or files under a root.
    const bool sysfs = m_objOptions.realDevices || !kvroot::root().empty();
    m_pManager.reset();
    m_pGpio = new HostGpio(sysfs);
    const VideoResolution resolution(m_objOptions.width, m_objOptions.height);
    if (m_pDriverClass != nullptr) {
        initDriver(resolution);
    } else {
        m_pManager = std::make_unique<SensorControllerManager>();
        m_pManager->setUARTController(SafePointer<IUARTController>(new TermiosUARTController()));
        m_pManager->setGPIO(SafePointer<IGPIO>(m_pGpio));
        m_pManager->init(m_objOptions.videoSystem, resolution, m_objModule);
    }
    m_bInitialised = m_pGpio->isInitComplete();
    if (!m_bInitialised) {
        error =
            (m_pDriverClass != nullptr ? std::string(m_pDriverClass->name)
                                       : "module " + std::to_string(m_objModule.getModuleId())) +
            " did not initialise";
        return false;
    }
    settleScheme();
    return true;
}

void Session::initDriver(const VideoResolution& resolution) {
    // A controller is brought up once: another init gets a new one, as the
    // manager's does, and the old one is gone (its port closed) first.
    if (m_bDriverUsed)
        makeDriver();
    m_bDriverUsed = true;
    SafePointer<ISensorController>& driver = *m_pDriver;
    const SafePointer<IGPIO> gpio(m_pGpio);
    driver->setOperator(SafePointer<IUARTController>(new TermiosUARTController()), gpio);
    // Only after a good start may the GPIO side put its lines into working order.
    if (driver->init(m_objOptions.videoSystem, m_objModule, resolution) != 0)
        m_pGpio->initComplete();
}

// In automatic mode the worker's first pass switches to the scheme whose
// window holds the time of day and applies its file. Commands wait for that
// (at most a few device seconds), so that a setting given now is not
// overwritten by the switch a moment later.
void Session::settleScheme() {
    SafePointer<ISensorController> c = controller();
    int mode = 0;
    if (c->getParamMode(mode) == 0 || mode == 0)
        return;
    for (int i = 0; i < 60; ++i) {
        int due = -1;
        int inForce = -1;
        std::string text;
        if (c->readCurrentParam(due, text) == 0 || c->getParamScheme(inForce) == 0 ||
            due == inForce)
            return;
        PlatformClock::sleepFor(PlatformClock::Duration(0.05));
    }
}

void Session::release() {
    m_bInitialised = false;
    m_pManager.reset();
    m_pDriver.reset();
    m_pGpio = nullptr; // went with the controller
    // A --driver class's next init builds a new controller.
    m_bDriverUsed = true;
}

std::vector<std::string> Session::moduleFrames(size_t from) const {
    if (m_pAsciiSim) {
        const std::vector<std::string> frames = m_pAsciiSim->frames();
        return {frames.begin() + static_cast<long>(std::min(from, frames.size())), frames.end()};
    }
    std::vector<std::vector<uint8_t>> frames;
    if (m_pSim)
        frames = m_pSim->frames();
    else if (m_pBinarySim)
        frames = m_pBinarySim->frames();
    std::vector<std::string> lines;
    char part[4];
    for (size_t i = from; i < frames.size(); ++i) {
        std::string line;
        for (uint8_t byte : frames[i]) {
            std::snprintf(part, sizeof part, "%s%02X", line.empty() ? "" : " ",
                          static_cast<unsigned>(byte));
            line += part;
        }
        lines.push_back(line);
    }
    return lines;
}

SafePointer<ISensorController> Session::controller() {
    if (m_pDriverClass != nullptr && m_bDriverUsed)
        return m_pDriver ? *m_pDriver : SafePointer<ISensorController>();
    if (!m_pManager)
        return SafePointer<ISensorController>();
    return m_pManager->getSensorController();
}

SimulatedPwm* Session::pwm(int bank) const {
    return bank >= 0 && bank < 3 ? m_pPwm[bank].get() : nullptr;
}

int Session::moduleParameter(const std::string& key, int fallback) const {
    std::string text;
    int value = 0;
    if (configValue(m_objModule.getParameters(), key, text) && parseInt(text, value))
        return value;
    return fallback;
}

bool Session::hasLightSensor() const {
    std::string text;
    return configValue(m_objModule.getDetail(), "isInfrared", text) && text == "1";
}

bool Session::simulatedIsp() const {
#ifdef KV_SIMULATED_ISP
    return !m_objOptions.realDevices;
#else
    return false;
#endif
}

bool Session::setLightMeasure([[maybe_unused]] int measure) {
#ifdef KV_SIMULATED_ISP
    if (!simulatedIsp())
        return false;
    KviaSimulator::setLightMeasure(measure);
    return true;
#else
    return false;
#endif
}

bool Session::ispWord([[maybe_unused]] int code, [[maybe_unused]] int& value) const {
#ifdef KV_SIMULATED_ISP
    if (!simulatedIsp())
        return false;
    value = KviaSimulator::value(code);
    return true;
#else
    return false;
#endif
}

// The shared half of the ASCII register module controllers.
#include "drivers/protocols/AsciiRegisterModule.h"

#include "controller/ISensorController.h"
#include "drivers/protocols/SerialSettings.h"
#include "platform/GlobalEnv.h"
#include "platform/KovantTime.h"

#include <cstdio>

namespace {

bool printing() {
    return GlobalEnv::getInstance()->getPrintFlag() != 0;
}

bool within(int v, int lo, int hi) {
    return v >= lo && v <= hi;
}

} // namespace

int AsciiRegisterModule::plainDayNight(int value) {
    return value == 0 || value == 1 ? value : -1;
}

AsciiRegisterModule::AsciiRegisterModule(ISensorController& owner,
                                         SafePointer<IUARTController>& uart, int& port,
                                         KVMutex& lock, SensorCache& stored,
                                         std::vector<ascii::Setting> settings, int pictureModeId)
    : m_owner(owner), m_uart(uart), m_nPort(port), m_stored(stored),
      m_objProtocol(uart, port, lock, owner), m_vecSettings(std::move(settings)),
      m_nPictureModeId(pictureModeId) {}

AsciiRegisterModule::~AsciiRegisterModule() {
    stopThreads(nullptr);
    closeSerial();
}

// ---- start-up ----------------------------------------------------------------

int AsciiRegisterModule::openSerial(const ModuleConfigure& config, ModuleParameterParser& detail) {
    SerialRecord record;
    if (!readSerialRecord(m_owner, config, true, detail, record))
        return 0;
    // A second init opens the port anew: the threads of the first stop
    // before the port goes (startThreads runs them again).
    stopThreads(nullptr);
    return openSerialPort(m_owner, m_uart, m_nPort, record) ? 1 : 0;
}

bool AsciiRegisterModule::isOpen() const {
    return m_uart.get() != nullptr && m_nPort >= 0;
}

void AsciiRegisterModule::closeSerial() {
    if (!isOpen())
        return;
    m_uart->close(m_nPort);
    m_nPort = -1;
}

// ---- threads -----------------------------------------------------------------

int AsciiRegisterModule::startThreads() {
    int result = 1;
    for (const std::unique_ptr<GThread>& thread : m_vecThreads) {
        if (thread->isRunning())
            continue;
        if (thread->start() == 0) {
            m_owner.ErrorPrintf("%s start failed", thread->getName().c_str());
            result = 0;
        }
    }
    return result;
}

void AsciiRegisterModule::stopThreads(GThread* also) {
    for (const std::unique_ptr<GThread>& thread : m_vecThreads)
        thread->requestStop();
    if (also != nullptr)
        also->requestStop();
    for (const std::unique_ptr<GThread>& thread : m_vecThreads)
        thread->stop();
    if (also != nullptr)
        also->stop();
}

// ---- parameters ------------------------------------------------------------------

void AsciiRegisterModule::addOperation(int id, std::function<int(int)> set,
                                       std::function<int(int&)> get) {
    m_mapOperations[id] = Operation{std::move(set), std::move(get)};
}

int AsciiRegisterModule::setParameter(int id, int value) {
    if (m_owner.getSensorStatus() != ISensorController::InitSuccess)
        return 0;
    // The scheme ids go to the controller base itself: a zoom base's
    // parameter hooks are defaults that take every id.
    const int inherited = m_owner.ISensorController::setParameterToSensor(id, value);
    if (inherited != -1)
        return inherited;
    const auto op = m_mapOperations.find(id);
    const int result =
        op != m_mapOperations.end() ? (op->second.set(value) != 0 ? 1 : 0) : apply(id, value);
    if (result != 1)
        return result;
    // The module needs a moment between two settings.
    KovantTime::wait(KovantTime(0, 30000));
    return 1;
}

int AsciiRegisterModule::getParameter(int id, int& value) {
    if (m_owner.getSensorStatus() != ISensorController::InitSuccess)
        return 0;
    const int inherited = m_owner.ISensorController::getParameterFromSensor(id, value);
    if (inherited != 0)
        return inherited;
    const auto op = m_mapOperations.find(id);
    if (op != m_mapOperations.end() && op->second.get)
        return op->second.get(value) != 0 ? 1 : 0;
    if (op == m_mapOperations.end() && findSetting(id) == nullptr)
        return -1;
    return m_stored.getSensorValue(id, value) != 0 ? 1 : 0;
}

int AsciiRegisterModule::apply(int id, int value) {
    const ascii::Setting* setting = findSetting(id);
    if (setting == nullptr)
        return -1;
    if (!within(value, setting->lo, setting->hi)) {
        if (setting->rangeMessage != nullptr)
            m_owner.ErrorPrintf(setting->rangeMessage, value);
        return 0;
    }
    for (const ascii::Rule& rule : setting->rules) {
        if (!within(value, rule.lo, rule.hi) || !holds(rule.when))
            continue;
        std::vector<std::string> frames;
        if (!build(rule, id, value, frames)) {
            m_owner.ErrorPrintf("%s(%d) out of range", setting->name, value);
            return 0;
        }
        return sendAll(frames);
    }
    return 1; // the module's mode leaves this setting out
}

int AsciiRegisterModule::stored(int id) const {
    int value = 0;
    return m_stored.getSensorValue(id, value) != 0 ? value : 0;
}

const ascii::Setting* AsciiRegisterModule::findSetting(int id) const {
    for (const ascii::Setting& setting : m_vecSettings)
        if (setting.id == id)
            return &setting;
    return nullptr;
}

bool AsciiRegisterModule::holds(const ascii::When& when) const {
    return when.id == 0 || within(stored(when.id), when.lo, when.hi);
}

// Every frame of the rule is built before the first goes out: a value that
// does not fit its register's digits refuses the whole setting.
bool AsciiRegisterModule::build(const ascii::Rule& rule, int id, int value,
                                std::vector<std::string>& frames) const {
    // The picture mode being set chooses the prefixes of its own frames.
    const int picture = id == m_nPictureModeId ? value : stored(m_nPictureModeId);
    for (const ascii::Frame& frame : rule.frames) {
        const char* prefix = m_nPictureModeId > 0 && picture != 0 && frame.otherPicturePrefix
                                 ? frame.otherPicturePrefix
                                 : frame.prefix;
        long long x = 0;
        switch (frame.from) {
        case ascii::From::Nothing:
            frames.emplace_back(prefix);
            continue;
        case ascii::From::Argument:
            x = value;
            break;
        case ascii::From::Stored:
            x = stored(frame.storedId);
            break;
        case ascii::From::ShutterOfArgument:
            x = ascii::getFixShutterValue(value);
            break;
        case ascii::From::ShutterOfStored:
            x = ascii::getFixShutterValue(stored(frame.storedId));
            break;
        }
        x = x * frame.mul / frame.div;
        if (x < 0 || x >= (1LL << (4 * frame.width)))
            return false;
        frames.push_back(
            AsciiRegisterProtocol::assembleString(prefix, static_cast<int>(x), frame.width));
    }
    return true;
}

int AsciiRegisterModule::sendAll(const std::vector<std::string>& frames) {
    for (const std::string& frame : frames)
        if (m_objProtocol.sendData(frame) == 0)
            return 0;
    return 1;
}

// ---- module state --------------------------------------------------------------

int AsciiRegisterModule::pollDayNight(const DayNightRead& how) {
    int value = 0;
    if (m_objProtocol.recvData(how.read.request, how.read.digits, value) == 0) {
        m_owner.ErrorPrintf("%s", how.read.failure);
        KovantTime::wait(KovantTime(3, 0));
        return 0;
    }
    if (printing())
        std::printf("nGetValue=%d\n", value);
    const int state = how.decode(value);
    if (state < 0) {
        m_owner.ErrorPrintf("get nGetValue failed ,nGetValue = %d", value);
        KovantTime::wait(KovantTime(3, 0));
        return 0;
    }
    m_nDayNight = state;
    KovantTime::wait(KovantTime(1, 0));
    return 0;
}

int AsciiRegisterModule::dayNightStatus(int& status) const {
    const int state = m_nDayNight;
    if (state < 0)
        return 0;
    status = state == 0 ? 1 : 0;
    return 1;
}

int AsciiRegisterModule::setVideoSystem(const VideoSystemMap& map, int mode,
                                        const VideoResolution& resolution, bool withAfter) {
    const VideoSystem* target = nullptr;
    for (const VideoSystem& system : map.systems) {
        bool served = false;
        for (int m : system.modes)
            served = served || m == mode;
        if (served && (system.width == 0 || (system.width == resolution.getWidth() &&
                                             system.height == resolution.getHeight()))) {
            target = &system;
            break;
        }
    }
    if (target == nullptr) {
        m_owner.ErrorPrintf("setSensorVideoSystem is out of range");
        return 0;
    }
    if (printing() && target->announce != nullptr)
        std::printf("%s\n", target->announce);

    bool same = true;
    for (std::size_t i = 0; i < map.reads.size(); ++i) {
        int value = 0;
        if (m_objProtocol.recvData(map.reads[i].request, map.reads[i].digits, value) == 0) {
            m_owner.ErrorPrintf("%s", map.reads[i].failure);
            return 0;
        }
        if (printing() && map.readTrace != nullptr)
            std::printf(map.readTrace, value);
        same = same && i < target->values.size() && target->values[i] == value;
    }
    if (same)
        return 1;
    if (printing())
        std::printf("%s\n", map.changed);
    std::vector<std::string> frames(target->frames.begin(), target->frames.end());
    if (withAfter)
        frames.insert(frames.end(), map.after.begin(), map.after.end());
    if (sendAll(frames) == 0) {
        m_owner.ErrorPrintf("%s", map.failed);
        return 0;
    }
    return 1;
}

// Controller parameter schemes by time of day: records, switching, window ids 500..504, sensor.xml.
#include "controller/ISensorController.h"

#include "foundation/XmlConfigureTool.h"
#include "platform/KVDeviceTime.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

const char* const kSchemeNode = "paramScheme";
const char* const kSchemeIndexItem = "SchemeIndex";
const char* const kSchemeModeItem = "SchemeMode";

// The all-day scheme (always the last one) covers the whole day.
constexpr int kAllDayStart = 0;
constexpr int kAllDayEnd = 2400;

// Reads the "value" of the item called `name` in the "paramScheme" node.
int readSchemeItem(ISensorController& controller, const char* path, const char* name, int& value) {
    XmlConfigureTool tool;
    if (tool.open(path, 1, XmlConfigureTool::ModeRead) == 0) {
        controller.ErrorPrintf("open %s failed\n", path);
        return 0;
    }
    XmlConfigureNode node;
    if (tool.getConfigNode(kSchemeNode, node) == 0)
        return 0;
    std::vector<SafePointer<XmlConfigureItem>> items;
    node.getItemList(items);
    for (auto& item : items) {
        std::string itemName;
        if (item->getProperty("name", itemName) != 0 && itemName == name)
            return item->getProperty("value", value);
    }
    return 0;
}

// Writes the "value" of the item called `name`, adding the node or the item
// when an older or hand-edited file lacks them.
int writeSchemeItem(ISensorController& controller, const char* path, const char* name, int value) {
    XmlConfigureTool tool;
    if (tool.open(path, 1, XmlConfigureTool::ModeModify) == 0) {
        controller.ErrorPrintf("open %s failed\n", path);
        return 0;
    }
    XmlConfigureNode node;
    if (tool.getConfigNode(kSchemeNode, node) == 0) {
        node = XmlConfigureNode(kSchemeNode, 1);
        if (tool.addConfigNode(node) == 0)
            return 0;
    }
    std::vector<SafePointer<XmlConfigureItem>> items;
    node.getItemList(items);
    const std::string text = std::to_string(value);
    for (auto& item : items) {
        std::string itemName;
        if (item->getProperty("name", itemName) != 0 && itemName == name) {
            item->setProperty("value", text);
            return tool.close();
        }
    }
    XmlConfigureItem item(1);
    item.setProperty("name", name);
    item.setProperty("value", text);
    node.addConfigItem(item);
    return tool.close();
}

} // namespace

std::string ISensorController::schemeFilePath(int index) {
    return std::string(kSchemeFilePrefix) + std::to_string(index + 1) + ".cfg";
}

// ---- scheme list and sensor.xml ------------------------------------------------

int ISensorController::initParamSchemeList() {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int count = 0;
    getParamSchemeNum(count);
    if (count < 1 || count > kMaxParamSchemeNum)
        count = kDefaultParamSchemeNum;
    m_vecSchemeConfigFile.clear();
    m_vecParamScheme.clear();
    for (int i = 0; i < count; ++i) {
        std::unique_ptr<SensorConfigFile> file(new SensorConfigFile(schemeFilePath(i)));
        file->setVersion(m_nConfigVersion);
        file->setVersion2(m_nConfigVersion2);
        m_vecSchemeConfigFile.push_back(std::move(file));
        m_vecParamScheme.emplace_back(new ParamScheme());
    }
    ParamScheme& allDay = *m_vecParamScheme.back();
    allDay.setStartTime(kAllDayStart);
    allDay.setEndTime(kAllDayEnd);
    allDay.setEnableFlag(1);
    return 1;
}

int ISensorController::createSensorXML() {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    XmlConfigureTool tool;
    tool.setRootNodeName("sensor");
    if (tool.open(kSensorXmlPath, 1, XmlConfigureTool::ModeCreate) == 0) {
        ErrorPrintf("open %s failed\n", kSensorXmlPath);
        return 0;
    }
    XmlConfigureNode node(kSchemeNode, 1);
    const std::pair<const char*, int> items[] = {{kSchemeIndexItem, m_nParamScheme},
                                                 {kSchemeModeItem, m_nParamMode}};
    for (const auto& entry : items) {
        XmlConfigureItem item(1);
        item.setProperty("name", entry.first);
        item.setProperty("value", std::to_string(entry.second));
        node.addConfigItem(item);
    }
    tool.addConfigNode(node);
    if (tool.close() == 0) {
        ErrorPrintf("open %s failed\n", kSensorXmlPath);
        return 0;
    }
    return 1;
}

// A stored index that this controller cannot use is reported as a failure,
// so the caller keeps its own value. Any stored mode is taken: only 0 is manual.
int ISensorController::getParamSchemeFromFile(int& scheme) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int value = 0;
    if (readSchemeItem(*this, kSensorXmlPath, kSchemeIndexItem, value) == 0)
        return 0;
    if (!m_vecSchemeConfigFile.empty() && !isValidScheme(value))
        return 0;
    scheme = value;
    return 1;
}

int ISensorController::getParamSchemeModeFromFile(int& mode) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    int value = 0;
    if (readSchemeItem(*this, kSensorXmlPath, kSchemeModeItem, value) == 0)
        return 0;
    mode = value;
    return 1;
}

int ISensorController::setParamSchemeToFile(int scheme) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    return writeSchemeItem(*this, kSensorXmlPath, kSchemeIndexItem, scheme);
}

int ISensorController::setParamSchemeModeToFile(int mode) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    return writeSchemeItem(*this, kSensorXmlPath, kSchemeModeItem, mode);
}

// ---- choosing the scheme ------------------------------------------------------------

int ISensorController::setParamScheme(int scheme) {
    std::printf("#########ISensorController::setParamScheme %d\n", scheme);
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (!isValidScheme(scheme)) {
        ErrorPrintf("setParamScheme(%d) is out of range", scheme);
        return 0;
    }
    const int previous = m_nParamScheme;
    m_nParamScheme = scheme;
    const int result = switchParam(scheme);
    if (result != 0)
        setParamSchemeToFile(scheme);
    else
        m_nParamScheme = previous;
    return result;
}

int ISensorController::getParamScheme(int& scheme) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    scheme = isValidScheme(m_nParamScheme) ? m_nParamScheme : 0;
    std::printf("##########ISensorController::getParamScheme %d\n", scheme);
    return 1;
}

int ISensorController::setParamMode(int mode) {
    std::printf("ISensorController::setParamMode:%d\n", mode);
    // Any mode is stored; every mode but 0 switches by time.
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (setParamSchemeModeToFile(mode) == 0) {
        ErrorPrintf("setParamSchemeModeToFile @setParamMode failed");
        return 0;
    }
    m_nParamMode = mode;
    // Manual mode on the all-day scheme falls back to the first user scheme.
    if (mode == 0 && schemeCount() > 0 && m_nParamScheme == schemeCount() - 1)
        return setParamScheme(0);
    return 1;
}

int ISensorController::getParamMode(int& mode) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    mode = m_nParamMode;
    std::printf("ISensorController::getParamMode:%d\n", mode);
    return 1;
}

int ISensorController::getParamSchemeNum(int& count) {
    count = m_nParamSchemeNum;
    return 1;
}

int ISensorController::switchParam(int scheme) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    reInitSchemeTimeMember();
    // A file that cannot be read (or an index without one, which the reader
    // reports) leaves the text empty: nothing is applied, and only a failing
    // id fails the switch.
    std::string text;
    readParamByScheme(scheme, text);
    std::printf("switch param(p_Scheme=%d):\n %s\n", scheme, text.c_str());
    if (setParameters(text) == 0) {
        ErrorPrintf("setParameters @switchParam failed");
        return 0;
    }
    return 1;
}

int ISensorController::paramSchemeSwitchBody() {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (m_nParamMode == 0)
        return 0;
    int scheme = -1;
    std::string text;
    if (readCurrentParam(scheme, text) == 0) {
        std::puts("readCurrentParam failed");
        return -1;
    }
    if (scheme == m_nParamScheme)
        return 0;
    reInitSchemeTimeMember();
    const int previous = m_nParamScheme;
    m_nParamScheme = scheme;
    if (setParameters(text) == 0) {
        ErrorPrintf("setParameters failed @paramSchemeSwitchBody");
        m_nParamScheme = previous;
        return -1;
    }
    setParamSchemeToFile(scheme);
    std::printf("Auto switch param to:%s\n", text.c_str());
    ErrorPrintf("Auto switch  Scheme to:%d", scheme);
    return 0;
}

int ISensorController::readParamByScheme(int scheme, std::string& text) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (!isValidScheme(scheme)) {
        ErrorPrintf("readParamByScheme(%d) is out of range", scheme);
        return 0;
    }
    return m_vecSchemeConfigFile[static_cast<std::size_t>(scheme)]->readParametersFromFile(text);
}

// The first enabled scheme whose window holds the time of day (both ends
// included) wins; with none, the factory settings apply and the index is -1.
int ISensorController::readCurrentParam(int& scheme, std::string& text) {
    KVDeviceTime time;
    KVDeviceTime::getCurrentTime(time);
    const int now = time.getHourMinute();
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    for (std::size_t i = 0; i < m_vecParamScheme.size() && i < m_vecSchemeConfigFile.size(); ++i) {
        int enabled = 0;
        int start = 0;
        int end = 0;
        m_vecParamScheme[i]->getEnableFlag(enabled);
        m_vecParamScheme[i]->getStartTime(start);
        m_vecParamScheme[i]->getEndTime(end);
        if (enabled != 0 && start <= now && now <= end) {
            scheme = static_cast<int>(i);
            m_vecSchemeConfigFile[i]->readParametersFromFile(text);
            return 1;
        }
    }
    m_pFactoryConfigFile->readParametersFromFile(text);
    scheme = -1;
    return 0;
}

// Impossible values, so that applying the next scheme resends its window ids
// (and so rewrites the scheme's record) instead of skipping them as unchanged.
int ISensorController::reInitSchemeTimeMember() {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    m_nParamSchemeStartTime = 0;
    m_nParamSchemeEndTime = 10000;
    m_pLastSensorCache->setSensorValue(501, 0);
    m_pLastSensorCache->setSensorValue(502, 0);
    m_pLastSensorCache->setSensorValue(503, 100);
    m_pLastSensorCache->setSensorValue(504, 0);
    return 1;
}

// ---- scheme records --------------------------------------------------------------

// The last scheme is the all-day one: it stays enabled, its end stays 2400,
// and a start-time write moves its end to 0 rather than its start (a later
// end-time write, as in every application of the window ids, restores 2400).
int ISensorController::setParamSchemeStartTime(int scheme, int time) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (!isValidScheme(scheme)) {
        ErrorPrintf("setParamSchemeStartTime(%d) is out of range", scheme);
        return 0;
    }
    std::printf("set p_nScheme:%d starttime=%d\n", scheme, time);
    ParamScheme& record = *m_vecParamScheme[static_cast<std::size_t>(scheme)];
    if (scheme == schemeCount() - 1)
        record.setEndTime(0);
    else
        record.setStartTime(time);
    return 1;
}

int ISensorController::setParamSchemeEndTime(int scheme, int time) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (!isValidScheme(scheme)) {
        ErrorPrintf("setParamSchemeEndTime(%d) is out of range", scheme);
        return 0;
    }
    std::printf("set p_nScheme:%d endtime=%d\n", scheme, time);
    ParamScheme& record = *m_vecParamScheme[static_cast<std::size_t>(scheme)];
    record.setEndTime(scheme == schemeCount() - 1 ? kAllDayEnd : time);
    return 1;
}

int ISensorController::setParamSchemeEnableFlag(int scheme, int flag) {
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
    if (!isValidScheme(scheme)) {
        ErrorPrintf("setParamSchemeEnableFlag(%d) is out of range", scheme);
        return 0;
    }
    // The all-day scheme is always enabled.
    m_vecParamScheme[static_cast<std::size_t>(scheme)]->setEnableFlag(
        scheme == schemeCount() - 1 ? 1 : flag);
    return 1;
}

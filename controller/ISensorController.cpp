// Controller base: construction, destruction, default operations, logs and
// serial helpers, and the worker thread's pass.
#include "controller/ISensorController.h"

#include "platform/KVFile.h"
#include "platform/KovantTime.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

const char* const ISensorController::kSensorXmlPath = "/mnt/mtd/code/config_file/sensor.xml";
const char* const ISensorController::kSchemeFilePrefix = "/mnt/mtd/code/config_file/sensor";
const char* const ISensorController::kLegacyConfigPath = "/mnt/mtd/code/config_file/sensor.cfg";

namespace {
const char* const kFactoryPath = "/mnt/mtd/code/config_file/sensor_Factory.cfg";
const char* const kEspecialPath = "/mnt/mtd/code/config_file/sensor_Especial.cfg";
const char* const kDebugMarker = "/factory_setting/SensorControlDebug";
} // namespace

ISensorController::ISensorController(int sensorType)
    : m_nSensorType(sensorType), m_pIdManager(new IdManager()), m_pSensorCache(new SensorCache()),
      m_pLastSensorCache(new SensorCache()), m_pErrorLog(new SensorLog()),
      m_pInitLog(new SensorLog()), m_pFactoryConfigFile(new SensorConfigFile(kFactoryPath)),
      m_pEspecialConfigFile(new SensorConfigFile(kEspecialPath)), m_objISPParam(new ISPParam()),
      m_objEE(new EE()) {
    m_pIdManager->addParameterId(IdManager::Common, 500, 504);
    m_pRecvBuf.reset(new char[kRecvBufSize]());

    KVFile marker;
    if (marker.open(kDebugMarker, KVFile::ModeRead) != 0) {
        std::puts("*********In sensor debug mode (/factory_setting/SensorControlDebug)*********");
        m_nDebug = 1;
        marker.close();
    }
    m_DNChangeThread.reset(makeMemberThread<ISensorController>(
        this, &ISensorController::DNChangeThreadBody, "DayNightChangeThread"));
}

void ISensorController::stopThreadsFirst(GThread* own) {
    if (own != nullptr)
        own->requestStop();
    if (m_DNChangeThread)
        m_DNChangeThread->requestStop();
    if (own != nullptr)
        own->stop();
    if (m_DNChangeThread)
        m_DNChangeThread->stop();
}

ISensorController::~ISensorController() {
    // The worker thread uses everything below; it goes first.
    m_DNChangeThread->stop();
    m_DNChangeThread.reset();
    m_pFactoryConfigFile.reset();
    m_pEspecialConfigFile.reset();
    m_pRecvBuf.reset();
    m_pIdManager.reset();
    m_objISPParam.reset();
    m_objEE.reset();
    m_pSensorCache.reset();
    m_pLastSensorCache.reset();
    // The logs, GPIO and serial link are released with the members, last.
}

// ---- default operations -----------------------------------------------------

int ISensorController::updateSensorVideoSystem(int, VideoResolution const&) {
    return 1;
}
int ISensorController::set2AParam(int) {
    return 0;
}
int ISensorController::getCameraVerInf(std::string&) {
    return 0;
}
int ISensorController::restoreAeMode() {
    return 0;
}
int ISensorController::setRunAutoIris() {
    return 0;
}
int ISensorController::IrisUp() {
    return 0;
}
int ISensorController::IrisDown() {
    return 0;
}
int ISensorController::FocusFar(int) {
    return 0;
}
int ISensorController::FocusNear(int) {
    return 0;
}
int ISensorController::ZoomIn(int) {
    return 0;
}
int ISensorController::ZoomOut(int) {
    return 0;
}
int ISensorController::getZoomValue(int&, int&) {
    return 0;
}
int ISensorController::setZoomValue(int) {
    return 0;
}
int ISensorController::setFocusValue(int) {
    return 0;
}
int ISensorController::getFocusValue(int&) {
    return 0;
}
int ISensorController::setFocusMode(int) {
    return 0;
}
int ISensorController::getFocusMode(int&) {
    return 0;
}
int ISensorController::StopZoomContrl() {
    return 0;
}
int ISensorController::StopFocusContrl() {
    return 0;
}
int ISensorController::StopIris() {
    return 0;
}
int ISensorController::setZoomAndFocusValue(int, int) {
    return 0;
}
int ISensorController::getDayNightState(int&) {
    return 0;
}
int ISensorController::getCameraFocusMode(int&) {
    return 0;
}

// A controller without IR lamps accepts the lamp settings and drives nothing.
int ISensorController::setNearLight(int) {
    return 1;
}
int ISensorController::setMiddleLight(int) {
    return 1;
}
int ISensorController::setFarLight(int) {
    return 1;
}
int ISensorController::setPowerMode(int) {
    return 1;
}

int ISensorController::getNearLight(int& power) {
    power = 50;
    return 1;
}

int ISensorController::getMiddleLight(int& power) {
    power = 50;
    return 1;
}

int ISensorController::getFarLight(int& power) {
    power = 50;
    return 1;
}

int ISensorController::getStillImageValue(int&) {
    return 0;
}
int ISensorController::enterAutoMode() {
    return 1;
}

int ISensorController::getPowerMode(int& mode) {
    mode = 0;
    return 1;
}

int ISensorController::NotifySensorInitComplate() {
    return 1;
}
int ISensorController::UpdateParameters(std::string&) {
    return 1;
}
int ISensorController::getParameterValue(char const*, int, char*, int) {
    return 1;
}
int ISensorController::setParameterValue(char const*, int) {
    return 1;
}

int ISensorController::getDayNightMode(int& mode) {
    mode = 0;
    return 1;
}

int ISensorController::getDNStatusFromSensor(int&) {
    return 1;
}
int ISensorController::turnPictureToDay() {
    return 1;
}
int ISensorController::turnPictureToNight() {
    return 1;
}
int ISensorController::turnToAutoDayNightMode() {
    return 1;
}
int ISensorController::turnToManualDayNightMode() {
    return 1;
}
int ISensorController::initFactorySetting() {
    return 1;
}
int ISensorController::getCurrentGain(int&) {
    return 0;
}
int ISensorController::doDependOnThread() {
    return 0;
}
int ISensorController::updateHDRMode(int) {
    return 1;
}

// ---- the scheme ids every controller handles --------------------------------

int ISensorController::setParameterToSensor(int id, int value) {
    struct Setter {
        int (ISensorController::*set)(int);
        const char* failure;
    };
    static const Setter setters[] = {
        {&ISensorController::setEnableParam, "setEnableParam failed"},
        {&ISensorController::setParamStartTime_H, "setParamStartTime_H failed"},
        {&ISensorController::setParamStartTime_M, "setParamStartTime_M failed"},
        {&ISensorController::setParamEndTime_H, "setParamEndTime_H failed"},
        {&ISensorController::setParamEndTime_M, "setParamEndTime_M failed"},
    };
    if (id < 500 || id > 504)
        return -1;
    const Setter& s = setters[id - 500];
    if ((this->*s.set)(value) == 0) {
        ErrorPrintf("%s", s.failure);
        return 0;
    }
    return 1;
}

int ISensorController::getParameterFromSensor(int id, int& value) {
    struct Getter {
        int (ISensorController::*get)(int&);
        const char* failure;
    };
    static const Getter getters[] = {
        {&ISensorController::getEnableParam, "getEnableParam failed"},
        {&ISensorController::getParamStartTime_H, "getParamStartTime_H failed"},
        {&ISensorController::getParamStartTime_M, "getParamStartTime_M failed"},
        {&ISensorController::getParamEndTime_H, "getParamEndTime_H failed"},
        {&ISensorController::getParamEndTime_M, "getParamEndTime_M failed"},
    };
    if (id < 500 || id > 504)
        return 0;
    const Getter& g = getters[id - 500];
    if ((this->*g.get)(value) == 0) {
        ErrorPrintf("%s", g.failure);
        return 0;
    }
    return 1;
}

// ---- logs ------------------------------------------------------------------

void ISensorController::writeLog(SafePointer<SensorLog>& log, const char* tag, const char* format,
                                 va_list args) {
    char buffer[kErrorLogBufSize];
    std::vsnprintf(buffer, sizeof buffer, format, args);
    log->WriteSensorLog(tag, buffer);
}

void ISensorController::ErrorPrintf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLog(m_pErrorLog, "SensorError", format, args);
    va_end(args);
}

void ISensorController::InitPrintf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLog(m_pInitLog, "SensorInit", format, args);
    va_end(args);
}

void ISensorController::Debug_Printf(const char* format, ...) {
    if (m_nDebug != 1)
        return;
    char buffer[kDebugBufSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    std::fputs(buffer, stdout);
}

// ---- serial helpers ------------------------------------------------------------

int ISensorController::computeSum(char* data, int length) {
    unsigned sum = 0;
    for (int i = 0; data != nullptr && i < length; ++i)
        sum += static_cast<unsigned char>(data[i]);
    return static_cast<int>(sum & 0xFFu);
}

int ISensorController::checkUARTRecv(char const* expected, int expectedLength, char const* received,
                                     int receivedLength) {
    if (expected == nullptr || received == nullptr || expectedLength != receivedLength ||
        expectedLength < 0)
        return 0;
    return std::memcmp(expected, received, static_cast<std::size_t>(expectedLength)) == 0;
}

int ISensorController::clearUartBuffer() {
    if (m_pUART.get() == nullptr)
        return 0; // no port yet: nothing to clear
    return m_pUART->clearRecvBuffer(m_nUARTPort);
}

void ISensorController::recodeArray(char const* data, int length) {
    // On the console only: a module that stops answering makes a dump per
    // attempt, and in the size-limited error log they would push out the
    // lines that say what went wrong first.
    if (data == nullptr || length <= 0)
        return;
    for (int i = 0; i < length; ++i)
        std::printf("%02X ", static_cast<unsigned char>(data[i]));
    std::printf("\n");
}

// ---- worker thread ----------------------------------------------------------------

int ISensorController::DNChangeThreadBody() {
    paramSchemeSwitchBody();
    doDependOnThread();
    if (m_bBaseDNSwitch)
        DNSwitchHandle();
    KovantTime::wait(KovantTime(1, 0));
    return 0;
}

// Module without user image settings: serial set-up and the day/night inquiry.
#include "drivers/modules/NoSensorUIController.h"

#include "drivers/protocols/SerialSettings.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <string>

namespace {

// VISCA inquiry of the IR-cut filter; the answer is 90 50 0p FF.
const char kFilterInquiry[] = {'\x81', '\x09', '\x04', '\x01', '\xFF'};
constexpr int kAnswerLength = 4;
// Tenths of a second for the whole answer.
constexpr int kAnswerTimeout = 3;
constexpr int kFilterIn = 2;  // night
constexpr int kFilterOut = 3; // day

} // namespace

NoSensorUIController::NoSensorUIController()
    : ISensorController(kSensorType), m_pGetDNThread(makeMemberThread<NoSensorUIController>(
                                          this, &NoSensorUIController::getDNbody, "getDN")) {}

// The threads call this object: both are asked to stop before either is
// waited for, so neither waits out the other's pass.
NoSensorUIController::~NoSensorUIController() {
    m_pGetDNThread->requestStop();
    m_DNChangeThread->requestStop();
    m_pGetDNThread->stop();
    m_DNChangeThread->stop();
    if (portOpen())
        m_pUART->close(m_nUARTPort);
    m_nUARTPort = -1;
}

int NoSensorUIController::initController(int, ModuleConfigure const& config) {
    std::printf("NoSenseUIController::init,ModuleConfigure is(%s,%s)\n", config.getDetail().c_str(),
                config.getParameters().c_str());
    ModuleParameterParser detail;
    SerialRecord record;
    if (!readSerialRecord(*this, config, false, detail, record))
        return 0;
    const std::string& device = record.device;

    // A second start-up opens the port anew; the thread may be asking.
    m_pGetDNThread->stop();
    if (portOpen())
        m_pUART->close(m_nUARTPort);
    m_nUARTPort = m_pUART.get() != nullptr ? m_pUART->open(device.c_str()) : -1;
    if (m_nUARTPort < 0 || m_pUART->setParameter(m_nUARTPort, record.baud, record.dataBits,
                                                 record.stopBits, record.parity) == 0) {
        ErrorPrintf("open uart (%s) failed", device.c_str());
        if (m_nUARTPort >= 0)
            m_pUART->close(m_nUARTPort);
        m_nUARTPort = -1;
        return 0;
    }
    m_pUART->clearRecvBuffer(m_nUARTPort);
    if (m_pGetDNThread->start() == 0)
        ErrorPrintf("getDN start failed");
    return 1;
}

int NoSensorUIController::setSensorVideoSystem(int, VideoResolution const&) {
    return 1;
}

int NoSensorUIController::NotifySensorInitComplate() {
    return 1;
}

int NoSensorUIController::initFactorySetting() {
    return 1;
}

int NoSensorUIController::setParameterToSensor(int, int) {
    return 1;
}

int NoSensorUIController::getParameterFromSensor(int, int&) {
    return 1;
}

int NoSensorUIController::getMirrorValue(int&) {
    return 1;
}

bool NoSensorUIController::portOpen() const {
    return m_pUART.get() != nullptr && m_nUARTPort >= 0;
}

int NoSensorUIController::setParameterValue(char const* text, int length) {
    // Not between the thread's inquiry and its answer.
    KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
    if (!portOpen()) {
        ErrorPrintf("serial port not open: %d bytes not sent", length);
        return 0;
    }
    const int sent = m_pUART->send(m_nUARTPort, text, length);
    if (sent != length) {
        // The bytes are not a string: the copy ends them.
        const std::string command(text, static_cast<std::size_t>(length > 0 ? length : 0));
        std::printf("sendData !! send data failed , sendcommand=%s  ,nRet=%d\n", command.c_str(),
                    sent);
        return 0;
    }
    return 1;
}

int NoSensorUIController::getDNStatusFromSensor(int& status) {
    const int state = m_nDNState;
    if (state < 0)
        return 0;
    status = state;
    return 1;
}

int NoSensorUIController::getDNbody() {
    char answer[kAnswerLength] = {};
    bool asked = false;
    int got = 0;
    {
        KVMutexLocker lock(m_mutex, __FILE__, __LINE__);
        // An answer that came after an earlier pass gave up is no answer to this one.
        if (portOpen())
            m_pUART->clearRecvBuffer(m_nUARTPort);
        asked = setParameterValue(kFilterInquiry, sizeof kFilterInquiry) != 0;
        if (asked)
            got = m_pUART->recv(m_nUARTPort, answer, kAnswerLength, kAnswerTimeout);
    }
    if (!asked) {
        KovantTime::wait(KovantTime(3, 0));
        return 0;
    }
    if (got != kAnswerLength) {
        std::printf("recv @getDNbody failed,nRet = %d\n", got);
        KovantTime::wait(KovantTime(3, 0));
        return 0;
    }
    const int filter = static_cast<unsigned char>(answer[2]);
    if (filter != kFilterIn && filter != kFilterOut) {
        std::printf("get daynight value out of range value = %d\n", filter);
        KovantTime::wait(KovantTime(3, 0));
        return 0;
    }
    m_nDNState = filter == kFilterIn ? 0 : 1;
    KovantTime::wait(KovantTime(1, 0));
    return 0;
}

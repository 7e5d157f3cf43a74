// CMD8300 controller: serial port, VISCA exchanges, day/night, video system, lens.
#include "drivers/platform/CMD8300SenseController.h"

#include "drivers/protocols/SerialSettings.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"
#include "platform/SystemCommand.h"

#include <cstdint>
#include <cstdio>

namespace CMD8300_TOOL {
void printArray(const char* data, int length) {
    for (int i = 0; data != nullptr && i < length; ++i)
        std::printf("0x%02x\t", static_cast<unsigned>(static_cast<uint8_t>(data[i])));
    std::printf("\n");
}
} // namespace CMD8300_TOOL

const char* const CMD8300SenseController::kPALScript =
    "/mnt/mtd/hd1/system/modules/sensor/cmd8300/cmd8300_PAL.sh";
const char* const CMD8300SenseController::kNTSCScript =
    "/mnt/mtd/hd1/system/modules/sensor/cmd8300/cmd8300_NTSC.sh";
const char* const CMD8300SenseController::kStartupScript =
    "/mnt/mtd/code/config_file/sensorInit.sh";

namespace {

// Register 24 72 values of video systems 0 and 1.
constexpr int kVideoValues[2] = {6, 8};
// A copy of a start-up script is a small local file: it never takes this long.
constexpr int kScriptCopyTimeout = 10;

ViscaCameraSettings::Options cmd8300Options() {
    ViscaCameraSettings::Options options;
    options.lastId = 66; // no chroma suppression, no noise-reduction mode id
    return options;
}

} // namespace

CMD8300SenseController::CMD8300SenseController()
    : ISensorController(kSensorType), m_objVisca(m_pUART, m_nUARTPort, m_mutex, *this),
      m_objSettings(*this, *m_pLastSensorCache, cmd8300Options()) {
    m_pIdManager->addParameterId(IdManager::Common, 1, 27);
    m_pIdManager->addParameterId(IdManager::SetOnly, 28);
    m_pIdManager->addParameterId(IdManager::Common, 29, 32);
    m_pIdManager->addParameterId(IdManager::Common, 57, 66);
    m_objVisca.setCommandTrace([this](int attempt, const char* frame, int len) {
        ErrorPrintf("===~~~~~~~~~~~~~~~~~~send(%d times) setParameterValue send:", attempt);
        recodeArray(frame, len);
    });
}

// The worker thread calls this object's virtuals: it stops before the
// members it uses go, then the port is closed.
CMD8300SenseController::~CMD8300SenseController() {
    if (m_DNChangeThread) {
        m_DNChangeThread->requestStop();
        m_DNChangeThread->stop();
    }
    closeUART();
}

// ---- start-up and serial port --------------------------------------------

int CMD8300SenseController::initController(int, ModuleConfigure const& config) {
    m_strDetail = config.getDetail();
    m_strParameters = config.getParameters();
    std::printf("__CMD8300SenseController::init,ModuleConfigure is(%s,%s)\n", m_strDetail.c_str(),
                m_strParameters.c_str());

    ModuleParameterParser detail;
    if (detail.parse(m_strDetail) == 0) {
        ErrorPrintf("parse detail failed");
        return 0;
    }
    if (detail.getValue("RS485", m_strDeviceName) == 0) {
        ErrorPrintf("get RS232DeviceName from detail failed");
        return 0;
    }
    int value = 0;
    if (detail.getValue("isInfrared", value) == 0)
        ErrorPrintf("get isInfrared from detail failed"); // no lamp
    else
        m_nIsInfrared = value == 1 ? 1 : 0;

    ModuleParameterParser params;
    if (params.parse(m_strParameters) == 0) {
        ErrorPrintf("parse senseParameter failed");
        return 0;
    }
    m_objSettings.readDCValue(params, "DCDay", m_nDCDay);
    m_objSettings.readDCValue(params, "DCNight", m_nDCNight);

    if (openUART() == 0)
        return 0;
    if (setCameraOsdOff() == 0)
        ErrorPrintf("setCameraOsdOff() failed\n");
    return 1;
}

int CMD8300SenseController::openUART() {
    ModuleParameterParser params;
    std::string serial;
    if (params.parse(m_strParameters) == 0 || params.getValue("RS485", serial) == 0) {
        ErrorPrintf("get RS232Parameter from senseParameter failed");
        return 0;
    }
    int fields[4] = {};
    if (!parseSerialSettings(*this, serial, fields))
        return 0;
    m_nBaudarate = fields[0];
    m_nDataBits = fields[1];
    m_nParity = fields[2];
    m_nStopBits = fields[3];
    std::printf("RS485(%s) param is (%d,%d,%d,%d)\n", m_strDeviceName.c_str(), m_nBaudarate,
                m_nDataBits, m_nParity, m_nStopBits);

    closeUART(); // a second init reopens the port
    if (m_objVisca.openPort(m_strDeviceName, m_nBaudarate, m_nDataBits, m_nStopBits, m_nParity) ==
        0)
        return 0;
    clearUartBuffer();
    return 1;
}

int CMD8300SenseController::closeUART() {
    KVMutexLocker lock(m_mutex, "CMD8300SenseController.cpp", __LINE__);
    if (!m_objVisca.isOpen())
        return 1;
    const int result = m_pUART->close(m_nUARTPort);
    m_nUARTPort = -1;
    return result;
}

int CMD8300SenseController::setCameraOsdOff() {
    return m_objSettings.command({0x04, 0x15, 0x03});
}

// The module takes the notice without answering.
int CMD8300SenseController::NotifySensorInitComplate() {
    const char frame[] = {'\x81', '\x09', '\x04', '\x22', '\xFF'};
    const int sent = m_objVisca.isOpen() ? m_objVisca.sendPlain(frame, 5) : -1;
    if (sent != 5) {
        ErrorPrintf("send @NotifySensorInitComplate failed,nRet=%d", sent);
        KovantTime::wait(KovantTime(1, 0));
        return 0;
    }
    return 1;
}

// ---- video system ------------------------------------------------------------

int CMD8300SenseController::setSensorVideoSystem(int videoSystem, VideoResolution const&) {
    const int value = videoSystem == 0 || videoSystem == 1 ? kVideoValues[videoSystem] : 0;
    const int written = m_objSettings.writeVideoFormat(value);
    // The new format takes effect at the module's restart.
    return written == 2 ? restartCamera() : written;
}

int CMD8300SenseController::restartCamera() {
    const char frame[] = {'\x81', '\x01', '\x04', '\x19', '\x03', '\xFF'};
    return m_objVisca.sendRestart(frame, 6);
}

// The module's own start-up runs the script of its video system; the copy
// takes effect at the next power-up. Only systems 0 and 1 have one.
int CMD8300SenseController::updateSensorVideoSystem(int videoSystem, VideoResolution const&) {
    const char* script = videoSystem == 1 ? kPALScript : videoSystem == 0 ? kNTSCScript : nullptr;
    if (script == nullptr)
        return 1;
    char command[256];
    std::snprintf(command, sizeof command, "cp %s %s -rf", script, kStartupScript);
    sy_system(command, kScriptCopyTimeout);
    return 1;
}

// ---- VISCA exchanges -------------------------------------------------------------

int CMD8300SenseController::setParameterValue(const char* frame, int length) {
    if (!m_objVisca.isOpen())
        return 0;
    return m_objVisca.command(frame, length, "setParameterValue");
}

int CMD8300SenseController::getParameterValue(const char* frame, int length, char* reply,
                                              int replyLength) {
    if (!m_objVisca.isOpen())
        return 0;
    return m_objVisca.inquiry(frame, length, reply, replyLength, "getParameterValue");
}

// ---- parameters --------------------------------------------------------------------

int CMD8300SenseController::setParameterToSensor(int id, int value) {
    return m_objSettings.setParameterToSensor(id, value);
}

int CMD8300SenseController::getParameterFromSensor(int id, int& value) {
    return m_objSettings.getParameterFromSensor(id, value);
}

int CMD8300SenseController::getMirrorValue(int& value) {
    return m_objSettings.getMirrorValue(value);
}

int CMD8300SenseController::getStillImageValue(int& value) {
    return m_objSettings.getStillImageValue(value);
}

int CMD8300SenseController::restoreAeMode() {
    return m_objSettings.restoreAeMode();
}

// ---- day/night -----------------------------------------------------------------------

int CMD8300SenseController::sendIrCutFrame(int mode) {
    char frame[ViscaTransport::kMaxVendorBody + 3];
    const int length = ViscaTransport::vendorFrame(frame, {0x01, 0x1E, 0x02, 0x00, mode});
    return setParameterValue(frame, length);
}

// With the lamp the module switches filter and lamp itself on one frame.
// Without it: the auto-IR-cut register (02 on, 03 off), a second for the
// filter, then the day/night register twice, as the module needs it.
int CMD8300SenseController::switchPicture(Picture picture) {
    static const int kIrCutMode[] = {0, 1, 2}; // auto, night, day
    static const int kAutoIrCut[] = {0x02, 0x03, 0x02};
    static const int kDayNight[] = {0x03, 0x03, 0x02};
    const int index = static_cast<int>(picture);
    if (m_nIsInfrared == 1) {
        if (sendIrCutFrame(kIrCutMode[index]) == 0)
            return 0;
    } else {
        if (m_objSettings.command({0x04, 0x51, kAutoIrCut[index]}) == 0)
            return 0;
        KovantTime::wait(KovantTime(1, 0));
        for (int i = 0; i < 2; ++i)
            if (m_objSettings.command({0x04, 0x01, kDayNight[index]}) == 0)
                return 0;
    }
    if (picture == Picture::Auto)
        return 1;
    return m_objSettings.sendDCFrame(picture == Picture::Night ? m_nDCNight : m_nDCDay);
}

int CMD8300SenseController::enterAutoMode() {
    std::puts("enter auto mode");
    return switchPicture(Picture::Auto);
}

int CMD8300SenseController::turnPictureToNight() {
    return switchPicture(Picture::Night);
}

int CMD8300SenseController::turnPictureToDay() {
    return switchPicture(Picture::Day);
}

// Inquiry 04 01: 2 is night (0), 3 is day (1).
int CMD8300SenseController::getDNStatusFromSensor(int& status) {
    const char frame[] = {'\x81', '\x09', '\x04', '\x01', '\xFF'};
    char reply[4] = {};
    if (getParameterValue(frame, 5, reply, 4) == 0) {
        ErrorPrintf("get dn failed");
        return 0;
    }
    const int value = static_cast<uint8_t>(reply[2]);
    if (value != 2 && value != 3) {
        ErrorPrintf("get daynight value out of range value = %d", value);
        return 0;
    }
    status = value == 2 ? 0 : 1;
    return 1;
}

// ---- 2A link and lens ------------------------------------------------------------

int CMD8300SenseController::setGainValue() {
    return m_objSettings.handGainTo2A("setGainValue failed");
}

int CMD8300SenseController::doDependOnThread() {
    return setGainValue();
}

int CMD8300SenseController::FocusUp() {
    return m_objSettings.command({0x04, 0x08, 0x03});
}

int CMD8300SenseController::FocusDown() {
    return m_objSettings.command({0x04, 0x08, 0x02});
}

int CMD8300SenseController::IrisUp() {
    return m_objSettings.command({0x04, 0x0B, 0x02});
}

int CMD8300SenseController::IrisDown() {
    return m_objSettings.command({0x04, 0x0B, 0x03});
}

int CMD8300SenseController::OnePushTrigger() {
    return m_objSettings.OnePushTrigger();
}

int CMD8300SenseController::setFocusMode(int mode) {
    return m_objSettings.setFocusMode(mode);
}

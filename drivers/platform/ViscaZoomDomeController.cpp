// VISCA zoom dome: start-up, module control, 2A link.
#include "drivers/platform/ViscaZoomDomeController.h"

#include "drivers/protocols/SerialSettings.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"
#include "platform/kvia.h"

#include <cstdint>
#include <cstdio>

namespace {

// The module's serial-speed register holds an index into this table.
const int kBaudRates[] = {9600, 19200, 38400, 115200};
constexpr int kBaudCount = 4;

// kvia code of the 2A library's AE mode link.
constexpr int kKvia2AMode = 49;

int baudIndex(int baud) {
    for (int i = 0; i < kBaudCount; ++i)
        if (kBaudRates[i] == baud)
            return i;
    return -1;
}

int byteAt(const char* data, int index) {
    return static_cast<uint8_t>(data[index]);
}

} // namespace

ViscaZoomDomeProfile ViscaZoomDomeProfile::module(int sensorType, const char* initName,
                                                  const char* toolName, const char* className,
                                                  const char* zmaFile,
                                                  ZoomIrIllumination::Family family,
                                                  const char* const lightDevs[3]) {
    ViscaZoomDomeProfile profile;
    profile.sensorType = sensorType;
    profile.initName = initName;
    profile.toolName = toolName;
    profile.className = className;
    profile.zmaFile = zmaFile;
    profile.ir.family = family;
    profile.ir.driverName = className;
    profile.ir.nearLightDev = lightDevs[0];
    profile.ir.midLightDev = lightDevs[1];
    profile.ir.farLightDev = lightDevs[2];
    return profile;
}

namespace {
ViscaCameraSettings::Options settingsOptions(const ViscaZoomDomeProfile& profile) {
    ViscaCameraSettings::Options options;
    options.rounding = profile.rounding;
    options.nearLimitPreset = profile.nearLimitPreset;
    return options;
}
} // namespace

ViscaZoomDomeController::ViscaZoomDomeController(const ViscaZoomDomeProfile& profile)
    : IDMX420ZoomSensorController(profile.sensorType), m_profile(profile),
      m_objSettings(*this, *m_pLastSensorCache, settingsOptions(profile)),
      m_objIr(*this, profile.ir),
      m_pObjIrLedContrlThread(makeMemberThread<ViscaZoomDomeController>(
          this, &ViscaZoomDomeController::IrLedContrlThreadBody, "IrContrlThread")) {}

// Both threads call back into this object: they stop before any member goes
// (a module driver stops them already in its own destructor, before its part
// goes). Both are asked first, so that neither waits out the other's exchange.
ViscaZoomDomeController::~ViscaZoomDomeController() {
    stopThreads();
}

void ViscaZoomDomeController::stopThreads() {
    if (m_pObjIrLedContrlThread.get() != nullptr)
        m_pObjIrLedContrlThread->requestStop();
    if (m_DNChangeThread)
        m_DNChangeThread->requestStop();
    if (m_pObjIrLedContrlThread.get() != nullptr)
        m_pObjIrLedContrlThread->stop();
    if (m_DNChangeThread)
        m_DNChangeThread->stop();
}

// ---- start-up ------------------------------------------------------------------

int ViscaZoomDomeController::initController(int, ModuleConfigure const& config) {
    const std::string detailText = config.getDetail();
    const std::string paramText = config.getParameters();
    std::printf("__%sSenseController::init,ModuleConfigure is(%s,%s)\n", m_profile.initName,
                detailText.c_str(), paramText.c_str());

    ModuleParameterParser detail;
    if (detail.parse(detailText) == 0) {
        ErrorPrintf("parse detail failed");
        return 0;
    }
    std::string device;
    if (detail.getValue("RS485", device) == 0) {
        ErrorPrintf("get RS232DeviceName from detail failed");
        return 0;
    }
    // The module description keys are optional: a missing one keeps the default.
    int value = 0;
    if (detail.getValue("isInfrared", value) == 0)
        ErrorPrintf("get isInfrared from detail failed");
    else
        m_nIsInfrared = value == 1 ? 1 : 0;
    if (detail.getValue("isNewInfrared", value) == 0)
        ErrorPrintf("get isNewInfrared from detail failed");
    else
        m_bIsNewInfrared = value != 0;
    if (detail.getValue("generation", value) == 0)
        ErrorPrintf("get generation from detail failed");
    else
        m_objSettings.setGeneration(value);
    // With the light sensor fitted, automatic day/night reads it (source 2);
    // otherwise the module's own report is used.
    {
        KVMutexLocker lock(m_DNMutex, "ViscaZoomDomeController.cpp", __LINE__);
        m_bIRBoard = m_nIsInfrared == 1;
        m_nDNSource = m_bIRBoard ? 2 : 0;
    }

    ModuleParameterParser params;
    if (params.parse(paramText) == 0) {
        ErrorPrintf("parse senseParameter failed");
        return 0;
    }
    std::string serial;
    if (params.getValue("RS485", serial) == 0) {
        ErrorPrintf("get RS232Parameter from senseParameter failed");
        return 0;
    }
    int fields[4] = {};
    if (!parseSerialSettings(*this, serial, fields))
        return 0;
    const int baud = fields[0], dataBits = fields[1], parity = fields[2], stopBits = fields[3];
    // The module runs at one of four speeds only.
    if (baudIndex(baud) < 0) {
        ErrorPrintf("parse RS485 param failed: baud rate %d is not one of 9600, 19200, 38400, "
                    "115200",
                    baud);
        return 0;
    }
    m_nBaudarate = baud;
    m_nDataBits = dataBits;
    m_nParity = parity;
    m_nStopBits = stopBits;

    if (visca().openPort(device, m_nBaudarate, m_nDataBits, m_nStopBits, m_nParity) == 0)
        return 0;

    if (changeCameraBuadrate(m_nBaudarate) == 0)
        ErrorPrintf("changeCameraBuadrate(%d)failed\n", m_nBaudarate);
    clearUartBuffer();

    // LEDs: opened and switched off; the thread sets their power at night.
    if (m_objIr.initPWM() == 0) {
        ErrorPrintf("initPWM() failed");
        return 0;
    }
    m_objIr.closePWM();
    if (initIRPowerParamV2Config() == 0)
        ErrorPrintf("ViscaZoomDomeController::initController------"
                    "initIRPowerParamV2Config---failed--\n");
    if (!m_pObjIrLedContrlThread->isRunning() && m_pObjIrLedContrlThread->start() == 0)
        ErrorPrintf("m_pObjIrLedContrlThread->start() failed");

    // Without the magnification table the camera still works; only the IR
    // power cannot follow the zoom (the IR thread logs that at night).
    switch (m_objIr.loadZMA(m_profile.zmaFile)) {
    case ZoomIrIllumination::ZmaResult::Loaded:
        break;
    case ZoomIrIllumination::ZmaResult::PathFailed:
        ErrorPrintf("objZMAFileToArray.setFilePath(%s_TOOL::ZMA_PARAM_CONFIG_FILE_NAME) failed\n",
                    m_profile.toolName);
        break;
    default:
        ErrorPrintf("objZMAFileToArray.get(m_objZMAParam;) failed\n");
        break;
    }

    if (setCameraOsdOff() == 0)
        ErrorPrintf("setCameraOsdOff() failed\n");
    else if (m_objSettings.sendDCFrame(ViscaCameraSettings::kStartupDC) == 0)
        ErrorPrintf("DCDay/DCNight on Failed.");

    m_objSettings.readDCValue(params, "DCDay", m_nDCDay);
    m_objSettings.readDCValue(params, "DCNight", m_nDCNight);
    int toDay = 0, toNight = 0;
    m_objIr.getThresholds(toDay, toNight);
    if (params.getValue("toDayADCVal", toDay) == 0)
        ErrorPrintf("get toDayADCVal from senseParameter failed");
    if (params.getValue("toNightADCVal", toNight) == 0)
        ErrorPrintf("get toNightADCVal from senseParameter failed");
    m_objIr.setThresholds(toDay, toNight);
    int delay = 0;
    if (params.getValue("toDayDelay", delay) == 0)
        ErrorPrintf("get toDayDelay from senseParameter failed");
    else
        setDNSwitchDelay(delay);

    std::string version;
    if (getCameraVerInf(version) != 0)
        std::printf("The camera version is %s\n", version.c_str());
    return 1;
}

// ---- module control ------------------------------------------------------------

int ViscaZoomDomeController::restartCamera() {
    char frame[7];
    ViscaTransport::vendorFrame(frame, {0x05, 0x03, 0x01, 0x01});
    return visca().sendRestart(frame, 7);
}

int ViscaZoomDomeController::getCameraVerInf(std::string& version) {
    if (m_pUART.get() == nullptr)
        return 0;
    char frame[7];
    ViscaTransport::vendorFrame(frame, {0x06, 0x01, 0x01, 0x01});
    // A plain exchange: no lock, no drain, and the first nine bytes on the
    // line are the answer (a completion left over from a command fails it).
    if (visca().sendPlain(frame, 7) != 7) {
        ErrorPrintf("getCameraVerInf send error\n");
        return 0;
    }
    char reply[9] = {};
    if (m_pUART->recv(m_nUARTPort, reply, 9, 1) != 9) {
        ErrorPrintf("getCameraVerInf recv error\n");
        return 0;
    }
    if (byteAt(reply, 0) != 0xFE || byteAt(reply, 8) != 0xFF) {
        ErrorPrintf("getCameraVerInf szRecvBuf error\n");
        return 0;
    }
    // The whole sum is compared: a module whose bytes add past 255 is refused.
    int sum = 0;
    for (int i = 1; i <= 6; ++i)
        sum += byteAt(reply, i);
    if (sum != byteAt(reply, 7)) {
        ErrorPrintf("getCameraVerInf return CS error\n");
        return 0;
    }
    char text[16];
    std::snprintf(text, sizeof(text), "%d.%d.%d", byteAt(reply, 4), byteAt(reply, 5),
                  byteAt(reply, 6));
    version = text;
    return 1;
}

int ViscaZoomDomeController::getCameraBaudRate(int& index) {
    const char frame[] = {'\x81', '\x09', '\x04', '\x24', '\x24', '\xFF'};
    char reply[5] = {};
    if (getParameterValue(frame, 6, reply, 5) == 0)
        return 0;
    if (byteAt(reply, 0) != 0x90 || byteAt(reply, 4) != 0xFF) {
        ErrorPrintf("getCameraBaudRate szRecvBuf error\n");
        return 0;
    }
    index = byteAt(reply, 3);
    return 1;
}

int ViscaZoomDomeController::setCameraBuadRate(int index) {
    // A negative index is framed as its low byte; only one that would put the
    // terminator FF inside the frame cannot be sent.
    if (index > 3 || (index & 0xFF) == 0xFF) {
        ErrorPrintf("setCameraBuadRate(%d) is out of range", index);
        return 0;
    }
    return sendCommand({0x04, 0x24, 0x24, 0x00, index});
}

// The module keeps its speed across power cycles, so it may run at any of
// the four; each is tried until the module answers, then it is told the
// wanted speed and restarted, and the port returns to the configured speed.
int ViscaZoomDomeController::changeCameraBuadrate(int baud) {
    const int target = baudIndex(baud);
    if (target < 0) {
        ErrorPrintf("p_nBuadrate out of range, p_nBuadrate = %d\n", baud);
        return 0;
    }
    if (m_pUART.get() == nullptr)
        return 0;
    int index = -1;
    if (getCameraBaudRate(index) != 0 && index == target)
        return 1;

    bool changed = false;
    for (int i = 0; i < kBaudCount && !changed; ++i) {
        if (m_pUART->setParameter(m_nUARTPort, kBaudRates[i], m_nDataBits, m_nStopBits,
                                  m_nParity) == 0) {
            ErrorPrintf("m_pUART->setParameter(m_nUARTIndex,m_nBaudarate,m_nDataBits,m_nStopBits,"
                        "m_nParity) failed\n");
            return 0;
        }
        index = -1;
        if (getCameraBaudRate(index) == 0 || index != i)
            continue;
        changed = setCameraBuadRate(target) != 0 && restartCamera() != 0;
    }
    if (m_pUART->setParameter(m_nUARTPort, m_nBaudarate, m_nDataBits, m_nStopBits, m_nParity) ==
        0) {
        ErrorPrintf("m_pUART->setParameter(m_nUARTIndex,m_nBaudarate,m_nDataBits,m_nStopBits,m_"
                    "nParity) failed\n");
        return 0;
    }
    return changed ? 1 : 0;
}

int ViscaZoomDomeController::setSensorVideoSystem(int videoSystem, VideoResolution const&) {
    const int value = videoSystem == 0 || videoSystem == 1 ? m_profile.videoValues[videoSystem] : 0;
    const int written = m_objSettings.writeVideoFormat(value);
    // The new format takes effect at the module's restart.
    return written == 2 ? restartCamera() : written;
}

int ViscaZoomDomeController::setCameraOsdOff() {
    return sendCommand({0x04, 0x15, 0x03});
}

// ---- 2A link ---------------------------------------------------------------------

int ViscaZoomDomeController::set2AParam(int status) {
    int value = status == 1 ? 1 : 2;
    return kvia_ioctrl(kKvia2AMode, 1, &value) == 0 ? 1 : 0;
}

int ViscaZoomDomeController::setCameraGainTo2ALib() {
    return m_objSettings.handGainTo2A("setCameraGainTo2ALib failed");
}

int ViscaZoomDomeController::doDependOnThread() {
    return setCameraGainTo2ALib();
}

int ViscaZoomDomeController::enterAutoMode() {
    std::puts("enter auto mode");
    return 1;
}

// ---- VISCA exchanges -----------------------------------------------------------

// The module is reachable only once init has opened the port.
int ViscaZoomDomeController::setParameterValue(const char* frame, int length) {
    if (m_pUART.get() == nullptr)
        return 0;
    return visca().command(frame, length, "setParameterValue");
}

int ViscaZoomDomeController::getParameterValue(const char* frame, int length, char* reply,
                                               int replyLength) {
    if (m_pUART.get() == nullptr)
        return 0;
    return visca().inquiry(frame, length, reply, replyLength, "getParameterValue");
}

int ViscaZoomDomeController::recvData(char* buffer, int length, int timeout) {
    if (m_pUART.get() == nullptr)
        return -1;
    return visca().recvData(buffer, length, timeout);
}

int ViscaZoomDomeController::getRealData(char* buffer, int maxLength, int timeout) {
    if (m_pUART.get() == nullptr)
        return -1;
    return visca().getRealData(buffer, maxLength, timeout);
}

// VISCA zoom dome: start-up, module control, 2A link.
#include "drivers/platform/ViscaZoomDomeController.h"

#include "platform/ConfigFileText.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"
#include "platform/kvia.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

// The module's serial-speed register holds an index into this table.
const int kBaudRates[] = {9600, 19200, 38400, 115200};
constexpr int kBaudCount = 4;

// kvia codes of the 2A library: the AE mode link and the module's gain.
constexpr int kKvia2AMode = 49;
constexpr int kKviaGain = 35;

int baudIndex(int baud) {
    for (int i = 0; i < kBaudCount; ++i)
        if (kBaudRates[i] == baud)
            return i;
    return -1;
}

int byteAt(const char* data, int index) {
    return static_cast<uint8_t>(data[index]);
}

// Exactly `count` decimal integers separated by commas (blanks around each
// allowed), nothing before or after: "9600,8,0,1xyz" is not four numbers.
bool parseIntList(const std::string& text, int* values, int count) {
    std::string::size_type begin = 0;
    for (int i = 0; i < count; ++i) {
        const std::string::size_type comma = text.find(',', begin);
        const bool last = i == count - 1;
        if (last != (comma == std::string::npos))
            return false;
        const std::string field = text.substr(begin, last ? std::string::npos : comma - begin);
        if (kvconfig::parseDecimalInt(kvconfig::trimBlanks(field), values[i]) == 0)
            return false;
        begin = comma + 1;
    }
    return true;
}

// The start-up DC setting, sent once the OSD is off and kept for a switch
// whose DC value is missing or refused.
constexpr int kStartupDC[2] = {0x01, 0x03};

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

ViscaZoomDomeController::ViscaZoomDomeController(const ViscaZoomDomeProfile& profile)
    : IDMX420ZoomSensorController(profile.sensorType), m_profile(profile),
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
        m_nGeneration = value;
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
    int baud = 0, dataBits = 0, parity = 0, stopBits = 0;
    const int count =
        std::sscanf(serial.c_str(), "%d,%d,%d,%d", &baud, &dataBits, &parity, &stopBits);
    if (count < 4) {
        ErrorPrintf("parse RS485 param failed,nRet=%d", count);
        return 0;
    }
    // The port settings are taken only as exactly four numbers, and only at
    // a speed the module can run at.
    int fields[4] = {};
    if (!parseIntList(serial, fields, 4)) {
        ErrorPrintf("parse RS485 param failed: (%s) is not \"%%d,%%d,%%d,%%d\"", serial.c_str());
        return 0;
    }
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

    if (m_pUART.get() == nullptr || (m_nUARTPort = m_pUART->open(device.c_str())) < 0) {
        ErrorPrintf("open uart (%s) failed", device.c_str());
        return 0;
    }
    if (m_pUART->setParameter(m_nUARTPort, m_nBaudarate, m_nDataBits, m_nStopBits, m_nParity) ==
        0) {
        ErrorPrintf("m_pUART->setParameter(m_nUARTIndex,m_nBaudarate,m_nDataBits,m_nStopBits,m_"
                    "nParity) failed\n");
        return 0;
    }

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
    else if (sendDCFrame(kStartupDC) == 0)
        ErrorPrintf("DCDay/DCNight on Failed.");

    readDCValue(params, "DCDay", m_strDCDay, m_nDCDay);
    readDCValue(params, "DCNight", m_strDCNight, m_nDCNight);
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
    ViscaTransport::vendorFrame(frame, 0x05, 0x03, 0x01, 0x01);
    if (m_pUART.get() == nullptr || visca().sendPlain(frame, 7) != 7) {
        KovantTime::wait(KovantTime(1, 0));
        return 0;
    }
    std::puts("Restarting sensor");
    // The module hears nothing while it restarts.
    KovantTime::wait(KovantTime(20, 0));
    clearUartBuffer();
    return 1;
}

int ViscaZoomDomeController::getCameraVerInf(std::string& version) {
    if (m_pUART.get() == nullptr)
        return 0;
    char frame[7];
    ViscaTransport::vendorFrame(frame, 0x06, 0x01, 0x01, 0x01);
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
    // 100 µs: the platform time's second field counts microseconds.
    KovantTime::wait(KovantTime(0, 100));
    const char frame[] = {'\x81', '\x09', '\x04', '\x24', '\x72', '\xFF'};
    char reply[5] = {};
    if (getParameterValue(frame, 6, reply, 5) == 0) {
        ErrorPrintf("get sensor video system failed");
        return 0;
    }
    const int value = videoSystem == 0 || videoSystem == 1 ? m_profile.videoValues[videoSystem] : 0;
    // The reply's byte 3 holds the low nibble only: a value above 15 never
    // matches, and the module is set and restarted every time.
    if (byteAt(reply, 3) == value) {
        std::puts("Video system not change!");
        return 1;
    }
    std::printf("set video system,nValue=%d,szRecv[3]=%d\n", value, byteAt(reply, 3));
    if (sendCommand({0x04, 0x24, 0x72, (value >> 4) & 0x0F, value & 0x0F}) == 0)
        return 0;
    // The new format takes effect at the module's restart.
    return restartCamera();
}

int ViscaZoomDomeController::setCameraOsdOff() {
    return sendCommand({0x04, 0x15, 0x03});
}

// ---- 2A link ---------------------------------------------------------------------

int ViscaZoomDomeController::set2AParam(int status) {
    int value = status == 1 ? 1 : 2;
    return kvia_ioctrl(kKvia2AMode, 1, &value) == 0 ? 1 : 0;
}

// Hands the module's gain to the 2A library. Always reports 0: the caller
// runs it every pass and has nothing to do with the outcome.
int ViscaZoomDomeController::setCameraGainTo2ALib() {
    const char frame[] = {'\x81', '\x09', '\x04', '\x4C', '\xFF'};
    char reply[7] = {};
    if (getParameterValue(frame, 5, reply, 7) != 0) {
        int gain = byteAt(reply, 5);
        kvia_ioctrl(kKviaGain, 1, &gain);
    } else {
        ErrorPrintf("setCameraGainTo2ALib failed");
        KovantTime::wait(KovantTime(3, 0));
        if (m_pUART.get() != nullptr)
            clearUartBuffer();
    }
    return 0;
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

int ViscaZoomDomeController::sendCommand(std::initializer_list<int> bytes) {
    std::vector<char> frame = {'\x81', '\x01'};
    for (int value : bytes)
        frame.push_back(static_cast<char>(value & 0xFF));
    frame.push_back('\xFF');
    return setParameterValue(frame.data(), static_cast<int>(frame.size()));
}

int ViscaZoomDomeController::sendDCFrame(const int dc[2]) {
    return sendCommand({0x04, 0xA7, 0x00, dc[0], dc[1], 0x00});
}

void ViscaZoomDomeController::readDCValue(const ModuleParameterParser& params, const char* key,
                                          std::string& text, int dc[2]) {
    dc[0] = kStartupDC[0];
    dc[1] = kStartupDC[1];
    std::string value;
    if (params.getValue(key, value) == 0) {
        ErrorPrintf("get %s from senseParameter failed", key);
        return;
    }
    // Both bytes go into the frame as they are: 0xFF would end it early.
    int pair[2] = {};
    if (!parseIntList(value, pair, 2) || pair[0] < 0 || pair[0] > 0xFE || pair[1] < 0 ||
        pair[1] > 0xFE) {
        ErrorPrintf("%s(%s) refused: two values 0..254 \"a,b\" expected; %d,%d kept", key,
                    value.c_str(), dc[0], dc[1]);
        return;
    }
    text = value;
    dc[0] = pair[0];
    dc[1] = pair[1];
}

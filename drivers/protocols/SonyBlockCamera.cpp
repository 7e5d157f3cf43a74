// The shared half of the Sony-style VISCA block camera controllers.
#include "drivers/protocols/SonyBlockCamera.h"

#include "config/SensorCache.h"
#include "controller/ISensorController.h"
#include "platform/KovantTime.h"
#include "platform/ModuleConfigure.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>

const unsigned char SonyBlockCamera::kAck[3] = {0x90, 0x41, 0xFF};
const unsigned char SonyBlockCamera::kCompletion[3] = {0x90, 0x51, 0xFF};

namespace {

constexpr int kMaxFrame = 16;
constexpr int kCommand = 0x01;
constexpr int kInquiry = 0x09;

// Video-format register values: (video system, height) -> 24 72.
struct VideoFormat {
    int videoSystem; // 1 PAL; 0 NTSC (2 is NTSC too)
    int height;
    int value;
};
const VideoFormat kVideoFormats[] = {
    {0, 1080, 0x01}, // 1080i/59.94
    {0, 720, 0x09},  // 720p/59.94
    {1, 1080, 0x04}, // 1080i/50
    {1, 720, 0x0C},  // 720p/50
};

} // namespace

SonyBlockCamera::SonyBlockCamera(ISensorController& owner, SafePointer<IUARTController>& uart,
                                 int& port, KVMutex& lock, SensorCache& stored,
                                 const ViscaSetting* table, std::size_t count)
    : m_owner(owner), m_stored(stored), m_objVisca(uart, port, lock, owner), m_pTable(table),
      m_nTableSize(count) {
    ViscaTransport::Policy policy;
    policy.completionAnswersCommand = true;
    policy.replyTimeout = kAnswerTimeout;
    policy.firstThreeBytes = true;
    m_objVisca.setPolicy(policy);
}

int SonyBlockCamera::openSerial(const ModuleConfigure& config, ModuleParameterParser& detail) {
    SerialRecord record;
    if (!readSerialRecord(m_owner, config, true, detail, record))
        return 0;
    return m_objVisca.openPort(record.device, record.baud, record.dataBits, record.stopBits,
                               record.parity);
}

// ---- parameters ------------------------------------------------------------------

void SonyBlockCamera::addOperation(int id, const char* name, std::function<int(int)> set,
                                   std::function<int(int&)> get, const char* failure) {
    m_mapOperations[id] = Operation{name, std::move(set), std::move(get), failure};
}

int SonyBlockCamera::setParameter(int id, int value) {
    if (m_owner.getSensorStatus() != ISensorController::InitSuccess) {
        m_owner.ErrorPrintf("m_SensorStatus != ISensorController::InitSuccess!");
        return 0;
    }
    const int base = m_owner.ISensorController::setParameterToSensor(id, value);
    if (base != -1)
        return base;
    const int result = apply(id, value);
    const auto op = m_mapOperations.find(id);
    if (result == 0 && op != m_mapOperations.end() && op->second.failure != nullptr)
        m_owner.ErrorPrintf("%s", op->second.failure);
    else if (result == 0)
        m_owner.ErrorPrintf("%s error,value is %d",
                            op != m_mapOperations.end()
                                ? op->second.name
                                : findViscaSetting(m_pTable, m_nTableSize, id)->name,
                            value);
    return result;
}

int SonyBlockCamera::getParameter(int id, int& value) {
    if (m_owner.getSensorStatus() != ISensorController::InitSuccess) {
        m_owner.ErrorPrintf("m_SensorStatus != ISensorController::InitSuccess!");
        return 0;
    }
    if (id >= 500 && id <= 504)
        return m_owner.ISensorController::getParameterFromSensor(id, value);
    const auto op = m_mapOperations.find(id);
    if (op == m_mapOperations.end() && findViscaSetting(m_pTable, m_nTableSize, id) == nullptr)
        return -1;
    if (op != m_mapOperations.end() && op->second.get) {
        if (op->second.get(value) != 0)
            return 1;
    } else if (m_stored.getSensorValue(id, value) != 0) {
        return 1;
    }
    // "setIri" reads back as "getIri".
    const char* setter = op != m_mapOperations.end()
                             ? op->second.name
                             : findViscaSetting(m_pTable, m_nTableSize, id)->name;
    const std::string name(setter);
    m_owner.ErrorPrintf("%s error,value is %d",
                        (name.compare(0, 3, "set") == 0 ? "get" + name.substr(3) : name).c_str(),
                        value);
    return 0;
}

int SonyBlockCamera::apply(int id, int value) {
    const auto op = m_mapOperations.find(id);
    if (op != m_mapOperations.end())
        return op->second.set(value) != 0 ? 1 : 0;
    const ViscaSetting* row = findViscaSetting(m_pTable, m_nTableSize, id);
    if (row == nullptr)
        return -1;
    if (!row->accepts(value)) {
        char text[96];
        row->refusal(value, text, sizeof text);
        m_owner.ErrorPrintf("%s", text);
        return 0;
    }
    char frame[kMaxFrame];
    const int len = buildViscaSettingFrame(*row, value, ViscaRounding::Truncate, frame);
    return m_objVisca.command(frame, len);
}

int SonyBlockCamera::stored(int id, int fallback) const {
    int value = fallback;
    return m_stored.getSensorValue(id, value) != 0 ? value : fallback;
}

// ---- module services ------------------------------------------------------------

int SonyBlockCamera::buildFrame(std::initializer_list<int> bytes, char* frame, int type) const {
    int n = 0;
    frame[n++] = static_cast<char>(0x81);
    frame[n++] = static_cast<char>(type);
    for (int b : bytes)
        if (n < kMaxFrame - 1)
            frame[n++] = static_cast<char>(b & 0xFF);
    frame[n++] = static_cast<char>(0xFF);
    return n;
}

int SonyBlockCamera::command(std::initializer_list<int> bytes) {
    char frame[kMaxFrame];
    return m_objVisca.command(frame, buildFrame(bytes, frame, kCommand));
}

int SonyBlockCamera::inquiry(std::initializer_list<int> bytes, char* answer, int len) {
    char frame[kMaxFrame];
    return m_objVisca.inquiry(frame, buildFrame(bytes, frame, kInquiry), answer, len);
}

int SonyBlockCamera::getDNStatus(int& state, const char* again) {
    char answer[4] = {};
    int ok = inquiry({0x04, 0x01}, answer, 4);
    if (ok == 0 && again != nullptr) {
        m_owner.ErrorPrintf("%s", again);
        ok = inquiry({0x04, 0x01}, answer, 4);
    }
    if (ok == 0) {
        m_owner.ErrorPrintf("get dn failed");
        return 0;
    }
    const int filter = static_cast<unsigned char>(answer[2]);
    if (filter != 2 && filter != 3) {
        m_owner.ErrorPrintf("get daynight value out of range value = %d", filter);
        return 0;
    }
    state = filter == 2 ? 0 : 1; // the filter in: night
    return 1;
}

int SonyBlockCamera::getCurrentGain(int& gain) {
    char answer[7] = {};
    if (inquiry({0x04, 0x4C}, answer, 7) == 0) {
        m_owner.ErrorPrintf("get currentGain failed");
        return 0;
    }
    gain = ViscaTransport::decodePosition(answer + 2);
    return 1;
}

int SonyBlockCamera::turnPictureToNight() {
    if (command({0x04, 0x01, 0x02}) == 0)
        return 0;
    KovantTime::wait(KovantTime(1, 0));
    return command({0x04, 0x51, 0x03});
}

int SonyBlockCamera::turnPictureToDay() {
    if (command({0x04, 0x01, 0x03}) == 0)
        return 0;
    KovantTime::wait(KovantTime(1, 0));
    return command({0x04, 0x51, 0x03});
}

int SonyBlockCamera::enterAutoMode() {
    if (command({0x04, 0x01, 0x03}) == 0)
        return 0;
    return command({0x04, 0x51, 0x02});
}

int SonyBlockCamera::videoFormatOf(int videoSystem, int height) {
    const int system = videoSystem == 1 ? 1 : videoSystem == 0 || videoSystem == 2 ? 0 : -1;
    for (const VideoFormat& f : kVideoFormats)
        if (f.videoSystem == system && f.height == height)
            return f.value;
    return -1;
}

int SonyBlockCamera::setSensorVideoSystem(int videoSystem, const VideoResolution& resolution,
                                          const RestartTexts& texts) {
    const int target = videoFormatOf(videoSystem, resolution.getHeight());
    if (target < 0) {
        m_owner.ErrorPrintf("setSensorVideoSystem is out of range");
        return 0;
    }
    char answer[5] = {};
    if (inquiry({0x04, 0x24, 0x72}, answer, 5) == 0) {
        m_owner.ErrorPrintf("get video system failed");
        return 0;
    }
    const int current = ((answer[2] & 0x0F) << 4) | (answer[3] & 0x0F);
    std::printf("set video system,nValue=%d,szRecv[3]=%d\n", target, answer[3]);
    if (current == target) {
        std::puts("Video system not change!");
        return 1;
    }
    std::puts(videoSystem == 1 ? "____set PAL" : "____set NTSC");
    char frame[kMaxFrame];
    const int len =
        buildFrame({0x04, 0x24, 0x72, (target >> 4) & 0x0F, target & 0x0F}, frame, kCommand);
    char reply[3] = {};
    const int got = m_objVisca.commandWithRestart(frame, len, kRestartTimeout, reply);
    if (got < 0)
        return 0;
    if (got == 0) {
        m_owner.ErrorPrintf("%s", texts.timeout);
        return 0;
    }
    const auto byte = [&reply](int i) { return static_cast<unsigned char>(reply[i]); };
    if (got == 3 && byte(0) == 0x90 && (byte(1) == 0x41 || byte(1) == 0x42) && byte(2) == 0xFF) {
        std::puts("Restarting sensor.....Wait 20s");
        // The module hears nothing while it restarts.
        KovantTime::wait(KovantTime(20, 0));
        return 1;
    }
    m_owner.ErrorPrintf("%s", texts.failed);
    m_owner.ErrorPrintf("recv:0x%x,0x%x,0x%x", byte(0), byte(1), byte(2));
    return 0;
}

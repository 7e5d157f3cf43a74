// The shared half of the Sony-style VISCA block camera controllers.
#include "drivers/protocols/SonyBlockCamera.h"

#include "config/IdManager.h"
#include "config/SensorCache.h"
#include "controller/ISensorController.h"
#include "drivers/protocols/ModuleDispatch.h"
#include "platform/KovantTime.h"
#include "platform/ModuleConfigure.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <iterator>

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

using V = ViscaSetting::Value;
using D = ViscaSetting::Data;
constexpr bool kIsOut = false;

// Ids of the family's operations.
enum OpId {
    kMirror = 8,
    kExposalMode = 10,
    kExpComp = 17,
    kCompensLevel = 25,
    kBrightLevel = 26,
    kBrightCompens = 27,
    kFocusNearLimit = 30,
    kLensMovement = 34,
    kOnePush = 37,
    kLensInterval = 39,
    kDefog = 45,
    kSpotX = 48,
    kSpotY = 49,
    kFocusUp = 52,
    kDayNightMode = 56,
};

// AE mode codes of exposure modes 0..4: auto, manual, shutter priority, iris priority, bright.
const int kAEModes[] = {0x00, 0x03, 0x0A, 0x0B, 0x0D};

} // namespace

// 81 01 <bytes> <value> FF. On/off settings take the module's own codes, 2 on and 3 off.
// clang-format off
const ViscaSetting SonyBlockCamera::kSharedSettings[] = {
    {1, "setSharpness", 0, 100, 0, "p_Sharpness", kIsOut, {0x04, 0x42, 0x00, 0x00, 0x00}, 5, V::Level15, D::Byte, 0, 0, false},
    {2, "setSaturation", 0, 100, 0, "p_nSaturation", kIsOut, {0x04, 0x49, 0x00, 0x00, 0x00}, 5, V::Level14, D::Byte, 0, 0, false},
    {3, "setHue", 0, 100, 0, "p_nHue", kIsOut, {0x04, 0x4F, 0x00, 0x00, 0x00}, 5, V::Level14, D::Byte, 0, 0, false},
    {4, "setGamma", 0, 5, 0, "p_nGamma", kIsOut, {0x04, 0x5B}, 2, V::Raw, D::Byte, 0, 0, false},
    {5, "setHR", 2, 3, 0, "p_nHR", kIsOut, {0x04, 0x52}, 2, V::Raw, D::Byte, 0, 0, false},
    {6, "setNoiseReduction", 0, 5, 0, "p_nNoiseReduction", kIsOut, {0x04, 0x53}, 2, V::Raw, D::Byte, 0, 0, false},
    {7, "setLowLightChromaSuppress", 0, 3, 0, "p_nLowLightChromaSuppress", kIsOut, {0x04, 0x5F}, 2, V::Raw, D::Byte, 0, 0, false},
    {11, "setShutter", 0, 21, 0, "p_nShutter", kIsOut, {0x04, 0x4A, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {12, "setIri", 0, 17, 0, "p_nIri", kIsOut, {0x04, 0x4B, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {13, "setBright", 0, 27, 0, "p_nBright", kIsOut, {0x04, 0x4D, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {14, "setGain", 0, 15, 0, "p_nGain", kIsOut, {0x04, 0x4C, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {15, "setGainLimit", 4, 15, 0, "p_nGainLimit", kIsOut, {0x04, 0x2C}, 2, V::Raw, D::Byte, 0, 0, false},
    {16, "setAutoSlowShutter", 2, 3, 0, "p_nAutoSlowShutter", kIsOut, {0x04, 0x5A}, 2, V::Raw, D::Byte, 0, 0, false},
    {18, "setAEResponse", 1, 48, 0, "p_nAEResponse", kIsOut, {0x04, 0x5D}, 2, V::Raw, D::Byte, 0, 0, false},
    {19, "setWBMode", 0, 5, 0, "p_nWBMode", kIsOut, {0x04, 0x35}, 2, V::Raw, D::Byte, 0, 0, false},
    {20, "setRGain", 0, 255, 0, "p_nRGain", kIsOut, {0x04, 0x43, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {21, "setBGain", 0, 255, 0, "p_nBGain", kIsOut, {0x04, 0x44, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {23, "setThreshold", 0, 28, 0, "p_nThreshold", kIsOut, {0x04, 0x21, 0x00, 0x00}, 4, V::Raw, D::Nibbles, 0, 0, false},
    {24, "setWDMode", 2, 3, 0, "p_nWDMode", kIsOut, {0x04, 0x3D}, 2, V::Raw, D::Byte, 0, 0, false},
    {28, "setDZoom", 2, 3, 0, "p_nDZoom", kIsOut, {0x04, 0x06}, 2, V::Raw, D::Byte, 0, 0, false},
    {29, "setIRCorrection", 0, 1, 0, "p_nIRCorrection", kIsOut, {0x04, 0x11}, 2, V::Raw, D::Byte, 0, 0, false},
    {32, "setAF_Sensitivity", 2, 3, 0, "p_nAFSensitivity", kIsOut, {0x04, 0x58}, 2, V::Raw, D::Byte, 0, 0, false},
    {33, "setFocusAutoMode", 0, 2, 0, "p_nFocusAutoMode", kIsOut, {0x04, 0x57}, 2, V::Raw, D::Byte, 0, 0, false},
    {40, "setHighSensitivity", 2, 3, 0, "p_nHighSensitivity", kIsOut, {0x04, 0x5E}, 2, V::Raw, D::Byte, 0, 0, false},
    {44, "setStabilizer", 2, 3, 0, "p_nStabilizer", kIsOut, {0x04, 0x34}, 2, V::Raw, D::Byte, 0, 0, false},
    {46, "setFocusMode", 2, 3, 0, "p_nFocusMode", kIsOut, {0x04, 0x38}, 2, V::Raw, D::Byte, 0, 0, false},
    {47, "setSpotAE", 2, 3, 0, "p_nSpotAE", kIsOut, {0x04, 0x59}, 2, V::Raw, D::Byte, 0, 0, false},
    {50, "setStillImage", 2, 3, 0, "p_nStillImage", kIsOut, {0x04, 0x62}, 2, V::Raw, D::Byte, 0, 0, false},
};
// clang-format on
const std::size_t SonyBlockCamera::kSharedSettingCount = std::size(kSharedSettings);

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

void SonyBlockCamera::registerIds(IdManager& ids, std::initializer_list<IdRange> ranges) {
    for (const IdRange& r : ranges)
        ids.addParameterId(r.type, r.first, r.last);
}

void SonyBlockCamera::addOperation(int id, const char* name, std::function<int(int)> set,
                                   std::function<int(int&)> get, const char* failure) {
    m_mapOperations[id] = Operation{name, std::move(set), std::move(get), failure};
}

bool SonyBlockCamera::inRange(const char* name, int v, int lo, int hi) {
    if (v >= lo && v <= hi)
        return true;
    m_owner.ErrorPrintf("%s(%d) is out of range", name, v);
    return false;
}

void SonyBlockCamera::addFamilyOperations(bool lensSteps) {
    addOperation(kMirror, "setMirror", [this](int v) -> int {
        if (!inRange("p_nMirror", v, 0, 3))
            return 0;
        // Left-right reverse, then flip: 02 on, 03 off.
        const bool reverse = v == 1 || v == 2;
        const bool flip = v >= 2;
        return command({0x04, 0x61, reverse ? 0x02 : 0x03}) &&
               command({0x04, 0x66, flip ? 0x02 : 0x03});
    });
    addOperation(
        kExposalMode, "setExposalMode",
        [this](int v) -> int {
            return v >= 0 && v <= 4 && command({0x04, 0x39, kAEModes[v]});
        },
        {}, "setExposalMode failed");
    addOperation(kExpComp, "setExpComp", [this](int v) -> int {
        return inRange("p_nExpComp", v, 0, 14) && command({0x04, 0x3E, 0x02}) &&
               command({0x04, 0x4E, 0x00, 0x00, v >> 4, v & 0x0F});
    });
    // The visibility enhancer: 2D 00 <bright level> <bright compensation> <compensation level>.
    const auto enhancer = [this](int id, const char* name, int hi) {
        return [this, id, name, hi](int v) -> int {
            if (!inRange(name, v, 0, hi))
                return 0;
            const auto value = [&](int which) { return which == id ? v : stored(which); };
            return command({0x04, 0x2D, 0x00, value(kBrightLevel), value(kBrightCompens),
                            value(kCompensLevel)});
        };
    };
    addOperation(kCompensLevel, "setCompensLevel", enhancer(kCompensLevel, "p_nCompensLevel", 2));
    addOperation(kBrightLevel, "setBrightLevel", enhancer(kBrightLevel, "p_nBrightLevel", 6));
    addOperation(kBrightCompens, "setBrightCompens",
                 enhancer(kBrightCompens, "p_nBrightCompens", 3));
    addOperation(kFocusNearLimit, "setFocusNearLimit", [this](int v) -> int {
        return inRange("p_nFocusNearLimit", v, 0, 15) && command({0x04, 0x28, v, 0x00, 0x00, 0x00});
    });
    // AF movement time and interval: 27 0p 0q 0r 0s, one pair each.
    const auto lens = [this](int id, const char* name) {
        return [this, id, name](int v) -> int {
            if (!inRange(name, v, 0, 255))
                return 0;
            const int movement = id == kLensMovement ? v : stored(kLensMovement);
            const int interval = id == kLensInterval ? v : stored(kLensInterval);
            return command(
                {0x04, 0x27, movement >> 4, movement & 0x0F, interval >> 4, interval & 0x0F});
        };
    };
    addOperation(kLensMovement, "setLensMovement", lens(kLensMovement, "p_nMovement"));
    addOperation(kLensInterval, "setLensInterval", lens(kLensInterval, "p_nInterval"));
    addOperation(kDefog, "setDefog", [this](int v) -> int {
        return inRange("p_nDefog", v, 0, 3) && command({0x04, 0x37, v == 0 ? 0x03 : 0x02, v});
    });
    // Spot AE position: 29 0p 0q 0r 0s, X then Y.
    const auto spot = [this](int id, const char* name) {
        return [this, id, name](int v) -> int {
            if (!inRange(name, v, 0, 15))
                return 0;
            const int x = id == kSpotX ? v : stored(kSpotX);
            const int y = id == kSpotY ? v : stored(kSpotY);
            return command({0x04, 0x29, 0x00, x, 0x00, y});
        };
    };
    addOperation(kSpotX, "setSpotAE_X", spot(kSpotX, "p_nX"));
    addOperation(kSpotY, "setSpotAE_Y", spot(kSpotY, "p_nY"));
    // Lens steps and one-push focus: the value only triggers.
    const struct {
        int id;
        const char* name;
        int command;
        int data;
    } kSteps[] = {
        {kOnePush, "OnePushTrigger", 0x18, 0x01}, {kFocusUp, "FocusUp", 0x08, 0x03},
        {kFocusUp + 1, "FocusDown", 0x08, 0x02},  {kFocusUp + 2, "IrisUp", 0x0B, 0x02},
        {kFocusUp + 3, "IrisDown", 0x0B, 0x03},
    };
    for (const auto& step : kSteps)
        if (lensSteps || step.id == kOnePush)
            addOperation(step.id, step.name, [this, step](int) -> int {
                return command({0x04, step.command, step.data});
            });
    // The base's day/night mode, time windows and TNF.
    ISensorController& o = m_owner;
    addOperation(
        kDayNightMode, "setDayNightMode", [&o](int v) -> int { return o.setDayNightMode(v); },
        [&o](int& v) { return o.getDayNightMode(v); });
    using Set = int (ISensorController::*)(int);
    using Get = int (ISensorController::*)(int&);
    const struct {
        const char* name;
        Set set;
        Get get;
    } kBase[] = {
        {"setDTNTime_H", &ISensorController::setDTNTime_H, &ISensorController::getDTNTime_H},
        {"setDTNTime_M", &ISensorController::setDTNTime_M, &ISensorController::getDTNTime_M},
        {"setNTDTime_H", &ISensorController::setNTDTime_H, &ISensorController::getNTDTime_H},
        {"setNTDTime_M", &ISensorController::setNTDTime_M, &ISensorController::getNTDTime_M},
        {"setDNSwitchDelay", &ISensorController::setDNSwitchDelay,
         &ISensorController::getDNSwitchDelay},
        {"setTNF", &ISensorController::setTNF, &ISensorController::getTNF},
        {"setTNFMode", &ISensorController::setTNFMode, &ISensorController::getTNFMode},
    };
    int id = kDayNightMode + 1;
    for (const auto& b : kBase)
        addOperation(
            id++, b.name, [&o, b](int v) -> int { return (o.*b.set)(v); },
            [&o, b](int& v) { return (o.*b.get)(v); });
}

const ViscaSetting* SonyBlockCamera::row(int id) const {
    const ViscaSetting* own = findViscaSetting(m_pTable, m_nTableSize, id);
    return own != nullptr ? own : findViscaSetting(kSharedSettings, kSharedSettingCount, id);
}

const char* SonyBlockCamera::nameOf(int id) const {
    const auto op = m_mapOperations.find(id);
    return op != m_mapOperations.end() ? op->second.name : row(id)->name;
}

int SonyBlockCamera::setParameter(int id, int value) {
    const int base = dispatchSetToBase(m_owner, id, value);
    if (base != -1)
        return base;
    const int result = apply(id, value);
    const auto op = m_mapOperations.find(id);
    if (result == 0 && op != m_mapOperations.end() && op->second.failure != nullptr)
        m_owner.ErrorPrintf("%s", op->second.failure);
    else if (result == 0)
        m_owner.ErrorPrintf("%s error,value is %d", nameOf(id), value);
    return result;
}

int SonyBlockCamera::getParameter(int id, int& value) {
    const int base = dispatchGetToBase(m_owner, id, value);
    if (base != -1)
        return base;
    const auto op = m_mapOperations.find(id);
    if (op == m_mapOperations.end() && row(id) == nullptr)
        return -1;
    if (op != m_mapOperations.end() && op->second.get) {
        if (op->second.get(value) != 0)
            return 1;
    } else if (m_stored.getSensorValue(id, value) != 0) {
        return 1;
    }
    // "setIri" reads back as "getIri".
    const std::string name(nameOf(id));
    m_owner.ErrorPrintf("%s error,value is %d",
                        (name.compare(0, 3, "set") == 0 ? "get" + name.substr(3) : name).c_str(),
                        value);
    return 0;
}

int SonyBlockCamera::apply(int id, int value) {
    const auto op = m_mapOperations.find(id);
    if (op != m_mapOperations.end())
        return op->second.set(value) != 0 ? 1 : 0;
    const ViscaSetting* setting = row(id);
    if (setting == nullptr)
        return -1;
    if (!setting->accepts(value)) {
        char text[96];
        setting->refusal(value, text, sizeof text);
        m_owner.ErrorPrintf("%s", text);
        return 0;
    }
    char frame[kMaxFrame];
    const int len = buildViscaSettingFrame(*setting, value, ViscaRounding::Truncate, frame);
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
    int read = inquiry({0x04, 0x24, 0x72}, answer, 5);
    if (read == 0 && texts.readAgain != nullptr) {
        m_owner.ErrorPrintf("%s", texts.readAgain);
        read = inquiry({0x04, 0x24, 0x72}, answer, 5);
    }
    if (read == 0) {
        m_owner.ErrorPrintf("%s", texts.readFailed);
        return 0;
    }
    const int current = ((answer[2] & 0x0F) << 4) | (answer[3] & 0x0F);
    if (texts.current != nullptr)
        std::printf(texts.current, current);
    else
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

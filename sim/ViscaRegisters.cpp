// Register state and lens motion of a simulated VISCA block camera.
#include "sim/ViscaRegisters.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr uint8_t kCamera = 0x04;
constexpr uint8_t kRegister = 0x24;
constexpr uint8_t kSensitivity = 0x21;
constexpr uint8_t kZoomDrive = 0x07;
constexpr uint8_t kFocusDrive = 0x08;
constexpr uint8_t kZoomDirect = 0x47;
constexpr uint8_t kFocusDirect = 0x48;
constexpr uint8_t kBaudRegister = 0x24;
constexpr uint8_t kVideoRegister = 0x72;

} // namespace

ViscaRegisters::ViscaRegisters(int baudIndex, int videoFormat)
    : m_nBaudIndex(baudIndex), m_nVideoFormat(videoFormat) {
    m_zoom.min = 0;
    m_zoom.max = kZoomMax;
    m_focus.min = kFocusMin;
    m_focus.max = kFocusMax;
    m_focus.position = kFocusMin;
    setActiveBaudIndex(baudIndex);
    m_mapValues[{kCamera, kRegister, kVideoRegister}] = {
        static_cast<uint8_t>((videoFormat >> 4) & 0x0F), static_cast<uint8_t>(videoFormat & 0x0F)};
    m_mapValues[{kCamera, 0x4C}] = {0, 0, 0, 0};
}

void ViscaRegisters::setActiveBaudIndex(int index) {
    m_nBaudIndex = index;
    m_mapValues[{kCamera, kRegister, kBaudRegister}] = {static_cast<uint8_t>((index >> 4) & 0x0F),
                                                        static_cast<uint8_t>(index & 0x0F)};
}

ViscaRegisters::Bytes ViscaRegisters::keyOf(const Bytes& body) {
    if (body.size() < 2)
        return {};
    const bool sub = body[0] == kCamera && (body[1] == kRegister || body[1] == kSensitivity);
    const size_t len = sub ? 3 : 2;
    if (body.size() < len)
        return {};
    return Bytes(body.begin(), body.begin() + static_cast<long>(len));
}

bool ViscaRegisters::command(const Bytes& body, double now) {
    const Bytes key = keyOf(body);
    if (key.empty())
        return false;
    const Bytes data(body.begin() + static_cast<long>(key.size()), body.end());
    if (key[0] == kCamera && !data.empty()) {
        switch (key[1]) {
        case kZoomDrive:
            m_zoom.drive(data[0], true, now);
            return true;
        case kFocusDrive:
            // Focus far drives the position toward its minimum.
            m_focus.drive(data[0], false, now);
            return true;
        case kZoomDirect:
            if (data.size() >= 4)
                m_zoom.set(fromNibbles(data.data(), 4), now);
            if (data.size() >= 8)
                m_focus.set(fromNibbles(data.data() + 4, 4), now);
            return true;
        case kFocusDirect:
            if (data.size() >= 4)
                m_focus.set(fromNibbles(data.data(), 4), now);
            return true;
        default:
            break;
        }
    }
    m_mapValues[key] = data;
    return true;
}

bool ViscaRegisters::inquire(const Bytes& body, double now, Bytes& data) const {
    if (body.size() == 2 && body[0] == kCamera && body[1] == kZoomDirect) {
        data = nibbles4(m_zoom.at(now));
        return true;
    }
    if (body.size() == 2 && body[0] == kCamera && body[1] == kFocusDirect) {
        data = nibbles4(m_focus.at(now));
        return true;
    }
    const auto it = m_mapValues.find(body);
    if (it == m_mapValues.end())
        return false;
    data = it->second;
    return true;
}

int ViscaRegisters::registerValue(uint8_t reg) const {
    const auto it = m_mapValues.find({kCamera, kRegister, reg});
    if (it == m_mapValues.end() || it->second.empty())
        return -1;
    return fromNibbles(it->second.data(), static_cast<int>(std::min<size_t>(it->second.size(), 2)));
}

void ViscaRegisters::restart(double now) {
    const int baud = registerValue(kBaudRegister);
    if (baud >= 0 && baud <= 3)
        m_nBaudIndex = baud;
    const int video = registerValue(kVideoRegister);
    if (video >= 0)
        m_nVideoFormat = video;
    m_zoom.set(m_zoom.at(now), now);
    m_focus.set(m_focus.at(now), now);
}

ViscaRegisters::Bytes ViscaRegisters::value(const Bytes& key) const {
    const auto it = m_mapValues.find(key);
    return it == m_mapValues.end() ? Bytes() : it->second;
}

void ViscaRegisters::setValue(const Bytes& key, const Bytes& data) {
    m_mapValues[key] = data;
}

ViscaRegisters::Bytes ViscaRegisters::nibbles4(int value) {
    return {static_cast<uint8_t>((value >> 12) & 0x0F), static_cast<uint8_t>((value >> 8) & 0x0F),
            static_cast<uint8_t>((value >> 4) & 0x0F), static_cast<uint8_t>(value & 0x0F)};
}

int ViscaRegisters::fromNibbles(const uint8_t* p, int count) {
    int value = 0;
    for (int i = 0; i < count; ++i)
        value = value * 16 + (p[i] & 0x0F);
    return value;
}

int ViscaRegisters::Lens::at(double now) const {
    if (direction == 0)
        return position;
    const double moved = speed * std::max(0.0, now - since);
    const double p = position + direction * std::min(moved, static_cast<double>(max - min));
    return std::clamp(static_cast<int>(std::lround(p)), min, max);
}

void ViscaRegisters::Lens::set(int p, double now) {
    position = std::clamp(p, min, max);
    direction = 0;
    since = now;
}

void ViscaRegisters::Lens::drive(uint8_t code, bool upOnTwo, double now) {
    set(at(now), now);
    const int kind = code >> 4;
    int speedStep = code & 0x0F;
    int dir = 0;
    if (code == 0x02 || code == 0x03) { // standard speed
        dir = code == 0x02 ? 1 : -1;
        speedStep = 3;
    } else if (kind == 2 || kind == 3) { // variable speed
        dir = kind == 2 ? 1 : -1;
    }
    if (!upOnTwo)
        dir = -dir;
    direction = dir;
    speed = kStepsPerSecond * (std::min(speedStep, 7) + 1);
}

// VISCA block camera: DC frame, video-format register, 2A gain.
#include "drivers/protocols/ViscaCameraSettings.h"

#include "controller/ISensorController.h"
#include "platform/ConfigFileText.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"
#include "platform/kvia.h"

#include <cstdint>
#include <cstdio>

namespace {

// kvia code of the 2A library that takes the module's gain.
constexpr int kKviaGain = 35;

int byteAt(const char* data, int index) {
    return static_cast<uint8_t>(data[index]);
}

} // namespace

const int ViscaCameraSettings::kStartupDC[2] = {0x01, 0x03};

int ViscaCameraSettings::sendDCFrame(const int dc[2]) {
    return command({0x04, 0xA7, 0x00, dc[0], dc[1], 0x00});
}

void ViscaCameraSettings::readDCValue(const ModuleParameterParser& params, const char* key,
                                      int dc[2]) {
    dc[0] = kStartupDC[0];
    dc[1] = kStartupDC[1];
    std::string value;
    if (params.getValue(key, value) == 0) {
        m_owner.ErrorPrintf("get %s from senseParameter failed", key);
        return;
    }
    // Both bytes go into the frame as they are: 0xFF would end it early.
    int pair[2] = {};
    if (!kvconfig::parseDecimalIntList(value, pair, 2) || pair[0] < 0 || pair[0] > 0xFE ||
        pair[1] < 0 || pair[1] > 0xFE) {
        m_owner.ErrorPrintf("%s(%s) refused: two values 0..254 \"a,b\" expected; %d,%d kept", key,
                            value.c_str(), dc[0], dc[1]);
        return;
    }
    dc[0] = pair[0];
    dc[1] = pair[1];
}

int ViscaCameraSettings::writeVideoFormat(int value) {
    // 100 µs: the platform time's second field counts microseconds.
    KovantTime::wait(KovantTime(0, 100));
    const char frame[] = {'\x81', '\x09', '\x04', '\x24', '\x72', '\xFF'};
    char reply[5] = {};
    if (m_owner.getParameterValue(frame, 6, reply, 5) == 0) {
        m_owner.ErrorPrintf("get sensor video system failed");
        return 0;
    }
    // The reply's byte 3 holds the low nibble only: a value above 15 never
    // matches, and the module is set and restarted every time.
    if (byteAt(reply, 3) == value) {
        std::puts("Video system not change!");
        return 1;
    }
    std::printf("set video system,nValue=%d,szRecv[3]=%d\n", value, byteAt(reply, 3));
    if (command({0x04, 0x24, 0x72, (value >> 4) & 0x0F, value & 0x0F}) == 0)
        return 0;
    return 2;
}

int ViscaCameraSettings::handGainTo2A(const char* failure) {
    const char frame[] = {'\x81', '\x09', '\x04', '\x4C', '\xFF'};
    char reply[7] = {};
    if (m_owner.getParameterValue(frame, 5, reply, 7) != 0) {
        int gain = byteAt(reply, 5);
        kvia_ioctrl(kKviaGain, 1, &gain);
    } else {
        m_owner.ErrorPrintf("%s", failure);
        KovantTime::wait(KovantTime(3, 0));
        m_owner.clearUartBuffer();
    }
    return 0;
}

// VISCA zoom dome: zoom, focus and iris.
#include "drivers/platform/ViscaZoomDomeController.h"

#include <iterator>

namespace {

// Zoom motor positions of the optical magnifications x1 .. x12.
const int kZoomTable[] = {16384, 24576, 27264, 28672, 29440, 30016,
                          30400, 30720, 30912, 31104, 31232, 31424};

constexpr int kMaxDriveSpeed = 8;
constexpr int kPositionReplyLength = 7; // 90 50 0p 0q 0r 0s FF

bool isPositionReply(const char* reply) {
    return static_cast<unsigned char>(reply[0]) == 0x90 && reply[1] == 0x50 &&
           static_cast<unsigned char>(reply[6]) == 0xFF;
}

} // namespace

// ---- zoom -------------------------------------------------------------------

int ViscaZoomDomeController::ZoomIn(int speed) {
    if (speed < 0 || speed > kMaxDriveSpeed) {
        ErrorPrintf("ZoomUp(%d) is out of range", speed);
        return 0;
    }
    return sendCommand({0x04, 0x07, 0x20 + speed});
}

int ViscaZoomDomeController::ZoomOut(int speed) {
    if (speed < 0 || speed > kMaxDriveSpeed) {
        ErrorPrintf("ZoomOut(%d) is out of range", speed);
        return 0;
    }
    return sendCommand({0x04, 0x07, 0x30 + speed});
}

int ViscaZoomDomeController::StopZoomContrl() {
    return sendCommand({0x04, 0x07, 0x00});
}

int ViscaZoomDomeController::setZoomValue(int position) {
    char frame[9] = {char(0x81), 0x01, 0x04, 0x47, 0, 0, 0, 0, char(0xFF)};
    ViscaTransport::encodePosition(position, frame + 4);
    return setParameterValue(frame, int(sizeof frame));
}

int ViscaZoomDomeController::getZoomValue(int& position, int& ratio) {
    static const char kInquiry[] = {char(0x81), 0x09, 0x04, 0x47, char(0xFF)};
    char reply[kPositionReplyLength] = {};
    if (getParameterValue(kInquiry, int(sizeof kInquiry), reply, kPositionReplyLength) == 0)
        return 0;
    if (!isPositionReply(reply)) {
        ErrorPrintf("getZoomValue reply error");
        return 0;
    }
    position = ViscaTransport::decodePosition(reply + 2);
    ratio = zoomRatio(position);
    return 1;
}

int ViscaZoomDomeController::zoomRatio(int position) {
    const int count = int(std::size(kZoomTable));
    if (position <= kZoomTable[0])
        return 1000;
    // Linear between the two magnifications the position lies between.
    for (int k = 1; k < count; ++k) {
        if (position <= kZoomTable[k]) {
            const int span = kZoomTable[k] - kZoomTable[k - 1];
            return k * 1000 + 1000 - 1000 * (kZoomTable[k] - position) / span;
        }
    }
    return count * 1000;
}

// ---- focus ------------------------------------------------------------------

int ViscaZoomDomeController::FocusNear(int speed) {
    if (setFocusMode(3) == 0)
        return 0;
    return sendCommand({0x04, 0x08, 0x30 + (speed & 15)});
}

int ViscaZoomDomeController::FocusFar(int speed) {
    if (setFocusMode(3) == 0)
        return 0;
    return sendCommand({0x04, 0x08, 0x20 + (speed & 15)});
}

int ViscaZoomDomeController::StopFocusContrl() {
    return sendCommand({0x04, 0x08, 0x00});
}

int ViscaZoomDomeController::setFocusValue(int position) {
    char frame[9] = {char(0x81), 0x01, 0x04, 0x48, 0, 0, 0, 0, char(0xFF)};
    ViscaTransport::encodePosition(position, frame + 4);
    return setParameterValue(frame, int(sizeof frame));
}

int ViscaZoomDomeController::getFocusValue(int& position) {
    static const char kInquiry[] = {char(0x81), 0x09, 0x04, 0x48, char(0xFF)};
    char reply[kPositionReplyLength] = {};
    if (getParameterValue(kInquiry, int(sizeof kInquiry), reply, kPositionReplyLength) == 0)
        return 0;
    if (!isPositionReply(reply)) {
        ErrorPrintf("getFocusValue reply error");
        return 0;
    }
    position = ViscaTransport::decodePosition(reply + 2);
    return 1;
}

int ViscaZoomDomeController::setZoomAndFocusValue(int zoom, int focus) {
    // One frame moves both: the zoom position's nibbles, then the focus position's.
    char frame[13] = {char(0x81), 0x01, 0x04, 0x47};
    ViscaTransport::encodePosition(zoom, frame + 4);
    ViscaTransport::encodePosition(focus, frame + 8);
    frame[12] = char(0xFF);
    return setParameterValue(frame, int(sizeof frame));
}

int ViscaZoomDomeController::setFocusMode(int mode) {
    return m_objSettings.setFocusMode(mode);
}

int ViscaZoomDomeController::OnePushTrigger() {
    return m_objSettings.OnePushTrigger();
}

// ---- iris -------------------------------------------------------------------
// Opening or closing the iris by hand needs manual exposure; restoreAeMode
// brings the user's mode back afterwards.

int ViscaZoomDomeController::IrisUp() {
    if (setExposalMode(1) == 0)
        return 0;
    if (sendCommand({0x04, 0x4A, 0x00, 0x00, 0x00, 0x05}) == 0)
        return 0;
    return sendCommand({0x04, 0x0B, 0x02});
}

int ViscaZoomDomeController::IrisDown() {
    if (setExposalMode(1) == 0)
        return 0;
    if (sendCommand({0x04, 0x4A, 0x00, 0x00, 0x00, 0x05}) == 0)
        return 0;
    return sendCommand({0x04, 0x0B, 0x03});
}

int ViscaZoomDomeController::setRunAutoIris() {
    return sendCommand({0x04, 0x39, 0x00});
}

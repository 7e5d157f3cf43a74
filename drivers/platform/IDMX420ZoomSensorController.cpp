// Zoom-module controller base: driver defaults, echo-checked sends, mask commands.
#include "drivers/platform/IDMX420ZoomSensorController.h"

namespace {

constexpr unsigned char kMaskHeader = 0xA1;
constexpr unsigned char kMaskEnd = 0xFF;
constexpr int kMaskFrameLength = 4;
// Argument value meaning "the selected region" in the table below.
constexpr int kRegionArgument = -1;

struct MaskCommand {
    int subCommand;
    int argument; // kRegionArgument: the low byte of m_nRegion
    bool needsRegion;
    const char* failure;
};

// Indexed by IDMX420ZoomSensorController::MaskOp.
const MaskCommand kMaskCommands[] = {
    {0x01, kRegionArgument, true, "setMask failed"},
    {0x04, kRegionArgument, true, "showMask failed"},
    {0x05, kRegionArgument, true, "hideMask failed"},
    {0x06, kRegionArgument, true, "clearMask failed"},
    {0x07, kRegionArgument, false, "clearAllMask failed"},
    {0x20, 0x01, true, "increaseWidth failed"},
    {0x20, 0x02, true, "decreaseWidth failed"},
    {0x20, 0x03, true, "increaseHight failed"},
    {0x20, 0x04, true, "decreaseHight failed"},
};

void buildMaskFrame(char out[kMaskFrameLength], int subCommand, int argument) {
    out[0] = static_cast<char>(kMaskHeader);
    out[1] = static_cast<char>(subCommand & 0xFF);
    out[2] = static_cast<char>(argument & 0xFF);
    out[3] = static_cast<char>(kMaskEnd);
}

} // namespace

IDMX420ZoomSensorController::IDMX420ZoomSensorController(int moduleId)
    : ISensorController(moduleId), m_objVisca(m_pUART, m_nUARTPort, m_mutex, *this) {}

IDMX420ZoomSensorController::~IDMX420ZoomSensorController() = default;

int IDMX420ZoomSensorController::getMirrorValue(int& value) {
    value = 0;
    return 1;
}

int IDMX420ZoomSensorController::getParameterFromSensor(int, int&) {
    return 1;
}

int IDMX420ZoomSensorController::setParameterToSensor(int, int) {
    return 1;
}

int IDMX420ZoomSensorController::setSensorVideoSystem(int, VideoResolution const&) {
    return 1;
}

int IDMX420ZoomSensorController::initController(int, ModuleConfigure const&) {
    return 1;
}

int IDMX420ZoomSensorController::KVSendParam(const char* frame, int length) {
    return m_objVisca.sendWithEcho(frame, length, "KVSendParam");
}

int IDMX420ZoomSensorController::setRegion(int region) {
    // While init applies the saved parameters the module is not ready for
    // mask commands yet; the region then only takes effect locally.
    if (region == 0 || !m_bisInited) {
        m_nRegion = region;
        return 1;
    }
    char frame[kMaskFrameLength];
    buildMaskFrame(frame, 0x00, region);
    if (!KVSendParam(frame, kMaskFrameLength)) {
        ErrorPrintf("setRegion failed");
        return 0;
    }
    m_nRegion = region;
    return 1;
}

int IDMX420ZoomSensorController::getRegion(int& region) {
    region = 0;
    return 1;
}

int IDMX420ZoomSensorController::sendMaskCommand(MaskOp op) {
    const MaskCommand& cmd = kMaskCommands[op];
    if (cmd.needsRegion && m_nRegion == 0) {
        ErrorPrintf("0==m_nRegion");
        return 0;
    }
    char frame[kMaskFrameLength];
    buildMaskFrame(frame, cmd.subCommand,
                   cmd.argument == kRegionArgument ? m_nRegion : cmd.argument);
    if (!KVSendParam(frame, kMaskFrameLength)) {
        ErrorPrintf("%s", cmd.failure);
        return 0;
    }
    return 1;
}

int IDMX420ZoomSensorController::setMask() {
    return sendMaskCommand(MaskSet);
}
int IDMX420ZoomSensorController::showMask() {
    return sendMaskCommand(MaskShow);
}
int IDMX420ZoomSensorController::hideMask() {
    return sendMaskCommand(MaskHide);
}
int IDMX420ZoomSensorController::clearMask() {
    return sendMaskCommand(MaskClear);
}
int IDMX420ZoomSensorController::clearAllMask() {
    return sendMaskCommand(MaskClearAll);
}
int IDMX420ZoomSensorController::increaseWidth() {
    return sendMaskCommand(MaskWidthUp);
}
int IDMX420ZoomSensorController::decreaseWidth() {
    return sendMaskCommand(MaskWidthDown);
}
int IDMX420ZoomSensorController::increaseHight() {
    return sendMaskCommand(MaskHeightUp);
}
int IDMX420ZoomSensorController::decreaseHight() {
    return sendMaskCommand(MaskHeightDown);
}

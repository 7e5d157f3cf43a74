// Common base of the serial zoom-module controllers: echo-checked sends and privacy masks.
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/ViscaTransport.h"

// The zoom camera modules of the dome share their serial link handling and a
// small privacy-mask command set; this class holds both so each module's
// controller only adds its own parameters. It owns the VISCA transport built
// on the base's UART, port and controller lock, and hands it to subclasses
// through visca(). The overridden driver hooks are harmless defaults, so the
// class can also stand alone (tests, modules without settings of their own).
//
// Mask commands are 4-byte frames A1 <sub-command> <argument> FF sent with
// KVSendParam; all but clearAllMask need a region selected first.
class IDMX420ZoomSensorController : public ISensorController {
public:
    explicit IDMX420ZoomSensorController(int moduleId);
    ~IDMX420ZoomSensorController() override;

    int getMirrorValue(int& value) override;
    int getParameterFromSensor(int id, int& value) override;
    int setParameterToSensor(int id, int value) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int initController(int moduleId, ModuleConfigure const& config) override;

    // Sends a frame the module echoes; see ViscaTransport::sendWithEcho.
    int KVSendParam(const char* frame, int length);

    // Selects the mask region. Before init has finished (or for region 0) the
    // choice is only kept locally; afterwards it is sent to the module first.
    int setRegion(int region);
    // Always reports 0: the module's selection cannot be read back.
    int getRegion(int& region);
    int setMask();
    int showMask();
    int hideMask();
    int clearMask();
    int clearAllMask();
    int increaseWidth();
    int decreaseWidth();
    int increaseHight();
    int decreaseHight();

protected:
    ViscaTransport& visca() { return m_objVisca; }

    // Privacy-mask region the mask commands address; 0 = none selected.
    int m_nRegion = 0;

private:
    enum MaskOp {
        MaskSet,
        MaskShow,
        MaskHide,
        MaskClear,
        MaskClearAll,
        MaskWidthUp,
        MaskWidthDown,
        MaskHeightUp,
        MaskHeightDown
    };
    int sendMaskCommand(MaskOp op);

    ViscaTransport m_objVisca;
};

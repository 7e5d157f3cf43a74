// Controller of the Sony EH4300 zoom block camera (VISCA) of the dome.
#pragma once

#include "drivers/platform/IDMX420ZoomSensorController.h"
#include "drivers/protocols/SonyBlockController.h"

// The CV7500's settings and operations under the same ids, without the
// point-light focus, the backlight and automatic IR-cut settings; with gain
// and shutter modes, the zoom base's privacy masks (a region id and an
// action id), and a white balance kept in a module register (module values,
// 04 24 rr) that it changes by read-modify-write: the white-balance mode in
// the low nibble of register 50, the AWB speed in bits 4..5. Video-format
// changes restart the module.
//
// Parameter ids (docs/modules.md has the list): 1..8, 10..30, 32..34,
// 38..41, 44..51, 56..64 common; 37, 52..55 set-only.
class SONYEH4300SenseController : public SonyBlockController<IDMX420ZoomSensorController> {
public:
    // Sensor type passed to the base (hosts build the driver themselves).
    static constexpr int kSensorType = 11;
    // The module-value register of the white balance, and its fields.
    static constexpr int kWBRegister = 0x50;
    static constexpr int kWBModeBits = 0x0F;
    static constexpr int kWBSpeedBits = 0x30;

    SONYEH4300SenseController();
    ~SONYEH4300SenseController() override;

    static void registerIds(IdManager& ids);

    // ---- module values (register 00..7F: 81 09 04 24 rr FF, 81 01 04 24 rr 0p 0q FF) ----
    int getAppointValue(int reg, int& value);
    // The bits of `mask` in register `reg` become those of `bits`; the
    // others keep what the module has.
    int modifyAppointValue(int reg, int mask, int bits);

    // ---- operations of their own -------------------------------------------------
    // 0..5 (auto, indoor, outdoor, one-push, ATW, manual) into the register.
    int setWBmode(int mode);
    // 0 gain with the AE (full auto), 1 manual gain: manual AE, then the stored gain.
    int setGainMode(int mode);
    // 0 automatic, 1 shutter priority with the stored shutter, 2 auto slow shutter.
    int setShutterMode(int mode);
};

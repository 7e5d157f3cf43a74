// What the IT1 camera-module controllers share: protocol, register settings, light-level day/night.
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/It1Protocol.h"
#include "drivers/protocols/RegisterSettings.h"
#include "foundation/GThread.h"

#include <array>
#include <atomic>
#include <memory>

// The IT1 modules are programmed register by register (It1Protocol). Every
// picture setting is a row of the register table (shared registers changed bit
// by bit) or, where it spans registers or has rules, an operation of this
// class; the derived controllers register the ids and add their own.
//
// Day and night: the module reports a light value that grows as the scene
// darkens (its exposure index). The switching thread reads it every second and
// turns it into a level, the integer part of (log2(value) - 7) x 32; a level below the
// night-to-day threshold means day, one above the day-to-night threshold
// night, and one between them keeps the last result. The base's day/night
// machine takes that result as the module's state (getDNStatusFromSensor) and
// switches the IR-cut filter and lamps with the module record's GPIO levels;
// the picture follows through the module's night-mode bit (bit 6 of register
// 0x0101).
class IBaseIT1SenseController : public ISensorController {
public:
    // Parameter ids shared by the IT1 controllers.
    enum Id : int {
        kBrightness = 1,
        kSharpness = 2,
        kGamma = 3,
        kWhiteBalance = 4,
        kNightColor = 5,
        kMirror = 6,
        kShutterMode = 8,
        kFixedShutter = 9,
        kMinShutter = 10,
        kMaxShutter = 11,
        kMaxAGC = 12,
        kLowShutterSetup = 13,
        kIrisDriveMode = 14,
        kIrisSpeed = 15,
        kIrisVoltage = 16,
        kDayToNight = 17,
        kNightToDay = 18,
        kSaturation = 19,
    };
    // Shutter codes 0..7 (slowest first) as the module's shutter registers
    // take them: the denominator of the exposure time, 1/25 s to 1/10000 s.
    static constexpr std::array<int, 8> kShutterValues = {25, 50, 100, 250, 500, 1000, 2000, 10000};
    static constexpr int kShutterAuto = 0;
    static constexpr int kShutterFixed = 1;
    // The four chroma pairs RY1, BY1 .. RY4, BY4.
    using Chroma = std::array<int, 8>;
    static constexpr int kLightAddress = 0x3D0B;
    static constexpr int kModeAddress = 0x0101;
    static constexpr int kNightModeBit = 6;

    // Sensor type of the bare base (hosts build the driver themselves): a
    // module driven through the register operations only, with no ids of its
    // own besides the base's scheme ids.
    static constexpr int kSensorType = 14;

    explicit IBaseIT1SenseController(int sensorType = kSensorType);
    ~IBaseIT1SenseController() override;

    It1Protocol& protocol() { return m_objProtocol; }
    RegisterSettings& settings() { return m_objSettings; }

    // ---- controller hooks ------------------------------------------------------
    // Serial set-up from the module record ("RS232DeviceName" in the detail,
    // "RS485" in the parameters), then the module's current low-shutter
    // setting, sharpness, day/night mode, mirror and chroma, then the
    // switching thread. 0 with the failing step logged.
    int initController(int moduleId, ModuleConfigure const& config) override;
    // The modules keep their own video system: nothing to send.
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;
    // The switching thread's last result, as the base counts (1 day, 0 night);
    // 0 (no state) while the last reading of the light value failed.
    int getDNStatusFromSensor(int& status) override;
    int getDayNightState(int& state) override;
    int turnPictureToDay() override;
    int turnPictureToNight() override;

    // ---- register operations -------------------------------------------------------
    int setBrightness(int value);
    int getBrightness(int& value);
    int setLowShutterSetup(int value);
    int getLowShutterSetup(int& value);
    int setIrisDriveMode(int value);
    int getIrisDriveMode(int& value);
    int setGama(int value);
    int getGama(int& value);
    int setChroma(const Chroma& chroma);
    int getChroma(Chroma& chroma);
    int setWhiteBalance(int value);
    int getWhiteBalance(int& value);
    int setNightColor(int value);
    int getNightColor(int& value);
    // 0..100, sent as value x 255 / 100 to both sharpness registers.
    int setSharpness(int value);
    int getSharpness(int& value);
    // 0..3: bit 0 horizontal, bit 1 vertical flip.
    int setMirror(int value);
    int getMirror(int& value);
    int setIrisVoltage(int value);
    int getIrisVoltage(int& value);
    int setIrisValue1(int value) { return setIrisValue(0, value); }
    int setIrisValue2(int value) { return setIrisValue(1, value); }
    int setIrisValue3(int value) { return setIrisValue(2, value); }
    int setIrisValue4(int value) { return setIrisValue(3, value); }
    int getIrisValue1(int& value) { return getIrisValue(0, value); }
    int getIrisValue2(int& value) { return getIrisValue(1, value); }
    int getIrisValue3(int& value) { return getIrisValue(2, value); }
    int getIrisValue4(int& value) { return getIrisValue(3, value); }
    int setIrisValue(int index, int value);
    int getIrisValue(int index, int& value);
    // All four iris values at once (the iris level parameter).
    int setIrisLevel(int value);
    int getIrisLevel(int& value);
    int setIrisSpeed(int value);
    int getIrisSpeed(int& value);
    // 0..1023, high byte to 0x0A15, low byte to 0x0A16.
    int setMaxAGCValue(int value);
    int getMaxAGCValue(int& value);
    // 0 automatic (between the minimum and maximum), 1 fixed.
    int setShutterMode(int mode);
    int getShutterMode(int& mode) const;
    int base_setFixedShutter(int code);
    int base_setMinShutter(int code);
    int base_setMaxShutter(int code);
    int setMinShutterValue(int code);
    int setMaxShutterValue(int code);
    int getFixedShutter(int& code) const;
    int getMinShutterValue(int& code) const;
    int getMaxShutterValue(int& code) const;
    // Saturation 0..100: the chroma pairs read at start-up scaled by value / 50.
    int setSaturation(int value);
    int getSaturation(int& value) const;
    int base_setDayToNightTransition(int value);
    int base_setNightToDayTransition(int value);
    int getDayToNightTransition(int& value) const;
    int getNightToDayTransition(int& value) const;
    int openDayNightMode();
    int closeDayNightMode();
    // Reads the light value and decides: 1 day, 0 night (see the class comment).
    int getDayNightValue(int& result);
    // The level of a light value (a value of 0 is brighter than any level).
    static int lightLevel(int value);

    static int modifyAppointedBit(int value, int bit, int width, int newBits);
    static void getHigh8Bits(int value, int& high) { high = (value >> 8) & 0xFF; }
    static void getLow8Bits(int value, int& low) { low = value & 0xFF; }

    // ---- switching thread ------------------------------------------------------------
    int startSwitchThread();
    int stopSwitchThread();
    // One pass: getDayNightValue, then 1 s.
    int switchThreadBody();
    // The result the thread last found different from the one before, until
    // the base takes it; -1 none.
    int pendingSwitch() const { return m_nPendingSwitch; }

protected:
    // Stops the switching thread and the base's worker: the most-derived
    // destructor calls it first, before any member they use goes.
    void stopThreads();

    KVMutex m_objSendMutex;
    It1Protocol m_objProtocol;
    RegisterSettings m_objSettings;

private:
    int writeShutters(int minCode, int maxCode);
    // One shutter limit register at code `code`; logs "<name>(<code>) failed".
    int writeShutter(int address, int code, const char* name);

    std::unique_ptr<GThread> m_pSwitchThread;
    std::atomic<int> m_nDayNight{1};
    std::atomic<bool> m_bLightRead{false}; // the last reading of the light value succeeded
    std::atomic<int> m_nPendingSwitch{-1};
    std::atomic<int> m_nDayToNight{160};
    std::atomic<int> m_nNightToDay{96};
    // Shutter state, saturation and the chroma read at start-up.
    mutable KVMutex m_stateLock;
    int m_nShutterMode = kShutterAuto;
    int m_nFixedShutter = 0;
    int m_nMinShutter = 0;
    int m_nMaxShutter = 7;
    int m_nSaturation = 50;
    Chroma m_arrChroma{};
};

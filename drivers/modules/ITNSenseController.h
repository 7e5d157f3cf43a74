// ITN camera module over RS232: register settings, noise reduction, GPIO day/night thread.
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/ItnProtocol.h"
#include "drivers/protocols/RegisterSettings.h"
#include "foundation/GThread.h"

#include <atomic>
#include <memory>

// The ITN modules are programmed register by register (ItnProtocol). Every
// picture setting is a row of the register table, keyed by group, sub and
// register; the noise reductions write three registers in one frame.
//
// Day and night: the module's light sensor output comes to a GPIO input (the
// parameters' "GPIO" triple: group, pin, the level that means day). The
// switching thread ("DayNightSwitchThread", once a second) follows the
// day/night mode the host chose: automatic from that level (night at once,
// day after the switch delay), forced day or night, or by time of day; it
// puts the module into day (0x34) or night (0x33) through its day/night
// register, and the module moves its own IR-cut filter with it. The base's
// handler does not run for this module.
class ITNSenseController : public ISensorController {
public:
    enum Id : int {
        kBrightness = 1,
        kSharpness = 2,
        kChroma = 3,
        kMirror = 4,
        kNightColor = 5,
        kWDR = 6,
        kAE = 7,
        kFixShutter = 8,
        kMinShutter = 9,
        kMaxShutter = 10,
        kMaxGain = 11,
        kAutoIris = 12,
        kSurrounding = 13,
        kSpotAEX = 14,
        kSpotAEY = 15,
        kVoltage = 16,
        kIrisSpeed = 17,
        kWBMode = 18,
        kSpecific = 19,
        kGama = 20,
        kDayToNight = 21,
        kNightToDay = 22,
        kNoiseReduction2D = 23,
        kNoiseReduction3D = 24,
        kDayNightMode = 25,
        kDayNightDelay = 26,
    };
    static constexpr int kSensorType = 15;
    // The day/night register (group 1B, register 50) and its two values.
    static constexpr int kDayNightGroup = 0x1B;
    static constexpr int kDayNightRegister = 0x50;
    static constexpr int kDayValue = 0x34;
    static constexpr int kNightValue = 0x33;
    // A register's key in the table: group, sub and register in one int.
    static constexpr int key(int group, int sub, int reg) { return group << 16 | sub << 8 | reg; }

    ITNSenseController();
    ~ITNSenseController() override;

    ItnProtocol& protocol() { return m_objProtocol; }
    RegisterSettings& settings() { return m_objSettings; }

    // Serial set-up from the record ("RS232DeviceName" in the detail, "RS232"
    // and "GPIO" in the parameters), a first read of the mirror to see the
    // module answer, then the switching thread. 0 with the failing step logged.
    int initController(int moduleId, ModuleConfigure const& config) override;
    // The modules keep their own video system: nothing to send.
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;
    // The GPIO level as day (1) or night (0).
    int getDNStatusFromSensor(int& status) override;
    int getDayNightState(int& state) override;
    // The module's day/night register: 0x34 day, 0x33 night.
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    // The module moves its own IR-cut filter with its day/night mode.
    int SwitchInfraredIrCutToDay() override { return 1; }
    int SwitchInfraredIrCutToNight() override { return 1; }

    // 0..100 each, written as three registers of group 1D: on/off, luma and
    // chroma strength (value x 255 / 100).
    int setNoiseReduction2D(int value) { return setNoiseReduction(0, value); }
    int setNoiseReduction3D(int value) { return setNoiseReduction(1, value); }

    // ---- day/night thread ---------------------------------------------------------
    // Reads the GPIO level: status 1 day, 0 night. 0 when it cannot be read (logged).
    int JudgeDNChange(int& status);
    int startSwitchThread();
    int stopSwitchThread();
    // One pass by the day/night mode, then 1 s.
    int switchThreadBody();

private:
    int setNoiseReduction(int which, int value);
    int getNoiseReduction(int which, int& value);
    // Puts the picture into `status` (1 day, 0 night) through the base's
    // enterDayMode/enterNightMode, and records the mode carried out.
    int applyDayNight(int status);
    // The day/night mode the host chose (the base's record), for the thread.
    int dayNightSetup();

    KVMutex m_objSendMutex;
    ItnProtocol m_objProtocol;
    RegisterSettings m_objSettings;
    std::unique_ptr<GThread> m_pSwitchThread;
    std::atomic<int> m_nReportedSetup{-1}; // a wrong setup is logged once
    // The day/night input: group, pin, the level that means day.
    std::atomic<int> m_nGpioGroup{0};
    std::atomic<int> m_nGpioPin{0};
    std::atomic<int> m_nGpioDayLevel{1};
};

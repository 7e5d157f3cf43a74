// Controller of the Seawolf camera module (paged binary registers, light level for day/night).
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/RegisterSettings.h"
#include "drivers/protocols/SeawolfProtocol.h"

#include <atomic>
#include <string>

// Every picture setting of the Seawolf is a register of page 0 (or page 4),
// kept as a row of the register table; gain boost and maximum gain share
// register 0x20, backlight and fluorescent compensation register 0x2C of page
// 4. Settings with rules (saturation kept through the night, lens type against
// fluorescent compensation, the light thresholds) are operations of this class.
//
// Day and night: the module measures the scene's light level (page 4,
// register 0x3E, 0 dark .. 255 bright). The base's day/night pass asks
// getDNStatusFromSensor, which reads it: below the day-to-night threshold is
// night, above the night-to-day threshold day, and between them the last
// result holds. The picture follows: night turns the colour off (saturation 0),
// day gives the user's saturation back.
//
// Parameter ids (docs/modules.md has the list): 1..14, 16..20, 29, 30, 57..61
// common, 22..28 set-only.
class SeawolfSenseController : public ISensorController {
public:
    static constexpr int kSensorType = 16;

    enum Id : int {
        kBrightness = 1,
        kSharpness = 2,
        kSaturation = 3,
        kGamma = 4,
        kNoiseReduction = 5,
        kFlip = 6,
        kMaxGain = 7,
        kGainBoost = 8,
        kExposurePreference = 9,
        kExposureArea = 10,
        kShutterLimit = 11,
        kWhiteBalance = 12,
        kBacklight = 13,
        kFluorescent = 14,
        kLensType = 16,
        kResolution = 17,
        kDayToNight = 18,
        kNightToDay = 19,
        kDayNightMode = 20,
        kSaveToModule = 22,
        kRestartModule = 23,
        kPictureDay = 24,
        kPictureNight = 25,
        kVideoSystem = 26,
        kReadVersion = 27,
        kDrainLine = 28,
        kTNF = 29,
        kTNFMode = 30,
        kDTNHour = 57,
        kDTNMinute = 58,
        kNTDHour = 59,
        kNTDMinute = 60,
        kSwitchDelay = 61,
    };
    // Register keys of the table: page x 256 + register.
    static constexpr int kVideoSystemRegister = 0x78;
    static constexpr int kSaturationRegister = 0x5C;
    static constexpr int kLensTypeRegister = 0x0F;
    static constexpr int kCompensationRegister = 0x042C;
    static constexpr int kVersionRegister = 0x043D;
    static constexpr int kLightRegister = 0x043E;
    // Lens types and the fluorescent compensation only an auto-iris lens takes.
    static constexpr int kLensAuto = 0;
    static constexpr int kLensManual = 1;
    static constexpr int kFluorescentCRR2 = 2;

    SeawolfSenseController();
    ~SeawolfSenseController() override;

    static void registerIds(IdManager& ids);

    SeawolfProtocol& protocol() { return m_objProtocol; }
    RegisterSettings& settings() { return m_objSettings; }

    // ---- controller hooks ------------------------------------------------------------
    // Serial set-up from the module record ("RS232DeviceName" in the detail,
    // "RS485" in the parameters), the software version, the user's saturation.
    int initController(int moduleId, ModuleConfigure const& config) override;
    // Video system 0 NTSC, 1 PAL into register 0x78, kept in the module's store
    // and applied by its restart; nothing is sent when the module has it already.
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;
    int getCameraVerInf(std::string& text) override;
    // The light level judged against the thresholds: 1 day, 0 night.
    int getDNStatusFromSensor(int& status) override;
    int getDayNightState(int& state) override;
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    // The parameter files (the base), then the module's own store.
    int flush() override;
    // The factory settings (the base), then kept in the module's store.
    int resetParameters() override;

    // ---- module operations -------------------------------------------------------------
    // Page 4 register 0x3D: 0 an old module, above 0 a new one. 1 or 0.
    int getSensorSoftVersion();
    int softVersion() const { return m_nSoftVersion; }
    // Reads the light level and decides (see the class comment); `value` gets the result.
    int getDayNightValue(int& value);
    int lightLevel() const { return m_nLightLevel; }
    int setVideoSystem(int value);
    int getVideoSystem(int& value);
    int setSaturation(int value);
    int getSaturation(int& value) const;
    int setLensType(int value);
    int getLensType(int& value);
    int setFluorescent(int value);
    int getFluorescent(int& value);
    int setDayToNightThreshold(int value);
    int setNightToDayThreshold(int value);
    // The module's store: keep the registers (with the user's saturation at
    // night); restart from it (a while), the night picture turned off again.
    int saveToModule();
    int restartModule();

private:
    KVMutex m_objSendMutex;
    SeawolfProtocol m_objProtocol;
    RegisterSettings m_objSettings;
    // Picture and day/night state.
    mutable KVMutex m_stateLock;
    int m_nSaturation = 50; // the user's, given back at day
    bool m_bNightPicture = false;
    std::atomic<int> m_nSoftVersion{-1};
    std::atomic<int> m_nLightLevel{-1};
    std::atomic<int> m_nDayNight{1};
    std::atomic<int> m_nDayToNight{40};
    std::atomic<int> m_nNightToDay{60};
};

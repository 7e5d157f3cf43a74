// Controller of the Effio camera module: register settings over RS232, day/night from a GPIO level.
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/EffioProtocol.h"
#include "drivers/protocols/RegisterSettings.h"

// Every picture setting is a row of the register table (EffioProtocol: a
// register is a category and a byte number; two settings that share one keep
// to their bits) or, for the day/night thresholds and the HDR mode, an
// operation of this class. docs/modules.md has the ids and the encodings.
//
// Day and night: the module signals its light state on a GPIO input, named
// with the level that means night by the detail's "GPIODNLevel"
// ("group,pin,night level"). The base's day/night machine asks for it every
// pass (getDNStatusFromSensor, source 0). The reported state follows the line
// only once the line has held a new level for a number of readings in a row:
// the day-to-night transition (readings at the night level before night is
// reported) and the night-to-day transition (readings at the day level before
// day is). The picture follows through register 02/8D: 00 colour, 01 black
// and white.
//
// Parameter ids: 1..10, 12..19, 21 and 57..61 common.
class EffioSenseController : public ISensorController {
public:
    static constexpr int kSensorType = 18;

    enum Id : int {
        kBrightness = 1,
        kSharpness = 2,
        kBGain = 3,
        kWhiteBalance = 4,
        kRGain = 5,
        kMirror = 6,
        kExposalMode = 7,
        kExposal = 8,
        kShutterSpeed = 9,
        kAGCMode = 10,
        kMaxAGC = 12,
        kBackLight = 13,
        kBackLightLevel = 14,
        kNoiseFilter = 15,
        kATR = 16,
        kDayToNight = 17,
        kNightToDay = 18,
        kHDRMode = 19,
        kDayNightMode = 21,
    };
    // Register keys: category << 8 | byte number.
    static constexpr int kPictureRegister = 0x028D;
    static constexpr int kPictureDay = 0x00;
    static constexpr int kPictureNight = 0x01;
    // Readings in a row a transition takes: 1 .. kMaxTransition.
    static constexpr int kMaxTransition = 60;

    EffioSenseController();
    ~EffioSenseController() override;

    static void registerIds(IdManager& ids);

    EffioProtocol& protocol() { return m_objProtocol; }

    // ---- what the base asks of a driver ----------------------------------------------
    // Reads the record (detail "RS232DeviceName" and "GPIODNLevel", parameters
    // "RS232" = "baud,data bits,parity,stop bits") and opens the port; the
    // module itself is not asked. 0 with the failing step logged.
    int initController(int moduleId, ModuleConfigure const& config) override;
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    // PAL/NTSC stay the module's own choice: always 1, nothing sent.
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int getMirrorValue(int& value) override;
    // 1 day, 0 night, from the day/night GPIO (see the class comment).
    int getDNStatusFromSensor(int& status) override;
    // The mode last set (the base's own getter reports none).
    int getDayNightMode(int& mode) override;
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    // The HDR field of 0C/03: 0 off, 1 the day level, 2 the night level.
    int updateHDRMode(int mode) override;

    // ---- register settings -------------------------------------------------------
    int setSharpness(int v) { return row(kSharpness, v); }
    int getSharpness(int& v) { return rowValue(kSharpness, v); }
    int setBrightness(int v) { return row(kBrightness, v); }
    int getBrightness(int& v) { return rowValue(kBrightness, v); }
    int setBGain(int v) { return row(kBGain, v); }
    int getBGain(int& v) { return rowValue(kBGain, v); }
    int setRGain(int v) { return row(kRGain, v); }
    int getRGain(int& v) { return rowValue(kRGain, v); }
    int setNR2_FILMODE(int v) { return row(kNoiseFilter, v); }
    int getNR2_FILMODE(int& v) { return rowValue(kNoiseFilter, v); }
    int setExposalMode(int v) { return row(kExposalMode, v); }
    int getExposalMode(int& v) { return rowValue(kExposalMode, v); }
    int setExposal(int v) { return row(kExposal, v); }
    int getExposal(int& v) { return rowValue(kExposal, v); }
    int setAGCMode(int v) { return row(kAGCMode, v); }
    int getAGCMode(int& v) { return rowValue(kAGCMode, v); }
    int setMaxAGC(int v) { return row(kMaxAGC, v); }
    int getMaxAGC(int& v) { return rowValue(kMaxAGC, v); }
    int setBackLightLevel(int v) { return row(kBackLightLevel, v); }
    int getBackLightLevel(int& v) { return rowValue(kBackLightLevel, v); }
    int setBackLight(int v) { return row(kBackLight, v); }
    int getBackLight(int& v) { return rowValue(kBackLight, v); }
    int setShutterSpeed(int v) { return row(kShutterSpeed, v); }
    int getShutterSpeed(int& v) { return rowValue(kShutterSpeed, v); }
    int setWB(int v) { return row(kWhiteBalance, v); }
    int getWB(int& v) { return rowValue(kWhiteBalance, v); }
    int setMirror(int v) { return row(kMirror, v); }
    int getMirror(int& v) { return rowValue(kMirror, v); }
    int setATR(int v) { return row(kATR, v); }
    int getATR(int& v) { return rowValue(kATR, v); }
    // 0 off, 1 the day level, 2 the night level, 3 the level of the picture in force.
    int setHDRMode(int mode);
    int getHDRMode(int& mode);

    // ---- day and night -----------------------------------------------------------------
    // Readings in a row (1..60) before the reported state changes.
    int setDayToNightTransition(int readings);
    int setNightToDayTransition(int readings);
    int getDayToNightTransition(int& readings) const;
    int getNightToDayTransition(int& readings) const;

private:
    int row(int id, int value) { return m_objSettings.set(id, value) == 1 ? 1 : 0; }
    int rowValue(int id, int& value) { return m_objSettings.get(id, value) == 1 ? 1 : 0; }
    int setTransition(int& member, int readings);

    KVMutex m_objSendMutex;
    EffioProtocol m_objProtocol;
    RegisterSettings m_objSettings;
    // The day/night input and its debounce, guarded by m_stateLock.
    mutable KVMutex m_stateLock;
    DNGPIOInfo m_objDNLevelGPIO; // m_nDayLevel: 1 - the night level
    int m_nDayToNight = 1;
    int m_nNightToDay = 1;
    int m_nReported = -1; // the state last reported; -1 none yet
    int m_nRun = 0;       // readings in a row that differ from it
};

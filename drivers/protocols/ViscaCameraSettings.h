// The picture settings and module services every VISCA block camera driver shares.
#pragma once

#include "drivers/protocols/ViscaSettings.h"

#include <initializer_list>
#include <string>

class ISensorController;
class ModuleParameterParser;
class SensorCache;

// A VISCA block camera (FBS8300, CMD7400 in the dome, CMD8300 fixed lens)
// takes the same parameter ids with the same frames and failure logs. This
// component holds them once: the dispatch of ids 1..32 and 57..lastId with
// its failure logs and 30 ms settle time, the shared setting table
// (ViscaSettings), the settings that are code (mirror, exposure mode, IR cut,
// day/night thresholds, focus, noise reduction), the values reported without
// asking the module, and the module services the drivers have in common (the
// DC frame, the video-format register, the gain handed to the 2A library).
//
// Frames go out through the owning controller's setParameterValue and
// getParameterValue, so each driver's own transport rules apply. Ids the
// component leaves to the driver's virtuals (day/night mode 22, LED banks
// 57..59, power mode 64) and the base's time windows (60..63) are called on
// the owner, so a driver without LEDs keeps the base's answers.
class ViscaCameraSettings {
public:
    struct Options {
        ViscaRounding rounding = ViscaRounding::Truncate;
        // Focus near limit 5 sends the module's infinity preset; without it
        // the limit is left as it is and 5 is taken without a frame.
        bool nearLimitPreset = true;
        // Highest id of the 57.. block the module knows (68 or 66).
        int lastId = 68;
    };

    ViscaCameraSettings(ISensorController& owner, SensorCache& lastApplied, const Options& options);
    ViscaCameraSettings(const ViscaCameraSettings&) = delete;
    ViscaCameraSettings& operator=(const ViscaCameraSettings&) = delete;

    // ---- parameter ids -------------------------------------------------------
    // The controller's whole dispatch: 0 before init has succeeded, the
    // base's ids (500..504) to the base, then this module's ids: 1 applied,
    // 0 failed (logged), -1 not an id of this module.
    int setParameterToSensor(int id, int value);
    int getParameterFromSensor(int id, int& value);

    // ---- settings that are code ------------------------------------------------
    int setMirror(int value);
    int setExposalMode(int value);
    int restoreAeMode();
    int setInfrared(int value);
    int setNtoDSensitivity(int value);
    int setDtoNSensitivity(int value);
    int setFocusNearLimit(int value);
    int setFocusMode(int mode);
    int OnePushTrigger();
    int setAutoNoiseReduction(int value);
    int setManualNoiseReduction(int value);
    int setNoiseReductionMode(int mode);
    int getMirrorValue(int& value);
    int getStillImageValue(int& value);
    void setGeneration(int generation) { m_nGeneration = generation; }

    // ---- module services --------------------------------------------------------
    // Sends "81 01" + bytes + FF through the owner's acknowledged send.
    int command(std::initializer_list<int> bytes);
    // Sends the DC frame 81 01 04 A7 00 a b 00 FF.
    int sendDCFrame(const int dc[2]);
    // Reads the DC key of the module record ("a,b", each 0..254) into `dc`;
    // a missing or refused value leaves the start-up setting 1,3.
    void readDCValue(const ModuleParameterParser& params, const char* key, int dc[2]);
    // The video-format register 24 72: 1 when it already holds `value`
    // ("Video system not change!"), 2 when `value` was written and the module
    // must restart to take it, 0 on failure.
    int writeVideoFormat(int value);
    // Hands the module's gain (inquiry 04 4C, reply byte 5) to the 2A
    // library; on failure logs `failure`, waits 3 s and drains the line.
    // Always 0: the periodic caller has nothing to do with the outcome.
    int handGainTo2A(const char* failure);

    // The start-up DC setting, sent once the OSD is off.
    static const int kStartupDC[2];

    // The night-to-day and day-to-night thresholds last accepted.
    int ntoDSensitivity() const { return m_nNtoDSensitivity; }
    int dtoNSensitivity() const { return m_nDtoNSensitivity; }

private:
    // Sends one row of the shared setting table; with checkCondition a row
    // that needs another exposure or white-balance mode succeeds unsent.
    int applySetting(const ViscaSetting& setting, int value, bool checkCondition);
    bool isOwnId(int id) const;

    ISensorController& m_owner;
    SensorCache& m_lastApplied;
    const Options m_options;
    int m_nGeneration = 3;
    int m_nNtoDSensitivity = 5;
    int m_nDtoNSensitivity = 15;
    // The manual exposure values the user chose, re-sent in the modes that use them.
    int m_nUserGainVal = 0;
    int m_nUserShutVal = 0;
    int m_nUserIrisVal = 0;
    // Current modes, and the user's modes restoreAeMode returns to.
    int m_nExposalMode = 0;
    int m_nFocusMode = 0;
    int m_nStoredExposalMode = 0;
    int m_nStoredFocusMode = 0;
};

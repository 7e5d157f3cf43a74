// Infrared LED banks, zoom-linked IR power and light sensor of the zoom domes.
#pragma once

#include "foundation/SafePointer.h"
#include "platform/CameraLensZMAAlgorithm.h"
#include "platform/IRPowerItem.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

class ISensorController;

// The zoom domes light the scene at night with three PWM-driven LED banks
// (near, middle and far beam) whose powers follow the zoom ratio, and decide
// day or night from a light sensor on the SoC's ADC. Both zoom drivers need
// exactly this machinery; it lives here once, owned by the driver, and the
// drivers' differences (device paths, the name in log texts, how the light
// sensor's two thresholds are applied, which process-wide first-reading flag
// is theirs) are constructor parameters.
//
// Two threads meet here: the driver's "IrContrlThread" (irLedPass) and the
// day/night thread or a host caller (setters, onDay/onNight, light sensor).
// Plain values are atomics; the power table and the light-sensor state
// transitions have their own small mutexes. Nothing here takes the controller
// lock: the owner's getZoomValue takes it for its serial exchange.
class ZoomIrIllumination {
public:
    // Whose rules and first-reading flag apply.
    enum class Family {
        // Light sensor with a strict hysteresis band: one transition per reading.
        FBS8300,
        // Both threshold tests in the same reading, each traced when it switches.
        CMD7400,
    };

    struct Config {
        Family family = Family::FBS8300;
        // Driver name used in log texts, e.g. "AmbaS2FBS8300SenseController".
        std::string driverName = "AmbaS2FBS8300SenseController";
        std::string nearLightDev = "/dev/pwm1";
        std::string midLightDev = "/dev/pwm2";
        std::string farLightDev = "/dev/pwm4";
        std::string adcDev = "/dev/adc";
        std::string irPowerFile = "/hd1/program/config/IRPowerConfigure.xml";
    };

    // Which step of loadZMA failed.
    enum class ZmaResult { Loaded, PathFailed, ReadFailed, EmptyTable };

    static constexpr int kPwmPeriod = 1000000;
    static constexpr int kDefaultLightPower = 50;

    ZoomIrIllumination(ISensorController& owner, Config config);
    ~ZoomIrIllumination();
    ZoomIrIllumination(const ZoomIrIllumination&) = delete;
    ZoomIrIllumination& operator=(const ZoomIrIllumination&) = delete;

    // ---- PWM outputs -----------------------------------------------------
    // Opens the three PWM devices read-write (near, middle, far); 0 on the
    // first failure. Reopening closes what was open before.
    int initPWM();
    // Enables / disables every output; 0 when any of the three failed.
    int openPWM();
    int closePWM();
    // Configures one output to `percent` (0..100) of the LED power.
    int setPWM(int fd, int percent);
    // PWM units for a power in percent (0 -> 0, 100 -> 6600, else 2300 + 25(p-1)).
    static int getRealPWM(int percent);

    // Night: enables the outputs unless already enabled. Day: the reverse.
    // Both mark the new state even when an ioctl failed, so the next switch
    // tries again from a known state; the result is the ioctl outcome.
    int onNight();
    int onDay();
    bool isPWMEnabled() const { return m_bPwmEnabled.load(); }

    // ---- manual powers and power mode ------------------------------------
    int setNearLight(int percent);
    int setMiddleLight(int percent);
    int setFarLight(int percent);
    int getNearLight(int& percent) const;
    int getMiddleLight(int& percent) const;
    int getFarLight(int& percent) const;
    // 0: powers follow the zoom ratio; 1: the manual powers hold (re-applied
    // at once when the outputs are enabled).
    int setPowerMode(int mode);
    int getPowerMode(int& mode) const;

    // ---- zoom-linked power -------------------------------------------------
    // Loads the power table through the IR power configuration reader;
    // returns its code (0 success, negative failure; the old table stays).
    int loadIRPowerTable();
    // Loads the lens magnification table into the magnification algorithm.
    ZmaResult loadZMA(const std::string& path);
    // Row for zoom ratio index `ratio` (1 = first row; beyond the table: last
    // row); 0 for an empty table or an index below 1.
    int getIRPowerItem(int ratio, IRPowerItem& item) const;
    int irPowerTableSize() const;
    SafePointer<CameraLensZMAAlgorithm> zmaAlgorithm() const { return m_pZMAAlgorithm; }
    // One pass of the IR thread: waits 1 s, then at night in power mode 0
    // sets the three banks from the zoom ratio. Always 0.
    int irLedPass();

    // ---- light sensor --------------------------------------------------------
    int getADCVal(int& value);
    // Day (1) or night (0) from the light sensor. The first call of the
    // process (per family) seeds the state from `currentDNState`.
    int getDNStatusFromLDR(int& status, int currentDNState);
    void setThresholds(int toDay, int toNight);
    void getThresholds(int& toDay, int& toNight) const;
    void setLightSensorState(int state);
    int getLightSensorState() const;
    // Makes the next getDNStatusFromLDR of the family a first reading again
    // (the flag is process-wide; tests and a re-created driver use this).
    static void resetFirstReading(Family family);

private:
    int openDevice(const std::string& path, const char* failure);
    void closeDevices();
    int switchPWM(unsigned long request, const char* const failures[3]);
    std::atomic<bool>& firstReadingFlag() const;

    ISensorController& m_owner;
    const Config m_config;

    std::atomic<int> m_nNearFd{-1};
    std::atomic<int> m_nMidFd{-1};
    std::atomic<int> m_nFarFd{-1};
    std::atomic<bool> m_bPwmEnabled{false};
    std::atomic<int> m_nPowerMode{0};
    std::atomic<int> m_nNearLight{kDefaultLightPower};
    std::atomic<int> m_nMiddleLight{kDefaultLightPower};
    std::atomic<int> m_nFarLight{kDefaultLightPower};

    mutable std::mutex m_mutexTable;
    std::vector<IRPowerItem> m_vecIRPower;
    SafePointer<CameraLensZMAAlgorithm> m_pZMAAlgorithm;

    std::atomic<int> m_nToDayADCVal{0};
    std::atomic<int> m_nToNightADCVal{0};
    mutable std::mutex m_mutexLightSensor;
    std::atomic<int> m_nLightSensorState{1};

    static std::atomic<bool> s_bFirstReadingFBS8300;
    static std::atomic<bool> s_bFirstReadingCMD7400;
};

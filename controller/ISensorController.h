// Abstract base of every camera-module controller.
#pragma once

#include "config/ISPParam.h"
#include "config/IdManager.h"
#include "config/ParamScheme.h"
#include "config/SensorCache.h"
#include "config/SensorConfigFile.h"
#include "controller/EE.h"
#include "foundation/GThread.h"
#include "foundation/SafePointer.h"
#include "foundation/SensorLog.h"
#include "platform/IGPIO.h"
#include "platform/IUARTController.h"
#include "platform/KVMutex.h"
#include "platform/ModuleConfigure.h"
#include "platform/VideoResolution.h"

#include <atomic>
#include <cstdarg>
#include <memory>
#include <set>
#include <string>
#include <vector>

// One GPIO line used for day/night: the filter output, the IR lamp output, or
// the light-sensor input, with the level that means day.
struct DNGPIOInfo {
    int m_nGroup = 0;
    int m_nPin = 0;
    int m_nDayLevel = 1;
};

// Everything that is the same for all camera modules: the parameter model
// (integer ids and values, exchanged as parameter text), the two parameter
// caches, the parameter files, the logs, parameter schemes by time of day,
// the day/night state machine and the worker thread "DayNightChangeThread".
// A driver derives from it, implements initController, setSensorVideoSystem
// and getMirrorValue, and overrides what its module supports.
//
// Ids below 500 belong to the driver; 500..504 are the scheme window and
// enable flag of the scheme in force; 10000 and 10001 are the version stamps
// of the parameter files. Integer results are 1 for success and 0 for
// failure; setParameterToSensor and getParameterFromSensor return -1 for an
// id the class does not handle, so a driver and its base can chain.
//
// The implementation is split by concern: ISensorController.cpp (construction,
// defaults, logs, serial helpers), ISensorControllerInit.cpp (init and the
// parameter files), ISensorControllerParams.cpp (set, get, reset, save),
// ISensorControllerSchemeWindow.cpp (ids 500..504 of the scheme in force),
// ISensorControllerDayNight.cpp and ISensorControllerSchemes.cpp.
class ISensorController {
public:
    enum SensorStatus { NotInited = 1, InitSuccess = 2 };

    static constexpr int kRecvBufSize = 100;
    static constexpr int kErrorLogBufSize = 104;
    static constexpr int kDebugBufSize = 52;
    static constexpr int kDefaultParamSchemeNum = 4;
    static constexpr int kMaxParamSchemeNum = 16;

    explicit ISensorController(int sensorType);

    // ---- virtual operations, in slot order -------------------------------
    virtual ~ISensorController();
    virtual int updateSensorVideoSystem(int videoSystem, VideoResolution const& resolution);
    virtual int resetParameters();
    virtual int resetToLastParameters();
    virtual int flush();
    virtual int getMirrorValue(int& value) = 0;
    virtual int set2AParam(int status);
    virtual int getCameraVerInf(std::string& version);
    virtual int restoreAeMode();
    virtual int setRunAutoIris();
    virtual int IrisUp();
    virtual int IrisDown();
    virtual int FocusFar(int speed);
    virtual int FocusNear(int speed);
    virtual int ZoomIn(int speed);
    virtual int ZoomOut(int speed);
    virtual int getZoomValue(int& position, int& ratio);
    virtual int setZoomValue(int position);
    virtual int setFocusValue(int position);
    virtual int getFocusValue(int& position);
    virtual int setFocusMode(int mode);
    virtual int getFocusMode(int& mode);
    virtual int StopZoomContrl();
    virtual int StopFocusContrl();
    virtual int StopIris();
    virtual int setZoomAndFocusValue(int zoom, int focus);
    virtual int getDayNightState(int& state);
    virtual int getCameraFocusMode(int& mode);
    virtual int setNearLight(int power);
    virtual int getNearLight(int& power);
    virtual int setMiddleLight(int power);
    virtual int getMiddleLight(int& power);
    virtual int setFarLight(int power);
    virtual int getFarLight(int& power);
    virtual int getStillImageValue(int& value);
    virtual int enterAutoMode();
    virtual int setPowerMode(int mode);
    virtual int getPowerMode(int& mode);
    virtual int getParameterFromSensor(int id, int& value);
    virtual int setParameterToSensor(int id, int value);
    virtual int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) = 0;
    virtual int NotifySensorInitComplate();
    virtual int UpdateParameters(std::string& text);
    virtual int getParameterValue(char const* name, int id, char* value, int length);
    virtual int setParameterValue(char const* name, int value);
    virtual int setDayNightMode(int mode);
    virtual int getDayNightMode(int& mode);
    virtual int getDNStatusFromSensor(int& status);
    virtual int getDNStatusFromLDR(int& status);
    virtual int turnPictureToDay();
    virtual int turnPictureToNight();
    virtual int turnToAutoDayNightMode();
    virtual int turnToManualDayNightMode();
    virtual int SwitchInfraredIrCutToDay();
    virtual int SwitchInfraredIrCutToNight();
    virtual int initController(int moduleId, ModuleConfigure const& config) = 0;
    virtual int initFactorySetting();
    virtual int getCurrentGain(int& gain);
    virtual int doDependOnThread();
    virtual int updateHDRMode(int mode);

    // ---- lifecycle -------------------------------------------------------
    int init(int videoSystem, ModuleConfigure const& config, VideoResolution const& resolution);
    int setOperator(SafePointer<IUARTController> const& uart, SafePointer<IGPIO> const& gpio);
    int getSensorType() const { return m_nSensorType; }
    int getSensorStatus() const { return m_SensorStatus; }
    int checkSensorConfigVersion();
    void setSensorConfigVersion(int version) { m_nConfigVersion = version; }
    void setSensorConfigVersion2(int version) { m_nConfigVersion2 = version; }
    int initConfigFile();
    int initParamSchemeList();
    int createSensorXML();
    int stopPTZ();
    int ISPParamThreadInit();
    int ISPParamBody();

    // ---- parameters --------------------------------------------------------
    int setParameters(std::string const& text);
    int getParameters(std::string const& ids, std::string& out);
    int getAllParameters(std::string& out);
    int setParameter(int id, int value);
    int getParameter(int id, int& value);
    int getAllParametersFromSensor(std::string& out);
    int UpdateParametersIdValue(std::string& text, int id, int value);
    int setDCParam(std::string const& scheme, int level);
    int setEEParam(std::string const& scheme, int level);
    int set3DNRParam(std::string const& scheme, int level);
    int setISPParam(std::string const& scheme, int level);
    int setTNF(int value);
    int getTNF(int& value);
    int setTNFMode(int mode);
    int getTNFMode(int& mode);

    // ---- day/night ---------------------------------------------------------
    int setDTNTime_H(int hour);
    int setDTNTime_M(int minute);
    int getDTNTime_H(int& hour);
    int getDTNTime_M(int& minute);
    int setNTDTime_H(int hour);
    int setNTDTime_M(int minute);
    int getNTDTime_H(int& hour);
    int getNTDTime_M(int& minute);
    int setDNSwitchDelay(int seconds);
    int getDNSwitchDelay(int& seconds);
    int enterDayMode();
    int enterNightMode();
    int DNSwitchHandle();
    int DNSwitchJudge(int& status);
    int DNSwitchByTime(int& status);
    int getCurrentDNStatus(int& status);
    int isTimeToSwitch(int status);
    int reInitDelayStartTime();
    int getCurrentTime(double& seconds);

    // ---- parameter schemes -------------------------------------------------
    int setParamScheme(int scheme);
    int getParamScheme(int& scheme);
    int setParamMode(int mode);
    int getParamMode(int& mode);
    int getParamSchemeNum(int& count);
    int setEnableParam(int flag);
    int getEnableParam(int& flag);
    int setParamStartTime_H(int hour);
    int setParamStartTime_M(int minute);
    int setParamEndTime_H(int hour);
    int setParamEndTime_M(int minute);
    int getParamStartTime_H(int& hour);
    int getParamStartTime_M(int& minute);
    int getParamEndTime_H(int& hour);
    int getParamEndTime_M(int& minute);
    int setParamSchemeStartTime(int scheme, int time);
    int setParamSchemeEndTime(int scheme, int time);
    int setParamSchemeEnableFlag(int scheme, int flag);
    int switchParam(int scheme);
    int paramSchemeSwitchBody();
    int readParamByScheme(int scheme, std::string& text);
    int readCurrentParam(int& scheme, std::string& text);
    int reInitSchemeTimeMember();
    int getParamSchemeFromFile(int& scheme);
    int getParamSchemeModeFromFile(int& mode);
    int setParamSchemeToFile(int scheme);
    int setParamSchemeModeToFile(int mode);

    // ---- logs and serial helpers for drivers -------------------------------
    void ErrorPrintf(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void InitPrintf(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void Debug_Printf(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // Sum of the bytes, modulo 256.
    int computeSum(char* data, int length);
    // 1 when the reply has exactly the expected length and bytes.
    int checkUARTRecv(char const* expected, int expectedLength, char const* received,
                      int receivedLength);
    int clearUartBuffer();
    // Prints the bytes in hexadecimal on standard output, one line.
    void recodeArray(char const* data, int length);

    // The worker thread's one pass: schemes, driver hook, day/night, 1 s wait.
    int DNChangeThreadBody();

protected:
    // For a most-derived destructor whose members the threads use: stops the
    // driver's own thread (if any) and the base's worker, both asked first so
    // that they wind down together.
    void stopThreadsFirst(GThread* own = nullptr);

    static const char* const kSensorXmlPath;
    static const char* const kSchemeFilePrefix;
    static const char* const kLegacyConfigPath;

    // Path of scheme file `index` (counted from 0): ".../sensor<index+1>.cfg".
    static std::string schemeFilePath(int index);
    int schemeCount() const { return static_cast<int>(m_vecSchemeConfigFile.size()); }
    bool isValidScheme(int scheme) const { return scheme >= 0 && scheme < schemeCount(); }
    // Reads the ISP value `name` for the scheme and level (-100: none).
    int lookupISPValue(std::string const& scheme, std::string const& name, int level);
    void writeLog(SafePointer<SensorLog>& log, const char* tag, const char* format, va_list args);
    // hour*100 + minute into `time`; a time that does not fit an int is
    // refused with "<setter>(<changed>) is out of range".
    static bool composeTime(ISensorController& controller, const char* setter, int changed,
                            long long hour, long long minute, int& time);

    int m_nSensorType;
    KVMutex m_mutex;
    // Read by the workers and by callers of any thread.
    std::atomic<int> m_SensorStatus{NotInited};
    int m_nConfigStatus = 1;
    int m_nConfigVersion = 0;
    int m_nConfigVersion2 = 0;
    std::unique_ptr<IdManager> m_pIdManager;
    std::unique_ptr<SensorCache> m_pSensorCache;
    std::unique_ptr<SensorCache> m_pLastSensorCache;
    SafePointer<IUARTController> m_pUART;
    SafePointer<IGPIO> m_pGPIO;
    int m_nUARTPort = -1;
    std::unique_ptr<char[]> m_pRecvBuf;
    int m_nDNSource = 0;
    bool m_bIRBoard = false;
    bool m_bIntegratedModule = false;
    int m_nDNSwitchDelay = 5;
    bool m_bBaseDNSwitch = true;
    std::atomic<bool> m_bisInited{false};
    SafePointer<SensorLog> m_pErrorLog;
    SafePointer<SensorLog> m_pInitLog;
    int m_nDebug = 0;
    std::vector<std::unique_ptr<SensorConfigFile>> m_vecSchemeConfigFile;
    std::vector<std::unique_ptr<ParamScheme>> m_vecParamScheme;
    std::unique_ptr<SensorConfigFile> m_pFactoryConfigFile;
    std::unique_ptr<SensorConfigFile> m_pEspecialConfigFile;
    std::unique_ptr<GThread> m_DNChangeThread;
    KVMutex m_paramMutex;
    std::unique_ptr<ISPParam> m_objISPParam;
    bool m_bRealTimeUpdate = false;
    int m_nISPDelayTime = 1;
    std::unique_ptr<EE> m_objEE;
    int m_nDTNTime = 6677;
    int m_nNTDTime = 8899;
    KVMutex m_DNMutex;
    std::atomic<bool> m_bisReset{false};
    int m_nParamScheme = 0;
    int m_nParamMode = 1;
    int m_nParamSchemeStartTime = 6600;
    int m_nParamSchemeEndTime = 8800;
    // Number of schemes (the last one all-day), from the module parameter
    // text key "ParamSchemeNum" at init; kDefaultParamSchemeNum otherwise.
    int m_nParamSchemeNum = kDefaultParamSchemeNum;
    // Ids whose last set failed in setParameterToSensor: the module may or
    // may not have taken the value, so the next set of the id is sent even
    // when it equals the last-applied value. Guarded by m_paramMutex.
    std::set<int> m_setUnconfirmedIds;

    // Day/night state, guarded by m_DNMutex.
    int m_nDayNightMode = 0;
    int m_nLastDayNightMode = -1;
    int m_nDNState = -1;
    int m_nLastDNStatus = -1;
    double m_dDelayStartTime = 0.0;
    DNGPIOInfo m_objFilterGPIO;
    DNGPIOInfo m_objInfraredGPIO;
    DNGPIOInfo m_objLDRGPIO;
    int m_nHDRMode = 0;

    // ISP tuning last applied (-100: nothing yet) and TNF.
    int m_nLastEE = -100;
    int m_nLastDC = -100;
    int m_nLastA0 = -100;
    int m_nLastTM = -100;
    int m_nTNF = 0;
    int m_nTNFMode = 0;
};

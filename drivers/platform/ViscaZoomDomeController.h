// Common part of the VISCA zoom block cameras in the Ambarella S2 dome.
#pragma once

#include "drivers/platform/IDMX420ZoomSensorController.h"
#include "drivers/platform/ZoomIrIllumination.h"
#include "drivers/protocols/ViscaCameraSettings.h"

#include <initializer_list>
#include <string>

// What sets one VISCA zoom dome module apart from another: its names in the
// log texts, its files, how it scales picture levels, its video-system
// register values and whether a day/night switch also sends the DC frame.
struct ViscaZoomDomeProfile {
    int sensorType = 0;
    // "<initName>SenseController::init,ModuleConfigure is(..)" at start-up.
    const char* initName = "";
    // "<toolName>_TOOL::ZMA_PARAM_CONFIG_FILE_NAME" in the magnification-table log.
    const char* toolName = "";
    // The class name in the IR power-table log and the IR component's logs.
    const char* className = "";
    const char* zmaFile = "";
    ZoomIrIllumination::Config ir;
    ViscaRounding rounding = ViscaRounding::Truncate;
    // Focus near limit 5 is the module's infinity preset (else: taken unsent).
    bool nearLimitPreset = true;
    // Register 24 72 values for video system 0 and 1 (any other: 0).
    int videoValues[2] = {6, 8};
    bool dcFrameOnSwitch = true;

    // A profile with a module's names, files and IR family; the LED banks'
    // devices near, middle, far; the rest at the values above.
    static ViscaZoomDomeProfile module(int sensorType, const char* initName, const char* toolName,
                                       const char* className, const char* zmaFile,
                                       ZoomIrIllumination::Family family,
                                       const char* const lightDevs[3]);
};

// The zoom dome modules speak VISCA at camera address 1 (commands 81 ..,
// replies 90 .., every message ends FF) plus two vendor frames beginning FE
// with a checksum (version, restart). Picture settings are the VISCA block
// camera's (drivers/protocols/ViscaCameraSettings); this class adds the lens, the baud-rate
// and video-system handling that need a module restart, the 2A gain link, and
// the dome's IR LED banks and light sensor (ZoomIrIllumination, thread
// "IrContrlThread"). The module drivers (AmbaS2FBS8300SenseController,
// CMD7400SenseController) derive from it with their profile, their
// parameter ids and their own operations.
//
// Implementation: ViscaZoomDomeController.cpp (start-up, module control,
// 2A), ViscaZoomDomeParameters.cpp (ids 1..68, forwarded to the settings
// component), ViscaZoomDomeLens.cpp (zoom,
// focus, iris), ViscaZoomDomeDayNight.cpp (day/night, IR LEDs, light sensor).
class ViscaZoomDomeController : public IDMX420ZoomSensorController {
public:
    explicit ViscaZoomDomeController(const ViscaZoomDomeProfile& profile);
    ~ViscaZoomDomeController() override;

    // ---- start-up and module control (ViscaZoomDomeController.cpp) -----
    int initController(int moduleId, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int getCameraVerInf(std::string& version) override;
    int restartCamera();
    int changeCameraBuadrate(int baud);
    int getCameraBaudRate(int& index);
    int setCameraBuadRate(int index);
    int setCameraOsdOff();
    int set2AParam(int status) override;
    int setCameraGainTo2ALib();
    int doDependOnThread() override;
    int enterAutoMode() override;

    // VISCA exchanges (command with acknowledge, inquiry) and reply readers.
    int setParameterValue(const char* frame, int length) override;
    int getParameterValue(const char* frame, int length, char* reply, int replyLength) override;
    int recvData(char* buffer, int length, int timeout);
    int getRealData(char* buffer, int maxLength, int timeout);

    // ---- parameters (ViscaZoomDomeParameters.cpp) ------------------------------
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;
    int getStillImageValue(int& value) override;
    int restoreAeMode() override;
    int setMirror(int value);
    int setExposalMode(int value);
    int setInfrared(int value);
    int setNtoDSensitivity(int value);
    int setDtoNSensitivity(int value);
    int setFocusNearLimit(int value);
    int setAutoNoiseReduction(int value);
    int setManualNoiseReduction(int value);
    int setNoiseReductionMode(int mode);

    // ---- lens (ViscaZoomDomeLens.cpp) ----------------------------------------
    int ZoomIn(int speed) override;
    int ZoomOut(int speed) override;
    int StopZoomContrl() override;
    int FocusNear(int speed) override;
    int FocusFar(int speed) override;
    int StopFocusContrl() override;
    int setZoomValue(int position) override;
    int getZoomValue(int& position, int& ratio) override;
    int setFocusValue(int position) override;
    int getFocusValue(int& position) override;
    int setZoomAndFocusValue(int zoom, int focus) override;
    int setFocusMode(int mode) override;
    int OnePushTrigger();
    int IrisUp() override;
    int IrisDown() override;
    int setRunAutoIris() override;
    // Zoom ratio in thousandths for a zoom position (the 12-point table).
    static int zoomRatio(int position);

    // ---- day/night and IR (ViscaZoomDomeDayNight.cpp) ------------------------
    int setDayNightMode(int mode) override;
    int initAutoDNStatus();
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    int getDNStatusFromLDR(int& status) override;
    int getDNStatusFromSensor(int& status) override;
    int getDayNightState(int& state) override;
    int getADCVal(int& value);
    int setNearLight(int power) override;
    int getNearLight(int& power) override;
    int setMiddleLight(int power) override;
    int getMiddleLight(int& power) override;
    int setFarLight(int power) override;
    int getFarLight(int& power) override;
    int setPowerMode(int mode) override;
    int getPowerMode(int& mode) override;
    int initIRPowerParamV2Config();
    int IrLedContrlThreadBody();
    // The LED outputs and the power table, for host code; they forward to
    // the dome's IR component (ZoomIrIllumination).
    int initPWM();
    int openPWM();
    int closePWM();
    int setPWM(int fd, int percent);
    int getRealPWM(int percent);
    int getIRPowerItem(int ratio, IRPowerItem& item);

protected:
    // Stops the IR LED thread and the day/night thread (idempotent).
    void stopThreads();
    // Sends "81 01" + bytes + FF with acknowledge.
    int sendCommand(std::initializer_list<int> bytes) { return m_objSettings.command(bytes); }

    const ViscaZoomDomeProfile m_profile;
    ViscaCameraSettings m_objSettings;
    // The DC bytes (a, b) sent at each switch; 1,3 is what start-up sets.
    int m_nDCDay[2] = {1, 3};
    int m_nDCNight[2] = {1, 3};
    int m_nBaudarate = 9600;
    int m_nDataBits = 8;
    int m_nParity = 0;
    int m_nStopBits = 1;
    int m_nIsInfrared = 0;
    bool m_bIsNewInfrared = false;
    // Day/night mode as the host numbers it for this module (1 auto, 3 day,
    // 4 night, 5 by time), and the base mode it maps to.
    int m_nModuleDayNightMode = 1;

    ZoomIrIllumination m_objIr;
    SafePointer<GThread> m_pObjIrLedContrlThread;
};

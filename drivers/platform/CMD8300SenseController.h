// Controller of the CMD8300 fixed-lens VISCA camera module, with or without IR lamp.
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/ViscaCameraSettings.h"
#include "drivers/protocols/ViscaTransport.h"

#include <string>

// Debug printers of the CMD8300 driver.
namespace CMD8300_TOOL {
// Each byte as "0x%02x\t", then a line end.
void printArray(const char* data, int length);
} // namespace CMD8300_TOOL

// The CMD8300 speaks the VISCA command set of the zoom domes (same
// registers, parameter ids and failure logs: ViscaCameraSettings over
// ViscaTransport) but has no zoom, LED banks, light sensor or magnification
// table, and keeps its own serial port. Its own ways:
//   - every attempt of a command is first logged ("===~~~...send(n times)");
//   - vendor frames are eight bytes, FE d1..d5 checksum FF, and are
//     acknowledged: the IR-cut frames FE 01 1E 02 00 m cs FF (m 0 automatic,
//     1 night, 2 day) drive the module's own IR lamp;
//   - with the lamp ("isInfrared" 1) day/night is one IR-cut frame; without
//     it, the auto-IR-cut register 51 and, a second later, the day/night
//     register 01 sent twice; both are followed by the DC frame;
//   - day or night is read from the module (inquiry 04 01);
//   - a video-system change restarts the module with 81 01 04 19 03 FF and
//     switches the start-up script (updateSensorVideoSystem);
//   - start-up ends with the notice 81 09 04 22 FF, sent without an answer.
//
// Parameter ids: 1..27, 29..32 and 57..66 common, 28 set-only.
class CMD8300SenseController : public ISensorController {
public:
    // Sensor type passed to the base (the factory's module id).
    static constexpr int kSensorType = 25;
    // Start-up scripts of the two video systems, and where the module's
    // start-up reads its script.
    static const char* const kPALScript;
    static const char* const kNTSCScript;
    static const char* const kStartupScript;

    CMD8300SenseController();
    ~CMD8300SenseController() override;

    // ---- start-up and serial port --------------------------------------------
    int initController(int moduleId, ModuleConfigure const& config) override;
    // Opens the detail's "RS485" device with the senseParameter "RS485"
    // settings "baud,data bits,parity,stop bits".
    int openUART();
    int closeUART();
    int NotifySensorInitComplate() override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int updateSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    // Restart frame 81 01 04 19 03 FF (no answer); waits out the restart.
    int restartCamera();
    int setCameraOsdOff();

    // ---- VISCA exchanges ---------------------------------------------------------
    int setParameterValue(const char* frame, int length) override;
    int getParameterValue(const char* frame, int length, char* reply, int replyLength) override;

    // ---- parameters (the VISCA block camera's) --------------------------------
    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;
    int getStillImageValue(int& value) override;
    int restoreAeMode() override;

    // ---- day/night ---------------------------------------------------------------
    int enterAutoMode() override;
    int turnPictureToDay() override;
    int turnPictureToNight() override;
    int getDNStatusFromSensor(int& status) override;

    // ---- 2A link and lens ----------------------------------------------------
    // The module's gain to the 2A library (always 0, see ViscaCameraSettings).
    int setGainValue();
    int doDependOnThread() override;
    int FocusUp();
    int FocusDown();
    int IrisUp() override;
    int IrisDown() override;
    int OnePushTrigger();
    int setFocusMode(int mode) override;

protected:
    // The module's two ways of switching the picture (with or without the
    // IR lamp), then the DC frame.
    enum class Picture { Auto, Night, Day };
    int switchPicture(Picture picture);
    int sendIrCutFrame(int mode);

    ViscaTransport m_objVisca;
    ViscaCameraSettings m_objSettings;
    std::string m_strDetail;
    std::string m_strParameters;
    std::string m_strDeviceName;
    int m_nBaudarate = 9600;
    int m_nDataBits = 8;
    int m_nParity = 0;
    int m_nStopBits = 1;
    int m_nIsInfrared = 0;
    int m_nDCDay[2] = {1, 3};
    int m_nDCNight[2] = {1, 3};
};

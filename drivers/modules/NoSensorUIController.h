// Controller of a camera module whose image settings are not offered to the user.
#pragma once

#include "controller/ISensorController.h"

#include <atomic>
#include <memory>

// The module keeps its own picture settings; the user gets none of them. Every
// parameter operation is accepted at once and the module is never told. All
// the controller does with it is keep the day/night state current: the
// "getDN" thread asks for the IR-cut filter state with the VISCA inquiry
// 81 09 04 01 FF about once a second, and the base's day/night handling
// switches the picture from the last answer (90 50 02 FF filter in: night;
// 90 50 03 FF filter out: day).
//
// Module record: detail "RS232DeviceName=<device>", parameters
// "RS485=baud,data bits,parity,stop bits". No parameter ids of its own.
class NoSensorUIController : public ISensorController {
public:
    // Sensor type passed to the base (no factory id: hosts build the driver
    // themselves).
    static constexpr int kSensorType = 8;

    NoSensorUIController();
    ~NoSensorUIController() override;

    int initController(int moduleId, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int NotifySensorInitComplate() override;
    int initFactorySetting() override;

    int setParameterToSensor(int id, int value) override;
    int getParameterFromSensor(int id, int& value) override;
    int getMirrorValue(int& value) override;

    // Writes `length` bytes of `text` to the module; no answer is read.
    // 1 when all went out.
    int setParameterValue(char const* text, int length) override;

    // The filter state last read, in the base's terms (1 day, 0 night); 0
    // before the first reading.
    int getDNStatusFromSensor(int& status) override;
    // One pass of the "getDN" thread: asks for the filter, waits 1 s (3 s
    // after a failure or an answer that is no state).
    int getDNbody();

protected:
    bool portOpen() const;

    std::unique_ptr<GThread> m_pGetDNThread;
    std::atomic<int> m_nDNState{-1}; // 1 day, 0 night, -1 not read yet
};

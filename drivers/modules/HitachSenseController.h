// Controller of the Hitach register-programmed block camera module.
#pragma once

#include "drivers/protocols/AsciiRegisterController.h"

#include <atomic>

// The module is programmed register by register with ASCII frames
// (AsciiRegisterProtocol); every parameter is a row of the family's reference
// register table (ascii::referenceSettings), where a value may depend on other
// stored parameters: the day/night sensitivity only counts in the automatic
// camera modes, the fixed shutter only in camera mode 4, WDR and backlight
// exclude each other, the picture mode chooses the exposure registers.
//
// The module switches day and night itself (camera modes 2 and 3): the base's
// day/night handling is off, and the "getDN" thread only reads the state
// (FFE7) for those who ask. The "threadBody" thread sends the camera mode in
// force again every minute, so a module that restarted on its own comes back
// to it. Third-generation modules ("isThridGeneration=1" in the detail) are
// told when start-up is over (:rE1ED0000) and take a video-system change
// with a final FCAC write.
//
// Parameter ids: 1..4, 6..11, 13..17 common (12, mirror, is handled but not
// registered; 5 is not handled).
class HitachSenseController : public AsciiRegisterController<ISensorController> {
public:
    // Sensor type passed to the base (no factory id: hosts build the driver
    // themselves). The block module has its own ISP: no SoC ISP tuning.
    static constexpr int kSensorType = 4;

    HitachSenseController();
    ~HitachSenseController() override;

    // The register table and the id categories the constructor uses (also
    // for tools that name the ids).
    static std::vector<ascii::Setting> registerTable();
    static void registerIds(IdManager& ids);

    int initController(int videoSystem, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;
    int NotifySensorInitComplate() override;

    int setFocusMode(int mode) override;
    int getFocusMode(int& mode) override;
    // Camera mode 0..4 (FCC8); prints "set cameramode %d \n" (print flag) on success.
    int setCameraMode(int mode);

    // One pass of the "getDN" thread: reads FFE7, waits 1 s (3 s on failure).
    int getDNbody();
    // One pass of the "threadBody" thread: reapplyCameraMode, then 60 s.
    int threadBody();
    // Sends the camera mode last set again (nothing before the first set).
    int reapplyCameraMode();

    int isThirdGeneration() const { return m_nThirdGeneration; }

protected:
    std::atomic<int> m_nThirdGeneration{0};
    // The camera mode last set, sent again by threadBody; -1 none yet.
    std::atomic<int> m_nPendingCameraMode{-1};
};

// Controller of the Hitach-compatible register-programmed block camera module.
#pragma once

#include "drivers/protocols/AsciiRegisterController.h"

#include <atomic>

// Talks like the Hitach module (AsciiRegisterProtocol, the same camera-mode,
// day/night-sensitivity, fixed-shutter and mirror registers) but has its own
// picture registers, a lens with auto iris, iris voltage and focus steps,
// and a white-balance switch. It reports its version in E1EE at start-up:
// version 106 gives day or night in FFE7, the others in FFE6 (bit 7: the
// state is valid, bit 6: night). The base's day/night handling stays on and
// works from that state. Video system in FFFE.
//
// Parameter ids: 1..4, 6, 7, 9, 10, 12..14, 16..19, 21 common; 20 (lens
// adjustment) and 54/55 (focus steps) set-only.
class HitachCompatSenseController : public AsciiRegisterController<ISensorController> {
public:
    // Sensor type passed to the base; the module has its own ISP.
    static constexpr int kSensorType = 5;
    // The version whose day/night state is in FFE7.
    static constexpr int kFFE7Version = 106;

    HitachCompatSenseController();
    ~HitachCompatSenseController() override;

    // The register table and the id categories the constructor uses.
    static std::vector<ascii::Setting> registerTable();
    static void registerIds(IdManager& ids);

    int initController(int videoSystem, ModuleConfigure const& config) override;
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override;

    // One focus step each way (FCBB).
    int FocusUp();
    int FocusDown();

    // One pass of the "getDN" thread.
    int getDNbody();

    int getSensorVersion() const { return m_nSensorVersion; }

protected:
    std::atomic<int> m_nSensorVersion{0};
};

// Profiles of the simulated VISCA modules: what one module model does differently.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// One simulated module model as data. The simulator (ViscaSimulator) is the
// same for every model; a model only names the values and frames its module
// differs in. An empty frame body means the module has no such frame.
struct ViscaModel {
    using Bytes = std::vector<uint8_t>;

    const char* name; // as camsim's --model takes it
    int moduleId;     // the controller factory's id for this module
    // Power-on value of the video-format register 24 72 (the module's
    // system-0 value, so a system-0 start-up needs no restart).
    int videoFormat;
    // Vendor frames: FE, body, checksum (low byte of the body's sum), FF;
    // vendorLength counts all of it.
    std::size_t vendorLength;
    Bytes restartVendor; // body of the vendor restart frame
    Bytes versionVendor; // body of the vendor version inquiry
    // Body of a VISCA command (between 81 01 and FF) that restarts the
    // module as the vendor restart does: no answer, silence, then the
    // pending serial speed and video format.
    Bytes restartCommand;
    // Body of the vendor IR-cut frame without its last byte, the mode:
    // 0 automatic (the filter follows the scene light), 1 night, 2 day.
    // Acknowledged and completed like a VISCA command.
    Bytes irCutVendor;
    // Register whose inquiry reports the filter (02 night, 03 day): a VISCA
    // command to it or an IR-cut frame sets it; automatic from power-on.
    Bytes dayNightRegister;
    // Registers answering inquiries from power-on (key, data), besides the
    // serial speed, the video format and the day/night register.
    std::vector<std::pair<Bytes, Bytes>> registers;
    // The module restarts to take a video format written to 24 72: it
    // answers the write with its acknowledge alone, then is deaf for the
    // restart (the Sony block cameras).
    bool restartsOnVideoFormat = false;
};

// The model called `name`, or nullptr.
const ViscaModel* findViscaModel(const std::string& name);
// The model of controller id `moduleId`, or nullptr.
const ViscaModel* viscaModelOfModule(int moduleId);
// The model a simulator runs unless told otherwise (the FBS8300).
const ViscaModel& defaultViscaModel();
// Every model's name, in table order ("fbs8300|cmd7400|cmd8300" when joined).
std::string viscaModelNames(const char* separator);

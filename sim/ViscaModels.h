// Profiles of the simulated VISCA modules: what one module model does differently.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// One simulated module model as data. The simulator (ViscaSimulator) is the
// same for every model; a model only names the values and frames its module
// differs in. Further models add rows here, and new kinds of difference
// (another vendor-frame length, a restart by a VISCA frame, extra inquiry
// registers) become fields here that the simulator reads.
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
    // Registers answering inquiries from power-on (key, data), besides the
    // serial speed and the video format.
    std::vector<std::pair<Bytes, Bytes>> registers;
};

// The model called `name`, or nullptr.
const ViscaModel* findViscaModel(const std::string& name);
// The model of controller id `moduleId`, or nullptr.
const ViscaModel* viscaModelOfModule(int moduleId);
// The model a simulator runs unless told otherwise (the FBS8300).
const ViscaModel& defaultViscaModel();
// Every model's name, in table order ("fbs8300|cmd7400" when joined).
std::string viscaModelNames(const char* separator);

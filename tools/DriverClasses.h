// The controller classes sensorctl builds by name (--driver), as one table.
#pragma once

#include "controller/ISensorController.h"
#include "foundation/SafePointer.h"

#include <string>

// The stand-in for the module that --simulate runs for a class.
enum class DriverSimulator {
    None,    // nothing: the device named in the record (or --device) is used
    Visca,   // the VISCA block-camera simulator on a pty, playing `model`
    Ascii,   // the ASCII register simulator on a pty, playing `model`
    It1,     // the IT1 binary register simulator on a pty, playing `model`
    Itn,     // the ITN binary register simulator on a pty
    Seawolf, // the Seawolf binary register simulator on a pty
    Effio,   // the Effio binary register simulator on a pty
    Isp,     // no serial line: the simulated ISP driver
};

// One exported controller class: how to make it, what to simulate it with,
// and the module record it runs on when the unit has none for it and no
// --detail/--params is given. Adding a class is adding a row.
struct DriverClass {
    const char* name;                         // the class name, as --driver takes it
    SafePointer<ISensorController> (*make)(); // a new controller, not yet initialised
    DriverSimulator simulator;
    const char* model; // the simulator's model name (Visca, Ascii, It1); nullptr otherwise
    const char* detail;
    const char* parameters;
};

template <class Driver>
SafePointer<ISensorController> makeDriver() {
    return SafePointer<ISensorController>(new Driver());
}

// The protocol name of a binary register family's simulator ("it1", "itn"),
// or nullptr for the other kinds.
const char* binaryProtocol(DriverSimulator kind);

// The row of class `name`, or nullptr.
const DriverClass* findDriverClass(const std::string& name);
// Every class name in table order, joined by `separator`.
std::string driverClassNames(const char* separator);

// The sample unit's module record: its serial line, lamp and DC keys suit
// every VISCA model.
inline constexpr const char* kViscaSampleDetail =
    "RS485=/dev/ttyS1;isInfrared=1;isNewInfrared=1;generation=3";
inline constexpr const char* kViscaSampleParameters =
    "RS485=9600,8,0,1;DCDay=1,3;DCNight=0,3;toDayADCVal=600;toNightADCVal=400;toDayDelay=5;"
    "GUIConfig=FBS8300GUIConfig.xml;Prefix=FBS8300";
// The on-chip ISP unit's: no serial line and no IR lamp (day/night from the
// ISP's light measure); GPIO is the output line its start-up sets.
inline constexpr const char* kIspSampleDetail =
    "autoFocus=0;manualFocus=0;fisheye=0;isInfrared=0;autoIris=0";
inline constexpr const char* kIspSampleParameters = "GPIO=0,10,1";

// The controller classes sensorctl builds by name (--driver), as one table.
#include "tools/DriverClasses.h"

#include "foundation/NamedRows.h"

#include "drivers/modules/CMD7200SenseController.h"
#include "drivers/modules/EffioSenseController.h"
#include "drivers/modules/HitachCompatSenseController.h"
#include "drivers/modules/HitachSenseController.h"
#include "drivers/modules/IT1SenseController.h"
#include "drivers/modules/IT1ZoomModuleSenseController.h"
#include "drivers/modules/ITNSenseController.h"
#include "drivers/modules/NoSensorUIController.h"
#include "drivers/modules/SC110N_CSenseController.h"
#include "drivers/modules/SONYCH3310SenseController.h"
#include "drivers/modules/SONYCV7500SenseController.h"
#include "drivers/modules/SONYEH4300SenseController.h"
#include "drivers/modules/SeawolfSenseController.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "drivers/platform/CMD7400SenseController.h"
#include "drivers/platform/CMD8300SenseController.h"

namespace {

// The host-built serial modules' record: a plain RS-232 line, no lamp.
constexpr const char* kSerialSampleDetail = "RS232DeviceName=/dev/ttyS1;isInfrared=0";
constexpr const char* kSerialSampleParameters = "RS485=9600,8,0,1";
// The RS232 modules': line settings under "RS232", and the GPIO input that
// carries the module's day/night level (group, pin, the level for day).
constexpr const char* kRs232SampleParameters = "RS232=9600,8,0,1;GPIO=0,20,1";

const DriverClass kClasses[] = {
    {"AmbaS2FBS8300SenseController", &makeDriver<AmbaS2FBS8300SenseController>,
     DriverSimulator::Visca, "fbs8300", kViscaSampleDetail, kViscaSampleParameters},
    {"CMD7400SenseController", &makeDriver<CMD7400SenseController>, DriverSimulator::Visca,
     "cmd7400", kViscaSampleDetail, kViscaSampleParameters},
    {"CMD8300SenseController", &makeDriver<CMD8300SenseController>, DriverSimulator::Visca,
     "cmd8300", kViscaSampleDetail, kViscaSampleParameters},
    {"AmbaS2SenseController", &makeDriver<AmbaS2SenseController>, DriverSimulator::Isp, nullptr,
     kIspSampleDetail, kIspSampleParameters},
    {"HitachSenseController", &makeDriver<HitachSenseController>, DriverSimulator::Ascii, "hitach",
     "RS232DeviceName=/dev/ttyS1;isInfrared=0;isThridGeneration=1", kSerialSampleParameters},
    {"HitachCompatSenseController", &makeDriver<HitachCompatSenseController>,
     DriverSimulator::Ascii, "compat", kSerialSampleDetail, kSerialSampleParameters},
    {"CMD7200SenseController", &makeDriver<CMD7200SenseController>, DriverSimulator::Ascii,
     "cmd7200", kSerialSampleDetail, kSerialSampleParameters},
    {"SC110N_CSenseController", &makeDriver<SC110N_CSenseController>, DriverSimulator::Ascii,
     "sc110n", kSerialSampleDetail, kSerialSampleParameters},
    {"NoSensorUIController", &makeDriver<NoSensorUIController>, DriverSimulator::Visca,
     "nosensorui", kSerialSampleDetail, kSerialSampleParameters},
    {"SONYCV7500SenseController", &makeDriver<SONYCV7500SenseController>, DriverSimulator::Visca,
     "cv7500", kSerialSampleDetail, kSerialSampleParameters},
    {"SONYCH3310SenseController", &makeDriver<SONYCH3310SenseController>, DriverSimulator::Visca,
     "ch3310", kSerialSampleDetail, kSerialSampleParameters},
    {"SONYEH4300SenseController", &makeDriver<SONYEH4300SenseController>, DriverSimulator::Visca,
     "eh4300", kSerialSampleDetail, kSerialSampleParameters},
    {"IBaseIT1SenseController", &makeDriver<IBaseIT1SenseController>, DriverSimulator::It1, "it1",
     kSerialSampleDetail, kSerialSampleParameters},
    {"IT1SenseController", &makeDriver<IT1SenseController>, DriverSimulator::It1, "it1",
     kSerialSampleDetail, kSerialSampleParameters},
    {"IT1ZoomModuleSenseController", &makeDriver<IT1ZoomModuleSenseController>,
     DriverSimulator::It1, "zoom", kSerialSampleDetail, kSerialSampleParameters},
    {"ITNSenseController", &makeDriver<ITNSenseController>, DriverSimulator::Itn, nullptr,
     kSerialSampleDetail, kRs232SampleParameters},
    {"SeawolfSenseController", &makeDriver<SeawolfSenseController>, DriverSimulator::Seawolf,
     nullptr, kSerialSampleDetail, kSerialSampleParameters},
    {"EffioSenseController", &makeDriver<EffioSenseController>, DriverSimulator::Effio, nullptr,
     "RS232DeviceName=/dev/ttyS1;GPIODNLevel=0,21,0", "RS232=9600,8,0,1"},
};

} // namespace

const char* binaryProtocol(DriverSimulator kind) {
    switch (kind) {
    case DriverSimulator::It1:
        return "it1";
    case DriverSimulator::Itn:
        return "itn";
    case DriverSimulator::Seawolf:
        return "seawolf";
    case DriverSimulator::Effio:
        return "effio";
    default:
        return nullptr;
    }
}

const DriverClass* findDriverClass(const std::string& name) {
    return findNamedRow(kClasses, name);
}

std::string driverClassNames(const char* separator) {
    return joinRowNames(kClasses, separator);
}

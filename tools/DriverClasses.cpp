// The controller classes sensorctl builds by name (--driver), as one table.
#include "tools/DriverClasses.h"

#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "drivers/platform/CMD7400SenseController.h"
#include "drivers/platform/CMD8300SenseController.h"

namespace {

const DriverClass kClasses[] = {
    {"AmbaS2FBS8300SenseController", &makeDriver<AmbaS2FBS8300SenseController>,
     DriverSimulator::Visca, "fbs8300", kViscaSampleDetail, kViscaSampleParameters},
    {"CMD7400SenseController", &makeDriver<CMD7400SenseController>, DriverSimulator::Visca,
     "cmd7400", kViscaSampleDetail, kViscaSampleParameters},
    {"CMD8300SenseController", &makeDriver<CMD8300SenseController>, DriverSimulator::Visca,
     "cmd8300", kViscaSampleDetail, kViscaSampleParameters},
    {"AmbaS2SenseController", &makeDriver<AmbaS2SenseController>, DriverSimulator::Isp, nullptr,
     kIspSampleDetail, kIspSampleParameters},
};

} // namespace

const DriverClass* findDriverClass(const std::string& name) {
    for (const DriverClass& row : kClasses)
        if (name == row.name)
            return &row;
    return nullptr;
}

std::string driverClassNames(const char* separator) {
    std::string names;
    for (const DriverClass& row : kClasses)
        names += (names.empty() ? "" : separator) + std::string(row.name);
    return names;
}

// Controller of the IT1 fixed-lens camera module.
#pragma once

#include "drivers/modules/IBaseIT1SenseController.h"

// The IT1 base's settings under its ids, plus the iris level: the four iris
// values of the module's DC-iris lens set together (id 22).
//
// Parameter ids (docs/modules.md has the list): 1..6, 8..19 and 22 common.
class IT1SenseController : public IBaseIT1SenseController {
public:
    // Sensor type passed to the base (hosts build the driver themselves).
    static constexpr int kSensorType = 12;
    static constexpr int kIrisLevel = 22;

    IT1SenseController();
    ~IT1SenseController() override;

    static void registerIds(IdManager& ids);
};

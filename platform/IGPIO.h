// Abstract GPIO access handed to the sensor controllers.
#pragma once

// Lines are named by (group, pin), as the module configuration gives them; a
// group holds 32 pins. Levels are 0 and 1. Operations report 1 for success and
// 0 for failure.
class IGPIO {
public:
    virtual ~IGPIO() = default;

    // Reads the level of an input line.
    virtual int getLevel(int group, int pin, int& level) = 0;

    // Drives an output line to the level.
    virtual int setLevel(int group, int pin, int level) = 0;

    // Told by the sensor controller manager once the camera front end is up
    // (controller built, module initialised, saved settings applied). From
    // then on the lines the controller set up carry their working levels.
    virtual int initComplete() = 0;
};

// Builds a controller from the installed library and reads a module record with it.
// The same file builds with pkg-config:
//   c++ -std=c++17 main.cpp $(pkg-config --cflags --libs sensorcontrol)
#include "drivers/modules/ITNSenseController.h"
#include "drivers/protocols/SerialSettings.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>
#include <string>

int main() {
    ModuleParameterParser parameters;
    std::string serial;
    if (parameters.parse("RS232=9600,8,0,1;GPIO=0,20,1") == 0 ||
        parameters.getValue("RS232", serial) == 0) {
        std::fprintf(stderr, "consumer: the record does not parse\n");
        return 1;
    }
    ITNSenseController controller;
    int fields[4] = {};
    if (!parseSerialSettings(controller, serial, fields, "RS232")) {
        std::fprintf(stderr, "consumer: the serial settings do not parse\n");
        return 1;
    }
    std::printf("sensor type %d, %d baud\n", controller.getSensorType(), fields[0]);
    return 0;
}

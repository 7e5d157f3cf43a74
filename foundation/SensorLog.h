// A controller's log file (error log or initialisation log).
#pragma once

#include "platform/KVLogger.h"

// A platform logger that also echoes each entry on standard output.
class SensorLog : public KVLogger {
public:
    SensorLog();
    ~SensorLog() override;

    // Opens the log; the arguments go to KVLogger::init unchanged.
    int init(char const* path, unsigned maxSize, unsigned count);
    // Prints `text` as one line, then writes the tagged entry.
    int WriteSensorLog(char const* tag, char const* text);
};

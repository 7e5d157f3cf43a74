// Controller log file.
#include "foundation/SensorLog.h"

#include <cstdio>
#include <cstring>

SensorLog::SensorLog() = default;

SensorLog::~SensorLog() = default;

int SensorLog::init(char const* path, unsigned maxSize, unsigned count) {
    return KVLogger::init(path, maxSize, count);
}

int SensorLog::WriteSensorLog(char const* tag, char const* text) {
    const char* line = text != nullptr ? text : "";
    // Messages often carry their own newline already; print one line either way.
    const std::size_t n = std::strlen(line);
    std::fputs(line, stdout);
    if (n == 0 || line[n - 1] != '\n')
        std::fputc('\n', stdout);
    return KVLogger::writeLog(tag, text);
}

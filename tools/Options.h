// Command-line options of sensorctl and the commands given on the command line.
#pragma once

#include <string>
#include <vector>

// What the person asked for: where the unit's files are, which module and
// how to reach it, and the commands to run (empty: read them from stdin).
struct Options {
    std::string root;       // filesystem root ("" = $KV_ROOT, else /)
    bool rootGiven = false; // --root or $KV_ROOT named one
    int moduleId = -1;      // -1: from moduleConfig.xml
    std::string driver;     // controller class built directly ("" = through the manager)
    std::string detail;     // overrides when detailGiven
    bool detailGiven = false;
    std::string params; // overrides when paramsGiven
    bool paramsGiven = false;
    std::string device;  // serial device override ("" = from the detail)
    int videoSystem = 0; // 0 NTSC, 1 PAL
    int width = 1920;
    int height = 1080;
    bool simulate = false;
    double timeScale = 1.0;
    bool verbose = false;
    bool realDevices = false;
    // serve: where the settings page listens, and the password file that a
    // non-loopback address needs.
    std::string listen = "127.0.0.1:8080";
    std::string passwordFile;
    // Each command as its words, e.g. {"set", "saturation=60"}.
    std::vector<std::vector<std::string>> commands;
};

// Result of parsing: run, or exit at once with `exitCode` (0 after --help,
// 2 after a bad argument, with `message` one line for stderr).
struct ParseResult {
    bool run = false;
    int exitCode = 0;
    std::string message;
};

ParseResult parseOptions(int argc, char** argv, Options& options);

// The command interpreter of sensorctl: one command in, one result line out.
#pragma once

#include "tools/Console.h"
#include "tools/ParameterNames.h"
#include "tools/Session.h"

#include <functional>
#include <string>
#include <vector>

// Turns each command into calls on the controller, the way the camera's web
// interface would, and prints "ok", the values or "error: <reason>". The
// controller is initialised before the first command (unless that command
// is "init"). Commands run on a helper thread so that a wait longer than two
// seconds can show a progress line; every library call is itself bounded.
// Commands.cpp holds the dispatch, parameters, schemes and lens;
// CommandsDayNight.cpp the day/night, LED, light-sensor and light-measure
// commands; CommandsUi.cpp the web interface's XML texts.
class Commands {
public:
    Commands(Session& session, Console& console, bool verbose);

    // Runs one command; false when it failed. quitRequested() after "quit".
    bool run(const std::vector<std::string>& words);
    bool quitRequested() const { return m_bQuit; }
    // Runs one command as run() does, without the implicit init and without
    // printing: `line` is the result line run() would print.
    bool evaluate(const std::vector<std::string>& words, std::string& line);

private:
    using Action = std::function<bool(std::string&)>;

    // Runs `action` (out: the result text on success, the reason on failure)
    // and makes its result line: "ok", the text, or "error: " and the reason
    // with the library's line about it.
    bool perform(const std::string& label, const Action& action, std::string& line);
    bool dispatch(const std::vector<std::string>& words, std::string& out);
    bool ensureInit(std::string& out);

    bool cmdSet(const std::vector<std::string>& words, std::string& out);
    bool cmdGet(const std::vector<std::string>& words, std::string& out);
    bool cmdDump(std::string& out);
    bool cmdDayNight(const std::vector<std::string>& words, std::string& out);
    bool cmdDnState(std::string& out);
    bool cmdLeds(std::string& out);
    bool cmdAdc(const std::vector<std::string>& words, std::string& out);
    bool cmdLight(const std::vector<std::string>& words, std::string& out);
    bool cmdGpio(const std::vector<std::string>& words, std::string& out);
    bool cmdScheme(const std::vector<std::string>& words, bool mode, std::string& out);
    bool cmdLens(const std::vector<std::string>& words, bool zoom, std::string& out);
    bool cmdIds(std::string& out);
    bool cmdUi(const std::vector<std::string>& words, std::string& out);
    bool cmdWait(const std::vector<std::string>& words, std::string& out);
    // "a=1 b=2" from a parameter text "(1,80)(2,27)"; false when malformed.
    bool describe(const std::string& text, std::string& out) const;
    void showFrames();

    Session& m_session;
    Console& m_console;
    ParameterNames m_names;
    bool m_bVerbose;
    bool m_bQuit = false;
    bool m_bInitTried = false;
    size_t m_nFramesShown = 0;
    int m_nDayNightMode = -1; // last base mode chosen here (-1: none yet)
};

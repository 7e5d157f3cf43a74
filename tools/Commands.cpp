// The command interpreter of sensorctl: one command in, one result line out.
#include "tools/Commands.h"

#include "platform/PlatformClock.h"

#include <chrono>
#include <climits>
#include <cstdio>
#include <future>
#include <thread>

namespace {

constexpr double kProgressAfterSeconds = 2.0;
constexpr int kDefaultLensSpeed = 3;
constexpr double kMaxWaitSeconds = 86400.0;

} // namespace

Commands::Commands(Session& session, Console& console, bool verbose)
    : m_session(session), m_console(console), m_names(session.module().getModuleId()),
      m_bVerbose(verbose) {}

bool Commands::run(const std::vector<std::string>& words) {
    if (words.empty())
        return true;
    const std::string& name = words.front();
    // Commands that read only tables and files need no controller.
    if (!m_bInitTried && name != "init" && name != "quit" && name != "ids" && name != "ui") {
        // Reported only when it fails; the command then answers for itself.
        std::string line;
        if (!perform(
                "init", [this](std::string& text) { return ensureInit(text); }, line)) {
            showFrames();
            m_console.result(line);
        }
    }
    std::string line;
    const bool ok = evaluate(words, line);
    showFrames();
    m_console.result(line);
    return ok;
}

bool Commands::evaluate(const std::vector<std::string>& words, std::string& line) {
    if (words.empty()) {
        line = "ok";
        return true;
    }
    return perform(
        words.front(), [this, &words](std::string& out) { return dispatch(words, out); }, line);
}

bool Commands::perform(const std::string& label, const Action& action, std::string& line) {
    m_console.mark();
    std::string out;
    std::packaged_task<bool()> task([&action, &out]() { return action(out); });
    std::future<bool> done = task.get_future();
    std::thread worker(std::move(task));
    const auto start = std::chrono::steady_clock::now();
    while (done.wait_for(std::chrono::milliseconds(200)) != std::future_status::ready) {
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (elapsed > kProgressAfterSeconds) {
            char text[96];
            std::snprintf(text, sizeof text, "sensorctl: %s ... %.0f s", label.c_str(), elapsed);
            m_console.progress(text);
        }
    }
    worker.join();
    if (done.get()) {
        line = out.empty() ? "ok" : out;
        return true;
    }
    const std::string detail = m_console.lastLibraryLine();
    line = "error: " + out;
    if (!detail.empty() && detail != out)
        line += " (" + detail + ")";
    return false;
}

void Commands::showFrames() {
    if (!m_bVerbose)
        return;
    for (const std::string& frame : m_session.moduleFrames(m_nFramesShown)) {
        m_console.result("> " + frame);
        ++m_nFramesShown;
    }
}

bool Commands::ensureInit(std::string& out) {
    m_bInitTried = true;
    m_nDayNightMode = -1;
    return m_session.init(out);
}

bool Commands::dispatch(const std::vector<std::string>& words, std::string& out) {
    const std::string& name = words.front();
    const size_t args = words.size() - 1;
    if (name == "init" && args == 0)
        return ensureInit(out);
    if (name == "quit" && args == 0) {
        m_bQuit = true;
        return true;
    }
    if (name == "ids" && args == 0)
        return cmdIds(out);
    if (name == "wait")
        return cmdWait(words, out);
    if (name == "adc")
        return cmdAdc(words, out);
    if (name == "light")
        return cmdLight(words, out);
    if (name == "ui")
        return cmdUi(words, out);
    static const char* const kKnown[] = {"set",         "get",      "dump",    "flush", "reset",
                                         "reset-last",  "daynight", "dnstate", "leds",  "scheme",
                                         "scheme-mode", "zoom",     "focus",   "gpio"};
    bool known = false;
    for (const char* k : kKnown)
        known = known || name == k;
    if (!known) {
        out = "unknown command \"" + name + "\" (or wrong number of arguments)";
        return false;
    }
    if (!m_session.isInitialised()) {
        out = "controller not initialised";
        return false;
    }
    if (name == "set")
        return cmdSet(words, out);
    if (name == "get")
        return cmdGet(words, out);
    if (name == "daynight")
        return cmdDayNight(words, out);
    if (name == "scheme" || name == "scheme-mode")
        return cmdScheme(words, name == "scheme-mode", out);
    if (name == "zoom" || name == "focus")
        return cmdLens(words, name == "zoom", out);
    if (name == "gpio")
        return cmdGpio(words, out);
    if (args != 0) {
        out = name + " takes no arguments";
        return false;
    }
    if (name == "dump")
        return cmdDump(out);
    if (name == "dnstate")
        return cmdDnState(out);
    if (name == "leds")
        return cmdLeds(out);
    SafePointer<ISensorController> ctl = m_session.controller();
    int result = 0;
    if (name == "flush")
        result = ctl->flush();
    else if (name == "reset")
        result = ctl->resetParameters();
    else
        result = ctl->resetToLastParameters();
    if (result == 0)
        out = name + " failed";
    return result != 0;
}

bool Commands::cmdSet(const std::vector<std::string>& words, std::string& out) {
    if (words.size() < 2) {
        out = "usage: set ID=VALUE ...";
        return false;
    }
    std::string text;
    for (size_t i = 1; i < words.size(); ++i) {
        const size_t eq = words[i].find('=');
        int id = 0;
        int value = 0;
        if (eq == std::string::npos || !m_names.lookup(words[i].substr(0, eq), id) ||
            !parseInt(words[i].substr(eq + 1), value)) {
            out = "bad parameter \"" + words[i] + "\" (want ID=VALUE or NAME=VALUE)";
            return false;
        }
        text += "(" + std::to_string(id) + "," + std::to_string(value) + ")";
    }
    if (m_session.controller()->setParameters(text) == 0) {
        out = "set " + text + " failed";
        return false;
    }
    return true;
}

bool Commands::cmdGet(const std::vector<std::string>& words, std::string& out) {
    if (words.size() < 2) {
        out = "usage: get ID|NAME ...";
        return false;
    }
    SafePointer<ISensorController> ctl = m_session.controller();
    for (size_t i = 1; i < words.size(); ++i) {
        int id = 0;
        int value = 0;
        if (!m_names.lookup(words[i], id)) {
            out = "unknown parameter \"" + words[i] + "\"";
            return false;
        }
        if (ctl->getParameter(id, value) == 0) {
            out = "cannot read parameter " + m_names.label(id);
            return false;
        }
        out += (out.empty() ? "" : " ") + m_names.label(id) + "=" + std::to_string(value);
    }
    return true;
}

bool Commands::describe(const std::string& text, std::string& out) const {
    size_t at = 0;
    while ((at = text.find('(', at)) != std::string::npos) {
        int id = 0;
        int value = 0;
        if (std::sscanf(text.c_str() + at, "(%d,%d)", &id, &value) != 2)
            return false;
        out += (out.empty() ? "" : " ") + m_names.label(id) + "=" + std::to_string(value);
        ++at;
    }
    return true;
}

bool Commands::cmdDump(std::string& out) {
    std::string text;
    if (m_session.controller()->getAllParameters(text) == 0) {
        out = "cannot read the parameters";
        return false;
    }
    if (!describe(text, out)) {
        out = "malformed parameter text from the controller";
        return false;
    }
    if (out.empty())
        out = "(no parameters)";
    return true;
}

bool Commands::cmdScheme(const std::vector<std::string>& words, bool mode, std::string& out) {
    SafePointer<ISensorController> ctl = m_session.controller();
    const char* name = mode ? "scheme-mode" : "scheme";
    if (words.size() == 1) {
        int value = 0;
        if ((mode ? ctl->getParamMode(value) : ctl->getParamScheme(value)) == 0) {
            out = std::string("cannot read the ") + name;
            return false;
        }
        out = std::string(name) + "=" + std::to_string(value);
        return true;
    }
    int value = 0;
    if (words.size() != 2 || !parseInt(words[1], value)) {
        out = std::string("usage: ") + name + (mode ? " [0|1]" : " [N]");
        return false;
    }
    if ((mode ? ctl->setParamMode(value) : ctl->setParamScheme(value)) == 0) {
        out = std::string(name) + " " + words[1] + " refused";
        return false;
    }
    return true;
}

bool Commands::cmdLens(const std::vector<std::string>& words, bool zoom, std::string& out) {
    const std::string usage =
        zoom ? "usage: zoom in|out|stop|get [SPEED]" : "usage: focus near|far|stop|get [SPEED]";
    int speed = kDefaultLensSpeed;
    if (words.size() < 2 || words.size() > 3 || (words.size() == 3 && !parseInt(words[2], speed))) {
        out = usage;
        return false;
    }
    SafePointer<ISensorController> ctl = m_session.controller();
    const std::string& verb = words[1];
    int result = 0;
    if (verb == "get") {
        int position = 0;
        int ratio = 0;
        result = zoom ? ctl->getZoomValue(position, ratio) : ctl->getFocusValue(position);
        if (result != 0) {
            out = std::string(zoom ? "zoom=" : "focus=") + std::to_string(position);
            if (zoom)
                out += " ratio=" + std::to_string(ratio);
            return true;
        }
    } else if (verb == "stop") {
        result = zoom ? ctl->StopZoomContrl() : ctl->StopFocusContrl();
    } else if (zoom && (verb == "in" || verb == "out")) {
        result = verb == "in" ? ctl->ZoomIn(speed) : ctl->ZoomOut(speed);
    } else if (!zoom && (verb == "near" || verb == "far")) {
        result = verb == "near" ? ctl->FocusNear(speed) : ctl->FocusFar(speed);
    } else {
        out = usage;
        return false;
    }
    if (result == 0)
        out = words[0] + " " + verb + " failed";
    return result != 0;
}

bool Commands::cmdIds(std::string& out) {
    char line[160];
    char range[32];
    for (const ParameterNames::Entry& e : m_names.entries()) {
        if (e.min == INT_MIN && e.max == INT_MAX)
            std::snprintf(range, sizeof range, "any");
        else
            std::snprintf(range, sizeof range, "%d..%d", e.min, e.max);
        std::snprintf(line, sizeof line, "%d %s %s %s%s%s", e.id, e.name.c_str(), range,
                      e.category.c_str(), e.note.empty() ? "" : " ", e.note.c_str());
        out += (out.empty() ? "" : "\n") + std::string(line);
    }
    return true;
}

bool Commands::cmdWait(const std::vector<std::string>& words, std::string& out) {
    double seconds = 0;
    char extra = 0;
    if (words.size() != 2 || std::sscanf(words[1].c_str(), "%lf%c", &seconds, &extra) != 1 ||
        !(seconds >= 0 && seconds <= kMaxWaitSeconds)) {
        out = "usage: wait SECONDS (0..86400)";
        return false;
    }
    PlatformClock::sleepFor(PlatformClock::Duration(seconds));
    return true;
}

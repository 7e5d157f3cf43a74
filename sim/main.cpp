// camsim: runs a simulated camera module on a pseudo-terminal for trying a client by hand.
#include "platform/PlatformClock.h"
#include "sim/AsciiSimulator.h"
#include "sim/BinaryModules.h"
#include "sim/It1Models.h"
#include "sim/ViscaSimulator.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

volatile std::sig_atomic_t g_nStop = 0;

void onSignal(int) {
    g_nStop = 1;
}

// One received frame as a log line: "rx 81 01 04 A1 00 00 03 0C FF".
std::string hexLine(const ViscaSimulator::Bytes& frame) {
    std::string line = "rx";
    char byte[4];
    for (uint8_t b : frame) {
        std::snprintf(byte, sizeof byte, " %02X", static_cast<unsigned>(b));
        line += byte;
    }
    return line;
}

// An ASCII register frame is printable as it came: "rx :WFCC820".
std::string hexLine(const std::string& frame) {
    return "rx " + frame;
}

struct Settings {
    std::string protocol = "visca";
    std::string model;
    int module = 0;
    bool silent = false;
    bool errorReply = false;
    bool garbage = false;
    double lateSeconds = 0.0;
    bool badChecksum = false;
    bool longCount = false;
    int light = -1;
    double timeScale = 1.0;
    int baudIndex = 0;
};

// The models' controller ids for the help text: "82: fbs8300, 83: cmd7400, ...".
std::string moduleIds() {
    std::istringstream names(viscaModelNames(" "));
    std::string ids;
    std::string name;
    while (names >> name)
        ids += (ids.empty() ? "" : ", ") + std::to_string(findViscaModel(name)->moduleId) + ": " +
               name;
    return ids;
}

void applyFaults(ViscaSimulator& sim, const Settings& s) {
    if (s.silent)
        sim.setSilence();
    if (s.errorReply)
        sim.setErrorReply(0, 2); // syntax error on socket 0
    if (s.garbage)
        sim.setGarbage({0x5A, 0x00, 0xA5});
    if (s.lateSeconds > 0.0)
        sim.setLateAnswer(s.lateSeconds);
}

void applyFaults(AsciiSimulator& sim, const Settings& s) {
    if (s.silent)
        sim.setSilence();
    if (s.garbage)
        sim.setGarbage("Z?");
    if (s.lateSeconds > 0.0)
        sim.setLateAnswer(s.lateSeconds);
}

void applyFaults(BinarySimulator& sim, const Settings& s) {
    if (s.silent)
        sim.setSilence();
    if (s.garbage)
        sim.setGarbage({0x5A, 0x00, 0xA5});
    if (s.lateSeconds > 0.0)
        sim.setLateAnswer(s.lateSeconds);
    if (s.badChecksum)
        sim.setWrongChecksum();
    if (s.longCount)
        sim.setOverlongCount();
    if (s.light >= 0 && !sim.setLightValue(s.light))
        std::fprintf(stderr, "camsim: --light %d: this module measures no light of that range\n",
                     s.light);
}

// Prints the pty's path, then one line per frame received, until a signal.
template <class Simulator>
int serve(Simulator& sim, const Settings& s) {
    if (!sim.isRunning()) {
        std::fprintf(stderr, "camsim: could not create a pseudo-terminal\n");
        return 1;
    }
    applyFaults(sim, s);

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    std::printf("%s\n", sim.slavePath().c_str());
    std::fflush(stdout);

    size_t logged = 0;
    while (!g_nStop) {
        // Bounded wait: the loop looks at the stop flag at least every 50 ms.
        if (!sim.waitForFrames(logged + 1, 0.05))
            continue;
        const auto frames = sim.frames();
        for (; logged < frames.size(); ++logged)
            std::printf("%s\n", hexLine(frames[logged]).c_str());
        std::fflush(stdout);
        if (frames.size() > 10000) { // keep a long session's memory bounded
            sim.clearFrames();
            logged = 0;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Settings s;
    CLI::App app{"Runs a simulated camera module on a pseudo-terminal. Prints the terminal's "
                 "path on the first line, then one line per frame received (\"rx\" and the "
                 "bytes in hexadecimal), until interrupted (SIGINT or SIGTERM). Point a "
                 "client at the path, e.g. sensorctl --device PATH.",
                 "camsim"};
    const std::string binary = binaryProtocolNames(", ");
    app.add_option("--protocol", s.protocol,
                   "protocol family of the module: visca, ascii, " + binary + " (default visca)")
        ->check(CLI::Validator(
            [](std::string& v) {
                return v == "visca" || v == "ascii" || isBinaryProtocol(v) ? std::string()
                                                                           : "no protocol " + v;
            },
            "visca|ascii|" + binaryProtocolNames("|")));
    app.add_option("--model", s.model,
                   "module model to simulate: " + viscaModelNames("|") + " (default " +
                       defaultViscaModel().name + "); with --protocol ascii " +
                       asciiModelNames("|") + " (default " + defaultAsciiModel().name +
                       "); with --protocol it1 " + it1ModelNames("|") + " (default " +
                       defaultIt1Model().name + ")")
        ->check(CLI::Validator(
            [](std::string& v) {
                return findViscaModel(v) != nullptr || findAsciiModel(v) != nullptr ||
                               findIt1Model(v) != nullptr
                           ? std::string()
                           : "no model " + v;
            },
            viscaModelNames("|") + "|" + asciiModelNames("|") + "|" + it1ModelNames("|")));
    app.add_option("--module", s.module,
                   "module id to simulate, instead of --model (" + moduleIds() + ")")
        ->check(CLI::Validator(
            [](std::string& v) {
                int id = 0;
                return std::sscanf(v.c_str(), "%d", &id) == 1 && viscaModelOfModule(id) != nullptr
                           ? std::string()
                           : "no simulated module " + v;
            },
            "ID"));
    app.add_flag("--silent", s.silent, "never answer (a module that is off or not wired)");
    app.add_flag("--error-reply", s.errorReply,
                 "answer every command and inquiry with a syntax error (visca only)");
    app.add_flag("--garbage", s.garbage, "send garbage bytes before each answer");
    app.add_option("--late", s.lateSeconds, "answer this many device seconds late")
        ->check(CLI::Range(0.0, 3600.0));
    app.add_flag("--bad-checksum", s.badChecksum,
                 "answer with a checksum off by one (" + binary + " only)");
    app.add_flag("--long-count", s.longCount,
                 "answer with the count byte replaced by FF (" + binary + " only)");
    app.add_option("--light", s.light,
                   "light value the module measures (the modules that report one: it1 0..65535, "
                   "growing as it darkens; seawolf 0..255, growing as it brightens)")
        ->check(CLI::Range(0, 0xFFFF));
    app.add_option("--time-scale", s.timeScale,
                   "real seconds per device second (0.05: twenty times faster)")
        ->check(CLI::Range(0.0001, 100.0));
    app.add_option("--baud-index", s.baudIndex,
                   "module serial speed: 0 9600, 1 19200, 2 38400, 3 115200")
        ->check(CLI::Range(0, 3));
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        std::fprintf(stderr, "camsim: %s (see --help)\n", e.what());
        return 2;
    }

    PlatformClock::setTimeScale(s.timeScale);
    if (!isBinaryProtocol(s.protocol) && (s.badChecksum || s.longCount || s.light >= 0)) {
        std::fprintf(stderr,
                     "camsim: --bad-checksum, --long-count and --light are options of "
                     "the binary register modules (%s)\n",
                     binary.c_str());
        return 2;
    }
    if (s.protocol != "visca" && (s.module != 0 || s.errorReply || s.baudIndex != 0)) {
        std::fprintf(stderr, "camsim: --module, --error-reply and --baud-index are visca "
                             "options\n");
        return 2;
    }
    if (isBinaryProtocol(s.protocol)) {
        std::unique_ptr<BinarySimulator> sim = makeBinarySimulator(s.protocol, s.model);
        if (!sim) {
            const std::string models = binaryModelNames(s.protocol, "|");
            std::fprintf(stderr, "camsim: %s is not an %s model (%s)\n", s.model.c_str(),
                         s.protocol.c_str(), models.empty() ? "it has one" : models.c_str());
            return 2;
        }
        return serve(*sim, s);
    }
    if (s.protocol == "ascii") {
        if (!s.model.empty() && findAsciiModel(s.model) == nullptr) {
            std::fprintf(stderr, "camsim: %s is not an ascii model (%s)\n", s.model.c_str(),
                         asciiModelNames("|").c_str());
            return 2;
        }
        AsciiSimulator sim(s.model.empty() ? nullptr : findAsciiModel(s.model));
        return serve(sim, s);
    }
    if (!s.model.empty() && findViscaModel(s.model) == nullptr) {
        std::fprintf(stderr, "camsim: %s is not a visca model (%s)\n", s.model.c_str(),
                     viscaModelNames("|").c_str());
        return 2;
    }
    ViscaSimulator::Options options;
    options.baudIndex = s.baudIndex;
    options.model = !s.model.empty() ? findViscaModel(s.model) : viscaModelOfModule(s.module);
    ViscaSimulator sim(options);
    return serve(sim, s);
}

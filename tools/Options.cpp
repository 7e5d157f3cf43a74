// Command-line options of sensorctl and the commands given on the command line.
#include "tools/Options.h"

#include "tools/DriverClasses.h"
#include "tools/WebServer.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <sstream>

namespace {

const char* const kFooter =
    R"(Commands (from the arguments, each group after a "--", or one per line on stdin):
  init                   initialise the controller (done implicitly before the first command)
  set ID=VALUE ...       apply parameters (ID may be a name: set saturation=60 contrast=40)
  get ID|NAME ...        read parameters (prints saturation=60, or 70=5 for unnamed ids)
  dump                   all parameter values
  flush                  save the values to the parameter files
  reset | reset-last     factory values | the values last saved
  daynight MODE          auto|day|night|time|module or base mode 0..4
  dnstate                day/night mode, state in force, source, light reading and why
  leds                   duty of the near, middle and far IR LED outputs
  adc VALUE              set the simulated light-sensor reading
  light MEASURE          set the simulated ISP's light measure (grows as it darkens; module 80)
                         or the simulated register module's light value (IT1: grows as
                         it darkens; Seawolf: light level 0..255, grows as it brightens)
  gpio GROUP PIN [LEVEL] read or set a GPIO line (the ITN or Effio module's day/night input)
  scheme [N]             switch to (or show) parameter scheme N
  scheme-mode [M]        0 manual, 1 by time (or show it)
  zoom in|out|stop|get [SPEED]    focus near|far|stop|get [SPEED]
  ids                    the module's parameter ids: name, range, category
  ui style|init          the web interface's style (merged for the unit's detail) or
                         initial configuration, from the unit's files under --root
  ui common|language N   the web interface's texts of language N (1 if N has none)
  wait SECONDS           let the worker threads run (device seconds)
  quit                   stop reading commands
  serve                  serve the settings page and its JSON API over HTTP on --listen until
                         interrupted (see docs/web.md); the only command of its run
Each command prints one result line: "ok", the values, or "error: " and the reason
("ids" prints one line per id, "ui" the whole text). Exit status: 0 all commands succeeded, 1 a command
failed, 2 bad arguments.

On a host without the camera's PWM/ADC devices and ISP driver, sensorctl uses simulated ones; --real-devices uses the OS devices.
--simulate runs the module simulator on a pseudo-terminal; module 80 (the on-chip ISP) has no
serial line and needs none: the simulated ISP driver, starting from its power-up values, stands
in for it, with or without --simulate. Without --root, --simulate works in a temporary
directory, which is removed at the end.

--driver CLASS builds that controller class itself instead of the module id's, with the module
record of the id it drives (or the class's sample record) and, with --simulate, its simulator.

Examples:
  sensorctl --simulate --time-scale 0.01 -- set saturation=60 -- get saturation
  sensorctl --module 80 --simulate --time-scale 0.01 -- light 80 -- wait 7 -- dnstate
  sensorctl --root /tmp/unit --simulate serve --listen 127.0.0.1:8080
  sensorctl --driver CMD8300SenseController --simulate --time-scale 0.01 -- set saturation=60 -- get saturation
  printf 'dump\ndnstate\n' | sensorctl --root /tmp/unit --device /dev/ttyUSB0)";

bool parseResolution(const std::string& text, int& width, int& height) {
    std::istringstream in(text);
    char x = 0;
    std::string rest;
    if (!(in >> width >> x >> height) || (x != 'x' && x != 'X') || (in >> rest))
        return false;
    return width > 0 && height > 0 && width <= 16384 && height <= 16384;
}

} // namespace

ParseResult parseOptions(int argc, char** argv, Options& options) {
    ParseResult result;
    // Everything after the first "--" is commands, one per "--"-separated group.
    int optionCount = argc;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--") {
            optionCount = i;
            break;
        }
    }

    CLI::App app("sensorctl: runs the camera module's controller as the camera's main "
                 "application does, and sends it commands.",
                 "sensorctl");
    app.footer(kFooter);
    std::string resolution = "1920x1080";
    std::vector<std::string> words;
    app.add_option("--root", options.root, "filesystem root (default: $KV_ROOT, else /)");
    app.add_option("--module", options.moduleId,
                   "module id (default: the module in ROOT/hd1/moduleConfig/moduleConfig.xml)")
        ->check(CLI::Range(0, 100000));
    app.add_option("--driver", options.driver,
                   "build the controller class CLASS directly instead of the module id's, and "
                   "run it as the manager would (" +
                       driverClassNames(", ") + ")")
        ->option_text("CLASS");
    app.add_option("--detail", options.detail,
                   "module detail text, overriding the configuration (\"name=value;...\")");
    app.add_option("--params", options.params,
                   "module parameter text, overriding the configuration");
    app.add_option("--device", options.device, "serial device, overriding the one in the detail");
    app.add_option("--video-system", options.videoSystem, "0 NTSC or 1 PAL (default 0)")
        ->check(CLI::Range(0, 1));
    app.add_option("--resolution", resolution, "video resolution WxH (default 1920x1080)");
    app.add_flag("--simulate", options.simulate,
                 "run the built-in simulator of the module on a pty and use it (module 80: "
                 "no pty, the simulated ISP driver)");
    app.add_option("--time-scale", options.timeScale,
                   "scale the platform clock (0.01: a 20 s restart takes 0.2 s)")
        ->check(CLI::Range(1e-6, 1000.0));
    app.add_flag("--verbose", options.verbose,
                 "show the frames on the wire and the library's console lines");
    app.add_flag("--real-devices", options.realDevices,
                 "use the OS's PWM/ADC devices instead of simulated ones");
    app.add_option("--listen", options.listen,
                   "serve: the address and port of the settings page (default 127.0.0.1:8080; "
                   "port 0 picks a free one)")
        ->option_text("ADDR:PORT");
    app.add_option("--password-file", options.passwordFile,
                   "serve: a file whose first line is the page's password (needed to listen "
                   "on an address other machines reach)")
        ->option_text("FILE");
    app.add_option("command", words, "one command (more after \"--\")");

    try {
        app.parse(optionCount, argv);
    } catch (const CLI::CallForHelp& e) {
        result.exitCode = app.exit(e);
        return result;
    } catch (const CLI::ParseError& e) {
        result.exitCode = 2;
        result.message = std::string("sensorctl: ") + e.what() + " (see --help)";
        return result;
    }
    if (!parseResolution(resolution, options.width, options.height)) {
        result.exitCode = 2;
        result.message = "sensorctl: --resolution must be WxH, e.g. 1920x1080";
        return result;
    }
    if (app.count("--driver") > 0 && findDriverClass(options.driver) == nullptr) {
        result.exitCode = 2;
        result.message = "sensorctl: no controller class \"" + options.driver +
                         "\" (known: " + driverClassNames(", ") + ")";
        return result;
    }
    if (app.count("--driver") > 0 && app.count("--module") > 0) {
        result.exitCode = 2;
        result.message = "sensorctl: --driver and --module exclude each other (the class decides "
                         "the module)";
        return result;
    }
    options.detailGiven = app.count("--detail") > 0;
    options.paramsGiven = app.count("--params") > 0;
    if (app.count("--root") > 0) {
        options.rootGiven = true;
    } else if (const char* env = std::getenv("KV_ROOT")) {
        options.root = env;
        options.rootGiven = options.root.size() > 0;
    }
    if (options.root.empty())
        options.root = "/";
    if (!words.empty())
        options.commands.push_back(words);
    std::vector<std::string> group;
    for (int i = optionCount + 1; i <= argc; ++i) {
        if (i == argc || std::string(argv[i]) == "--") {
            if (!group.empty())
                options.commands.push_back(group);
            group.clear();
        } else {
            group.emplace_back(argv[i]);
        }
    }
    bool serve = false;
    for (const std::vector<std::string>& command : options.commands)
        serve = serve || (!command.empty() && command.front() == "serve");
    if (serve && (options.commands.size() != 1 || options.commands.front().size() != 1)) {
        result.exitCode = 2;
        result.message = "sensorctl: serve is the only command of its run and takes no words "
                         "(its address is --listen)";
        return result;
    }
    if (!serve && (app.count("--listen") > 0 || app.count("--password-file") > 0)) {
        result.exitCode = 2;
        result.message = "sensorctl: --listen and --password-file belong to the serve command";
        return result;
    }
    std::string address;
    int port = 0;
    if (!parseListen(options.listen, address, port)) {
        result.exitCode = 2;
        result.message = "sensorctl: --listen is ADDR:PORT, e.g. 127.0.0.1:8080 or [::1]:8080";
        return result;
    }
    if (!isLoopback(address) && options.passwordFile.empty()) {
        result.exitCode = 2;
        result.message = "sensorctl: serving on " + address +
                         " lets other machines change the camera: give --password-file too";
        return result;
    }
    result.run = true;
    return result;
}

// sensorctl serve: the settings page over HTTP.
#pragma once

#include <string>

class Commands;
class Console;
class Session;
struct Options;

// Brings up the controller, then serves the settings page and its API on
// options.listen until SIGINT or SIGTERM. Prints "serving http://ADDR:PORT/"
// once it listens (port 0 picks a free one). Returns the exit status: 0 after
// a signal, 1 when the controller, the UI files or the socket fail, 2 when
// the password file has no password. (parseOptions has made sure that an
// address other machines reach comes with a password file.)
int serveWeb(Session& session, Console& console, Commands& commands, const Options& options);

// "ADDR:PORT" or "[V6ADDR]:PORT" into its parts; false when malformed.
bool parseListen(const std::string& text, std::string& address, int& port);
// True for an address only this machine reaches (127.0.0.0/8, ::1, localhost).
bool isLoopback(const std::string& address);

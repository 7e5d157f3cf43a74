// sensorctl: runs one camera-module controller on a host and sends it commands.
#include "tools/Commands.h"
#include "tools/Console.h"
#include "tools/Options.h"
#include "tools/Session.h"
#include "tools/WebServer.h"

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Words of one input line; empty for blank lines and "#" comments.
std::vector<std::string> splitLine(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream in(line);
    std::string word;
    while (in >> word) {
        if (words.empty() && word[0] == '#')
            break;
        words.push_back(word);
    }
    return words;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    const ParseResult parsed = parseOptions(argc, argv, options);
    if (!parsed.run) {
        if (!parsed.message.empty())
            std::fprintf(stderr, "%s\n", parsed.message.c_str());
        return parsed.exitCode;
    }

    Console console(options.verbose);
    Session session(options);
    std::string error;
    if (!session.prepare(error)) {
        console.result("error: " + error);
        return 1;
    }
    Commands commands(session, console, options.verbose);
    if (options.commands.size() == 1 && options.commands.front().front() == "serve")
        return serveWeb(session, console, commands, options);
    bool failed = false;
    if (!options.commands.empty()) {
        for (const std::vector<std::string>& words : options.commands) {
            failed = !commands.run(words) || failed;
            if (commands.quitRequested())
                break;
        }
    } else {
        std::string line;
        while (!commands.quitRequested() && std::getline(std::cin, line)) {
            const std::vector<std::string> words = splitLine(line);
            if (!words.empty())
                failed = !commands.run(words) || failed;
        }
    }
    return failed ? 1 : 0;
}

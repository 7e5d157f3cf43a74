// sensorctl serve: the settings page over HTTP.
#include "tools/WebServer.h"

#include "tools/Commands.h"
#include "tools/Console.h"
#include "tools/Options.h"
#include "tools/ParameterNames.h"
#include "tools/Session.h"
#include "tools/WebApi.h"
#include "tools/WebBackend.h"

#ifdef KV_WEB_SERVER
#include <httplib.h>
#endif

#include <atomic>
#include <cctype>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

bool parseListen(const std::string& text, std::string& address, int& port) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0 || !parseInt(text.substr(colon + 1), port) ||
        port < 0 || port > 65535)
        return false;
    address = text.substr(0, colon);
    if (address.front() == '[') {
        if (address.size() < 3 || address.back() != ']')
            return false;
        address = address.substr(1, address.size() - 2);
    } else if (address.find(':') != std::string::npos) {
        return false; // a v6 address goes in brackets
    }
    return true;
}

bool isLoopback(const std::string& address) {
    return address == "localhost" || address == "::1" || address.compare(0, 4, "127.") == 0;
}

#ifdef KV_WEB_SERVER

namespace {

volatile std::sig_atomic_t g_stopRequested = 0;

void requestStop(int) {
    g_stopRequested = 1;
}

// The first line of the password file; false when it cannot be read or is empty.
bool readPassword(const std::string& path, std::string& password) {
    std::ifstream in(path);
    if (!in || !std::getline(in, password))
        return false;
    while (!password.empty() && (password.back() == '\r' || password.back() == '\n'))
        password.pop_back();
    return !password.empty();
}

// Why the HTTP layer refused a request, for its JSON answer.
std::string httpRefusal(int status) {
    switch (status) {
    case 400:
        return "malformed HTTP request";
    case 404:
        return "no such request";
    case 408:
        return "the request came too slowly";
    case 413:
        return "request body too large";
    case 414:
        return "request line too long";
    default:
        return "request refused (HTTP " + std::to_string(status) + ")";
    }
}

} // namespace

int serveWeb(Session& session, Console& console, Commands& commands, const Options& options) {
    // The options were checked: a loopback address, or a password file.
    std::string address;
    int port = 0;
    parseListen(options.listen, address, port);
    WebApi::Settings settings;
    settings.loopback = isLoopback(address);
    settings.frames = options.verbose;
    if (!options.passwordFile.empty() && !readPassword(options.passwordFile, settings.password)) {
        console.result("error: cannot read a password from the first line of " +
                       options.passwordFile);
        return 2;
    }
    std::string line;
    if (!commands.evaluate({"init"}, line)) {
        console.result(line);
        return 1;
    }
    WebBackend backend(session, console, commands);
    std::string error;
    if (!backend.load(error)) {
        console.result("error: " + error);
        return 1;
    }

    httplib::Server server;
    // A few workers: requests reach the controller one at a time anyway.
    server.new_task_queue = [] { return new httplib::ThreadPool(4); };
    server.set_payload_max_length(settings.maxBody);
    server.set_read_timeout(5, 0);
    server.set_write_timeout(5, 0);
    server.set_keep_alive_timeout(5);
    server.set_keep_alive_max_count(100);
    if (port == 0) {
        port = server.bind_to_any_port(address);
        if (port < 0)
            port = 0;
    } else if (!server.bind_to_port(address, port)) {
        port = 0;
    }
    if (port == 0) {
        console.result("error: cannot listen on " + options.listen);
        return 1;
    }
    settings.port = port;
    WebApi api(backend, settings);

    const auto handler = [&api](const httplib::Request& request, httplib::Response& response) {
        WebRequest in;
        in.method = request.method;
        in.path = request.path;
        for (const auto& param : request.params)
            in.query.emplace(param.first, param.second); // the first of a repeated name
        for (const auto& header : request.headers) {
            std::string name = header.first;
            for (char& c : name)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            in.headers.emplace(name, header.second);
        }
        in.body = request.body;
        in.client = request.remote_addr;
        const WebResponse out = api.handle(in);
        response.status = out.status;
        for (const auto& header : out.headers)
            response.set_header(header.first, header.second);
        response.set_content(out.body, out.type);
    };
    server.Get(".*", handler);
    server.Post(".*", handler);
    server.Put(".*", handler);
    server.Delete(".*", handler);
    server.Patch(".*", handler);
    // Refusals made by the HTTP layer itself (over-long body, bad request line)
    // answer in JSON as well.
    server.set_error_handler([](const httplib::Request&, httplib::Response& response) {
        if (!response.body.empty())
            return;
        const WebResponse out = WebApi::failure(response.status, httpRefusal(response.status));
        response.set_content(out.body, out.type);
    });
    server.set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, std::exception_ptr) {
            const WebResponse out = WebApi::failure(500, "internal error");
            response.status = 500;
            response.set_content(out.body, out.type);
        });

    g_stopRequested = 0;
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    std::atomic<bool> done{false};
    std::thread watcher([&server, &done]() {
        while (!done && g_stopRequested == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        server.stop();
    });
    const std::string host = address.find(':') != std::string::npos ? "[" + address + "]" : address;
    console.result("serving http://" + host + ":" + std::to_string(port) + "/");
    const bool listened = server.listen_after_bind();
    done = true;
    watcher.join();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    if (!listened && g_stopRequested == 0) {
        console.result("error: the server stopped listening on " + options.listen);
        return 1;
    }
    return 0;
}

#else

int serveWeb(Session&, Console& console, Commands&, const Options&) {
    console.result("error: this sensorctl was built without the web server (cpp-httplib)");
    return 1;
}

#endif

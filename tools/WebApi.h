// The settings page's HTTP requests, answered apart from any HTTP library.
#pragma once

#include "tools/WebPage.h"

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// One request as the server received it.
struct WebRequest {
    std::string method; // "GET", "POST", ...
    std::string path;   // "/api/values"
    std::map<std::string, std::string> query;
    std::map<std::string, std::string> headers; // names in lower case
    std::string body;
    std::string client; // the peer's address
};

struct WebResponse {
    int status = 200;
    std::string type = "application/json";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
};

// What the page reads and changes: the unit's UI texts and the controller.
// sensorctl's session is one (WebBackend); the tests use a stand-in.
class WebSource {
public:
    struct Texts {
        std::string style, language, common, init;
    };
    struct Language {
        int id;
        std::string name;
    };
    struct Status {
        std::map<std::string, std::string> dayNight; // mode, state, source, why, ...
        int scheme = -1;
        int schemeMode = -1;
    };

    virtual ~WebSource() = default;
    virtual std::vector<Language> languages() = 0;
    // The texts of language `id` (falling back to language 1 as the library does).
    virtual Texts texts(int id) = 0;
    virtual WebPage::OfferedIds offeredIds() = 0;
    // Starts a request that may talk to the module (its frames are kept from here).
    virtual void begin() {}
    virtual bool read(const std::vector<int>& ids, std::map<int, int>& values,
                      std::string& error) = 0;
    virtual bool change(const std::vector<std::pair<int, int>>& values, std::string& error) = 0;
    virtual bool flush(std::string& error) = 0;
    virtual bool reset(std::string& error) = 0;
    virtual bool status(Status& status, std::string& error) = 0;
    // The module's frames of the last request that had any (--verbose).
    virtual std::vector<std::string> frames() { return {}; }
    // The simulated module, when there is one offering these.
    virtual bool hasSimulator() const { return false; }
    virtual bool simulatorRegister(const std::vector<unsigned char>& key, std::string& data) {
        (void)key;
        (void)data;
        return false;
    }
    // The simulated module refuses the next `frames` commands (0: no more).
    virtual bool simulatorRefuse(int frames) {
        (void)frames;
        return false;
    }
};

// Everything between the socket and the controller: the page's files, the
// JSON API, and the rules that keep a browser elsewhere from changing the
// camera: the Host header must name the loopback address the server is
// bound to (unless it listens elsewhere, with a password), a password when
// one is set (HTTP basic authentication), a per-page session token on every
// changing request, ids and values checked against the page model, bounded
// request sizes and request rates. Every answer of the API is JSON; a
// failure is {"ok":false,"error":"..."}. One request at a time reaches the
// source.
class WebApi {
public:
    struct Settings {
        bool loopback = true; // the Host header must name the loopback
        int port = 8080;
        std::string password; // "" none
        bool frames = false;  // /api/frames offered (--verbose)
        size_t maxBody = 16 * 1024;
        size_t maxIds = 256;
        double requestsPerSecond = 50;
        double burst = 100;
        size_t tokens = 16; // session tokens kept (pages open at once)
    };

    WebApi(WebSource& source, const Settings& settings);

    WebResponse handle(const WebRequest& request);

    // Answer of a failed request, for the server's own refusals too.
    static WebResponse failure(int status, const std::string& error);

private:
    using Clock = std::chrono::steady_clock;

    WebResponse route(const WebRequest& request);
    bool hostAllowed(const WebRequest& request) const;
    bool passwordAllowed(const WebRequest& request) const;
    bool rateAllowed(const std::string& client);
    bool tokenValid(const WebRequest& request) const;
    std::string newToken();
    // The page model of language `language` (built on first use).
    const WebPage* page(int language, std::string& error);

    WebResponse getPage(const WebRequest& request);
    WebResponse getValues(const WebRequest& request);
    WebResponse postValues(const WebRequest& request);
    WebResponse postAction(const std::string& action);
    WebResponse getStatus();
    WebResponse getSimulatorRegister(const WebRequest& request);
    WebResponse postSimulatorRefuse(const WebRequest& request);

    struct Bucket {
        double level = 0;
        Clock::time_point last;
    };

    WebSource& m_source;
    Settings m_settings;
    std::mutex m_mutex;
    std::map<int, std::unique_ptr<WebPage>> m_mapPages;
    std::unique_ptr<WebPage::OfferedIds> m_pOffered;
    std::deque<std::string> m_dqTokens;
    std::map<std::string, Bucket> m_mapBuckets;
};

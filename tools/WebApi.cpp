// The settings page's HTTP requests, answered apart from any HTTP library.
#include "tools/WebApi.h"

#include "platform/SensorParameterParser.h"
#include "tools/ParameterNames.h"
#include "tools/WebAssets.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <random>
#include <set>

using nlohmann::json;

namespace {

constexpr size_t kMaxClients = 1024; // rate buckets kept before the oldest go

json controlJson(const WebPage::Control& control) {
    static const char* const kKinds[] = {"slider", "list", "switch", "button"};
    json out = {{"kind", kKinds[static_cast<int>(control.kind)]},
                {"id", control.id},
                {"label", control.label},
                {"labelKey", control.labelKey}};
    switch (control.kind) {
    case WebPage::Kind::Slider:
        out["min"] = control.min;
        out["max"] = control.max;
        out["step"] = control.step;
        out["unit"] = control.unit;
        break;
    case WebPage::Kind::List:
        out["options"] = json::array();
        for (const WebPage::Option& option : control.options)
            out["options"].push_back({{"value", option.value}, {"label", option.label}});
        break;
    case WebPage::Kind::Switch:
        out["on"] = control.on;
        out["off"] = control.off;
        break;
    case WebPage::Kind::Button:
        out["value"] = control.value;
        break;
    }
    if (control.whenId >= 0)
        out["when"] = {{"id", control.whenId}, {"values", control.whenValues}};
    return out;
}

WebResponse answer(int status, const json& body) {
    WebResponse response;
    response.status = status;
    // Labels come from files: a byte that is not UTF-8 is replaced, not thrown over.
    response.body = body.dump(-1, ' ', false, json::error_handler_t::replace);
    return response;
}

json valuesJson(const std::map<int, int>& values) {
    json out = json::object();
    for (const auto& entry : values)
        out[std::to_string(entry.first)] = entry.second;
    return out;
}

bool decodeBase64(const std::string& text, std::string& out) {
    static const std::string kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    unsigned bits = 0;
    int count = 0;
    size_t padding = 0;
    for (char c : text) {
        if (c == '=') {
            ++padding;
            continue;
        }
        const size_t value = kAlphabet.find(c);
        if (value == std::string::npos || padding > 0)
            return false;
        bits = (bits << 6) | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return padding <= 2;
}

// Equal strings, in a time that does not tell how much of them matched.
bool sameSecret(const std::string& a, const std::string& b) {
    unsigned char diff = a.size() == b.size() ? 0 : 1;
    for (size_t i = 0; i < a.size(); ++i)
        diff |= static_cast<unsigned char>(a[i] ^ b[i % (b.empty() ? 1 : b.size())]);
    return diff == 0 && !b.empty();
}

// A JSON number that is a whole int.
bool intValue(const json& value, int& out) {
    if (value.is_number_unsigned()) {
        if (value.get<unsigned long long>() > static_cast<unsigned long long>(INT_MAX))
            return false;
    } else if (!value.is_number_integer() || value.get<long long>() < INT_MIN ||
               value.get<long long>() > INT_MAX) {
        return false;
    }
    out = static_cast<int>(value.get<long long>());
    return true;
}

std::string header(const WebRequest& request, const char* name) {
    auto it = request.headers.find(name);
    return it != request.headers.end() ? it->second : "";
}

} // namespace

WebApi::WebApi(WebSource& source, const Settings& settings)
    : m_source(source), m_settings(settings) {}

WebResponse WebApi::failure(int status, const std::string& error) {
    return answer(status, {{"ok", false}, {"error", error}});
}

WebResponse WebApi::handle(const WebRequest& request) {
    std::lock_guard<std::mutex> lock(m_mutex);
    WebResponse response;
    // The rate first, so that password guesses are bounded too.
    if (!rateAllowed(request.client)) {
        response = failure(429, "too many requests; try again in a moment");
    } else if (request.body.size() > m_settings.maxBody) {
        response =
            failure(413, "request body over " + std::to_string(m_settings.maxBody) + " bytes");
    } else if (!hostAllowed(request)) {
        response = failure(403, "the Host header does not name this server's loopback address");
    } else if (!passwordAllowed(request)) {
        response = failure(401, "password required");
        response.headers.emplace_back("WWW-Authenticate",
                                      "Basic realm=\"camera settings\", charset=\"UTF-8\"");
    } else {
        response = route(request);
    }
    response.headers.emplace_back("Cache-Control", "no-store");
    response.headers.emplace_back("X-Content-Type-Options", "nosniff");
    response.headers.emplace_back("X-Frame-Options", "DENY");
    response.headers.emplace_back("Referrer-Policy", "no-referrer");
    response.headers.emplace_back("Content-Security-Policy",
                                  "default-src 'self'; frame-ancestors 'none'");
    return response;
}

WebResponse WebApi::route(const WebRequest& request) {
    const std::string& path = request.path;
    const bool get = request.method == "GET" || request.method == "HEAD";
    const bool post = request.method == "POST";
    if (path.compare(0, 5, "/api/") != 0) {
        WebResponse response;
        if (!get)
            return failure(405, "the page's files are read with GET");
        const std::string name = path.size() <= 1 ? "index.html" : path.substr(1);
        if (!webAsset(name, response.body, response.type))
            return failure(404, "no such file: " + path);
        return response;
    }
    if (post) {
        // A form or script of another site cannot set this header, nor read
        // a token to put in it.
        if (header(request, "content-type").compare(0, 16, "application/json") != 0)
            return failure(415, "a changing request sends application/json");
        if (!tokenValid(request))
            return failure(403, "missing or stale session token");
    }
    if (get && path == "/api/page")
        return getPage(request);
    if (get && path == "/api/values")
        return getValues(request);
    if (post && path == "/api/values")
        return postValues(request);
    if (post && (path == "/api/flush" || path == "/api/reset"))
        return postAction(path.substr(5));
    if (get && path == "/api/status")
        return getStatus();
    if (get && path == "/api/frames" && m_settings.frames)
        return answer(200, {{"ok", true}, {"frames", m_source.frames()}});
    if (get && path == "/api/simulator/register" && m_source.hasSimulator())
        return getSimulatorRegister(request);
    if (post && path == "/api/simulator/refuse" && m_source.hasSimulator())
        return postSimulatorRefuse(request);
    return failure(404, "no such request: " + request.method + " " + path);
}

bool WebApi::hostAllowed(const WebRequest& request) const {
    if (!m_settings.loopback)
        return true;
    // A page of another site reaching this one through a name that resolves
    // to the loopback (DNS rebinding) names that site in its Host header.
    const std::string host = header(request, "host");
    const std::string port = ":" + std::to_string(m_settings.port);
    for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (host == name + port || (m_settings.port == 80 && host == name))
            return true;
    }
    return false;
}

bool WebApi::passwordAllowed(const WebRequest& request) const {
    if (m_settings.password.empty())
        return true;
    const std::string value = header(request, "authorization");
    std::string credentials;
    if (value.compare(0, 6, "Basic ") != 0 || !decodeBase64(value.substr(6), credentials))
        return false;
    const size_t colon = credentials.find(':');
    return colon != std::string::npos &&
           sameSecret(credentials.substr(colon + 1), m_settings.password);
}

bool WebApi::rateAllowed(const std::string& client) {
    const Clock::time_point now = Clock::now();
    auto it = m_mapBuckets.find(client);
    if (it == m_mapBuckets.end()) {
        if (m_mapBuckets.size() >= kMaxClients)
            m_mapBuckets.clear();
        it = m_mapBuckets.emplace(client, Bucket{m_settings.burst, now}).first;
    }
    Bucket& bucket = it->second;
    const double seconds = std::chrono::duration<double>(now - bucket.last).count();
    bucket.level =
        std::min(m_settings.burst, bucket.level + seconds * m_settings.requestsPerSecond);
    bucket.last = now;
    if (bucket.level < 1)
        return false;
    bucket.level -= 1;
    return true;
}

bool WebApi::tokenValid(const WebRequest& request) const {
    const std::string token = header(request, "x-session-token");
    return !token.empty() && std::any_of(m_dqTokens.begin(), m_dqTokens.end(),
                                         [&](const std::string& t) { return t == token; });
}

std::string WebApi::newToken() {
    std::random_device random;
    std::string token;
    char part[9];
    for (int i = 0; i < 4; ++i) {
        std::snprintf(part, sizeof part, "%08x", static_cast<unsigned>(random()));
        token += part;
    }
    m_dqTokens.push_back(token);
    while (m_dqTokens.size() > m_settings.tokens)
        m_dqTokens.pop_front();
    return token;
}

const WebPage* WebApi::page(int language, std::string& error) {
    auto it = m_mapPages.find(language);
    if (it != m_mapPages.end())
        return it->second.get();
    if (!m_pOffered)
        m_pOffered = std::make_unique<WebPage::OfferedIds>(m_source.offeredIds());
    const WebSource::Texts texts = m_source.texts(language);
    auto built = std::make_unique<WebPage>();
    if (!built->build(texts.style, texts.language, texts.common, texts.init, *m_pOffered, error))
        return nullptr;
    return m_mapPages.emplace(language, std::move(built)).first->second.get();
}

WebResponse WebApi::getPage(const WebRequest& request) {
    int language = 1;
    auto lang = request.query.find("lang");
    if (lang != request.query.end() && (!parseInt(lang->second, language) || language < 1))
        return failure(400, "lang is a language id (1, 2, ...)");
    std::string error;
    const WebPage* model = page(language, error);
    if (model == nullptr)
        return failure(500, "the unit's UI texts do not make a page: " + error);
    json languages = json::array();
    for (const WebSource::Language& entry : m_source.languages())
        languages.push_back({{"id", entry.id}, {"name", entry.name}});
    json tabs = json::array();
    for (const WebPage::Tab& tab : model->tabs()) {
        json controls = json::array();
        for (const WebPage::Control& control : tab.controls)
            controls.push_back(controlJson(control));
        tabs.push_back({{"key", tab.key},
                        {"name", tab.name},
                        {"label", tab.label},
                        {"labelKey", tab.labelKey},
                        {"controls", controls}});
    }
    json omitted = json::array();
    for (const WebPage::Omitted& entry : model->omitted())
        omitted.push_back({{"id", entry.id}, {"tab", entry.tab}, {"why", entry.why}});
    return answer(200, {{"ok", true},
                        {"token", newToken()},
                        {"language", language},
                        {"languages", languages},
                        {"texts", model->commonTexts()},
                        {"openTab", model->openTab()},
                        {"refreshSeconds", model->refreshSeconds()},
                        {"loadIds", model->loadIds()},
                        {"tabs", tabs},
                        {"missingLabels", model->missingLabels()},
                        {"omitted", omitted},
                        {"simulated", m_source.hasSimulator()},
                        {"frames", m_settings.frames}});
}

WebResponse WebApi::getValues(const WebRequest& request) {
    std::string error;
    const WebPage* model = page(1, error);
    if (model == nullptr)
        return failure(500, "the unit's UI texts do not make a page: " + error);
    std::vector<int> ids;
    auto query = request.query.find("ids");
    std::set<int> asked;
    if (query == request.query.end()) {
        ids = model->readableIds();
    } else if (SensorParameterParser::parseParameterIdList(query->second, asked) == 0 ||
               asked.empty() || asked.size() > m_settings.maxIds) {
        return failure(400, "ids is a list of up to " + std::to_string(m_settings.maxIds) +
                                " parameter ids: ids=1,2,3");
    } else {
        ids.assign(asked.begin(), asked.end());
    }
    for (int id : ids) {
        const WebPage::Control* control = model->find(id);
        if (control == nullptr || control->kind == WebPage::Kind::Button)
            return failure(400, "id " + std::to_string(id) + " is not a setting this page reads");
    }
    m_source.begin();
    std::map<int, int> values;
    if (!m_source.read(ids, values, error))
        return failure(422, error);
    return answer(200, {{"ok", true}, {"values", valuesJson(values)}});
}

WebResponse WebApi::postValues(const WebRequest& request) {
    std::string error;
    const WebPage* model = page(1, error);
    if (model == nullptr)
        return failure(500, "the unit's UI texts do not make a page: " + error);
    const json body = json::parse(request.body, nullptr, false);
    if (body.is_discarded() || !body.is_object() || !body.contains("values") ||
        !body["values"].is_object() || body["values"].empty() ||
        (body.contains("flush") && !body["flush"].is_boolean()))
        return failure(400, "the body is {\"values\":{\"ID\":VALUE,...},\"flush\":false}");
    if (body["values"].size() > m_settings.maxIds)
        return failure(400, "more than " + std::to_string(m_settings.maxIds) + " values");
    std::vector<std::pair<int, int>> changes;
    std::vector<int> reread;
    for (const auto& item : body["values"].items()) {
        int id = 0;
        int value = 0;
        if (!parseInt(item.key(), id) || !intValue(item.value(), value))
            return failure(400,
                           "\"" + item.key() + "\" is not a parameter id with an integer value");
        if (!model->check(id, value, error))
            return failure(400, error);
        changes.emplace_back(id, value);
        if (model->find(id)->kind != WebPage::Kind::Button)
            reread.push_back(id);
    }
    m_source.begin();
    bool changed = m_source.change(changes, error);
    if (changed && body.value("flush", false))
        changed = m_source.flush(error);
    std::map<int, int> values;
    std::string readError;
    if (!m_source.read(reread, values, readError) && changed) {
        changed = false;
        error = readError;
    }
    json out = {{"ok", changed}, {"values", valuesJson(values)}};
    if (!changed)
        out["error"] = error;
    return answer(changed ? 200 : 422, out);
}

WebResponse WebApi::postAction(const std::string& action) {
    m_source.begin();
    std::string error;
    const bool done = action == "flush" ? m_source.flush(error) : m_source.reset(error);
    if (!done)
        return failure(422, error);
    // The pages built so far stay: a factory reset changes values, not the style.
    return answer(200, {{"ok", true}});
}

WebResponse WebApi::getStatus() {
    m_source.begin();
    WebSource::Status status;
    std::string error;
    if (!m_source.status(status, error))
        return failure(422, error);
    return answer(200, {{"ok", true},
                        {"dayNight", status.dayNight},
                        {"scheme", status.scheme},
                        {"schemeMode", status.schemeMode}});
}

WebResponse WebApi::getSimulatorRegister(const WebRequest& request) {
    auto query = request.query.find("key");
    const std::string text = query != request.query.end() ? query->second : "";
    std::vector<unsigned char> key;
    for (size_t i = 0; i + 1 < text.size() && text.size() % 2 == 0 && text.size() <= 16; i += 2) {
        unsigned value = 0;
        char extra = 0;
        if (std::sscanf(text.substr(i, 2).c_str(), "%2x%c", &value, &extra) != 1)
            break;
        key.push_back(static_cast<unsigned char>(value));
    }
    if (key.empty() || key.size() * 2 != text.size())
        return failure(400, "key is the register's bytes in hex: key=04A1");
    std::string data;
    if (!m_source.simulatorRegister(key, data))
        return failure(404, "the simulated module has no register " + text);
    return answer(200, {{"ok", true}, {"key", text}, {"data", data}});
}

WebResponse WebApi::postSimulatorRefuse(const WebRequest& request) {
    const json body = json::parse(request.body, nullptr, false);
    int frames = 0;
    if (body.is_discarded() || !body.is_object() || !body.contains("frames") ||
        !intValue(body["frames"], frames) || frames < 0 || frames > 100)
        return failure(400, "the body is {\"frames\":N} with N 0..100 (0: take commands again)");
    if (!m_source.simulatorRefuse(frames))
        return failure(404, "the simulated module cannot refuse commands");
    return answer(200, {{"ok", true}});
}

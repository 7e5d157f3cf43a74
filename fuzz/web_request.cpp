// Fuzz target: requests to the settings page's API (query, headers and JSON body as a
// browser or anything else on the network may send them), against a stand-in controller.
#include "tools/WebApi.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

const char* const kStyle = R"(<sensorStyle version="1"><tab key="10" name="image" label="l">
    <slider id="1" label="a" min="0" max="100" step="5" />
    <list id="10" label="b"><option value="0" label="c" /><option value="4" label="d" /></list>
    <switch id="9" label="e" on="2" off="3" when="10=4" />
    <button id="28" label="f" value="1" /></tab></sensorStyle>)";

// Keeps what it is given; every change must already have passed the page's checks.
class Source : public WebSource {
public:
    std::vector<Language> languages() override { return {{1, "english"}, {2, "chinese"}}; }
    Texts texts(int) override { return {kStyle, "", "", ""}; }
    WebPage::OfferedIds offeredIds() override { return {{1, 9, 10}, {28}}; }
    bool read(const std::vector<int>& ids, std::map<int, int>& out, std::string&) override {
        for (int id : ids)
            out[id] = m_values[id];
        return true;
    }
    bool change(const std::vector<std::pair<int, int>>& list, std::string&) override {
        for (const auto& entry : list) {
            const bool ok = entry.first == 1    ? entry.second % 5 == 0 && entry.second <= 100
                            : entry.first == 10 ? entry.second == 0 || entry.second == 4
                            : entry.first == 9  ? entry.second == 2 || entry.second == 3
                                                : entry.first == 28 && entry.second == 1;
            if (!ok)
                std::abort(); // a value the page cannot produce got through
            m_values[entry.first] = entry.second;
        }
        return true;
    }
    bool flush(std::string&) override { return true; }
    bool reset(std::string&) override { return true; }
    bool status(Status&, std::string&) override { return true; }
    bool hasSimulator() const override { return true; }
    bool simulatorRegister(const std::vector<unsigned char>& key, std::string& data) override {
        data.assign(key.size() * 2, '0');
        return true;
    }
    bool simulatorRefuse(int) override { return true; }

private:
    std::map<int, int> m_values;
};

const char* const kPaths[] = {"/api/values",           "/api/page",  "/api/simulator/register",
                              "/api/simulator/refuse", "/api/flush", "/",
                              "/settings.js"};

} // namespace

// Input: a selector byte (path and method), then "query\nauthorization\nbody": the query
// is one name=value pair.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    Source source;
    WebApi::Settings settings;
    settings.port = 8080;
    settings.password = (data[0] & 0x80) != 0 ? "pw" : "";
    WebApi api(source, settings);
    const std::string token =
        api.handle({"GET", "/api/page", {}, {{"host", "127.0.0.1:8080"}}, "", "c"}).body;

    const std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const size_t first = rest.find('\n');
    const size_t second = first == std::string::npos ? first : rest.find('\n', first + 1);
    const std::string query = rest.substr(0, first);
    WebRequest request;
    request.path = kPaths[(data[0] & 0x0F) % (sizeof kPaths / sizeof kPaths[0])];
    request.method = (data[0] & 0x10) != 0 ? "POST" : "GET";
    const size_t eq = query.find('=');
    if (eq != std::string::npos)
        request.query[query.substr(0, eq)] = query.substr(eq + 1);
    request.headers["host"] = "127.0.0.1:8080";
    request.headers["content-type"] = "application/json";
    // The token the page was given, taken out of its answer.
    const size_t at = token.find("\"token\":\"");
    if (at != std::string::npos)
        request.headers["x-session-token"] = token.substr(at + 9, 32);
    if (first != std::string::npos)
        request.headers["authorization"] = rest.substr(first + 1, second - first - 1);
    if (second != std::string::npos)
        request.body = rest.substr(second + 1);
    request.client = "c";
    const WebResponse response = api.handle(request);
    if (response.status < 200 || response.status > 599 || response.body.empty())
        std::abort();
    return 0;
}

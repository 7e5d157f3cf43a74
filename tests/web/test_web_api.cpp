// The settings page's API: what reaches the controller, and what is refused before it.
#include "tools/WebApi.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

const char* const kStyle = R"(<sensorStyle version="1"><tab key="10" name="image" label="tab.image">
    <slider id="1" label="image.saturation" min="0" max="100" />
    <switch id="9" label="image.freeze" on="2" off="3" />
    <button id="28" label="focus.onePush" value="1" /></tab></sensorStyle>)";

// A controller that keeps values and can be told to refuse.
class FakeSource : public WebSource {
public:
    std::map<int, int> values{{1, 50}, {9, 3}};
    std::vector<std::pair<int, int>> changes;
    bool refuse = false;

    std::vector<Language> languages() override { return {{1, "english"}}; }
    Texts texts(int) override { return {kStyle, "", "", ""}; }
    WebPage::OfferedIds offeredIds() override { return {{1, 9}, {28}}; }
    bool read(const std::vector<int>& ids, std::map<int, int>& out, std::string&) override {
        for (int id : ids)
            out[id] = values[id];
        return true;
    }
    bool change(const std::vector<std::pair<int, int>>& list, std::string& error) override {
        changes.insert(changes.end(), list.begin(), list.end());
        if (refuse) {
            error = "setParameter (1,60) failed";
            return false;
        }
        for (const auto& entry : list)
            values[entry.first] = entry.second;
        return true;
    }
    bool flush(std::string&) override { return true; }
    bool reset(std::string&) override { return true; }
    bool status(Status&, std::string&) override { return true; }
};

struct Rig {
    FakeSource source;
    WebApi::Settings settings;
    std::unique_ptr<WebApi> api;

    explicit Rig(WebApi::Settings s = {}) : settings(s) {
        settings.port = 8080;
        api = std::make_unique<WebApi>(source, settings);
    }

    WebResponse request(const std::string& method, const std::string& path,
                        std::map<std::string, std::string> headers = {},
                        const std::string& body = "") {
        WebRequest r;
        r.method = method;
        const size_t q = path.find('?');
        r.path = path.substr(0, q);
        if (q != std::string::npos) {
            const std::string query = path.substr(q + 1);
            r.query[query.substr(0, query.find('='))] = query.substr(query.find('=') + 1);
        }
        headers.emplace("host", "127.0.0.1:8080");
        r.headers = headers;
        r.body = body;
        r.client = "127.0.0.1";
        return api->handle(r);
    }

    std::string token() { return json::parse(request("GET", "/api/page").body)["token"]; }

    WebResponse post(const std::string& body, const std::string& token) {
        return request("POST", "/api/values",
                       {{"content-type", "application/json"}, {"x-session-token", token}}, body);
    }
};

std::string errorOf(const WebResponse& response) {
    return json::parse(response.body).value("error", "");
}

TEST(WebApi, ChangingRequestsNeedAFreshSessionToken) {
    WebApi::Settings settings;
    settings.tokens = 2;
    Rig rig(settings);
    const std::string first = rig.token();
    const std::string body = R"({"values":{"1":60}})";
    EXPECT_EQ(rig.post(body, "").status, 403);
    EXPECT_EQ(rig.post(body, "0123456789abcdef0123456789abcdef").status, 403);
    EXPECT_EQ(errorOf(rig.post(body, "")), "missing or stale session token");
    EXPECT_EQ(rig.post(body, first).status, 200);
    // Two newer pages push the first token out.
    rig.token();
    const std::string third = rig.token();
    EXPECT_NE(third, first);
    EXPECT_EQ(rig.post(body, first).status, 403);
    EXPECT_EQ(rig.post(body, third).status, 200);
    // A form of another site cannot send JSON.
    EXPECT_EQ(rig.request("POST", "/api/values",
                          {{"content-type", "text/plain"}, {"x-session-token", third}}, body)
                  .status,
              415);
    EXPECT_EQ(rig.source.changes.size(), 2u);
}

TEST(WebApi, IdsAndValuesAreCheckedBeforeTheController) {
    Rig rig;
    const std::string token = rig.token();
    const struct {
        const char* body;
        const char* error;
    } refused[] = {
        {R"({"values":{"1":101}})", "value 101 out of range for slider 1 (0..100)"},
        {R"({"values":{"1":60,"9":1}})", "value 1 out of range for switch 9 (2 or 3)"},
        {R"({"values":{"5":1}})", "id 5 is not a setting of this page"},
        {R"({"values":{"1":"60"}})", "\"1\" is not a parameter id with an integer value"},
        {R"({"values":{"1":60.5}})", "\"1\" is not a parameter id with an integer value"},
        {R"({"values":{"1":4294967356}})", "\"1\" is not a parameter id with an integer value"},
        {R"({"values":{"x":1}})", "\"x\" is not a parameter id with an integer value"},
        {R"({"values":{}})", "the body is {\"values\":{\"ID\":VALUE,...},\"flush\":false}"},
        {R"({"values":{"1":1},"flush":1})",
         "the body is {\"values\":{\"ID\":VALUE,...},\"flush\":false}"},
        {R"({"values":{"1":1})", "the body is {\"values\":{\"ID\":VALUE,...},\"flush\":false}"},
        {R"([1,2])", "the body is {\"values\":{\"ID\":VALUE,...},\"flush\":false}"},
    };
    for (const auto& c : refused) {
        const WebResponse response = rig.post(c.body, token);
        EXPECT_EQ(response.status, 400) << c.body;
        EXPECT_EQ(errorOf(response), c.error) << c.body;
    }
    EXPECT_TRUE(rig.source.changes.empty());

    // A button sends its value and is not read back.
    const WebResponse pressed = rig.post(R"({"values":{"28":1,"1":60}})", token);
    EXPECT_EQ(pressed.status, 200);
    EXPECT_EQ(json::parse(pressed.body)["values"], json::parse(R"({"1":60})"));
    EXPECT_EQ(rig.request("GET", "/api/values?ids=28").status, 400);
    EXPECT_EQ(rig.request("GET", "/api/values?ids=1,,9").status, 400);
    EXPECT_EQ(json::parse(rig.request("GET", "/api/values").body)["values"],
              json::parse(R"({"1":60,"9":3})"));
}

TEST(WebApi, ARefusedChangeAnswersWithTheMessageAndTheKeptValue) {
    Rig rig;
    rig.source.refuse = true;
    const WebResponse response = rig.post(R"({"values":{"1":60}})", rig.token());
    EXPECT_EQ(response.status, 422);
    const json body = json::parse(response.body);
    EXPECT_EQ(body["ok"], false);
    EXPECT_EQ(body["error"], "setParameter (1,60) failed");
    EXPECT_EQ(body["values"], json::parse(R"({"1":50})"));
}

TEST(WebApi, SizeHostPasswordAndRateAreBounded) {
    WebApi::Settings settings;
    settings.maxBody = 64;
    settings.password = "s3cret";
    settings.burst = 4;
    settings.requestsPerSecond = 0.001;
    Rig rig(settings);
    // "user:s3cret", "user:wrong"
    const std::map<std::string, std::string> good{{"authorization", "Basic dXNlcjpzM2NyZXQ="}};
    EXPECT_EQ(rig.request("GET", "/api/status").status, 401);
    EXPECT_EQ(
        rig.request("GET", "/api/status", {{"authorization", "Basic dXNlcjp3cm9uZw=="}}).status,
        401);
    EXPECT_EQ(rig.request("GET", "/api/status", good).status, 200);
    EXPECT_EQ(rig.request("POST", "/api/values", good, std::string(65, ' ')).status, 413);
    // The burst of four is spent: the refused requests count too.
    EXPECT_EQ(rig.request("GET", "/api/status", good).status, 429);
}

TEST(WebApi, UnknownRequestsAndFilesAreRefusedInJson) {
    Rig rig;
    const struct {
        const char* method;
        const char* path;
        int status;
    } cases[] = {
        {"GET", "/api/nothing", 404},
        {"GET", "/api/frames", 404},
        {"GET", "/api/simulator/register?key=04A1", 404},
        {"GET", "/../etc/passwd", 404},
        {"DELETE", "/index.html", 405},
        {"GET", "/api/page?lang=x", 400},
        {"GET", "/api/page?lang=0", 400},
    };
    for (const auto& c : cases) {
        const WebResponse response = rig.request(c.method, c.path);
        EXPECT_EQ(response.status, c.status) << c.path;
        EXPECT_FALSE(errorOf(response).empty()) << c.path;
    }
    // A site whose name resolves to the loopback names itself in Host.
    EXPECT_EQ(rig.request("GET", "/api/page", {{"host", "camera.example:8080"}}).status, 403);
    EXPECT_EQ(rig.request("GET", "/api/page", {{"host", "localhost:8080"}}).status, 200);
    const WebResponse page = rig.request("GET", "/");
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.type, "text/html; charset=utf-8");
}

} // namespace

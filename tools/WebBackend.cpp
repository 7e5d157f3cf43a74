// The settings page's source in sensorctl: the unit's UI files and the session's controller.
#include "tools/WebBackend.h"

#include "platform/SensorLanguageConfigParser.h"
#include "platform/SensorParameterParser.h"
#include "tools/Console.h"
#include "tools/ParameterNames.h"
#include "tools/Session.h"

#include <algorithm>
#include <cstdio>

namespace {

// "mode=auto state=day why=\"a b\"" into its fields.
std::map<std::string, std::string> fields(const std::string& line) {
    std::map<std::string, std::string> out;
    size_t at = 0;
    while (at < line.size()) {
        const size_t eq = line.find('=', at);
        if (eq == std::string::npos)
            break;
        const std::string key = line.substr(at, eq - at);
        size_t end = 0;
        std::string value;
        if (eq + 1 < line.size() && line[eq + 1] == '"') {
            end = line.find('"', eq + 2);
            end = end == std::string::npos ? line.size() : end;
            value = line.substr(eq + 2, end - eq - 2);
            ++end;
        } else {
            end = std::min(line.find(' ', eq), line.size());
            value = line.substr(eq + 1, end - eq - 1);
        }
        out[key] = value;
        at = end + 1;
    }
    return out;
}

// The number after "name=" in a result line, or -1.
int numberOf(const std::string& line) {
    int value = -1;
    const size_t eq = line.find('=');
    return eq != std::string::npos && parseInt(line.substr(eq + 1), value) ? value : -1;
}

std::string withoutErrorPrefix(const std::string& line) {
    return line.compare(0, 7, "error: ") == 0 ? line.substr(7) : line;
}

} // namespace

WebBackend::WebBackend(Session& session, Console& console, Commands& commands)
    : m_session(session), m_console(console), m_commands(commands) {}

bool WebBackend::load(std::string& error) {
    if (m_file.init("", "") == 0) {
        error = "the unit's UI files did not load (module record, GUIConfig, Prefix and the "
                "sensorConfig folder under the root)";
        return false;
    }
    std::vector<SensorLanguageConfig> list;
    SensorLanguageConfigParser::parse(list);
    for (const SensorLanguageConfig& language : list) {
        std::string name;
        language.getFolderName(name);
        m_vecLanguages.push_back({language.getLanguageId(), name});
    }
    if (m_vecLanguages.empty())
        m_vecLanguages.push_back({1, "language 1"});
    return true;
}

std::vector<WebSource::Language> WebBackend::languages() {
    return m_vecLanguages;
}

WebSource::Texts WebBackend::texts(int id) {
    return {m_file.getUIStyleConfig(), m_file.getUILanguageConfig(id), m_file.getUICommonConfig(id),
            m_file.getUISensorConfig_V1()};
}

WebPage::OfferedIds WebBackend::offeredIds() {
    WebPage::OfferedIds offered;
    std::string text;
    std::map<int, int> values;
    if (m_session.isInitialised() && m_session.controller()->getAllParameters(text) != 0 &&
        SensorParameterParser::parseSensorParameter(text, values) != 0) {
        for (const auto& entry : values)
            offered.readable.insert(entry.first);
    }
    const ParameterNames names(m_session.module().getModuleId());
    for (const ParameterNames::Entry& entry : names.entries())
        if (entry.category == "set-only")
            offered.setOnly.insert(entry.id);
    return offered;
}

void WebBackend::begin() {
    collectFrames();
    m_console.mark();
}

void WebBackend::collectFrames() {
    std::vector<std::string> fresh = m_session.moduleFrames(m_nFramesSeen);
    if (!fresh.empty()) {
        m_nFramesSeen += fresh.size();
        m_vecLastFrames = std::move(fresh);
    }
}

std::string WebBackend::failure(const std::string& fallback) {
    const std::string line = m_console.lastLibraryLine();
    return line.empty() ? fallback : line;
}

bool WebBackend::read(const std::vector<int>& ids, std::map<int, int>& values, std::string& error) {
    if (ids.empty())
        return true;
    std::string list;
    for (int id : ids)
        list += (list.empty() ? "" : ",") + std::to_string(id);
    std::string text;
    if (!m_session.isInitialised() || m_session.controller()->getParameters(list, text) == 0 ||
        SensorParameterParser::parseSensorParameter(text, values) == 0) {
        error = failure("cannot read parameters " + list);
        return false;
    }
    return true;
}

bool WebBackend::change(const std::vector<std::pair<int, int>>& values, std::string& error) {
    std::string text;
    for (const auto& entry : values)
        text += "(" + std::to_string(entry.first) + "," + std::to_string(entry.second) + ")";
    if (!m_session.isInitialised() || m_session.controller()->setParameters(text) == 0) {
        error = failure("the controller refused " + text);
        return false;
    }
    return true;
}

bool WebBackend::command(const std::string& name, std::string& error) {
    std::string line;
    if (!m_commands.evaluate({name}, line)) {
        error = withoutErrorPrefix(line);
        return false;
    }
    return true;
}

bool WebBackend::flush(std::string& error) {
    return command("flush", error);
}

bool WebBackend::reset(std::string& error) {
    return command("reset", error);
}

bool WebBackend::status(Status& status, std::string& error) {
    std::string line;
    if (!m_commands.evaluate({"dnstate"}, line)) {
        error = withoutErrorPrefix(line);
        return false;
    }
    status.dayNight = fields(line);
    if (m_commands.evaluate({"scheme"}, line))
        status.scheme = numberOf(line);
    if (m_commands.evaluate({"scheme-mode"}, line))
        status.schemeMode = numberOf(line);
    return true;
}

std::vector<std::string> WebBackend::frames() {
    collectFrames();
    return m_vecLastFrames;
}

bool WebBackend::hasSimulator() const {
    return m_session.simulator() != nullptr;
}

bool WebBackend::simulatorRegister(const std::vector<unsigned char>& key, std::string& data) {
    const std::vector<uint8_t> value = m_session.simulator()->registerValue(key);
    if (value.empty())
        return false;
    char part[3];
    data.clear();
    for (uint8_t byte : value) {
        std::snprintf(part, sizeof part, "%02X", static_cast<unsigned>(byte));
        data += part;
    }
    return true;
}

bool WebBackend::simulatorRefuse(int frames) {
    // 90 60 41 FF: the command cannot be carried out now.
    m_session.simulator()->setCommandRefusal(frames);
    return true;
}

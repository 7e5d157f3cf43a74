// Rotating, time-stamped log file of the platform.
#include "platform/KVLogger.h"

#include "platform/KVRoot.h"
#include "platform/PlatformClock.h"

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>

namespace {

using Sink = spdlog::sinks::rotating_file_sink_mt;

constexpr unsigned kMaxCount = 1000;

// One writer per log file in the process, shared by every logger on it.
struct SharedSink {
    std::weak_ptr<Sink> sink;
    unsigned maxSize = 0;
};

struct SinkRegistry {
    std::mutex mutex;
    std::map<std::string, SharedSink> sinks;
};

SinkRegistry& registry() {
    static SinkRegistry r;
    return r;
}

// The writer of `file`, made on first use. Throws spdlog::spdlog_ex when the
// file cannot be opened. `maxSize` receives the limit the writer enforces.
std::shared_ptr<Sink> sinkFor(const std::string& file, unsigned& maxSize, unsigned count) {
    SinkRegistry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (auto it = r.sinks.begin(); it != r.sinks.end();) {
        if (it->second.sink.expired())
            it = r.sinks.erase(it);
        else
            ++it;
    }
    auto found = r.sinks.find(file);
    if (found != r.sinks.end()) {
        if (std::shared_ptr<Sink> s = found->second.sink.lock()) {
            maxSize = found->second.maxSize;
            return s;
        }
    }
    // The spdlog count is of the older files besides the current one.
    const std::size_t older = count > 1 ? count - 1 : 0;
    auto s = std::make_shared<Sink>(file, maxSize, older, false);
    // Entries are formatted here, stamped with the device clock.
    s->set_formatter(
        std::make_unique<spdlog::pattern_formatter>("%v", spdlog::pattern_time_type::local, "\n"));
    r.sinks[file] = SharedSink{s, maxSize};
    return s;
}

long long floorDiv(long long a, long long b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// "YYYY-MM-DD hh:mm:ss.mmm" of the device's local time. Computed on 64-bit
// integers so that 32-bit time_t targets print dates past 2038 correctly.
std::string timeStamp() {
    const long long ms = static_cast<long long>(std::floor(PlatformClock::nowSeconds() * 1000.0));
    const long long secs = floorDiv(ms, 1000);
    const long long days = floorDiv(secs, 86400);
    const long long sod = secs - days * 86400;
    // Civil date from days since 1970-01-01 (proleptic Gregorian).
    const long long z = days + 719468;
    const long long era = floorDiv(z, 146097);
    const long long doe = z - era * 146097;
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long long mp = (5 * doy + 2) / 153;
    const long long day = doy - (153 * mp + 2) / 5 + 1;
    const long long month = mp < 10 ? mp + 3 : mp - 9;
    const long long year = yoe + era * 400 + (month <= 2 ? 1 : 0);
    char buf[160]; // room for any 64-bit field values
    std::snprintf(buf, sizeof buf, "%04lld-%02lld-%02lld %02lld:%02lld:%02lld.%03lld", year, month,
                  day, sod / 3600, sod / 60 % 60, sod % 60, ms - secs * 1000);
    return buf;
}

// Keeps an entry on one line: trailing breaks go, inner ones become blanks.
std::string oneLine(const char* text) {
    std::string s = text != nullptr ? text : "";
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r'))
        s.pop_back();
    for (char& c : s) {
        if (c == '\n' || c == '\r')
            c = ' ';
    }
    return s;
}

} // namespace

struct KVLogger::Impl {
    std::shared_ptr<Sink> sink;
    std::shared_ptr<spdlog::logger> logger;
    unsigned maxSize = 0;
    bool failed = false; // set by the logger's error handler during one call
};

KVLogger::KVLogger() = default;

KVLogger::~KVLogger() = default;

int KVLogger::init(const char* path, unsigned maxSize, unsigned count) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_pImpl.reset();
    if (path == nullptr || path[0] == '\0' || maxSize == 0 || count > kMaxCount)
        return 0;
    const std::filesystem::path file(kvroot::resolve(path));
    if (!file.has_filename())
        return 0;
    std::error_code ec;
    if (file.has_parent_path()) {
        std::filesystem::create_directories(file.parent_path(), ec);
        if (ec)
            return 0;
    }
    auto impl = std::make_unique<Impl>();
    impl->maxSize = maxSize;
    try {
        impl->sink = sinkFor(file.string(), impl->maxSize, count);
        // Not registered with spdlog: the logger belongs to this object only.
        impl->logger = std::make_shared<spdlog::logger>(file.string(), impl->sink);
    } catch (const std::exception&) {
        return 0;
    }
    impl->logger->set_level(spdlog::level::trace);
    Impl* raw = impl.get();
    impl->logger->set_error_handler([raw](const std::string&) { raw->failed = true; });
    m_pImpl = std::move(impl);
    return 1;
}

int KVLogger::writeLog(const char* tag, const char* text) {
    std::string line = timeStamp() + " [" + oneLine(tag) + "] " + oneLine(text);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_pImpl)
        return 0;
    // The line and its line break stay within the size limit.
    if (line.size() >= m_pImpl->maxSize)
        line.resize(m_pImpl->maxSize - 1);
    m_pImpl->failed = false;
    m_pImpl->logger->log(spdlog::level::info, spdlog::string_view_t(line.data(), line.size()));
    m_pImpl->logger->flush();
    return m_pImpl->failed ? 0 : 1;
}

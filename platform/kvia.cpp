// Simulated image adapter behind the ISP driver calls.
#include "platform/kvia.h"

#include "platform/PlatformClock.h"

#include <map>
#include <mutex>
#include <utility>

namespace {

struct Adapter {
    std::mutex mutex;
    std::map<int, std::vector<int32_t>> values;
    std::map<int, int> failures;
    std::vector<KviaSimulator::Write> log;
    std::vector<KviaSimulator::Call> calls;
    double settleSeconds = KviaSimulator::kDefaultIrCutSettle;
    double settledAt = 0.0; // device monotonic time the filter rests from
    int preinitError = 0;
    int preinitCount = 0;
};

Adapter& adapter() {
    static Adapter a;
    return a;
}

// What the ISP's picture words hold after power-up, as the on-chip ISP
// controller reads them for a unit's first factory file: mid-scale
// strengths, automatic modes, day-to-night at 60 and night-to-day at 30 of
// the light measure, and a bright scene (20).
const std::pair<int, int32_t> kPowerUpValues[] = {
    {1, 50},   {2, 50},  {3, 50},   {4, 50},   {17, 0},   {18, 12},  {19, 6},   {33, 0},   {34, 60},
    {35, 0},   {50, 60}, {51, 30},  {65, 0},   {66, 50},  {67, 0},   {81, 0},   {82, 50},  {97, 0},
    {113, 0},  {114, 0}, {129, 0},  {130, 50}, {131, 50}, {132, 0},  {133, 50}, {134, 50}, {209, 0},
    {210, 50}, {225, 0}, {241, 20}, {273, 2},  {305, 0},  {306, 50}, {322, 0},
};

bool validCode(int code) {
    return code >= 0 && code <= KVIA_MAX_CODE;
}

} // namespace

int kvia_ioctrl(int code, int direction, void* value) {
    if (value == nullptr || (direction != KVIA_DIR_READ && direction != KVIA_DIR_WRITE))
        return KVIA_ERR_ARGUMENT;
    if (!validCode(code))
        return KVIA_ERR_CODE;
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    auto* words = static_cast<int32_t*>(value);
    const auto failure = a.failures.find(code);
    if (failure != a.failures.end()) {
        a.calls.push_back(
            {code, direction, direction == KVIA_DIR_WRITE ? words[0] : 0, failure->second});
        return failure->second;
    }
    const size_t count = static_cast<size_t>(KviaSimulator::wordCount(code));
    std::vector<int32_t>& stored = a.values[code];
    stored.resize(count, 0);
    const double now = PlatformClock::monotonicSeconds();
    if (direction == KVIA_DIR_WRITE) {
        stored.assign(words, words + count);
        a.log.push_back({code, stored[0], stored});
        if (code == KVIA_CODE_DAYNIGHT)
            a.settledAt = a.settleSeconds < 0.0 ? -1.0 : now + a.settleSeconds;
    } else if (code == KVIA_CODE_IRCUT_STATUS) {
        words[0] = a.settledAt < 0.0 || now < a.settledAt ? 1 : 0;
    } else {
        for (size_t i = 0; i < count; ++i)
            words[i] = stored[i];
    }
    a.calls.push_back({code, direction, words[0], KVIA_OK});
    return KVIA_OK;
}

int kvia_preinit() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    ++a.preinitCount;
    return a.preinitError;
}

void KviaSimulator::failCode(int code, int errcode) {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    if (errcode == 0)
        a.failures.erase(code);
    else
        a.failures[code] = errcode;
}

void KviaSimulator::clearFailures() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    a.failures.clear();
}

void KviaSimulator::failPreinit(int errcode) {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    a.preinitError = errcode;
}

int KviaSimulator::preinitCount() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    return a.preinitCount;
}

std::vector<KviaSimulator::Write> KviaSimulator::writeLog() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    return a.log;
}

std::vector<KviaSimulator::Call> KviaSimulator::callLog() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    return a.calls;
}

void KviaSimulator::clearWriteLog() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    a.log.clear();
    a.calls.clear();
}

void KviaSimulator::setLightMeasure(int32_t measure) {
    setValue(KVIA_CODE_LIGHT_MEASURE, measure);
}

void KviaSimulator::setIrCutSettleTime(double deviceSeconds) {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    a.settleSeconds = deviceSeconds;
}

void KviaSimulator::setValue(int code, int32_t value) {
    if (!validCode(code))
        return;
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    std::vector<int32_t>& stored = a.values[code];
    stored.assign(static_cast<size_t>(wordCount(code)), 0);
    stored[0] = value;
}

int32_t KviaSimulator::value(int code) {
    const std::vector<int32_t> w = words(code);
    return w.empty() ? 0 : w[0];
}

std::vector<int32_t> KviaSimulator::words(int code) {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    const auto it = a.values.find(code);
    if (it == a.values.end())
        return std::vector<int32_t>(static_cast<size_t>(wordCount(code)), 0);
    return it->second;
}

void KviaSimulator::reset() {
    Adapter& a = adapter();
    std::lock_guard<std::mutex> lock(a.mutex);
    a.values.clear();
    a.failures.clear();
    a.log.clear();
    a.calls.clear();
    a.settleSeconds = kDefaultIrCutSettle;
    a.settledAt = 0.0;
    a.preinitError = 0;
    a.preinitCount = 0;
}

void KviaSimulator::loadPowerUpValues() {
    for (const auto& value : kPowerUpValues)
        setValue(value.first, value.second);
}

int KviaSimulator::wordCount(int code) {
    return code == KVIA_CODE_GPIO_OUTPUT ? 3 : 1;
}

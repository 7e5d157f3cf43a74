// Filesystem root seam.
#include "platform/KVRoot.h"

#include <cstdlib>
#include <mutex>

namespace {

std::string normalise(std::string dir) {
    while (!dir.empty() && dir.back() == '/')
        dir.pop_back();
    return dir;
}

struct RootState {
    std::mutex mutex;
    std::string root;
    RootState() {
        const char* env = std::getenv("KV_ROOT");
        if (env != nullptr)
            root = normalise(env);
    }
};

RootState& state() {
    static RootState s;
    return s;
}

} // namespace

namespace kvroot {

std::string root() {
    std::lock_guard<std::mutex> lock(state().mutex);
    return state().root;
}

void setRoot(const std::string& dir) {
    std::lock_guard<std::mutex> lock(state().mutex);
    state().root = normalise(dir);
}

std::string resolve(const std::string& path) {
    if (path.empty() || path[0] != '/')
        return path;
    std::lock_guard<std::mutex> lock(state().mutex);
    if (state().root.empty())
        return path;
    // Already resolved (a caller handing a mapped path on) stays as it is.
    const std::string& r = state().root;
    if (path.compare(0, r.size(), r) == 0 && (path.size() == r.size() || path[r.size()] == '/'))
        return path;
    return r + path;
}

} // namespace kvroot

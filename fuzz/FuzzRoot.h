// Fuzz-target support: a private platform root for readers that take device paths.
#pragma once

#include "platform/KVRoot.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace kvfuzz {

// The process's fuzzing root: a temporary directory made the platform root on
// first use, removed at exit.
inline const std::string& root() {
    static const std::string dir = [] {
        char pattern[] = "/tmp/kvfuzz.XXXXXX";
        const char* made = mkdtemp(pattern);
        if (made == nullptr)
            std::abort();
        kvroot::setRoot(made);
        static struct Cleanup {
            std::string path;
            ~Cleanup() {
                std::error_code ignored;
                std::filesystem::remove_all(path, ignored);
            }
        } cleanup{made};
        return std::string(made);
    }();
    return dir;
}

// Writes the input as the file at `devicePath` under the fuzzing root.
inline void writeDeviceFile(const std::string& devicePath, const std::uint8_t* data,
                            std::size_t size) {
    const std::filesystem::path host = root() + devicePath;
    std::filesystem::create_directories(host.parent_path());
    std::FILE* file = std::fopen(host.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    if (size > 0 && std::fwrite(data, 1, size, file) != size)
        std::abort();
    std::fclose(file);
}

} // namespace kvfuzz

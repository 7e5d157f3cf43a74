// The settings page's own files (HTML, CSS, JavaScript), compiled into sensorctl.
#pragma once

#include <cstddef>
#include <string>

// One file of tools/web/, as the build embedded it.
struct WebAssetFile {
    const char* name; // "index.html"
    const unsigned char* data;
    size_t size;
};

// Generated at build time from tools/web/ (WebAssetFiles.cpp in the build tree).
extern const WebAssetFile kWebAssetFiles[];
extern const size_t kWebAssetFileCount;

// The file `name` and its content type; false when the page has no such file.
// With KV_WEB_ROOT set, the file of that name is read from that folder
// instead (working on the page without rebuilding); only the page's own
// file names are served either way.
bool webAsset(const std::string& name, std::string& body, std::string& type);

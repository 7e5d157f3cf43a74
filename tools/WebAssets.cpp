// The settings page's own files (HTML, CSS, JavaScript), compiled into sensorctl.
#include "tools/WebAssets.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

std::string contentType(const std::string& name) {
    const size_t dot = name.rfind('.');
    const std::string ext = dot == std::string::npos ? "" : name.substr(dot + 1);
    if (ext == "html")
        return "text/html; charset=utf-8";
    if (ext == "css")
        return "text/css; charset=utf-8";
    if (ext == "js")
        return "text/javascript; charset=utf-8";
    if (ext == "png")
        return "image/png";
    if (ext == "svg")
        return "image/svg+xml";
    return "application/octet-stream";
}

} // namespace

bool webAsset(const std::string& name, std::string& body, std::string& type) {
    for (size_t i = 0; i < kWebAssetFileCount; ++i) {
        const WebAssetFile& file = kWebAssetFiles[i];
        if (name != file.name)
            continue;
        type = contentType(name);
        const char* root = std::getenv("KV_WEB_ROOT");
        if (root != nullptr && *root != '\0') {
            std::ifstream in(std::string(root) + "/" + name, std::ios::binary);
            std::ostringstream text;
            text << in.rdbuf();
            if (!in)
                return false;
            body = text.str();
            return true;
        }
        body.assign(reinterpret_cast<const char*>(file.data), file.size);
        return true;
    }
    return false;
}

// Fuzz target: the UI style merge. The input is the style file, its variation file and the
// module's detail text, separated by NUL bytes. Whatever they hold, a merge succeeds or fails
// with the output untouched, a second merge gives the same result, and the files stay as written.
#include "FuzzRoot.h"

#include "config/MergedXml.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string hostFile(const std::string& devicePath) {
    std::ifstream in(kvfuzz::root() + devicePath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The next NUL-separated part of `input` from `at` on.
std::string nextPart(const std::string& input, std::size_t& at) {
    if (at > input.size())
        return std::string();
    const std::size_t end = input.find('\0', at);
    const std::string part = input.substr(at, end == std::string::npos ? end : end - at);
    at = end == std::string::npos ? input.size() + 1 : end + 1;
    return part;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    std::size_t at = 0;
    const std::string base = nextPart(input, at);
    const std::string modify = nextPart(input, at);
    const std::string detail = nextPart(input, at);
    const std::string basePath = "/ui/style/FStyle.xml";
    const std::string modifyPath = "/ui/styleDiversity/FStyleDiversity.xml";
    kvfuzz::writeDeviceFile(basePath, reinterpret_cast<const std::uint8_t*>(base.data()),
                            base.size());
    kvfuzz::writeDeviceFile(modifyPath, reinterpret_cast<const std::uint8_t*>(modify.data()),
                            modify.size());

    MergedXml xml;
    xml.setStyleOriginalPath(basePath);
    xml.setStyleModifyPath(modifyPath);
    std::string first = "untouched";
    const int result = xml.getStyleMergedString(detail, first);
    if (result == 0 && first != "untouched")
        std::abort(); // a failed merge hands out nothing
    std::string second = "untouched";
    if (xml.getStyleMergedString(detail, second) != result || second != first)
        std::abort(); // every merge starts from the files
    if (hostFile(basePath) != base || hostFile(modifyPath) != modify)
        std::abort(); // the files are only read
    return 0;
}

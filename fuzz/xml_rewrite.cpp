// Fuzz target: the configuration tool's modify-mode round trip. Whatever a file holds, a
// rewrite either leaves it byte for byte as it was or writes a document that reads back to
// the very values that were read.
#include "FuzzRoot.h"

#include "foundation/XmlConfigureTool.h"

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = "/cfg/doc.xml";
    kvfuzz::writeDeviceFile(path, data, size);
    const std::string original(reinterpret_cast<const char*>(data), size);

    XmlConfigureTool tool;
    if (tool.open(path, 1, XmlConfigureTool::ModeModify) == 0) {
        if (hostFile(path) != original)
            std::abort(); // a refused document is never touched
        return 0;
    }
    std::string before;
    if (tool.getDocumentText(before) == 0)
        std::abort();
    if (tool.close() == 0) {
        if (hostFile(path) != original)
            std::abort(); // a rewrite that was not made leaves the file
        return 0;
    }
    XmlConfigureTool again;
    std::string after;
    if (again.open(path, 1, XmlConfigureTool::ModeRead) == 0 || again.getDocumentText(after) == 0 ||
        after != before)
        std::abort(); // read, rewrite, read again: the same values
    return 0;
}

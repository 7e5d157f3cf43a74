// Fuzz target: the module configuration and UI language list files, through their readers.
#include "platform/ModuleConfigureParser.h"
#include "platform/SensorLanguageConfigParser.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<ModuleConfigure> modules{ModuleConfigure(7, "kept", "kept")};
    if (ModuleConfigureParser::parseText(text, modules) == 0 &&
        (modules.size() != 1 || modules[0].getModuleId() != 7))
        std::abort(); // a refused file must leave the list as it was
    std::vector<SensorLanguageConfig> languages{SensorLanguageConfig(9, "kept")};
    if (SensorLanguageConfigParser::parseText(text, languages) == 0 &&
        (languages.size() != 1 || languages[0].getLanguageId() != 9))
        std::abort();
    return 0;
}

// Fuzz target: the module record's detail and parameter texts ("name=value;...") and the
// values the drivers read from them.
#include "platform/ModuleParameterParser.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    ModuleParameterParser parser;
    if (parser.parse(text) == 0)
        return 0;
    std::string value;
    int number = 0;
    for (const char* key :
         {"RS485", "isInfrared", "isNewInfrared", "generation", "DCDay", "DCNight", "toDayADCVal",
          "toNightADCVal", "toDayDelay", "ParamSchemeNum"}) {
        parser.getValue(key, value);
        parser.getValue(key, number);
    }
    return 0;
}

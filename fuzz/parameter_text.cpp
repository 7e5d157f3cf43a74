// Fuzz target: parameter texts ("(id,value)" items) and id lists, as the host and the files
// hand them to the parser.
#include "platform/SensorParameterParser.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    std::map<int, int> values;
    if (SensorParameterParser::parseSensorParameter(text, values) != 0) {
        // Whatever parsed must come back unchanged through the writer.
        std::map<int, int> again;
        if (SensorParameterParser::parseSensorParameter(
                SensorParameterParser::createSensorParameterString(values), again) == 0 ||
            again != values)
            std::abort();
    }
    std::set<int> ids;
    SensorParameterParser::parseParameterIdList(text, ids);
    return 0;
}

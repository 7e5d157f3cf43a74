// Fuzz target: the zoom magnification table file and the magnification it gives.
#include "platform/CameraLensZMAAlgorithm.h"
#include "platform/ZMAParamFileToArray.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    ZMAParamFileToArray reader;
    ZMAParam param;
    if (reader.parse(text, param) == 0)
        return 0;
    CameraLensZMAAlgorithm algorithm;
    algorithm.setZMAParam(param);
    int magnification = 0;
    for (int position : {0, 1, 16384, 24576, 31424, 65535, -1, 1 << 30})
        algorithm.calcMagnify(position, magnification);
    return 0;
}

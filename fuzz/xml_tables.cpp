// Fuzz target: the ISP tuning file and the IR power file, through their readers.
#include "FuzzRoot.h"

#include "config/IRPowerDefaultConfig.h"
#include "config/ISPParamParse.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::writeDeviceFile(ISPParamParse::FilePath, data, size);
    ISPParamParse isp;
    if (isp.parse() != 0) {
        ISPParam param;
        isp.getISPParam(param);
        int value = 0;
        param.getParam("day", "EE", 10, value);
    }
    const std::string irPath = "/hd1/program/config/IRPowerConfigure.xml";
    kvfuzz::writeDeviceFile(irPath, data, size);
    IRPowerDefaultConfig ir;
    IRPowerParamV2 table;
    ir.load(1, irPath, table);
    int version = 0;
    ir.getVersion(1, irPath, version);
    return 0;
}

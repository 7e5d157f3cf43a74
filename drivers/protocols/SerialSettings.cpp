// The module parameters' serial line settings.
#include "drivers/protocols/SerialSettings.h"

#include "controller/ISensorController.h"
#include "platform/ConfigFileText.h"

#include <cstdio>

bool parseSerialSettings(ISensorController& log, const std::string& text, int fields[4]) {
    const int count =
        std::sscanf(text.c_str(), "%d,%d,%d,%d", &fields[0], &fields[1], &fields[2], &fields[3]);
    if (count < 4) {
        log.ErrorPrintf("parse RS485 param failed,nRet=%d", count);
        return false;
    }
    // Taken only as exactly four numbers: "9600,8,0,1xyz" is refused.
    if (!kvconfig::parseDecimalIntList(text, fields, 4)) {
        log.ErrorPrintf("parse RS485 param failed: (%s) is not \"%%d,%%d,%%d,%%d\"", text.c_str());
        return false;
    }
    return true;
}

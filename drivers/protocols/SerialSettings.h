// The module parameters' serial line settings, as every serial module driver reads them.
#pragma once

#include "foundation/SafePointer.h"
#include "platform/IUARTController.h"

#include <string>

class ISensorController;

// The "RS485" settings text "baud,data bits,parity,stop bits": exactly four
// decimal numbers into fields. Otherwise logs the refusal through `log`
// ("parse RS485 param failed,nRet=%d" when fewer than four numbers come) and
// returns false.
bool parseSerialSettings(ISensorController& log, const std::string& text, int fields[4]);

class ModuleConfigure;
class ModuleParameterParser;

// What a serial module's record says about its line: the detail's
// "RS232DeviceName" and "isInfrared", the parameters' "RS485" settings.
struct SerialRecord {
    std::string device;
    int isInfrared = 0;
    int baud = 9600;
    int dataBits = 8;
    int parity = 0;
    int stopBits = 1;
};

// Reads the record, logging the step that fails ("parse detail failed",
// "get RS232DeviceName from detail failed", "get isInfrared from detail
// failed" when `needInfrared`, "parse senseParameter failed", "get
// RS232Parameter from senseParameter failed", the settings text's refusal).
// `detail` keeps the parsed detail for the driver's own keys.
bool readSerialRecord(ISensorController& log, const ModuleConfigure& config, bool needInfrared,
                      ModuleParameterParser& detail, SerialRecord& record);

// Opens the record's device into `port` and sets its line; the input starts
// empty. On failure logs "open UART(<device>) failed", leaves no port open
// and returns false. A port already open is closed first.
bool openSerialPort(ISensorController& log, SafePointer<IUARTController>& uart, int& port,
                    const SerialRecord& record);

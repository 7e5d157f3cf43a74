// The module parameters' serial line settings, as every serial module driver reads them.
#pragma once

#include "foundation/SafePointer.h"
#include "platform/IUARTController.h"

#include <string>

class ISensorController;

// The serial settings text "baud,data bits,parity,stop bits" (under the
// parameters' key `key`, "RS485" or "RS232"): exactly four decimal numbers
// into fields. Otherwise logs the refusal through `log` ("parse <key> param
// failed,nRet=%d" when fewer than four numbers come) and returns false.
bool parseSerialSettings(ISensorController& log, const std::string& text, int fields[4],
                         const char* key = "RS485");

// A GPIO line "group,pin,level": exactly three decimal numbers. Otherwise
// logs `failure` with the count of numbers read and returns false.
bool parseGpioTriple(ISensorController& log, const std::string& text, int triple[3],
                     const char* failure);

class ModuleConfigure;
class ModuleParameterParser;

// What a serial module's record says about its line: the detail's
// "RS232DeviceName" and "isInfrared", the parameters' "RS485" settings (or
// "RS232", for the modules whose record names them so).
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
// `detail` and `params` keep the parsed texts for the driver's own keys. With
// the key "RS232" the settings taken are logged as "RS232(<device>) param is
// (baud,data,parity,stop)".
bool readSerialRecord(ISensorController& log, const ModuleConfigure& config, bool needInfrared,
                      ModuleParameterParser& detail, SerialRecord& record,
                      const char* key = "RS485", ModuleParameterParser* params = nullptr);

// Opens the record's device into `port` and sets its line; the input starts
// empty. On failure logs "open UART(<device>) failed", leaves no port open
// and returns false. A port already open is closed first.
bool openSerialPort(ISensorController& log, SafePointer<IUARTController>& uart, int& port,
                    const SerialRecord& record);

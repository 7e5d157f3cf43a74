// The module parameters' serial line settings.
#include "drivers/protocols/SerialSettings.h"

#include "controller/ISensorController.h"
#include "platform/ConfigFileText.h"
#include "platform/ModuleConfigure.h"
#include "platform/ModuleParameterParser.h"

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

bool readSerialRecord(ISensorController& log, const ModuleConfigure& config, bool needInfrared,
                      ModuleParameterParser& detail, SerialRecord& record) {
    if (detail.parse(config.getDetail()) == 0) {
        log.ErrorPrintf("parse detail failed");
        return false;
    }
    if (detail.getValue("RS232DeviceName", record.device) == 0) {
        log.ErrorPrintf("get RS232DeviceName from detail failed");
        return false;
    }
    if (detail.getValue("isInfrared", record.isInfrared) == 0 && needInfrared) {
        log.ErrorPrintf("get isInfrared from detail failed");
        return false;
    }
    ModuleParameterParser params;
    if (params.parse(config.getParameters()) == 0) {
        log.ErrorPrintf("parse senseParameter failed");
        return false;
    }
    std::string serial;
    if (params.getValue("RS485", serial) == 0) {
        log.ErrorPrintf("get RS232Parameter from senseParameter failed");
        return false;
    }
    int fields[4] = {}; // baud, data bits, parity, stop bits
    if (!parseSerialSettings(log, serial, fields))
        return false;
    record.baud = fields[0];
    record.dataBits = fields[1];
    record.parity = fields[2];
    record.stopBits = fields[3];
    return true;
}

bool openSerialPort(ISensorController& log, SafePointer<IUARTController>& uart, int& port,
                    const SerialRecord& record) {
    if (uart.get() != nullptr && port >= 0)
        uart->close(port);
    port = -1;
    if (uart.get() == nullptr || (port = uart->open(record.device.c_str())) < 0 ||
        uart->setParameter(port, record.baud, record.dataBits, record.stopBits, record.parity) ==
            0) {
        log.ErrorPrintf("open UART(%s) failed", record.device.c_str());
        if (uart.get() != nullptr && port >= 0)
            uart->close(port);
        port = -1;
        return false;
    }
    uart->clearRecvBuffer(port);
    return true;
}

// The module parameters' serial line settings.
#include "drivers/protocols/SerialSettings.h"

#include "controller/ISensorController.h"
#include "platform/ConfigFileText.h"
#include "platform/ModuleConfigure.h"
#include "platform/ModuleParameterParser.h"

#include <cstdio>

bool parseSerialSettings(ISensorController& log, const std::string& text, int fields[4],
                         const char* key) {
    const int count =
        std::sscanf(text.c_str(), "%d,%d,%d,%d", &fields[0], &fields[1], &fields[2], &fields[3]);
    if (count < 4) {
        log.ErrorPrintf("parse %s param failed,nRet=%d", key, count);
        return false;
    }
    // Taken only as exactly four numbers: "9600,8,0,1xyz" is refused.
    if (!kvconfig::parseDecimalIntList(text, fields, 4)) {
        log.ErrorPrintf("parse %s param failed: (%s) is not \"%%d,%%d,%%d,%%d\"", key,
                        text.c_str());
        return false;
    }
    return true;
}

bool parseGpioTriple(ISensorController& log, const std::string& text, int triple[3],
                     const char* failure) {
    int fields[3] = {};
    const int count = std::sscanf(text.c_str(), "%d,%d,%d", &fields[0], &fields[1], &fields[2]);
    // Taken only as exactly three numbers: "1,2,3x" is refused too.
    if (count != 3 || kvconfig::parseDecimalIntList(text, fields, 3) == 0) {
        log.ErrorPrintf(failure, count);
        return false;
    }
    for (int i = 0; i < 3; ++i)
        triple[i] = fields[i];
    return true;
}

bool readSerialRecord(ISensorController& log, const ModuleConfigure& config, bool needInfrared,
                      ModuleParameterParser& detail, SerialRecord& record, const char* key,
                      ModuleParameterParser* params) {
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
    ModuleParameterParser own;
    ModuleParameterParser& parameters = params != nullptr ? *params : own;
    if (parameters.parse(config.getParameters()) == 0) {
        log.ErrorPrintf("parse senseParameter failed");
        return false;
    }
    std::string serial;
    if (parameters.getValue(key, serial) == 0) {
        log.ErrorPrintf("get RS232Parameter from senseParameter failed");
        return false;
    }
    int fields[4] = {}; // baud, data bits, parity, stop bits
    if (!parseSerialSettings(log, serial, fields, key))
        return false;
    record.baud = fields[0];
    record.dataBits = fields[1];
    record.parity = fields[2];
    record.stopBits = fields[3];
    if (std::string(key) == "RS232")
        log.InitPrintf("RS232(%s) param is (%d,%d,%d,%d)\n", record.device.c_str(), record.baud,
                       record.dataBits, record.parity, record.stopBits);
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

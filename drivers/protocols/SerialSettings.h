// The module parameters' serial line settings, as every serial module driver reads them.
#pragma once

#include <string>

class ISensorController;

// The "RS485" settings text "baud,data bits,parity,stop bits": exactly four
// decimal numbers into fields. Otherwise logs the refusal through `log`
// ("parse RS485 param failed,nRet=%d" when fewer than four numbers come) and
// returns false.
bool parseSerialSettings(ISensorController& log, const std::string& text, int fields[4]);

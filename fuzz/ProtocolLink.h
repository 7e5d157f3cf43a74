// Fuzz-target support: the smallest driver, lending a protocol its serial port, lock and log.
#pragma once

#include "ServedUART.h"
#include "controller/ISensorController.h"

namespace kvfuzz {

// A controller that only owns what a serial protocol borrows from its driver
// (UART pointer, port handle, lock, error log), wired to a served port.
template <class Protocol>
class ProtocolLink : public ISensorController {
public:
    explicit ProtocolLink(ServedUART* uart)
        : ISensorController(0), protocol(m_pUART, m_nUARTPort, m_mutex, *this) {
        m_pUART = SafePointer<IUARTController>(uart);
        m_nUARTPort = 0;
    }
    int getMirrorValue(int&) override { return 0; }
    int setSensorVideoSystem(int, VideoResolution const&) override { return 0; }
    int initController(int, ModuleConfigure const&) override { return 0; }

    Protocol protocol;
};

} // namespace kvfuzz

// Abstract serial-port controller handed to the sensor controllers.
#pragma once

// Drivers talk to their camera modules through this interface only, so that a
// host can supply a termios port, a pseudo-terminal or a test double. Ports are
// addressed by the index that open() returns; every call is bounded in time.
// All operations report 1 for success and 0 for failure unless stated.
class IUARTController {
public:
    virtual ~IUARTController() = default;

    // Opens a serial device by name ("/dev/ttyS1"); returns a port index >= 0,
    // or -1 when the device cannot be opened.
    virtual int open(const char* deviceName) = 0;

    // Line settings: baud rate, data bits (5..8), stop bits (1, 2) and parity
    // (0 none, 1 odd, 2 even). The port runs raw: no echo, no line editing, no
    // character translation, no flow control.
    virtual int setParameter(int port, int baud, int dataBits, int stopBits, int parity) = 0;

    // Writes len bytes; returns the number written (fewer when the line stays
    // blocked past the send time-out) or -1 on error.
    virtual int send(int port, const char* buf, int len) = 0;

    // Reads until len bytes have come or `timeout` tenths of a second have
    // passed since the call; returns the count read (0 on time-out) or -1 on
    // error.
    virtual int recv(int port, char* buf, int len, int timeout) = 0;

    // Discards everything waiting in the receive direction.
    virtual int clearRecvBuffer(int port) = 0;

    virtual int close(int port) = 0;
};

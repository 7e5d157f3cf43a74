// Serial-port controller over Linux termios (real ttys and pseudo-terminals).
#pragma once

#include "platform/IUARTController.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

// The serial link of the camera's module drivers. Every wait uses poll() with a
// deadline, so no call can hang on a silent or stuck line. Receive time-outs
// count tenths of a second of device time (they follow the platform clock's
// scale) with a floor of 20 ms real time, so that a peer process on a
// pseudo-terminal always gets a chance to answer even in a sped-up test. On a
// platform thread that is being stopped a receive returns at once with what
// has come, so stopping a thread never waits out a silent line.
//
// Device names: an absolute name is first looked up under the platform root;
// when the mapped path does not exist the name is used as it stands. That lets
// a test root provide its own "/dev/ttyS1" while a simulator's "/dev/pts/3"
// still opens directly.
//
// Opening a device that is already open returns the same port index and counts
// the opening; close() releases one opening and the descriptor goes with the
// last. So a controller that is re-created and opens its port again does not
// leak descriptors. Ports are independent: each has its own locks, one for the
// sending direction and one for the receiving direction.
class TermiosUARTController : public IUARTController {
public:
    TermiosUARTController();
    ~TermiosUARTController() override;
    TermiosUARTController(const TermiosUARTController&) = delete;
    TermiosUARTController& operator=(const TermiosUARTController&) = delete;

    int open(const char* deviceName) override;
    int setParameter(int port, int baud, int dataBits, int stopBits, int parity) override;
    int send(int port, const char* buf, int len) override;
    int recv(int port, char* buf, int len, int timeout) override;
    int clearRecvBuffer(int port) override;
    int close(int port) override;

private:
    struct Port;
    std::shared_ptr<Port> find(int port) const;

    mutable std::mutex m_tableMutex;
    std::map<int, std::shared_ptr<Port>> m_mapPorts;
    int m_nNextIndex = 0;
};

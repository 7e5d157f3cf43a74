// Test support: a scripted serial module on the master side of a pseudo-terminal.
#pragma once

#include "drivers/platform/IDMX420ZoomSensorController.h"
#include "platform/TermiosUARTController.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kvtest {

// Plays a fixed exchange on a thread: for each step it reads the expected
// number of bytes, then answers with a canned reply or echoes what it read.
// A step whose bytes do not come within a second ends the script. Everything
// read is kept for assertions on the bytes the driver put on the wire.
class ScriptedModule {
public:
    struct Step {
        std::size_t expect;
        std::string reply;
        bool echo = false;
    };

    ScriptedModule() {
        char name[128];
        if (m_nMaster >= 0 && grantpt(m_nMaster) == 0 && unlockpt(m_nMaster) == 0 &&
            ptsname_r(m_nMaster, name, sizeof name) == 0)
            m_strSlave = name;
    }
    ~ScriptedModule() {
        finish();
        ::close(m_nMaster);
    }
    const std::string& slave() const { return m_strSlave; }

    void play(std::vector<Step> steps) {
        m_thread = std::thread([this, script = std::move(steps)] {
            for (const Step& step : script) {
                const std::string got = read(step.expect, 1000);
                m_strReceived += got;
                if (got.size() < step.expect)
                    return;
                write(step.echo ? got : step.reply);
            }
        });
    }
    // Waits for the script to end; returns every byte it read.
    std::string finish() {
        if (m_thread.joinable())
            m_thread.join();
        return m_strReceived;
    }
    // Bytes that arrive within `withinMs` after the script (should be none).
    std::string readMore(int withinMs = 30) { return read(1000, withinMs); }
    void write(const std::string& bytes) {
        const ssize_t wrote = bytes.empty() ? 0 : ::write(m_nMaster, bytes.data(), bytes.size());
        EXPECT_EQ(wrote, ssize_t(bytes.size()));
    }

private:
    std::string read(std::size_t n, int withinMs) {
        std::string out;
        char buf[256];
        pollfd pfd{m_nMaster, POLLIN, 0};
        while (out.size() < n && ::poll(&pfd, 1, withinMs) == 1) {
            const ssize_t got = ::read(m_nMaster, buf, std::min(sizeof buf, n - out.size()));
            if (got <= 0)
                break;
            out.append(buf, std::size_t(got));
        }
        return out;
    }

    int m_nMaster = posix_openpt(O_RDWR | O_NOCTTY);
    std::string m_strSlave;
    std::string m_strReceived;
    std::thread m_thread;
};

// A zoom base controller opened up for tests and wired to a serial device.
class TestZoomController : public IDMX420ZoomSensorController {
public:
    TestZoomController() : IDMX420ZoomSensorController(82) {}

    // Opens the device as the controller's port (9600 8N1); false on failure.
    bool attach(const std::string& device) {
        m_pUART = SafePointer<IUARTController>(new TermiosUARTController());
        m_nUARTPort = m_pUART->open(device.c_str());
        return m_nUARTPort >= 0 && m_pUART->setParameter(m_nUARTPort, 9600, 8, 1, 0) == 1;
    }

    using IDMX420ZoomSensorController::m_nRegion;
    using IDMX420ZoomSensorController::visca;
    using ISensorController::m_bisInited;
    using ISensorController::m_mutex;
};

// What was printed, without the blank lines an empty byte dump may leave.
inline std::string printed(StdoutCapture& out) {
    std::string text = out.text();
    for (auto at = text.find("\n\n"); at != std::string::npos; at = text.find("\n\n"))
        text.erase(at, 1);
    return text;
}

inline std::string bytes(std::initializer_list<int> values) {
    std::string out;
    for (int v : values)
        out += static_cast<char>(v);
    return out;
}

} // namespace kvtest

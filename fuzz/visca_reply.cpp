// Fuzz target: whatever a VISCA module sends, through a serial-port double, into the reply
// reader, the acknowledged command and the inquiry of the shared transport.
#include "FuzzRoot.h"
#include "drivers/platform/IDMX420ZoomSensorController.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// The module's side of the line. The input is a run of segments, each a length byte and
// that many bytes; each frame sent releases the next segment onto the line, and a receive
// with nothing left on the line times out at once. Everything released since the last
// mark is kept, so an accepted answer can be checked against what the module sent.
class ServedUART : public IUARTController {
public:
    void serve(const std::uint8_t* data, std::size_t size) {
        m_input.assign(reinterpret_cast<const char*>(data), size);
        m_nNext = 0;
        m_strLine.clear();
        mark();
    }
    void mark() {
        m_strSent.clear();
        m_nSends = 0;
    }
    const std::string& released() const { return m_strSent; }
    int sends() const { return m_nSends; }

    int open(const char*) override { return 0; }
    int setParameter(int, int, int, int, int) override { return 1; }
    int send(int, const char*, int len) override {
        ++m_nSends;
        if (m_nNext < m_input.size()) {
            const std::size_t length = static_cast<std::uint8_t>(m_input[m_nNext++]);
            const std::string segment = m_input.substr(m_nNext, length);
            m_nNext += segment.size();
            m_strLine += segment;
            m_strSent += segment;
        }
        return len;
    }
    int recv(int, char* buf, int len, int) override {
        const std::size_t n = std::min(m_strLine.size(), static_cast<std::size_t>(len));
        std::memcpy(buf, m_strLine.data(), n);
        m_strLine.erase(0, n);
        return static_cast<int>(n);
    }
    int clearRecvBuffer(int) override {
        m_strLine.clear();
        return 1;
    }
    int close(int) override { return 1; }

private:
    std::string m_input;
    std::size_t m_nNext = 0;
    std::string m_strLine;
    std::string m_strSent;
    int m_nSends = 0;
};

class Link : public IDMX420ZoomSensorController {
public:
    explicit Link(ServedUART* uart) : IDMX420ZoomSensorController(82) {
        m_pUART = SafePointer<IUARTController>(uart);
        m_nUARTPort = 0;
    }
    using IDMX420ZoomSensorController::visca;
};

void check(bool property) {
    if (!property)
        std::abort();
}

bool sentBy(const ServedUART& uart, const std::string& bytes) {
    return uart.released().find(bytes) != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::root();
    static ServedUART* uart = new ServedUART();
    static Link* link = new Link(uart);
    ViscaTransport& visca = link->visca();
    uart->serve(data, size);

    const char command[] = {'\x81', '\x01', '\x04', '\xA1', '\x00', '\x00', '\x00', '\x07', '\xFF'};
    const char inquiry[] = {'\x81', '\x09', '\x04', '\x47', '\xFF'};
    const int replyLengths[] = {7, 5, 4, 3};
    for (int replyLength : replyLengths) {
        // A command succeeds only on an acknowledge the module really sent.
        uart->mark();
        if (visca.command(command, int(sizeof command)) == 1)
            check(sentBy(*uart, "\x90\x41\xFF") || sentBy(*uart, "\x90\x42\xFF"));
        check(uart->sends() <= ViscaTransport::kAttempts);

        // An accepted inquiry reply has the asked length and form, as the module sent it.
        uart->mark();
        char reply[ViscaTransport::kMaxReply] = {};
        if (visca.inquiry(inquiry, int(sizeof inquiry), reply, replyLength) == 1) {
            const std::string got(reply, static_cast<std::size_t>(replyLength));
            check(got[0] == '\x90' && got[1] == '\x50' && got[replyLength - 1] == '\xFF');
            check(sentBy(*uart, got));
        }
        check(uart->sends() <= ViscaTransport::kAttempts);
    }

    // The reader alone, on the next segment: a reply starts 0x90 and fits its buffer.
    uart->send(0, command, int(sizeof command));
    char buf[8] = {};
    const int got = visca.recvData(buf, int(sizeof buf), ViscaTransport::kReplyTimeout);
    check(got == -1 || (got >= 1 && got <= int(sizeof buf) && buf[0] == '\x90'));
    return 0;
}

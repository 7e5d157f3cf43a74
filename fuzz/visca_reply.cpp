// Fuzz target: whatever a VISCA module sends, through a serial-port double, into the reply
// reader, the acknowledged command and the inquiry of the shared transport.
#include "FuzzRoot.h"
#include "ServedUART.h"
#include "drivers/platform/IDMX420ZoomSensorController.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using kvfuzz::check;
using kvfuzz::ServedUART;

class Link : public IDMX420ZoomSensorController {
public:
    explicit Link(ServedUART* uart) : IDMX420ZoomSensorController(82) {
        m_pUART = SafePointer<IUARTController>(uart);
        m_nUARTPort = 0;
    }
    using IDMX420ZoomSensorController::visca;
};

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

// Fuzz target: whatever an ASCII register module sends, through a serial-port double, into
// the echo check of a write and the reply reader of a register read.
#include "FuzzRoot.h"
#include "ProtocolLink.h"
#include "ServedUART.h"
#include "drivers/protocols/AsciiRegisterProtocol.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using kvfuzz::check;
using kvfuzz::ServedUART;

using Link = kvfuzz::ProtocolLink<AsciiRegisterProtocol>;

// Whether the module released `head` followed by n hex digits (either case) of `value`.
bool answered(const ServedUART& uart, const std::string& head, int n, int value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%0*x", n, static_cast<unsigned>(value));
    const std::string& line = uart.released();
    for (std::size_t at = line.find(head); at != std::string::npos; at = line.find(head, at + 1)) {
        if (line.size() - at < head.size() + static_cast<std::size_t>(n))
            break;
        std::string got = line.substr(at + head.size(), static_cast<std::size_t>(n));
        for (char& c : got)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (got == digits)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::root();
    static ServedUART* uart = new ServedUART();
    static Link* link = new Link(uart);
    AsciiRegisterProtocol& ascii = link->protocol;
    uart->serve(data, size);

    const struct {
        const char* request;
        int n;
    } reads[] = {{":RFFE700", 2}, {":RFB380000", 4}};
    const char* const writes[] = {":WFCC820", ":WFCBBAA9"};
    for (int round = 0; round < 2; ++round) {
        for (const auto& read : reads) {
            // An accepted value fits its digits and is the one the module sent for this very
            // register; the failure value -1 is never handed out.
            uart->mark();
            int value = -1;
            if (ascii.recvData(read.request, read.n, value) == 1) {
                check(value >= 0 && value < (1 << (4 * read.n)));
                const std::string request(read.request);
                check(answered(*uart, request.substr(0, request.size() - read.n), read.n, value));
            }
            check(uart->sends() <= AsciiRegisterProtocol::kAttempts);
        }
        for (const char* frame : writes) {
            // A write needs an echo of its full length; the last attempt takes only the exact
            // echo.
            uart->mark();
            const std::string sent(frame);
            if (ascii.sendData(sent) == 1) {
                check(uart->released().size() >= sent.size());
                if (uart->sends() == AsciiRegisterProtocol::kAttempts)
                    check(uart->released().find(sent) != std::string::npos);
            }
            check(uart->sends() <= AsciiRegisterProtocol::kAttempts);
        }
        // The module never answers the end of initialisation: one send, nothing read.
        uart->mark();
        ascii.sendData(AsciiRegisterProtocol::kInitComplete);
        check(uart->sends() == 1 && uart->recvs() == 0);
    }
    return 0;
}

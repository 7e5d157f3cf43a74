// Fuzz target: whatever an Effio module sends, through a serial-port double, into the write
// and read exchanges and the register reads.
#include "FuzzRoot.h"
#include "ProtocolLink.h"
#include "ServedUART.h"
#include "drivers/protocols/EffioProtocol.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using kvfuzz::check;
using kvfuzz::ServedUART;

using Link = kvfuzz::ProtocolLink<EffioProtocol>;

// Whether the module released a whole consenting answer to `op` that carries these values
// and adds up.
bool releasedAnswer(const ServedUART& uart, uint8_t op, const uint8_t* values, int n) {
    const std::string& line = uart.released();
    const std::size_t total = static_cast<std::size_t>(n) + 3;
    for (std::size_t at = 0; at + total <= line.size(); ++at) {
        const auto* a = reinterpret_cast<const uint8_t*>(line.data() + at);
        bool same = a[0] == op && EffioProtocol::statusMessage(a[1]) == nullptr &&
                    a[total - 1] == binary::additiveChecksum(a, static_cast<int>(total) - 1);
        for (int i = 0; same && i < n; ++i)
            same = a[2 + i] == values[i];
        if (same)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::root();
    static ServedUART* uart = new ServedUART();
    static Link* link = new Link(uart);
    EffioProtocol& effio = link->protocol;
    uart->serve(data, size);

    for (int round = 0; round < 2; ++round) {
        // A read never writes past the caller's n bytes (a guard byte follows them) and
        // hands over only the values of a whole answer the module sent.
        for (int n : {1, 2, 5}) {
            uart->mark();
            uint8_t frame[6];
            const int length = EffioProtocol::readFrame(frame, 0x02, 0x63, 0x63 + n - 1);
            uint8_t values[6] = {};
            values[n] = 0xA5;
            if (effio.getParameters(frame, length, values, n) == 1)
                check(releasedAnswer(*uart, EffioProtocol::kRead, values, n));
            check(values[n] == 0xA5 && uart->sends() == 1 && uart->recvs() == 1);
        }
        uart->mark();
        int value = -1;
        if (effio.readRegister(0x02, 0x61, 2, value) == 1)
            check(value >= 0 && value <= 0xFFFF);
        else
            check(value == -1);
        // A write is taken only on a whole consenting answer.
        uart->mark();
        if (effio.writeRegister(0x02, 0x99, 1, 255) == 1)
            check(releasedAnswer(*uart, EffioProtocol::kWrite, nullptr, 0));
        check(uart->sends() == 1);
    }
    return 0;
}

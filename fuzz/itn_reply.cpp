// Fuzz target: whatever an ITN module sends, through a serial-port double, into the answer
// reader by form, the write acknowledge check and the register reads.
#include "FuzzRoot.h"
#include "ProtocolLink.h"
#include "ServedUART.h"
#include "drivers/protocols/ItnProtocol.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using kvfuzz::check;
using kvfuzz::released;
using kvfuzz::ServedUART;

using Link = kvfuzz::ProtocolLink<ItnProtocol>;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::root();
    static ServedUART* uart = new ServedUART();
    static Link* link = new Link(uart);
    ItnProtocol& itn = link->protocol;
    uart->serve(data, size);

    for (int round = 0; round < 2; ++round) {
        // The reader never writes past the caller's buffer (a guard byte follows it) and
        // hands over only value bytes the module sent as a whole answer.
        for (int capacity : {1, 2, ItnProtocol::kMaxValue}) {
            uart->mark();
            uint8_t frame[8];
            const int length = ItnProtocol::readFrame(frame, 0x1B, 0x05, 0x58);
            uint8_t values[ItnProtocol::kMaxValue + 1] = {};
            values[capacity] = 0xA5;
            int count = -1;
            const int got = itn.sendCommand(frame, length, values, capacity, count);
            check(values[capacity] == 0xA5 && uart->sends() == 1);
            check(got == 1 || got == 2 || got == -1 || got == -2);
            if (got == 2)
                check(count >= 1 && count <= capacity && released(*uart, values, count));
            else
                check(count == 0);
            if (got == 1) {
                const uint8_t ack[] = {0x05, 0x01, 0x02, 0x01, 0x09};
                check(released(*uart, ack, 5));
            }
        }
        uart->mark();
        int value = -1;
        if (itn.readRegister(0x15, 0x00, 0x32, 2, value) == 1)
            check(value >= 0 && value <= 0xFFFF);
        else
            check(value == -1);
        check(uart->sends() == 1);
        uart->mark();
        itn.writeRegister(0x1A, 0x00, 0x05, 1, 128);
        check(uart->sends() == 1);
    }
    return 0;
}

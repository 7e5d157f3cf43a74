// Fuzz target: whatever a Seawolf module sends, through a serial-port double, into the result
// code and counted data reader, the register reads and writes, and the store commands.
#include "FuzzRoot.h"
#include "ProtocolLink.h"
#include "ServedUART.h"
#include "drivers/protocols/SeawolfProtocol.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using kvfuzz::check;
using kvfuzz::released;
using kvfuzz::ServedUART;

using Link = kvfuzz::ProtocolLink<SeawolfProtocol>;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::root();
    static ServedUART* uart = new ServedUART();
    static Link* link = new Link(uart);
    SeawolfProtocol& seawolf = link->protocol;
    uart->serve(data, size);

    for (int round = 0; round < 2; ++round) {
        // The reader never writes past the caller's buffer (a guard byte follows it) and
        // hands back only whole data whose checksum holds, as the module sent them.
        for (int capacity : {0, 2, 4, 16}) {
            uart->mark();
            uint8_t frame[5];
            const int length = SeawolfProtocol::readFrame(frame, 0x04, 0x3E);
            uint8_t answer[17] = {};
            answer[capacity] = 0xA5;
            int received = -1;
            const int got = seawolf.sendCommand(frame, length, answer, capacity, &received);
            check(answer[capacity] == 0xA5);
            check(got >= SeawolfProtocol::kUnknownCode && got <= SeawolfProtocol::kData);
            check(got == SeawolfProtocol::kData ? received >= 0 && received <= capacity
                                                : received == 0);
            if (got == SeawolfProtocol::kData) {
                std::string whole = {2, static_cast<char>(received)};
                whole.append(reinterpret_cast<const char*>(answer),
                             static_cast<std::size_t>(received));
                unsigned sum = 0;
                for (char c : whole)
                    sum += static_cast<uint8_t>(c);
                whole += static_cast<char>(~sum & 0xFF);
                check(released(*uart, reinterpret_cast<const uint8_t*>(whole.data()),
                               static_cast<int>(whole.size())));
            }
            check(uart->sends() == 1);
        }
        uart->mark();
        int value = -1;
        if (seawolf.readRegister(0x00, 0x41, value) == 1)
            check(uart->released().size() >= 7 && uart->released()[1] == 4);
        else
            check(value == -1);
        check(uart->sends() == 1);
        uart->mark();
        if (seawolf.writeRegister(0x00, 0x22, 50) == 1)
            check(uart->released().front() == 1);
        uart->mark();
        if (seawolf.flush() == 1)
            check(uart->released().front() == 1);
        check(uart->sends() == 1);
    }
    return 0;
}

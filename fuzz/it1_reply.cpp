// Fuzz target: whatever an IT1 module sends, through a serial-port double, into the counted
// answer reader, the write acknowledge check and the register reads.
#include "FuzzRoot.h"
#include "ProtocolLink.h"
#include "ServedUART.h"
#include "drivers/protocols/It1Protocol.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using kvfuzz::check;
using kvfuzz::released;
using kvfuzz::ServedUART;

using Link = kvfuzz::ProtocolLink<It1Protocol>;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::root();
    static ServedUART* uart = new ServedUART();
    static Link* link = new Link(uart);
    It1Protocol& it1 = link->protocol;
    uart->serve(data, size);

    for (int round = 0; round < 2; ++round) {
        // The answer reader never writes past the caller's buffer (a guard byte follows it)
        // and hands back only a whole answer with the right checksum, as the module sent it.
        for (int capacity : {5, 7, It1Protocol::kAnswerCapacity}) {
            uart->mark();
            uint8_t frame[8];
            const int length = It1Protocol::readFrame(frame, 0x3D0B, 2);
            uint8_t answer[It1Protocol::kAnswerCapacity + 1] = {};
            answer[capacity] = 0xA5;
            const int got = it1.baseSendCommand(frame, length, answer, capacity);
            check(answer[capacity] == 0xA5);
            check(got <= capacity && got >= It1Protocol::kTooLong && got != 0);
            if (got > 0) {
                check(answer[0] == got && got >= 5);
                uint8_t sum = 0;
                for (int i = 0; i < got - 1; ++i)
                    sum = static_cast<uint8_t>(sum + answer[i]);
                check(sum == answer[got - 1] && released(*uart, answer, got));
            }
            check(uart->sends() == 1);
        }
        for (int width : {1, 2}) {
            uart->mark();
            int value = -1;
            if (it1.readRegister(0x3D0B, width, value) == 1)
                check(value >= 0 && value < (1 << (8 * width)));
            else
                check(value == -1);
            check(uart->sends() <= 2);
        }
        uart->mark();
        if (it1.writeRegister(0x0A03, 1, 50) == 1) {
            const uint8_t ack[] = {0x05, 0x01, 0x02, 0x01, 0x09};
            check(released(*uart, ack, 5));
        }
        check(uart->sends() <= 2);
    }
    return 0;
}

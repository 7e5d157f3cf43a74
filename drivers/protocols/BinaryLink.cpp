// Binary register link: checksums, bit fields, bounded and counted reads, drain, hex text.
#include "drivers/protocols/BinaryLink.h"

#include "controller/ISensorController.h"

#include <cstdio>

namespace binary {

uint8_t additiveChecksum(const uint8_t* bytes, int len) {
    unsigned sum = 0;
    for (int i = 0; i < len; ++i)
        sum += bytes[i];
    return static_cast<uint8_t>(sum & 0xFF);
}

uint8_t invertedChecksum(const uint8_t* bytes, int len) {
    return static_cast<uint8_t>(~additiveChecksum(bytes, len));
}

namespace {
// The mask of `width` bits from `bit`; widths beyond an int's are cut.
unsigned fieldMask(int bit, int width) {
    if (bit < 0 || bit > 30 || width <= 0)
        return 0;
    const int bits = width > 31 - bit ? 31 - bit : width;
    return ((1u << bits) - 1u) << bit;
}
} // namespace

int modifyAppointedBit(int value, int bit, int width, int newBits) {
    const unsigned mask = fieldMask(bit, width);
    const unsigned v = static_cast<unsigned>(value);
    const unsigned n = (static_cast<unsigned>(newBits) << (bit < 0 ? 0 : bit)) & mask;
    return static_cast<int>((v & ~mask) | n);
}

int appointedBits(int value, int bit, int width) {
    const unsigned mask = fieldMask(bit, width);
    return mask == 0 ? 0 : static_cast<int>((static_cast<unsigned>(value) & mask) >> bit);
}

std::string hexText(const uint8_t* bytes, int len) {
    std::string text;
    char byte[4];
    for (int i = 0; i < len; ++i) {
        std::snprintf(byte, sizeof byte, i == 0 ? "%02X" : " %02X", bytes[i]);
        text += byte;
    }
    return text;
}

} // namespace binary

BinaryLink::BinaryLink(SafePointer<IUARTController>& uart, int& port, ISensorController& log)
    : m_uart(uart), m_nPort(port), m_log(log) {}

bool BinaryLink::isOpen() const {
    return m_uart.get() != nullptr && m_nPort >= 0;
}

int BinaryLink::write(const uint8_t* frame, int len) {
    if (!isOpen()) {
        m_log.ErrorPrintf("serial port not open: %s not sent", binary::hexText(frame, len).c_str());
        return -1;
    }
    return m_uart->send(m_nPort, reinterpret_cast<const char*>(frame), len);
}

int BinaryLink::read(uint8_t* buf, int len, int timeout) {
    if (!isOpen() || len <= 0)
        return 0;
    const int got = m_uart->recv(m_nPort, reinterpret_cast<char*>(buf), len, timeout);
    return got < 0 ? 0 : got;
}

void BinaryLink::clear() {
    if (isOpen())
        m_uart->clearRecvBuffer(m_nPort);
}

int BinaryLink::drain(int timeout) {
    int drained = 0;
    uint8_t byte = 0;
    while (drained < kMaxDrain && read(&byte, 1, timeout) == 1)
        ++drained;
    return drained;
}

BinaryLink::Counted BinaryLink::readCounted(uint8_t* buf, int capacity, int minTotal, int extra,
                                            int firstTimeout, int timeout) {
    Counted answer;
    if (capacity < 1 || read(buf, 1, firstTimeout) != 1)
        return answer;
    answer.got = 1;
    answer.count = buf[0];
    answer.total = answer.count + extra;
    if (answer.total > capacity) {
        answer.status = Counted::TooLong;
        return answer;
    }
    if (answer.total < minTotal || answer.total < 1) {
        answer.status = Counted::BadCount;
        return answer;
    }
    answer.got += read(buf + 1, answer.total - 1, timeout);
    answer.status = answer.got == answer.total ? Counted::Ok : Counted::Short;
    return answer;
}

// What every binary register protocol needs: checksums, bit fields, bounded reads, hex dumps.
#pragma once

#include "foundation/SafePointer.h"
#include "platform/IUARTController.h"

#include <cstdint>
#include <string>

class ISensorController;

namespace binary {

// The sum of len bytes, modulo 256 (0 for none).
uint8_t additiveChecksum(const uint8_t* bytes, int len);
// Its bitwise complement.
uint8_t invertedChecksum(const uint8_t* bytes, int len);

// `value` with the `width` bits from bit `bit` (0: the lowest) replaced by
// the low `width` bits of newBits; the other bits are kept.
int modifyAppointedBit(int value, int bit, int width, int newBits);
// The `width` bits of `value` from bit `bit`, shifted down.
int appointedBits(int value, int bit, int width);

// "08 01 05 01 0A 03 01 1D": the bytes in upper-case hex, space-separated.
std::string hexText(const uint8_t* bytes, int len);

} // namespace binary

// One serial link to a binary register module. The frame layouts are the
// family's (its protocol class builds and judges them); this class does what
// they all do on the line, bounded: write a frame, read a known number of
// bytes, read an answer whose first byte counts it (refusing a count the
// caller's buffer cannot take before reading anything more), and drain what
// is left. Like the other transports it holds references to the driver's
// UART pointer and port handle, so a port opened later is seen at once;
// locking is the protocol's, which knows what one exchange is.
class BinaryLink {
public:
    // A babbling module cannot hold a drain longer than this many bytes.
    static constexpr int kMaxDrain = 1024;

    BinaryLink(SafePointer<IUARTController>& uart, int& port, ISensorController& log);
    BinaryLink(const BinaryLink&) = delete;
    BinaryLink& operator=(const BinaryLink&) = delete;

    // A UART is set and a port is open.
    bool isOpen() const;
    // Writes len bytes; the count written, or -1 when no port is open (logged).
    int write(const uint8_t* frame, int len);
    // Reads up to len bytes within `timeout` tenths of a second; the count read (0 on error).
    int read(uint8_t* buf, int len, int timeout);
    // Discards what waits in the receive buffer (before a request goes out).
    void clear();
    // Reads one byte at a time, each with `timeout`, until a read returns
    // nothing (at most kMaxDrain bytes); the count drained.
    int drain(int timeout);

    // A counted answer: buf[0] is its count byte, and the answer holds count +
    // `extra` bytes in all (count byte included).
    struct Counted {
        enum Status { Ok, NoCount, TooLong, BadCount, Short } status = NoCount;
        int count = 0; // the count byte (when one came)
        int total = 0; // bytes the answer should hold
        int got = 0;   // bytes now in buf (count byte included)
    };
    // Reads the count byte with `firstTimeout`. Before reading further it
    // refuses an answer that would not fit `capacity` (TooLong) or could not
    // be one of the family's (shorter than `minTotal`: BadCount); else it
    // reads the rest with `timeout` (Short when fewer came).
    Counted readCounted(uint8_t* buf, int capacity, int minTotal, int extra, int firstTimeout,
                        int timeout);

private:
    SafePointer<IUARTController>& m_uart;
    int& m_nPort;
    ISensorController& m_log;
};

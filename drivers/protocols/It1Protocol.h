// The IT1 binary register protocol: counted frames with an additive checksum.
#pragma once

#include "drivers/protocols/BinaryLink.h"
#include "platform/KVMutex.h"

#include <cstdint>

class ISensorController;

// The IT1 camera modules are programmed one register at a time. A request is
//   len 01 len-3 op addrHi addrLo value... checksum
// of 8 bytes (op 02: write of one byte; op 01: read, the value byte then
// being the number of value bytes wanted, 1 or 2) or 9 bytes (a write of two
// bytes, low byte first). The checksum is the sum of the bytes before it,
// modulo 256. An answer is counted the same way: N 01 N-3 result value...
// checksum, the checksum over the N - 1 bytes before it; result 01 means
// done. A write is acknowledged with N = 5, a one-byte read answered with
// N = 6 (value in byte 4), a two-byte read with N = 7 (byte 4 + 256 x byte 5).
//
// The protocol works on the driver's UART pointer, port handle and exchange
// lock (references: the driver owns them and outlives the protocol) and logs
// through the driver's error log. One exchange holds the lock; its reads are
// bounded by the UART's time-out (tenths of a second).
class It1Protocol {
public:
    // Receive time-out of every read of an exchange (tenths of a second).
    static constexpr int kTimeout = 6;
    // The answer buffers of a write and of a read: a longer count is refused.
    static constexpr int kAnswerCapacity = 10;
    static constexpr uint8_t kWrite = 0x02;
    static constexpr uint8_t kRead = 0x01;
    static constexpr uint8_t kDone = 0x01;
    // Negative exchange results.
    enum : int {
        kShortWrite = -1,
        kNoAnswer = -2, // missing or short answer
        kBadChecksum = -3,
        kTooLong = -4, // the count is more than the caller's buffer
    };

    It1Protocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                ISensorController& log);
    It1Protocol(const It1Protocol&) = delete;
    It1Protocol& operator=(const It1Protocol&) = delete;

    BinaryLink& link() { return m_objLink; }

    // Writes into the last byte the sum of the bytes before it, modulo 256
    // (0 when length is 1; nothing when 0 or less).
    static void computeCheckSum(uint8_t* frame, int length);
    // The request frames: a write of `width` (1 or 2) value bytes, or a read
    // of `width` bytes, of register `address` (high byte first). They return
    // the frame's length (8 or 9), the checksum not yet filled in.
    static int writeFrame(uint8_t frame[9], int address, int width, int value);
    static int readFrame(uint8_t frame[8], int address, int width);

    // One exchange, under the lock: checksum into the frame, input cleared,
    // frame written, the counted answer read into `answer` (whose byte 0 is
    // the count). The answer's length, or a negative result (logged).
    int baseSendCommand(uint8_t* frame, int length, uint8_t* answer, int capacity);
    // baseSendCommand, once more when the first fails (any result of 0 or
    // less), unless the calling thread is being stopped.
    int sendCommand(uint8_t* frame, int length, uint8_t* answer, int capacity);
    // Reads and drops the input one byte at a time until a read gets nothing.
    int recvLeftData();
    // 1 when the write is acknowledged: a 5-byte answer whose result is done.
    int setParameterValue(uint8_t* frame, int length);
    // 1 with `value` when the read is answered with as many value bytes as
    // asked (a 6- or 7-byte answer whose result is done).
    int getParameterValue(uint8_t* frame, int length, int& value);

    // A register write or read by address and width: 1 or 0.
    int writeRegister(int address, int width, int value);
    int readRegister(int address, int width, int& value);

private:
    void printExchange(const char* head, int result, const uint8_t* frame, int length,
                       const char* recvHead, const uint8_t* answer, int answerLength);

    BinaryLink m_objLink;
    KVMutex& m_lock;
    ISensorController& m_log;
};

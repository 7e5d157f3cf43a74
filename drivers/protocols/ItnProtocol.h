// The ITN binary register protocol: length-prefixed frames with an additive checksum.
#pragma once

#include "drivers/protocols/BinaryLink.h"
#include "platform/KVMutex.h"

#include <cstdint>

class ISensorController;

// The ITN camera modules are programmed one register at a time. A write is
//   len 01 len-3 02 group sub register value.. checksum
// of 9 bytes (one value byte) or 10 (two, high byte first); sub is 00, or 05
// for the day/night thresholds; the checksum is the sum of the bytes before
// it, modulo 256. A read is the 8-byte frame
//   08 01 05 01 group sub register checksum
// and a write of several registers of one group at once (the noise
// reduction's) the 14-byte frame
//   0E 01 0B 02 group sub 03 r1 v1 r2 v2 r3 v3 checksum.
// The first byte of an answer gives its form:
//   05 01 02 01 09          write accepted (the only acknowledge taken)
//   06 01 03 01 v cs        one value byte
//   07 01 04 01 v v cs      two value bytes
//   0B 01 08 01 v*6 cs      six value bytes
// Like the other serial protocols it works on the driver's UART pointer,
// port handle and exchange lock (references) and logs through the driver;
// one exchange holds the lock, every read is bounded by the UART's time-out.
class ItnProtocol {
public:
    // Receive time-out of every read of an exchange (tenths of a second).
    static constexpr int kTimeout = 3;
    // Results of sendCommand besides the negative codes.
    static constexpr int kAccepted = 1;
    static constexpr int kValue = 2;
    // Answer buffers: room for the longest value (six bytes).
    static constexpr int kMaxValue = 6;
    // Registers in one multi-register write.
    static constexpr int kPairs = 3;
    static constexpr int kPairsLength = 14;

    ItnProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                ISensorController& log);
    ItnProtocol(const ItnProtocol&) = delete;
    ItnProtocol& operator=(const ItnProtocol&) = delete;

    // The sum of the bytes before the last, modulo 256, into the last.
    static void computeCheckSum(uint8_t* frame, int length);
    // A write of `width` (1 or 2) value bytes to register `reg` of `group`
    // (sub: byte 5). Returns the frame's length, checksum not yet filled in.
    static int writeFrame(uint8_t frame[10], int group, int sub, int reg, int width, int value);
    // A read of register `reg` of `group`: 8 bytes, checksum not yet filled in.
    static int readFrame(uint8_t frame[8], int group, int sub, int reg);
    // A write of kPairs (register, value byte) pairs of `group`.
    static int pairsFrame(uint8_t frame[kPairsLength], int group, int sub, const int regs[kPairs],
                          const int values[kPairs]);

    // One exchange under the lock: input cleared, checksum, frame written,
    // the answer read by its form. kAccepted for the acknowledge, kValue with
    // the value bytes copied to `values` (their count to `count`), -1 when
    // nothing went out or the first byte is no answer's, -2 for a missing,
    // short or malformed answer (logged).
    int sendCommand(uint8_t* frame, int length, uint8_t* values, int capacity, int& count);
    // Reads and drops the input one byte at a time until a read gets nothing.
    int recvLeftData();
    // 1 when the write is acknowledged; otherwise prints the exchange,
    // drains the input and returns 0.
    int setParameterValue(uint8_t* frame, int length);
    // A register write by group, sub, register and width: 1 or 0.
    int writeRegister(int group, int sub, int reg, int width, int value);
    // A register read: 1 with the value (two bytes high first) when the
    // module answers with exactly `width` value bytes; otherwise prints the
    // exchange, drains the input and returns 0.
    int readRegister(int group, int sub, int reg, int width, int& value);

private:
    // Prints "<what> error,nRet = .." with the frame and the answer, and drains the input.
    void failed(const char* what, int result, const uint8_t* frame, int length,
                const uint8_t* values, int count);
    int readValue(uint8_t first, uint8_t* values, int capacity, int& count);

    BinaryLink m_objLink;
    KVMutex& m_lock;
    ISensorController& m_log;
};

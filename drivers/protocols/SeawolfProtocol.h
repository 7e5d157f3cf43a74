// The Seawolf binary register protocol: paged registers, inverted additive checksum, coded answers.
#pragma once

#include "drivers/protocols/BinaryLink.h"
#include "platform/KVMutex.h"

#include <cstdint>

class ISensorController;

// The Seawolf camera modules keep their settings in paged registers. The
// requests (the last byte the complement of the sum of the bytes before it):
//   03 02 page register cs                        read a register
//   02 06 page register d3 d2 d1 d0 cs            write a register (32-bit value, high byte first)
//   07 00 F8                                      keep the registers in the module's store
//   09 01 01 F4                                   restart from the store
// The module answers with a result code: 01 accepted; 02 data follow:
//   02 N data[N] cs, cs = ~(2 + N + sum of data);
// 03 the command, its length or checksum was wrong. A register read is
// answered with its value in four data bytes, high byte first.
//
// Like the other serial protocols it works on the driver's UART pointer, port
// handle and exchange lock (references) and logs through the driver; one
// exchange holds the lock, every read is bounded by the UART's time-out.
class SeawolfProtocol {
public:
    // Receive time-out of every read of an exchange (tenths of a second).
    static constexpr int kTimeout = 3;
    // Results of sendCommand besides the negative codes (and 0: refused answer).
    static constexpr int kAccepted = 1;
    static constexpr int kData = 2;
    static constexpr int kRejected = 3;
    enum : int {
        kNotSent = -1,     // nothing went out
        kNoAnswer = -2,    // missing or short answer
        kModuleError = -3, // the module answered 03
        kUnknownCode = -4, // a first byte that is no result code
    };
    // The answer buffer of a write; a register value takes four data bytes.
    static constexpr int kAnswerCapacity = 256;
    static constexpr int kValueBytes = 4;
    static constexpr int kDefaultPage = 0x00;

    SeawolfProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                    ISensorController& log);
    SeawolfProtocol(const SeawolfProtocol&) = delete;
    SeawolfProtocol& operator=(const SeawolfProtocol&) = delete;

    // The complement of the sum of the bytes before the last, into the last.
    static void computeCheckSum(uint8_t* frame, int length);
    // The checksum the frame should carry in its last byte.
    static uint8_t getCheckSum(const uint8_t* frame, int length);
    // The request frames; they return their length, the checksum not yet filled in.
    static int readFrame(uint8_t frame[5], int page, int reg);
    static int writeFrame(uint8_t frame[9], int page, int reg, int value);

    // One exchange under the lock: checksum, input cleared, frame written,
    // result code read. kAccepted; kData with the N data bytes in `answer`
    // (N to `*received` when given); 0 for a count above `capacity` (refused
    // before the data are read) or a wrong checksum; or a negative code.
    int sendCommand(uint8_t* frame, int length, uint8_t* answer, int capacity,
                    int* received = nullptr);
    // Reads and drops the input one byte at a time until a read gets nothing.
    int recvLeftData();
    // 1 only for an accepted command; otherwise drains the input and returns 0.
    int setParameterValue(uint8_t* frame, int length);
    // 1 only when data came; otherwise prints the exchange (print flag),
    // drains the input and returns 0.
    int getParameterValue(uint8_t* frame, int length, uint8_t* answer, int capacity,
                          int* received = nullptr);
    // The read frame of a register of page 0, or of `page`.
    int getParameterValue(int reg, uint8_t* answer, int capacity);
    int getParameterValue(int page, int reg, uint8_t* answer, int capacity);

    // A register by page and number: 1 or 0. A read takes only four data bytes.
    int writeRegister(int page, int reg, int value);
    int readRegister(int page, int reg, int& value);
    // The module's store: keep the registers (07 00), restart from it (09 01 01).
    int flush();
    int resetParameters();

private:
    int readData(uint8_t* answer, int capacity, int* received);

    BinaryLink m_objLink;
    KVMutex& m_lock;
    ISensorController& m_log;
};

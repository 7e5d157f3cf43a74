// The Effio binary register protocol: category and byte-number frames with an additive checksum.
#pragma once

#include "drivers/protocols/BinaryLink.h"
#include "platform/KVMutex.h"

#include <cstdint>

class ISensorController;

// An Effio module keeps its settings in registers named by a category and a
// byte number. The requests are
//   06 57 category byte value checksum              write of one byte
//   07 57 category byte high low checksum           write of two bytes
//   06 52 category first last checksum              read
// each closed by the sum of the bytes before it, modulo 256. The answers
// have fixed lengths: a write is answered with 3 bytes, 57 status sum-of-both;
// a read of n value bytes with n + 3, 52 status values.. checksum. The first
// byte repeats the request's operation; a status of F0, F1, F2 or FE is the
// module's refusal, any other its consent. A two-byte register is read with
// first = last = its byte number and answers its two bytes, high byte first.
//
// The protocol works on the driver's UART pointer, port handle and exchange
// lock (references: the driver owns them and outlives the protocol) and logs
// through the driver. One exchange holds the lock, clears the input first,
// and reads exactly the answer's length, bounded by the UART's time-out.
class EffioProtocol {
public:
    // Receive time-out of an answer (tenths of a second).
    static constexpr int kTimeout = 3;
    // The pause after an accepted write before the module takes the next
    // frame (microseconds).
    static constexpr long kWritePause = 10000;
    static constexpr uint8_t kWrite = 0x57;
    static constexpr uint8_t kRead = 0x52;
    // The most value bytes one read may ask for.
    static constexpr int kMaxValues = 16;

    EffioProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                  ISensorController& log);
    EffioProtocol(const EffioProtocol&) = delete;
    EffioProtocol& operator=(const EffioProtocol&) = delete;

    // The sum of the bytes before the last, modulo 256, into the last.
    static void computeCheckSum(uint8_t* frame, int length);
    // A write of `width` (1 or 2) value bytes; a read of the byte numbers
    // first..last. They return the frame's length, the checksum not yet
    // filled in.
    static int writeFrame(uint8_t frame[7], int category, int byteNumber, int width, int value);
    static int readFrame(uint8_t frame[6], int category, int first, int last);
    // A two-byte value from its bytes as they go on the line (high first), and back.
    static int assembleData(uint8_t high, uint8_t low) { return high << 8 | low; }
    static void splitData(int value, uint8_t& high, uint8_t& low) {
        high = static_cast<uint8_t>((value >> 8) & 0xFF);
        low = static_cast<uint8_t>(value & 0xFF);
    }
    // The module's message for a refusing status; nullptr for consent.
    static const char* statusMessage(uint8_t status);

    // One write exchange: 1 when the module takes the frame (and after the
    // pause the module needs), 0 otherwise (logged).
    int setParameters(uint8_t* frame, int length);
    // One read exchange: 1 with the n value bytes copied to `values` (which
    // takes n), 0 otherwise (logged); nothing beyond n bytes is ever written.
    int getParameters(uint8_t* frame, int length, uint8_t* values, int n);

    // A register write or read by category, byte number and width: 1 or 0.
    int writeRegister(int category, int byteNumber, int width, int value);
    int readRegister(int category, int byteNumber, int width, int& value);

    // The log lines of an answer that comes short.
    struct ShortAnswer {
        const char* failure;
        const char* sent;
        const char* received;
    };

private:
    // Reads the answer's `total` bytes and judges its status: false (logged)
    // when fewer come or the module refuses.
    bool receive(uint8_t* answer, int total, const ShortAnswer& dump, const uint8_t* frame,
                 int length);
    // Checksum in, input cleared, frame out; false (logged with `what`) when
    // it did not go out whole.
    bool send(uint8_t* frame, int length, const char* what);

    BinaryLink m_objLink;
    KVMutex& m_lock;
    ISensorController& m_log;
};

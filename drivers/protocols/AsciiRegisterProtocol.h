// One ASCII register link: register frames, echo-checked writes, register reads.
#pragma once

#include "foundation/SafePointer.h"
#include "platform/IUARTController.h"
#include "platform/KVMutex.h"

#include <string>

class ISensorController;

// The block modules programmed through single registers in printable ASCII
// (the Hitach, Hitach-compatible, CMD7200 and SC110N-C drivers) all talk to
// their module through this one class. A frame is ":", a command letter ("W"
// one-byte write, "w" two-byte write, "R" read, "r" special read), four
// upper-case hex digits of register address and two or four of data, sent
// bare: no terminator, no checksum. The module answers every frame with one
// of the same length: a write with its echo, a read with the request whose
// "00"/"0000" placeholder carries the register's value.
//
// Like the VISCA transport, the protocol holds references to the driver's own
// UART pointer, port handle and protocol lock, and logs through the driver's
// error log (frames and answers as hex dumps); the driver owns all of them and
// outlives the protocol. Each send or read holds the lock for all of its
// attempts, is tried at most three times, and clears the serial input before
// every attempt so that a late answer to an earlier frame is not read as this
// one's. Every read is bounded by the UART's time-out (tenths of a second).
class AsciiRegisterProtocol {
public:
    static constexpr int kAttempts = 3;
    // Receive buffer: no answer of the family comes near it.
    static constexpr int kMaxReply = 100;
    // Receive time-outs (tenths of a second) of a write's echo and of a read.
    static constexpr int kEchoTimeout = 5;
    static constexpr int kReadTimeout = 4;
    // The frame telling the module that initialisation is over; the module
    // never answers it.
    static const char* const kInitComplete;

    AsciiRegisterProtocol(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                          ISensorController& log);
    AsciiRegisterProtocol(const AsciiRegisterProtocol&) = delete;
    AsciiRegisterProtocol& operator=(const AsciiRegisterProtocol&) = delete;

    // prefix + value in hex, zero-padded to `width` digits (2: one-byte
    // register, 4: two-byte), the last `width` characters upper case. A value
    // wider than `width` keeps all its digits; the width is clamped to 1..8.
    static std::string assembleString(const std::string& prefix, int value, int width);
    // The value of a string of hex digits (either case). Strict: an empty
    // string, any other character, or more than 7 digits (which would not fit
    // an int) gives -1, which no register value of the family is.
    static int ascToHex(const std::string& text);

    // Writes a frame and checks its echo. A short write or a short echo is
    // retried; an echo that differs is logged, and fails the send only on the
    // third attempt (on the first two the frame counts as delivered). The
    // initialisation-complete frame is sent without reading. 1 on success,
    // 0 after three failed attempts.
    int sendData(const std::string& frame);
    // The operation a failed write of sendData names in its log line
    // ("===send(n times) @<name> failed,send(n):"); "setParameterValue"
    // unless a module's driver says otherwise.
    void setWriteName(const char* name) { m_szWriteName = name; }

    // Writes a frame the module does not answer (retrying a short write) and
    // reads nothing. 1 when all of it went out.
    int sendNotice(const std::string& frame);
    // Sends a read request and takes the answer: all but its last n characters
    // must equal the request's (else it answers another frame and the attempt
    // fails); the last n are the value, and hex digits only (else the attempt
    // fails too). 1 with `value` set, or 0 (n must be 1 to length - 1).
    int recvData(const std::string& request, int n, int& value);

private:
    // False, with a log line, when there is no open port to send on.
    bool portOpen(const std::string& frame);
    // One attempt's write; logs a short write under the caller's name.
    bool write(const std::string& frame, int attempt, const char* name);
    // Clears the receive buffer and reads len bytes; returns the count read.
    int readAnswer(int len, int timeout);
    void logAnswer(const char* what, int attempt, const char* name, const std::string& frame,
                   int got);
    void drain();

    SafePointer<IUARTController>& m_uart;
    int& m_nPort;
    KVMutex& m_lock;
    ISensorController& m_log;
    const char* m_szWriteName;
    char m_szRecv[kMaxReply];
};

// One VISCA serial link: command, inquiry, echo-checked and plain sends, frame helpers.
#pragma once

#include "foundation/SafePointer.h"
#include "platform/IUARTController.h"
#include "platform/KVMutex.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

class ISensorController;

// Every VISCA-speaking driver (block cameras at address 1: commands begin 0x81,
// replies 0x90, every message ends 0xFF) talks to its module through this one
// class, so the retry, drain and logging rules are written once. The transport
// holds references to the driver's own UART pointer, port handle and
// controller lock, so a port opened or replaced by the driver later is seen
// here at once; the driver owns all of them and outlives the transport.
//
// Each exchange runs under the controller lock and is tried at most three
// times, with the serial input drained before the first attempt and after a
// failed one, and takes only the reply that answers its own frame (see
// readAnswer). On a platform thread being stopped no attempt starts and the
// waits end at once. Every read is
// bounded: receive time-outs count tenths of a second (the UART's unit) and
// the reply reader gives up after a fixed number of bytes. Failures are
// logged through the controller's error log with the frames as hex dumps; the
// `name` arguments put the calling operation's name into those lines.
class ViscaTransport {
public:
    // Size of the reply reader's scratch buffer: no VISCA reply is longer.
    static constexpr int kMaxReply = 100;
    static constexpr int kAttempts = 3;
    // Receive time-outs (tenths of a second) of the acknowledge/inquiry reads
    // and of the echo read.
    static constexpr int kReplyTimeout = 2;
    static constexpr int kEchoTimeout = 5;

    ViscaTransport(SafePointer<IUARTController>& uart, int& port, KVMutex& lock,
                   ISensorController& log);

    // How a module family answers. The zoom-dome modules acknowledge a command
    // and complete it later, so a completion is another frame's; the Sony
    // block cameras may answer a command with its completion alone, so either
    // counts. `replyTimeout` is the acknowledge/inquiry read's time-out.
    // `firstThreeBytes`: a longer answer to a command is judged by its first
    // three bytes (so an error reply logs as a wrong answer) instead of
    // counting as nothing read.
    struct Policy {
        bool completionAnswersCommand = false;
        int replyTimeout = kReplyTimeout;
        bool firstThreeBytes = false;
    };
    void setPolicy(const Policy& policy) { m_policy = policy; }
    ViscaTransport(const ViscaTransport&) = delete;
    ViscaTransport& operator=(const ViscaTransport&) = delete;

    // Opens the module's serial device into the driver's port handle and sets
    // the line; on failure logs "open uart (<device>) failed" or the
    // port-settings message, leaves no port open and returns 0.
    int openPort(const std::string& device, int baud, int dataBits, int stopBits, int parity);
    // A UART is set and a port is open.
    bool isOpen() const { return m_uart.get() != nullptr && m_nPort >= 0; }

    // Reads one reply: skips bytes until a 0x90, then collects up to and
    // including the closing 0xFF. Each byte is read with `timeout`. Returns the
    // reply's length (copied to buf), or -1 when nothing came or the reply is
    // longer than maxLen.
    int getRealData(char* buf, int maxLen, int timeout);
    // Like getRealData, but skips completion messages (90 51 FF, 90 52 FF).
    int recvData(char* buf, int len, int timeout);

    // Sends a command and waits for its acknowledge (90 41 FF or 90 42 FF);
    // completions and inquiry replies are another frame's and passed over.
    // 1 on success, 0 after three failed attempts.
    int command(const char* frame, int len, const char* name = "setParameterValue");
    // Sends an inquiry and copies its reply, 90 50 .. FF of exactly replyLen
    // bytes, to reply; acknowledges and completions are passed over.
    int inquiry(const char* frame, int len, char* reply, int replyLen,
                const char* name = "getParameterValue");
    // Sends a frame the module echoes byte for byte. A wrong echo on the first
    // or second attempt is only logged (the frame counts as delivered); only a
    // missing/short echo is retried, and only a wrong third echo fails.
    int sendWithEcho(const char* frame, int len, const char* name = "KVSendParam");
    // Sends a command after which the module restarts (the video-format
    // register write of the Sony block cameras): under the lock, input
    // drained, one send; then the answer is read with `timeout`, a second
    // time if the first read gets nothing. Returns the answer's length (up to
    // 3 bytes copied to `answer`), 0 when both reads timed out, -1 when the
    // frame did not go out (logged). The caller judges the answer.
    int commandWithRestart(const char* frame, int len, int timeout, char answer[3],
                           const char* name = "setParameterValue");
    // Sends a module's restart frame (plain send). When all of it went out
    // prints "Restarting sensor", waits out the 20 s the module is deaf and
    // drains the line; otherwise waits 1 s and returns 0.
    int sendRestart(const char* frame, int len);
    // Called before every attempt of a command, with the attempt number (a
    // module driver that traces its sends; none by default).
    using AttemptTrace = std::function<void(int attempt, const char* frame, int len)>;
    void setCommandTrace(AttemptTrace trace) { m_commandTrace = std::move(trace); }
    // Sends without waiting for an answer and without the lock (the vendor
    // frames are plain sends); returns the count sent (-1: error).
    int sendPlain(const char* frame, int len);

    // Vendor frame FE <body> checksum FF, checksum = low byte of the body's
    // sum (four body bytes on the dome modules, five on the CMD8300). Writes
    // body.size() + 3 bytes (at most kMaxVendorBody + 3) and returns that count.
    static constexpr int kMaxVendorBody = 8;
    static int vendorFrame(char* out, std::initializer_list<int> body);
    // The low byte of value as two bytes: high nibble, low nibble.
    static void nibbles(int value, char out[2]);
    // A 16-bit position as four bytes 0p 0q 0r 0s, high nibble first.
    static void encodePosition(int value, char out[4]);
    // p*4096 + q*256 + r*16 + s from four bytes 0p 0q 0r 0s.
    static int decodePosition(const char in[4]);

private:
    // The attempt loop shared by command and inquiry: under the lock, drain,
    // send, read the answer (readAnswer) and let `judge` accept it or log
    // its failure, and drain the input before the next attempt.
    int exchange(const char* frame, int len, const char* name, bool inquiry,
                 const std::function<bool(int attempt, int got)>& judge);
    int readAnswer(bool inquiry);
    void drain();
    void logSendFailure(const char* name, int attempt, int sent, const char* frame, int len);
    void logRecvFailure(const char* name, int attempt, const char* frame, int len,
                        const char* reply, int got);

    SafePointer<IUARTController>& m_uart;
    int& m_nPort;
    KVMutex& m_lock;
    ISensorController& m_log;
    char m_szRecv[kMaxReply];
    // The last attempt got no whole answer, which may still come (readAnswer).
    bool m_bLateAnswer = false;
    AttemptTrace m_commandTrace;
    Policy m_policy;
};

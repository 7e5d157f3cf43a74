// Image-adapter driver calls of the on-chip ISP, with a simulated adapter.
#pragma once

#include <cstdint>
#include <vector>

// Direction argument of kvia_ioctrl().
constexpr int KVIA_DIR_READ = 0;
constexpr int KVIA_DIR_WRITE = 1;

// Results of kvia_ioctrl() and kvia_preinit(): 0 succeeds, anything else is an
// error code that callers log in hexadecimal.
constexpr int KVIA_OK = 0;
constexpr int KVIA_ERR_ARGUMENT = 0x1001; // null value pointer or bad direction
constexpr int KVIA_ERR_CODE = 0x1002;     // code outside 0..KVIA_MAX_CODE

constexpr int KVIA_MAX_CODE = 0xFFFF;
// The GPIO output code carries a (group, pin, value) triple; every other code
// carries one 32-bit word.
constexpr int KVIA_CODE_GPIO_OUTPUT = 178;

// Reads (direction 0) or writes (direction 1) the value of one adapter
// setting; `value` points to a 32-bit word (three words for the GPIO output).
int kvia_ioctrl(int code, int direction, void* value);

// Prepares the adapter for a controller; 0 on success.
int kvia_preinit();

// Control of the simulated adapter that stands in for the driver on a host.
// It keeps the words of each code (a code never written reads 0), records
// every successful write, and can be told to fail chosen codes. Thread-safe:
// the controller thread and the host thread call the adapter at once.
class KviaSimulator {
public:
    struct Write {
        int code;
        int32_t value;              // the first word
        std::vector<int32_t> words; // all words (one, or three for the GPIO output)
    };

    // Makes every call with the code return errcode (0 removes the failure).
    static void failCode(int code, int errcode);
    static void clearFailures();
    // Makes kvia_preinit() return errcode (0 lets it succeed again).
    static void failPreinit(int errcode);
    static int preinitCount();

    static std::vector<Write> writeLog();
    static void clearWriteLog();

    static void setValue(int code, int32_t value);
    static int32_t value(int code);
    static std::vector<int32_t> words(int code);

    // Forgets values, failures, the log and the pre-initialisation count.
    static void reset();

    // Number of 32-bit words the code carries.
    static int wordCount(int code);
};

// Image-adapter driver calls of the on-chip ISP, and the simulated adapter of host builds.
#pragma once

#include "platform/kvia_driver.h"

#include <cstdint>
#include <vector>

// kvia_ioctrl(), kvia_preinit(), the directions and KVIA_OK are the driver's
// C interface (platform/kvia_driver.h). Error codes of the simulated adapter:
constexpr int KVIA_ERR_ARGUMENT = 0x1001; // null value pointer or bad direction
constexpr int KVIA_ERR_CODE = 0x1002;     // code outside 0..KVIA_MAX_CODE

constexpr int KVIA_MAX_CODE = 0xFFFF;
// The GPIO output code carries a (group, pin, value) triple; every other code
// carries one 32-bit word.
constexpr int KVIA_CODE_GPIO_OUTPUT = 178;
// Day/night picture (1 day, 2 night); writing it moves the IR-cut filter,
// whose switching status reads non-zero until the filter has settled.
constexpr int KVIA_CODE_DAYNIGHT = 49;
constexpr int KVIA_CODE_IRCUT_STATUS = 177;
// The ISP's measure of the scene light.
constexpr int KVIA_CODE_LIGHT_MEASURE = 241;

// Control of the simulated adapter that stands in for the driver on a host.
// It keeps the words of each code (a code never written reads 0), records
// every call, and can be told to fail chosen codes. Like the driver, it moves
// the IR-cut filter on a day/night write: the switching status (177) reads 1
// until the settle time has passed (device seconds of the platform clock),
// then 0. Thread-safe: the controller thread and the host thread call the
// adapter at once. Only host builds have it (KV_ISP_DRIVER=simulated); a
// camera build links the vendor's driver and nothing of this class.
class KviaSimulator {
public:
    struct Write {
        int code;
        int32_t value;              // the first word
        std::vector<int32_t> words; // all words (one, or three for the GPIO output)
    };
    // One kvia_ioctrl call as the adapter saw it: the first word written, or
    // read back (0 when the call failed), and the call's result.
    struct Call {
        int code;
        int direction;
        int32_t value;
        int result;
    };

    // Makes every call with the code return errcode (0 removes the failure).
    static void failCode(int code, int errcode);
    static void clearFailures();
    // Makes kvia_preinit() return errcode (0 lets it succeed again).
    static void failPreinit(int errcode);
    static int preinitCount();

    // Successful writes only, and every call with a valid code and value
    // pointer (reads, writes, injected failures), oldest first; clearing one
    // clears both.
    static std::vector<Write> writeLog();
    static std::vector<Call> callLog();
    static void clearWriteLog();

    // The scene light the ISP measures (code 241).
    static void setLightMeasure(int32_t measure);
    // Device seconds the filter takes after a day/night write; negative: it
    // never settles (a jammed filter). 0.2 s unless set.
    static void setIrCutSettleTime(double deviceSeconds);
    static constexpr double kDefaultIrCutSettle = 0.2;

    static void setValue(int code, int32_t value);
    static int32_t value(int code);
    static std::vector<int32_t> words(int code);

    // Gives the picture words of the on-chip ISP controller the values the
    // ISP has after power-up (codes never written otherwise read 0).
    static void loadPowerUpValues();

    // Forgets values, failures, the logs, the settle time and the
    // pre-initialisation count.
    static void reset();

    // Number of 32-bit words the code carries.
    static int wordCount(int code);
};

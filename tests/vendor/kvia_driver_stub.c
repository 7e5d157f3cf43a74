/* A stand-in for the camera's ISP driver library, built only to prove that the
 * library links against a driver through platform/kvia_driver.h alone
 * (KV_ISP_DRIVER=vendor). It keeps one word per code (three for the GPIO
 * output) and fails codes it has no room for, as a driver refuses unknown ones. */
#include "kvia_driver.h"

#include <string.h>

#define STUB_CODES 1024
#define STUB_GPIO_OUTPUT 178
#define STUB_ERR_CODE 0x2000

static int g_words[STUB_CODES][3];

int kvia_ioctrl(int code, int direction, void* value) {
    const size_t size = (code == STUB_GPIO_OUTPUT ? 3 : 1) * sizeof(int);
    if (code < 0 || code >= STUB_CODES || value == NULL)
        return STUB_ERR_CODE;
    if (direction == KVIA_DIR_WRITE)
        memcpy(g_words[code], value, size);
    else if (direction == KVIA_DIR_READ)
        memcpy(value, g_words[code], size);
    else
        return STUB_ERR_CODE;
    return KVIA_OK;
}

int kvia_preinit(void) {
    return KVIA_OK;
}

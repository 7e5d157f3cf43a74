/* The camera's ISP driver ("image adapter") as this library calls it.
 *
 * This is the whole interface between the sensor-control library and the
 * SoC's ISP driver library. A host build (KV_ISP_DRIVER=simulated, the
 * default) links the simulated adapter of platform/kvia.cpp; a camera build
 * (KV_ISP_DRIVER=vendor) links the camera's own driver library, which must
 * provide these two functions with C linkage. The header is plain C so that
 * the driver library (and a stand-in for it) can be built against it.
 *
 * int kvia_ioctrl(int code, int direction, void* value)
 *   Reads (direction KVIA_DIR_READ, 0) or writes (KVIA_DIR_WRITE, 1) one
 *   adapter setting. `value` points to one 32-bit signed word, except for
 *   code 178 (GPIO output), where it points to three: group, pin, level.
 *   Returns KVIA_OK (0) on success; any other value is the driver's error
 *   code, which the library logs in hexadecimal and treats as a failure
 *   without retrying. A failed read leaves *value as it was.
 *
 * int kvia_preinit(void)
 *   Prepares the adapter for a controller that drives the ISP directly;
 *   called once by such a controller's start-up. 0 on success.
 *
 * Codes the library uses, with their direction:
 *   35   module gain handed to the 2A library            write (VISCA modules)
 *   49   day/night AE link: 1 day, 2 night               write (VISCA modules)
 *   132  noise-reduction mode (1 auto, 2 manual, ...)    read, write (VISCA modules)
 *   133  automatic noise-reduction value                 read, write (VISCA modules)
 *   134  manual noise-reduction value 0..100            read, write (VISCA modules)
 *   337  last zoom position for the 2A library           write (CMD7400)
 * A controller that drives the ISP directly adds its picture codes, and uses
 * 49 as the day/night picture, 177 (IR-cut switching status, 0 when settled,
 * read), 178 (GPIO output: group, pin, level, three words, write) and 241
 * (the ISP's light measure, read); the simulated adapter already behaves so.
 */
#ifndef KV_PLATFORM_KVIA_DRIVER_H
#define KV_PLATFORM_KVIA_DRIVER_H

#define KVIA_DIR_READ 0
#define KVIA_DIR_WRITE 1
#define KVIA_OK 0

#ifdef __cplusplus
extern "C" {
#endif

int kvia_ioctrl(int code, int direction, void* value);
int kvia_preinit(void);

#ifdef __cplusplus
}
#endif

#endif /* KV_PLATFORM_KVIA_DRIVER_H */

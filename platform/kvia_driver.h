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
 * The ISP controller (module 80) drives the picture directly, one word each:
 *   1 brightness, 2 saturation, 3 sharpness, 4 contrast,
 *   17 shutter mode, 18 max shutter, 19 fixed shutter, 20 video system
 *   (1 for system 0, 0 for system 1), 33 gain mode, 34 max gain, 35 fixed gain,
 *   50 day-to-night and 51 night-to-day threshold, 65 iris mode, 66 iris
 *   speed, 67 indoor/outdoor, 81 WDR mode, 82 WDR strength, 97 metering,
 *   113 mirror, 114 be-away mode, 129..131 and 132..134 2D and 3D noise
 *   reduction (mode, max, fixed), 193 smart infrared mode, 194 infrared
 *   manual value, 209 HLC mode, 210 HLC strength, 225 BLC mode,
 *   273 zoom move interval, 276 focus move interval, 305 defog,
 *   306 defog strength, 322 anti-shake                 read, write
 *   274 zoom move, 277 focus move (1..6: fast/slow, directions, auto
 *   focus, 5 reset)                                      write
 *   49 day/night picture (1 day, 2 night)                write
 *   177 IR-cut switching status, 0 when settled          read
 *   178 GPIO output: group, pin, level (three words)     write
 *   241 the ISP's light measure (grows as it darkens)    read
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

#!/bin/sh
# CMD8300 camera module start-up script for NTSC video (30 frames a second).
# The unit's start-up runs /mnt/mtd/code/config_file/sensorInit.sh before the
# main application; sensor control copies this file there when the video
# system is switched to NTSC (0), so the next power-up brings the module and
# the video pipeline up in the same system.
VIDEO_SYSTEM=NTSC
FRAME_RATE=30
export VIDEO_SYSTEM FRAME_RATE

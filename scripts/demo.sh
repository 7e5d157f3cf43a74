#!/usr/bin/env bash
# The demo: builds sensorctl and drives a simulated zoom-dome module in a copy of the sample unit.
# Installs what is missing first. Everything happens in a temporary directory that is removed at
# the end; nothing outside the build folder (build/demo) is touched.
set -euo pipefail
cd "$(dirname "$0")/.."

SKIP_ARM=${SKIP_ARM:-1} bash scripts/setup.sh

section() { printf '\n\033[1m== %s\033[0m\n' "$*"; }
note() { printf '   %s\n' "$*"; }

section "Building sensorctl (build/demo)"
cmake -S . -B build/demo -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=OFF >/dev/null
cmake --build build/demo --target sensorctl -j"$(nproc 2>/dev/null || echo 2)" >/dev/null
sensorctl=build/demo/tools/sensorctl

root=$(mktemp -d "${TMPDIR:-/tmp}/sensorctl-demo.XXXXXX")
trap 'rm -rf "$root" 2>/dev/null || true' EXIT
cp -r examples/rootfs/. "$root"
note "sample unit copied to $root"
note "module: $(grep -o 'id="[0-9]*"' "$root/hd1/moduleConfig/moduleConfig.xml") (FBS8300 zoom dome, VISCA on RS485)"

# Every step below is one sensorctl run on the same unit: it starts the controller as the
# camera's main application does (module 82 from moduleConfig.xml), against the built-in
# simulator on a pseudo-terminal, with the clock 20 times faster. The settings it keeps live in
# the unit's parameter files, so each run starts from what the previous one saved.
ctl() { "$sensorctl" --root "$root" --simulate --time-scale 0.05 "$@"; }
# A verbose run that starts with "init", shown from after the start-up: the frames each later
# command sent ("> ..."), its result line, nothing of the start-up itself.
after_init() {
    ctl --verbose init -- "$@" 2>&1 | awk 'seen && (/^> / || !/^[<[ ]/) { print } /^ok$/ { seen = 1 }'
}

section "1. Start-up: the controller finds the module, sets its serial speed and video system"
ctl init -- ids | head -n 8
note "... ('ids' lists every setting the driver offers, with its range)"

section "2. Set three picture settings by name, read them back, save them"
ctl set saturation=60 -- set contrast=55 -- set sharpness=40 -- get saturation contrast sharpness -- flush

section "3. The frames sent to the module for one change (VISCA, hexadecimal)"
note "contrast 55 -> 70: the driver maps the value to the module's range and sends it"
after_init set contrast=70 -- flush

section "4. The parameter file of the scheme in force: every setting as (id,value) pairs"
scheme=$(ctl scheme | sed -n 's/^scheme=//p')
f="$root/mnt/mtd/code/config_file/sensor$((scheme + 1)).cfg"
note "scheme $scheme is in force (the last one is the all-day scheme); its file ${f#"$root"}:"
fold -w 96 "$f" | sed 's/^/     /'
echo

section "5. Night: IR-cut filter out of the light path (04 01), night picture (04 51), IR LEDs on"
after_init daynight night -- wait 3 -- dnstate -- leds

section "6. Back to day: filter in, LEDs off"
after_init daynight day -- wait 3 -- dnstate -- leds

section "Done"
note "Try it yourself:  $sensorctl --help"
note "   root=\$(mktemp -d) && cp -r examples/rootfs/. \"\$root\""
note "   $sensorctl --root \"\$root\" --simulate     (then type commands, e.g. get saturation)"

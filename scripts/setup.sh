#!/usr/bin/env bash
# Installs what the build, the tests and the cross-build need on Debian 12.
# Quiet when everything is already present.
set -euo pipefail

host_pkgs=(cmake make g++ pkg-config clang-format
           libtinyxml-dev libspdlog-dev libfmt-dev libcli11-dev
           googletest libgtest-dev libgmock-dev libbenchmark-dev
           libcpp-httplib-dev nlohmann-json3-dev
           chromium chromium-driver python3-selenium)
arm_pkgs=(g++-arm-linux-gnueabihf qemu-user
          libtinyxml-dev:armhf libspdlog-dev:armhf libfmt-dev:armhf libgtest-dev:armhf libgmock-dev:armhf)

want_arm=1
[ "${SKIP_ARM:-0}" = 1 ] && want_arm=0

missing() {
    local p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || echo "$p"
    done
}

sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)

need=($(missing "${host_pkgs[@]}"))
if [ "$want_arm" = 1 ]; then
    if ! dpkg --print-foreign-architectures | grep -qx armhf; then
        "${sudo_cmd[@]}" dpkg --add-architecture armhf
        need+=(__update__)
    fi
    need+=($(missing "${arm_pkgs[@]}"))
fi

[ ${#need[@]} -eq 0 ] && exit 0

echo "setup: installing ${need[*]/__update__/}" >&2
export DEBIAN_FRONTEND=noninteractive
# A mirror caught mid-sync fails one index now and then; retry, then go on with
# what was fetched (the install below says clearly if a package is still missing).
for attempt in 1 2 3; do
    "${sudo_cmd[@]}" apt-get update -qq >/dev/null 2>&1 && break
    sleep $((attempt * 5))
done
pkgs=()
for p in "${need[@]}"; do [ "$p" != __update__ ] && pkgs+=("$p"); done
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${pkgs[@]}" >/dev/null

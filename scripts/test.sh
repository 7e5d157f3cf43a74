#!/usr/bin/env bash
# Builds and runs the whole suite: under AddressSanitizer + UndefinedBehavior-
# Sanitizer (the settings page's test in headless Chromium among them), the threaded tests again under ThreadSanitizer, and a cross-build
# for 32-bit ARM run under qemu-arm, the camera build against the ISP
# driver's C interface (a stand-in driver library, build and link check only),
# and an installation into a temporary prefix: its tools run from there, and a
# consumer project builds against it (CMake package and pkg-config); the
# benchmarks are built with it but not run (scripts/bench.sh runs them).
# Installs what is missing first.
#   KV_STAGES="asan tsan arm vendor install" picks stages (default: all five).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
stages=${KV_STAGES:-"asan tsan arm vendor install"}
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
# The settings page's browser test may skip only where no browser can run, never here.
export KV_REQUIRE_BROWSER=1

build() { # dir, cmake args...
    local dir=$1; shift
    cmake -S . -B "$dir" "$@" >/dev/null
    cmake --build "$dir" -j"$jobs" 2>&1 | grep -vE '^\[ *[0-9]+%\]|^-- ' || true
    cmake --build "$dir" -j"$jobs" >/dev/null # fail here if the build failed
}

run_ctest() { # dir, ctest args...
    local dir=$1; shift
    ctest --test-dir "$dir" -j"$jobs" --output-on-failure "$@"
}

for stage in $stages; do
    case $stage in
    asan)
        echo "== AddressSanitizer + UndefinedBehaviorSanitizer =="
        build build/asan -DCMAKE_BUILD_TYPE=Debug -DKV_SANITIZE=address,undefined
        run_ctest build/asan
        ;;
    tsan)
        echo "== ThreadSanitizer (threaded tests) =="
        build build/tsan -DCMAKE_BUILD_TYPE=Debug -DKV_SANITIZE=thread
        # gcc 12's TSan runtime cannot map its shadow under the kernel's
        # high-entropy ASLR; run with randomisation off.
        # Instrumented and emulated runs are several times slower, and a module
        # exchange that misses its time-out is retried: a test that fails is
        # run once more, so only a failure that repeats fails the stage.
        setarch "$(uname -m)" -R ctest --test-dir build/tsan -j"$jobs" --output-on-failure -L threaded \
            --repeat until-pass:2
        ;;
    arm)
        echo "== 32-bit ARM under qemu-arm =="
        # Optimised, as on the camera: also the build that sees -O2's warnings.
        build build/armhf -DCMAKE_BUILD_TYPE=RelWithDebInfo \
            -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake
        run_ctest build/armhf --repeat until-pass:2
        ;;
    vendor)
        echo "== 32-bit ARM linked to an ISP driver library (KV_ISP_DRIVER=vendor) =="
        stub=build/armhf-isp-stub/libkvia_stub.so
        mkdir -p "$(dirname "$stub")"
        arm-linux-gnueabihf-gcc -std=c99 -Wall -Wextra -Werror -O2 -fPIC -shared -Iplatform \
            -Wl,-soname,libkvia_stub.so -o "$stub" tests/vendor/kvia_driver_stub.c
        build build/armhf-vendor -DCMAKE_BUILD_TYPE=RelWithDebInfo \
            -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake -DKV_BUILD_TESTS=OFF \
            -DKV_ISP_DRIVER=vendor -DKV_ISP_VENDOR_LIBRARY="$PWD/$stub"
        # The camera's library calls the driver and carries no simulated adapter.
        lib=build/armhf-vendor/libsensorcontrol.so
        if arm-linux-gnueabihf-nm -C -D --defined-only "$lib" | grep -E 'KviaSimulator|kvia_'; then
            echo "the vendor build still defines the simulated ISP driver" >&2
            exit 1
        fi
        # (grep reads all of nm's output: an early exit would fail the pipe)
        arm-linux-gnueabihf-nm -D --undefined-only "$lib" | grep -w kvia_ioctrl >/dev/null
        echo "libsensorcontrol.so takes kvia_ioctrl from the driver library"
        ;;
    install)
        echo "== Installed tools and a consumer of the installed package =="
        # The benchmarks are built here (not run) so that they keep compiling.
        build build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=OFF \
            -DKV_BUILD_BENCH=ON
        scratch=$(mktemp -d)
        prefix=$scratch/prefix
        cmake --install build/release --prefix "$prefix" >/dev/null
        # The tools find the library beside them, with no LD_LIBRARY_PATH.
        readelf -d "$prefix/bin/sensorctl" | grep -F 'RUNPATH' | grep -F '$ORIGIN' >/dev/null
        env -u LD_LIBRARY_PATH "$prefix/bin/sensorctl" --help >/dev/null
        env -u LD_LIBRARY_PATH "$prefix/bin/camsim" --help >/dev/null
        env -u LD_LIBRARY_PATH "$prefix/bin/sensorctl" --simulate --time-scale 0.01 get saturation |
            grep -E '^saturation=[0-9]+$'
        # A program of the camera's application built against the installation.
        cmake -S examples/consumer -B "$scratch/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
        cmake --build "$scratch/consumer" >/dev/null
        mkdir -p "$scratch/root"
        KV_ROOT=$scratch/root "$scratch/consumer/consumer"
        export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
        # shellcheck disable=SC2046 # the flags are words
        c++ -std=c++17 -Wall -Wextra -Werror examples/consumer/main.cpp \
            $(pkg-config --cflags --libs sensorcontrol) -Wl,-rpath,"$prefix/lib" \
            -o "$scratch/consumer-pkg-config"
        KV_ROOT=$scratch/root "$scratch/consumer-pkg-config"
        unset PKG_CONFIG_PATH
        rm -rf "$scratch"
        ;;
    *)
        echo "unknown stage: $stage" >&2
        exit 2
        ;;
    esac
done

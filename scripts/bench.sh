#!/usr/bin/env bash
# Builds the benchmarks (release build with -DKV_BUILD_BENCH=ON) and runs them
# at real time against the simulators; the table at the end lists each
# figure beside its goal (docs/performance.md says what each one measures).
#   bash scripts/bench.sh [--benchmark_filter=REGEX] [other Google Benchmark flags]
# The controllers' own console lines go to build/bench/console.log.
# Takes about two minutes on a 2-core machine; not part of the test command.
set -euo pipefail
cd "$(dirname "$0")/.."

SKIP_ARM=1 bash scripts/setup.sh

out=build/bench
cmake -S . -B "$out" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=OFF \
    -DKV_BUILD_BENCH=ON >/dev/null
cmake --build "$out" -j"$(nproc 2>/dev/null || echo 2)" --target kvbench 2>&1 |
    grep -vE '^\[ *[0-9]+%\]|^-- ' || true
KVBENCH_LOG=$out/console.log "$out/bench/kvbench" "$@"

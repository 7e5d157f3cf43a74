#!/usr/bin/env bash
# Builds the fuzz targets with clang as libFuzzer programs (ASan + UBSan) and runs
# each for a given time, starting from its seed corpus in fuzz/corpus/<target>/.
#   bash scripts/fuzz.sh [SECONDS] [TARGET...]      (default: 60 seconds, every target)
# New interesting inputs collect in build/fuzz/corpus/<target>/; crashes as
# build/fuzz/artifacts/<target>-crash-*. Copy a crash input into the seed corpus
# once fixed: the test command replays the seeds.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true

bash scripts/setup.sh
need=()
for p in clang libclang-rt-14-dev; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || need+=("$p")
done
if [ ${#need[@]} -gt 0 ]; then
    sudo_cmd=()
    [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${need[@]}" >/dev/null
fi

out=build/fuzz
CC=clang CXX=clang++ cmake -S . -B "$out" -DCMAKE_BUILD_TYPE=Debug -DKV_FUZZ=ON \
    -DKV_BUILD_TESTS=OFF -DKV_SANITIZE=address,undefined >/dev/null
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for f in fuzz/*.cpp; do
        name=$(basename "$f" .cpp)
        [ "$name" = ReplayMain ] || targets+=("$name")
    done
fi
cmake --build "$out" -j"$(nproc)" --target "${targets[@]/#/fuzz_}" >/dev/null

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
status=0
mkdir -p "$out/artifacts" "$out/logs"
for name in "${targets[@]}"; do
    mkdir -p "$out/corpus/$name"
    log="$out/logs/$name.log"
    # stdout of the code under test is closed; stderr (and every sanitizer report) goes to the log.
    if "$out/fuzz/fuzz_$name" -max_total_time="$seconds" -close_fd_mask=1 -print_final_stats=1 \
        -artifact_prefix="$out/artifacts/$name-" "$out/corpus/$name" "fuzz/corpus/$name" \
        >"$log" 2>&1; then
        result=ok
    else
        result="FAILED (see $log)"
        status=1
    fi
    runs=$(grep -oE 'stat::number_of_executed_units: *[0-9]+' "$log" | grep -oE '[0-9]+$' || echo "?")
    printf '%-24s %12s executions in %ss: %s\n' "$name" "$runs" "$seconds" "$result"
done
exit $status

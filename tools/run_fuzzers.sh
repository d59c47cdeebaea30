#!/bin/sh
# Builds the fuzz targets with clang and runs each for the given number of seconds, starting
# from the committed seeds in fuzz/corpus/NAME; what a run adds is kept in
# fuzz/build/corpus/NAME for the next run. Prints the executions of each target and exits
# non-zero when any target found a fault (its input is saved in fuzz/build/artifacts).
#
# usage: tools/run_fuzzers.sh SECONDS [TARGET...]     targets: fen user_move ini book console xboard uci
# PARALLEL=2 runs two targets at a time; JOBS sets the build's parallelism (default 2).
set -u
SECONDS_EACH=${1:?usage: run_fuzzers.sh SECONDS [TARGET...]}
shift
FUZZ=$(cd "$(dirname "$0")/../fuzz" && pwd)
BUILD=${FUZZ_BUILD:-$FUZZ/build}
TARGETS=${*:-fen user_move ini book console xboard uci}
PARALLEL=${PARALLEL:-1}
. "$(dirname "$0")/common.sh"

mkdir -p "$BUILD/artifacts" "$BUILD/logs"
cmake -S "$FUZZ" -B "$BUILD" -DCMAKE_CXX_COMPILER=clang++ >"$BUILD/logs/cmake.log" 2>&1 ||
    { cat "$BUILD/logs/cmake.log"; exit 1; }
cmake --build "$BUILD" -j "${JOBS:-2}" >"$BUILD/logs/build.log" 2>&1 ||
    { cat "$BUILD/logs/build.log"; exit 1; }

run_one() {
    name=$1
    mkdir -p "$BUILD/corpus/$name"
    dict=
    case $name in console|xboard|uci) dict=-dict=$FUZZ/session.dict ;; esac
    # -timeout: one input may not take longer than 10 s; a search held to the fuzz budget
    # takes milliseconds.
    "$BUILD/${name}_fuzz" -max_total_time="$SECONDS_EACH" -timeout=10 -rss_limit_mb=2048 \
        -max_len=4096 -print_final_stats=1 $dict -artifact_prefix="$BUILD/artifacts/$name-" \
        "$BUILD/corpus/$name" "$FUZZ/corpus/$name" >"$BUILD/logs/$name.log" 2>&1
    echo $? >"$BUILD/logs/$name.status"
}

running=0
for name in $TARGETS; do
    start_job run_one "$name"
done
wait

failed=0
printf '%-10s %12s %8s %8s  %s\n' target executions exec/s corpus result
for name in $TARGETS; do
    log=$BUILD/logs/$name.log
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    corpus=$(ls "$BUILD/corpus/$name" | wc -l)
    if [ "$(cat "$BUILD/logs/$name.status")" = 0 ]; then
        result=ok
    else
        result="FAULT (see $log)"
        failed=1
    fi
    printf '%-10s %12s %8s %8s  %s\n' "$name" "${runs:-?}" "${rate:-?}" "$corpus" "$result"
done
if [ "$failed" != 0 ]; then
    for name in $TARGETS; do
        [ "$(cat "$BUILD/logs/$name.status")" = 0 ] || tail -n 40 "$BUILD/logs/$name.log"
    done
fi
exit $failed

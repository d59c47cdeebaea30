#!/bin/sh
# The fuzz round of every test run: each target runs its committed seeds and then a fixed number
# of mutations from a fixed seed, so the round repeats exactly and keeps nothing. Skipped, with a
# note, where clang cannot build a libFuzzer target. tools/run_fuzzers.sh runs longer rounds.
#
# usage: fuzz/smoke.sh [RUNS_EACH]     (default 2000)
set -u
FUZZ=$(cd "$(dirname "$0")" && pwd)
BUILD=${FUZZ_BUILD:-$FUZZ/build}
RUNS=${1:-2000}
mkdir -p "$BUILD"
printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
    > "$BUILD/probe.cpp"
if ! clang++ -fsanitize=fuzzer,address,undefined "$BUILD/probe.cpp" -o "$BUILD/probe" > /dev/null 2>&1; then
    echo "fuzz round skipped: clang with libFuzzer is not installed (clang, libclang-rt-14-dev)"
    exit 0
fi
{ cmake -S "$FUZZ" -B "$BUILD" -DCMAKE_CXX_COMPILER=clang++ && cmake --build "$BUILD" -j "${JOBS:-2}"; } \
    > "$BUILD/build.log" 2>&1 || { cat "$BUILD/build.log"; exit 1; }

failed=0
for name in fen user_move ini book console xboard uci; do
    scratch=$(mktemp -d)
    dict=
    case $name in console|xboard|uci) dict=-dict=$FUZZ/session.dict ;; esac
    # New inputs go to the scratch folder, the first one named, which is thrown away.
    if "$BUILD/${name}_fuzz" -seed=1 -runs="$RUNS" -timeout=10 -max_len=4096 $dict \
        -artifact_prefix="$BUILD/$name-" "$scratch" "$FUZZ/corpus/$name" > "$BUILD/$name.log" 2>&1; then
        echo "fuzz $name: $(ls "$FUZZ/corpus/$name" | wc -l) seeds and $RUNS runs passed"
    else
        echo "FAILED: fuzz $name (input saved as $BUILD/$name-*)"
        tail -n 30 "$BUILD/$name.log"
        failed=1
    fi
    rm -rf "$scratch"
done
exit $failed

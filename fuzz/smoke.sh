#!/bin/sh
# The fuzz round of every test run: each target for a few seconds (about a minute in all), from
# the committed seeds. Skipped, with a note, where clang cannot build a libFuzzer target.
#
# usage: fuzz/smoke.sh [SECONDS_EACH]     (default 10)
cd "$(dirname "$0")" || exit 1
probe=$(mktemp -d)
printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
    > "$probe/probe.cpp"
if ! clang++ -fsanitize=fuzzer,address,undefined "$probe/probe.cpp" -o "$probe/probe" \
    > /dev/null 2>&1; then
    rm -rf "$probe"
    echo "fuzz round skipped: clang with libFuzzer is not installed (clang, libclang-rt-14-dev)"
    exit 0
fi
rm -rf "$probe"
exec ./run_fuzzers.sh "${1:-10}"

#!/bin/sh
# Builds the two-thread search driver with ThreadSanitizer (clang) and runs it; any report of a
# race fails. Skipped, with a note, where clang cannot build a ThreadSanitizer program.
set -u
HERE=$(cd "$(dirname "$0")" && pwd)
BUILD=${TSAN_BUILD:-$HERE/../../build-tsan}
mkdir -p "$BUILD"
printf 'int main() { return 0; }\n' > "$BUILD/probe.cpp"
if ! clang++ -fsanitize=thread "$BUILD/probe.cpp" -o "$BUILD/probe" > /dev/null 2>&1; then
    echo "thread check skipped: clang with ThreadSanitizer is not installed (clang, libclang-rt-14-dev)"
    exit 0
fi
{ cmake -S "$HERE" -B "$BUILD" -DCMAKE_CXX_COMPILER=clang++ && cmake --build "$BUILD" -j "${JOBS:-2}"; } \
    > "$BUILD/build.log" 2>&1 || { cat "$BUILD/build.log"; exit 1; }
TSAN_OPTIONS="halt_on_error=1 exitcode=66" "$BUILD/tsan_search" || { echo "FAILED: thread check"; exit 1; }

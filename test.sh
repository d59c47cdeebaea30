#!/bin/sh
# Builds the engine and runs every test: a Release tree (unit tests, the end-to-end transcripts,
# the full perft suite, a game inside the real xboard) and a tree for the generic processor with
# AddressSanitizer and UndefinedBehaviorSanitizer (the fast tests, and the slider lookup without
# PEXT), then a fixed round of the fuzz targets (fuzz/, built with clang), the strong search on
# two threads under ThreadSanitizer (tests/tsan/), and with CI=true or QUILLFERN_PACKAGE_TEST=1,
# as root, the Debian package installed and removed again. Installs the packages the tests use
# first when they are missing.
set -e
cd "$(dirname "$0")"
JOBS=${JOBS:-2}
tools/packages.sh "cmake g++ make libgtest-dev" \
    "xboard xvfb xauth xfonts-base fairymax polyglot pgn-extract clang libclang-rt-14-dev"

cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DQUILLFERN_REQUIRE_GTEST=ON
cmake --build build -j "$JOBS"
ctest --test-dir build --output-on-failure -j "$JOBS"

cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILLFERN_SANITIZE=ON \
    -DQUILLFERN_NATIVE=OFF -DQUILLFERN_REQUIRE_GTEST=ON
cmake --build build-sanitize -j "$JOBS"
ctest --test-dir build-sanitize --output-on-failure -j "$JOBS" -L fast

fuzz/smoke.sh
tests/tsan/run.sh

if [ "${CI:-}" != true ] && [ "${QUILLFERN_PACKAGE_TEST:-}" != 1 ]; then
    echo "package check skipped: CI=true or QUILLFERN_PACKAGE_TEST=1 runs it, as root"
elif [ "$(id -u)" != 0 ]; then
    echo "package check skipped: it installs the package, which needs root"
else
    tests/package/check.sh
fi

#!/bin/sh
# Builds the engine three times and runs the tests: a Release tree (fast and slow tests), an
# AddressSanitizer + UndefinedBehaviorSanitizer tree with bounds-checked containers (fast tests),
# a tree for the generic processor (fast tests and memcheck);
# then a short round of the fuzz targets (fuzz/, built with clang) when clang can build them.
set -e
cd "$(dirname "$0")"
JOBS=${JOBS:-2}

cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DQUILLFERN_TESTS=ON -DQUILLFERN_REQUIRE_GTEST=ON
cmake --build build -j "$JOBS"
ctest --test-dir build --output-on-failure -j "$JOBS"

cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILLFERN_SANITIZE=ON -DQUILLFERN_TESTS=ON -DQUILLFERN_REQUIRE_GTEST=ON
cmake --build build-sanitize -j "$JOBS"
ctest --test-dir build-sanitize --output-on-failure -j "$JOBS" -L fast

# A build for the generic processor: its fast tests cover the slider lookup without PEXT, and
# memcheck runs there (valgrind knows no AVX-512).
cmake -S . -B build-portable -DCMAKE_BUILD_TYPE=Release -DQUILLFERN_NATIVE=OFF -DQUILLFERN_LTO=OFF -DQUILLFERN_TESTS=ON -DQUILLFERN_REQUIRE_GTEST=ON
cmake --build build-portable -j "$JOBS"
ctest --test-dir build-portable --output-on-failure -j "$JOBS" -L "fast|valgrind"

# A short round of every fuzz target, when clang with libFuzzer is installed.
fuzz/smoke.sh

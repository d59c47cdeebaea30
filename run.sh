#!/bin/sh
# Builds the engine (Release) and starts it in play/, beside its default settings and book.
# Installs the build's packages first when they are missing.
set -e
cd "$(dirname "$0")"
tools/packages.sh "cmake g++ make" >&2
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j 2 --target quillfern >/dev/null
cd play
exec ../build/quillfern

#!/bin/sh
# Builds the Debian package build-package/quillfern_VERSION-1_ARCH.deb: a tree of its own with
# the engine alone, for any processor of the architecture (PEXT when the processor has it),
# Debian's hardening flags, the packaged data folder; CPack's DEB generator makes the package.
# Installs the packages the build needs first when they are missing.
#
# usage: tools/make_package.sh        then, as root: apt install ./build-package/quillfern_*.deb
set -e
cd "$(dirname "$0")/.."
tools/packages.sh "cmake g++ make dpkg-dev file" >&2
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cmake -S . -B build-package -DCMAKE_BUILD_TYPE=Release -DQUILLFERN_TESTS=OFF \
    -DQUILLFERN_NATIVE=OFF -DQUILLFERN_RUNTIME_PEXT=ON \
    -DCMAKE_INSTALL_PREFIX=/usr -DQUILLFERN_DATA_DIR=/usr/share/games/quillfern \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" > /dev/null
cmake --build build-package -j "${JOBS:-2}" --target quillfern > /dev/null
cd build-package
rm -f quillfern_*.deb
cpack -G DEB > cpack.log 2>&1 || { cat cpack.log; exit 1; }
ls "$PWD"/quillfern_*.deb

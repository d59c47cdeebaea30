#!/bin/sh
# Installs the Debian packages a command needs that are missing: as root with apt-get, else
# through sudo when it needs no password. Without either, or off Debian, it names what is
# missing; a missing required package then stops the command, a missing optional one only
# skips the tests that use it.
#
# usage: tools/packages.sh "REQUIRED PACKAGES" ["OPTIONAL PACKAGES"]
set -u
required=$1
optional=${2:-}

installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }

if ! command -v dpkg-query > /dev/null 2>&1; then
    echo "packages.sh: not a Debian system; make sure these are installed: $required"
    exit 0
fi
missing=
for package in $required $optional; do
    installed "$package" || missing="$missing $package"
done
[ -z "$missing" ] && exit 0

if [ "$(id -u)" = 0 ]; then
    run=
elif command -v sudo > /dev/null 2>&1 && sudo -n true 2> /dev/null; then
    run=sudo
else
    run=none
fi
if [ "$run" != none ]; then
    echo "Installing:$missing"
    export DEBIAN_FRONTEND=noninteractive
    { $run apt-get update -qq && $run apt-get install -y -qq --no-install-recommends $missing; } > /dev/null ||
        echo "packages.sh: apt-get could not install all of:$missing"
fi

still=
for package in $required; do installed "$package" || still="$still $package"; done
if [ -n "$still" ]; then
    echo "Missing packages:$still"
    echo "Install them as root: apt-get install$still"
    exit 1
fi
for package in $optional; do installed "$package" || echo "Not installed (the tests that use it are skipped): $package"; done
exit 0

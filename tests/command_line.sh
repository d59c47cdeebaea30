#!/bin/sh
# The command line: --version agrees with the banner, --help prints the usage, a wrong argument is
# refused with the usage on the error stream and status 2, and bench runs the search benchmark's
# code (its signatures) and ends with the two lines testers read.
#
# usage: command_line.sh ENGINE WORK_DIR
set -u
engine=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
rm -rf "$2" && mkdir -p "$2" && cd "$2" || exit 1
fail() { echo "FAILED: $*"; exit 1; }

version=$(echo quit | "$engine" | sed -n 's/^version //p')
[ "$("$engine" --version)" = "quillfern $version" ] || fail "--version is not the banner's $version"
"$engine" --help | grep -q '^usage: quillfern' || fail "--help prints no usage"
for args in bogus "--help x" "--version --help" "bench 1" "bench 33" "bench 6x" "bench strong 6" \
    "bench 6 fast" "bench 6 classic x"; do
    "$engine" $args > out 2> err
    status=$?
    [ "$status" = 2 ] && [ ! -s out ] && grep -q '^usage:' err || fail "quillfern $args: status $status"
done
for bench in "6 classic 27162852" "12 strong 2312748"; do
    set -- $bench
    tail=$("$engine" bench "$1" "$2" | tail -n 2 | tr '\n' ' ')
    echo "$tail" | grep -q -x "Nodes searched: $3 Nodes/second: [1-9][0-9]* " ||
        fail "quillfern bench $1 $2 ends with $tail"
done
"$engine" bench classic | grep -q '^Signature (depth 6): ' || fail "bench classic is not at depth 6"
echo "command line passed"

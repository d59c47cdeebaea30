#!/bin/sh
# Runs one console session and one protocol session of the engine under valgrind's memcheck:
# book moves, searches, an analysis, the board, the settings and the game log are all used,
# and any memory error (or a leak, though the engine allocates nothing) fails the test.
# Exits 77 (skipped) when valgrind is not installed.
#
# usage: valgrind.sh ENGINE WORK_DIR BOOK
set -u
ENGINE=$1
WORK=$2
BOOK=$3
command -v valgrind > /dev/null || { echo "valgrind is not installed: skipped"; exit 77; }

rm -rf "$WORK"
mkdir -p "$WORK"
cd "$WORK" || exit 1
cp "$BOOK" book.bin
printf '[ENGINE]\nMaxDepth=4\nMaxTime=1000\n[LOG]\nLogGame=1\n[BOOK]\nBook=1\nRandBook=0\n' \
    > quillfern.ini

failed=0
run() {
    name=$1
    valgrind --tool=memcheck --error-exitcode=1 --leak-check=full \
        --errors-for-leak-kinds=definite,indirect --track-fds=no --log-file="$name.valgrind" \
        "$ENGINE" < "$name.in" > "$name.out" 2>&1
    status=$?
    if [ "$status" != 0 ]; then
        echo "FAILED: $name session, status $status"
        cat "$name.valgrind"
        failed=1
    fi
    grep -q '^move ' "$name.out" || { echo "FAILED: $name session: the engine never moved"; failed=1; }
    grep 'ERROR SUMMARY' "$name.valgrind"
}

printf 'console\nnew\ne2e4\nb\nparam\nbook\nsd 4\nd2d4\ngo\nanalyze\nexit\nundo\nsee\ngood\nmate\ngo\nini\nquit\n' \
    > console.in
printf 'xboard\nprotover 2\nnew\nlevel 40 0:30 0\nname Opponent\nusermove e2e4\nusermove d2d4\nforce\nusermove g1f3\ngo\nsetboard 7k/5Q2/6K1/8/8/8/8/8 w - - 0 1\ngo\nnew\nanalyze\n.\nexit\nquit\n' \
    > xboard.in
run console
run xboard
exit $failed

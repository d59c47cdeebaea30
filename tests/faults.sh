#!/bin/sh
# Faults around the engine's process: its standard input closed during a search, an analysis or
# a line; its standard output closed or a broken pipe while its input stays open; its game log on
# a full disk. In every case the engine must end by itself with status 0 and lose nothing it was
# asked to keep: the move it was thinking about is printed (or, with no one left to read it,
# still logged).
#
# usage: faults.sh ENGINE WORK_DIR
set -u
ENGINE=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
WORK=$2
export LC_ALL=C
trap "" PIPE # the engine may leave before all its lines are written to it
rm -rf "$WORK" && mkdir -p "$WORK" && cd "$WORK" || exit 1
failed=0
fail() { echo "FAILED: $*"; failed=1; }

# Waits up to LIMIT seconds for the process PID; sets $status to its exit status, or to "hung".
wait_limited() {
    waited=0
    while kill -0 "$2" 2>/dev/null && [ "$waited" -lt "$(($1 * 10))" ]; do sleep 0.1; waited=$((waited + 1)); done
    if kill -0 "$2" 2>/dev/null; then kill -9 "$2"; wait "$2"; status=hung; else wait "$2"; status=$?; fi
}
# Runs the engine on the given input, its output in out, for at most 20 seconds.
run() {
    printf "$1" > input
    "$ENGINE" < input > out 2> err &
    wait_limited 20 $!
}
settings() {
    printf '[ENGINE]\nMaxDepth=%s\nMaxTime=100\n[LOG]\nLogGame=%s\nLogFile=%s\n[BOOK]\nBook=0\n' \
        "$1" "$2" "$3" > quillfern.ini
}

# Input closed while the engine thinks, analyses, or in the middle of a line: the move is still
# printed, the iteration in progress shown, the last line answered, and the engine ends.
settings 32 0 quillfern.log
run 'xboard\nnew\nusermove e2e4\n'
{ [ "$status" = 0 ] && grep -q '^move ' out; } || fail "input closed during a search: $status"
for mode in console xboard; do
    run "$mode\nanalyze\n"
    { [ "$status" = 0 ] && grep -q -E '(^|> ) 2 ' out; } || fail "input closed during $mode analysis: $status"
done
settings 3 0 quillfern.log
run 'xboard\nnew\nusermove e2e4'
{ [ "$status" = 0 ] && grep -q '^move ' out; } || fail "input closed mid-line: $status"
run 'console\nsd 3\ne2'
{ [ "$status" = 0 ] && grep -q 'Error (unknown command): e2$' out; } || fail "input closed mid-line at the console"

# The game log on a full disk: the writes fail unseen and the game goes on.
if [ -w /dev/full ]; then
    settings 3 1 /dev/full
    run 'xboard\nnew\nname Opponent\nusermove e2e4\nusermove d2d4\nquit\n'
    { [ "$status" = 0 ] && [ "$(grep -c '^move ' out)" = 2 ]; } || fail "log on a full disk: $status"
fi

# Output gone while the input stays open: a broken pipe (the reader has left) and a closed output.
# SIGPIPE is ignored; the first write that fails ends the engine at its next read, like "quit",
# and the game log still holds the move it could not send.
settings 3 1 quillfern.log
rm -f quillfern.log to_engine from_engine && mkfifo to_engine from_engine
"$ENGINE" < to_engine > from_engine 2> err &
pid=$!
exec 3> to_engine
head -c 1 from_engine > /dev/null &
reader=$!
printf 'xboard\n' >&3
wait "$reader"
printf 'new\nusermove e2e4\n' >&3
wait_limited 20 "$pid"
exec 3>&-
[ "$status" = 0 ] || fail "broken pipe, input still open: status $status"
{ grep -q '^usermove e2e4$' quillfern.log && grep -q '^move ' quillfern.log; } ||
    fail "broken pipe: the game log lost a move: $(cat quillfern.log)"
# With its output closed from the start, nothing meant for the interface lands in the game log.
rm -f quillfern.log
"$ENGINE" < to_engine >&- 2> err &
pid=$!
exec 3> to_engine
printf 'xboard\nnew\nusermove e2e4\n' >&3
wait_limited 20 "$pid"
exec 3>&-
[ "$status" = 0 ] || fail "output closed, input still open: status $status"
[ -s quillfern.log ] && fail "output closed: the engine wrote into the game log: $(head -3 quillfern.log)"

[ "$failed" = 0 ] && echo "all fault cases passed"
exit $failed

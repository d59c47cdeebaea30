#!/bin/sh
# Faults around the engine's process: its standard input closed during a search, during an
# analysis and in the middle of a line; its standard output closed or turned into a broken pipe
# while its input stays open; its game log on a full disk. In every case the engine must end by
# itself with status 0 and lose nothing it was asked to keep: the move it was thinking about is
# printed (or, with no one left to read it, still logged).
#
# usage: faults.sh ENGINE WORK_DIR
set -u
ENGINE=$1
WORK=$2
export LC_ALL=C
# The engine may leave before the test has written all its lines to it.
trap "" PIPE

rm -rf "$WORK"
mkdir -p "$WORK"
cd "$WORK" || exit 1
failed=0
fail() {
    echo "FAILED: $*"
    failed=1
}

# Waits up to LIMIT seconds for the background process PID to end; sets $status to its exit
# status, or to "hung" after killing it.
wait_limited() {
    limit=$1
    pid=$2
    waited=0
    while kill -0 "$pid" 2>/dev/null && [ "$waited" -lt "$((limit * 10))" ]; do
        sleep 0.1
        waited=$((waited + 1))
    done
    if kill -0 "$pid" 2>/dev/null; then
        kill -9 "$pid"
        wait "$pid"
        status=hung
    else
        wait "$pid"
        status=$?
    fi
}

# Runs the engine on the file input, output to out, for at most LIMIT seconds.
run_limited() {
    "$ENGINE" < input > out 2> err &
    wait_limited "$1" $!
}

settings() {
    printf '[ENGINE]\nMaxDepth=%s\nMaxTime=%s\n[LOG]\nLogGame=%s\nLogFile=%s\n[BOOK]\nBook=0\n' \
        "$1" "$2" "$3" "$4" > quillfern.ini
}

# 1. Input closed while the engine thinks: the move is still printed, then the engine ends.
settings 32 100 0 quillfern.log
printf 'xboard\nnew\nusermove e2e4\n' > input
run_limited 20
[ "$status" = 0 ] || fail "input closed during a search: status $status"
grep -q '^move ' out || fail "input closed during a search: no move printed"

# 2. Input closed during an analysis, at the console and over the protocol: the iteration in
# progress is shown, the poll meets the end of input, and the engine ends.
for mode in console xboard; do
    printf '%s\nanalyze\n' "$mode" > input
    run_limited 20
    [ "$status" = 0 ] || fail "input closed during $mode analysis: status $status"
    grep -q -E '(^|> ) 2 ' out || fail "input closed during $mode analysis: no thinking line"
done

# 3. Input closed in the middle of a line: what arrived is a line of its own.
settings 3 100 0 quillfern.log
printf 'xboard\nnew\nusermove e2e4' > input
run_limited 20
[ "$status" = 0 ] || fail "input closed mid-line: status $status"
grep -q '^move ' out || fail "input closed mid-line: the last line was not answered"
printf 'console\nsd 3\ne2' > input
run_limited 20
[ "$status" = 0 ] || fail "input closed mid-line at the console: status $status"
grep -q 'Error (unknown command): e2$' out || fail "input closed mid-line at the console: no answer"

# 4. The game log on a full disk: the writes fail unseen, the log keeps nothing, and the game
# goes on as if it were not there.
if [ -w /dev/full ]; then
    settings 3 100 1 /dev/full
    printf 'xboard\nnew\nname Opponent\nusermove e2e4\nusermove d2d4\nquit\n' > input
    run_limited 20
    [ "$status" = 0 ] || fail "log on a full disk: status $status"
    [ "$(grep -c '^move ' out)" = 2 ] || fail "log on a full disk: the engine did not answer both moves"
fi

# 5. Output gone while the input stays open: a broken pipe (the reader has left) and a closed
# output. SIGPIPE is ignored; the first write that fails ends the engine at its next read, like
# "quit", and the game log still holds the move it could not send.
settings 3 100 1 quillfern.log
rm -f quillfern.log to_engine from_engine
mkfifo to_engine from_engine
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

# With its output closed from the start, the engine's first write fails: it ends after start-up,
# and nothing it meant for the interface lands in a file it opened (the game log).
settings 3 100 1 quillfern.log
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

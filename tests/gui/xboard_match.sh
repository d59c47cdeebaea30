#!/bin/sh
# Plays a short match inside the real xboard, headless under a virtual X server, against
# fairymax, and checks what a user would notice: every game ends with a regular result, and
# quillfern never loses by an illegal move, a crash or its clock, never refuses a move and never
# says "Error" about a command it should have understood.
#
# usage: [TC=M:SS] [UCI=1] xboard_match.sh ENGINE WORK_DIR [GAMES [BOOK]]
# TC is the time for 40 moves (default 0:20). With a book file the engine opens from it. With
# UCI=1 xboard speaks UCI to the engine, through the polyglot adapter it starts for one, and
# both engines ponder.
# Exits 77 (skipped) when xboard, xvfb-run, xauth, fairymax or (for UCI) polyglot is missing.
set -u
PATH=$PATH:/usr/games
export LC_ALL=C
GAMES=${3:-2}
TC=${TC:-0:20}
UCI=${UCI:-0}
for tool in xboard xvfb-run xauth fairymax $([ "$UCI" = 1 ] && echo polyglot); do
    command -v "$tool" > /dev/null || { echo "$tool is not installed: skipped"; exit 77; }
done
ENGINE=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
rm -rf "$2" && mkdir -p "$2/engine" "$2/opponent" "$2/home"
WORK=$(cd "$2" && pwd)
use_book=0
[ -f "${4:-}" ] && cp "$4" "$WORK/engine/book.bin" && use_book=1
# The search runs on the clock alone, and the game log is on so that it is exercised too.
printf '[ENGINE]\nMaxDepth=32\n[LOG]\nLogGame=1\n[BOOK]\nBook=%d\n' "$use_book" > "$WORK/engine/quillfern.ini"
fail() { echo "FAILED: $* (traffic in $WORK/debug.txt, games in $WORK/games.pgn)"; exit 1; }

# xboard sends "level 40 0:20 0", the minutes:seconds form; a game that drags on is called a draw
# after 100 moves. Fairy-Max plays differently when told its opponent is a program: it is not.
. "$(dirname "$0")/xboard.sh"
xboard_match "$WORK" 600 -fcp "$ENGINE" -fd "$WORK/engine" $([ "$UCI" = 1 ] && echo -fUCI -ponder) \
    -scp "$(command -v fairymax)" -sd "$WORK/opponent" -secondComputerString "" \
    -matchGames "$GAMES" -xexit -mps 40 -tc "$TC" -adjudicateDrawMoves 100
status=$?
[ "$status" -eq 0 ] || fail "xboard ended with status $status (124: it did not end in time)"
grep -q "^[0-9]* >first : level 40 $TC 0\$" "$WORK/debug.txt" || fail "no time control as minutes:seconds"
[ "$(grep -c '^\[Result "\(1-0\|0-1\|1/2-1/2\)"\]' "$WORK/games.pgn")" = "$GAMES" ] ||
    fail "not every game has a regular result"
grep -v '^\[' "$WORK/games.pgn" | tr 'A-Z' 'a-z' | grep -q -E 'on time|forfeit|illegal|exit|crash|error|unexpected|false' &&
    fail "a game ended off the board"

# What quillfern (or its adapter) said: no refused move, "Error" only for commands it has no use for.
sed -n 's/^[0-9]* <first : //p' "$WORK/debug.txt" > "$WORK/engine.txt"
grep -q '^Illegal move' "$WORK/engine.txt" && fail "quillfern refused a move"
grep -E '^(Error|tellusererror)' "$WORK/engine.txt" |
    grep -q -v -E '^Error \(unknown command\): ((accepted|rejected) .*|random|hard|easy|computer|result .*)$' &&
    fail "quillfern complained: $(grep -m1 -E '^(Error|tellusererror)' "$WORK/engine.txt")"
grep -q '^move ' "$WORK/engine.txt" || fail "quillfern never moved"
# Each game opens the log with the opponent's name, or in UCI with "ucinewgame", which the adapter
# also sends once at the start.
banners=$(grep -c 'New Game' "$WORK/engine/quillfern.log")
[ "$banners" -ge "$GAMES" ] && [ "$banners" -le "$((GAMES + UCI))" ] || fail "the log holds $banners games"
grep '^\[Result\|^\[White\|^\[Black' "$WORK/games.pgn" | paste - - -
echo "match passed: $GAMES games"

#!/bin/sh
# Plays a short match inside the real xboard, headless under a virtual X server, against an
# engine from the distribution (fairymax), and checks what a user would notice: every game ends with a
# regular result, and quillfern never loses by an illegal move, a crash or its clock, and never
# says "Error" about a command it should have understood.
#
# usage: [TC=M:SS] [UCI=1] xboard_match.sh ENGINE WORK_DIR [GAMES [BOOK]]
# With a book file the engine opens from it (a random book move each time), else it searches
# from the first move. With UCI=1 xboard speaks to the engine in UCI, through the polyglot
# adapter it starts for a UCI engine.
# Exits 77 (skipped) when xboard, xvfb-run (with xauth), fairymax or (for UCI) polyglot is not
# installed.
set -u
ENGINE=$1
WORK=$2
GAMES=${3:-2}
BOOK=${4:-}
TC=${TC:-0:20} # the time for 40 moves, minutes:seconds
PATH=$PATH:/usr/games
export LC_ALL=C

UCI=${UCI:-0}
[ "$UCI" = 1 ] && ADAPTER=polyglot || ADAPTER=
for tool in xboard xvfb-run xauth $ADAPTER; do
    if ! command -v "$tool" > /dev/null; then
        echo "$tool is not installed: skipped"
        exit 77
    fi
done
# Fairy-Max plays differently when told its opponent is a program: keep it quiet.
OPPONENT=$(command -v fairymax) || { echo "fairymax is not installed: skipped"; exit 77; }

rm -rf "$WORK"
mkdir -p "$WORK/engine" "$WORK/opponent" "$WORK/home"
WORK=$(cd "$WORK" && pwd)
ENGINE=$(cd "$(dirname "$ENGINE")" && pwd)/$(basename "$ENGINE")
# The search runs on the clock alone, and the game log is on so that it is exercised too.
use_book=0
[ -f "$BOOK" ] && cp "$BOOK" "$WORK/engine/book.bin" && use_book=1
printf '[ENGINE]\nMaxDepth=32\n[LOG]\nLogGame=1\n[BOOK]\nBook=%d\nBookFile=book.bin\n' "$use_book" \
    > "$WORK/engine/quillfern.ini"

fail() {
    echo "FAILED: $*"
    echo "(protocol traffic in $WORK/debug.txt, games in $WORK/games.pgn)"
    exit 1
}

# 40 moves in TC: xboard sends "level 40 0:20 0", the minutes:seconds form. A game that drags on
# is called a draw after 100 moves, so the run stays short.
HOME=$WORK/home timeout -k 10 600 xvfb-run -a xboard -noGUI \
    -fcp "$ENGINE" -fd "$WORK/engine" $([ "$UCI" = 1 ] && echo -fUCI) \
    -scp "$OPPONENT" -sd "$WORK/opponent" -secondComputerString "" \
    -matchGames "$GAMES" -xexit \
    -mps 40 -tc "$TC" \
    -autoCallFlag true -adjudicateDrawMoves 100 \
    -saveGameFile "$WORK/games.pgn" \
    -debug -nameOfDebugFile "$WORK/debug.txt" -engineDebugOutput 1 \
    > "$WORK/xboard.out" 2>&1
status=$?
[ "$status" -eq 124 ] && fail "the match did not end within 600 seconds"
[ "$status" -eq 0 ] || fail "xboard ended with status $status"
[ -s "$WORK/games.pgn" ] || fail "no game was saved"
grep -q "^[0-9]* >first : level 40 $TC 0\$" "$WORK/debug.txt" ||
    fail "xboard never sent the time control as minutes:seconds"

# Every game has a regular result, and none goes against quillfern for a reason other than
# the board: its clock, an illegal move, a crash, or a reply xboard could not accept.
awk -v games="$GAMES" '
    /^\[White "/ { white = $0 }
    /^\[Black "/ { black = $0 }
    /^\[Result "/ {
        played++
        result = $2
        if (result !~ /^"(1-0|0-1|1\/2-1\/2)"\]$/) { print "game " played ": result " result; bad = 1 }
    }
    /^[^[]/ { moves[played] = moves[played] " " $0 }
    END {
        if (played != games) { print played " games saved, " games " wanted"; bad = 1 }
        for (g = 1; g <= played; g++) {
            text = tolower(moves[g])
            if (text ~ /on time|forfeit|illegal|exit|crash|error|unexpected|false/) {
                print "game " g " ended irregularly:" moves[g]
                bad = 1
            }
        }
        exit bad
    }' "$WORK/games.pgn" || fail "a game did not end regularly"

# What quillfern said: no refused move, and "Error" only for commands it does not use.
grep '^[0-9]* <first : ' "$WORK/debug.txt" | sed 's/^[0-9]* <first : //' > "$WORK/engine.txt"
grep -q '^Illegal move' "$WORK/engine.txt" && fail "quillfern refused a move: $(grep -m1 '^Illegal move' "$WORK/engine.txt")"
grep -E '^(Error|tellusererror)' "$WORK/engine.txt" |
    grep -v -E '^Error \(unknown command\): ((accepted|rejected) .*|random|hard|easy|computer|result .*)$' \
        > "$WORK/errors.txt"
[ -s "$WORK/errors.txt" ] && fail "quillfern complained: $(head -1 "$WORK/errors.txt")"
grep -q '^move ' "$WORK/engine.txt" || fail "quillfern never moved"

# Over the protocol each game opens with the opponent's name; in UCI with each "ucinewgame", which
# the adapter also sends once at the start.
banners=$(grep -c 'New Game' "$WORK/engine/quillfern.log")
[ "$banners" -ge "$GAMES" ] && [ "$banners" -le "$((GAMES + UCI))" ] ||
    fail "the game log holds $banners games, $GAMES wanted"

grep '^\[Result\|^\[White\|^\[Black' "$WORK/games.pgn" | paste - - -
echo "match passed: $GAMES games"

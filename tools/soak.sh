#!/bin/sh
# A soak in the real GUI: many fast games inside xboard, headless under a virtual X server,
# against every engine of the distribution that is installed (fairymax, hoichess, phalanx,
# sjeng; at least two are needed), with the opening book on and off, both colours. It reports
# the results per opponent and colour, and everything that counts as a fault of ours: a crash,
# an illegal move, a lost clock, a move refused or a command misunderstood. Not part of the
# normal test run (it takes an hour or more); anyone may run it.
#
# usage: tools/soak.sh ENGINE [WORK_DIR [GAMES_PER_MATCH [BOOK]]]
#   GAMES_PER_MATCH defaults to 34: with three opponents, six matches of 34 games make 204.
#   PARALLEL=N plays N matches at once (default 2, one per core). Exits 1 on any fault of ours.
set -u
PATH=$PATH:/usr/games
export LC_ALL=C
ENGINE=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
WORK=${2:-soak}
GAMES=${3:-34}
BOOK=${4:-$(cd "$(dirname "$0")/.." && pwd)/play/book.bin}
PARALLEL=${PARALLEL:-2}
. "$(dirname "$0")/common.sh"

for tool in xboard xvfb-run xauth; do
    command -v "$tool" > /dev/null || { echo "$tool is not installed"; exit 2; }
done
OPPONENTS=
for name in fairymax hoichess phalanx sjeng; do
    command -v "$name" > /dev/null && OPPONENTS="$OPPONENTS $name"
done
[ "$(echo $OPPONENTS | wc -w)" -ge 2 ] || { echo "fewer than two opponents installed:$OPPONENTS"; exit 2; }

rm -rf "$WORK"
mkdir -p "$WORK"
WORK=$(cd "$WORK" && pwd)

# One match: GAMES games, colours alternating, quillfern the first engine. With the book it
# plays 40 moves in 5 seconds (xboard sends "level 40 0:05 0"); without it, 8 seconds for the
# game and a tenth of a second a move ("level 0 0:08 0.1"), so both kinds of clock are played.
play_match() {
    opponent=$1
    book=$2
    dir=$WORK/$opponent-book-$book
    mkdir -p "$dir/engine" "$dir/opponent" "$dir/home"
    cp "$BOOK" "$dir/engine/book.bin"
    if [ "$book" = on ]; then use=1; clock="-mps 40 -tc 0:05"; else use=0; clock="-tc 0:08 -inc 0.1"; fi
    printf '[ENGINE]\nMaxDepth=32\n[LOG]\nLogGame=1\n[BOOK]\nBook=%d\nBookFile=book.bin\n' "$use" \
        > "$dir/engine/quillfern.ini"
    extra=
    # Fairy-Max plays differently when told its opponent is a program: keep it quiet.
    [ "$opponent" = fairymax ] && extra="-secondComputerString"
    # shellcheck disable=SC2086
    xboard_match "$dir" $((GAMES * 90 + 60)) -fcp "$ENGINE" -fd "$dir/engine" -sd "$dir/opponent" \
        -scp "$(command -v "$opponent")" ${extra:+$extra ""} -matchGames "$GAMES" -xexit $clock \
        -adjudicateDrawMoves 120
    echo $? > "$dir/status"
}

started=$(date +%s)
running=0
for opponent in $OPPONENTS; do
    for book in on off; do
        start_job play_match "$opponent" "$book"
    done
done
wait
elapsed=$(( $(date +%s) - started ))

# The games: results per opponent and colour from quillfern's side, and every game that ended
# off the board (a clock, an illegal move, a crash, a false claim) with the side it went against.
report() {
    for dir in "$WORK"/*-book-*; do
        match=$(basename "$dir")
        awk -v name="$match" '
            /^\[White "/ { white = $0 }
            /^\[Black "/ { black = $0 }
            /^\[Result "/ { result = $2; gsub(/[]"]/, "", result); games++ }
            /^[^[]/ && NF { text[games] = text[games] " " $0 }
            /^$/ && result != "" && text[games] != "" {
                ours_white = white ~ /quillfern/
                side = ours_white ? "white" : "black"
                if (result == "1/2-1/2") draws[side]++
                else if ((result == "1-0") == ours_white) wins[side]++
                else losses[side]++
                t = tolower(text[games])
                if (t ~ /time|illegal|crash|exit|false|forfeit|disconnect|unexpected/) {
                    lost = (result == "1/2-1/2") ? "drawn" : ((result == "1-0") == ours_white ? "won" : "LOST")
                    c = text[games]; sub(/.*\{/, "{", c)
                    irregular = irregular sprintf("  %s game %d (%s, quillfern %s): %s\n", name, games, side, lost, c)
                    if (lost == "LOST" && t ~ /time|flag/) ours_time++
                    else if (lost == "LOST" && t ~ /illegal/) ours_illegal++
                    else if (lost == "LOST") ours_other++
                }
                result = ""
            }
            END {
                printf "%-22s games %3d   as white +%d =%d -%d   as black +%d =%d -%d\n", name, games, \
                    wins["white"], draws["white"], losses["white"], wins["black"], draws["black"], losses["black"]
                printf "%s", irregular
                printf "faults %d %d %d\n", ours_time, ours_illegal, ours_other > "/dev/stderr"
            }' "$dir/games.pgn" 2>> "$WORK/faults.txt"
    done
}

rm -f "$WORK/faults.txt"
{
    echo "soak: $(ls -d "$WORK"/*-book-* | wc -l) matches against$OPPONENTS, $elapsed s"
    report
    games=$(cat "$WORK"/*/games.pgn | grep -c '^\[Result ')
    echo "games played: $games"
    # Faults of ours, from the protocol traffic: a move of ours that xboard refused, a move of
    # the opponent that we refused, a command we did not understand, a crash, a lost clock.
    ours_illegal=$(grep -h -i 'illegal move' "$WORK"/*/debug.txt | grep -v '^[0-9]* <first : Illegal move' |
        grep -c -i 'first\|quillfern')
    refused=$(grep -h -c '^[0-9]* <first : Illegal move' "$WORK"/*/debug.txt | awk '{s += $1} END {print s + 0}')
    errors=$(grep -h '^[0-9]* <first : \(Error\|tellusererror\)' "$WORK"/*/debug.txt |
        grep -v -c -E 'unknown command\): ((accepted|rejected) .*|random|hard|easy|computer|result .*)$')
    crashes=$(grep -h -i -c 'first.*\(exited\|terminated\|crash\)\|quillfern.*\(exited\|terminated\|crash\)' \
        "$WORK"/*/debug.txt "$WORK"/*/games.pgn | awk '{s += $1} END {print s + 0}')
    forfeits=$(awk '{s += $2} END {print s + 0}' "$WORK/faults.txt")
    lost_illegal=$(awk '{s += $3} END {print s + 0}' "$WORK/faults.txt")
    lost_other=$(awk '{s += $4} END {print s + 0}' "$WORK/faults.txt")
    echo "illegal moves by quillfern: $ours_illegal"
    echo "opponent moves refused by quillfern: $refused"
    echo "commands quillfern misunderstood: $errors"
    echo "crashes of quillfern: $crashes"
    echo "time forfeits of quillfern: $forfeits"
    echo "games quillfern lost by an illegal move: $lost_illegal, off the board otherwise: $lost_other"
    bad=0
    for n in $ours_illegal $refused $errors $crashes $forfeits $lost_illegal $lost_other; do [ "$n" = 0 ] || bad=1; done
    for dir in "$WORK"/*-book-*; do
        [ "$(cat "$dir/status")" = 0 ] || { echo "xboard ended with status $(cat "$dir/status") in $dir"; bad=1; }
    done
    [ "$bad" = 0 ] && echo "soak passed" || echo "SOAK FAILED (traffic in $WORK/*/debug.txt)"
} | tee "$WORK/summary.txt"
grep -q '^soak passed' "$WORK/summary.txt"

#!/bin/sh
# Measures the strong style in the real GUI: matches inside xboard, headless under a virtual X
# server, of quillfern with Style=strong against the same binary with Style=classic and against
# the distribution's engines (fairymax, hoichess, phalanx), colours alternating, both quillferns
# opening from the book with a random choice. Per opponent it prints the score with its 95 %
# margin (1.96 standard errors of the mean game score) and the faults of the strong side: illegal
# moves, crashes, time forfeits. Not part of the test run: 40 games at 40 moves in 30 seconds
# take over an hour per opponent. Pondering is off: neither style ponders, and a match keeps to
# one core.
#
# usage: tools/strong_match.sh ENGINE [WORK_DIR [GAMES [OPPONENT...]]]
#   OPPONENT: classic, fairymax, hoichess, phalanx (default all four), played one after another.
#   TC: xboard's clock options, default "-mps 40 -tc 0:30" (40 moves in 30 seconds); "-tc 0:30"
#   alone is 30 seconds sudden death. PARALLEL=N plays N matches at once (default 1).
# Exits 1 on any fault of the strong side.
set -u
PATH=$PATH:/usr/games
export LC_ALL=C
ENGINE=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
WORK=${2:-strong-match}
GAMES=${3:-40}
[ $# -gt 3 ] && shift 3 && OPPONENTS="$*" || OPPONENTS="classic fairymax hoichess phalanx"
TC=${TC:--mps 40 -tc 0:30}
PARALLEL=${PARALLEL:-1}
BOOK=$(cd "$(dirname "$0")/.." && pwd)/play/book.bin
. "$(dirname "$0")/common.sh"

for tool in xboard xvfb-run xauth; do
    command -v "$tool" > /dev/null || { echo "$tool is not installed"; exit 2; }
done
rm -rf "$WORK"
mkdir -p "$WORK"
WORK=$(cd "$WORK" && pwd)

# A folder with quillfern's settings in the given style and the book.
engine_folder() {
    mkdir -p "$1"
    cp "$BOOK" "$1/book.bin"
    printf '[ENGINE]\nStyle=%s\n[BOOK]\nBook=1\nRandBook=1\nBookFile=book.bin\n' "$2" > "$1/quillfern.ini"
}

play_match() {
    opponent=$1
    dir=$WORK/$opponent
    mkdir -p "$dir/opponent" "$dir/home"
    engine_folder "$dir/engine" strong
    if [ "$opponent" = classic ]; then
        engine_folder "$dir/opponent" classic
        set -- -scp "$ENGINE" -sn "quillfern classic"
    elif [ "$opponent" = fairymax ]; then
        # Fairy-Max plays differently when told its opponent is a program: keep it quiet.
        set -- -scp "$(command -v fairymax)" -secondComputerString ""
    else
        set -- -scp "$(command -v "$opponent")"
    fi
    # shellcheck disable=SC2086
    xboard_match "$dir" $((GAMES * 300 + 60)) -fcp "$ENGINE" -fd "$dir/engine" -sd "$dir/opponent" \
        -fn "quillfern strong" "$@" -matchGames "$GAMES" -xexit $TC -xponder -adjudicateDrawMoves 120
    echo $? > "$dir/status"
}

started=$(date +%s)
running=0
for opponent in $OPPONENTS; do
    start_job play_match "$opponent"
done
wait

# Per game 1, 1/2 or 0 from the strong side; the margin is 1.96 sd / sqrt(n), sd over the games.
# A game lost on the clock, by an illegal move or a crash counts as a fault.
bad=0
{
    echo "strong_match: $GAMES games each, xboard $TC, $(( $(date +%s) - started )) s"
    for opponent in $OPPONENTS; do
        dir=$WORK/$opponent
        awk -v name="$opponent" '
            /^\[White "/ { ours_white = ($0 ~ /quillfern strong/) }
            /^\[Result "/ { result = $2; gsub(/[]"]/, "", result) }
            /^[^[]/ && NF { text = text " " $0 }
            /^$/ && result != "" && text != "" {
                s = result == "1/2-1/2" ? 0.5 : ((result == "1-0") == ours_white ? 1 : 0)
                n++; sum += s; squares += s * s
                if (s == 1) w++; else if (s == 0) l++; else d++
                t = tolower(text)
                if (s == 0 && t ~ /time|flag/) forfeits++
                if (s == 0 && t ~ /illegal/) illegal++
                if (s == 0 && t ~ /crash|exit|disconnect|unexpected/) crashes++
                result = ""; text = ""
            }
            END {
                mean = n ? sum / n : 0
                sd = n > 1 ? sqrt((squares - n * mean * mean) / (n - 1)) : 0
                margin = n ? 1.96 * sd / sqrt(n) : 0
                printf "%-9s games %3d  +%d =%d -%d  score %5.1f %% +- %4.1f %%  forfeits %d illegal %d crashes %d\n",
                    name, n, w, d, l, 100 * mean, 100 * margin, forfeits, illegal, crashes
            }' "$dir/games.pgn" 2> /dev/null || echo "$opponent: no games saved"
        # The protocol traffic: a move of ours xboard refused, or our process gone.
        refused=$(grep -c -i 'illegal move.*first\|first.*illegal move' "$dir/debug.txt")
        gone=$(grep -c -i 'first.*\(exited\|terminated\|crash\)' "$dir/debug.txt")
        [ "$refused$gone" = 00 ] || echo "  $opponent: refused moves $refused, process ended $gone"
        [ "$(cat "$dir/status")" = 0 ] || echo "  $opponent: xboard ended with status $(cat "$dir/status")"
    done
} | tee "$WORK/summary.txt"
grep -q 'forfeits [1-9]\|illegal [1-9]\|crashes [1-9]\|refused\|status\|no games' "$WORK/summary.txt" && bad=1
exit $bad

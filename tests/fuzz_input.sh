#!/bin/sh
# Feeds the engine random input and checks that it survives: every run must end by itself with
# status 0. Each input starts with a mode line (or garbage), then mixes real commands, command
# words without their arguments, random printable lines, raw bytes (NUL, CR, bytes above 127)
# and over-long lines, and is cut off at a random byte, so the input may end anywhere: in the
# mode loop, mid-game, during an analysis, in the middle of a line. The inputs are made by awk
# from fixed seeds, so a failure repeats; the failing input is kept in the work folder.
#
# usage: fuzz_input.sh ENGINE WORK_DIR [RUNS]
set -u
ENGINE=$1
WORK=$2
RUNS=${3:-30}
export LC_ALL=C

rm -rf "$WORK"
mkdir -p "$WORK"
cd "$WORK" || exit 1
# A shallow search and a short clock keep every engine turn and analysis brief.
printf '[ENGINE]\nMaxDepth=2\nMaxTime=100\n[BOOK]\nBook=0\n' > quillfern.ini

make_input() {
    awk -v seed="$1" '
    function pick(n) { return int(rand() * n) }
    function garbage(len,   s, i) {
        s = ""
        for (i = 0; i < len; i++) s = s sprintf("%c", 32 + pick(95))
        return s
    }
    function raw(len,   i) {
        for (i = 0; i < len; i++) printf "%c", pick(256)
    }
    BEGIN {
        srand(seed)
        n = split("new|go|new|go|go|force|undo|b|param|book|post|nopost|.|exit|exit|analyze|help|" \
                  "e2e4|e7e5|g1f3|b8c6|a7a8q|e2e4 |sd|sd 3|sd 40|sd5|st|st 1|stop|" \
                  "usermove|usermove |usermove e2e4|usermove e7e5|usermove g1f3|" \
                  "setboard|setboard |setboard 8/8/8/8/8/8/8/8 w - - 0 1|" \
                  "setboard 7k/5Q2/6K1/8/8/8/8/8 w - - 0 1|setboard garbage|" \
                  "setboard rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq e3 0 1|" \
                  "level|level 40|level 40 0:30 0|level 0 2 1|level 40 5 0.5|level -1 -1 -1|" \
                  "time|time |time 100|time -50|otim|otim 100|name|name |name Random Opponent|" \
                  "ping|ping 7|protover 2|protover|accepted usermove|result 1-0 {x}|" \
                  "mate|killer|good|see|ini|quit", words, "|")
        # Mostly one of the two front ends; now and then a mode loop fed garbage.
        m = pick(10)
        if (m < 4) print "xboard"
        else if (m < 7) print "console"
        else if (m == 7) printf "\ncon\nconsole\n"
        else if (m == 8) print garbage(pick(300))
        else raw(pick(40))
        lines = 40 + pick(80)
        for (l = 0; l < lines; l++) {
            k = pick(20)
            if (k < 14) {
                w = words[1 + pick(n)]
                # "quit" would end the run early most of the time: let it through rarely.
                if (w == "quit" && pick(4) > 0) w = "b"
                print w
            } else if (k < 16) print garbage(pick(40))
            else if (k < 18) raw(1 + pick(60))
            else print garbage(256 + pick(400))
        }
    }' > "$2"
    # End of input at a random place, mid-line included.
    size=$(wc -c < "$2")
    cut=$(awk -v seed="$1" -v size="$size" 'BEGIN { srand(seed * 7 + 1); print int(rand() * (size + 1)) }')
    head -c "$cut" "$2" > "$2.cut" && mv "$2.cut" "$2"
}

failed=0
run=1
while [ "$run" -le "$RUNS" ]; do
    make_input "$run" "input-$run"
    timeout 60 "$ENGINE" < "input-$run" > "output-$run" 2> "stderr-$run"
    status=$?
    if [ "$status" -ne 0 ]; then
        echo "run $run: the engine ended with status $status on $WORK/input-$run"
        tail -n 5 "stderr-$run"
        failed=$((failed + 1))
    else
        rm -f "input-$run" "output-$run" "stderr-$run"
    fi
    run=$((run + 1))
done
echo "$((RUNS - failed)) passed, $failed failed"
[ "$failed" -eq 0 ]

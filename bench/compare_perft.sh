#!/bin/bash
# Perft speed of quillfern beside Stockfish's perft on the same six positions, and the search
# benchmark's signature and rate. Builds nothing: give it what is already built.
#
#   bench/compare_perft.sh PERFT [SEARCH_BENCH]
#
# PERFT is the engine or the perft driver (build/perft_bench); it is fed "console", "test" and
# "quit" on standard input, which the driver ignores. SEARCH_BENCH defaults to search_bench
# beside PERFT. The two perft runs alternate, quillfern first, PAIRS times (default 3); every
# row's count is checked against the known one, and both are timed by the wall clock around
# the perft work alone (Stockfish's start-up, before its "readyok", is left out).
# Environment: PAIRS, STOCKFISH (default: stockfish on PATH, else /usr/games/stockfish),
# SEARCH_DEPTH (default 6).
set -u

PERFT=${1:?usage: $0 PERFT [SEARCH_BENCH]}
SEARCH_BENCH=${2:-$(dirname "$PERFT")/search_bench}
PAIRS=${PAIRS:-3}
SEARCH_DEPTH=${SEARCH_DEPTH:-6}
STOCKFISH=${STOCKFISH:-$(command -v stockfish || echo /usr/games/stockfish)}

FENS=(
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1"
    "rnbqkb1r/pp1p1ppp/2p5/4P3/2B5/8/PPP1NnPP/RNBQK2R w KQkq - 0 6"
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10"
)
DEPTHS=(6 5 7 6 3 5)
COUNTS=(119060324 193690690 178633661 706045033 53392 164075551)
TOTAL=1361558651
SIGNATURE=27162852

for tool in "$PERFT" "$SEARCH_BENCH" "$STOCKFISH"; do
    [ -x "$tool" ] || { echo "not an executable: $tool" >&2; exit 2; }
done

failed=0
fail() { echo "MISMATCH: $*"; failed=1; }

now() { echo "$EPOCHREALTIME"; }
rate() { awk -v n="$1" -v a="$2" -v b="$3" 'BEGIN { printf "%.0f", n / (b - a) }'; }
median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# One quillfern run: its rate in nodes per second of wall time goes into RESULT.
run_quillfern() {
    local out start end got i
    start=$(now)
    out=$(printf 'console\ntest\nquit\n' | "$PERFT")
    end=$(now)
    mapfile -t got < <(printf '%s\n' "$out" | sed -n 's/^Calculated value: //p')
    for i in "${!COUNTS[@]}"; do
        [ "${got[$i]:-}" = "${COUNTS[$i]}" ] || fail "quillfern row $((i + 1)): ${got[$i]:-none}, expected ${COUNTS[$i]}"
    done
    printf '%s\n' "$out" | grep -q "^Total nodes: $TOTAL " || fail "quillfern total"
    RESULT=$(rate "$TOTAL" "$start" "$end")
}

# One Stockfish run on the same rows, timed from its "readyok" to its last count; the rate
# goes into RESULT.
run_stockfish() {
    local line start end i total=0
    coproc SF { "$STOCKFISH" 2>/dev/null; }
    echo "isready" >&"${SF[1]}"
    while read -r line <&"${SF[0]}"; do [ "$line" = readyok ] && break; done
    start=$(now)
    for i in "${!FENS[@]}"; do
        printf 'position fen %s\ngo perft %s\n' "${FENS[$i]}" "${DEPTHS[$i]}" >&"${SF[1]}"
        while read -r line <&"${SF[0]}"; do
            case $line in "Nodes searched: "*) break ;; esac
        done
        [ "${line#Nodes searched: }" = "${COUNTS[$i]}" ] || fail "Stockfish row $((i + 1)): $line"
        total=$((total + ${line#Nodes searched: }))
    done
    end=$(now)
    echo quit >&"${SF[1]}"
    wait "$SF_PID" 2>/dev/null
    RESULT=$(rate "$total" "$start" "$end")
}

echo "Perft suite, $TOTAL nodes, $PAIRS pairs (A = quillfern: $PERFT, B = $STOCKFISH)"
qf=() sf=()
for ((pair = 1; pair <= PAIRS; ++pair)); do
    run_quillfern
    qf+=("$RESULT")
    run_stockfish
    sf+=("$RESULT")
    printf 'pair %d: quillfern %12s nodes/s   Stockfish %12s nodes/s\n' "$pair" "${qf[-1]}" "${sf[-1]}"
done
mq=$(median "${qf[@]}") ms=$(median "${sf[@]}")
printf 'median: quillfern %12.0f nodes/s   Stockfish %12.0f nodes/s   ratio %.2f\n' \
    "$mq" "$ms" "$(awk -v a="$mq" -v b="$ms" 'BEGIN { print a / b }')"

echo
echo "Search benchmark, depth $SEARCH_DEPTH, $PAIRS runs ($SEARCH_BENCH)"
rates=()
for ((run = 1; run <= PAIRS; ++run)); do
    out=$("$SEARCH_BENCH" "$SEARCH_DEPTH")
    signature=$(printf '%s\n' "$out" | grep '^Signature')
    r=$(printf '%s\n' "$out" | sed -n 's/^Nodes\/second: //p')
    rates+=("$r")
    printf 'run %d: %s, %s nodes/s\n' "$run" "$signature" "$r"
    if [ "$SEARCH_DEPTH" = 6 ] && [ "$signature" != "Signature (depth 6): $SIGNATURE nodes" ]; then
        fail "search signature"
    fi
done
printf 'median: %.0f nodes/s\n' "$(median "${rates[@]}")"

[ "$failed" = 0 ] && echo "All counts as expected." || { echo "Some counts differ."; exit 1; }

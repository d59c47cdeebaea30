#!/bin/bash
# Speed of two builds side by side: the perft suite (perft_bench), the classic search benchmark
# (search_bench 6) and the strong one (search_bench 12 strong), each run alternately, the
# earlier build first, PAIRS times (default 7). Prints every pair, then per benchmark the
# median and the spread (lowest to highest) of each build, and checks that both builds give
# the same node signatures. Builds nothing: give it two build folders (or folders holding the
# three programs).
#
#   tools/compare_builds.sh BEFORE_DIR AFTER_DIR [PAIRS]
set -u
BEFORE=${1:?usage: $0 BEFORE_DIR AFTER_DIR [PAIRS]}
AFTER=${2:?usage: $0 BEFORE_DIR AFTER_DIR [PAIRS]}
PAIRS=${3:-7}
for dir in "$BEFORE" "$AFTER"; do
    for tool in perft_bench search_bench; do
        [ -x "$dir/$tool" ] || { echo "not an executable: $dir/$tool" >&2; exit 2; }
    done
done

median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
spread() { printf '%s\n' "$@" | sort -g | awk 'NR == 1 { lo = $1 } { hi = $1 } END { printf "%.0f-%.0f", lo, hi }'; }

# One run of a benchmark: its rate goes into RATE, its node signature into SIGNATURE.
run() {
    local out
    case $2 in
    perft) out=$("$1/perft_bench")
           RATE=$(printf '%s\n' "$out" | sed -n 's/^Raw nodes per second: //p')
           SIGNATURE=$(printf '%s\n' "$out" | sed -n 's/^Total nodes: //p') ;;
    classic) out=$("$1/search_bench" 6)
           RATE=$(printf '%s\n' "$out" | sed -n 's/^Rate: \([0-9]*\) .*/\1/p; s/^Nodes\/second: //p')
           SIGNATURE=$(printf '%s\n' "$out" | grep '^Signature') ;;
    strong) out=$("$1/search_bench" 12 strong)
           RATE=$(printf '%s\n' "$out" | sed -n 's/^Rate: \([0-9]*\) .*/\1/p; s/^Nodes\/second: //p')
           SIGNATURE=$(printf '%s\n' "$out" | grep '^Strong signature') ;;
    esac
}

status=0
for bench in perft classic strong; do
    before=() after=()
    for ((pair = 1; pair <= PAIRS; ++pair)); do
        run "$BEFORE" "$bench"
        before+=("$RATE")
        expected=$SIGNATURE
        run "$AFTER" "$bench"
        after+=("$RATE")
        [ "$SIGNATURE" = "$expected" ] || { echo "$bench: signatures differ: $expected / $SIGNATURE"; status=1; }
        printf '%-7s pair %d: before %12s  after %12s\n' "$bench" "$pair" "${before[-1]}" "${after[-1]}"
    done
    printf '%-7s median before %12.0f (%s)  after %12.0f (%s)  after/before %.3f\n' "$bench" \
        "$(median "${before[@]}")" "$(spread "${before[@]}")" \
        "$(median "${after[@]}")" "$(spread "${after[@]}")" \
        "$(awk -v a="$(median "${after[@]}")" -v b="$(median "${before[@]}")" 'BEGIN { print a / b }')"
done
exit $status

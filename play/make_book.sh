#!/usr/bin/env bash
# Rebuilds a Polyglot opening book from a PGN file of opening lines.
#
#   play/make_book.sh                    play/openings.pgn -> play/book.bin
#   play/make_book.sh IN.pgn OUT.bin     any source and target
#   play/make_book.sh --check [IN OUT]   build into a scratch file and compare it with OUT
#                                        (exit 1 when OUT is missing or out of date)
#   --min-ply N / --max-ply N            bounds on the length of every line (default 16 / 28)
#
# The source holds one opening line per game: the seven tag roster, Result "*", and the
# moves in standard algebraic notation. make-book scores a "*" game like a draw (one point
# to each side), so the weight of a book move is the number of lines that play it from that
# position, counted across move orders: a position reached by transposition gathers the
# lines of every order that reaches it.
#
# The build runs three checks before it writes anything:
#   1. every game has between --min-ply and --max-ply plies and the result "*";
#   2. when pgn-extract is installed, every move is legal and written exactly as canonical
#      SAN writes it (disambiguation, check and mate marks); skipped with a note otherwise;
#   3. polyglot make-book itself rejects an illegal move, but it still exits 0 and writes no
#      book, so its log and its output file are checked here.
#
# make-book options:
#   -min-game 1       keep a move played by a single line (the default of 3 would drop
#                     nearly the whole repertoire);
#   -max-ply MAX      make-book neither stores nor even parses moves past this ply, so it is
#                     set to the longest line allowed and longer lines are refused in check 1.
# The output depends only on the source: two builds of the same PGN are byte-identical.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
min_ply=16
max_ply=28
check_only=0
args=()
while (($#)); do
    case $1 in
        --check) check_only=1 ;;
        --min-ply) min_ply=$2; shift ;;
        --max-ply) max_ply=$2; shift ;;
        -h|--help) sed -n '2,/^set -e/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
        -*) echo "make_book.sh: unknown option $1" >&2; exit 2 ;;
        *) args+=("$1") ;;
    esac
    shift
done
case ${#args[@]} in
    0) pgn=$here/openings.pgn; bin=$here/book.bin ;;
    2) pgn=${args[0]}; bin=${args[1]} ;;
    *) echo "usage: make_book.sh [--check] [--min-ply N] [--max-ply N] [IN.pgn OUT.bin]" >&2; exit 2 ;;
esac

fail() { echo "make_book.sh: $*" >&2; exit 1; }

[[ -r $pgn ]] || fail "cannot read $pgn"
pgn=$(cd "$(dirname "$pgn")" && pwd)/$(basename "$pgn")

polyglot=${POLYGLOT:-$(command -v polyglot || true)}
[[ -z $polyglot && -x /usr/games/polyglot ]] && polyglot=/usr/games/polyglot
[[ -n $polyglot && -x $polyglot ]] ||
    fail "polyglot not found (Debian: apt-get install -y polyglot); the book was NOT rebuilt"

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# Prints one line per game: its Result tag, then its moves without move numbers or result.
# Games end at their termination marker; braces, parentheses and NAGs are not expected.
game_moves() {
    awk '
        /^\[Result / { result = $2; gsub(/[]"]/, "", result); next }
        /^\[/ || /^[ \t]*$/ { next }
        {
            for (i = 1; i <= NF; i++) {
                t = $i
                if (t ~ /^(\*|1-0|0-1|1\/2-1\/2)$/) {
                    print (result == "" ? "-" : result) " " t moves
                    moves = ""; result = ""
                    continue
                }
                sub(/^[0-9]+\.+/, "", t)
                if (t != "") moves = moves " " t
            }
        }
        END { if (moves != "") print "- unterminated" moves }
    ' "$1"
}

# Check 1: result and length of every line.
game_moves "$pgn" > "$tmp/source.moves"
games=$(wc -l < "$tmp/source.moves")
((games > 0)) || fail "$pgn holds no games"
awk -v lo="$min_ply" -v hi="$max_ply" '
    {
        plies = NF - 2
        if ($1 != "*" || $2 != "*") { printf "game %d: result must be \"*\" (tag %s, marker %s)\n", NR, $1, $2; bad = 1 }
        if (plies < lo || plies > hi) { printf "game %d: %d plies, outside %d..%d\n", NR, plies, lo, hi; bad = 1 }
        for (i = 3; i <= NF; i++) if ($i !~ /^([NBRQK]?[a-h]?[1-8]?x?[a-h][1-8](=[NBRQ])?|O-O|O-O-O)[+#]?$/) {
            printf "game %d: \"%s\" is not a SAN move\n", NR, $i; bad = 1
        }
    }
    END { exit bad }
' "$tmp/source.moves" >&2 || fail "line checks failed for $pgn"

# Check 2: legality and canonical SAN, when pgn-extract is available.
pgn_extract=$(command -v pgn-extract || true)
[[ -z $pgn_extract && -x /usr/games/pgn-extract ]] && pgn_extract=/usr/games/pgn-extract
if [[ -n $pgn_extract ]]; then
    "$pgn_extract" -s -Wsan -w 100000 --nocomments -o "$tmp/replayed.pgn" "$pgn" 2> "$tmp/pgn-extract.log" || true
    if [[ -s $tmp/pgn-extract.log ]]; then
        cat "$tmp/pgn-extract.log" >&2
        fail "pgn-extract rejected $pgn"
    fi
    game_moves "$tmp/replayed.pgn" > "$tmp/replayed.moves"
    if ! diff "$tmp/source.moves" "$tmp/replayed.moves" > "$tmp/san.diff"; then
        echo "moves that differ from canonical SAN (< source, > replayed):" >&2
        cat "$tmp/san.diff" >&2
        fail "$pgn has moves that are not canonical SAN"
    fi
    echo "pgn-extract: $games games, every move legal and in canonical SAN"
else
    echo "note: pgn-extract not installed, SAN check skipped (make-book still refuses illegal moves)"
fi

# Build.
(cd "$tmp" && "$polyglot" make-book -pgn "$pgn" -bin "$tmp/book.bin" \
    -min-game 1 -max-ply "$max_ply") > "$tmp/polyglot.log" 2>&1 || true
if grep -qi 'error' "$tmp/polyglot.log" || ! grep -q 'all done' "$tmp/polyglot.log" || [[ ! -s $tmp/book.bin ]]; then
    cat "$tmp/polyglot.log" >&2
    fail "polyglot make-book failed for $pgn"
fi
size=$(wc -c < "$tmp/book.bin")
((size % 16 == 0)) || fail "make-book wrote $size bytes, not a whole number of 16-byte entries"

if ((check_only)); then
    if cmp -s "$tmp/book.bin" "$bin"; then
        echo "$bin is up to date ($games games, $((size / 16)) entries)"
    else
        fail "$bin differs from a fresh build of $pgn; run make_book.sh to rebuild it"
    fi
else
    cp "$tmp/book.bin" "$bin.new"
    mv "$bin.new" "$bin"
    echo "$bin: $games games, $((size / 16)) entries"
fi

#!/bin/bash
# Measures the strong style inside the real GUI: games inside xboard, headless under a virtual X
# server, pondering off, one thread per engine, quillfern's own book off and xboard's Polyglot
# book on for both sides (BOOK, default the gnuchess-book package's, 8 plies, a random choice
# weighted by the book), colours alternating, draws called after 120 moves. Not part of the test
# run. Its modes:
#
# tools/strong_match.sh sprt [-a LINE]... [-b LINE]... [-n CAP] [-t TC] RESULTS ELO0 ELO1 A [B]
#   A sequential probability ratio test of engine A (the change) against B (the base; default
#   the same binary as A), both quillfern in the strong style, two games at a time (PARALLEL),
#   each pair of games in an xboard of its own. -a and -b add settings lines to A's and B's
#   quillfern.ini: "Key=value" goes to [ENGINE], "SECTION.Key=value" to that section, and
#   either comes first, so "-b Style=classic" overrides the default. H0 is "A is ELO0 Elo
#   stronger", H1 "A is ELO1 stronger" (logistic Elo; the generalized test on the
#   win/draw/loss counts, alpha = beta = 0.05). It stops when the test accepts either or after
#   CAP games (default 800); TC is xboard's clock, default "-mps 40 -tc 0:05" (40 moves in 5 s;
#   "-tc 0:05 -inc 0.05" is 5 s plus 0.05 s a move). Every game is appended to RESULTS as
#   "win|draw|loss white|black reason" from A's view, with "# ..." lines for the setup and for
#   faults; run it again with the same RESULTS to resume the test. After each pair it prints
#   W/D/L, the score and Elo with their 95 % margins, the log-likelihood ratio with its bounds,
#   and any time forfeit, illegal move or crash of either side. The games are in RESULTS.d/,
#   and the folder of every pair with a fault is kept there. Exits 0 when H1 is accepted,
#   1 when H0 is, 2 when the cap came first. An interrupted run leaves the pairs in play to
#   end by themselves (their games are not counted).
#
# tools/strong_match.sh ladder [-a LINE]... [-t TC] ENGINE [WORK [GAMES [OPPONENT...]]]
#   GAMES games (default 20) of the strong style against each OPPONENT, one xboard per opponent,
#   PARALLEL of them at once (default 2): gnuchess (xboard protocol, its own book off),
#   glaurung, toga2 and ethereal (through polyglot) by default; classic (the same binary in the
#   classic style), fairymax, hoichess and phalanx on request. TC defaults to "-mps 40 -tc 0:30".
#   Prints each opponent's score and Elo with their 95 % margins, the pooled score, and the time
#   forfeits, illegal moves and crashes of both sides. Exits 1 on any fault of quillfern's.
#   "tools/strong_match.sh ENGINE ..." is the ladder too.
#
# tools/strong_match.sh tally WORK...
#   The ladder's summary pooled over the WORK folders of several ladder runs of one engine
#   (a ladder does not resume: a longer one is played in rounds and tallied together).
#
# Setup: installs (as root) or names the Debian packages it needs: xboard xvfb xauth
# xfonts-base gnuchess-book, and the opponents' (gnuchess glaurung toga2 ethereal-chess
# polyglot fairymax hoichess phalanx). The TC environment variable works like -t.
set -u
PATH=$PATH:/usr/games
export PATH LC_ALL=C
TOOLS=$(cd "$(dirname "$0")" && pwd)
. "$TOOLS/common.sh"
DEFAULT_BOOK=/usr/share/games/gnuchess/book.bin
BOOK=${BOOK:-$DEFAULT_BOOK}
PARALLEL=${PARALLEL:-2}
A_LINES=()
B_LINES=()
CAP=800

die() { echo "strong_match: $*" >&2; exit 3; }
absolute_file() { echo "$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"; }
absolute() { [ -x "$1" ] || die "no engine at $1"; absolute_file "$1"; }

# Installs what is missing (tools/packages.sh names it when it cannot), then checks the commands.
need() {
    [ "$BOOK" = "$DEFAULT_BOOK" ] && set -- gnuchess-book "$@"
    "$TOOLS/packages.sh" "xboard xvfb xauth xfonts-base $*" || exit 3
    for tool in xboard xvfb-run xauth flock; do
        command -v "$tool" > /dev/null || die "$tool is not installed"
    done
    [ -f "$BOOK" ] || die "no opening book at $BOOK"
}

# quillfern's settings in folder $1: the strong style and no book of its own, after the lines
# given (first match wins, so these override).
engine_folder() {
    local dir=$1 section line
    shift
    mkdir -p "$dir"
    for section in ENGINE BOOK LOG TIME; do
        echo "[$section]"
        for line in "$@"; do
            case $line in
                "$section".*) echo "${line#*.}" ;;
                [A-Za-z]*.*=*) ;;
                *) [ "$section" = ENGINE ] && echo "$line" ;;
            esac
        done
        case $section in ENGINE) echo "Style=strong" ;; BOOK) echo "Book=0" ;; esac
    done > "$dir/quillfern.ini"
}

# An upper bound, in seconds, of one game at $TC: 160 moves a side, both clocks run down.
game_seconds() {
    echo "$TC" | awk '{
        for (i = 1; i < NF; i++) {
            if ($i == "-mps") mps = $(i + 1); if ($i == "-inc") inc = $(i + 1)
            if ($i == "-st") st = $(i + 1); if ($i == "-tc") tc = $(i + 1)
        }
        n = split(tc, part, ":"); base = n == 2 ? part[1] * 60 + part[2] : tc * 60
        periods = mps > 0 ? int((160 + mps - 1) / mps) : 1
        print int(2 * (periods * base + 160 * (inc + st)) + 30) }'
}

# The games of a PGN file from the view of the player named $2, one line each:
# "win|draw|loss white|black reason"; an unfinished game becomes a fault line.
pgn_results() {
    awk -v ours="$2" '
        function game(   colour, reason, score) {
            colour = white == "[White \"" ours "\"]" ? "white" : "black"
            reason = ""
            if (match(text, /\{[^}]*\} *(1-0|0-1|1\/2-1\/2|\*) *$/)) {
                reason = substr(text, RSTART + 1); sub(/\}.*/, "", reason)
            }
            if (result == "*") { print "# fault xboard: unfinished game (" reason ")"; return }
            score = (result == "1-0") == (colour == "white") ? "win" : "loss"
            if (result == "1/2-1/2") score = "draw"
            print score, colour, reason
        }
        /^\[White "/ { white = $0 }
        /^\[Result "/ { result = $2; gsub(/[]"]/, "", result) }
        /^[^[]/ && NF { text = text " " $0 }
        /^[ \t\r]*$/ && result != "" && text != "" { game(); result = ""; text = "" }
        END { if (result != "" && text != "") game() }' "$1" 2> /dev/null
}

# What the protocol traffic and xboard's output in folder $1 show of a fault: a move an engine
# refused (not a command it took for one, as phalanx takes "computer"), an error it reported to
# the user, its process ended. $2 is the first engine, $3 the second.
incidents() {
    awk -v first="$2" -v second="$3" '
        /^[0-9]+ <(first|second) *: *Illegal move.*: *[a-z]+ *$/ { next }
        /^[0-9]+ <(first|second) *: *(Illegal move|tellusererror)/ ||
        FILENAME ~ /xboard.out$/ && /(first|second) chess program/ && !/aplay/ {
            sub(/^[0-9]+ /, ""); print "# fault " ($0 ~ /first/ ? first : second) ": " $0
        }' "$1/debug.txt" "$1/xboard.out" 2> /dev/null
}

# Reads result lines (and fault lines) and prints one summary line for player A against B;
# with bounds ELO0 ELO1 it adds the log-likelihood ratio and exits 10 when H0 is accepted,
# 11 when H1 is.
summarize() {
    awk -v a="$1" -v b="$2" -v elo0="${3:-}" -v elo1="${4:-}" '
        function elo(s) {
            s = s < 1e-4 ? 1e-4 : (s > 1 - 1e-4 ? 1 - 1e-4 : s)
            return -400 * log(1 / s - 1) / log(10)
        }
        function expected(e) { return 1 / (1 + exp(-e * log(10) / 400)) }
        # The most likely win/draw/loss probabilities whose mean score is s, given the observed
        # ones (p[0] loss, p[1] draw, p[2] win): p[i] / (1 + x (score_i - s)), x by bisection.
        function fit(s, q,   lo, hi, x, f, i, k) {
            lo = -1 / (1 - s); hi = 1 / s
            for (k = 0; k < 200; k++) {
                x = (lo + hi) / 2; f = 0
                for (i = 0; i < 3; i++) f += p[i] * (i / 2 - s) / (1 + x * (i / 2 - s))
                if (f > 0) lo = x; else hi = x
            }
            for (i = 0; i < 3; i++) q[i] = p[i] / (1 + x * (i / 2 - s))
        }
        function faults(who,   text) {
            text = ""
            if (time[who]) text = text ", " time[who] " lost on time"
            if (illegal[who]) text = text ", " illegal[who] " lost by an illegal move"
            if (crash[who]) text = text ", " crash[who] " lost by a crash"
            if (proto[who]) text = text ", " proto[who] " refused moves or ended processes"
            return text == "" ? who " none" : who substr(text, 2)
        }
        /^# fault / {
            who = $3; sub(/:$/, "", who)
            if (who == "xboard") other++; else proto[who == a ? a : b]++
            next
        }
        /^#/ || NF < 2 { next }
        {
            n++; r = tolower($0)
            if ($1 == "win") { w++; loser = b }
            else if ($1 == "loss") { l++; loser = a }
            else { d++; loser = "" }
            if (r ~ /both flags/) { time[a]++; time[b]++ }
            else if (loser == "") next
            else if (r ~ /on time|flag fell/) time[loser]++
            else if (r ~ /illegal|invalid move|forfeit/) illegal[loser]++
            else if (r ~ /exit|crash|disconnect|unexpected|terminated/) crash[loser]++
        }
        END {
            mu = n ? (w + d / 2) / n : 0.5
            sd = n ? sqrt((w * (1 - mu) ^ 2 + d * (0.5 - mu) ^ 2 + l * mu ^ 2) / n) : 0
            se = n ? sd / sqrt(n) : 0
            margin = (elo(mu + 1.96 * se) - elo(mu - 1.96 * se)) / 2
            e = sprintf("%+6.1f +- %5.1f", elo(mu) == 0 ? 0 : elo(mu), margin)
            if (mu >= 1 || mu <= 0) e = mu >= 1 ? "  +inf" : "  -inf"
            printf "%-22s games %4d  +%d =%d -%d  score %5.1f %% +- %4.1f  Elo %s", a " vs " b, n, w, d, l, \
                100 * mu, 196 * se, e
            verdict = 0
            if (elo0 != "") {
                # The test as the distributed testing of engines runs it: the counts, each at
                # least 0.001, against the fitted distributions at the two bounds.
                p[0] = l > 1e-3 ? l : 1e-3; p[1] = d > 1e-3 ? d : 1e-3; p[2] = w > 1e-3 ? w : 1e-3
                total = p[0] + p[1] + p[2]
                for (i = 0; i < 3; i++) p[i] /= total
                fit(expected(elo0), q0); fit(expected(elo1), q1)
                llr = 0
                for (i = 0; i < 3; i++) llr += total * p[i] * log(q1[i] / q0[i])
                bound = log(0.95 / 0.05)
                printf "  LLR %+.2f (%.2f, %.2f)", llr, -bound, bound
                verdict = llr >= bound ? 11 : (llr <= -bound ? 10 : 0)
            }
            printf "  faults: %s; %s%s\n", faults(a), faults(b), other ? "; xboard " other : ""
            exit verdict
        }'
}

# xboard's options common to both modes.
xboard_options() {
    XBOARD=(-xexit -xponder -adjudicateDrawMoves 120 -egtFormats ""
        -usePolyglotBook true -polyglotBook "$BOOK" -bookDepth 4 -bookVariation 50
        -firstHasOwnBookUCI false -secondHasOwnBookUCI false)
}

settings_options() {
    while getopts a:b:n:t: option; do
        case $option in
            a) A_LINES+=("$OPTARG") ;;
            b) B_LINES+=("$OPTARG") ;;
            n) CAP=$OPTARG ;;
            t) TC=$OPTARG ;;
            *) exit 3 ;;
        esac
    done
}

# One pair of games (BATCH of them, A white first) in slot $1's folder; appends their lines.
sprt_batch() {
    local dir=$WORK/slot$1 status
    rm -rf "$dir"
    engine_folder "$dir/a" "${A_LINES[@]}"
    engine_folder "$dir/b" "${B_LINES[@]}"
    # shellcheck disable=SC2086
    xboard_match "$dir" $((BATCH * $(game_seconds) + 60)) -fcp "$ENGINE_A" -fd "$dir/a" \
        -fn "quillfern A" -scp "$ENGINE_B" -sd "$dir/b" -sn "quillfern B" \
        -matchGames "$BATCH" "${XBOARD[@]}" $TC
    status=$?
    {
        pgn_results "$dir/games.pgn" "quillfern A"
        incidents "$dir" A B
        [ "$status" = 0 ] || echo "# fault xboard: it ended with status $status"
    } > "$dir/results"
    games=$(grep -c -v '^#' "$dir/results")
    [ "$games" = "$BATCH" ] || echo "# fault xboard: $games of $BATCH games" >> "$dir/results"
    flock "$WORK/lock" sh -c 'cat "$1/results" >> "$2" && cat "$1/games.pgn" >> "$3"' sh \
        "$dir" "$RESULTS" "$WORK/games.pgn" 2> /dev/null
    grep -q -i -E '^# fault|on time|flag|illegal|forfeit|exit|crash|disconnect|unexpected' \
        "$dir/results" && cp -r "$dir" "$WORK/fault-$(date +%Y%m%d-%H%M%S)-$1"
}

sprt() {
    settings_options "$@"
    shift $((OPTIND - 1))
    [ $# -ge 4 ] || die "usage: strong_match.sh sprt [-a LINE]... [-b LINE]... [-n CAP] [-t TC]" \
        "RESULTS ELO0 ELO1 A [B]"
    RESULTS=$1 ELO0=$2 ELO1=$3
    ENGINE_A=$(absolute "$4") || exit 3
    ENGINE_B=$(absolute "${5:-$4}") || exit 3
    TC=${TC:--mps 40 -tc 0:05}
    BATCH=2
    need
    xboard_options
    touch "$RESULTS" || die "cannot write $RESULTS"
    RESULTS=$(absolute_file "$RESULTS")
    WORK=$RESULTS.d
    mkdir -p "$WORK"
    local setup="# sprt A $ENGINE_A [${A_LINES[*]}] B $ENGINE_B [${B_LINES[*]}] tc $TC"
    setup="$setup book $BOOK elo $ELO0 $ELO1"
    local first
    first=$(grep -m 1 '^# sprt ' "$RESULTS")
    if [ -n "$first" ] && [ "$first" != "$setup" ]; then
        echo "note: $RESULTS was begun with another setup:"
        echo "  ${first#\# }"
    fi
    grep -q -x -F "$setup" "$RESULTS" || echo "$setup" >> "$RESULTS"
    echo "${setup#\# }"
    echo "games so far: $(grep -c -v '^#' "$RESULTS"), cap $CAP, $PARALLEL at a time"

    declare -A slot_of
    local busy=() running=0 empty=0 slot pid verdict decided=0 done_games summary last=""
    while :; do
        done_games=$(grep -c -v '^#' "$RESULTS")
        summary=$(summarize A B "$ELO0" "$ELO1" < "$RESULTS")
        verdict=$?
        # The first bound crossed decides; the pairs still in play only finish.
        [ "$decided" = 0 ] && decided=$verdict
        [ "$summary" = "$last" ] || echo "$(date +%H:%M:%S) $summary"
        last=$summary
        if [ "$decided" = 0 ] && [ $((done_games + running * BATCH)) -lt "$CAP" ]; then
            for ((slot = 1; slot <= PARALLEL; slot++)); do
                [ -z "${busy[slot]:-}" ] || continue
                [ $((done_games + running * BATCH)) -lt "$CAP" ] || break
                sprt_batch "$slot" &
                slot_of[$!]=$slot
                busy[slot]=1
                running=$((running + 1))
                sleep 2
            done
        fi
        [ "$running" = 0 ] && break
        wait -n -p pid
        slot=${slot_of[$pid]}
        unset "busy[slot]"
        running=$((running - 1))
        # A pair without a single game (xboard or an engine cannot start): three in a row stop it.
        if grep -q -v '^#' "$WORK/slot$slot/results"; then empty=0; else empty=$((empty + 1)); fi
        if [ "$empty" -ge 3 ]; then
            wait
            die "three pairs ended without a game; see $WORK/slot$slot/xboard.out and debug.txt"
        fi
    done
    case $decided in
        11) echo "H1 accepted: A is $ELO1 Elo stronger rather than $ELO0"; exit 0 ;;
        10) echo "H0 accepted: A is not $ELO1 Elo stronger, rather $ELO0"; exit 1 ;;
        *) echo "no decision after $done_games games (cap $CAP)"; exit 2 ;;
    esac
}

# The xboard options that start opponent $1 in folder $2.
opponent_options() {
    case $1 in
        classic)
            engine_folder "$2" Style=classic
            OPPONENT=(-scp "$ENGINE" -sn "quillfern classic") ;;
        # Fairy-Max plays differently when told its opponent is a program: keep it quiet.
        fairymax) OPPONENT=(-scp fairymax -secondComputerString "") ;;
        hoichess | phalanx) OPPONENT=(-scp "$1") ;;
        # Its own book, should it find one, stays off: every engine leaves xboard's at one ply.
        gnuchess) OPPONENT=(-scp gnuchessx -secondInitString 'new\nrandom\nbook off\n') ;;
        # Glaurung starts two threads unless told otherwise.
        glaurung)
            OPPONENT=(-scp "polyglot -noini -ec /usr/games/glaurung -uci Threads=1 -uci OwnBook=false") ;;
        toga2) OPPONENT=(-scp "polyglot -noini -ec /usr/games/toga2 -uci OwnBook=false") ;;
        ethereal) OPPONENT=(-scp "polyglot -noini -ec /usr/games/ethereal-chess") ;;
        *) die "unknown opponent $1" ;;
    esac
}

play_opponent() {
    local dir=$WORK/$1
    mkdir -p "$dir/opponent"
    engine_folder "$dir/engine" "${A_LINES[@]}"
    opponent_options "$1" "$dir/opponent"
    # shellcheck disable=SC2086
    xboard_match "$dir" $((GAMES * $(game_seconds) + 60)) -fcp "$ENGINE" -fd "$dir/engine" \
        -fn "quillfern strong" -sd "$dir/opponent" "${OPPONENT[@]}" -matchGames "$GAMES" \
        "${XBOARD[@]}" $TC
    echo $? > "$dir/status"
}

# The score against each of the opponents $1 and against them all, over the ladder folders
# that follow.
pooled() {
    local opponents=$1 opponent work
    shift
    for opponent in $opponents; do
        for work in "$@"; do cat "$work/$opponent/results" 2> /dev/null; done |
            summarize quillfern "$opponent"
    done
    for work in "$@"; do cat "$work"/*/results; done | summarize quillfern all
}

ladder() {
    settings_options "$@"
    shift $((OPTIND - 1))
    [ $# -ge 1 ] || die "usage: strong_match.sh ladder [-a LINE]... [-t TC]" \
        "ENGINE [WORK [GAMES [OPPONENT...]]]"
    ENGINE=$(absolute "$1") || exit 3
    WORK=${2:-strong-match}
    GAMES=${3:-20}
    [ $# -gt 3 ] && shift 3 && OPPONENTS="$*" || OPPONENTS="gnuchess glaurung toga2 ethereal"
    TC=${TC:--mps 40 -tc 0:30}
    local packages="" opponent
    for opponent in $OPPONENTS; do
        case $opponent in
            glaurung | toga2) packages="$packages polyglot $opponent" ;;
            ethereal) packages="$packages polyglot ethereal-chess" ;;
            gnuchess | fairymax | hoichess | phalanx) packages="$packages $opponent" ;;
            classic) ;;
            *) die "unknown opponent $opponent" ;;
        esac
    done
    need $packages
    xboard_options
    rm -rf "$WORK"
    mkdir -p "$WORK"
    WORK=$(cd "$WORK" && pwd)

    local started running=0 bad=0
    started=$(date +%s)
    for opponent in $OPPONENTS; do
        start_job play_opponent "$opponent"
    done
    wait
    {
        echo "ladder: $GAMES games each, xboard $TC, book $BOOK, $(( $(date +%s) - started )) s"
        for opponent in $OPPONENTS; do
            dir=$WORK/$opponent
            {
                pgn_results "$dir/games.pgn" "quillfern strong"
                incidents "$dir" quillfern "$opponent"
                status=$(cat "$dir/status")
                [ "$status" = 0 ] || echo "# fault xboard: it ended with status $status"
            } > "$dir/results"
        done
        pooled "$OPPONENTS" "$WORK"
    } | tee "$WORK/summary.txt"
    grep -q 'quillfern [1-9]\|xboard [1-9]\| games  *0 ' "$WORK/summary.txt" && bad=1
    exit $bad
}

tally() {
    [ $# -ge 1 ] || die "usage: strong_match.sh tally WORK..."
    local work opponents="" opponent
    for work in "$@"; do
        [ -f "$work/summary.txt" ] || die "no ladder in $work"
        for opponent in "$work"/*/results; do
            opponent=$(basename "$(dirname "$opponent")")
            case " $opponents " in *" $opponent "*) ;; *) opponents="$opponents $opponent" ;; esac
        done
    done
    pooled "$opponents" "$@"
}

case ${1:-} in
    sprt) shift; sprt "$@" ;;
    tally) shift; tally "$@" ;;
    ladder) shift; ladder "$@" ;;
    "" | -h | --help) sed -n '2,/^set -u/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 3 ;;
    *) ladder "$@" ;;
esac

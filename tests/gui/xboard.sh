# One match inside xboard, headless under a virtual X server; sourced by xboard_match.sh and by
# the scripts in tools/. usage: xboard_match DIR SECONDS OPTION...
# The options name the engines, their folders and the clock. Everything xboard writes stays in
# DIR: its settings (HOME), the games (games.pgn), the protocol traffic (debug.txt), its output
# (xboard.out). Returns the status of xboard, 124 when it had not ended after SECONDS.
xboard_match() {
    local dir=$1 limit=$2 try=1 code
    shift 2
    mkdir -p "$dir/home"
    while :; do
        HOME=$dir/home timeout -k 10 "$limit" xvfb-run -a xboard -noGUI -autoCallFlag true \
            -saveGameFile "$dir/games.pgn" -debug -nameOfDebugFile "$dir/debug.txt" \
            -engineDebugOutput 1 "$@" > "$dir/xboard.out" 2>&1
        code=$?
        # Two virtual servers started at the same moment can pick one display: start again.
        grep -q 'Xvfb failed to start' "$dir/xboard.out" && [ "$try" -lt 4 ] || return "$code"
        sleep "$try"
        try=$((try + 1))
    done
}

# The one xboard invocation, sourced by xboard_match.sh and tools/: xboard_match DIR SECONDS OPTION...
# plays a match in xboard, headless under a virtual X server; the options name the engines, their
# folders and the clock. xboard's settings (home/), games.pgn, debug.txt (the protocol traffic) and
# xboard.out stay in DIR. Returns xboard's status, 124 when it had not ended after SECONDS.
xboard_match() {
    local dir=$1 limit=$2 try code
    shift 2
    mkdir -p "$dir/home"
    for try in 1 2 3; do # two virtual servers started at one moment can pick one display: again
        HOME=$dir/home timeout -k 10 "$limit" xvfb-run -a xboard -noGUI -autoCallFlag true \
            -saveGameFile "$dir/games.pgn" -debug -nameOfDebugFile "$dir/debug.txt" \
            -engineDebugOutput 1 "$@" > "$dir/xboard.out" 2>&1
        code=$?
        grep -q 'Xvfb failed to start' "$dir/xboard.out" || break
        sleep "$try"
    done
    return "$code"
}

# Shared by the developer scripts in this folder (sourced, not run).

# Starts "$@" in the background; once PARALLEL jobs run, waits for all of them. The caller sets
# running=0 first and waits for the last batch itself.
start_job() {
    "$@" &
    running=$((running + 1))
    if [ "$running" -ge "$PARALLEL" ]; then
        wait
        running=0
    fi
}

# One match inside xboard, headless under a virtual X server: xboard_match DIR SECONDS OPTION...
# quillfern ($ENGINE) is the first engine, started in DIR/engine; the options name the second
# engine and the clock. Games go to DIR/games.pgn, the protocol traffic to DIR/debug.txt, the
# exit status of xboard (or of the timeout of SECONDS) to DIR/status.
xboard_match() {
    dir=$1
    limit=$2
    shift 2
    HOME=$dir/home timeout -k 10 "$limit" xvfb-run -a xboard -noGUI \
        -fcp "$ENGINE" -fd "$dir/engine" -sd "$dir/opponent" "$@" \
        -autoCallFlag true -adjudicateDrawMoves 120 \
        -saveGameFile "$dir/games.pgn" \
        -debug -nameOfDebugFile "$dir/debug.txt" -engineDebugOutput 1 \
        > "$dir/xboard.out" 2>&1
    echo $? > "$dir/status"
}

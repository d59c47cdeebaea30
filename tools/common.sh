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

# xboard_match DIR SECONDS OPTION...: the one xboard invocation, shared with the test run.
. "$(dirname "$0")/../tests/gui/xboard.sh"

// The engine's entry point: bring the engine to a playable state, then let the mode line decide
// which front end runs.
#include <fcntl.h>

#include <csignal>

#include "shell/shell.h"

int main() {
    // A standard stream that was closed on us gets /dev/null, opened for reading only: no file
    // opened later (the game log) can take its number and receive the engine's output, input
    // ends at once, and every write fails, which ends the engine as a broken pipe does.
    for (int fd = 0; fd <= 2; ++fd)
        if (fcntl(fd, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    // When the interface has gone, a write to it fails instead of killing the engine, which
    // then ends at its next read with everything logged (see read_line).
    std::signal(SIGPIPE, SIG_IGN);
    start_up();
    mode_loop();
    return 0;
}

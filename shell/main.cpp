// The engine's entry point: bring the engine to a playable state, then let the mode line decide
// which front end runs.
#include "shell/shell.h"

int main() {
    start_up();
    mode_loop();
    return 0;
}

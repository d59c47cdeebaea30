// The engine's entry point: bring the engine to a playable state, then let the mode line decide
// which front end runs.
#include "front/front.h"
#include "shell/shell.h"

int main() {
    prepare_standard_streams();
    start_up();
    mode_loop();
    return 0;
}

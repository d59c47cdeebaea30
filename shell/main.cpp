// The engine's entry point: bring the engine to a playable state, then let the mode line decide
// which front end runs. An argument asks for something else (shell/shell.h).
#include "front/front.h"
#include "shell/shell.h"

int main(int argc, char** argv) {
    prepare_standard_streams();
    if (argc > 1) return run_command_line(argc, argv, QUILLFERN_VERSION);
    start_up();
    mode_loop();
    return 0;
}

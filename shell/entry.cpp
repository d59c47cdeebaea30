// Start-up and the mode loop.
#include <cstring>

#include "front/front.h"
#include "shell/shell.h"

void start_up() {
    GameOver    = 0;
    EngineColor = 'c';
    load_settings("quillfern.ini");
    new_game();
    output(Screen, "quillfern chess engine by Brackenwold\nversion 0.05\n"
                   "enter 'console' for console mode...\n");
}

// Waits for the mode line: a line longer than 255 characters arrives in pieces, each compared on
// its own. The end of input ends the program like "quit".
void mode_loop() {
    char piece[LineSize];
    while (read_piece(piece, LineSize)) {
        if (std::strncmp(piece, "xboard", 6) == 0) {
            xboard_loop();
            if (QuitRequested == 1) return;
        } else if (std::strncmp(piece, "quit", 4) == 0) {
            return;
        } else if (std::strncmp(piece, "cons", 4) == 0) {
            console_loop();
            if (QuitRequested == 1) return;
        } else if (std::strncmp(piece, "uci", 3) == 0 &&
                   piece[3 + std::strspn(piece + 3, " \t\r\n")] == '\0') {
            uci_loop(); // "uci" alone on its line, the first command of a UCI interface
            if (QuitRequested == 1) return;
        }
    }
}

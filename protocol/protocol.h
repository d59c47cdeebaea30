// Protocol and game record: the xboard driver, game-end detection and the game log.
#pragma once

extern char OpponentName[100];

void xboard_loop();
int check_game_end();

// Writes to the game log when logging is on, and flushes, so a game that has ended is on disk
// even if the program is killed.
void log_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

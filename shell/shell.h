// Program shell: the entry point and the mode loop, the loading of the settings, the board
// display.
#pragma once

// Brings the engine to a playable state: the settings loaded, the start position set up, the
// banner printed.
void start_up();
// Waits for the mode line and hands over to the front end it names; returns when the program
// is to end.
void mode_loop();
// Reads every setting from the INI file; a setting that is missing or out of range gets its
// default. When the game log is wanted and cannot be opened, the load stops there.
void load_settings(const char* file_name);
// The position as a diagram from White's side, Italian initials for the pieces.
void show_board();

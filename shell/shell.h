// Program shell: the entry point and the mode loop.
#pragma once

// Brings the engine to a playable state: the settings loaded, the start position set up, the
// banner printed.
void start_up();
// Waits for the mode line and hands over to the front end it names; returns when the program
// is to end.
void mode_loop();

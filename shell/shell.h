// Program shell: the entry point and the mode loop.
#pragma once

// Brings the engine to a playable state: the settings loaded, the start position set up, the
// banner printed.
void start_up();
// Waits for the mode line and hands over to the front end it names; returns when the program
// is to end.
void mode_loop();
// The command line. Without an argument the engine starts as it always has; with one it does
// what the argument asks and ends: runs "--help", "--version" or "bench [DEPTH] [classic|strong]"
// and returns the exit status, 0, or 2 with the usage on the error stream for an argument it
// does not know. argc > 1.
int run_command_line(int argc, char** argv, const char* version);

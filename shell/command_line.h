// The command line. Without an argument the engine starts as it always has; with one it does
// what the argument asks and ends.
#pragma once

// Runs "--help", "--version" or "bench [DEPTH [classic|strong]]" and returns the exit status:
// 0, or 2 with the usage on the error stream for an argument it does not know. argc > 1.
int run_command_line(int argc, char** argv, const char* version);

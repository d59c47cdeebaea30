// Program shell: start-up and mode selection, the console, the settings and the board display.
#pragma once

#include <cstdint>
#include <cstdio>

// Game control, shared by both front ends.
extern std::int32_t GameOver;      // 1 while a result stands
extern std::uint8_t EngineColor;   // 0 White, 1 Black, 'c' neither side
extern std::int32_t QuitRequested; // 1 after "quit" (or the end of input)

// Settings, from the INI file.
extern std::int32_t MaxDepth, MaxTime, PostThinking, LogGame, Book, RandBook;
extern std::int32_t SuddenDeath, MoreTime, LessTime, FastGame;
extern char LogFile[100];
extern char BookFile[100];
extern std::FILE* LogFileHandle;
// Time control, in hundredths of a second.
extern std::int32_t moveTime, engineTime, opponentTime, increment, allocatedTime;

void load_settings(const char* file_name);
void show_params();
void show_board();

// The stream the front ends read their lines from (standard input unless a test replaces it).
extern std::FILE* InputStream;
constexpr int LineSize = 256;
// Reads one line of at most 255 characters, without its line end, into a buffer of LineSize
// bytes; the rest of a longer line is discarded. Flushes standard output first. Returns 0 at
// the end of input, and when standard output can no longer be written.
int read_line(char* line);
// Reads a whole number as "%d" does (blanks skipped, an optional sign, digits) and moves text
// past it. Returns 0, text and value untouched, when no number stands there or it does not fit.
int read_int(const char*& text, std::int32_t& value);
// A time in hundredths of a second computed in 64 bits, held at the 32-bit limits.
std::int32_t saturate_centis(std::int64_t centis);

void start_up();
void mode_loop();
void console_loop();

// Front ends: the console, the xboard protocol and UCI, and the game they share. This folder owns
// the game in progress (engine colour, result, clocks), the settings in effect and their loading
// from the INI file, the game log, the reading of standard input and every write to standard
// output, the board display.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "book/book.h"
#include "search/search.h"

// Game control.
extern std::int32_t GameOver;         // 1 while a result stands
extern std::uint8_t EngineColor;      // 0 White, 1 Black, 'c' neither side
extern std::int32_t QuitRequested;    // 1 after "quit" (or the end of input)
extern std::uint32_t SearchStartTime; // when the engine's current move started, from clock_ms

// The settings in effect, and the clocks, in hundredths of a second.
extern std::int32_t MaxDepth, MaxTime, PostThinking, LogGame, Book, RandBook;
extern std::int32_t SuddenDeath, MoreTime, LessTime, FastGame;
// The strong style's table in megabytes, 1 to MaxHash, and the threads it searches on.
extern std::int32_t Hash, Threads;
constexpr std::int32_t MaxHash = 8192, MaxThreads = 256;
constexpr int SettingTextSize = 100;
extern char LogFile[SettingTextSize];
extern char BookFile[SettingTextSize];
// The search: "strong" (any letter case) for the strong style, anything else for the classic
// one. StrongStyle is 1 while the strong style is chosen and its table allocated.
extern char Style[SettingTextSize];
extern std::int32_t StrongStyle;
extern std::FILE* LogFileHandle;
extern std::int32_t moveTime, engineTime, opponentTime, increment, allocatedTime;
// Moves in each time control of xboard's "level", 0 when the clock covers the whole game.
extern std::int32_t MovesPerControl;
// A move's share of the clock (own, hundredths), by the allocation over SuddenDeath moves, or
// over the moves left to the next control when those are fewer (movesToGo 0 or less: no
// control ahead); a share then never more than half the clock, which the allocation alone
// would give the last move before the control whole.
TimeBudget spread_clock(std::int32_t own, std::int32_t them, std::int32_t increment,
                        std::int64_t movesToGo);

// Every setting the INI file feeds, in the order a load reads them: its section and key, its
// default, and for a number the range it must lie in (outside it, the default is taken).
enum SettingKind { NumberSetting, FlagSetting, TextSetting };
struct SettingKey {
    const char* section;
    const char* key;
    SettingKind kind;
    std::int32_t fallback, low, high; // a number's or a flag's default, a number's range
    const char* text;                 // a text's default
    std::int32_t* number;             // where a number or a flag is kept
    char* chars;                      // where a text is kept, SettingTextSize bytes
};
extern const SettingKey SettingKeys[];
extern const std::size_t SettingCount;
bool same_letters(const char* a, const char* b);
// Store a value read for a key: a number is held to its range, MaxTime also sets the move's
// clocks; a text keeps at most 99 characters.
void set_setting(const SettingKey& key, long value);
void set_setting(const SettingKey& key, const char* text);
// Closes the log a load opened before and, when LogGame is on, opens LogFile for appending. A log
// that cannot be opened is reported on the error stream; the result is then false.
bool open_game_log();
// Reads every setting from the INI file; a setting that is missing or out of range gets its
// default. When the game log is wanted and cannot be opened, the load stops there.
void load_settings(const char* file_name);

// Where the engine's files are. A build from source reads and writes every file by the name it
// is given, in the working folder. An installed package (built with QUILLFERN_DATA_DIR) also has
// a data folder holding the default settings and book: a file the working folder lacks is read
// from there, and while those packaged settings are in use the game log goes to the user's own
// data folder, since the package's folder is not the user's to write.
// The package's data folder, nullptr for none (a build from source). Tests set their own.
void set_data_folder(const char* folder);
// The settings file to read for name: name itself when the working folder has it, else the data
// folder's file of that name when there is one. Notes whether the packaged settings are in use.
const char* settings_path(const char* name);
// The book to open for the BookFile name, by the same rule.
const char* book_path(const char* name);
// The game log to append to: name, unless the settings in use are the packaged ones; then name
// inside $XDG_DATA_HOME/quillfern, else ~/.local/share/quillfern, a folder created when missing.
const char* log_path(const char* name);

// The search benchmark of "quillfern bench" and the developer's bench/search_bench: searches
// eight fixed positions to depth, in the strong style or the classic one, and prints each
// position's score, move and nodes, the node total (the style's signature, which changes only
// when the search's behaviour does), the time, and last "Nodes searched: N" and "Nodes/second:
// R", the lines testers' scripts read. Returns 0, or 1 when the strong style's table cannot be
// allocated.
int search_benchmark(int depth, bool strong);

// Every write to standard output: flushed at once, and copied to the game log when logging is on
// and the line belongs there.
enum Destination { Screen, ScreenAndLog, LogOnly };
void output(Destination to, const char* format, ...) __attribute__((format(printf, 2, 3)));
// "NAME: reason" on the error stream, for a file that could not be opened.
void report_file_error(const char* name, int error);

// Standard input, read through one buffer. Tests and fuzz targets may read from a source of
// their own (nullptr restores standard input); it returns the bytes it put into the buffer, 0 at
// the end of input.
using InputSource = long (*)(char* buffer, std::size_t room);
void set_input_source(InputSource source);
// One line without its line end (and a CR before it), cut to size - 1 characters, the rest of a
// longer line dropped. Returns 0 at the end of input, and when standard output can no longer be
// written. Flushes standard output first.
int read_line(char* line, int size);
// At most size - 1 characters of a line, with its newline when it fits: a longer line arrives in
// pieces. Returns 0 at the end of input.
int read_piece(char* piece, int size);
constexpr int LineSize = 256;
// During a search: reads what has arrived on the input, waiting for more only when asked to.
// False once the input has ended.
bool look_at_input(bool wait);
// Hands each complete line waiting in the input (without its line end, cut to 255 characters)
// to take, in order; the lines take accepts are removed, the others stay to be read.
void take_waiting_lines(bool (*take)(void* context, const char* line), void* context);
// Whether the input has ended and every line of it has been read.
bool input_ended();
// Whether the buffer is full of input not yet read: nothing more can come in until some of it
// is taken. skip_unfinished_line then gives up the line at its end, which has no line end yet,
// with all of it that is still to come.
bool input_full();
void skip_unfinished_line();
// Guards the standard streams before anything is read or written: a closed one, a broken pipe.
void prepare_standard_streams();

// The three front ends; each runs until "quit" or the end of input, and then sets QuitRequested.
void console_loop();
void xboard_loop();
// The UCI driver, entered with the mode line "uci", which it answers as the command.
void uci_loop();
// The limits of the search a UCI "go" line asks for in the position on the board (what it
// cannot read is reported in an "info string").
SearchLimits uci_go_limits(const char* line);
// The console's "test": perft over the six positions of the suite, with the rate.
void run_benchmark();
// The position as a diagram from White's side, Italian initials for the pieces.
void show_board();

// What the front ends share: the engine's move, the analysis, the end of a game.
int check_game_end();
// The limits of the engine's search as the settings and the clocks have them: the given depth,
// the move's fixed time and its budget, counted from SearchStartTime; reported iterations when
// the thinking is posted. Every front end starts from these.
SearchLimits search_limits(int max_depth);
// The engine's move searched in the style the settings choose.
SearchResult search_in_style(const SearchLimits& limits, const SearchHooks& hooks);
// Asks the book for the position on the board when Book is on: BookFound, with the move's text
// in a buffer of 6 bytes, only when the book holds a move that is legal here. A book that cannot
// be opened is reported on the error stream.
BookResult probe_book(char* text);
void think(char* text);
void analyze(int max_depth);
// The engine's turn, when it has the side to move and no result stands: a legal book move, which
// announce prints, else the search's move. Returns whether the engine moved.
bool engine_turn(char* text, void (*announce)(const char* text));
// The two halves of a thinking line: the numbers, and the numbered moves of the line.
void print_thinking(int depth, int score, std::int32_t elapsed, std::uint32_t nodes,
                    Destination to = ScreenAndLog);
void print_line(const PrincipalVariation& line, int root_black, Destination to = ScreenAndLog);

// A command of a front end's table: a whole line, or a line that begins with the word.
enum Then { NextLine, EngineTurn, Unknown, Quit };
struct Command {
    const char* word;
    bool prefix;
    Then (*run)(const char* line);
};
// Runs the first command of the table that matches the line; Unknown when none does.
Then dispatch(const Command* table, std::size_t count, const char* line);
// The commands the console and the xboard driver share: "post", "nopost", "go", ".".
Then post_command(const char* line);
Then nopost_command(const char* line);
Then go_command(const char* line);
Then stat_command(const char* line);
// "sd N" and "st N", read as "%d" reads after the two letters: true and the setting changed when
// the number is in range (2 to MaxPly; 1 second or more). n is what was read.
bool set_depth_limit(const char* line, std::int32_t& n, bool& read);
bool set_move_time(const char* line, std::int32_t& n);
// Reads a whole number as "%d" does (blanks skipped, an optional sign, digits) and moves text
// past it. Returns 0, text and value untouched, when no number stands there or it does not fit.
int read_int(const char*& text, std::int32_t& value);
// A time in hundredths of a second computed in 64 bits, held at the 32-bit limits.
std::int32_t saturate_centis(std::int64_t centis);

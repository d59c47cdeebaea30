// The game the front ends share: the game-control variables, the settings in effect and their
// table, the game log and every write to standard output, the engine's turn, its move and the
// analysis, the end of a game, and the dispatch of a command table.
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstring>

#include "book/book.h"
#include "front/front.h"
#include "movegen/movegen.h"
#include "search/strong.h"

std::int32_t GameOver         = 0;
std::uint8_t EngineColor      = 'c';
std::int32_t QuitRequested    = 0;
std::uint32_t SearchStartTime = 0;

std::int32_t MaxDepth, MaxTime, PostThinking, LogGame, Book, RandBook;
std::int32_t SuddenDeath, MoreTime, LessTime, FastGame, Hash, Threads;
char LogFile[SettingTextSize], BookFile[SettingTextSize], Style[SettingTextSize];
std::int32_t StrongStyle = 0;
std::FILE* LogFileHandle = nullptr;
std::int32_t moveTime, engineTime, opponentTime = 0, increment = 0, allocatedTime;
std::int32_t MovesPerControl = 0;

// Each key's default and range: what a number outside the range becomes, and what a missing
// key gives.
constexpr SettingKey SettingKeys[] = {
    {"ENGINE", "MaxDepth", NumberSetting, MaxPly, 2, MaxPly, nullptr, &MaxDepth, nullptr},
    {"ENGINE", "MaxTime", NumberSetting, 360000, INT32_MIN, INT32_MAX, nullptr, &MaxTime, nullptr},
    {"ENGINE", "PostThinking", FlagSetting, 1, 0, 1, nullptr, &PostThinking, nullptr},
    {"ENGINE", "Hash", NumberSetting, DefaultTableMegabytes, 1, MaxHash, nullptr, &Hash, nullptr},
    {"ENGINE", "Threads", NumberSetting, 1, 1, MaxThreads, nullptr, &Threads, nullptr},
    {"ENGINE", "Style", TextSetting, 0, 0, 0, "classic", nullptr, Style},
    {"LOG", "LogFile", TextSetting, 0, 0, 0, "quillfern.log", nullptr, LogFile},
    {"LOG", "LogGame", FlagSetting, 0, 0, 1, nullptr, &LogGame, nullptr},
    {"BOOK", "BookFile", TextSetting, 0, 0, 0, "book.bin", nullptr, BookFile},
    {"BOOK", "Book", FlagSetting, 1, 0, 1, nullptr, &Book, nullptr},
    {"BOOK", "RandBook", FlagSetting, 1, 0, 1, nullptr, &RandBook, nullptr},
    {"TIME", "SuddenDeath", NumberSetting, 20, 20, 40, nullptr, &SuddenDeath, nullptr},
    {"TIME", "MoreTime", NumberSetting, 5, 5, 15, nullptr, &MoreTime, nullptr},
    {"TIME", "LessTime", NumberSetting, 5, 5, 15, nullptr, &LessTime, nullptr},
    {"TIME", "FastGame", NumberSetting, 5, 5, 15, nullptr, &FastGame, nullptr},
};
const std::size_t SettingCount = std::size(SettingKeys);

void set_setting(const SettingKey& key, long value) {
    *key.number = (value < key.low || value > key.high) ? key.fallback : std::int32_t(value);
    // Each load gives the move the configured time again.
    if (key.number == &MaxTime) engineTime = moveTime = allocatedTime = MaxTime;
    // The strong style's table takes a new size at once; without the memory it keeps its own.
    if (key.number == &Hash && StrongStyle) allocate_table(Hash);
    if (key.number == &Threads) set_helper_threads(Threads - 1);
}

// Whether two texts hold the same letters, whatever their case.
bool same_letters(const char* a, const char* b) {
    for (; *a && *b; ++a, ++b)
        if (std::tolower(static_cast<unsigned char>(*a)) !=
            std::tolower(static_cast<unsigned char>(*b)))
            return false;
    return *a == *b;
}

// Choosing the strong style allocates its table, once; without the memory the search stays classic.
void set_setting(const SettingKey& key, const char* text) {
    std::snprintf(key.chars, SettingTextSize, "%s", text);
    if (key.chars == Style) StrongStyle = same_letters(Style, "strong") && allocate_table(Hash);
}

namespace {

// Every setting holds its default from the start, so a load that stops early (the log cannot be
// opened) still leaves usable values behind, a SuddenDeath inside its range among them.
[[maybe_unused]] const bool DefaultsSet = [] {
    for (const SettingKey& key : SettingKeys)
        key.kind == TextSetting ? set_setting(key, key.text) : set_setting(key, long(key.fallback));
    return true;
}();

} // namespace

// The log of an earlier load is let go first, so reloading never leaks a handle. It stays open
// for the run and is flushed after every line: a game that has ended is on disk at once, and
// later games of the same run go on appending to it.
bool open_game_log() {
    if (LogFileHandle != nullptr) {
        std::fclose(LogFileHandle);
        LogFileHandle = nullptr;
    }
    if (LogGame != 1) return true;
    const char* path = log_path(LogFile);
    LogFileHandle    = std::fopen(path, "a");
    if (LogFileHandle == nullptr) report_file_error(path, errno);
    return LogFileHandle != nullptr;
}

void output(Destination to, const char* format, ...) {
    va_list args;
    if (to != LogOnly) {
        va_start(args, format);
        std::vprintf(format, args);
        va_end(args);
        std::fflush(stdout);
    }
    if (to != Screen && LogGame == 1 && LogFileHandle) {
        va_start(args, format);
        std::vfprintf(LogFileHandle, format, args);
        va_end(args);
        std::fflush(LogFileHandle);
    }
}

void report_file_error(const char* name, int error) {
    std::fprintf(stderr, "%s: %s\n", name, std::strerror(error));
}

Then dispatch(const Command* table, std::size_t count, const char* line) {
    for (std::size_t i = 0; i < count; ++i) {
        const Command& c = table[i];
        if (c.prefix ? std::strncmp(line, c.word, std::strlen(c.word)) == 0
                     : std::strcmp(line, c.word) == 0)
            return c.run(line);
    }
    return Unknown;
}

Then post_command(const char*) {
    PostThinking = 1;
    return NextLine;
}

Then nopost_command(const char*) {
    PostThinking = 0;
    return NextLine;
}

// The engine takes the side to move, and moves at once when it is not over.
Then go_command(const char*) {
    EngineColor = std::uint8_t(CurrentPosition->blackToMove);
    return EngineTurn;
}

Then stat_command(const char*) {
    output(Screen, "#DEBUG stat\n");
    return NextLine;
}

int read_int(const char*& text, std::int32_t& value) {
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    if (*p == '+' && p[1] != '-') ++p; // from_chars takes a minus sign but not a plus
    std::int32_t n    = 0;
    auto [end, error] = std::from_chars(p, p + std::strlen(p), n);
    if (error != std::errc()) return 0;
    value = n;
    text  = end;
    return 1;
}

std::int32_t saturate_centis(std::int64_t centis) {
    if (centis > INT32_MAX) return INT32_MAX;
    if (centis < INT32_MIN) return INT32_MIN;
    return std::int32_t(centis);
}

// "sd" and "st" also match a line with no number after them ("sd" alone, or a word such as
// "stop"): nothing is read, and the line is refused like a number out of range.
bool set_depth_limit(const char* line, std::int32_t& n, bool& read) {
    const char* rest = line + 2;
    read             = read_int(rest, n);
    if (!read || n < 2 || n > MaxPly) return false;
    MaxDepth = n;
    return true;
}

bool set_move_time(const char* line, std::int32_t& n) {
    const char* rest = line + 2;
    if (!read_int(rest, n) || n < 1) return false;
    moveTime = saturate_centis(std::int64_t(n) * 100);
    return true;
}

void print_thinking(int depth, int score, std::int32_t elapsed, std::uint32_t nodes,
                    Destination to) {
    output(to, "%2d %6d %6d %10ld ", depth, score, elapsed, long(nodes));
}

// The line as numbered moves, its stored moves only, each followed by a blank.
void print_line(const PrincipalVariation& line, int root_black, Destination to) {
    char text[StoredPvMoves * 12 + 16];
    int length = 0, number = 1;
    const int shown = line.length < StoredPvMoves ? line.length : StoredPvMoves;
    for (int i = 0; i < shown; ++i) {
        const int black = root_black ^ (i & 1);
        if (i == 0)
            length += std::snprintf(text + length, sizeof text - length, black ? "1. .. " : "1. ");
        else if (!black)
            length += std::snprintf(text + length, sizeof text - length, "%i. ", ++number);
        char move[6];
        move_to_text_for(move, line.moves[i], black);
        if (move[4] == ' ') move[4] = '\0';
        length += std::snprintf(text + length, sizeof text - length, "%s ", move);
    }
    std::snprintf(text + length, sizeof text - length, "\n");
    output(to, "%s", text);
}

namespace {

// The thinking line of a finished iteration; an iteration that ends the deepening on a mate is
// announced by its mate line instead.
void report_thinking(void*, const Iteration& it) {
    if (it.score > MateBound || it.score < -MateBound) return;
    print_thinking(it.depth, it.score, it.elapsed / 10, it.nodes);
    print_line(*it.line, CurrentPosition->blackToMove);
}

// In an analysis a mate's line is cut to the mate's distance in moves (none when the side to
// move is mated already).
void report_analysis(void*, const Iteration& it) {
    PrincipalVariation line = *it.line;
    const int mate_moves    = it.score > MateBound    ? (MateScore + 1 - it.score) / 2
                              : it.score < -MateBound ? (it.score + MateScore) / 2
                                                      : -1;
    if (mate_moves >= 0 && mate_moves < line.length) line.length = mate_moves;
    print_thinking(it.depth, it.score, it.elapsed / 10, it.nodes);
    print_line(line, CurrentPosition->blackToMove);
}

// Waits for one line between iterations of an analysis: "exit" ends it, as does the end of
// input; any other line is dropped.
bool poll_input(void*) {
    char line[LineSize];
    if (!read_line(line, LineSize)) return true;
    if (std::strcmp(line, "exit") != 0) return false;
    output(Screen, "#DEBUG exit da polling\n");
    EngineColor = 'c';
    return true;
}

} // namespace

SearchLimits search_limits(int max_depth) {
    SearchLimits limits{max_depth, moveTime, allocatedTime, SearchStartTime, PostThinking == 1};
    limits.clockLeft = engineTime;
    return limits;
}

BookResult probe_book(char* text) {
    if (Book != 1) return BookNoSuchKey;
    const char* file      = book_path(BookFile);
    const BookProbe probe = choose_book_move(file, RandBook, text);
    if (probe.result == BookNotOpened) report_file_error(file, probe.error);
    if (probe.result == BookFound && user_move(text) == 0) return BookNoSuchKey;
    return probe.result;
}

SearchResult search_in_style(const SearchLimits& limits, const SearchHooks& hooks) {
    return (StrongStyle ? strong_search_move : search_move)(limits, hooks);
}

TimeBudget spread_clock(std::int32_t own, std::int32_t them, std::int32_t increment,
                        std::int64_t movesToGo) {
    if (movesToGo <= 0 || movesToGo >= SuddenDeath)
        return allocate_time(own, them, increment, SuddenDeath);
    TimeBudget budget = allocate_time(own, them, increment, int(movesToGo));
    if (budget.allocated > own / 2) budget.allocated = own / 2;
    return budget;
}

// The moves the side to move has left to make before xboard's next control: its moves made since
// the game's first record, counted in whole controls.
std::int64_t moves_to_control() {
    if (MovesPerControl <= 0) return 0;
    const std::int64_t made = (CurrentPosition - &PositionStack[0]) / 2;
    return MovesPerControl - made % MovesPerControl;
}

// Allocates the move's time, searches, announces a mate the deepening ended on, and plays the
// move. With no legal move at all nothing is played and text is left empty.
void think(char* text) {
    // The strong style looks ahead to the next control; the classic style's allocation stays
    // the fixed one, over SuddenDeath moves (no control ahead).
    const TimeBudget budget =
        spread_clock(engineTime, opponentTime, increment, StrongStyle ? moves_to_control() : 0);
    allocatedTime = budget.allocated;
    output(Screen, "#DEBUG move speed: %i  allocated time: %i\n", budget.moves, allocatedTime);
    SearchHooks hooks;
    hooks.report              = report_thinking;
    const SearchResult result = search_in_style(search_limits(MaxDepth), hooks);
    if (result.score > MateBound)
        output(Screen, "Mate in% d \n", (MateScore + 1 - result.score) / 2);
    if (result.score < -MateBound) output(Screen, "Mated to% d \n", (result.score + MateScore) / 2);
    text[0] = '\0';
    if (result.move == 0) return;
    move_to_text(text, result.move, CurrentPosition);
    output(ScreenAndLog, "move %s\n", text);
    make_room_for_game_move();
    make_move(result.move);
}

void analyze(int max_depth) {
    SearchHooks hooks;
    hooks.report        = report_analysis;
    hooks.analysis_ends = poll_input;
    (StrongStyle ? strong_search_analysis : search_analysis)(search_limits(max_depth), hooks);
}

// A book move that is not legal here (a damaged or foreign book) is never announced, not even
// by the book's thinking line: the engine searches instead.
bool engine_turn(char* text, void (*announce)(const char* text)) {
    if (GameOver != 0 || EngineColor != CurrentPosition->blackToMove) return false;
    SearchStartTime       = clock_ms();
    const BookResult book = probe_book(text);
    if (book == BookTooManyMoves)
        output(Screen, "#DEBUG: Too many moves in this position (max=%d)\n", MaxBookMoves);
    if (book == BookFound && enter_user_move(text) == 1) {
        if (PostThinking == 1) output(ScreenAndLog, "0 0 0 0 (move from book)\n");
        announce(text);
    } else {
        think(text);
    }
    GameOver = check_game_end();
    return true;
}

namespace {

void announce_result(const char* result, bool logged) {
    output(logged ? ScreenAndLog : Screen, "%s\n", result);
}

} // namespace

// Announces a result and returns 1, or returns 0 while play goes on. A repetition is told
// before a mate or stalemate found on the same move, and the fifty-move draw after one.
int check_game_end() {
    int over          = 0;
    const Position& p = *CurrentPosition;
    if (p.repetitions == 2) {
        announce_result("1/2-1/2 {Draw by repetition}", true);
        over = 1;
    }
    if (first_legal_move() != 0) {
        if (p.reversibleCount <= 99) return over;
        announce_result("1/2-1/2 {Draw by 50 move rule}", false);
        return 1;
    }
    if (!in_check())
        announce_result("1/2-1/2 {Stalemate}", true);
    else if (p.blackToMove == 1)
        announce_result("1-0 {White mates}", true);
    else
        announce_result("0-1 {Black mates}", true);
    if (p.reversibleCount > 99) announce_result("1/2-1/2 {Draw by 50 move rule}", false);
    return 1;
}

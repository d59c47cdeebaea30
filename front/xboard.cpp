// XBoard protocol driver: the commands a graphical interface sends, the clock it keeps for us,
// and the engine's answer when it is on move.
#include <algorithm>
#include <csignal>
#include <cstring>

#include "front/front.h"
#include "movegen/movegen.h"

char OpponentName[100];

namespace {

constexpr int DepthIgnored = 9999; // "sd 9999" stands for no limit: passed over without a word

// A prefix command's argument starts at a fixed place after its keyword and one blank. Returns
// it, or nullptr when the line stops before it or it is empty: such a line is answered as an
// unknown command, so nothing is ever read past the line's end or left over from an older line.
const char* argument_at(const char* line, std::size_t pos) {
    return std::strlen(line) > pos ? line + pos : nullptr;
}

Then features(const char*) {
    output(Screen, "feature ping=1 setboard=1 debug=1 playother=1 analyze=1 colors=0 usermove=1 "
                   "memory=0 time=1 myname=\"%s\" name=1 done=1\n",
           "quillfern 0.05");
    return NextLine;
}
Then new_game_as_black(const char*) {
    EngineColor = 1;
    GameOver    = 0;
    new_game();
    return EngineTurn;
}
Then undo(const char*) {
    take_back();
    return NextLine;
}
Then force(const char*) {
    output(Screen, "#DEBUG force\n");
    EngineColor = 'c';
    return NextLine;
}
// The analysis reads the input itself; an end of input stops it, and the next read here meets
// the same end and quits.
Then analysis(const char*) {
    EngineColor     = 'c';
    SearchStartTime = clock_ms();
    analyze(MaxDepth);
    return NextLine;
}
Then exit_command(const char*) {
    output(Screen, "DEBUG exit\n");
    EngineColor = 'c';
    return NextLine;
}
Then setboard(const char* line) {
    const char* fen = argument_at(line, 9);
    if (fen == nullptr) return Unknown;
    new_game();
    (void)read_fen(fen); // a refused FEN leaves what the reader wrote, unannounced
    return NextLine;
}
Then depth(const char* line) {
    std::int32_t n = 0;
    bool read      = false;
    if (set_depth_limit(line, n, read)) {
        output(Screen, "#DEBUG depth:%d\n", n);
    } else if (!read || n != DepthIgnored) {
        output(Screen, "Error (depth out of bound): Insert depth between 2 and %d\n", MaxPly);
        output(Screen, "tellusererror Error (depth out of bound): Insert depth between 2 and %d\n",
               MaxPly);
    }
    return NextLine;
}
Then move_time(const char* line) {
    std::int32_t n = 0;
    if (set_move_time(line, n)) {
        output(Screen, "#DEBUG movetime:%d\n", n);
    } else {
        output(Screen, "Error (movetime out of bound): Insert movetime > 0 \n");
        output(Screen, "tellusererror Error (movetime out of bound): Insert movetime > 0 \n");
    }
    return NextLine;
}

// "level MOVES BASE INC": BASE is whole minutes or minutes:seconds, INC whole seconds or
// seconds with a decimal fraction. Both clocks start from the base time; the number of moves
// per control is kept for the strong style's allocation (the classic one spreads the clock over
// SuddenDeath moves whatever the control).
// A line without all three numbers changes nothing and is answered as unknown.
Then level(const char* line) {
    const char* text = argument_at(line, 6);
    std::int32_t moves = 0, minutes = 0, seconds = 0, inc = 0, inc_centis = 0;
    bool has_seconds = false, has_fraction = false;
    if (!text || !read_int(text, moves) || !read_int(text, minutes)) return Unknown;
    if (*text == ':') {
        ++text;
        if (!read_int(text, seconds)) return Unknown;
        has_seconds = true;
    }
    if (!read_int(text, inc)) return Unknown;
    if (*text == '.') {
        // Two decimals are hundredths of a second; further digits are finer than the clock.
        has_fraction = true;
        for (int scale = 10; *++text >= '0' && *text <= '9'; scale /= 10)
            inc_centis += (*text - '0') * scale;
    }
    char echo[96];
    int length = std::snprintf(echo, sizeof echo, "#DEBUG level:%d %d", moves, minutes);
    if (has_seconds) length += std::snprintf(echo + length, sizeof echo - length, ":%02d", seconds);
    length += std::snprintf(echo + length, sizeof echo - length, " %d", inc);
    if (has_fraction) std::snprintf(echo + length, sizeof echo - length, ".%02d", inc_centis);
    output(Screen, "%s\n", echo);

    engineTime   = saturate_centis(std::int64_t(minutes) * 6000 + std::int64_t(seconds) * 100);
    increment    = saturate_centis(std::int64_t(inc) * 100 + (inc < 0 ? -inc_centis : inc_centis));
    opponentTime = engineTime;
    MovesPerControl = moves > 0 ? moves : 0;
    return EngineTurn;
}

// "time N" and "otim N": a clock in hundredths, as the interface sends it.
Then set_clock(const char* line, std::int32_t& clock, const char* label) {
    const char* text = argument_at(line, 5);
    std::int32_t n   = 0;
    if (!text || !read_int(text, n)) return Unknown;
    clock = n;
    output(Screen, "#DEBUG %s:%d\n", label, n);
    return EngineTurn;
}
Then time(const char* line) { return set_clock(line, engineTime, "time"); }
Then otim(const char* line) { return set_clock(line, opponentTime, "otim"); }

Then ping(const char* line) {
    output(Screen, "pong%s\n", line + 4); // "ping" alone is answered with "pong"
    return NextLine;
}
// The whole rest of the line, blanks included, up to 99 characters.
Then name(const char* line) {
    const char* arg = argument_at(line, 5);
    if (arg == nullptr) return Unknown;
    const std::size_t length = std::min(std::strlen(arg), sizeof OpponentName - 1);
    std::memcpy(OpponentName, arg, length);
    OpponentName[length] = '\0';
    output(Screen, "#DEBUG name: %s\n", OpponentName);
    output(LogOnly, "\n ************* New Game ************* \nOpponent Name: %s\n", OpponentName);
    return EngineTurn;
}
Then quit(const char*) { return Quit; }
Then usermove(const char* line) {
    const char* move = argument_at(line, 9);
    if (move == nullptr) return Unknown;
    if (enter_user_move(move) == 1) {
        output(LogOnly, "usermove %s\n", move);
        GameOver = check_game_end();
    } else {
        output(Screen, "Illegal move: %s\n", move);
    }
    return EngineTurn;
}

// In the order they are tried; the first that matches wins.
constexpr Command Commands[] = {
    {"protover 2", false, features}, {"new", false, new_game_as_black},
    {"post", false, post_command},   {"nopost", false, nopost_command},
    {"undo", false, undo},           {"go", false, go_command},
    {"force", false, force},         {".", false, stat_command},
    {"analyze", false, analysis},    {"exit", false, exit_command},
    {"setboard", true, setboard},    {"sd", true, depth},
    {"st", true, move_time},         {"level", true, level},
    {"time", true, time},            {"otim", true, otim},
    {"ping", true, ping},            {"name", true, name},
    {"quit", false, quit},           {"usermove", true, usermove},
};

void announce_book_move(const char* text) {
    output(Screen, "#DEBUG: %s from opening book\n", text);
    output(ScreenAndLog, "move %s\n", text);
}

} // namespace

// Runs until "quit" or the end of input; either sets QuitRequested and returns.
void xboard_loop() {
    char line[LineSize];
    // The interface reads our lines as they come, and it may interrupt us with SIGINT, which
    // this engine has no use for.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::signal(SIGINT, SIG_IGN);
    for (;;) {
        if (!read_line(line, LineSize)) break;
        const Then then = dispatch(Commands, std::size(Commands), line);
        if (then == Quit) break;
        if (then == Unknown) output(Screen, "Error (unknown command): %s\n", line);
        // The line has been read to the end: it now holds the engine's move text.
        if (then != NextLine) engine_turn(line, announce_book_move);
    }
    QuitRequested = 1;
}

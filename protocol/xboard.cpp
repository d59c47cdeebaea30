// XBoard protocol driver: the commands a graphical interface sends, the clock it keeps for us,
// and the engine's answer when it is on move.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "board/board.h"
#include "book/book.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"

char OpponentName[100];

namespace {

constexpr int DepthLimit   = 32;
constexpr int DepthIgnored = 9999; // "sd 9999" stands for no limit: passed over without a word

void announce_features() {
    std::printf("feature ");
    std::printf("ping=1 ");
    std::printf("setboard=1 ");
    std::printf("debug=1 ");
    std::printf("playother=1 ");
    std::printf("analyze=1 ");
    std::printf("colors=0 ");
    std::printf("usermove=1 ");
    std::printf("memory=0 ");
    std::printf("time=1 ");
    std::printf("myname=\"%s\" ", "quillfern 0.05");
    std::printf("name=1 ");
    std::printf("done=1\n");
}

// A prefix command's argument starts at a fixed place after its keyword and one blank. Returns
// it, or nullptr when the line stops before it or it is empty: such a line is answered as an
// unknown command, so nothing is ever read past the line's end or left over from an older line.
const char* argument_at(const char* line, std::size_t pos) {
    return std::strlen(line) > pos ? line + pos : nullptr;
}

// The engine moves when it has the side to move and no result stands: from the book when it
// knows the position, else from the search. The input line is free by now and holds the move.
void engine_turn(char* text) {
    if (GameOver != 0) return;
    if (EngineColor != CurrentPosition->blackToMove) return;
    SearchStartTime = clock_ms();
    // A book move that is not legal here (a damaged or foreign book) is never announced: the
    // engine searches instead.
    if (Book == 1 && choose_book_move(BookFile, text) == 0 && enter_user_move(text) == 1) {
        std::printf("#DEBUG: %s from opening book\n", text);
        std::printf("move %s\n", text);
        log_printf("move %s\n", text);
        std::fflush(stdout);
    } else {
        think(text);
    }
    GameOver = check_game_end();
}

void set_depth(const char* line) {
    const char* rest = line + 2;
    std::int32_t n   = 0;
    bool read        = read_int(rest, n);
    if (read && n >= 2 && n <= DepthLimit) {
        MaxDepth = n;
        std::printf("#DEBUG depth:%d\n", n);
    } else if (!read || n != DepthIgnored) {
        std::printf("Error (depth out of bound): Insert depth between 2 and %d\n", DepthLimit);
        std::printf("tellusererror Error (depth out of bound): Insert depth between 2 and %d\n",
                    DepthLimit);
    }
}

void set_move_time(const char* line) {
    const char* rest = line + 2;
    std::int32_t n   = 0;
    if (read_int(rest, n) && n >= 1) {
        moveTime = saturate_centis(std::int64_t(n) * 100);
        std::printf("#DEBUG movetime:%d\n", n);
    } else {
        std::printf("Error (movetime out of bound): Insert movetime > 0 \n");
        std::printf("tellusererror Error (movetime out of bound): Insert movetime > 0 \n");
    }
}

// "level MOVES BASE INC": BASE is whole minutes or minutes:seconds, INC whole seconds or
// seconds with a decimal fraction. Both clocks start from the base time; the number of moves
// per control is only echoed, since the allocation spreads the clock over SuddenDeath moves.
// Returns 0, changing nothing, when the three numbers are not all there.
int set_level(const char* text) {
    std::int32_t moves = 0, minutes = 0, seconds = 0, inc = 0, inc_centis = 0;
    bool has_seconds = false, has_fraction = false;
    if (!read_int(text, moves) || !read_int(text, minutes)) return 0;
    if (*text == ':') {
        ++text;
        if (!read_int(text, seconds)) return 0;
        has_seconds = true;
    }
    if (!read_int(text, inc)) return 0;
    if (*text == '.') {
        // Two decimals are hundredths of a second; further digits are finer than the clock.
        has_fraction = true;
        for (int scale = 10; *++text >= '0' && *text <= '9'; scale /= 10)
            inc_centis += (*text - '0') * scale;
    }

    std::printf("#DEBUG level:%d %d", moves, minutes);
    if (has_seconds) std::printf(":%02d", seconds);
    std::printf(" %d", inc);
    if (has_fraction) std::printf(".%02d", inc_centis);
    std::printf("\n");

    engineTime   = saturate_centis(std::int64_t(minutes) * 6000 + std::int64_t(seconds) * 100);
    increment    = saturate_centis(std::int64_t(inc) * 100 + (inc < 0 ? -inc_centis : inc_centis));
    opponentTime = engineTime;
    return 1;
}

// "time N" and "otim N": a clock in hundredths, as the interface sends it.
int set_clock(const char* text, std::int32_t& clock, const char* label) {
    std::int32_t n = 0;
    if (!read_int(text, n)) return 0;
    clock = n;
    std::printf("#DEBUG %s:%d\n", label, n);
    return 1;
}

// What a command line leaves to do after its own action.
enum Then { NextLine, EngineTurn, Unknown, Quit };

// Tries the commands in their fixed order; the first that matches acts.
Then dispatch(const char* line) {
    const char* arg = nullptr;
    if (std::strcmp(line, "protover 2") == 0) {
        announce_features();
        return NextLine;
    }
    if (std::strcmp(line, "new") == 0) {
        EngineColor   = 1;
        GameOver      = 0;
        SearchStopped = 0;
        new_game();
        return EngineTurn;
    }
    if (std::strcmp(line, "post") == 0) {
        PostThinking = 1;
        return NextLine;
    }
    if (std::strcmp(line, "nopost") == 0) {
        PostThinking = 0;
        return NextLine;
    }
    if (std::strcmp(line, "undo") == 0) {
        take_back();
        return NextLine;
    }
    if (std::strcmp(line, "go") == 0) {
        EngineColor = std::uint8_t(CurrentPosition->blackToMove);
        return EngineTurn;
    }
    if (std::strcmp(line, "force") == 0) {
        std::printf("#DEBUG force\n");
        EngineColor   = 'c';
        SearchStopped = 1;
        return NextLine;
    }
    if (std::strcmp(line, ".") == 0) {
        std::printf("#DEBUG stat\n");
        return NextLine;
    }
    if (std::strcmp(line, "analyze") == 0) {
        SearchStopped   = 0;
        EngineColor     = 'c';
        SearchStartTime = clock_ms();
        // The analysis reads the input itself; an end of input stops it, and the next read
        // here meets the same end and quits.
        analyze(MaxDepth);
        return NextLine;
    }
    if (std::strcmp(line, "exit") == 0) {
        std::printf("DEBUG exit\n");
        EngineColor   = 'c';
        SearchStopped = 1;
        return NextLine;
    }
    if (std::strncmp(line, "setboard", 8) == 0) {
        if ((arg = argument_at(line, 9)) == nullptr) return Unknown;
        new_game();
        (void)read_fen(arg); // a refused FEN leaves what the reader wrote, unannounced
        return NextLine;
    }
    if (std::strncmp(line, "sd", 2) == 0) {
        set_depth(line);
        return NextLine;
    }
    if (std::strncmp(line, "st", 2) == 0) {
        set_move_time(line);
        return NextLine;
    }
    if (std::strncmp(line, "level", 5) == 0) {
        arg = argument_at(line, 6);
        return arg != nullptr && set_level(arg) ? EngineTurn : Unknown;
    }
    if (std::strncmp(line, "time", 4) == 0) {
        arg = argument_at(line, 5);
        return arg != nullptr && set_clock(arg, engineTime, "time") ? EngineTurn : Unknown;
    }
    if (std::strncmp(line, "otim", 4) == 0) {
        arg = argument_at(line, 5);
        return arg != nullptr && set_clock(arg, opponentTime, "otim") ? EngineTurn : Unknown;
    }
    if (std::strncmp(line, "ping", 4) == 0) {
        std::printf("pong%s\n", line + 4); // "ping" alone is answered with "pong"
        return NextLine;
    }
    if (std::strncmp(line, "name", 4) == 0) {
        if ((arg = argument_at(line, 5)) == nullptr) return Unknown;
        // The whole rest of the line, blanks included, up to 99 characters.
        std::size_t length = std::min(std::strlen(arg), sizeof OpponentName - 1);
        std::memcpy(OpponentName, arg, length);
        OpponentName[length] = '\0';
        std::printf("#DEBUG name: %s\n", OpponentName);
        log_printf("\n ************* New Game ************* \n");
        log_printf("Opponent Name: %s\n", OpponentName);
        return EngineTurn;
    }
    if (std::strcmp(line, "quit") == 0) return Quit;
    if (std::strncmp(line, "usermove", 8) == 0) {
        if ((arg = argument_at(line, 9)) == nullptr) return Unknown;
        if (enter_user_move(arg) == 1) {
            log_printf("usermove %s\n", arg);
            GameOver = check_game_end();
        } else {
            std::printf("Illegal move: %s\n", arg);
        }
        std::fflush(stdout);
        return EngineTurn;
    }
    return Unknown;
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
        std::fflush(stdout);
        if (!read_line(line)) break;
        Then then = dispatch(line);
        if (then == Quit) break;
        if (then == Unknown) std::printf("Error (unknown command): %s\n", line);
        // The line has been read to the end: it now holds the engine's move text.
        if (then != NextLine) engine_turn(line);
    }
    QuitRequested = 1;
}

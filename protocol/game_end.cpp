// Game end and the game log: repetition, the fifty-move rule, mate and stalemate.
#include <cstdarg>
#include <cstdio>

#include "board/board.h"
#include "protocol/protocol.h"
#include "shell/shell.h"

// The log is kept open for the whole run and flushed after every write: a game that has ended
// is on disk at once, and later games of the same run go on appending to it.
void log_printf(const char* format, ...) {
    if (LogGame != 1 || !LogFileHandle) return;
    va_list args;
    va_start(args, format);
    std::vfprintf(LogFileHandle, format, args);
    va_end(args);
    std::fflush(LogFileHandle);
}

namespace {

void announce(const char* result, bool logged) {
    std::printf("%s\n", result);
    if (logged) log_printf("%s\n", result);
}

} // namespace

// Announces a result and returns 1, or returns 0 while play goes on. A repetition is told
// before a mate or stalemate found on the same move, and the fifty-move draw after one.
int check_game_end() {
    int over = 0;
    const Position& p = *CurrentPosition;
    if (p.repetitions == 2) {
        announce("1/2-1/2 {Draw by repetition}", true);
        std::fflush(stdout);
        over = 1;
    }

    if (first_legal_move() != 0) {
        if (p.reversibleCount > 99) {
            announce("1/2-1/2 {Draw by 50 move rule}", false);
            std::fflush(stdout);
            return 1;
        }
        return over;
    }

    if (!in_check())
        announce("1/2-1/2 {Stalemate}", true);
    else if (p.blackToMove == 1)
        announce("1-0 {White mates}", true);
    else
        announce("0-1 {Black mates}", true);
    std::fflush(stdout);
    if (p.reversibleCount > 99) {
        announce("1/2-1/2 {Draw by 50 move rule}", false);
        std::fflush(stdout);
    }
    return 1;
}

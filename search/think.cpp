// Iterative deepening: the time budget, the engine's move, analysis, and the thinking lines.
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "movegen/movegen.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"

namespace {

// Hundredths of a second since the search started.
std::int32_t elapsed_time() { return std::int32_t(clock_ms() - SearchStartTime) / 10; }

} // namespace

// Spreads the clock over the moves still expected: fewer when ahead on the clock, more when
// behind or short of time without a real increment; the increment is added when it is spare.
void allocate_time() {
    int moves = SuddenDeath;
    if (opponentTime < engineTime)
        moves -= 5;
    else if (engineTime < opponentTime)
        moves += 5;
    if (engineTime <= 6000 && increment <= 299) moves += 5;
    if (moves < 1) moves = 1;
    allocatedTime = engineTime / moves;
    if (increment > 0 && std::int64_t(engineTime) - allocatedTime - increment > 500)
        allocatedTime += increment;
    std::printf("#DEBUG move speed: %i  allocated time: %i\n", moves, allocatedTime);
}

// Deepens from two plies up to MaxDepth and plays the move of the last finished iteration.
// When no iteration finished (or the root is already drawn and the search gives no line), the
// stopped iteration's first move is played if it found one, else the first legal move; with no
// legal move at all nothing is played.
void think(char* text) {
    // The game leaves the search its reserve of records, which covers the deepest iteration.
    assert(stack_index() < StackSize - SearchReserve && MaxDepth <= MaxPly);
    allocate_time();
    clear_history();
    Move best = 0;
    for (int depth = 2; depth <= MaxDepth; ++depth) {
        SearchStopped = 0;
        clear_killers();
        IterationNodeCount = 0;
        int score = search(std::uint32_t(depth), -Infinity, Infinity, RootVariation, MateScore);
        if (RootVariation.length > 0 && (SearchStopped == 0 || best == 0)) best = RootVariation.moves[0];
        if (score > MateBound) {
            std::printf("Mate in% d \n", (MateScore + 1 - score) / 2);
            break;
        }
        if (score < -MateBound) {
            std::printf("Mated to% d \n", (score + MateScore) / 2);
            break;
        }
        if (SearchStopped == 1) break;
        if (PostThinking == 1) {
            print_thinking(depth, score);
            print_line();
        }
    }
    if (best == 0) best = first_legal_move();
    if (best == 0) {
        text[0] = '\0';
        std::fflush(stdout);
        return;
    }
    move_to_text(text, best, CurrentPosition);
    std::printf("move %s\n", text);
    log_printf("move %s\n", text);
    std::fflush(stdout);
    make_room_for_game_move();
    make_move(best);
}

void analyze(int max_depth) {
    assert(stack_index() < StackSize - SearchReserve && max_depth <= MaxPly);
    clear_history();
    for (int depth = 2; depth <= max_depth; ++depth) {
        clear_killers();
        IterationNodeCount = 0;
        int score = search(std::uint32_t(depth), -Infinity, Infinity, RootVariation, MateScore);
        // A mate is shown once, its line cut to the mate's distance in moves.
        int mate_moves = score > MateBound ? (MateScore + 1 - score) / 2
                         : score < -MateBound ? (score + MateScore) / 2 : 0;
        if (mate_moves != 0) {
            if (PostThinking != 1) return;
            if (mate_moves < RootVariation.length) RootVariation.length = mate_moves;
            print_thinking(depth, score);
            print_line();
            return;
        }
        if (PostThinking == 1) {
            print_thinking(depth, score);
            print_line();
        }
        poll_input();
        if (SearchStopped == 1) return;
    }
}

// Waits for one line between iterations of the analysis: "exit" stops it, as does the end of
// input; any other line is dropped.
void poll_input() {
    char line[LineSize];
    if (!read_line(line)) {
        SearchStopped = 1;
        return;
    }
    if (std::strcmp(line, "exit") == 0) {
        std::printf("#DEBUG exit da polling\n");
        EngineColor   = 'c';
        SearchStopped = 1;
    }
}

void print_thinking(int depth, int score) {
    std::fflush(stdout);
    std::printf("%2d %6d %6d %10ld ", depth, score, elapsed_time(), long(IterationNodeCount));
    log_printf("%2d %6d %6d %10ld ", depth, score, elapsed_time(), long(IterationNodeCount));
}

// The root variation as numbered moves; only its stored moves are shown.
void print_line() {
    std::fflush(stdout);
    char text[StoredPvMoves * 12 + 16];
    int length = 0, number = 1;
    int shown = RootVariation.length < StoredPvMoves ? RootVariation.length : StoredPvMoves;
    const int root_black = CurrentPosition->blackToMove;
    for (int i = 0; i < shown; ++i) {
        int black = root_black ^ (i & 1);
        if (i == 0)
            length += std::snprintf(text + length, sizeof text - length, black ? "1. .. " : "1. ");
        else if (!black)
            length += std::snprintf(text + length, sizeof text - length, "%i. ", ++number);
        char move[6];
        move_to_text_for(move, RootVariation.moves[i], black);
        if (move[4] == ' ') move[4] = '\0';
        length += std::snprintf(text + length, sizeof text - length, "%s ", move);
    }
    std::snprintf(text + length, sizeof text - length, "\n");
    std::printf("%s", text);
    log_printf("%s", text);
}

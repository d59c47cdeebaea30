// Search: alpha-beta and quiescence, move ordering, iterative deepening with time allocation
// and thinking output, static exchange evaluation.
#pragma once

#include <array>
#include <cstdint>

#include "board/board.h"

constexpr int MateScore    = 30000;
constexpr int MateBound    = 28999; // beyond +-MateBound a score announces a mate
constexpr int Infinity     = 99999;
constexpr int MaxPly       = 32;    // deepest iteration
constexpr int StoredPvMoves = 12;

// A line of play: its true length, and its first twelve moves.
struct PrincipalVariation {
    std::int32_t length;
    Move moves[StoredPvMoves];
};

extern PrincipalVariation RootVariation;
extern std::uint32_t SearchStartTime; // milliseconds, from clock_ms
extern std::int32_t SearchStopped;

// Milliseconds from the time of day, wrapping as unsigned 32 bits.
std::uint32_t clock_ms();

int search(std::uint32_t depth, int alpha, int beta, PrincipalVariation& line, int mate_score);
int quiesce(int alpha, int beta, int mate_score);

// Move ordering: two killers per remaining depth (slot 0 unused), a counter per from-to pair.
extern std::array<std::array<Move, 2>, MaxPly + 1> KillerMoves;
extern std::array<std::array<std::int32_t, 64>, 64> HistoryTable;
int killer_to_end(QuietList& list, std::uint32_t depth);
void history_to_end(QuietList& list);
void store_killer(std::uint32_t depth, Move m);
void clear_killers();
void clear_history();

// Iterative deepening and thinking output.
void allocate_time();
void think(char* text);
void analyze(int max_depth);
void poll_input();
void print_thinking(int depth, int score);
void print_line();

// Static exchange evaluation.
int see(Move m);
int see_square(Square sq);
MoveEntry see_find_recapture(Square sq);
void legal_good_captures(MoveList& list);
void see_test();

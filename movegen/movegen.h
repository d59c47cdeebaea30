// Move generation: the two pseudo-legal generators, perft and the perft benchmark.
#pragma once

#include <cstdint>

#include "board/board.h"

// Tactical moves (captures, en passant, promotions) with their ordering scores, and quiet moves.
// Both stop adding when their list is full, which only contrived FEN positions can reach.
void generate_captures(MoveList& list);
void generate_quiet_moves(QuietList& list);
// The tactical moves landing on sq, in the order and with the scores of generate_captures.
void generate_captures_onto(MoveList& list, Square sq);
// How many entries generate_captures would give if its list had unlimited room.
std::uint32_t count_tactical_moves();
// How many moves of the two lists pass the legality test, found without making them.
int count_legal_moves();
// Whether the side to move may castle now (1 king-side, 0 queen-side), as the quiet list has it.
bool castling_allowed(int king_side);

struct PerftRow {
    char fen[200];
    std::uint32_t depth;
    std::uint64_t expected;
};
constexpr int PerftRows = 6;
extern const PerftRow PerftSuite[PerftRows];

// Perft of any record, which it leaves as it is: the number of move sequences of the given
// length, counting a position without a move as one when stalemate and none when mated. It
// writes at most the two records above CurrentPosition (positions it must play out through the
// lists and make_move go there). perft() counts from CurrentPosition.
std::uint64_t perft_of(const Position& p, std::uint32_t depth);
std::uint64_t perft(std::uint32_t depth);
void run_benchmark();

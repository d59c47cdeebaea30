// Move generation: the two pseudo-legal generators, the combined and legal lists, user moves
// given as coordinate text, and perft.
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

// User moves and the combined and legal lists.
constexpr int MaxGameMoves = MoveListSize + QuietListSize; // both generators' lists at their fullest
// The move a text names (four coordinates and an optional promotion letter) when it is legal in
// the position on the board, else 0; the position is left as it was.
Move user_move(const char* text);
// Plays the move a text names when it is legal: 1, or 0 with the stack as it was.
[[nodiscard]] int enter_user_move(const char* text);
void generate_moves(Move* moves, int& count);
Move first_legal_move(); // in generate_moves order; 0 when there is none
void legal_captures(MoveList& list);

// Perft: the six positions of the benchmark and the count of move sequences.
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

// Static evaluation: material plus piece-square tables, each side scored on a board seen from
// its own side.
#include "eval/eval.h"

#include <array>
#include <bit>

#include "board/board.h"

namespace {

using Table = std::array<int, 64>;

// clang-format off
// Every table is indexed by Square as the scored side sees the board: the first row below is
// that side's own rank 1 (a1 to h1), the last its rank 8. The board is always turned to the
// side being scored, so one set of tables serves both colours. Only ranks are ever exchanged
// between the two views, never files: the a-file is the a-file for White and for Black alike.
constexpr Table pawn_table = {
     0,  0,  0,  0,  0,  0,  0,  0,
     0,  0,  0, -2, -2,  0,  0,  0,
     3,  3,  3,  4,  4,  1,  1,  1,
     6,  6,  6, 12, 12,  2,  2,  2,
    10, 10, 10, 50, 50,  6,  6,  6,
    25, 25, 25, 30, 30, 15, 15, 15,
    60, 60, 60, 60, 60, 60, 60, 60,
     0,  0,  0,  0,  0,  0,  0,  0,
};

constexpr Table knight_table = {
    -5, -5,  0,  0,  0,  0, -5, -5,
    -5,  0, 10, 10, 10, 10,  0, -5,
     0, 10, 15, 15, 15, 15, 10,  0,
     0, 10, 15, 20, 20, 15, 10,  0,
     0, 10, 15, 20, 20, 15, 10,  0,
     0, 10, 15, 15, 15, 15, 10,  0,
    -5,  0, 10, 10, 10, 10,  0, -5,
    -5, -5,  0,  0,  0,  0, -5, -5,
};

constexpr Table bishop_table = {
    -5, -5,  0,  0,  0,  0, -5, -5,
    -5,  0, 10, 10, 10, 10,  0, -5,
    -5, 10, 15, 15, 15, 15, 10, -5,
    -5, 10, 15, 20, 20, 15, 10, -5,
    -5, 10, 15, 20, 20, 15, 10, -5,
    -5, 10, 15, 15, 15, 15, 10, -5,
    -5,  0, 10, 10, 10, 10,  0, -5,
    -5, -5,  0,  0,  0,  0, -5, -5,
};

constexpr Table rook_table = {
     0, -5, -5,  0,  0,  0, -5,  0,
     0,  0,  0,  0,  0,  0,  0,  0,
     0,  0,  0,  0,  0,  0,  0,  0,
     0,  0,  0, 10, 10,  0,  0,  0,
     0,  0,  0, 10, 10,  0,  0,  0,
     0,  0,  0,  0,  0,  0,  0,  0,
    10, 10, 10, 10, 10, 10, 10, 10,
    10, 10, 10, 10, 10, 10, 10, 10,
};

constexpr Table queen_table = {
    -4, -4,  0,  4,  0,  0, -4, -4,
    -4,  0,  0,  0,  0,  0,  0, -4,
    -4,  0,  4,  4,  4,  4,  0, -4,
    -4,  0,  4,  8,  8,  4,  0, -4,
    -4,  0,  4,  8,  8,  4,  0, -4,
    -4,  0,  4,  4,  4,  4,  0, -4,
    -4,  0,  0,  0,  0,  0,  0, -4,
    -4, -4, -4, -4, -4, -4, -4, -4,
};

// The king has two tables: one for a full board, weighted by the number of occupied squares,
// and one for the ending, weighted by the number of empty places among the thirty-two.
constexpr Table king_middle_table = {
    -5, -5, 20, -10,  0, -10, 30, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
    -5, -5, -5,  -5, -5,  -5, -5, -5,
};

constexpr Table king_end_table = {
     0,  0, -5,  0,  0,  0, -5,  0,
     0,  5,  5,  5,  5,  5,  5,  0,
     0,  5, 10, 10, 10, 10,  5,  0,
     0,  5, 10, 15, 15, 10,  5,  0,
     0,  5, 10, 15, 15, 10,  5,  0,
     0,  5, 10, 10, 10, 10,  5,  0,
     0,  5,  5,  5,  5,  5,  5,  0,
     0,  0,  0,  0,  0,  0,  0,  0,
};

// clang-format on

static_assert(pawn_table[28] == 12 && pawn_table[12] == -2);  // e4 beats e2 by fourteen
static_assert(king_middle_table[6] == 30);                    // the castled king on g1

constexpr int MaterialValue[7] = {0, 100, 300, 300, 500, 950, 0};

// Material and squares of one kind of piece of the side to move.
int score_pieces(Bitboard set, int value, const Table& table) {
    int sum = 0;
    while (set) sum += value + table[pop_lsb(set)];
    return sum;
}

// The side to move's material and squares, its king blended between the two king tables by
// how many of the n occupied squares are filled. The blend is divided by 32 with an arithmetic
// shift, so it rounds towards minus infinity (-155 gives -5).
int score_side(const Position& p, int n) {
    const Bitboard own = p.ownPieces;
    int sum = score_pieces(pawns(p) & own, MaterialValue[Pawn], pawn_table) +
              score_pieces(knights(p) & own, MaterialValue[Knight], knight_table) +
              score_pieces(bishops(p) & own, MaterialValue[Bishop], bishop_table) +
              score_pieces(rooks(p) & own, MaterialValue[Rook], rook_table) +
              score_pieces(queens(p) & own, MaterialValue[Queen], queen_table);
    for (Bitboard king = kings(p) & own; king;) {
        Square sq = pop_lsb(king);
        sum += (n * king_middle_table[sq] + (32 - n) * king_end_table[sq]) >> 5;
    }
    return sum;
}

} // namespace

// (side to move) - (opponent), each side scored on a board seen from its own side: the
// opponent's view is a flipped copy, so the record on the stack is never written.
int evaluate() {
    const Position& p = *CurrentPosition;
    const int n       = std::popcount(occupied(p));
    return score_side(p, n) - score_side(flipped(p), n);
}

// The strong style's evaluation: middle-game and end-game scores blended by the game phase,
// from material and piece-square tables, mobility, pawn structure, king safety, the bishop pair
// and rooks on open files. Each side is scored on the board seen from its own side.
#include "eval/eval.h"

#include <array>
#include <bit>

#include "board/board.h"

namespace {

using Table = std::array<int, 64>;

// clang-format off
// Published tuned values (PeSTO, Ronald Friederich): material and piece-square tables for the
// middle game and the end game. Every table is indexed by Square as the scored side sees the
// board: the first row below is that side's rank 1 (a1 to h1), the last its rank 8. The board is
// always turned to the side being scored, so one set serves both colours.
constexpr int MiddleValue[7] = {0, 82, 337, 365, 477, 1025, 0};
constexpr int EndValue[7]    = {0, 94, 281, 297, 512,  936, 0};

constexpr Table PawnMiddle = {
      0,   0,   0,   0,   0,   0,   0,   0,
    -35,  -1, -20, -23, -15,  24,  38, -22,
    -26,  -4,  -4, -10,   3,   3,  33, -12,
    -27,  -2,  -5,  12,  17,   6,  10, -25,
    -14,  13,   6,  21,  23,  12,  17, -23,
     -6,   7,  26,  31,  65,  56,  25, -20,
     98, 134,  61,  95,  68, 126,  34, -11,
      0,   0,   0,   0,   0,   0,   0,   0,
};
constexpr Table PawnEnd = {
      0,   0,   0,   0,   0,   0,   0,   0,
     13,   8,   8,  10,  13,   0,   2,  -7,
      4,   7,  -6,   1,   0,  -5,  -1,  -8,
     13,   9,  -3,  -7,  -7,  -8,   3,  -1,
     32,  24,  13,   5,  -2,   4,  17,  17,
     94, 100,  85,  67,  56,  53,  82,  84,
    178, 173, 158, 134, 147, 132, 165, 187,
      0,   0,   0,   0,   0,   0,   0,   0,
};
constexpr Table KnightMiddle = {
   -105, -21, -58, -33, -17, -28, -19, -23,
    -29, -53, -12,  -3,  -1,  18, -14, -19,
    -23,  -9,  12,  10,  19,  17,  25, -16,
    -13,   4,  16,  13,  28,  19,  21,  -8,
     -9,  17,  19,  53,  37,  69,  18,  22,
    -47,  60,  37,  65,  84, 129,  73,  44,
    -73, -41,  72,  36,  23,  62,   7, -17,
   -167, -89, -34, -49,  61, -97, -15,-107,
};
constexpr Table KnightEnd = {
    -29, -51, -23, -15, -22, -18, -50, -64,
    -42, -20, -10,  -5,  -2, -20, -23, -44,
    -23,  -3,  -1,  15,  10,  -3, -20, -22,
    -18,  -6,  16,  25,  16,  17,   4, -18,
    -17,   3,  22,  22,  22,  11,   8, -18,
    -24, -20,  10,   9,  -1,  -9, -19, -41,
    -25,  -8, -25,  -2,  -9, -25, -24, -52,
    -58, -38, -13, -28, -31, -27, -63, -99,
};
constexpr Table BishopMiddle = {
    -33,  -3, -14, -21, -13, -12, -39, -21,
      4,  15,  16,   0,   7,  21,  33,   1,
      0,  15,  15,  15,  14,  27,  18,  10,
     -6,  13,  13,  26,  34,  12,  10,   4,
     -4,   5,  19,  50,  37,  37,   7,  -2,
    -16,  37,  43,  40,  35,  50,  37,  -2,
    -26,  16, -18, -13,  30,  59,  18, -47,
    -29,   4, -82, -37, -25, -42,   7,  -8,
};
constexpr Table BishopEnd = {
    -23,  -9, -23,  -5,  -9, -16,  -5, -17,
    -14, -18,  -7,  -1,   4,  -9, -15, -27,
    -12,  -3,   8,  10,  13,   3,  -7, -15,
     -6,   3,  13,  19,   7,  10,  -3,  -9,
     -3,   9,  12,   9,  14,  10,   3,   2,
      2,  -8,   0,  -1,  -2,   6,   0,   4,
     -8,  -4,   7, -12,  -3, -13,  -4, -14,
    -14, -21, -11,  -8,  -7,  -9, -17, -24,
};
constexpr Table RookMiddle = {
    -19, -13,   1,  17,  16,   7, -37, -26,
    -44, -16, -20,  -9,  -1,  11,  -6, -71,
    -45, -25, -16, -17,   3,   0,  -5, -33,
    -36, -26, -12,  -1,   9,  -7,   6, -23,
    -24, -11,   7,  26,  24,  35,  -8, -20,
     -5,  19,  26,  36,  17,  45,  61,  16,
     27,  32,  58,  62,  80,  67,  26,  44,
     32,  42,  32,  51,  63,   9,  31,  43,
};
constexpr Table RookEnd = {
     -9,   2,   3,  -1,  -5, -13,   4, -20,
     -6,  -6,   0,   2,  -9,  -9, -11,  -3,
     -4,   0,  -5,  -1,  -7, -12,  -8, -16,
      3,   5,   8,   4,  -5,  -6,  -8, -11,
      4,   3,  13,   1,   2,   1,  -1,   2,
      7,   7,   7,   5,   4,  -3,  -5,  -3,
     11,  13,  13,  11,  -3,   3,   8,   3,
     13,  10,  18,  15,  12,  12,   8,   5,
};
constexpr Table QueenMiddle = {
     -1, -18,  -9,  10, -15, -25, -31, -50,
    -35,  -8,  11,   2,   8,  15,  -3,   1,
    -14,   2, -11,  -2,  -5,   2,  14,   5,
     -9, -26,  -9, -10,  -2,  -4,   3,  -3,
    -27, -27, -16, -16,  -1,  17,  -2,   1,
    -13, -17,   7,   8,  29,  56,  47,  57,
    -24, -39,  -5,   1, -16,  57,  28,  54,
    -28,   0,  29,  12,  59,  44,  43,  45,
};
constexpr Table QueenEnd = {
    -33, -28, -22, -43,  -5, -32, -20, -41,
    -22, -23, -30, -16, -16, -23, -36, -32,
    -16, -27,  15,   6,   9,  17,  10,   5,
    -18,  28,  19,  47,  31,  34,  39,  23,
      3,  22,  24,  45,  57,  40,  57,  36,
    -20,   6,   9,  49,  47,  35,  19,   9,
    -17,  20,  32,  41,  58,  25,  30,   0,
     -9,  22,  22,  27,  27,  19,  10,  20,
};
constexpr Table KingMiddle = {
    -15,  36,  12, -54,   8, -28,  24,  14,
      1,   7,  -8, -64, -43, -16,   9,   8,
    -14, -14, -22, -46, -44, -30, -15, -27,
    -49,  -1, -27, -39, -46, -44, -33, -51,
    -17, -20, -12, -27, -30, -25, -14, -36,
     -9,  24,   2, -16, -20,   6,  22, -22,
     29,  -1, -20,  -7,  -8,  -4, -38, -29,
    -65,  23,  16, -15, -56, -34,   2,  13,
};
constexpr Table KingEnd = {
    -53, -34, -21, -11, -28, -14, -24, -43,
    -27, -11,   4,  13,  14,   4,  -5, -17,
    -19,  -3,  11,  21,  23,  16,   7,  -9,
    -18,  -4,  21,  24,  27,  23,   9, -11,
     -8,  22,  24,  27,  26,  33,  26,   3,
     10,  17,  23,  15,  20,  45,  44,  13,
    -12,  17,  14,  17,  17,  38,  23,  11,
    -74, -35, -18, -18, -11,  15,   4, -17,
};
// clang-format on

// Material plus square, per piece type and square as the scored side sees the board.
using PieceSquare = std::array<Table, 7>;
constexpr PieceSquare combine(const int* value, const Table* const* tables) {
    PieceSquare combined{};
    for (int type = Pawn; type <= King; ++type)
        for (Square sq = 0; sq < 64; ++sq)
            combined[type][sq] = value[type] + (*tables[type - 1])[sq];
    return combined;
}
constexpr const Table* MiddleTables[6] = {&PawnMiddle, &KnightMiddle, &BishopMiddle,
                                          &RookMiddle, &QueenMiddle,  &KingMiddle};
constexpr const Table* EndTables[6]    = {&PawnEnd, &KnightEnd, &BishopEnd,
                                          &RookEnd, &QueenEnd,  &KingEnd};
inline constexpr PieceSquare Middle    = combine(MiddleValue, MiddleTables);
inline constexpr PieceSquare End       = combine(EndValue, EndTables);
static_assert(Middle[Knight][6] == 337 - 19 && End[Pawn][52] == 94 + 147); // g1, e7

// The phase counts the pieces left: 4 a queen, 2 a rook, 1 a minor piece; 24 with all of them
// on the board is the middle game, 0 the end game.
constexpr int PhaseWeight[7] = {0, 0, 1, 1, 2, 4, 0};
constexpr int FullPhase      = 24;

// Mobility: per square a piece attacks that holds no own piece and no opponent pawn attacks,
// counted from a typical number of such squares (weights from the literature).
constexpr int MobilityMiddle[7] = {0, 0, 4, 5, 2, 1, 0};
constexpr int MobilityEnd[7]    = {0, 0, 4, 5, 4, 2, 0};
constexpr int MobilityCenter[7] = {0, 0, 4, 6, 7, 13, 0};

// King safety: each piece whose attacks reach the opponent king's zone adds its weight per
// zone square; from two such pieces on the sum weighs in quadratically, up to a cap (close to
// the attack-unit tables published for this scheme: 20 units about 70, 30 about 150).
constexpr int AttackWeight[7] = {0, 0, 2, 2, 3, 5, 0};
constexpr int king_attack(int units) { return units * units / 6 < 500 ? units * units / 6 : 500; }
static_assert(king_attack(20) == 66 && king_attack(30) == 150 && king_attack(60) == 500);
// The pawn shield of a king on its first two ranks, per file beside and on the king's: a pawn
// one rank ahead is whole, two ranks ahead is half, none costs; a file without any pawn more.
constexpr int ShieldAdvanced = -10, ShieldMissing = -25, OpenFileByKing = -15;

// Pawn structure.
constexpr int DoubledMiddle = -10, DoubledEnd = -20;
constexpr int IsolatedMiddle = -10, IsolatedEnd = -12;
constexpr int PassedMiddle[8] = {0, 0, 5, 10, 20, 35, 60, 0}; // by the pawn's rank, 0 = rank 1
constexpr int PassedEnd[8]    = {0, 5, 10, 20, 35, 60, 90, 0};
// In the end game a passed pawn from the fourth rank on gains by the distance of the opponent
// king to the square in front of it and loses by that of its own, the more the further it is.
constexpr int PasserTheirKing = 5, PasserOwnKing = 2;

constexpr int BishopPairMiddle = 30, BishopPairEnd = 50;
constexpr int RookOpenMiddle = 25, RookOpenEnd = 10, RookHalfOpenMiddle = 12, RookHalfOpenEnd = 6;
constexpr int Tempo = 10; // the side to move's initiative

constexpr Bitboard FileA = 0x0101010101010101ull;
constexpr Bitboard file_of(Square sq) { return FileA << (sq & 7); }
constexpr Bitboard neighbour_files(Square sq) {
    return ((file_of(sq) << 1) & NotAFile) | ((file_of(sq) >> 1) & NotHFile);
}
// The squares ahead of a pawn on its own file and the two beside it: a pawn with no opponent
// pawn there is passed.
inline constexpr std::array<Bitboard, 64> PassedSpan = [] {
    std::array<Bitboard, 64> table{};
    for (Square sq = 0; sq < 56; ++sq)
        table[sq] = (file_of(sq) | neighbour_files(sq)) & (~Bitboard(0) << (sq - sq % 8 + 8));
    return table;
}();
static_assert(PassedSpan[12] == 0x3838383838380000ull); // e2: d3 to f8

constexpr int distance(Square a, Square b) {
    const int ranks = a / 8 > b / 8 ? a / 8 - b / 8 : b / 8 - a / 8;
    const int files = a % 8 > b % 8 ? a % 8 - b % 8 : b % 8 - a % 8;
    return ranks > files ? ranks : files;
}

struct SideScore {
    int middle, end;
    int phase;         // the side's share of the game phase
    int pieceMaterial; // knights and bishops 3, rooks 5, queens 9
    int pawnCount;
    void add(int middle_bonus, int end_bonus) {
        middle += middle_bonus;
        end += end_bonus;
    }
};

// The board as the side being scored (the side to move of v) sees it.
struct SideView {
    const Position& v;
    Bitboard occ, own, opp, ownPawns, theirPawns;
    Square king, enemy; // -1 when the side has no king
};

SideView view_of(const Position& v) {
    const Bitboard occ = occupied(v), own = v.ownPieces, opp = occ ^ own;
    const Bitboard own_king = own & kings(v), their_king = opp & kings(v);
    return {v, occ, own, opp, own & pawns(v), opp & pawns(v), own_king ? lsb(own_king) : -1,
            their_king ? lsb(their_king) : -1};
}

// Step 1. Pieces: material and squares, mobility, attacks on the opponent king's zone (its
// square, its neighbours and the squares before those, from its side), rooks on open files.
void score_pieces(SideScore& s, const SideView& b) {
    const Bitboard mobility_area = ~b.own & ~opponent_pawn_attacks(b.theirPawns);
    const Bitboard zone =
        b.enemy < 0 ? 0 : KingAttacks[b.enemy] | bit(b.enemy) | (KingAttacks[b.enemy] >> 8);
    int attackers = 0, units = 0;
    for (int type = Pawn; type <= King; ++type) {
        for (Bitboard pieces = b.own & pieces_of_type(b.v, type); pieces;) {
            const Square sq = pop_lsb(pieces);
            s.add(Middle[type][sq], End[type][sq]);
            s.phase += PhaseWeight[type];
            if (type == Pawn || type == King) continue;
            const Bitboard attacks = type == Knight   ? KnightAttacks[sq]
                                     : type == Bishop ? bishop_lookup(sq, b.occ)
                                     : type == Rook   ? rook_lookup(sq, b.occ)
                                                      : queen_lookup(sq, b.occ);
            const int moves = std::popcount(attacks & mobility_area) - MobilityCenter[type];
            s.add(MobilityMiddle[type] * moves, MobilityEnd[type] * moves);
            if (attacks & zone) {
                ++attackers;
                units += AttackWeight[type] * std::popcount(attacks & zone);
            }
            if (type == Rook && !(file_of(sq) & b.ownPawns)) {
                const bool open = !(file_of(sq) & b.theirPawns);
                s.add(open ? RookOpenMiddle : RookHalfOpenMiddle,
                      open ? RookOpenEnd : RookHalfOpenEnd);
            }
        }
    }
    if (attackers >= 2) s.middle += king_attack(units);
    if (std::popcount(b.own & bishops(b.v)) >= 2) s.add(BishopPairMiddle, BishopPairEnd);
}

// Step 2. Pawns: doubled, isolated and passed.
void score_pawns(SideScore& s, const SideView& b) {
    for (Bitboard pieces = b.ownPawns; pieces;) {
        const Square sq = pop_lsb(pieces);
        const int rank  = sq / 8;
        if (b.ownPawns & file_of(sq) & (~Bitboard(0) << (sq + 1))) // another one ahead
            s.add(DoubledMiddle, DoubledEnd);
        if (!(b.ownPawns & neighbour_files(sq))) s.add(IsolatedMiddle, IsolatedEnd);
        if (b.theirPawns & PassedSpan[sq]) continue;
        s.add(PassedMiddle[rank], PassedEnd[rank]);
        if (rank >= 3 && b.king >= 0 && b.enemy >= 0)
            s.end += (PasserTheirKing * distance(b.enemy, sq + 8) -
                      PasserOwnKing * distance(b.king, sq + 8)) *
                     (rank - 2);
    }
}

// Step 3. The pawn shield of the own king on its first two ranks.
void score_shield(SideScore& s, const SideView& b) {
    if (b.king < 0 || b.king >= A3) return;
    for (int file = b.king % 8 - 1; file <= b.king % 8 + 1; ++file) {
        if (file < 0 || file > 7) continue;
        const Square ahead = b.king + 8 + (file - b.king % 8);
        if (b.ownPawns & bit(ahead)) continue;
        s.middle += (b.ownPawns & bit(ahead + 8)) ? ShieldAdvanced : ShieldMissing;
        if (!(pawns(b.v) & (FileA << file))) s.middle += OpenFileByKing;
    }
}

// The side to move of v, scored on v's board: everything above for its own pieces, and its
// attacks on the opponent's king.
SideScore score_side(const Position& v) {
    SideScore s{0, 0, 0, 0, 0};
    const SideView b = view_of(v);
    score_pieces(s, b);
    score_pawns(s, b);
    score_shield(s, b);
    s.pawnCount     = std::popcount(b.ownPawns);
    s.pieceMaterial = 3 * std::popcount(b.own & (knights(v) | bishops(v))) +
                      5 * std::popcount(b.own & rooks(v)) + 9 * std::popcount(b.own & queens(v));
    return s;
}

} // namespace

// A side with no pawns and no more than a minor piece cannot win: its advantage counts as none.
int strong_evaluate() {
    const Position& p  = *CurrentPosition;
    const SideScore us = score_side(p), them = score_side(flipped(p));
    int phase = us.phase + them.phase;
    if (phase > FullPhase) phase = FullPhase;
    const int middle = us.middle - them.middle, end = us.end - them.end;
    int score = (middle * phase + end * (FullPhase - phase)) / FullPhase + Tempo;
    if (score > 0 && us.pawnCount == 0 && us.pieceMaterial <= 3) score = 0;
    if (score < 0 && them.pawnCount == 0 && them.pieceMaterial <= 3) score = 0;
    return score;
}

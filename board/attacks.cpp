// Attacks and check: the slider tables and the two king tests.
#include "board/board.h"

namespace {

// The eight directions as (file, rank) steps: the rook's four, then the bishop's four. Each
// direction's opposite is the one with index XOR 2.
struct Step {
    int df, dr;
};
constexpr Step Steps[8] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}, {1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
constexpr int RookDirections = 0, BishopDirections = 4;
constexpr bool ascending(Step s) { return s.dr > 0 || (s.dr == 0 && s.df > 0); }

// Rays[d][sq]: the squares from sq (not included) to the board's edge in direction d.
constexpr std::array<std::array<Bitboard, 64>, 8> Rays = [] {
    std::array<std::array<Bitboard, 64>, 8> table{};
    for (int d = 0; d < 8; ++d)
        for (Square sq = 0; sq < 64; ++sq)
            for (int f = sq % 8 + Steps[d].df, r = sq / 8 + Steps[d].dr;
                 f >= 0 && f < 8 && r >= 0 && r < 8; f += Steps[d].df, r += Steps[d].dr)
                table[d][sq] |= bit(r * 8 + f);
    return table;
}();

// The plain rule: along each of four directions, every square up to and including the first
// occupied one, or to the board's edge; the ray beyond the nearest blocker is cut off. The
// origin itself never blocks.
constexpr Bitboard slider_reach(Square sq, Bitboard occupancy, int first_direction) {
    Bitboard result = 0;
    for (int d = first_direction; d < first_direction + 4; ++d) {
        Bitboard ray = Rays[d][sq], blockers = ray & occupancy;
        if (blockers) ray ^= Rays[d][ascending(Steps[d]) ? lsb(blockers) : msb(blockers)];
        result |= ray;
    }
    return result;
}

// The squares whose occupancy matters: every ray less its last square, since nothing lies
// beyond that square for a piece there to block.
constexpr Bitboard relevant_mask(Square sq, int first_direction) {
    Bitboard result = 0;
    for (int d = first_direction; d < first_direction + 4; ++d)
        if (Bitboard ray = Rays[d][sq])
            result |= ray & ~bit(ascending(Steps[d]) ? msb(ray) : lsb(ray));
    return result;
}

constexpr std::array<SliderSquare, 64> slider_squares(int first_direction, std::uint32_t first) {
    std::array<SliderSquare, 64> table{};
    for (Square sq = 0; sq < 64; ++sq) {
        table[sq] = {relevant_mask(sq, first_direction), first};
        first += std::uint32_t(1) << std::popcount(table[sq].mask);
    }
    return table;
}

} // namespace

// A rook sees at most twelve relevant squares (4096 occupancies), a bishop at most nine.
constexpr std::array<SliderSquare, 64> RookSquares   = slider_squares(RookDirections, 0);
constexpr std::array<SliderSquare, 64> BishopSquares = slider_squares(BishopDirections, 102400);
static_assert(std::popcount(RookSquares[0].mask) == 12 &&
              std::popcount(BishopSquares[27].mask) == 9);
static_assert(BishopSquares[63].offset + 64 == SliderTableSize);

// Each block lists the reach for every subset of the mask in ascending order, enumerated with
// the carry rippler (sub - mask) & mask; a subset's place in that order is what gather_bits
// returns for any occupancy with that subset, so a lookup equals slider_reach exactly.
constexpr std::array<Bitboard, SliderTableSize> SliderTable = [] {
    std::array<Bitboard, SliderTableSize> table{};
    for (Square sq = 0; sq < 64; ++sq)
        for (int first_direction : {RookDirections, BishopDirections}) {
            const SliderSquare& s =
                first_direction == RookDirections ? RookSquares[sq] : BishopSquares[sq];
            Bitboard sub        = 0;
            std::uint32_t index = s.offset;
            do {
                table[index++] = slider_reach(sq, sub, first_direction);
                sub            = (sub - s.mask) & s.mask;
            } while (sub);
        }
    return table;
}();

namespace {

// Pieces of either colour that would attack square k over the given occupancy, the pawns being
// those on pawn_squares.
inline Bitboard attackers(const Position& p, Square k, Bitboard occ, Bitboard pawn_squares) {
    return (KnightAttacks[k] & knights(p)) | (rook_lookup(k, occ) & straight_sliders(p)) |
           (bishop_lookup(k, occ) & diagonal_sliders(p)) | (pawn_squares & pawns(p)) |
           (KingAttacks[k] & kings(p));
}

// The squares from which an opponent pawn, capturing downwards, attacks k.
inline Bitboard opponent_pawn_squares(Square k) {
    return ((bit(k) << 7) & NotHFile) | ((bit(k) << 9) & NotAFile);
}

} // namespace

// A side without a king (possible only through a FEN) is never in check.
Bitboard in_check() {
    const Position& p = *CurrentPosition;
    Bitboard king = p.ownPieces & kings(p);
    if (!king) return 0;
    Square k = lsb(king);
    return attackers(p, k, occupied(p), opponent_pawn_squares(k)) & opponent_pieces(p);
}

Bitboard move_left_king_in_check() {
    const Position& p = *CurrentPosition;
    Bitboard king = opponent_pieces(p) & kings(p);
    if (!king) return 0;
    Square k = lsb(king);
    Bitboard pawn_squares = ((bit(k) >> 7) & NotAFile) | ((bit(k) >> 9) & NotHFile);
    return attackers(p, k, occupied(p), pawn_squares) & p.ownPieces;
}

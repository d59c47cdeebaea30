// Attacks and check: the slider and line tables, the two king tests, and legality without
// making the move.
#include "board/board.h"

#if defined(QUILLFERN_RUNTIME_PEXT) && !defined(__BMI2__)
const bool ProcessorHasPext = [] {
    __builtin_cpu_init(); // may run before the runtime's own detection
    return __builtin_cpu_supports("bmi2") && !__builtin_cpu_is("amdfam15h") &&
           !__builtin_cpu_is("amdfam17h");
}();
#endif

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

// Two squares share a line when one lies on a ray of the other: the line is that ray, its
// opposite and the origin; between them lie the ray's squares short of the other square.
constexpr std::array<std::array<Bitboard, 64>, 64> LineThrough = [] {
    std::array<std::array<Bitboard, 64>, 64> table{};
    for (Square a = 0; a < 64; ++a)
        for (int d = 0; d < 8; ++d)
            for (Bitboard on = Rays[d][a]; on;)
                table[a][pop_lsb(on)] = Rays[d][a] | Rays[d ^ 2][a] | bit(a);
    return table;
}();
constexpr std::array<std::array<Bitboard, 64>, 64> Between = [] {
    std::array<std::array<Bitboard, 64>, 64> table{};
    for (Square a = 0; a < 64; ++a)
        for (int d = 0; d < 8; ++d)
            for (Bitboard on = Rays[d][a]; on;) {
                Square b    = pop_lsb(on);
                table[a][b] = Rays[d][a] ^ Rays[d][b] ^ bit(b);
            }
    return table;
}();
// The long diagonal; b1 and c3 share no line; f1 lies between e1 and g1.
static_assert(LineThrough[0][63] == 0x8040201008040201ull &&
              Between[0][63] == 0x0040201008040200ull);
static_assert(LineThrough[1][18] == 0 && Between[4][6] == bit(5));

namespace {

// Pieces of either colour that would attack square k over the given occupancy, the pawns being
// those on pawn_squares.
inline Bitboard attackers(const Position& p, Square k, Bitboard occ, Bitboard pawn_squares) {
    return (KnightAttacks[k] & knights(p)) | (rook_lookup(k, occ) & straight_sliders(p)) |
           (bishop_lookup(k, occ) & diagonal_sliders(p)) | (pawn_squares & pawns(p)) |
           (KingAttacks[k] & kings(p));
}

} // namespace

// A side without a king (possible only through a FEN) is never in check.
Bitboard in_check() {
    const Position& p = *CurrentPosition;
    Bitboard king = p.ownPieces & kings(p);
    if (!king) return 0;
    Square k = lsb(king);
    return attackers(p, k, occupied(p), pawn_attacks(bit(k))) & opponent_pieces(p);
}

Bitboard move_left_king_in_check() {
    const Position& p = *CurrentPosition;
    Bitboard king = opponent_pieces(p) & kings(p);
    if (!king) return 0;
    Square k = lsb(king);
    return attackers(p, k, occupied(p), opponent_pawn_attacks(bit(k))) & p.ownPieces;
}

KingSafety king_safety() {
    const Position& p  = *CurrentPosition;
    const Bitboard occ = occupied(p), own = p.ownPieces, opp = occ ^ own;
    const Bitboard king = own & kings(p);
    if (!king || (king & (king - 1))) return {0, 0, 0, -1};
    const Square k = lsb(king);

    KingSafety ks{attackers(p, k, occ, pawn_attacks(bit(k))) & opp, 0, ~Bitboard(0), k};
    if (ks.checkers) {
        const Bitboard others = ks.checkers & (ks.checkers - 1);
        ks.evasions           = others ? 0 : ks.checkers | Between[k][lsb(ks.checkers)];
    }
    // An opponent slider that would reach the king over an empty board pins the one own
    // piece standing between them.
    Bitboard snipers =
        ((rook_lookup(k, 0) & straight_sliders(p)) | (bishop_lookup(k, 0) & diagonal_sliders(p))) &
        opp;
    while (snipers) {
        const Bitboard blockers = Between[k][pop_lsb(snipers)] & occ;
        if (blockers && !(blockers & (blockers - 1))) ks.pinned |= blockers & own;
    }
    return ks;
}

bool king_step_is_legal(const KingSafety& ks, Square sq) {
    const Position& p  = *CurrentPosition;
    const Bitboard occ = occupied(p) ^ bit(ks.king), opp = opponent_pieces(p) & ~bit(sq);
    return !(attackers(p, sq, occ, pawn_attacks(bit(sq))) & opp);
}

// The position after m, as far as the mover's king cares: the occupancy with the mover's piece
// moved (and for castling the rook, for en passant the pawn taken), the opponent's pieces less
// the one taken, and the mover's king. make_move's legality test looks at the lowest king of
// the board turned to the opponent, which is the one on the highest rank here.
bool move_is_legal(Move m) {
    const Position& p         = *CurrentPosition;
    const std::uint32_t flags = move_flags(m);
    const Bitboard F = bit(move_from(m)), T = bit(move_to(m));
    Bitboard occ = (occupied(p) ^ F) | T, opp = opponent_pieces(p) & ~T;
    Bitboard king = p.ownPieces & kings(p);
    if (moving_piece(m) == King) king ^= F | T;
    if (flags == EnPassant) {
        occ ^= T >> 8;
        opp ^= T >> 8;
    }
    if (flags == CastleKingSide || flags == CastleQueenSide)
        occ ^= rook_squares(castling_of(flags));
    if (!king) return true;
    const Square k = lsb(mirror(king)) ^ 56;
    return !(attackers(p, k, occ, pawn_attacks(bit(k))) & opp);
}

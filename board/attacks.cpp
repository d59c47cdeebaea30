// Attacks and check: sliding attacks by bit scans, and the two king tests.
#include "board/board.h"

namespace {

constexpr Bitboard FileA = 0x0101010101010101ull, FileH = 0x8080808080808080ull;

// The squares from sq (included) to the board's edge in the step (df, dr).
constexpr Bitboard ray(Square sq, int df, int dr) {
    Bitboard result = 0;
    for (int f = sq % 8, r = sq / 8; f >= 0 && f < 8 && r >= 0 && r < 8; f += df, r += dr)
        result |= bit(r * 8 + f);
    return result;
}

template <int DF, int DR> constexpr std::array<Bitboard, 64> RayTable = [] {
    std::array<Bitboard, 64> table{};
    for (Square sq = 0; sq < 64; ++sq) table[sq] = ray(sq, DF, DR);
    return table;
}();

// Each ray's far edge, which stops the scan when no piece does.
constexpr Bitboard NorthEdge = Rank8, SouthEdge = Rank1, EastEdge = FileH, WestEdge = FileA;

// The closed segment from square low to square high along one line, given the line's
// pattern as seen from its lowest square (up) and from its highest square (down).
constexpr Bitboard segment(Bitboard up, Bitboard down, Square low, Square high) {
    return (up << low) & (down >> (63 - high));
}

constexpr Bitboard FileUp = 0x0101010101010101ull, FileDown = 0x8080808080808080ull;
constexpr Bitboard RankUp = 0x00000000000000FFull, RankDown = 0xFF00000000000000ull;
constexpr Bitboard Diagonal = 0x8040201008040201ull, AntiDiagonal = 0x8102040810204081ull;

// Pieces of either colour that would attack square k, the pawns being those on pawn_squares.
Bitboard attackers(const Position& p, Square k, Bitboard pawn_squares) {
    Bitboard occ = occupied(p);
    return (KnightAttacks[k] & knights(p)) | (rook_attacks(k, occ) & straight_sliders(p)) |
           (bishop_attacks(k, occ) & diagonal_sliders(p)) | (pawn_squares & pawns(p)) |
           (KingAttacks[k] & kings(p));
}

} // namespace

// The occupancy must hold sq; toggling sq out of it means the origin never blocks itself, and
// an occupancy without sq gets it toggled in, so every scan stops at sq and the result is empty.
Bitboard rook_attacks(Square sq, Bitboard occupancy) {
    Bitboard occ  = occupancy ^ bit(sq);
    Square north  = lsb(RayTable<0, 1>[sq] & (occ | NorthEdge));
    Square south  = msb(RayTable<0, -1>[sq] & (occ | SouthEdge));
    Square east   = lsb(RayTable<1, 0>[sq] & (occ | EastEdge));
    Square west   = msb(RayTable<-1, 0>[sq] & (occ | WestEdge));
    return (segment(FileUp, FileDown, south, north) | segment(RankUp, RankDown, west, east)) &
           ~bit(sq);
}

Bitboard bishop_attacks(Square sq, Bitboard occupancy) {
    Bitboard occ = occupancy ^ bit(sq);
    Square ne = lsb(RayTable<1, 1>[sq] & (occ | NorthEdge | EastEdge));
    Square sw = msb(RayTable<-1, -1>[sq] & (occ | SouthEdge | WestEdge));
    Square nw = lsb(RayTable<-1, 1>[sq] & (occ | NorthEdge | WestEdge));
    Square se = msb(RayTable<1, -1>[sq] & (occ | SouthEdge | EastEdge));
    return (segment(Diagonal, Diagonal, sw, ne) | segment(AntiDiagonal, AntiDiagonal, se, nw)) &
           ~bit(sq);
}

// A side without a king (possible only through a FEN) is never in check.
Bitboard in_check() {
    const Position& p = *CurrentPosition;
    Bitboard king = p.ownPieces & kings(p);
    if (!king) return 0;
    Square k = lsb(king);
    Bitboard pawn_squares = ((bit(k) << 7) & NotHFile) | ((bit(k) << 9) & NotAFile);
    return attackers(p, k, pawn_squares) & opponent_pieces(p);
}

Bitboard move_left_king_in_check() {
    const Position& p = *CurrentPosition;
    Bitboard king = opponent_pieces(p) & kings(p);
    if (!king) return 0;
    Square k = lsb(king);
    Bitboard pawn_squares = ((bit(k) >> 7) & NotAFile) | ((bit(k) >> 9) & NotHFile);
    return attackers(p, k, pawn_squares) & p.ownPieces;
}

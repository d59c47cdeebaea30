// Move generation: the tactical list with its ordering scores, and the quiet list.
#include "movegen/movegen.h"

namespace {

// Appends while there is room: only contrived positions (many queens or promoting pawns set
// up by FEN) can fill a list, and then the moves beyond its room are not generated.
inline void add(MoveList& list, Move m, int score) {
    if (list.count < MoveListSize) list.entries[list.count++] = {m, score};
}
inline void add(QuietList& list, Move m) {
    if (list.count < QuietListSize) list.moves[list.count++] = m;
}

// A capture scores 16 times the victim's type plus 6 minus the capturer's type, so the most
// valuable victim comes first and, among captures of one victim, the cheapest capturer.
inline int capture_score(const Position& p, Square to, int mover) {
    return 16 * piece_type_at(p, to) + (6 - mover);
}

void add_captures(MoveList& list, const Position& p, int mover, Square from, Bitboard targets) {
    while (targets) {
        Square to = pop_lsb(targets);
        add(list, make_move_word(8 + mover, from, to), capture_score(p, to, mover));
    }
}

// Four entries per promotion square: queen, rook, bishop, knight.
void add_promotions(MoveList& list, std::uint32_t flags, int offset, Bitboard targets) {
    while (targets) {
        Square to = pop_lsb(targets);
        add(list, make_move_word(flags, to - offset, to, Queen), 85);
        add(list, make_move_word(flags, to - offset, to, Rook), -1);
        add(list, make_move_word(flags, to - offset, to, Bishop), -2);
        add(list, make_move_word(flags, to - offset, to, Knight), -3);
    }
}

void add_quiets(QuietList& list, std::uint32_t flags, Square from, Bitboard targets) {
    while (targets) add(list, make_move_word(flags, from, pop_lsb(targets)));
}

// Whether an opponent piece other than the king attacks sq.
bool attacked_without_king(const Position& p, Square sq) {
    const Bitboard occ = occupied(p);
    return opponent_pieces(p) &
           ((KnightAttacks[sq] & knights(p)) | (pawn_attacks(bit(sq)) & pawns(p)) |
            (rook_lookup(sq, occ) & straight_sliders(p)) |
            (bishop_lookup(sq, occ) & diagonal_sliders(p)));
}

// The generator's own test of the king's path leaves the opponent king out; castling adds the
// king's own squares in front of the landing square instead (g2, or b2 and c2), which leaves
// out a king on h2 next to g1: the legality test after the move catches that one.
constexpr Bitboard KingSideGuard = bit(G2), QueenSideGuard = bit(B2) | bit(C2);

bool can_castle(const Position& p, const Castling& c, Bitboard guard) {
    if (opponent_pieces(p) & kings(p) & guard) return false;
    return castling_possible(p, c, [&](Square sq) { return attacked_without_king(p, sq); });
}

// Where the pieces that can land on the target squares stand: anywhere for the whole list, the
// squares from which each kind attacks the one target square for a list onto one square.
struct Sources {
    Bitboard knights, diagonal, straight;
};
constexpr Sources Anywhere = {~Bitboard(0), ~Bitboard(0), ~Bitboard(0)};

// The tactical list, or the part of it that lands on the squares of onto, in the same order;
// pieces standing outside their sources have no moves there.
[[gnu::always_inline]] inline void tactical_moves(MoveList& list, const Position& p, Bitboard onto,
                                                  const Sources& from_sets) {
    list.count         = 0;
    const Bitboard occ = occupied(p), own = p.ownPieces, opp = occ ^ own;
    const Bitboard victims   = opp & onto;
    const Bitboard own_pawns = own & pawns(p);

    // 1. En passant, from the left first.
    if (const Bitboard target = en_passant_target(p, onto))
        for (Bitboard b = en_passant_capturers(p, target); b;)
            add(list, make_move_word(EnPassant, pop_lsb(b), lsb(target)), 21);

    // 2. Promotions: captures up-right, captures up-left, pushes.
    if (Bitboard seventh = own_pawns & Rank7) {
        add_promotions(list, PromotionCapture, 9, pawn_attacks_right(seventh) & victims);
        add_promotions(list, PromotionCapture, 7, pawn_attacks_left(seventh) & victims);
        add_promotions(list, Promotion, 8, (seventh << 8) & ~occ & onto);
    }

    // 3-4. Pawn captures that do not promote.
    for (Bitboard t = pawn_attacks_right(own_pawns) & ~Rank8 & victims; t;) {
        Square to = pop_lsb(t);
        add(list, make_move_word(PawnCapture, to - 9, to), capture_score(p, to, Pawn));
    }
    for (Bitboard t = pawn_attacks_left(own_pawns) & ~Rank8 & victims; t;) {
        Square to = pop_lsb(t);
        add(list, make_move_word(PawnCapture, to - 7, to), capture_score(p, to, Pawn));
    }

    // 5-9. Pieces, each kind by ascending square; the king last.
    for (Bitboard b = own & knights(p) & from_sets.knights; b;) {
        Square from = pop_lsb(b);
        add_captures(list, p, Knight, from, KnightAttacks[from] & victims);
    }
    for (Bitboard b = own & bishops(p) & from_sets.diagonal; b;) {
        Square from = pop_lsb(b);
        add_captures(list, p, Bishop, from, bishop_lookup(from, occ) & victims);
    }
    for (Bitboard b = own & rooks(p) & from_sets.straight; b;) {
        Square from = pop_lsb(b);
        add_captures(list, p, Rook, from, rook_lookup(from, occ) & victims);
    }
    for (Bitboard b = own & queens(p) & (from_sets.diagonal | from_sets.straight); b;) {
        Square from = pop_lsb(b);
        add_captures(list, p, Queen, from, queen_lookup(from, occ) & victims);
    }
    if (Bitboard king = own & kings(p)) {
        Square from = lsb(king);
        add_captures(list, p, King, from, KingAttacks[from] & victims);
    }
}

} // namespace

bool castling_allowed(int king_side) {
    return king_side ? can_castle(*CurrentPosition, KingSideCastling, KingSideGuard)
                     : can_castle(*CurrentPosition, QueenSideCastling, QueenSideGuard);
}

void generate_captures(MoveList& list) {
    tactical_moves(list, *CurrentPosition, ~Bitboard(0), Anywhere);
}

// Attacks are symmetric: a piece on a attacks b exactly when the same piece on b attacks a.
void generate_captures_onto(MoveList& list, Square sq) {
    const Position& p  = *CurrentPosition;
    const Bitboard occ = occupied(p);
    tactical_moves(list, p, bit(sq),
                   {KnightAttacks[sq], bishop_lookup(sq, occ), rook_lookup(sq, occ)});
}

void generate_quiet_moves(QuietList& list) {
    const Position& p = *CurrentPosition;
    list.count        = 0;
    const Bitboard occ = occupied(p), own = p.ownPieces, empty = ~occ;

    // 1-2. Castling, queen-side first.
    if (p.castling & OwnRights) {
        if (can_castle(p, QueenSideCastling, QueenSideGuard)) add(list, QueenSideCastle);
        if (can_castle(p, KingSideCastling, KingSideGuard)) add(list, KingSideCastle);
    }

    // 3-7. King, queens, rooks, bishops, knights to empty squares.
    if (Bitboard king = own & kings(p)) {
        Square from = lsb(king);
        add_quiets(list, KingMove, from, KingAttacks[from] & empty);
    }
    for (Bitboard b = own & queens(p); b;) {
        Square from = pop_lsb(b);
        add_quiets(list, QueenMove, from, queen_lookup(from, occ) & empty);
    }
    for (Bitboard b = own & rooks(p); b;) {
        Square from = pop_lsb(b);
        add_quiets(list, RookMove, from, rook_lookup(from, occ) & empty);
    }
    for (Bitboard b = own & bishops(p); b;) {
        Square from = pop_lsb(b);
        add_quiets(list, BishopMove, from, bishop_lookup(from, occ) & empty);
    }
    for (Bitboard b = own & knights(p); b;) {
        Square from = pop_lsb(b);
        add_quiets(list, KnightMove, from, KnightAttacks[from] & empty);
    }

    // 8. Pawn pushes that do not promote, each pawn's single push before its double push.
    for (Bitboard b = own & pawns(p) & ~Rank7 & ~Rank8; b;) {
        Square from = pop_lsb(b);
        if (!(empty & bit(from + 8))) continue;
        add(list, make_move_word(PawnPush, from, from + 8));
        if ((bit(from) & Rank2) && (empty & bit(from + 16)))
            add(list, make_move_word(PawnPush, from, from + 16));
    }
}

// The length generate_captures would give with unlimited room: the same target sets, counted
// instead of listed.
std::uint32_t count_tactical_moves() {
    const Position& p  = *CurrentPosition;
    const Bitboard occ = occupied(p), own = p.ownPieces, opp = occ ^ own;
    const Bitboard own_pawns = own & pawns(p);
    int n                    = std::popcount(en_passant_capturers(p, en_passant_target(p)));
    const Bitboard right = pawn_attacks_right(own_pawns) & opp;
    const Bitboard left  = pawn_attacks_left(own_pawns) & opp;
    const Bitboard push  = ((own_pawns & Rank7) << 8) & ~occ;
    n += std::popcount(right & ~Rank8) + std::popcount(left & ~Rank8) +
         4 * (std::popcount(right & Rank8) + std::popcount(left & Rank8) + std::popcount(push));
    for (Bitboard b = own & knights(p); b;) n += std::popcount(KnightAttacks[pop_lsb(b)] & opp);
    for (Bitboard b = own & diagonal_sliders(p); b;)
        n += std::popcount(bishop_lookup(pop_lsb(b), occ) & opp);
    for (Bitboard b = own & straight_sliders(p); b;)
        n += std::popcount(rook_lookup(pop_lsb(b), occ) & opp);
    if (Bitboard king = own & kings(p)) n += std::popcount(KingAttacks[lsb(king)] & opp);
    return std::uint32_t(n);
}

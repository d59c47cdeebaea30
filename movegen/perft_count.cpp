// Perft's counting. The legal moves of a position come from its king's situation (the checkers,
// the pinned pieces, the squares the opponent attacks), so no move is tried and rejected; the
// last ply counts whole target sets, and the plies above it make their moves on local records.
// Positions the generators' lists could overflow, or whose side to move has no king or two, are
// played out through the lists and make_move instead: their counts follow those lists exactly.
#include <cassert>

#include "movegen/movegen.h"

namespace {

constexpr Bitboard Rank3 = Rank2 << 8;

// Whether the two lists keep every move of the pieces in side (pawns about to promote: those in
// seventh), judged from the most moves each kind can have: queens 27 quiet moves or 8 captures
// (one a line), rooks 14 or 4, bishops 13 or 4, knights and the king 8, pawns 2 pushes, or 2
// captures, or 12 promotion entries from the seventh rank; two castlings, two en-passant
// captures. No move adds a piece to the side that is not moving, so what holds for the
// opponent here holds for it after every move.
bool lists_fit(const Position& p, Bitboard side, Bitboard seventh) {
    const int q = std::popcount(side & queens(p)), r = std::popcount(side & rooks(p));
    const int b = std::popcount(side & bishops(p)), n = std::popcount(side & knights(p));
    const int pawn = std::popcount(side & pawns(p)), promoting = std::popcount(seventh);
    const int captures = 8 * q + 4 * (r + b) + 8 * n + 8 + 2 * pawn + 10 * promoting + 2;
    const int quiets   = 27 * q + 14 * r + 13 * b + 8 * n + 8 + 2 * pawn + 2;
    return captures <= MoveListSize && quiets <= QuietListSize;
}
bool own_lists_fit(const Position& p) {
    return lists_fit(p, p.ownPieces, p.ownPieces & pawns(p) & Rank7);
}
bool opponent_lists_fit(const Position& p) {
    const Bitboard opp = opponent_pieces(p);
    return lists_fit(p, opp, opp & pawns(p) & Rank2);
}

// Pushes and captures of the pawns on P that land on target: one move each, or four promotions
// on the last rank. Each set goes to the sink with the distance its pawns moved.
template <class Sink>
[[gnu::always_inline]] inline void pawn_moves(Sink& sink, Bitboard P, Bitboard empty, Bitboard opp,
                                              Bitboard target) {
    const Bitboard single = (P << 8) & empty;
    const Bitboard push = single & target, twice = ((single & Rank3) << 8) & empty & target;
    const Bitboard right = pawn_attacks_right(P) & opp & target;
    const Bitboard left  = pawn_attacks_left(P) & opp & target;
    sink.pawns(push & ~Rank8, 8);
    sink.pawns(twice, 16);
    sink.pawns(right & ~Rank8, 9);
    sink.pawns(left & ~Rank8, 7);
    if ((push | right | left) & Rank8) {
        sink.promotions(push & Rank8, 8);
        sink.promotions(right & Rank8, 9);
        sink.promotions(left & Rank8, 7);
    }
}

// The opponent's pieces, by the way they attack.
struct Opponent {
    Bitboard pawns, knights, diagonal, straight, kings;
};

// What the side to move's king faces: where it may step, the squares the opponent attacks once
// the king has left its own (its square is taken out of the occupancy for the sliders) and those
// next to the opponent king, and the pieces giving check. The attacks matter only when the king
// has somewhere to go; a king boxed in by its own pieces looks for checkers directly.
struct KingView {
    Square k;
    Bitboard steps, attacked, nearKings, checkers;
};

[[gnu::always_inline]] inline KingView king_view(const Position& p, const Opponent& o,
                                                 Bitboard king) {
    const Bitboard occ = occupied(p);
    const Square k     = lsb(king);
    KingView v{k, KingAttacks[k] & ~p.ownPieces, 0, 0, 0};
    const bool mapped = v.steps != 0;
    if (mapped) {
        const Bitboard through = occ ^ king;
        v.attacked             = opponent_pawn_attacks(o.pawns);
        for (Bitboard b = o.knights; b;) v.attacked |= KnightAttacks[pop_lsb(b)];
        for (Bitboard b = o.diagonal; b;) v.attacked |= bishop_lookup(pop_lsb(b), through);
        for (Bitboard b = o.straight; b;) v.attacked |= rook_lookup(pop_lsb(b), through);
        for (Bitboard b = o.kings; b;) v.nearKings |= KingAttacks[pop_lsb(b)];
        v.steps &= ~(v.attacked | v.nearKings);
    }
    if (!mapped || ((v.attacked | v.nearKings) & king))
        v.checkers = (KnightAttacks[k] & o.knights) | (pawn_attacks(king) & o.pawns) |
                     (bishop_lookup(k, occ) & o.diagonal) | (rook_lookup(k, occ) & o.straight) |
                     (KingAttacks[k] & o.kings);
    return v;
}

// Castling as the generator lists it followed by the legality test after the move: the path
// free and unattacked (a slider reaching f1 or g1, d1 or c1, through the empty e1 attacks e1
// too), and no opponent king next to the landing square. A king boxed in cannot castle, so the
// attacks it did not map are never needed.
template <class Sink>
[[gnu::always_inline]] inline void castlings(const Position& p, Sink& sink, const KingView& v) {
    if (!(p.castling & OwnRights) || v.k != E1) return;
    const auto attacked = [&](Square sq) { return (v.attacked & bit(sq)) != 0; };
    if (castling_possible(p, KingSideCastling, attacked) && !(v.nearKings & bit(G1)))
        sink.castle(KingSideCastling);
    if (castling_possible(p, QueenSideCastling, attacked) && !(v.nearKings & bit(C1)))
        sink.castle(QueenSideCastling);
}

// En passant takes a second piece off the board and is tested as a whole: legal when no slider
// reaches the king over the changed occupancy (the pawn pair leaving its rank can bare it) and
// no checker is left but the taken pawn.
template <class Sink>
[[gnu::always_inline]] inline void en_passants(const Position& p, Sink& sink, const Opponent& o,
                                               const KingView& v) {
    const Bitboard T = en_passant_target(p), taken = T >> 8;
    if (!T || (v.checkers & ~(o.diagonal | o.straight) & ~taken)) return;
    for (Bitboard b = en_passant_capturers(p, T); b;) {
        const Square from    = pop_lsb(b);
        const Bitboard after = occupied(p) ^ bit(from) ^ T ^ taken;
        if (!(rook_lookup(v.k, after) & o.straight) && !(bishop_lookup(v.k, after) & o.diagonal))
            sink.en_passant(from, lsb(T));
    }
}

// An opponent slider that sees the king through the own pieces alone pins the one own piece
// standing between them (none between: it gives check).
[[gnu::always_inline]] inline Bitboard pinned_pieces(const Position& p, const Opponent& o,
                                                     Square k) {
    const Bitboard own = p.ownPieces, opp = occupied(p) ^ own;
    Bitboard pinned    = 0;
    for (Bitboard s = (rook_lookup(k, opp) & o.straight) | (bishop_lookup(k, opp) & o.diagonal);
         s;) {
        const Bitboard between = Between[k][pop_lsb(s)] & own;
        if (!(between & (between - 1))) pinned |= between;
    }
    return pinned;
}

// The moves of the own pieces that are not pinned, landing on target.
template <class Sink>
[[gnu::always_inline]] inline void free_moves(const Position& p, Sink& sink, Bitboard free,
                                              Bitboard target) {
    const Bitboard occ = occupied(p);
    for (Bitboard b = free & knights(p); b;) {
        const Square from = pop_lsb(b);
        sink.template piece<Knight>(from, KnightAttacks[from] & target);
    }
    for (Bitboard b = free & bishops(p); b;) {
        const Square from = pop_lsb(b);
        sink.template piece<Bishop>(from, bishop_lookup(from, occ) & target);
    }
    for (Bitboard b = free & rooks(p); b;) {
        const Square from = pop_lsb(b);
        sink.template piece<Rook>(from, rook_lookup(from, occ) & target);
    }
    for (Bitboard b = free & queens(p); b;) {
        const Square from = pop_lsb(b);
        sink.template piece<Queen>(from, queen_lookup(from, occ) & target);
    }
    pawn_moves(sink, free & pawns(p), ~occ, occ ^ p.ownPieces, target);
}

// A pinned knight can never stay on its line; pinned sliders and pawns keep to it.
template <class Sink>
[[gnu::always_inline]] inline void pinned_moves(const Position& p, Sink& sink, Bitboard pinned,
                                                Square k, Bitboard target) {
    const Bitboard occ = occupied(p);
    for (Bitboard b = pinned; b;) {
        const Square from   = pop_lsb(b);
        const Bitboard line = LineThrough[k][from] & target;
        switch (piece_type_at(p, from)) {
        case Pawn: pawn_moves(sink, bit(from), ~occ, occ ^ p.ownPieces, line); break;
        case Bishop: sink.template piece<Bishop>(from, bishop_lookup(from, occ) & line); break;
        case Rook: sink.template piece<Rook>(from, rook_lookup(from, occ) & line); break;
        case Queen:
            sink.template piece<Queen>(from, queen_lookup(from, occ) & line);
            break;
        default: break;
        }
    }
}

// Hands the legal moves of p to the sink, as sets: sink.king(from, targets),
// sink.piece<Type>(from, targets), sink.pawns(targets, distance), sink.promotions(targets,
// distance), sink.en_passant(from, to), sink.castle(castling). checkers receives the pieces
// giving check. Returns false, having handed over nothing, when the side to move does not have
// exactly one king. In check another piece lands only on the checker or between it and the
// king, and nowhere under a double check; a pinned piece keeps to its line.
template <class Sink>
[[gnu::always_inline]] inline bool legal_moves(const Position& p, Sink& sink, Bitboard& checkers) {
    const Bitboard own = p.ownPieces, opp = occupied(p) ^ own, king = own & kings(p);
    if (!king || (king & (king - 1))) return false;
    const Opponent o{opp & pawns(p), opp & knights(p), opp & diagonal_sliders(p),
                     opp & straight_sliders(p), opp & kings(p)};
    const KingView v = king_view(p, o, king);
    checkers         = v.checkers;
    sink.king(v.k, v.steps);
    castlings(p, sink, v);
    en_passants(p, sink, o, v);
    if (checkers & (checkers - 1)) return true;
    const Bitboard target = checkers ? ~own & (checkers | Between[v.k][lsb(checkers)]) : ~own;
    const Bitboard pinned = pinned_pieces(p, o, v.k);
    free_moves(p, sink, own & ~pinned, target);
    pinned_moves(p, sink, pinned, v.k, target);
    return true;
}

// The sink of the last ply: it only counts.
struct Counter {
    int n = 0;
    void king(Square, Bitboard targets) { n += std::popcount(targets); }
    template <int Type>
    void piece(Square, Bitboard targets) {
        n += std::popcount(targets);
    }
    void pawns(Bitboard targets, int) { n += std::popcount(targets); }
    void promotions(Bitboard targets, int) { n += 4 * std::popcount(targets); }
    void en_passant(Square, Square) { ++n; }
    void castle(const Castling&) { ++n; }
};

// The record after a move from F to T that leaves a piece of the given type on T, taking
// whatever stood there, with the castling rights and en-passant file it gives (in the mover's
// view), turned to the opponent. The fields perft reads are those make_move writes; the
// half-move count and the repetitions, which it does not read, start again from zero.
inline Position after_move(const Position& p, Bitboard F, Bitboard T, int type,
                           std::uint8_t castling, std::uint8_t epFile) {
    const Bitboard cleared = ~(F | T);
    Position c;
    c.ownPieces       = mirror(opponent_pieces(p) & ~T);
    c.typeBit0        = mirror((p.typeBit0 & cleared) | ((type & 1) ? T : 0));
    c.typeBit1        = mirror((p.typeBit1 & cleared) | ((type & 2) ? T : 0));
    c.typeBit2        = mirror((p.typeBit2 & cleared) | ((type & 4) ? T : 0));
    c.castling        = std::uint8_t((castling >> 4) | (castling << 4));
    c.epFile          = epFile;
    c.reversibleCount = 0;
    c.repetitions     = 0;
    c.blackToMove     = p.blackToMove ^ 1;
    return c;
}

// make_move's rules for the castling rights.
inline std::uint8_t rights_after(const Position& p, int mover, Square from, Square to) {
    return castling_after(p.castling, mover, from, to, (opponent_pieces(p) & bit(to)) != 0);
}

std::uint64_t count_paths(const Position& p, std::uint32_t depth, bool fits);
std::uint64_t count_last_ply(const Position& p, bool fits);

// The sink of the plies above the last: each move made on a local record and its subtree
// counted, by the counter itself when the record is on the last ply.
template <bool LastPly>
struct Walker {
    const Position& p;
    std::uint32_t depth; // of the records made
    bool fits;           // whether their lists keep every move
    std::uint64_t total = 0;

    void visit(const Position& c) {
        total += LastPly ? count_last_ply(c, fits) : count_paths(c, depth, fits);
    }
    void move(Square from, Square to, int type, std::uint8_t epFile = NoEpFile) {
        visit(after_move(p, bit(from), bit(to), type, rights_after(p, type, from, to), epFile));
    }
    void king(Square from, Bitboard targets) {
        while (targets) move(from, pop_lsb(targets), King);
    }
    template <int Type>
    void piece(Square from, Bitboard targets) {
        while (targets) move(from, pop_lsb(targets), Type);
    }
    void pawns(Bitboard targets, int distance) {
        while (targets) {
            const Square to = pop_lsb(targets);
            move(to - distance, to, Pawn, distance == 16 ? std::uint8_t(to & 7) : NoEpFile);
        }
    }
    void promotions(Bitboard targets, int distance) {
        while (targets) {
            const Square to = pop_lsb(targets), from = to - distance;
            const std::uint8_t rights = rights_after(p, Pawn, from, to);
            for (int type : {Queen, Rook, Bishop, Knight})
                visit(after_move(p, bit(from), bit(to), type, rights, NoEpFile));
        }
    }
    void en_passant(Square from, Square to) {
        Position c = after_move(p, bit(from), bit(to), Pawn, p.castling, NoEpFile);
        const Bitboard taken = mirror(bit(to - 8));
        c.ownPieces &= ~taken;
        c.typeBit0 &= ~taken;
        visit(c);
    }
    void castle(const Castling& castling) {
        Position c = after_move(p, bit(E1), bit(castling.kingTo), King, p.castling & ~OwnRights,
                                NoEpFile);
        c.typeBit2 ^= mirror(rook_squares(castling));
        visit(c);
    }
};

// The slow way: q placed on the record above the current one, its generated moves made one by
// one and tested, and the subtree of each legal one counted from a copy. Only the two records
// above the current one are written, however deep the count.
std::uint64_t play_out(const Position& q, std::uint32_t depth, bool& in_check_now) {
    Position* const base = CurrentPosition;
    Position* const slot = base + 1;
    assert(slot < PositionStack.data() + StackSize - 1);
    *slot           = q;
    CurrentPosition = slot;
    in_check_now    = in_check() != 0;
    MoveList captures;
    QuietList quiets;
    generate_captures(captures);
    generate_quiet_moves(quiets);
    const std::uint32_t count = captures.count + quiets.count;
    std::uint64_t total       = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        make_move(i < captures.count ? captures.entries[i].move : quiets.moves[i - captures.count]);
        const bool legal    = !move_left_king_in_check();
        const Position next = *CurrentPosition;
        take_back();
        if (!legal) continue;
        if (depth == 1) {
            ++total;
            continue;
        }
        CurrentPosition = base;
        total += count_paths(next, depth - 1, own_lists_fit(next));
        *slot           = q; // a deeper play-out may have used the slot
        CurrentPosition = slot;
    }
    CurrentPosition = base;
    return total;
}

// A position without a legal move counts one when stalemate and none when mated, at every depth
// from 1 on; so does one whose moves' counts add up to zero (each ends in mate).
inline std::uint64_t or_when_none(std::uint64_t total, bool in_check_now) {
    return total ? total : !in_check_now;
}

std::uint64_t played_out(const Position& q, std::uint32_t depth) {
    bool checked;
    const std::uint64_t total = play_out(q, depth, checked);
    return or_when_none(total, checked);
}

[[gnu::noinline]] std::uint64_t count_last_ply(const Position& p, bool fits) {
    Counter counter;
    Bitboard checkers;
    if (fits && legal_moves(p, counter, checkers))
        return or_when_none(std::uint64_t(counter.n), checkers);
    return played_out(p, 1);
}

template <bool LastPly>
[[gnu::noinline]] std::uint64_t count_above(const Position& p, std::uint32_t depth, bool fits) {
    Walker<LastPly> walker{p, depth - 1, opponent_lists_fit(p)};
    Bitboard checkers;
    if (fits && legal_moves(p, walker, checkers)) return or_when_none(walker.total, checkers);
    return played_out(p, depth);
}

// The number of move sequences of the given length (at least 1) from p; fits tells whether p's
// lists keep every move.
std::uint64_t count_paths(const Position& p, std::uint32_t depth, bool fits) {
    if (depth == 1) return count_last_ply(p, fits);
    if (depth == 2) return count_above<true>(p, depth, fits);
    return count_above<false>(p, depth, fits);
}

} // namespace

std::uint64_t perft_of(const Position& p, std::uint32_t depth) {
    return depth == 0 ? 1 : count_paths(p, depth, own_lists_fit(p));
}

int count_legal_moves() {
    const Position& p = *CurrentPosition;
    Counter counter;
    Bitboard checkers;
    if (own_lists_fit(p) && legal_moves(p, counter, checkers)) return counter.n;
    bool checked;
    return int(play_out(p, 1, checked));
}

// User moves given as coordinate text, and the combined and legal move lists.
#include "movegen/movegen.h"

namespace {

// One set of target squares and the flags a move into it carries.
struct Slot {
    Bitboard targets;
    std::uint32_t flags;
};

// Fills the slots of the piece on from; returns how many, 0 when from holds no own piece.
// Pawn moves onto the last rank always promote (to a queen when no letter was given); a
// letter on a pawn move that does not reach the last rank is refused by the caller.
int target_slots(const Position& p, Square from, Slot* slots) {
    const Bitboard occ = occupied(p), own = p.ownPieces, opp = occ ^ own, empty = ~occ;
    const Bitboard F = bit(from);
    if (!(own & F)) return 0;
    Bitboard targets = 0;
    switch (piece_type_at(p, from)) {
    case King:
        slots[0] = {KingAttacks[from] & empty, KingMove};
        slots[1] = {KingAttacks[from] & opp, KingCapture};
        slots[2] = {from == E1 && castling_allowed(1) ? bit(G1) : 0, CastleKingSide};
        slots[3] = {from == E1 && castling_allowed(0) ? bit(C1) : 0, CastleQueenSide};
        return 4;
    case Queen:
        targets = rook_attacks(from, occ) | bishop_attacks(from, occ);
        slots[0] = {targets & empty, QueenMove};
        slots[1] = {targets & opp, QueenCapture};
        return 2;
    case Rook:
        slots[0] = {rook_attacks(from, occ) & empty, RookMove};
        slots[1] = {rook_attacks(from, occ) & opp, RookCapture};
        return 2;
    case Bishop:
        slots[0] = {bishop_attacks(from, occ) & empty, BishopMove};
        slots[1] = {bishop_attacks(from, occ) & opp, BishopCapture};
        return 2;
    case Knight:
        slots[0] = {KnightAttacks[from] & empty, KnightMove};
        slots[1] = {KnightAttacks[from] & opp, KnightCapture};
        return 2;
    case Pawn: {
        Bitboard single = (F << 8) & empty;
        Bitboard pushes = single | (((single & (Rank2 << 8)) << 8) & empty);
        slots[0] = {pushes, PawnPush};
        slots[1] = {pawn_attacks(F) & opp, PawnCapture};
        slots[2] = {pawn_attacks(F) & en_passant_target(p), EnPassant};
        return 3;
    }
    default:
        return 0;
    }
}

int letter_to_piece(char c) {
    switch (c) {
    case '\0': return 0;
    case 'n': return Knight;
    case 'b': return Bishop;
    case 'r': return Rook;
    case 'q': return Queen;
    default: return -1;
    }
}

} // namespace

Move user_move(const char* text) {
    for (int i = 0; i < 4; ++i) {
        char lo = i % 2 ? '1' : 'a', hi = i % 2 ? '8' : 'h';
        if (text[i] < lo || text[i] > hi) return 0;
    }
    int promotion = letter_to_piece(text[4]);
    if (promotion < 0) return 0;

    const Position& p = *CurrentPosition;
    Square from = white_view((text[0] - 'a') + 8 * (text[1] - '1'), p.blackToMove);
    Square to   = white_view((text[2] - 'a') + 8 * (text[3] - '1'), p.blackToMove);

    Slot slots[4];
    int count = target_slots(p, from, slots);
    std::uint32_t flags = 0;
    for (int i = 0; i < count && !flags; ++i)
        if (slots[i].targets & bit(to)) flags = slots[i].flags;
    if (!flags) return 0;

    if (moving_piece(flags) == Pawn) {
        bool last_rank = to >= A8;
        if (last_rank) {
            flags     = flags == PawnCapture ? PromotionCapture : Promotion;
            promotion = promotion ? promotion : Queen;
        } else if (promotion) {
            return 0;
        }
    } else {
        promotion = 0; // a letter after a piece move changes nothing
    }

    const Move m = make_move_word(flags, from, to, promotion);
    make_move(m);
    const bool illegal = move_left_king_in_check();
    take_back();
    return illegal ? 0 : m;
}

// Only a move that is played may drop the oldest records of a long game; a refused text leaves
// the stack as it was, all the way down.
int enter_user_move(const char* text) {
    const Move m = user_move(text);
    if (m == 0) return 0;
    make_room_for_game_move();
    make_move(m);
    return 1;
}

// The tactical moves best first, then the quiet moves from the last generated to the first.
void generate_moves(Move* moves, int& count) {
    MoveList captures;
    QuietList quiets;
    generate_captures(captures);
    generate_quiet_moves(quiets);
    count = 0;
    while (captures.count > 0) {
        moves[count++] = pick_best_move(captures);
        --captures.count;
    }
    for (int i = int(quiets.count) - 1; i >= 0; --i) moves[count++] = quiets.moves[i];
}

Move first_legal_move() {
    Move moves[MaxGameMoves];
    int count;
    generate_moves(moves, count);
    for (int i = 0; i < count; ++i) {
        make_move(moves[i]);
        bool legal = !move_left_king_in_check();
        take_back();
        if (legal) return moves[i];
    }
    return 0;
}

// Appends the legal tactical moves, in the reverse of the generator's order. Every move tried
// counts as a node, as if it had been made and taken back.
void legal_captures(MoveList& list) {
    MoveList all;
    generate_captures(all);
    const KingSafety ks = king_safety();
    IterationNodeCount += all.count;
    for (int i = int(all.count) - 1; i >= 0; --i)
        if (move_is_legal(all.entries[i].move, ks)) list.entries[list.count++] = all.entries[i];
}

// Make move: copy the record one slot up, apply the move, and turn the board to the opponent.
#include <cassert>

#include "board/board.h"

namespace {

// Removes whatever stands on the squares of mask from the three type planes.
inline void clear_squares(Position& p, Bitboard mask) {
    p.typeBit0 &= ~mask;
    p.typeBit1 &= ~mask;
    p.typeBit2 &= ~mask;
}

// XORs a piece of the given type with the squares of mask in the type planes.
inline void toggle_piece(Position& p, int type, Bitboard mask) {
    if (type & 1) p.typeBit0 ^= mask;
    if (type & 2) p.typeBit1 ^= mask;
    if (type & 4) p.typeBit2 ^= mask;
}

} // namespace

void make_move(Move m) {
    assert(CurrentPosition < &PositionStack[StackSize - 1]);
    ++IterationNodeCount;
    Position& p = *(CurrentPosition + 1);
    p           = *CurrentPosition;
    ++CurrentPosition;

    const std::uint32_t flags = move_flags(m);
    const Square from = move_from(m), to = move_to(m);
    const Bitboard F = bit(from), T = bit(to);

    // Step 1. The pieces. The mover's type is in the low three bits of the flags.
    switch (flags) {
    case PawnPush: case KnightMove: case BishopMove: case RookMove: case QueenMove: case KingMove:
        toggle_piece(p, int(flags), F | T);
        break;
    case PawnCapture: case KnightCapture: case BishopCapture: case RookCapture:
    case QueenCapture: case KingCapture:
        clear_squares(p, T);
        toggle_piece(p, moving_piece(m), F | T);
        break;
    case PromotionCapture:
        clear_squares(p, T);
        [[fallthrough]];
    case Promotion:
        p.typeBit0 ^= F;
        toggle_piece(p, move_promotion(m), T);
        break;
    case CastleKingSide:
    case CastleQueenSide: {
        const Bitboard rook = rook_squares(castling_of(flags));
        toggle_piece(p, King, F | T);
        p.typeBit2 ^= rook;
        p.ownPieces ^= rook;
        break;
    }
    case EnPassant:
        p.typeBit0 ^= F | T | (T >> 8);
        break;
    default:
        assert(false && "unknown move flags");
    }
    p.ownPieces ^= F | T;

    // Step 2. En passant becomes possible only after a double push.
    p.epFile = NoEpFile;
    if (flags == PawnPush && (F & Rank2) && (T & Rank4)) p.epFile = std::uint8_t(to & 7);

    // Step 3. Castling rights. En passant never lands on a corner.
    p.castling = castling_after(p.castling, moving_piece(m), from, to, is_capture(m));

    // Step 4. Pawn moves and captures are irreversible. The count stops at 255 rather than
    // wrap to 0 in a very long game, where the fifty-move rule and the repetition scan would
    // lose the reversible stretch behind it.
    const bool irreversible = moving_piece(m) == Pawn || is_capture(m);
    const int counted       = p.reversibleCount + (p.reversibleCount < 255);
    p.reversibleCount       = irreversible ? 0 : std::uint8_t(counted);

    // Step 5. Turn the board to the opponent.
    turn_over(p);

    // Step 6. Repetitions can only be found back to the last irreversible move.
    if (irreversible)
        p.repetitions = 0;
    else
        count_repetitions();
}

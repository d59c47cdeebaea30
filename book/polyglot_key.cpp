// The Polyglot key of the position on the board: the exclusive-or of Random64 entries for every
// piece, castling right, usable en passant file and White to move, always from White's side.
#include "book/book.h"

#include "board/board.h"

namespace {

constexpr int CastlingEntry    = 768; // White O-O, White O-O-O, Black O-O, Black O-O-O
constexpr int EnPassantEntry   = 772; // files a to h
constexpr int WhiteToMoveEntry = 780;

// The book numbers pieces black pawn 0, white pawn 1, black knight 2, ... white king 11.
constexpr int piece_kind(int type, bool white) { return 2 * (type - 1) + (white ? 1 : 0); }

} // namespace

// The record is read in place, never flipped: while Black is to move its squares are mirrored
// (square XOR 56), its own pieces are Black's and the two nibbles of castling are swapped, so each
// is translated back to White's side as it is read and the record is left untouched.
std::uint64_t book_key() {
    const Position& pos = *CurrentPosition;
    const bool black    = pos.blackToMove != 0;
    std::uint64_t key   = 0;

    for (Bitboard bb = occupied(pos); bb;) {
        Square sq  = pop_lsb(bb);
        bool white = ((pos.ownPieces >> sq) & 1) != black;
        key ^= Random64[64 * piece_kind(piece_type_at(pos, sq), white) + white_view(sq, black)];
    }

    // White's rights sit in the own half of White's view, Black's in the other.
    const std::uint8_t rights = black ? swapped_rights(pos.castling) : pos.castling;
    if (rights & OwnKingSide) key ^= Random64[CastlingEntry + 0];
    if (rights & OwnQueenSide) key ^= Random64[CastlingEntry + 1];
    if (rights & TheirKingSide) key ^= Random64[CastlingEntry + 2];
    if (rights & TheirQueenSide) key ^= Random64[CastlingEntry + 3];

    // The en passant file counts only when the side to move has a pawn beside the pawn that has
    // just advanced two squares (on the fifth rank of the mover's view), whether or not the
    // capture would be legal.
    if (pos.epFile != NoEpFile) {
        const Square pushed     = A5 + pos.epFile;
        const Bitboard ownPawns = pawns(pos) & pos.ownPieces;
        Bitboard beside         = 0;
        if (pos.epFile > 0) beside |= bit(pushed - 1);
        if (pos.epFile < 7) beside |= bit(pushed + 1);
        if (ownPawns & beside) key ^= Random64[EnPassantEntry + pos.epFile];
    }

    if (!black) key ^= Random64[WhiteToMoveEntry];
    return key;
}

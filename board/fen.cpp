// FEN reader: sets up the current record from Forsyth-Edwards Notation.
#include <climits>
#include <string_view>

#include "board/board.h"

namespace {

constexpr int MaxFields = 6;

// Splits the text into at most six fields at runs of blanks (tabs are not separators).
int split_fields(const char* text, std::string_view* fields) {
    int count = 0;
    const char* p = text;
    while (count < MaxFields) {
        while (*p == ' ') ++p;
        if (!*p) break;
        const char* start = p;
        while (*p && *p != ' ') ++p;
        fields[count++] = std::string_view(start, std::size_t(p - start));
    }
    return count;
}

// Like the standard text-to-integer conversion (leading white space, a sign, then digits; none
// gives 0), but saturating instead of overflowing.
long to_number(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == '\t' || (text[i] >= '\n' && text[i] <= '\r'))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        if (value < 100000) value = value * 10 + (text[i] - '0');
    return negative ? -value : value;
}

constexpr int piece_of_letter(char c) {
    switch (c | 0x20) {
    case 'p': return Pawn;
    case 'n': return Knight;
    case 'b': return Bishop;
    case 'r': return Rook;
    case 'q': return Queen;
    case 'k': return King;
    default: return Empty;
    }
}

void put_piece(Position& p, Square sq, int type, bool white) {
    Bitboard b = bit(sq);
    p.typeBit0 = (p.typeBit0 & ~b) | ((type & 1) ? b : 0);
    p.typeBit1 = (p.typeBit1 & ~b) | ((type & 2) ? b : 0);
    p.typeBit2 = (p.typeBit2 & ~b) | ((type & 4) ? b : 0);
    if (white) p.ownPieces |= b;
}

// Reads the placement field, rank 8 first; 0 for a bad character, a short rank, a digit that
// runs past the h-file, or fewer than eight ranks. Extra ranks are ignored.
int read_placement(Position& p, std::string_view field) {
    std::size_t i = 0;
    for (int rank = 7; rank >= 0; --rank) {
        while (i < field.size() && field[i] == '/') ++i;
        int file = 0;
        while (file < 8) {
            if (i >= field.size() || field[i] == '/') return 0;
            char c = field[i++];
            if (c >= '1' && c <= '8') {
                if (file + (c - '0') > 8) return 0;
                for (int n = c - '0'; n > 0; --n, ++file) put_piece(p, rank * 8 + file, Empty, false);
            } else if (int type = piece_of_letter(c); type != Empty) {
                put_piece(p, rank * 8 + file, type, c < 'a');
                ++file;
            } else {
                return 0;
            }
        }
        while (i < field.size() && field[i] != '/') ++i; // the rest of a full rank is ignored
    }
    return 1;
}

} // namespace

// Rejections (result 0) leave the record as far as it was written: a bad side to move touches
// nothing; a bad placement leaves the board partly written; a bad castling field leaves the
// board in White's view; a bad clock leaves the castling rights written too; a bad en-passant
// field leaves everything but epFile written. Texts missing a field are rejected.
int read_fen(const char* text) {
    std::string_view fields[MaxFields];
    int count = split_fields(text, fields);
    if (count < 2 || (fields[1] != "w" && fields[1] != "b")) return 0;
    bool black = fields[1] == "b";

    Position& p = *CurrentPosition;
    p.ownPieces = p.typeBit0 = p.typeBit1 = p.typeBit2 = 0;
    if (!read_placement(p, fields[0])) return 0;

    if (count < 3) return 0;
    std::uint8_t castling = 0;
    if (fields[2] != "-")
        for (char c : fields[2]) {
            switch (c) {
            case 'K': castling |= OwnKingSide; break;
            case 'Q': castling |= OwnQueenSide; break;
            case 'k': castling |= TheirKingSide; break;
            case 'q': castling |= TheirQueenSide; break;
            default: return 0;
            }
        }
    p.castling = castling;

    if (count < 5) return 0;
    long clock = to_number(fields[4]);
    if (clock < 0 || clock > 100) return 0;
    p.reversibleCount = std::uint8_t(clock);
    p.repetitions     = 0;
    p.blackToMove     = 0;
    if (black) flip_position();

    std::string_view ep = fields[3];
    if (ep == "-") {
        p.epFile = NoEpFile;
        return 1;
    }
    if (ep.size() >= 2 && ep[0] >= 'a' && ep[0] <= 'h' && ep[1] == (black ? '3' : '6')) {
        p.epFile = std::uint8_t(ep[0] - 'a');
        return 1;
    }
    return 0;
}

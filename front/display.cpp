// Board display: the position as an ASCII diagram, always from White's side.
#include "front/front.h"

namespace {

// Two empty lines, eight ranks each under a border line, a closing border, the file letters.
// Each rank line is 36 characters with its newline, the border lines too.
char BoardTemplate[] =
    "\n\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "8 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "7 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "6 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "5 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "4 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "3 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "2 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "1 |   |   |   |   |   |   |   |   |\n"
    "  +---+---+---+---+---+---+---+---+\n"
    "\n"
    "    A   B   C   D   E   F   G   H\n"
    "\n";
static_assert(sizeof BoardTemplate == 650 + 1);

// The pieces' Italian initials: pedone, cavallo, alfiere, torre, donna, re; White in capitals.
constexpr char Letters[] = " pcatdr  PCATDR";

// Where square sq (White's view) has its letter: the middle of its cell.
constexpr int offset(Square sq) { return 42 + 4 * ((sq & 7) + 18 * (7 - sq / 8)); }
static_assert(offset(56) == 42 && offset(0) == 42 + 4 * 18 * 7);

} // namespace

// Drawn from a copy of the record, turned to White's view while Black is to move.
void show_board() {
    const Position p = CurrentPosition->blackToMove ? flipped(*CurrentPosition) : *CurrentPosition;
    for (Square sq = 0; sq < 64; ++sq)
        BoardTemplate[offset(sq)] =
            Letters[piece_type_at(p, sq) + ((p.ownPieces & bit(sq)) ? 8 : 0)];
    output(Screen, "%s", BoardTemplate);
}

// Static exchange evaluation: the value of a capture sequence on one square, found by playing
// the exchange out on the position stack with the cheapest legal recapture at every step.
#include "search/search.h"

#include <cassert>

#include "movegen/movegen.h"

namespace {

// Value of the piece standing on a square, of either colour.
int value_on(Square sq) { return ExchangeValue[piece_type_at(*CurrentPosition, sq)]; }

// Makes m, a legal capture whose captured piece is worth gain, and returns gain minus what the
// opponent wins by recapturing on m's square.
// Each step takes one record above CurrentPosition; the search keeps SearchReserve records free
// above the game for the deepest line and its exchange, so the last record is never current here.
int exchange_after(Move m, int gain) {
    assert(CurrentPosition < &PositionStack[StackSize - 1]);
    make_move(m);
    const int result = gain - see_square(move_to(m));
    take_back();
    return result;
}

} // namespace

// The value of a move for the side that makes it, counting every forced recapture after it.
// A move to an empty square (a push promotion, en passant) gains nothing in its first step; an
// illegal move is worth 0 and, tried and taken back, counts as a node.
int see(Move m) {
    if (!move_is_legal(m)) {
        ++IterationNodeCount;
        return 0;
    }
    return exchange_after(m, value_on(move_to(m)));
}

// The value of the exchange the side to move starts by recapturing on sq, which is numbered as
// the side that just moved sees it; 0 when it has no legal recapture. Recaptures are forced:
// the result is never raised to 0 when taking back loses material.
int see_square(Square sq) {
    // At the top of the stack (a position set up with dozens of pieces, deep in quiescence)
    // the exchange is cut off as if no recapture were left.
    if (CurrentPosition >= &PositionStack[StackSize - 1]) return 0;
    const MoveEntry recapture = see_find_recapture(sq);
    if (recapture.score == 0) return 0;
    return exchange_after(recapture.move, value_on(move_to(recapture.move)));
}

// The legal capture onto sq (numbered as the side that just moved sees it) with the highest
// ordering score, the first in generator order on a tie; Move 0 and score 0 when there is none.
// Among captures of one piece the cheapest capturer scores highest, so it takes back first.
//
// The answer is that of trying every tactical move of the position (legal_captures) and keeping
// those onto sq, and every one of those trials counts as a node. Here only the moves onto sq
// are generated, and only those that could become the best are tested; the trials are counted
// all the same. A position with more tactical moves than a list holds is left to the full
// method, whose list drops the moves beyond its room.
MoveEntry see_find_recapture(Square sq) {
    const std::uint32_t trials = count_tactical_moves();
    MoveList onto;
    onto.count = 0;
    if (trials <= MoveListSize) {
        IterationNodeCount += trials;
        generate_captures_onto(onto, sq ^ 56);
    } else {
        // legal_captures lists in reverse order; walking it backwards restores generator order.
        MoveList legal;
        legal.count = 0;
        legal_captures(legal);
        for (std::uint32_t i = legal.count; i-- > 0;)
            if ((move_to(legal.entries[i].move) ^ 56) == sq)
                onto.entries[onto.count++] = legal.entries[i];
    }

    const MoveEntry* best = nullptr;
    for (std::uint32_t i = 0; i < onto.count; ++i)
        if ((!best || onto.entries[i].score > best->score) && move_is_legal(onto.entries[i].move))
            best = &onto.entries[i];
    return best ? *best : MoveEntry{0, 0};
}

// The legal tactical moves whose exchange value is 0 or more, in generator order, each scored
// with that value. The caller's list must be empty and stays so when nothing qualifies.
void legal_good_captures(MoveList& list) {
    assert(list.count == 0);
    MoveList legal;
    legal.count = 0;
    legal_captures(legal);

    std::uint32_t kept = 0;
    for (std::uint32_t i = legal.count; i-- > 0;) {
        const Move m    = legal.entries[i].move;
        const int value = exchange_after(m, value_on(move_to(m)));
        if (value >= 0) list.entries[kept++] = MoveEntry{m, value};
    }
    if (kept > 0) list.count = kept;
}

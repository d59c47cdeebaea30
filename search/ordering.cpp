// Move ordering for quiet moves: killer moves per remaining depth and the history table.
// The search takes quiet moves from the end of its list, so both bring a move to the end.
#include "search/search.h"

#include <cassert>
#include <utility>

std::array<std::array<Move, 2>, MaxPly + 1> KillerMoves;
std::array<std::array<std::int32_t, 64>, 64> HistoryTable;

namespace {

std::int32_t history_of(Move m) { return HistoryTable[move_from(m)][move_to(m)]; }

} // namespace

// Moves the first entry that equals either killer of this depth to the last place and returns
// 1, or returns 0 when neither is in the list. An empty slot holds 0, which is never a move.
int killer_to_end(QuietList& list, std::uint32_t depth) {
    assert(depth <= std::uint32_t(MaxPly));
    if (list.count < 1) return 0;
    const Move k1 = KillerMoves[depth][0], k2 = KillerMoves[depth][1];
    for (std::uint32_t i = 0; i < list.count; ++i)
        if (list.moves[i] == k1 || list.moves[i] == k2) {
            std::swap(list.moves[i], list.moves[list.count - 1]);
            return 1;
        }
    return 0;
}

// One pass with a rising threshold: an entry whose counter beats the threshold goes to the end,
// and the threshold becomes the counter of the entry that came back in its place. This is
// cheaper than a search for the largest counter and usually finds it; counters of 0 and 1
// never move anything, so without history the list is tried from its end.
void history_to_end(QuietList& list) {
    std::int32_t threshold = 1;
    for (std::uint32_t i = 0; i < list.count; ++i)
        if (history_of(list.moves[i]) > threshold) {
            std::swap(list.moves[i], list.moves[list.count - 1]);
            threshold = history_of(list.moves[i]);
        }
}

// The killers are kept per remaining depth, as the classic search has always kept them (the
// strong style keeps them per ply from the root).
void store_killer(std::uint32_t depth, Move m) {
    assert(depth <= std::uint32_t(MaxPly));
    insert_killer(KillerMoves[depth], m);
}

void clear_killers() {
    for (auto& pair : KillerMoves) pair = {0, 0};
}

void clear_history() {
    for (auto& row : HistoryTable) row.fill(0);
}

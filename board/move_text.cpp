// Move text and move lists: coordinate notation and best-first selection.
#include <cstring>

#include "board/board.h"

// Writes four coordinates and a blank, or the promotion letter, in real board coordinates:
// while Black is to move the ranks are mirrored back.
void move_to_text_for(char* text, Move m, int blackToMove) {
    Square from = move_from(m), to = move_to(m);
    text[0] = char('a' + (from & 7));
    text[1] = char('1' + (blackToMove ? 7 - (from >> 3) : from >> 3));
    text[2] = char('a' + (to & 7));
    text[3] = char('1' + (blackToMove ? 7 - (to >> 3) : to >> 3));
    text[4] = " ?nbrq??"[move_promotion(m) & 7];
    text[5] = '\0';
}

void move_to_text(char* text, Move m, const Position* pos) {
    move_to_text_for(text, m, pos->blackToMove);
}

void clear_move_list(MoveList& list) { std::memset(&list, 0, sizeof list); }

// Takes out the entry with the highest score (the first of equals) by moving the last entry
// into its place; the caller decreases the count.
Move pick_best_move(MoveList& list) {
    std::uint32_t best = 0;
    for (std::uint32_t i = 1; i < list.count; ++i)
        if (list.entries[i].score > list.entries[best].score) best = i;
    Move m             = list.entries[best].move;
    list.entries[best] = list.entries[list.count - 1];
    return m;
}

// The position stack: the start position, the change of view, take-back and repetitions.
#include <cstring>

#include "board/board.h"

thread_local constinit std::array<Position, StackSize> PositionStack{};
thread_local constinit Position* CurrentPosition       = nullptr;
thread_local constinit std::uint32_t IterationNodeCount = 0;

void new_game() {
    constexpr std::uint8_t AllRights = OwnRights | swapped_rights(OwnRights);
    CurrentPosition  = &PositionStack[0];
    *CurrentPosition = Position{0x000000000000FFFFull, 0x2CFF00000000FF2Cull, 0x7600000000000076ull,
                                0x9900000000000099ull, AllRights, NoEpFile, 0, 0, 0};
}

void flip_position() { turn_over(*CurrentPosition); }

int stack_index() { return int(CurrentPosition - &PositionStack[0]); }

// The records 2, 4, 6, ... below have the same side to move; the search stops at the last
// irreversible move (reversibleCount records down) and never goes below record 0.
void count_repetitions() {
    Position& p   = *CurrentPosition;
    p.repetitions = 0;
    int index  = stack_index();
    int oldest = index - p.reversibleCount;
    if (oldest < 0) oldest = 0;
    for (int i = index - 2; i >= oldest; i -= 2) {
        const Position& q = PositionStack[i];
        if (q.ownPieces == p.ownPieces && q.typeBit0 == p.typeBit0 && q.typeBit1 == p.typeBit1 &&
            q.typeBit2 == p.typeBit2) {
            p.repetitions = std::uint8_t(q.repetitions + 1);
            return;
        }
    }
}

// A game longer than the stack minus the search's reserve keeps only its most recent
// records: 256 are more than the repetition scan can look back (its count is 8 bits), so no
// draw is missed; "undo" then reaches back to the oldest record kept.
void make_room_for_game_move() {
    constexpr int Keep = 300;
    int index = stack_index();
    if (index < StackSize - SearchReserve - 1) return;
    std::memmove(&PositionStack[0], &PositionStack[index - Keep + 1], Keep * sizeof(Position));
    CurrentPosition = &PositionStack[Keep - 1];
}

// Fuzz target: the user-move entry on positions reached by legal play. The input's first bytes
// pick a starting position and steer a random legal game from it (long ones included, so the
// stack's trimming is crossed); the rest is lines of move text that the entry must judge
// exactly as the move generators do: a text it accepts gives the record of one legal move, a
// text it refuses leaves the stack as it was, and the text of every legal move is accepted.
#include <cstring>

#include "fuzz/fuzz_common.h"

namespace {

constexpr const char* Starts[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "rnbqkb1r/pp1p1ppp/2p5/4P3/2B5/8/PPP1NnPP/RNBQK2R w KQkq - 0 6",
    "8/P1k5/K7/8/8/8/6p1/8 b - - 0 1",
    "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3",
    "4k3/8/8/8/8/8/8/4K2R w K - 99 80",
};

// The legal moves of the position on the board.
int legal_moves(Move* moves) {
    Move all[MaxGameMoves];
    int count = 0, legal = 0;
    generate_moves(all, count);
    for (int i = 0; i < count; ++i) {
        make_move(all[i]);
        if (!move_left_king_in_check()) moves[legal++] = all[i];
        take_back();
    }
    return legal;
}

// The record that a move leaves, made and taken back on the stack.
Position after(Move m) {
    make_move(m);
    Position result = *CurrentPosition;
    take_back();
    return result;
}

bool same(const Position& a, const Position& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Every legal move, typed as the engine prints it, must be accepted and give its own record.
void check_every_legal_move_is_accepted(const Move* moves, int count) {
    const Position before = *CurrentPosition;
    for (int i = 0; i < count; ++i) {
        char text[8];
        move_to_text(text, moves[i], CurrentPosition);
        if (text[4] == ' ') text[4] = '\0';
        const Position expected = after(moves[i]);
        FUZZ_CHECK(enter_user_move(text) == 1);
        FUZZ_CHECK(same(*CurrentPosition, expected));
        take_back();
        FUZZ_CHECK(same(*CurrentPosition, before));
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz_start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) return -1;
    reset_engine();
    if (data[0] % 8 != 0) FUZZ_CHECK(read_fen(Starts[data[0] % 8]) == 1);
    // Up to 1023 plies: enough to pass the point where the oldest records are dropped.
    int plies = ((data[1] << 8) | data[2]) % 1024;
    data += 3;
    size -= 3;

    // The random game: each ply picks a legal move by the next input byte (a generator seeded
    // by it once the bytes run out), and ends early at mate or stalemate.
    std::uint32_t seed = 12345;
    Move moves[MaxGameMoves];
    std::size_t used = 0;
    for (int ply = 0; ply < plies; ++ply) {
        int count = legal_moves(moves);
        if (count == 0) break;
        std::uint32_t pick;
        if (used < size && data[used] != '\n') {
            pick = data[used++];
        } else {
            seed = seed * 1103515245u + 12345u;
            pick = seed >> 16;
        }
        if (ply == plies - 1) check_every_legal_move_is_accepted(moves, count);
        char text[8];
        move_to_text(text, moves[pick % count], CurrentPosition);
        if (text[4] == ' ') text[4] = '\0';
        FUZZ_CHECK(enter_user_move(text) == 1);
        FUZZ_CHECK(stack_index() < StackSize - SearchReserve);
    }
    if (used < size && data[used] == '\n') ++used;

    // The rest: one move text per line, as the protocol's "usermove" passes it, unchecked.
    while (used < size) {
        char text[LineSize];
        std::size_t length = 0;
        while (used < size && data[used] != '\n') {
            if (length < LineSize - 1) text[length++] = char(data[used]);
            ++used;
        }
        ++used;
        text[length] = '\0';

        int count             = legal_moves(moves);
        const Position before = *CurrentPosition;
        const int index       = stack_index();
        // Near the search's reserve the entry first drops the oldest records, refused or not.
        const bool trimmed = index >= StackSize - SearchReserve - 1;
        if (enter_user_move(text) == 1) {
            const Position now = *CurrentPosition;
            FUZZ_CHECK(stack_index() == index + 1 || trimmed);
            take_back();
            bool found = false;
            for (int i = 0; i < count && !found; ++i) found = same(after(moves[i]), now);
            FUZZ_CHECK(found);
            FUZZ_CHECK(enter_user_move(text) == 1); // play on from the new position
        } else {
            FUZZ_CHECK(stack_index() == index || trimmed);
            FUZZ_CHECK(same(*CurrentPosition, before));
        }
    }
    return 0;
}

// Fuzz target: the FEN reader, and everything the engine does with the position it leaves,
// accepted or not (the protocol's "setboard" plays on whatever the reader wrote): the board
// display, the book key, the evaluation, the game-end check and a shallow search whose move
// must be one that the user-move entry accepts too.
#include <cstring>

#include "book/book.h"
#include "eval/eval.h"
#include "fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz_start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The front ends pass at most 246 characters; the reader must survive longer texts too.
    char text[1024];
    if (size >= sizeof text) return -1;
    std::memcpy(text, data, size);
    text[size] = '\0';

    reset_engine();
    const int accepted = read_fen(text);
    FUZZ_CHECK(accepted == 0 || accepted == 1);
    FUZZ_CHECK(stack_index() == 0);

    // Whatever the reader left must still be a record the rest of the engine can read.
    const Position& p = *CurrentPosition;
    FUZZ_CHECK((p.ownPieces & ~occupied(p)) == 0);
    FUZZ_CHECK(p.epFile <= 8);
    FUZZ_CHECK(p.blackToMove == 0 || p.blackToMove == 1);
    FUZZ_CHECK((p.castling & 0xCC) == 0);
    if (accepted) FUZZ_CHECK(p.reversibleCount <= 100 && p.repetitions == 0);

    const Position before = p;
    show_board();
    (void)book_key();
    const int score = evaluate();
    FUZZ_CHECK(evaluate() == score);
    flip_position();
    flip_position();
    FUZZ_CHECK(std::memcmp(&before, CurrentPosition, sizeof before) == 0);

    (void)check_game_end();
    FUZZ_CHECK(stack_index() == 0);
    FUZZ_CHECK(std::memcmp(&before, CurrentPosition, sizeof before) == 0);

    // The engine's own move: when it plays one, typing the same move must give the same record.
    MaxDepth     = 2;
    PostThinking = 1;
    start_clock();
    char move[LineSize] = "";
    think(move);
    if (move[0] == '\0') {
        FUZZ_CHECK(stack_index() == 0);
        return 0;
    }
    FUZZ_CHECK(stack_index() == 1);
    const Position played = *CurrentPosition;
    take_back();
    FUZZ_CHECK(std::memcmp(&before, CurrentPosition, sizeof before) == 0);
    if (move[4] == ' ') move[4] = '\0';
    FUZZ_CHECK(enter_user_move(move) == 1);
    FUZZ_CHECK(std::memcmp(&played, CurrentPosition, sizeof played) == 0);
    return 0;
}

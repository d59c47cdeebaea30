// Robustness: positions no game reaches, games longer than the position stack, and the files
// the engine depends on failing under it (book, log, settings).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "board/board.h"
#include "book/book.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"
#include "tests/scratch_dir.h"

namespace {

// Settings and clocks are globals: each test starts from the defaults and leaves them so.
class RobustnessTest : public ScratchDir {
  protected:
    void SetUp() override {
        ScratchDir::SetUp();
        defaults();
    }
    void TearDown() override {
        InputStream = stdin;
        defaults();
        ScratchDir::TearDown();
    }
    void defaults() {
        load_settings((dir + "/no-such.ini").c_str());
        opponentTime = increment = 0;
        SearchStopped = 0;
        GameOver = 0, EngineColor = 'c', QuitRequested = 0;
        new_game();
    }
};

} // namespace

// A position set up with many queens makes a capture tree that no budget covers; the clock,
// read in the quiescence search too, still stops the search.
TEST_F(RobustnessTest, QuiescenceOnContrivedPositionsObeysTheClock) {
    ASSERT_EQ(read_fen("QQQQQQQQ/QQQQQQQQ/8/8/8/8/qqqqqqqq/qqqqqqqk w - - 0 1"), 1);
    moveTime = allocatedTime = 20;
    MaxDepth        = 2;
    SearchStartTime = clock_ms();
    char text[LineSize];
    testing::internal::CaptureStdout();
    think(text);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(SearchStopped, 1);
    EXPECT_EQ(stack_index(), 1); // a move was played all the same
}

namespace {

// The legal moves of the position on the board, in generator order.
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

// Knights out and back: four plies that bring the position back, with neither capture nor pawn.
constexpr const char* Shuffle[4] = {"g1f3", "g8f6", "f3g1", "f6g8"};

} // namespace

// 800 plies without a capture or a pawn move: the half-move count stops at its 8-bit limit
// instead of wrapping back to 0, so the fifty-move rule and the repetition scan still see the
// whole reversible stretch; the stack drops its oldest records and never reaches the reserve.
TEST_F(RobustnessTest, LongReversibleGameKeepsItsCountersAndTheStack) {
    for (const char* fen : {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
                            "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 100 300"}) {
        SCOPED_TRACE(fen);
        new_game();
        ASSERT_EQ(read_fen(fen), 1);
        const int start_count = CurrentPosition->reversibleCount;
        std::string out;
        for (int ply = 0; ply < 800; ++ply) {
            ASSERT_EQ(enter_user_move(Shuffle[ply % 4]), 1) << ply;
            ASSERT_LT(stack_index(), StackSize - SearchReserve);
            const int expected = start_count + ply + 1 < 255 ? start_count + ply + 1 : 255;
            ASSERT_EQ(CurrentPosition->reversibleCount, expected) << ply;
            // Every position of the shuffle has stood on the board before, and from the 100th
            // reversible half-move on every position is a draw by the fifty-move rule.
            if (ply >= 4) {
                ASSERT_GE(CurrentPosition->repetitions, 1) << ply;
            }
            testing::internal::CaptureStdout();
            const int over = check_game_end();
            out            = testing::internal::GetCapturedStdout();
            if (expected >= 100) {
                ASSERT_EQ(over, 1) << ply;
            }
        }
        EXPECT_NE(out.rfind("1/2-1/2 {Draw by 50 move rule}\n"), std::string::npos);
    }
}

// The reserve above a game covers the captures of any real position; a position set up with
// dozens of pieces could capture on further, and at the top of the stack the quiescence search
// and the exchange evaluation stop instead of stepping past it (the sanitizer build checks).
TEST_F(RobustnessTest, QuiescenceAndExchangesStopAtTheTopOfTheStack) {
    for (int top = StackSize - 6; top <= StackSize - 2; ++top) {
        SCOPED_TRACE(top);
        CurrentPosition = &PositionStack[top];
        ASSERT_EQ(read_fen("rnbqqbnr/qqqqqqqq/QQQQQQQQ/8/8/qqqqqqqq/QQQQQQQQ/RNBQKBNR w - - 0 1"), 1);
        moveTime = allocatedTime = 100;
        SearchStopped   = 0;
        SearchStartTime = clock_ms();
        (void)quiesce(-Infinity, Infinity, MateScore);
        EXPECT_EQ(stack_index(), top);
        MoveList good;
        good.count = 0;
        legal_good_captures(good);
        EXPECT_EQ(stack_index(), top);
    }
}

// A game of 400 moves whose end the engine plays itself at full depth under a clock: the game
// records crossed the stack's trimming point twice on the way, and every engine move, made
// with the search path above the game, is one the user-move entry accepts too.
TEST_F(RobustnessTest, FourHundredMoveGameWithDeepThinkingAtItsEnd) {
    for (int ply = 0; ply < 788; ++ply) {
        ASSERT_EQ(enter_user_move(Shuffle[ply % 4]), 1) << ply;
        ASSERT_LT(stack_index(), StackSize - SearchReserve);
    }
    // Pawns open the position, so the search has captures to follow near the end.
    for (const char* m : {"e2e4", "d7d5"}) ASSERT_EQ(enter_user_move(m), 1);
    MaxDepth = 32, PostThinking = 1;
    for (int turn = 0; turn < 5; ++turn) {
        SCOPED_TRACE(turn);
        const Position before = *CurrentPosition;
        moveTime        = 30; // "st" would give whole seconds; this keeps the test short
        SearchStartTime = clock_ms();
        char text[LineSize];
        testing::internal::CaptureStdout();
        think(text);
        const std::string out = testing::internal::GetCapturedStdout();
        ASSERT_LT(stack_index(), StackSize - SearchReserve);
        ASSERT_NE(out.find("move "), std::string::npos);
        const Position after = *CurrentPosition;
        take_back();
        ASSERT_EQ(std::memcmp(&before, CurrentPosition, sizeof before), 0);
        if (text[4] == ' ') text[4] = '\0';
        ASSERT_EQ(enter_user_move(text), 1) << text;
        ASSERT_EQ(std::memcmp(&after, CurrentPosition, sizeof after), 0);
        // The reply: the opponent's first legal move.
        Move moves[MaxGameMoves];
        ASSERT_GT(legal_moves(moves), 0);
        make_room_for_game_move();
        make_move(moves[0]);
    }
}

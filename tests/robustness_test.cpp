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

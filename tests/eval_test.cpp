// Static evaluation: scores worked out by hand from the material values and the tables.
#include <gtest/gtest.h>

#include <cstring>

#include "board/board.h"
#include "eval/eval.h"

namespace {

class EvalTest : public ::testing::Test {
  protected:
    void SetUp() override { new_game(); }
};

TEST_F(EvalTest, StartPositionIsLevel) { EXPECT_EQ(evaluate(), 0); }

// The e-pawn moves from a square worth -2 to one worth 12, and Black is to move.
TEST_F(EvalTest, KingsPawnOpeningFromBlacksView) {
    make_move(make_move_word(PawnPush, 12, 28));
    EXPECT_EQ(evaluate(), -14);
}

struct EvalCase {
    const char* fen;
    int expected;
    const char* why;
};

// Every case is also checked with the other side to move, which must give the exact negative,
// and for leaving the record as it was.
const EvalCase EvalCases[] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 0, "start position"},
    {"4k3/8/8/8/3K4/8/8/8 w - - 0 1", 13,
     "n = 2: king d4 (2 * -5 + 30 * 15) >> 5 = 13, king e8 is e1 from its side, 0"},
    {"4k3/8/8/8/3K4/8/8/8 b - - 0 1", -13, "the same kings, Black to move"},
    {"4k3/8/8/8/8/8/8/3Q2K1 w - - 0 1", 952,
     "n = 3: queen d1 950 + 4, king g1 (3 * 30 + 29 * -5) = -55 >> 5 = -2"},
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPP1/KNBQRBNR w - - 0 1", -105,
     "n = 31: a pawn down, king a1 (31 * -5 + 0) = -155 >> 5 = -5, not -4; rook e1 = rook a1"},
    {"4k3/8/2P5/8/8/2p5/8/4K3 w - - 0 1", 0,
     "pawns c6 and c3 are both on c6 from their own side: files are never mirrored"},
    {"6k1/8/8/8/8/8/8/R3K3 b - - 0 1", -502,
     "n = 3: rook a1 500 + 0, king e1 0; Black's king g8 is g1 from its side, -55 >> 5 = -2"},
};

TEST_F(EvalTest, HandWorkedPositions) {
    for (const EvalCase& c : EvalCases) {
        SCOPED_TRACE(c.fen);
        SCOPED_TRACE(c.why);
        ASSERT_EQ(read_fen(c.fen), 1);
        const Position before = *CurrentPosition;

        EXPECT_EQ(evaluate(), c.expected);
        EXPECT_EQ(std::memcmp(CurrentPosition, &before, sizeof(Position)), 0);

        flip_position();
        EXPECT_EQ(evaluate(), -c.expected);
        flip_position();
        EXPECT_EQ(std::memcmp(CurrentPosition, &before, sizeof(Position)), 0);
    }
}

} // namespace

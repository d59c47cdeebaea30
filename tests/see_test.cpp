// Static exchange evaluation on exchanges worked out by hand.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "board/board.h"
#include "movegen/movegen.h"
#include "search/search.h"

namespace {

class SeeTest : public ::testing::Test {
  protected:
    void SetUp() override {
        new_game();
        clear_killers();
        clear_history();
    }

    void set_up(const char* fen) {
        ASSERT_EQ(read_fen(fen), 1) << fen;
        saved_index = stack_index();
        saved.assign(PositionStack.begin(), PositionStack.begin() + saved_index + 1);
    }

    // Every trial move has been taken back: same current record, and the game below it intact.
    void expect_stack_unchanged() {
        ASSERT_EQ(stack_index(), saved_index);
        EXPECT_EQ(std::memcmp(PositionStack.data(), saved.data(), saved.size() * sizeof(Position)),
                  0);
    }

    int saved_index = 0;
    std::vector<Position> saved;
};

std::string text_of(Move m) {
    char text[6];
    move_to_text(text, m, CurrentPosition);
    return text;
}

// The tactical move of the side to move with the given coordinate text, legal or not.
Move find_tactical(const char* text) {
    MoveList list{};
    generate_captures(list);
    for (std::uint32_t i = 0; i < list.count; ++i)
        if (text_of(list.entries[i].move) == text) return list.entries[i].move;
    ADD_FAILURE() << "no tactical move " << text;
    return 0;
}

std::vector<std::pair<std::string, int>> entries_of(const MoveList& list) {
    std::vector<std::pair<std::string, int>> result;
    for (std::uint32_t i = 0; i < list.count; ++i)
        result.emplace_back(text_of(list.entries[i].move), list.entries[i].score);
    return result;
}

struct SeeCase {
    const char* fen;
    const char* move;
    int expected;
    const char* why;
};

const SeeCase SeeCases[] = {
    {"4k3/8/8/3n4/8/8/8/3RK3 w - - 0 1", "d1d5 ", 300, "undefended knight"},
    {"6k1/8/2p5/3n4/4P3/8/8/6K1 w - - 0 1", "e4d5 ", 200, "pawn takes knight, pawn takes back"},
    {"6k1/8/8/4p3/3N4/2P5/8/6K1 b - - 0 1", "e5d4 ", 200, "the same for Black"},
    {"6k1/8/2p5/3p4/8/8/8/3QK3 w - - 0 1", "d1d5 ", -850, "queen takes pawn-defended pawn"},
    {"3q2k1/8/8/3n4/4P3/8/8/3R2K1 w - - 0 1", "e4d5 ", 1150,
     "the queen must take back and is lost to the rook: 300 - (100 - 950)"},
    {"3r2k1/8/8/3n4/8/8/3R4/3R2K1 w - - 0 1", "d2d5 ", 300,
     "the rook behind joins once the front rook has gone: 300 - (500 - 500)"},
    {"3r2k1/3r4/8/3n4/8/8/3R4/3R2K1 w - - 0 1", "d2d5 ", -200,
     "two rooks each side, Black has the last word: 300 - (500 - (500 - 500))"},
    {"6k1/8/4p3/3b4/8/2N5/8/6K1 w - - 0 1", "c3d5 ", 0, "knight for bishop"},
    {"4k3/2p5/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6 ", -100,
     "en passant gains nothing at first, then loses the pawn"},
    {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6 ", 0, "en passant with no recapture"},
    {"7r/1P6/8/8/8/8/8/k5K1 w - - 0 1", "b7b8q", -950, "promotion onto a square the rook holds"},
    {"7r/1P6/8/8/8/8/8/k5K1 w - - 0 1", "b7b8n", -300, "the knight is lost instead"},
    {"8/1P6/8/8/8/8/8/k5K1 w - - 0 1", "b7b8q", 0, "promotion onto a safe square"},
    {"6k1/5p2/8/8/8/8/8/5RK1 w - - 0 1", "f1f7 ", -400, "the king takes back"},
    {"6k1/5p2/8/8/2B5/8/8/5RK1 w - - 0 1", "f1f7 ", 100,
     "the king may not take back onto a square the bishop holds"},
    {"4r1k1/8/8/8/8/8/p3R3/4K3 w - - 0 1", "e2a2 ", 0, "the pinned rook's capture is illegal"},
};

TEST_F(SeeTest, ExchangeValues) {
    for (const SeeCase& c : SeeCases) {
        SCOPED_TRACE(std::string(c.fen) + " " + c.move + ": " + c.why);
        new_game();
        set_up(c.fen);
        const Move m = find_tactical(c.move);
        EXPECT_EQ(see(m), c.expected);
        expect_stack_unchanged();
    }
}

// Exchange moves are made like any other, so they count as nodes: the capture, Black's trial
// of its one capture, the recapture; White then has nothing to try.
TEST_F(SeeTest, EveryMoveMadeCountsAsANode) {
    set_up("6k1/8/2p5/3n4/4P3/8/8/6K1 w - - 0 1");
    IterationNodeCount = 0;
    EXPECT_EQ(see(find_tactical("e4d5 ")), 200);
    EXPECT_EQ(IterationNodeCount, 3u);
}

struct RecaptureCase {
    const char* fen;
    Square square; // as White, who captured last, numbers it
    const char* expected;
};

// Black to move after White's capture on d5 (or d1): the cheapest legal recapture is chosen.
TEST_F(SeeTest, RecaptureOrder) {
    const RecaptureCase cases[] = {
        {"3r3k/1b6/4pn2/q2R4/8/8/8/6K1 b - - 0 1", 35, "e6d5 "},
        {"3r3k/1b6/5n2/q2R4/8/8/8/6K1 b - - 0 1", 35, "f6d5 "},
        {"3r3k/1b6/8/q2R4/8/8/8/6K1 b - - 0 1", 35, "b7d5 "},
        {"3r3k/8/8/q2R4/8/8/8/6K1 b - - 0 1", 35, "d8d5 "},
        {"7k/8/8/q2R4/8/8/8/6K1 b - - 0 1", 35, "a5d5 "},
        {"8/8/4k3/3R4/8/8/8/6K1 b - - 0 1", 35, "e6d5 "},
        {"8/8/4k3/3R4/8/8/8/3R2K1 b - - 0 1", 35, ""},      // the king may not take
        {"7k/8/1n3n2/3R4/8/8/8/6K1 b - - 0 1", 35, "b6d5 "}, // a tie goes to generator order
        {"7k/8/8/8/8/2n5/4p3/3R2K1 b - - 0 1", 3, "e2d1q"},  // a pawn takes back as a queen
    };
    for (const RecaptureCase& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        set_up(c.fen);
        const MoveEntry found = see_find_recapture(c.square);
        if (*c.expected) {
            EXPECT_EQ(text_of(found.move), c.expected);
            EXPECT_GT(found.score, 0);
        } else {
            EXPECT_EQ(found.move, 0u);
            EXPECT_EQ(found.score, 0);
        }
        expect_stack_unchanged();
    }
}

struct GoodCase {
    const char* fen;
    std::vector<std::pair<std::string, int>> expected;
    const char* why;
};

TEST_F(SeeTest, LegalGoodCaptures) {
    const GoodCase cases[] = {
        {"r1bqkb1r/ppp2ppp/2n1pn2/8/2pP4/3BPN2/PP3PPP/RNBQK2R w KQkq - 0 6 ",
         {{"d3c4 ", 100}},
         "d3h7 loses the bishop to the knight before the rook could take: -200, dropped"},
        {"6k1/8/2p5/3p4/8/8/8/3QK3 w - - 0 1", {}, "the queen's capture is worth -850"},
        {"6k1/8/4p3/3b4/8/2N5/8/6K1 w - - 0 1", {{"c3d5 ", 0}}, "an equal trade is kept"},
        {"8/1P6/8/8/8/8/8/k5K1 w - - 0 1",
         {{"b7b8q", 0}, {"b7b8r", 0}, {"b7b8b", 0}, {"b7b8n", 0}},
         "safe promotions, in the generator's order"},
        {"7r/1P6/8/8/8/8/8/k5K1 w - - 0 1", {}, "every promotion is taken by the rook"},
        {"4r1k1/8/8/8/8/8/p3R3/4K3 w - - 0 1",
         {{"e2e8 ", 500}},
         "the pinned rook may not take on a2, only the pinning rook"},
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", {}, "no capture at all"},
    };
    for (const GoodCase& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + ": " + c.why);
        new_game();
        set_up(c.fen);
        MoveList list{};
        list.entries[0] = MoveEntry{0x1234, 7}; // beyond the count: must be left alone
        legal_good_captures(list);
        EXPECT_EQ(entries_of(list), c.expected);
        if (c.expected.empty()) {
            EXPECT_EQ(list.entries[0].move, 0x1234u);
            EXPECT_EQ(list.entries[0].score, 7);
        }
        expect_stack_unchanged();
    }
}

TEST_F(SeeTest, ConsoleSeeCommandPosition) {
    set_up("1k1r3r/p1p3pp/B2b1p2/B2R4/4p2P/P3P3/1PP3P1/6K1 b - - 0 23");
    testing::internal::CaptureStdout();
    see_test();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " SEE Value: -200\n");
    expect_stack_unchanged();
}

} // namespace

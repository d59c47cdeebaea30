// The strong style: its table under key collisions and with mate scores, its keys along random
// games, both styles' exchange values worked out by hand, facts about its evaluation that any
// tuning keeps, and tactics both styles solve at a fixed depth.
#include "eval/eval.h"
#include "search/strong.h"
#include "tests/support.h"

namespace {

class Strong : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(allocate_table());
        clear_table();
    }
};

// Keys of one bucket (equal low bits) never answer for each other; a full bucket gives up its
// shallowest entry.
TEST_F(Strong, CollidingKeysKeepTheirOwnEntries) {
    const std::uint64_t a = 0x5A5A, b = a + table_buckets() * 3;
    TableEntry e;
    store_table(a, 5, 40, ExactBound, 0x0102, 0);
    EXPECT_FALSE(probe_table(b, 0, e));
    store_table(b, 3, -15, LowerBound, 0x0304, 0);
    ASSERT_TRUE(probe_table(a, 0, e));
    EXPECT_EQ(e.score, 40);
    EXPECT_EQ(e.depth, 5);
    EXPECT_EQ(e.move, 0x0102u);
    ASSERT_TRUE(probe_table(b, 0, e));
    EXPECT_EQ(e.score, -15);
    EXPECT_EQ(e.boundAndAge & 3, LowerBound);
    for (std::uint64_t i = 2; i <= 4; ++i)
        store_table(a + table_buckets() * 3 * i, 8, 0, ExactBound, 0, 0);
    EXPECT_TRUE(probe_table(a, 0, e));
    EXPECT_FALSE(probe_table(b, 0, e));
}

// A mate n plies below a node is n plies below it wherever the node is met again; other scores
// stay as they are.
TEST_F(Strong, MateScoresCountFromTheNode) {
    TableEntry e;
    store_table(1, 6, MateScore - 7, ExactBound, 0, 4); // the node at ply 4 mates at ply 7
    ASSERT_TRUE(probe_table(1, 2, e));
    EXPECT_EQ(e.score, MateScore - 5);
    store_table(2, 6, -MateScore + 9, UpperBound, 0, 5); // mated at ply 9
    ASSERT_TRUE(probe_table(2, 1, e));
    EXPECT_EQ(e.score, -MateScore + 5);
    store_table(3, 6, 250, LowerBound, 0, 5);
    ASSERT_TRUE(probe_table(3, 1, e));
    EXPECT_EQ(e.score, 250);
}

// The key after each move, found from the key before it, is the key of the new record: captures,
// castling, en passant and promotions of random games from awkward starts; and a position reached
// by two move orders has one key.
TEST_F(Strong, KeysFollowTheMoves) {
    for_each_random_position(16, 2, 40, [](const std::string& where) {
        const std::uint64_t key = position_key(*CurrentPosition);
        for (Move m : legal_moves_by_making()) {
            make_move(m);
            ASSERT_EQ(key_after_move(key, CurrentPosition[-1], m, *CurrentPosition),
                      position_key(*CurrentPosition))
                << where << " then " << move_from(m) << "-" << move_to(m);
            take_back();
        }
    });
    std::uint64_t keys[2];
    for (int order = 0; order < 2; ++order) {
        new_game();
        for (const char* m : {order ? "b1c3" : "g1f3", "g8f6", order ? "g1f3" : "b1c3"})
            ASSERT_EQ(enter_user_move(m), 1);
        keys[order] = position_key(*CurrentPosition);
    }
    EXPECT_EQ(keys[0], keys[1]);
}

// The exchange values of both styles, worked out by hand. The classic one plays the exchange
// out on the stack, legal recaptures only, each forced, and its first step onto an empty square
// gains nothing; the strong one's swap list lets each side stop where that pays, counts en
// passant and a promotion from the first step, and does not see pins.
TEST(Exchanges, BothStylesByHand) {
    const struct {
        const char* fen;
        const char* move;
        int classic, strong;
    } cases[] = {
        {"4k3/8/8/3n4/8/8/8/3RK3 w - - 0 1", "d1d5", 300, 300},       // undefended knight
        {"6k1/8/2p5/3n4/4P3/8/8/6K1 w - - 0 1", "e4d5", 200, 200},    // pawn takes back
        {"6k1/8/8/4p3/3N4/2P5/8/6K1 b - - 0 1", "e5d4", 200, 200},    // the same for Black
        {"6k1/8/2p5/3p4/8/8/8/3QK3 w - - 0 1", "d1d5", -850, -850},   // queen for a pawn
        {"3q2k1/8/8/3n4/4P3/8/8/3R2K1 w - - 0 1", "e4d5", 1150, 300}, // forced: 300 - (100 - 950)
        {"3r2k1/8/8/3n4/8/8/3R4/3R2K1 w - - 0 1", "d2d5", 300, 300},  // the rook behind joins
        {"3r2k1/3r4/8/3n4/8/8/3R4/3R2K1 w - - 0 1", "d2d5", -200, -200}, // Black has the last word
        {"3r2k1/8/8/3p4/8/8/3R4/3Q2K1 w - - 0 1", "d2d5", 100, 100},     // the queen behind joins
        {"6k1/8/4p3/3b4/8/2N5/8/6K1 w - - 0 1", "c3d5", 0, 0},           // knight for bishop
        {"4k3/2p5/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", -100, 0},        // en passant
        {"7r/1P6/8/8/8/8/8/k5K1 w - - 0 1", "b7b8q", -950, -100},        // the new queen is taken
        {"6k1/5p2/8/8/8/8/8/5RK1 w - - 0 1", "f1f7", -400, -400},        // the king takes back
        {"6k1/5p2/8/8/2B5/8/8/5RK1 w - - 0 1", "f1f7", 100, 100}, // ...but not onto a held square
        {"4r1k1/8/8/8/8/8/p3R3/4K3 w - - 0 1", "e2a2", 0, 100},   // the pinned rook's capture
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + " " + c.move);
        set_up(c.fen);
        EXPECT_EQ(see(tactical(c.move)), c.classic);
        EXPECT_EQ(exchange_gain(tactical(c.move)), c.strong);
        EXPECT_EQ(CurrentPosition, &PositionStack[0]);
    }
}

// The evaluation of a position with the side to move as in its FEN.
int strong_score(const char* fen) {
    set_up(fen);
    return strong_evaluate(*CurrentPosition);
}

// Relations any set of weights must keep, other things equal: a passed pawn is worth more the
// further it stands; a piece is worth more than its absence; in the ending a passed pawn is
// worth more with its own king before it and the other king far than the other way round (the
// two kings stand on mirrored squares, so their squares' values cancel); a rook pawn whose
// queening square the bishop does not cover, the other king on it, is all but a draw.
TEST(StrongEval, RelationsThatAnyTuningKeeps) {
    int before = -Infinity;
    for (const char* pawn : {"8/8/8/8/8/1P6", "8/8/8/8/1P6/8", "8/8/8/1P6/8/8", "8/8/1P6/8/8/8",
                             "8/1P6/8/8/8/8", "1P6/8/8/8/8/8"}) {
        const int score = strong_score(("4k3/" + std::string(pawn) + "/4K3 w - - 0 1").c_str());
        EXPECT_GT(score, before) << pawn;
        before = score;
    }
    const char* const Middlegame =
        "r1bqk2r/pp2bppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R1BQK2R w KQkq - 0 1";
    const int full = strong_score(Middlegame);
    for (const char* without : {"r1bqk2r/pp2bppp/2n1pn2/3p4/3P4/3BPN2/PP3PPP/R1BQK2R w KQkq - 0 1",
                                "r1bqk2r/pp2bppp/2n1pn2/3p4/3P4/2N1PN2/PP3PPP/R1BQK2R w KQkq - 0 1",
                                "r1bqk2r/pp2bppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R1BQK3 w Qkq - 0 1",
                                "r1bqk2r/pp2bppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R1B1K2R w KQkq - 0 1",
                                "r1bqk2r/pp2bppp/2n1pn2/3p4/8/2NBPN2/PP3PPP/R1BQK2R w KQkq - 0 1"})
        EXPECT_LT(strong_score(without), full) << without;
    EXPECT_GT(strong_score("8/3K4/8/3P4/8/8/3k4/8 w - - 0 1"),
              strong_score("8/3k4/8/3P4/8/8/3K4/8 w - - 0 1"));
    EXPECT_LT(strong_score("k7/8/8/8/8/8/P7/2B1K3 w - - 0 1") + 100,
              strong_score("k7/8/8/8/8/8/P7/3BK3 w - - 0 1"));
    EXPECT_LT(strong_score("2b1k3/p7/8/8/8/8/8/K7 b - - 0 1") + 100,
              strong_score("3bk3/p7/8/8/8/8/8/K7 b - - 0 1"));
}

// Mates (any move, the exact score), a fork and a skewer, at a depth each style reaches at once.
TEST_F(Strong, BothStylesSolveTactics) {
    const struct {
        const char* fen;
        int depth;
        const char* move; // nullptr for a mate, which may have several first moves
        int score;
    } cases[] = {
        {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", 2, nullptr, MateScore - 1},
        {"k7/8/2K5/8/8/8/8/7R w - - 0 1", 5, nullptr, MateScore - 3},
        {"r5k1/5ppp/8/8/8/8/1Q3PPP/1R4K1 w - - 0 1", 4, nullptr, MateScore - 3},
        {"2q1k3/8/8/1N6/8/8/8/4K3 w - - 0 1", 4, "b5d6", 0},
        {"8/8/8/q3k3/8/8/8/6KR w - - 0 1", 4, "h1h5", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        const SearchLimits limits{c.depth, INT32_MAX, INT32_MAX, clock_ms(), false};
        set_up(c.fen);
        const SearchResult classic = search_move(limits, SearchHooks{});
        const SearchResult strong  = strong_search_move(limits, SearchHooks{});
        if (c.move) {
            EXPECT_EQ(text_of(classic.move), c.move);
            EXPECT_EQ(text_of(strong.move), c.move);
        } else {
            EXPECT_EQ(classic.score, c.score);
            EXPECT_EQ(strong.score, c.score);
        }
        EXPECT_EQ(stack_index(), 0);
    }
}

} // namespace

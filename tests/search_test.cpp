// The classic style: its evaluation worked out by hand; the search's results pinned to their
// scores, node counts and lines; draws and mates; the clock in a capture storm.
#include <cstring>

#include "eval/eval.h"
#include "front/front.h"
#include "search/search.h"
#include "tests/support.h"

namespace {

// Every case is also checked with the other side to move, which must give the exact negative.
TEST(Eval, HandWorkedPositions) {
    const struct {
        const char* fen;
        int expected;
        const char* why;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 0, "start position"},
        {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1", -14, "e2 -2 to e4 12"},
        {"4k3/8/8/8/3K4/8/8/8 w - - 0 1", 13, "n = 2: Kd4 (2 * -5 + 30 * 15) >> 5"},
        {"4k3/8/8/8/8/8/8/3Q2K1 w - - 0 1", 952, "n = 3: Qd1 950 + 4, Kg1 -55 >> 5 = -2"},
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPP1/KNBQRBNR w - - 0 1", -105, "Ka1 -155 >> 5 = -5"},
        {"4k3/8/2P5/8/8/2p5/8/4K3 w - - 0 1", 0, "files are never mirrored"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + ": " + c.why);
        set_up(c.fen);
        const Position before = *CurrentPosition;
        EXPECT_EQ(evaluate(), c.expected);
        flip_position();
        EXPECT_EQ(evaluate(), -c.expected);
        flip_position();
        EXPECT_EQ(std::memcmp(CurrentPosition, &before, sizeof before), 0);
    }
}

struct Deepened {
    int score;
    std::uint32_t nodes; // moves made by the last iteration
    std::string line;
};

const SearchLimits Unlimited{MaxPly, INT32_MAX, INT32_MAX, 0, false};

// Deepens from two plies as the engine does, without a clock.
Deepened deepen(const char* fen, int depth) {
    set_up(fen);
    start_search(Unlimited, SearchHooks{});
    int score = 0;
    for (int d = 2; d <= depth; ++d) {
        start_iteration();
        score = search(std::uint32_t(d), -Infinity, Infinity, RootVariation, MateScore);
    }
    testing::internal::CaptureStdout();
    print_line(RootVariation, CurrentPosition->blackToMove);
    return {score, IterationNodeCount, testing::internal::GetCapturedStdout()};
}

const char* const Start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

// The numbers depend on every ordering detail and count every move made, illegal tries and
// exchange trials included (the start position's first iterations are pinned by the
// transcripts). The bare kings at depth 2 are worked by hand: the king's moves are
// tried b2, a2, b1 (the quiet list from its end); after Kb2 every reply is searched (Kh7 5,
// Kg7 0, Kg8 -7 for White), after Ka2 and Kb1 the first, Kh7, refutes: 3 + 3 + 1 + 1 = 8.
TEST(Search, PinnedFixedDepthResults) {
    const struct {
        const char* fen;
        int depth;
        Deepened expected;
    } cases[] = {
        {Start, 5, {20, 18488, "1. g1f3 g8f6 2. d2d4 d7d5 3. b1c3 \n"}},
        {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", 4,
         {62, 419588, "1. d5e6 a6e2 2. e6f7 e8f8 \n"}},
        {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", 2, {29999, 70, "1. d1d8 \n"}},
        {"k7/8/2K5/8/8/8/8/7R w - - 0 1", 4, {29997, 1038, "1. c6c7 a8a7 2. h1a1 \n"}},
        {"7k/8/8/8/8/8/8/K7 w - - 0 1", 2, {0, 8, "1. a1b2 h8g7 \n"}},
        {"8/8/8/8/8/8/6k1/K7 b - - 0 1", 3, {9, 82, "1. .. g2f3 2. a1b2 f3e4 \n"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + " depth " + std::to_string(c.depth));
        Deepened r = deepen(c.fen, c.depth);
        EXPECT_EQ(r.score, c.expected.score);
        EXPECT_EQ(r.nodes, c.expected.nodes);
        EXPECT_EQ(r.line, c.expected.line);
        EXPECT_EQ(CurrentPosition, &PositionStack[0]);
    }
}

TEST(Search, DrawsAndMatesWhateverTheBounds) {
    const struct {
        const char* fen;
        std::uint32_t depth;
        int alpha, beta, score;
    } cases[] = {
        {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 3, 100, 200, 0},        // stalemate
        {"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", 2, 100, 200, -30000},   // mated at the root
        {"7k/6Q1/6K1/8/8/8/8/8 b - - 100 1", 2, -5, 5, -30000},    // mate beats the fifty moves
        {"7k/8/6K1/8/8/8/8/6Q1 b - - 100 1", 2, -5, 5, 0},         // not in check: drawn
        {"7k/8/6K1/8/8/8/8/6Q1 w - - 100 1", 0, -5, 5, 0},         // also at depth 0
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        set_up(c.fen);
        start_search(Unlimited, SearchHooks{});
        PrincipalVariation line;
        EXPECT_EQ(search(c.depth, c.alpha, c.beta, line, MateScore), c.score);
        EXPECT_EQ(line.length, 0);
    }
    // A third occurrence ends the search at once, before a single move.
    new_game();
    for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1", "f6g8"})
        ASSERT_EQ(enter_user_move(m), 1);
    IterationNodeCount = 0;
    PrincipalVariation line;
    EXPECT_EQ(search(4, -Infinity, Infinity, line, MateScore), 0);
    EXPECT_EQ(IterationNodeCount, 0u);
}

// A position set up with many queens makes a capture tree no budget covers: the clock, read in
// the quiescence search too, still stops the search, and a move is found all the same.
TEST(Search, ContrivedCapturesObeyTheClock) {
    set_up("QQQQQQQQ/QQQQQQQQ/8/8/8/8/qqqqqqqq/qqqqqqqk w - - 0 1");
    const SearchResult result = search_move({2, 20, 20, clock_ms(), false}, SearchHooks{});
    EXPECT_EQ(SearchStopped, 1);
    EXPECT_NE(result.move, 0u);
    EXPECT_EQ(stack_index(), 0);
}

} // namespace

// Search: fixed-depth results pinned to their scores, node counts and lines; mate and draw
// scores; the ordering updates; the time allocation; the deepening's output; game end.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "movegen/movegen.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"

namespace {

struct SearchResult {
    int score;
    std::uint32_t nodes; // moves made by the last iteration
    std::string line;
};

// Deepens from two plies as the engine does, without a clock.
SearchResult deepen(const char* fen, int depth) {
    new_game();
    EXPECT_EQ(read_fen(fen), 1);
    moveTime = allocatedTime = 2147483647;
    SearchStartTime = clock_ms();
    clear_history();
    int score = 0;
    for (int d = 2; d <= depth; ++d) {
        SearchStopped = 0;
        clear_killers();
        IterationNodeCount = 0;
        score = search(std::uint32_t(d), -Infinity, Infinity, RootVariation, MateScore);
    }
    testing::internal::CaptureStdout();
    print_line();
    return {score, IterationNodeCount, testing::internal::GetCapturedStdout()};
}

class SearchTest : public testing::Test {
  protected:
    void SetUp() override {
        new_game();
        clear_killers();
        clear_history();
        saved_[0] = moveTime, saved_[1] = allocatedTime, saved_[2] = engineTime;
        saved_[3] = opponentTime, saved_[4] = increment, saved_[5] = MaxDepth;
        saved_[6] = PostThinking, saved_[7] = SuddenDeath;
    }
    void TearDown() override {
        moveTime = saved_[0], allocatedTime = saved_[1], engineTime = saved_[2];
        opponentTime = saved_[3], increment = saved_[4], MaxDepth = saved_[5];
        PostThinking = saved_[6], SuddenDeath = saved_[7];
        SearchStopped = 0;
        new_game();
    }
    std::int32_t saved_[8];
};

const char* const Start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

} // namespace

// The numbers depend on every ordering detail and count every move made, illegal tries and
// exchange trials included. The two bare-king cases are worked out by hand: from a1 the king's
// moves are tried b2, a2, b1 (the quiet list from its end); after Kb2 every Black reply is
// searched (Kh7 5, Kg7 0, Kg8 -7 from White's side, so Kg7 stands), and after Ka2 and Kb1 the
// first reply, Kh7, already refutes: 3 + 3 + 1 + 1 = 8 moves.
TEST_F(SearchTest, PinnedFixedDepthResults) {
    struct Case {
        const char* fen;
        int depth;
        SearchResult expected;
    };
    const Case cases[] = {
        {Start, 2, {0, 95, "1. g1f3 g8f6 \n"}},
        {Start, 3, {20, 699, "1. g1f3 g8f6 2. b1c3 \n"}},
        {Start, 4, {0, 2895, "1. d2d4 d7d5 2. g1f3 g8f6 \n"}},
        {Start, 5, {20, 18488, "1. g1f3 g8f6 2. d2d4 d7d5 3. b1c3 \n"}},
        {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", 4,
         {62, 419588, "1. d5e6 a6e2 2. e6f7 e8f8 \n"}},
        {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", 2, {29999, 70, "1. d1d8 \n"}},
        {"k7/8/2K5/8/8/8/8/7R w - - 0 1", 4, {29997, 1038, "1. c6c7 a8a7 2. h1a1 \n"}},
        {"7k/8/8/8/8/8/8/K7 w - - 0 1", 2, {0, 8, "1. a1b2 h8g7 \n"}},
        {"8/8/8/8/8/8/6k1/K7 b - - 0 1", 3, {9, 82, "1. .. g2f3 2. a1b2 f3e4 \n"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + " depth " + std::to_string(c.depth));
        SearchResult r = deepen(c.fen, c.depth);
        EXPECT_EQ(r.score, c.expected.score);
        EXPECT_EQ(r.nodes, c.expected.nodes);
        EXPECT_EQ(r.line, c.expected.line);
        EXPECT_EQ(CurrentPosition, &PositionStack[0]);
    }
}

TEST_F(SearchTest, DrawsAndMatesWhateverTheBounds) {
    struct Case {
        const char* fen;
        std::uint32_t depth;
        int alpha, beta, score;
    };
    const Case cases[] = {
        {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 3, 100, 200, 0},          // stalemate
        {"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", 2, 100, 200, -30000},     // mated at the root
        {"7k/6Q1/6K1/8/8/8/8/8 b - - 100 1", 2, -5, 5, -30000},      // mate beats the fifty moves
        {"7k/8/6K1/8/8/8/8/6Q1 b - - 100 1", 2, -5, 5, 0},           // not in check: drawn
        {"7k/8/6K1/8/8/8/8/6Q1 w - - 100 1", 0, -5, 5, 0},           // also at depth 0
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        ASSERT_EQ(read_fen(c.fen), 1);
        moveTime = allocatedTime = 2147483647;
        SearchStartTime = clock_ms();
        PrincipalVariation line;
        EXPECT_EQ(search(c.depth, c.alpha, c.beta, line, MateScore), c.score);
        EXPECT_EQ(line.length, 0);
    }
    // A third occurrence, or more than 100 half-moves, ends the search at once.
    new_game();
    for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1", "f6g8"})
        ASSERT_EQ(enter_user_move(m), 1);
    ASSERT_EQ(CurrentPosition->repetitions, 2);
    IterationNodeCount = 0;
    PrincipalVariation line;
    EXPECT_EQ(search(4, -Infinity, Infinity, line, MateScore), 0);
    EXPECT_EQ(IterationNodeCount, 0u);
    CurrentPosition->repetitions     = 0;
    CurrentPosition->reversibleCount = 101;
    EXPECT_EQ(search(4, -Infinity, Infinity, line, MateScore), 0);
    EXPECT_EQ(IterationNodeCount, 0u);
}

TEST_F(SearchTest, OnlyQuietFailHighsTeachTheOrdering) {
    moveTime = allocatedTime = 2147483647;
    SearchStartTime = clock_ms();
    PrincipalVariation line;
    // From the start the first move tried is h2h4, and with beta below every score it fails
    // high at once: 3 x 3 goes to its history counter and it becomes the first killer.
    EXPECT_EQ(search(3, -Infinity, -Infinity + 1, line, MateScore), -Infinity + 1);
    Move h2h4 = make_move_word(PawnPush, 15, 31);
    EXPECT_EQ(HistoryTable[15][31], 9);
    EXPECT_EQ(KillerMoves[3][0], h2h4);
    // A capture that fails high (here at depth 1, whose children only stand pat) changes
    // neither table.
    clear_history();
    clear_killers();
    ASSERT_EQ(read_fen("4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1"), 1);
    EXPECT_EQ(search(1, -Infinity, -Infinity + 1, line, MateScore), -Infinity + 1);
    for (int from = 0; from < 64; ++from)
        for (int to = 0; to < 64; ++to) ASSERT_EQ(HistoryTable[from][to], 0);
    EXPECT_EQ(KillerMoves[1][0], 0u);
}

TEST_F(SearchTest, TimeAllocation) {
    struct Case {
        int engine, opponent, inc, moves, allocated;
    };
    const Case cases[] = {
        {360000, 0, 0, 15, 24000},
        {6000, 6000, 0, 25, 240},
        {5000, 9000, 300, 25, 500},
        {700, 700, 300, 20, 35},
        {9000, 3000, 0, 15, 600},
    };
    SuddenDeath = 20;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.engine);
        engineTime = c.engine, opponentTime = c.opponent, increment = c.inc;
        testing::internal::CaptureStdout();
        allocate_time();
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(allocatedTime, c.allocated);
        EXPECT_EQ(out, "#DEBUG move speed: " + std::to_string(c.moves) +
                           "  allocated time: " + std::to_string(c.allocated) + "\n");
    }
}

TEST_F(SearchTest, ThinkPrintsMatesAndPlaysTheMove) {
    struct Case {
        const char* fen;
        const char* output_tail; // after the allocation line
        const char* move;
    };
    const Case cases[] = {
        {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", "Mate in 1 \nmove d1d8 \n", "d1d8 "},
        {"k7/8/2K5/8/8/8/8/7R w - - 0 1", "Mate in 2 \nmove c6c7 \n", "c6c7 "},
        {"7k/8/6K1/8/8/8/8/1Q6 b - - 0 1", "Mated to 1 \nmove h8g8 \n", "h8g8 "},
    };
    engineTime = 360000, opponentTime = 0, increment = 0, moveTime = 360000;
    MaxDepth = 6;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        ASSERT_EQ(read_fen(c.fen), 1);
        char text[LineSize];
        SearchStartTime = clock_ms();
        testing::internal::CaptureStdout();
        think(text);
        std::string out = testing::internal::GetCapturedStdout();
        // The allocation line first; the mate message and the move last (thinking lines of
        // the iterations before the mate may stand between).
        EXPECT_EQ(out.rfind("#DEBUG move speed: 15  allocated time: 24000\n", 0), 0u) << out;
        ASSERT_GE(out.size(), std::strlen(c.output_tail));
        EXPECT_EQ(out.substr(out.size() - std::strlen(c.output_tail)), c.output_tail) << out;
        EXPECT_STREQ(text, c.move);
        EXPECT_EQ(CurrentPosition, &PositionStack[1]);
    }
}

TEST_F(SearchTest, ThinkingLinesAndTheirShape) {
    new_game();
    PostThinking = 1, MaxDepth = 3;
    engineTime = 360000, opponentTime = 0, increment = 0, moveTime = 360000;
    char text[LineSize];
    SearchStartTime = clock_ms();
    testing::internal::CaptureStdout();
    think(text);
    std::string out = testing::internal::GetCapturedStdout();
    char depth2[64], depth3[64];
    int t2 = -1, t3 = -1;
    ASSERT_EQ(std::sscanf(out.c_str(),
                          "#DEBUG move speed: 15  allocated time: 24000\n"
                          " 2      0 %6d         95 %63[^\n]\n"
                          " 3     20 %6d        699 %63[^\n]\n",
                          &t2, depth2, &t3, depth3),
              4)
        << out;
    EXPECT_STREQ(depth2, "1. g1f3 g8f6 ");
    EXPECT_STREQ(depth3, "1. g1f3 g8f6 2. b1c3 ");
    EXPECT_NE(out.find("\nmove g1f3 \n"), std::string::npos);
    // With thinking off only the allocation line and the move are printed.
    new_game();
    PostThinking = 0;
    SearchStartTime = clock_ms();
    testing::internal::CaptureStdout();
    think(text);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "#DEBUG move speed: 15  allocated time: 24000\nmove g1f3 \n");
}

TEST_F(SearchTest, LinesLongerThanTheStoredMovesAndPromotions) {
    new_game();
    RootVariation.length = 15;
    const char* moves[] = {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6",
                           "f3g1", "f6g8", "b1c3", "b8c6", "c3b1", "c6b8"};
    for (int i = 0; i < 12; ++i) {
        Square from = (moves[i][0] - 'a') + 8 * (moves[i][1] - '1');
        Square to   = (moves[i][2] - 'a') + 8 * (moves[i][3] - '1');
        if (i % 2) from ^= 56, to ^= 56;
        RootVariation.moves[i] = make_move_word(KnightMove, from, to);
    }
    testing::internal::CaptureStdout();
    print_line();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "1. g1f3 g8f6 2. f3g1 f6g8 3. g1f3 g8f6 4. f3g1 f6g8 5. b1c3 b8c6 6. c3b1 c6b8 \n");
    ASSERT_EQ(read_fen("3k4/4P3/8/8/8/8/3p4/4K3 b - - 0 1"), 1);
    RootVariation.length   = 2;
    RootVariation.moves[0] = make_move_word(Promotion, 51, 59, Queen); // d2d1 from Black's side
    RootVariation.moves[1] = make_move_word(Promotion, 52, 60, Knight);
    testing::internal::CaptureStdout();
    print_line();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "1. .. d2d1q 2. e7e8n \n");
}

TEST_F(SearchTest, AStoppedSearchStillPlaysALegalMove) {
    for (const char* fen : {Start, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"}) {
        SCOPED_TRACE(fen);
        new_game();
        ASSERT_EQ(read_fen(fen), 1);
        moveTime = 0;
        MaxDepth = 32;
        char text[LineSize];
        SearchStartTime = clock_ms() - 50; // already past the limit
        testing::internal::CaptureStdout();
        think(text);
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(CurrentPosition, &PositionStack[1]);
        take_back();
        ASSERT_EQ(enter_user_move(text[4] == ' ' ? std::string(text, 4).c_str() : text), 1) << text;
    }
    // A root already drawn by repetition gives no line; the first legal move is played.
    new_game();
    for (const char* m : {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1", "f6g8"})
        ASSERT_EQ(enter_user_move(m), 1);
    moveTime = 360000, MaxDepth = 4;
    char text[LineSize];
    SearchStartTime = clock_ms();
    testing::internal::CaptureStdout();
    think(text);
    testing::internal::GetCapturedStdout();
    EXPECT_STREQ(text, "h2h4 ");
}

TEST_F(SearchTest, AnalysisStopsOnExitOrEndOfInput) {
    std::FILE* input = std::tmpfile();
    std::fputs("exit \nEXIT\nexit\nnever read\n", input);
    std::rewind(input);
    InputStream = input;
    new_game();
    PostThinking = 1, MaxDepth = 32;
    moveTime = allocatedTime = 360000;
    SearchStopped = 0, EngineColor = 1;
    SearchStartTime = clock_ms();
    testing::internal::CaptureStdout();
    analyze(MaxDepth);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("\n 4 "), std::string::npos) << out; // three lines read: depths 2, 3, 4
    EXPECT_EQ(out.find("\n 5 "), std::string::npos) << out;
    EXPECT_NE(out.find("#DEBUG exit da polling\n"), std::string::npos);
    EXPECT_EQ(EngineColor, 'c');
    EXPECT_EQ(SearchStopped, 1);
    char rest[LineSize];
    ASSERT_EQ(read_line(rest), 1);
    EXPECT_STREQ(rest, "never read");
    // At the end of input the analysis stops after the iteration in progress.
    SearchStopped = 0;
    testing::internal::CaptureStdout();
    analyze(MaxDepth);
    out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(SearchStopped, 1);
    EXPECT_EQ(out.find("\n 3 "), std::string::npos) << out;
    InputStream = stdin;
    std::fclose(input);
    EXPECT_EQ(CurrentPosition, &PositionStack[0]);
}

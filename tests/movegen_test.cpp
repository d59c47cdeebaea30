// Move generation: generation orders and scores, castling rules, perft at small depths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "movegen/movegen.h"

namespace {

std::string text_of(Move m) {
    char text[6];
    move_to_text(text, m, CurrentPosition);
    std::string s(text);
    while (!s.empty() && s.back() == ' ') s.pop_back();
    return s;
}

void set_up(const char* fen) {
    new_game();
    ASSERT_EQ(read_fen(fen), 1) << fen;
}

std::vector<std::string> quiet_texts() {
    QuietList list;
    generate_quiet_moves(list);
    std::vector<std::string> out;
    for (std::uint32_t i = 0; i < list.count; ++i) out.push_back(text_of(list.moves[i]));
    return out;
}

std::vector<std::pair<std::string, int>> capture_texts() {
    MoveList list;
    generate_captures(list);
    std::vector<std::pair<std::string, int>> out;
    for (std::uint32_t i = 0; i < list.count; ++i)
        out.push_back({text_of(list.entries[i].move), list.entries[i].score});
    return out;
}

// Each root move with the count below it: what finds a wrong count.
std::vector<std::pair<std::string, std::uint64_t>> divide(std::uint32_t depth) {
    std::vector<std::pair<std::string, std::uint64_t>> out;
    Move moves[MaxGameMoves];
    int count;
    generate_moves(moves, count);
    for (int i = 0; i < count; ++i) {
        std::string text = text_of(moves[i]);
        make_move(moves[i]);
        if (!move_left_king_in_check()) out.push_back({text, perft(depth - 1)});
        take_back();
    }
    return out;
}

const char* const Kiwipete = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";

} // namespace

TEST(Generators, StartPositionQuietOrder) {
    new_game();
    EXPECT_TRUE(capture_texts().empty());
    std::vector<std::string> expected = {"b1a3", "b1c3", "g1f3", "g1h3", "a2a3", "a2a4", "b2b3",
                                         "b2b4", "c2c3", "c2c4", "d2d3", "d2d4", "e2e3", "e2e4",
                                         "f2f3", "f2f4", "g2g3", "g2g4", "h2h3", "h2h4"};
    EXPECT_EQ(quiet_texts(), expected);
}

TEST(Generators, MiddlegameOrderAndScores) {
    set_up(Kiwipete);
    std::vector<std::pair<std::string, int>> expected = {
        {"g2h3", 21}, {"d5e6", 21}, {"e5g6", 20}, {"e5d7", 20},
        {"e5f7", 20}, {"e2a6", 51}, {"f3h3", 17}, {"f3f6", 33}};
    EXPECT_EQ(capture_texts(), expected);
    auto quiets = quiet_texts();
    ASSERT_EQ(quiets.size(), 40u);
    EXPECT_EQ(std::vector<std::string>(quiets.begin(), quiets.begin() + 4),
              (std::vector<std::string>{"e1c1", "e1g1", "e1d1", "e1f1"}));
    EXPECT_EQ(std::vector<std::string>(quiets.end() - 6, quiets.end()),
              (std::vector<std::string>{"a2a3", "a2a4", "b2b3", "g2g3", "g2g4", "d5d6"}));
}

TEST(Generators, PromotionsEnPassantAndKingCapture) {
    struct Case {
        const char* fen;
        std::vector<std::pair<std::string, int>> captures;
    };
    const Case cases[] = {
        {"n1n1k3/1P6/8/8/8/8/8/4K3 w - - 0 1",
         {{"b7c8q", 85}, {"b7c8r", -1}, {"b7c8b", -2}, {"b7c8n", -3},
          {"b7a8q", 85}, {"b7a8r", -1}, {"b7a8b", -2}, {"b7a8n", -3},
          {"b7b8q", 85}, {"b7b8r", -1}, {"b7b8b", -2}, {"b7b8n", -3}}},
        {"4k3/8/8/4PpP1/8/8/8/4K3 w - f6 0 1", {{"e5f6", 21}, {"g5f6", 21}}},
        {"4k3/8/8/pP5P/8/8/8/4K3 w - a6 0 1", {{"b5a6", 21}}},
        // Black to move: the texts are real coordinates.
        {"4k3/8/8/8/3pP3/8/8/4K3 b - e3 0 1", {{"d4e3", 21}}},
        // A king next to the other king may take it (only a FEN can set this up).
        {"8/8/8/8/8/8/5k2/4K3 w - - 0 1", {{"e1f2", 96}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        set_up(c.fen);
        EXPECT_EQ(capture_texts(), c.captures);
    }
    // A pawn ready to promote is never in the quiet list.
    set_up("4k3/1P6/8/8/8/8/8/4K3 w - - 0 1");
    for (const auto& m : quiet_texts()) EXPECT_NE(m.substr(0, 2), "b7");
}

TEST(Generators, CastlingFollowsTheAttackedSquares) {
    struct Case {
        const char* fen;
        bool queen_side, king_side;
    };
    const Case cases[] = {
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", true, true},
        {"r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1", false, false},
        {"4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", true, true},
        {"4k3/4r3/8/8/8/8/8/R3K2R w KQ - 0 1", false, false},    // in check
        {"4k3/3r4/8/8/8/8/8/R3K2R w KQ - 0 1", false, true},     // d1 attacked
        {"4k3/2r5/8/8/8/8/8/R3K2R w KQ - 0 1", false, true},     // c1 attacked
        {"4k3/1r6/8/8/8/8/8/R3K2R w KQ - 0 1", true, true},      // only b1 attacked
        {"4k3/6r1/8/8/8/8/8/R3K2R w KQ - 0 1", true, false},     // g1 attacked
        {"4k3/8/8/8/8/8/8/RN2K1NR w KQ - 0 1", false, false},    // squares between occupied
        {"8/8/8/8/8/8/7k/R3K2R w KQ - 0 1", true, true},         // king on h2: generated...
        {"8/8/8/8/8/8/6k1/R3K2R w KQ - 0 1", true, false},       // ...but not on g2
        {"4k3/8/8/8/8/8/8/4K3 w KQ - 0 1", false, false},        // rights without rooks
        {"4k3/8/8/8/8/8/8/R2K3R w KQ - 0 1", false, false},      // rights without the king on e1
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        set_up(c.fen);
        auto quiets = quiet_texts();
        bool black = CurrentPosition->blackToMove;
        auto has = [&](const char* m) {
            return std::find(quiets.begin(), quiets.end(), m) != quiets.end();
        };
        EXPECT_EQ(has(black ? "e8c8" : "e1c1"), c.queen_side);
        EXPECT_EQ(has(black ? "e8g8" : "e1g1"), c.king_side);
    }
    // The king on h2 leaves king-side castling in the list, and the legality test refuses it.
    set_up("8/8/8/8/8/8/7k/R3K2R w KQ - 0 1");
    make_move(KingSideCastle);
    EXPECT_NE(move_left_king_in_check(), 0u);
    take_back();
}

TEST(Perft, SmallDepthsOfKnownPositions) {
    struct Case {
        const char* fen;
        std::uint32_t depth;
        std::uint64_t nodes;
    };
    const Case cases[] = {
        {PerftSuite[0].fen, 0, 1},
        {PerftSuite[0].fen, 1, 20},
        {PerftSuite[0].fen, 2, 400},
        {PerftSuite[0].fen, 3, 8902},
        {PerftSuite[1].fen, 1, 48},
        {PerftSuite[1].fen, 2, 2039},
        {PerftSuite[1].fen, 3, 97862},
        {PerftSuite[2].fen, 2, 191},
        {PerftSuite[2].fen, 4, 43238},
        {PerftSuite[3].fen, 1, 6},
        {PerftSuite[3].fen, 2, 264},
        {PerftSuite[3].fen, 3, 9467},
        {PerftSuite[4].fen, 1, 42},
        {PerftSuite[4].fen, 3, 53392},
        {PerftSuite[5].fen, 1, 46},
        {PerftSuite[5].fen, 3, 89890},
        // Stalemate counts one at every depth, checkmate none.
        {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 1, 1},
        {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 3, 1},
        {"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", 1, 0},
        {"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", 2, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + " depth " + std::to_string(c.depth));
        set_up(c.fen);
        Position* before = CurrentPosition;
        Position saved   = *CurrentPosition;
        EXPECT_EQ(perft(c.depth), c.nodes);
        EXPECT_EQ(CurrentPosition, before);
        EXPECT_EQ(std::memcmp(&saved, CurrentPosition, sizeof saved), 0);
    }
}

TEST(Perft, DivideOfTheMiddlegame) {
    set_up(Kiwipete);
    auto split = divide(2);
    ASSERT_EQ(split.size(), 48u);
    std::uint64_t total = 0;
    for (const auto& [move, nodes] : split) {
        total += nodes;
        if (move == "e1g1") {
            EXPECT_EQ(nodes, 43u);
        }
        if (move == "e2a6") {
            EXPECT_EQ(nodes, 36u);
        }
    }
    EXPECT_EQ(total, 2039u);
}

TEST(Generators, ContrivedPositionsNeverOverfillTheLists) {
    // A checkerboard of queens and pawns has well over a hundred captures; the tactical list
    // stops at its room. A ring of queens has the most quiet moves found by a search over such
    // placements, 277, still within the quiet list's 300.
    struct Case {
        const char* fen;
        std::uint32_t captures, quiets;
    };
    const Case cases[] = {
        {"QpQpQpQk/pQpQpQpQ/QpQpQpQp/pQpQpQpQ/QpQpQpQp/pQpQpQpQ/QpQpQpQp/pQpQpQpK w - - 0 1",
         MoveListSize, 0},
        {"QQQQQQQk/Q6Q/Q6Q/Q6Q/Q6Q/Q6Q/Q6Q/KQQQQQQB w - - 0 1", 2, 277},
        {"rnbqkbnr/PPPPPPPP/8/8/8/8/8/4K3 w - - 0 1", 56, 5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        set_up(c.fen);
        MoveList captures;
        QuietList quiets;
        generate_captures(captures);
        generate_quiet_moves(quiets);
        EXPECT_EQ(captures.count, c.captures);
        EXPECT_EQ(quiets.count, c.quiets);
        Move all[MaxGameMoves];
        int count;
        generate_moves(all, count);
        EXPECT_EQ(std::uint32_t(count), c.captures + c.quiets);
        perft(2);
    }
}

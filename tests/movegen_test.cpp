// Move generation: castling beside attacks and kings, and the counts taken without making
// moves (perft at small depths among them) against making every move.
#include <algorithm>
#include <cstring>

#include "tests/support.h"

namespace {

std::vector<std::string> quiet_texts() {
    QuietList list;
    generate_quiet_moves(list);
    std::vector<std::string> out;
    for (std::uint32_t i = 0; i < list.count; ++i) out.push_back(text_of(list.moves[i]));
    return out;
}

} // namespace

TEST(Generators, Castling) {
    const struct {
        const char* fen;
        bool queen_side, king_side;
    } cases[] = {
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", true, true},
        {"r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1", false, false},
        {"4k3/4r3/8/8/8/8/8/R3K2R w KQ - 0 1", false, false}, // in check
        {"4k3/3r4/8/8/8/8/8/R3K2R w KQ - 0 1", false, true},  // d1 attacked
        {"4k3/1r6/8/8/8/8/8/R3K2R w KQ - 0 1", true, true},   // only b1 attacked
        {"4k3/6r1/8/8/8/8/8/R3K2R w KQ - 0 1", true, false},  // g1 attacked
        {"4k3/8/8/8/8/8/8/RN2K1NR w KQ - 0 1", false, false}, // squares between occupied
        {"8/8/8/8/8/8/7k/R3K2R w KQ - 0 1", true, true},      // king on h2: listed, then refused
        {"8/8/8/8/8/8/6k1/R3K2R w KQ - 0 1", true, false},
        {"4k3/8/8/8/8/8/8/R2K3R w KQ - 0 1", false, false},   // rights without the king on e1
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1", true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        set_up(c.fen);
        auto quiets      = quiet_texts();
        const bool black = CurrentPosition->blackToMove;
        auto has = [&](const char* m) { return std::find(quiets.begin(), quiets.end(), m) != quiets.end(); };
        EXPECT_EQ(has(black ? "e8c8" : "e1c1"), c.queen_side);
        EXPECT_EQ(has(black ? "e8g8" : "e1g1"), c.king_side);
    }
}

// The counts taken without making moves (perft to depth 3 among them), and the list onto one
// square, agree with the full lists and with making every move, wherever random play leads.
TEST(Counting, AgreesWithTheListsAndWithMakingEveryMove) {
    std::uint32_t visited = 0;
    for_each_random_position(11, 3, 60, [&](const std::string& where) {
        SCOPED_TRACE(where);
        ASSERT_EQ(count_legal_moves(), int(legal_moves_by_making().size()));
        const std::uint32_t depth = 1 + visited++ % 3;
        ASSERT_EQ(perft(depth), perft_by_making(depth)) << "depth " << depth;
        MoveList all;
        generate_captures(all);
        if (all.count == MoveListSize) return; // a full list may have dropped moves
        ASSERT_EQ(count_tactical_moves(), all.count);
        for (Square s = 0; s < 64; ++s) {
            MoveList onto;
            generate_captures_onto(onto, s);
            std::vector<std::pair<Move, int>> expected, got;
            for (std::uint32_t i = 0; i < all.count; ++i)
                if (move_to(all.entries[i].move) == s)
                    expected.push_back({all.entries[i].move, all.entries[i].score});
            for (std::uint32_t i = 0; i < onto.count; ++i)
                got.push_back({onto.entries[i].move, onto.entries[i].score});
            ASSERT_EQ(got, expected) << "onto square " << s;
        }
    });
    for (const char* fen : AwkwardStarts) {
        SCOPED_TRACE(fen);
        set_up(fen);
        const int pieces = std::popcount(occupied(*CurrentPosition));
        const std::uint32_t depth = pieces <= 6 ? 4 : pieces < 40 ? 3 : 2;
        EXPECT_EQ(perft(depth), perft_by_making(depth));
    }
}

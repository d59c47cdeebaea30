// Move ordering: which quiet move the killers and the history counters bring to the end.
#include <gtest/gtest.h>

#include <vector>

#include "board/board.h"
#include "search/search.h"

namespace {

class OrderingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        new_game();
        clear_killers();
        clear_history();
    }
};

// Quiet moves of the start position.
constexpr Move A = make_move_word(PawnPush, 8, 16);    // a2a3
constexpr Move B = make_move_word(KnightMove, 1, 18);  // b1c3
constexpr Move C = make_move_word(PawnPush, 10, 26);   // c2c4
constexpr Move D = make_move_word(KnightMove, 6, 21);  // g1f3

QuietList make_list(const std::vector<Move>& moves) {
    QuietList list{};
    for (Move m : moves) list.moves[list.count++] = m;
    return list;
}

std::vector<Move> contents(const QuietList& list) {
    return std::vector<Move>(list.moves, list.moves + list.count);
}

struct KillerCase {
    const char* name;
    Move first, second;
    std::vector<Move> before;
    int found;
    std::vector<Move> after;
};

TEST_F(OrderingTest, KillerToEnd) {
    const KillerCase cases[] = {
        {"the killer met first in the list wins, whichever slot holds it", C, A, {A, B, C}, 1,
         {C, B, A}},
        {"second slot alone", D, B, {A, B, C}, 1, {A, C, B}},
        {"killer already last", C, 0, {A, B, C}, 1, {A, B, C}},
        {"neither killer in the list", D, 0, {A, B, C}, 0, {A, B, C}},
        {"empty slots match nothing, not even the zeros after the last entry", 0, 0, {A, B, C}, 0,
         {A, B, C}},
        {"empty list", A, B, {}, 0, {}},
    };
    constexpr std::uint32_t depth = 5;
    for (const KillerCase& c : cases) {
        SCOPED_TRACE(c.name);
        KillerMoves[depth] = {c.first, c.second};
        QuietList list = make_list(c.before);
        EXPECT_EQ(killer_to_end(list, depth), c.found);
        EXPECT_EQ(contents(list), c.after);
    }
}

struct HistoryCase {
    const char* name;
    std::vector<int> counters;   // of A, B, C, D in list order
    std::vector<Move> after;
};

TEST_F(OrderingTest, HistoryToEnd) {
    const HistoryCase cases[] = {
        {"5, 3, 9: the 9 comes forward first and raises the bar, so the 5 ends last", {5, 3, 9},
         {C, B, A}},
        {"5, 9, 3: the largest ends last", {5, 9, 3}, {C, A, B}},
        {"counters of 0 and 1 move nothing", {1, 0, 1}, {A, B, C}},
        {"2 is enough", {0, 2, 0}, {A, C, B}},
        {"4, 2, 6, 3: the 4 goes last, then the 6 overtakes it", {4, 2, 6, 3}, {D, B, A, C}},
    };
    const Move moves[] = {A, B, C, D};
    for (const HistoryCase& c : cases) {
        SCOPED_TRACE(c.name);
        clear_history();
        QuietList list = make_list({});
        for (std::size_t i = 0; i < c.counters.size(); ++i) {
            list.moves[list.count++] = moves[i];
            HistoryTable[move_from(moves[i])][move_to(moves[i])] = c.counters[i];
        }
        history_to_end(list);
        EXPECT_EQ(contents(list), c.after);
    }
}

TEST_F(OrderingTest, StoreKiller) {
    store_killer(7, A);
    EXPECT_EQ(KillerMoves[7], (std::array<Move, 2>{A, 0}));
    store_killer(7, B);
    EXPECT_EQ(KillerMoves[7], (std::array<Move, 2>{B, A}));
    store_killer(7, B);  // already first: nothing changes
    EXPECT_EQ(KillerMoves[7], (std::array<Move, 2>{B, A}));
    store_killer(7, A);  // the second swaps with the first
    EXPECT_EQ(KillerMoves[7], (std::array<Move, 2>{A, B}));
    store_killer(7, C);  // a new move pushes the old second out
    EXPECT_EQ(KillerMoves[7], (std::array<Move, 2>{C, A}));
    EXPECT_EQ(KillerMoves[6], (std::array<Move, 2>{0, 0}));
}

} // namespace

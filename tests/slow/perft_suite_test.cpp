// The full perft suite: every row to its benchmark depth.
#include <gtest/gtest.h>

#include "movegen/movegen.h"

TEST(PerftSuite, EveryRowGivesItsExpectedCount) {
    std::uint64_t total = 0;
    for (const PerftRow& row : PerftSuite) {
        SCOPED_TRACE(row.fen);
        new_game();
        ASSERT_EQ(read_fen(row.fen), 1);
        std::uint64_t n = perft(row.depth);
        EXPECT_EQ(n, row.expected);
        total += n;
    }
    EXPECT_EQ(total, 1361558651u);
}

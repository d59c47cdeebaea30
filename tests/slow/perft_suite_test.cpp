// The perft benchmark as the console's "test" runs it: every row's expected and calculated
// counts, the total, and the report's layout; and the same counts by making every move.
#include <cstdio>
#include <sstream>
#include <string>

#include "front/front.h"
#include "tests/support.h"

TEST(PerftSuite, TheBenchmarkReportsEveryExpectedCount) {
    testing::internal::CaptureStdout();
    run_benchmark();
    std::string out = testing::internal::GetCapturedStdout();
    std::string expected = "Running benchmark. . .\n";
    for (const PerftRow& row : PerftSuite) {
        std::string count = std::to_string(row.expected);
        expected += ".Expected   value: " + count + "\nCalculated value: " + count + "\n\n";
    }
    expected += "\nTotal nodes: 1361558651 \n";
    ASSERT_EQ(out.substr(0, expected.size()), expected);
    int rate = 0;
    double elapsed = 0;
    EXPECT_EQ(std::sscanf(out.c_str() + expected.size(),
                          "Raw nodes per second: %d\nTotal elapsed time: %lf\n", &rate, &elapsed),
              2);
    EXPECT_GT(rate, 0);
    EXPECT_EQ(out.back(), '\n');
    // The board keeps the last position of the suite.
    new_game();
    ASSERT_EQ(read_fen(PerftSuite[PerftRows - 1].fen), 1);
}

// The counts as defined, every generated move made, tested and taken back (half a minute).
TEST(PerftSuite, MakingEveryMoveGivesTheExpectedCounts) {
    for (const PerftRow& row : PerftSuite) {
        SCOPED_TRACE(row.fen);
        set_up(row.fen);
        EXPECT_EQ(perft_by_making(row.depth), row.expected);
    }
}

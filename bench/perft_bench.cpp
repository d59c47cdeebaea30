// Perft benchmark driver: the console's perft report over the six suite rows, outside the
// engine binary, so that speed can be compared and profiled without typing commands.
//
//   perft_bench        the full report, exactly as the console command "test" prints it
//   perft_bench N      every row N plies shallower, with its count and the total (for profilers)
#include <cstdio>
#include <cstdlib>

#include "front/front.h"
#include "movegen/movegen.h"

int main(int argc, char** argv) {
    const int shallower = argc > 1 ? std::atoi(argv[1]) : 0;
    if (shallower <= 0) {
        run_benchmark();
        return 0;
    }
    std::uint64_t total = 0;
    for (const PerftRow& row : PerftSuite) {
        const int depth = int(row.depth) - shallower > 1 ? int(row.depth) - shallower : 1;
        new_game();
        if (!read_fen(row.fen)) return 1;
        const std::uint64_t n = perft(std::uint32_t(depth));
        std::printf("depth %d %12llu  %s\n", depth, (unsigned long long)n, row.fen);
        total += n;
    }
    std::printf("Total nodes: %llu\n", (unsigned long long)total);
    return 0;
}

// Two threads of the strong search on a few positions, a move's search and an analysis, with the
// table shared: ThreadSanitizer must find no race.
#include <cstdio>

#include "front/front.h"
#include "search/strong.h"

int main() {
    if (!allocate_table(2)) return 1;
    set_helper_threads(1);
    const char* const positions[] = {
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
        "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    };
    for (const char* fen : positions) {
        new_game();
        if (!read_fen(fen)) return 1;
        SearchLimits limits{MaxPly, INT32_MAX, INT32_MAX, clock_ms(), false};
        limits.nodes = 60000;
        const SearchResult result = strong_search_move(limits, SearchHooks{});
        strong_search_analysis(limits, SearchHooks{});
        if (result.move == 0) return 1;
    }
    set_helper_threads(0);
    std::puts("two threads searched");
    return 0;
}

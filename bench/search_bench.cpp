// Search benchmark: a fixed-depth search of fixed positions. The total node count is a
// signature that changes only when search, ordering or evaluation behaviour changes; the rate
// is the moves made per second.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "movegen/movegen.h"
#include "search/strong.h"

namespace {

const char* const Positions[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "r1bqkb1r/ppp2ppp/2n1pn2/8/2pP4/3BPN2/PP3PPP/RNBQK2R w KQkq - 0 6",
    "r3qrk1/pp2ppbp/6p1/1Np5/P7/2PP3P/1P2QPP1/R2R2K1 w - - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1",
    "2r3k1/pp3ppp/2n5/3p4/3P4/2N2N2/PP3PPP/2R3K1 b - - 0 20",
};


// With "strong" after the depth, the strong search deepens to it instead (a fresh table for each
// position), and its node total is the strong search's signature.
int strong_bench(int depth) {
    if (!allocate_table()) return 1;
    // No clock; every iteration is reported, and its moves made are counted.
    const SearchLimits limits{depth, INT32_MAX, INT32_MAX, clock_ms(), true};
    std::uint64_t total = 0;
    auto start = std::chrono::steady_clock::now();
    for (const char* fen : Positions) {
        new_game();
        if (!read_fen(fen)) return 1;
        clear_table();
        std::uint64_t nodes = 0;
        SearchHooks hooks;
        hooks.context = &nodes;
        hooks.report  = [](void* context, const Iteration& it) {
            *static_cast<std::uint64_t*>(context) += it.nodes;
        };
        const SearchResult result = strong_search_move(limits, hooks);
        char move[6];
        move_to_text(move, result.move, CurrentPosition);
        std::printf("%-72s %6d %s %10llu\n", fen, result.score, move, (unsigned long long)nodes);
        total += nodes;
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("Strong signature (depth %d): %llu nodes\n", depth, (unsigned long long)total);
    std::printf("Rate: %.0f nodes per second (%.2f s)\n", seconds > 0 ? total / seconds : 0.0, seconds);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    int depth = argc > 1 ? std::atoi(argv[1]) : 6;
    if (depth < 2 || depth > MaxPly) depth = 6;
    if (argc > 2 && std::strcmp(argv[2], "strong") == 0) return strong_bench(depth);
    const SearchLimits unlimited{depth, INT32_MAX, INT32_MAX, clock_ms(), false};
    std::uint64_t total = 0;
    auto start = std::chrono::steady_clock::now();
    for (const char* fen : Positions) {
        new_game();
        if (!read_fen(fen)) return 1;
        start_search(unlimited, SearchHooks{});
        std::uint64_t nodes = 0;
        int score = 0;
        for (int d = 2; d <= depth; ++d) {
            start_iteration();
            score = search(std::uint32_t(d), -Infinity, Infinity, RootVariation, MateScore);
            nodes += IterationNodeCount;
        }
        char move[6];
        move_to_text(move, RootVariation.moves[0], CurrentPosition);
        std::printf("%-72s %6d %s %10llu\n", fen, score, move, (unsigned long long)nodes);
        total += nodes;
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("Signature (depth %d): %llu nodes\n", depth, (unsigned long long)total);
    std::printf("Rate: %.0f nodes per second (%.2f s)\n", seconds > 0 ? total / seconds : 0.0, seconds);
    return 0;
}

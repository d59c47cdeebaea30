// The search benchmark: a fixed-depth search of fixed positions. The classic search deepens
// from depth 2 with its killers and history kept across iterations; the strong one runs as in a
// game, with a fresh table for each position. Nodes are moves made, each style by its own count.
#include <chrono>
#include <cstdint>

#include "front/front.h"
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

struct Searched {
    int score;
    Move move;
    std::uint64_t nodes;
};

Searched classic_search(int depth) {
    const SearchLimits unlimited{depth, INT32_MAX, INT32_MAX, clock_ms(), false};
    start_search(unlimited, SearchHooks{});
    Searched result{0, 0, 0};
    for (int d = 2; d <= depth; ++d) {
        start_iteration();
        result.score = search(std::uint32_t(d), -Infinity, Infinity, RootVariation, MateScore);
        result.nodes += IterationNodeCount;
    }
    result.move = RootVariation.moves[0];
    return result;
}

// No clock; every iteration is reported, and its moves made are counted.
Searched strong_search(int depth) {
    const SearchLimits limits{depth, INT32_MAX, INT32_MAX, clock_ms(), true};
    clear_table();
    Searched result{0, 0, 0};
    SearchHooks hooks;
    hooks.context = &result.nodes;
    hooks.report  = [](void* context, const Iteration& it) {
        *static_cast<std::uint64_t*>(context) += it.nodes;
    };
    const SearchResult found = strong_search_move(limits, hooks);
    result.score             = found.score;
    result.move              = found.move;
    return result;
}

} // namespace

int search_benchmark(int depth, bool strong) {
    if (strong && !allocate_table()) return 1;
    std::uint64_t total = 0;
    const auto start    = std::chrono::steady_clock::now();
    for (const char* fen : Positions) {
        new_game();
        if (!read_fen(fen)) return 1;
        const Searched result = strong ? strong_search(depth) : classic_search(depth);
        char move[6];
        move_to_text(move, result.move, CurrentPosition);
        output(Screen, "%-72s %6d %s %10llu\n", fen, result.score, move,
               (unsigned long long)result.nodes);
        total += result.nodes;
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    output(Screen, "%s (depth %d): %llu nodes\nTime: %.2f s\n",
           strong ? "Strong signature" : "Signature", depth, (unsigned long long)total, seconds);
    output(Screen, "Nodes searched: %llu\nNodes/second: %.0f\n", (unsigned long long)total,
           seconds > 0 ? total / seconds : 0.0);
    return 0;
}

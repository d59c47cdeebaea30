// Iterative deepening: the engine's move and the analysis, and the time budget of a move.
#include <cassert>
#include <cstdint>

#include "movegen/movegen.h"
#include "search/search.h"

namespace {

// Searches the root to the given depth as a fresh iteration.
int iterate(int depth) {
    start_iteration();
    return search(std::uint32_t(depth), -Infinity, Infinity, RootVariation, MateScore);
}

void report(const SearchLimits& limits, const SearchHooks& hooks, int depth, int score) {
    if (!limits.post || !hooks.report) return;
    const Iteration iteration{depth, score, std::int32_t(clock_ms() - limits.startTime),
                              IterationNodeCount, &RootVariation};
    hooks.report(hooks.context, iteration);
}

bool is_mate(int score) { return score > MateBound || score < -MateBound; }

} // namespace

TimeBudget allocate_time(std::int32_t engineTime, std::int32_t opponentTime,
                         std::int32_t increment, int suddenDeath) {
    int moves = suddenDeath;
    if (opponentTime < engineTime)
        moves -= 5;
    else if (engineTime < opponentTime)
        moves += 5;
    if (engineTime <= 6000 && increment <= 299) moves += 5;
    if (moves < 1) moves = 1;
    std::int32_t allocated = engineTime / moves;
    if (increment > 0 && std::int64_t(engineTime) - allocated - increment > 500)
        allocated += increment;
    return {moves, allocated};
}

// A stopped iteration's result is discarded, but the mate it may announce is decided on its
// own score. The line of a finished iteration is reported unless it ends the deepening on a
// mate, which the caller announces from the result.
SearchResult search_move(const SearchLimits& limits, const SearchHooks& hooks) {
    // The game leaves the search its reserve of records, which covers the deepest iteration.
    assert(stack_index() < StackSize - SearchReserve && limits.maxDepth <= MaxPly);
    start_search(limits, hooks);
    SearchResult result{0, 0, 0};
    for (int depth = 2; depth <= limits.maxDepth; ++depth) {
        SearchStopped = 0;
        const int score = iterate(depth);
        if (RootVariation.length > 0 && (SearchStopped == 0 || result.move == 0))
            result.move = RootVariation.moves[0];
        result.score = score;
        result.depth = depth;
        if (SearchStopped == 0) report(limits, hooks, depth, score);
        if (is_mate(score) || SearchStopped == 1) break;
    }
    if (result.move == 0) result.move = first_legal_move();
    return result;
}

// Once stopped, by the clock or by the hook between iterations, the analysis ends after the
// iteration in progress has been reported.
void search_analysis(const SearchLimits& limits, const SearchHooks& hooks) {
    assert(stack_index() < StackSize - SearchReserve && limits.maxDepth <= MaxPly);
    start_search(limits, hooks);
    for (int depth = 2; depth <= limits.maxDepth; ++depth) {
        const int score = iterate(depth);
        report(limits, hooks, depth, score);
        if (is_mate(score)) return;
        if (hooks.analysis_ends && hooks.analysis_ends(hooks.context)) SearchStopped = 1;
        if (SearchStopped == 1) return;
    }
}

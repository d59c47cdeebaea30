// Iterative deepening: the driver both styles run, the classic style's iteration, and the time
// budget of a move.
#include <cassert>
#include <cstdint>

#include "movegen/movegen.h"
#include "search/search.h"

namespace {

void report(const SearchLimits& limits, const SearchHooks& hooks, int depth, int score,
            const PrincipalVariation& line) {
    if (!limits.post || !hooks.report) return;
    const Iteration iteration{depth, score, std::int32_t(clock_ms() - limits.startTime),
                              IterationNodeCount, &line};
    hooks.report(hooks.context, iteration);
}

// The classic iteration searches the root with the whole window. A stopped iteration's move is
// taken only when no earlier one gave a move, but its score stands: the mate it may announce
// is decided on its own score.
Iterated classic_iteration(int depth, SearchResult& result) {
    start_iteration();
    const int score = search(std::uint32_t(depth), -Infinity, Infinity, RootVariation, MateScore);
    const bool finished = SearchStopped == 0;
    if (RootVariation.length > 0 && (finished || result.move == 0))
        result.move = RootVariation.moves[0];
    result.score = score;
    result.depth = depth;
    return {finished, true, score, &RootVariation};
}

bool is_mate(int score, int) { return score > MateBound || score < -MateBound; }

// The classic style deepens from two plies and ends on any mate score. Its analysis reads the
// input between iterations also after the clock has stopped one (the line it waits for is the
// user's answer to the analysis), and reports the stopped iteration.
constexpr SearchStyle Classic{2, start_search, classic_iteration, is_mate, true};

} // namespace

SearchResult deepen(const SearchStyle& style, const SearchLimits& limits, const SearchHooks& hooks) {
    // The game leaves the search its reserve of records, which covers the deepest iteration.
    assert(stack_index() < StackSize - SearchReserve && limits.maxDepth <= MaxPly);
    style.start(limits, hooks);
    SearchResult result{0, 0, 0};
    for (int depth = style.firstDepth; depth <= limits.maxDepth; ++depth) {
        const Iterated it = style.iterate(depth, result);
        if (!it.finished) break;
        report(limits, hooks, depth, it.score, *it.line);
        if (style.ends(it.score, depth)) break;
    }
    if (result.move == 0) result.move = first_legal_move();
    return result;
}

// Once stopped, by the clock or by the hook between iterations, the analysis ends.
void deepen_analysis(const SearchStyle& style, const SearchLimits& limits,
                     const SearchHooks& hooks) {
    assert(stack_index() < StackSize - SearchReserve && limits.maxDepth <= MaxPly);
    style.start(limits, hooks);
    SearchResult result{0, 0, 0};
    for (int depth = style.firstDepth; depth <= limits.maxDepth; ++depth) {
        const Iterated it = style.iterate(depth, result);
        if (it.finished || it.shown) report(limits, hooks, depth, it.score, *it.line);
        if (style.ends(it.score, depth) || (!it.finished && !style.pollsWhenStopped)) return;
        if (hooks.analysis_ends && hooks.analysis_ends(hooks.context)) SearchStopped = 1;
        if (SearchStopped == 1) return;
    }
}

SearchResult search_move(const SearchLimits& limits, const SearchHooks& hooks) {
    return deepen(Classic, limits, hooks);
}

void search_analysis(const SearchLimits& limits, const SearchHooks& hooks) {
    deepen_analysis(Classic, limits, hooks);
}

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

// Iterative deepening: the driver both styles run, the classic style's iteration, and the time
// budget of a move.
#include <cassert>
#include <cstdint>

#include "movegen/movegen.h"
#include "search/search.h"

namespace {

void report(const SearchLimits& limits, const SearchHooks& hooks, int depth, const Iterated& it,
            int number) {
    if (!limits.post || !hooks.report) return;
    const Iteration iteration{depth,       it.score, std::int32_t(clock_ms() - limits.startTime),
                              IterationNodeCount, it.line, number, it.seldepth, it.hashfull,
                              FinishedNodes};
    hooks.report(hooks.context, iteration);
}

// One depth: the best line, then, when more lines are asked for, the next best with the
// moves of the lines found passed over at the root, each reported as it is found. The first
// line's outcome is the depth's; a line that finds no move (none is left) ends the depth, and
// a stopped line ends the deepening. results holds each line's result from the depth before.
Iterated search_lines(const SearchStyle& style, const SearchLimits& limits,
                      const SearchHooks& hooks, int depth, SearchResult* results, bool analysis) {
    clear_excluded_root_moves();
    Iterated first{};
    for (int k = 0; k < limits.lines; ++k) {
        const Iterated it = style.iterate(depth, results[k]);
        FinishedNodes += IterationNodeCount;
        if (k == 0) first = it;
        if (k > 0 && it.line->length == 0) break;
        if (it.finished || (analysis && it.shown)) report(limits, hooks, depth, it, k + 1);
        if (!it.finished) break;
        exclude_root_move(it.line->moves[0]);
    }
    return first;
}

// The classic iteration searches the root with the whole window. A stopped iteration's move is
// taken only when no earlier one gave a move, but its score stands: the mate it may announce
// is decided on its own score.
Iterated classic_iteration(int depth, SearchResult& result) {
    start_iteration();
    const int score = search(std::uint32_t(depth), -Infinity, Infinity, RootVariation, MateScore);
    const bool finished = SearchStopped == 0;
    if (RootVariation.length > 0 && (finished || result.move == 0)) {
        result.move  = RootVariation.moves[0];
        result.reply = RootVariation.length > 1 ? RootVariation.moves[1] : 0;
    }
    result.score = score;
    result.depth = depth;
    return {finished, true, score, &RootVariation, 0, -1};
}

bool is_mate(int score, int) { return score > MateBound || score < -MateBound; }

// The classic style deepens from two plies and ends on any mate score. Its analysis reads the
// input between iterations also after the clock has stopped one (the line it waits for is the
// user's answer to the analysis), and reports the stopped iteration.
constexpr SearchStyle Classic{2, start_search, classic_iteration, is_mate, true};

} // namespace

SearchResult deepen(const SearchStyle& style, const SearchLimits& limits,
                    const SearchHooks& hooks) {
    // The game leaves the search its reserve of records, which covers the deepest iteration.
    assert(stack_index() < StackSize - SearchReserve && limits.maxDepth <= MaxPly);
    style.start(limits, hooks);
    SearchResult results[MaxLines] = {};
    for (int depth = style.firstDepth; depth <= limits.maxDepth; ++depth) {
        const Iterated it = search_lines(style, limits, hooks, depth, results, false);
        if (SearchStopped == 1 || style.ends(it.score, depth)) break;
    }
    if (results[0].move == 0) results[0] = {first_legal_move(), results[0].score, results[0].depth};
    return results[0];
}

// Once stopped, by the clock or by the hook between iterations, the analysis ends.
void deepen_analysis(const SearchStyle& style, const SearchLimits& limits,
                     const SearchHooks& hooks) {
    assert(stack_index() < StackSize - SearchReserve && limits.maxDepth <= MaxPly);
    style.start(limits, hooks);
    SearchResult results[MaxLines] = {};
    for (int depth = style.firstDepth; depth <= limits.maxDepth; ++depth) {
        const Iterated it = search_lines(style, limits, hooks, depth, results, true);
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

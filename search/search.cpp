// Alpha-beta search and quiescence: fail-hard negamax over the position stack; the clock and
// the stop test both styles use.
#include <cassert>
#include <chrono>

#include "eval/eval.h"
#include "movegen/movegen.h"
#include "search/search.h"

PrincipalVariation RootVariation;
thread_local constinit std::int32_t SearchStopped = 0;
thread_local constinit bool IsHelperThread        = false;
std::atomic<bool> StopHelpers{false};
std::uint64_t FinishedNodes = 0;
thread_local constinit bool RootMovesLimited = false;

// A monotonic clock rather than the time of day: a step of the system clock (a time server, a
// suspended laptop) cannot upset the budget of a move.
std::uint32_t clock_ms() {
    using namespace std::chrono;
    auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return std::uint32_t(now);
}

namespace {

// The limits and hooks of the search in progress.
SearchLimits Limits{MaxPly, INT32_MAX, INT32_MAX, 0, false};
SearchHooks Hooks;

// The interruption hook is asked once the search has made InterruptionInterval more moves
// since it was last asked (about a tenth of a millisecond for the classic style, a millisecond
// for the strong one). A count, not the clock, decides, so that a scripted session reads its
// lines at the same moments every time.
std::uint64_t NextAsk                         = 0;
constexpr std::uint64_t InterruptionInterval = 4096;

// Quiescence moves since the clock was last read there.
std::uint32_t QuiescenceMoves                   = 0;
constexpr std::uint32_t QuiescenceClockInterval = 256;

// The root moves of the lines already found at the depth in progress (the helpers of the strong
// style search one line and find none).
thread_local constinit Move Excluded[MaxLines]{};
thread_local constinit int ExcludedCount = 0;

} // namespace

void start_clock(const SearchLimits& limits, const SearchHooks& hooks) {
    Limits        = limits;
    Hooks         = hooks;
    SearchStopped = 0;
    FinishedNodes = 0;
    NextAsk       = InterruptionInterval;
    clear_excluded_root_moves();
}

void restart_clock(const SearchLimits& limits) {
    Limits.startTime = limits.startTime;
    Limits.moveTime  = limits.moveTime;
    Limits.budget    = limits.budget;
    Limits.deadline  = limits.deadline;
}

// Sets SearchStopped once the move's time (either limit, in hundredths, or the deadline in
// milliseconds) has passed, the node limit is reached, or whoever started the search says so;
// read after every move of every full-width node, so the search unwinds as soon as it must.
bool time_to_stop() {
    if (SearchStopped == 1) return true;
    if (IsHelperThread) {
        SearchStopped = StopHelpers.load(std::memory_order_relaxed);
        return SearchStopped == 1;
    }
    const std::uint32_t elapsed_ms = clock_ms() - Limits.startTime;
    const std::int32_t elapsed     = std::int32_t(elapsed_ms) / 10;
    const std::uint64_t nodes      = FinishedNodes + IterationNodeCount;
    bool stop = elapsed > Limits.moveTime || elapsed > Limits.budget ||
                (Limits.deadline >= 0 && elapsed_ms >= std::uint32_t(Limits.deadline)) ||
                (Limits.nodes && nodes >= Limits.nodes);
    if (!stop && Hooks.interrupted && nodes >= NextAsk) {
        NextAsk = nodes + InterruptionInterval;
        stop    = Hooks.interrupted(Hooks.context);
    }
    if (stop) SearchStopped = 1;
    return stop;
}

bool root_move_searched(Move m) {
    for (int i = 0; i < ExcludedCount; ++i)
        if (Excluded[i] == m) return false;
    if (Limits.rootMoveCount == 0) return true;
    for (int i = 0; i < Limits.rootMoveCount; ++i)
        if (Limits.rootMoves[i] == m) return true;
    return false;
}

void exclude_root_move(Move m) {
    if (ExcludedCount < MaxLines) Excluded[ExcludedCount++] = m;
    RootMovesLimited = true;
}

void clear_excluded_root_moves() {
    ExcludedCount    = 0;
    RootMovesLimited = Limits.rootMoveCount > 0;
}

void start_search(const SearchLimits& limits, const SearchHooks& hooks) {
    start_clock(limits, hooks);
    clear_history();
}

void start_iteration() {
    clear_killers();
    IterationNodeCount = 0;
}

namespace {

// Beside the classic algorithm, for a UCI "go" with searchmoves or more than one best line only:
// the root (the node with the whole mate score) passes over the moves it is not to search, as
// if they were not there.
inline bool passed_over(Move m, int mate_score) {
    return mate_score == MateScore && RootMovesLimited && !root_move_searched(m);
}

} // namespace

int search(std::uint32_t depth, int alpha, int beta, PrincipalVariation& line, int mate_score) {
    // Every node starts with an empty line, so one that returns early never hands its parent
    // the moves of a sibling.
    line.length       = 0;
    const Position& p = *CurrentPosition;

    // Step 1. Draws by repetition and by the fifty-move rule, at every depth. Only a third
    // occurrence is a draw here: the classic search keeps the rule of the game itself (the
    // strong style counts a second one, which prunes more).
    if (p.repetitions == 2) return 0;
    if (fifty_move_draw(p)) return 0;

    // Step 2. The horizon: only captures worth making are searched further.
    if (depth == 0) return quiesce(alpha, beta, mate_score);
    assert(stack_index() < StackSize - 64);

    PrincipalVariation child;
    bool no_legal_move = true;
    // A move that would leave the king attacked is not made, but it counts as a node all the
    // same, as if made, found illegal and taken back.
    const KingSafety ks = king_safety();

    // Step 3. Tactical moves, the best generator score first. A capture that fails high
    // teaches the ordering tables nothing.
    MoveList captures;
    generate_captures(captures);
    while (captures.count > 0) {
        Move m = pick_best_move(captures);
        if (passed_over(m, mate_score)) {
            --captures.count;
            continue;
        }
        if (!move_is_legal(m, ks)) {
            ++IterationNodeCount;
        } else {
            make_move(m);
            int score = -search(depth - 1, -beta, -alpha, child, mate_score - 1);
            take_back();
            if (score >= beta) return beta;
            no_legal_move = false;
            if (score > alpha) {
                alpha = score;
                extend_line(line, m, child);
            }
        }
        if (time_to_stop()) goto done;
        --captures.count;
    }

    // Step 4. Quiet moves from the end of the list: a killer of this depth first, else the
    // move the history pass brings to the end. Once the killers are not found they never will
    // be at this node: the list only loses moves, and the killers of this depth change only
    // when this node returns (the nodes below it store killers of lower depths), so the scan
    // is not repeated.
    {
        QuietList quiets;
        generate_quiet_moves(quiets);
        bool killers_left = true;
        while (quiets.count > 0) {
            if (killers_left) killers_left = killer_to_end(quiets, depth);
            if (!killers_left) history_to_end(quiets);
            Move m                          = quiets.moves[quiets.count - 1];
            quiets.moves[quiets.count - 1] = 0;
            if (passed_over(m, mate_score)) {
                --quiets.count;
                continue;
            }
            if (!move_is_legal(m, ks)) {
                ++IterationNodeCount;
            } else {
                make_move(m);
                int score = -search(depth - 1, -beta, -alpha, child, mate_score - 1);
                take_back();
                if (score >= beta) {
                    HistoryTable[move_from(m)][move_to(m)] += std::int32_t(depth * depth);
                    store_killer(depth, m);
                    return beta;
                }
                no_legal_move = false;
                if (score > alpha) {
                    alpha = score;
                    extend_line(line, m, child);
                }
            }
            if (time_to_stop()) goto done;
            --quiets.count;
        }
    }

done:
    // Step 5. No legal move: mated (the score counts down one per ply from the root) or
    // stalemate.
    if (no_legal_move) return in_check() ? -mate_score : 0;
    return alpha;
}

int quiesce(int alpha, int beta, int mate_score) {
    // Step 1. Stand pat: the side to move may decline every capture, so the static score is
    // a lower bound.
    int stand = evaluate();
    if (stand >= beta) return beta;
    int best = alpha > stand ? alpha : stand;
    // A game keeps SearchReserve records free above it, which the captures of any real
    // position cannot use up; one set up with dozens of pieces could capture on past the top
    // of the stack, and there only the static score is left.
    if (stack_index() >= StackSize - 2) return best;

    // Step 2. Only legal captures and promotions that do not lose material, the best
    // exchange first. Without them the node neither sees mate nor stalemate.
    MoveList good;
    good.count = 0;
    legal_good_captures(good);
    // The list holds only legal moves, so none needs the legality test.
    while (good.count > 0) {
        Move m = pick_best_move(good);
        make_move(m);
        int score = -quiesce(-beta, -best, mate_score - 1);
        take_back();
        if (score >= beta) return beta;
        if (score > best) best = score;
        // The clock is read here too, though more rarely: in a position set up with many
        // queens the captures alone make a tree that would outlast any budget.
        if (SearchStopped == 1) return best;
        if (++QuiescenceMoves % QuiescenceClockInterval == 0 && time_to_stop()) return best;
        --good.count;
    }
    return best;
}

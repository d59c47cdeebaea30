// The strong search: principal variation search over the position stack with a transposition
// table, aspiration windows, null move, late move reductions and pruning, check extension and
// mate distance pruning, and a quiescence search that drops losing captures; iterative
// deepening for the engine's move and for the analysis.
#include "search/strong.h"

#include <algorithm>
#include <cassert>

#include "eval/eval.h"
#include "movegen/movegen.h"

namespace {

// The deepest ply a node may stand at, quiescence included: the game leaves SearchReserve (128)
// records above it, and a node there takes one more for a move or a legality test.
constexpr int PlyLimit = 96;
static_assert(PlyLimit + 2 < SearchReserve);

// Each thread of the search keeps what follows for itself.
//
// The key of every record from the root up, kept beside the position stack: a record's key is
// set when the move or pass that made it is made.
thread_local constinit std::array<std::uint64_t, StackSize> Keys{};

// Ordering: two killers a ply, a history counter per side and from-to pair.
thread_local constinit std::array<std::array<Move, 2>, PlyLimit + 1> Killers{};
thread_local constinit std::array<std::array<std::array<int, 64>, 64>, 2> History{};
constexpr int HistoryMax = 16384;

// The iteration in progress: its depth, and the best root move searched to the end with its
// score (0 when none has been yet), and its line.
thread_local constinit int RootDepth = 0;
thread_local constinit Move RootBest = 0;
thread_local constinit int RootScore = 0;
thread_local constinit int SelDepth  = 0; // the deepest ply the iteration has reached
thread_local constinit PrincipalVariation RootLine{};
// The static score of each node on the path (-Infinity in check): a side whose score has risen
// since its last move is improving, and is pruned less.
thread_local constinit std::array<int, PlyLimit + 1> StaticEvals{};
// The move a node leaves out while it asks whether its table move is singular (0: none).
thread_local constinit std::array<Move, PlyLimit + 1> Excluded{};
// A node may be searched deeper than its depth (in check, or for a singular move) while its line
// is shorter than twice the iteration's depth, so that no line grows without end.
bool may_extend(int ply) { return ply < 2 * RootDepth; }
thread_local constinit std::uint32_t QuiescenceNodes = 0;
constexpr std::uint32_t QuiescenceClockInterval      = 1024;

// Margins and counts of the pruning, in hundredths of a pawn and in plies.
constexpr int ReverseFutilityDepth = 6, ReverseFutilityMargin = 80;
constexpr int FutilityDepth = 3, FutilityBase = 100, FutilityPerPly = 90;
constexpr int LateMoveDepth = 4; // quiet moves tried at depth d: 3 + d * d, half when not improving
constexpr int NullMoveDepth = 3, NullMoveBase = 3, NullMoveDivisor = 200;
constexpr int ExchangePruneDepth = 3, ExchangePruneMargin = 100;
constexpr int QuietExchangeDepth = 7, QuietExchangeMargin = 60;
constexpr int DeltaMargin     = 200;
constexpr int SingularDepth = 8, SingularTableDepth = 3, SingularMarginPerPly = 2;
constexpr int AspirationDepth = 5, AspirationWindow = 20;

// Late move reductions: 0.75 + ln(depth) ln(moves) / 2.25 plies for a quiet move tried late,
// with ln from the series 2 (z + z^3/3 + z^5/5 + ...), z = (x - 1) / (x + 1).
constexpr double ln(double x) {
    const double z = (x - 1) / (x + 1);
    double sum = 0, power = z;
    for (int k = 1; k < 400; k += 2, power *= z * z) sum += power / k;
    return 2 * sum;
}
inline constexpr std::array<std::array<int, 64>, 64> Reductions = [] {
    std::array<double, 64> logs{};
    for (int i = 1; i < 64; ++i) logs[i] = ln(i);
    std::array<std::array<int, 64>, 64> table{};
    for (int depth = 1; depth < 64; ++depth)
        for (int moves = 1; moves < 64; ++moves)
            table[depth][moves] = int(0.75 + logs[depth] * logs[moves] / 2.25);
    return table;
}();
static_assert(Reductions[3][4] == 1 && Reductions[10][20] == 3);

// Order of the moves at a node: the table's move, captures that do not lose material (the most
// valuable victim first, then the cheapest capturer), killers, the other quiet moves by
// history, captures that lose material, under-promotions.
constexpr int TableMoveScore = 1 << 30, GoodCaptureScore = 1 << 28, KillerScore = 1 << 27;
constexpr int BadCaptureScore = -(1 << 28), UnderPromotionScore = -(1 << 29);

struct OrderedMoves {
    int count;
    Move moves[MaxGameMoves];
    int scores[MaxGameMoves];
};

constexpr bool is_quiet(Move m) { return !is_capture(m) && move_promotion(m) == 0; }

// Correction of the static score by pawn structure: how far finished searches of positions with
// the same pawns (as the side to move sees them) found the score from the evaluation's, a
// running average in sixteenths of a hundredth of a pawn. The pruning that trusts the static
// score and the quiescence search's stand-pat take the corrected score.
constexpr int CorrectionBits = 14, CorrectionGrain = 16, CorrectionLimit = 96 * CorrectionGrain;
thread_local constinit std::array<int, 1 << CorrectionBits> Corrections{};

int& correction_of(const Position& p) {
    const Bitboard own = pawns(p) & p.ownPieces, theirs = pawns(p) & ~p.ownPieces;
    const std::uint64_t mixed = own * 0x9E3779B97F4A7C15ull ^ theirs * 0xC2B2AE3D27D4EB4Full;
    return Corrections[mixed >> (64 - CorrectionBits)];
}

int corrected(const Position& p, int raw_eval) {
    return raw_eval + correction_of(p) / CorrectionGrain;
}

int tactical_score(const Position& p, Move m, int generator_score) {
    if (generator_score < 0) return UnderPromotionScore + generator_score;
    const int mover = moving_piece(m), victim = piece_type_at(p, move_to(m));
    if (ExchangeValue[victim] < ExchangeValue[mover] && move_promotion(m) == 0 &&
        exchange_gain(m) < 0)
        return BadCaptureScore + generator_score;
    return GoodCaptureScore + generator_score;
}

// Every pseudo-legal move of the position, or only the tactical ones, with its ordering score.
void order_moves(OrderedMoves& list, Move table_move, int ply, bool with_quiets) {
    const Position& p = *CurrentPosition;
    MoveList tactical;
    generate_captures(tactical);
    list.count = 0;
    for (std::uint32_t i = 0; i < tactical.count; ++i) {
        const MoveEntry& e        = tactical.entries[i];
        list.moves[list.count]    = e.move;
        list.scores[list.count++] = tactical_score(p, e.move, e.score);
    }
    if (with_quiets) {
        QuietList quiets;
        generate_quiet_moves(quiets);
        const auto& history = History[p.blackToMove];
        for (std::uint32_t i = 0; i < quiets.count; ++i) {
            const Move m              = quiets.moves[i];
            list.moves[list.count]    = m;
            list.scores[list.count++] = m == Killers[ply][0]   ? KillerScore + 1
                                        : m == Killers[ply][1] ? KillerScore
                                                               : history[move_from(m)][move_to(m)];
        }
    }
    if (table_move)
        for (int i = 0; i < list.count; ++i)
            if (list.moves[i] == table_move) list.scores[i] = TableMoveScore;
}

// Brings the best-scored move of those from index on to index and returns it.
Move pick_move(OrderedMoves& list, int index) {
    int best = index;
    for (int i = index + 1; i < list.count; ++i)
        if (list.scores[i] > list.scores[best]) best = i;
    std::swap(list.moves[index], list.moves[best]);
    std::swap(list.scores[index], list.scores[best]);
    return list.moves[index];
}

// A counter moves towards the bonus's sign by its size, the less the nearer it is to the limit.
void update_history(int& counter, int bonus) {
    counter += bonus - counter * (bonus < 0 ? -bonus : bonus) / HistoryMax;
}

// Makes m and keys the new record.
void make_keyed_move(Move m) {
    const int index = stack_index();
    make_move(m);
    Keys[index + 1] = key_after_move(Keys[index], PositionStack[index], m, *CurrentPosition);
    assert(Keys[index + 1] == position_key(*CurrentPosition));
}

// Passes the move to the opponent: the record turned to the other side, no en passant, and
// the reversible count restarted, so that no repetition is sought across the pass.
void make_null_move() {
    assert(CurrentPosition < &PositionStack[StackSize - 1]);
    const int index      = stack_index();
    Position& next       = PositionStack[index + 1];
    next                 = flipped(PositionStack[index]);
    next.epFile          = NoEpFile;
    next.reversibleCount = 0;
    next.repetitions     = 0;
    ++CurrentPosition;
    Keys[index + 1] = key_after_null_move(Keys[index], PositionStack[index], next);
    assert(Keys[index + 1] == position_key(next));
}

int quiescence(int alpha, int beta, int ply);
int search_node(int depth, int alpha, int beta, int ply, PrincipalVariation& line,
                bool null_allowed);

// Whether the side to move may pass: not in check, and not with only king and pawns, where
// passing is often the best move and zugzwang is the rule.
bool null_move_allowed() {
    const Position& p = *CurrentPosition;
    return !in_check() && (p.ownPieces & ~pawns(p) & ~kings(p)) != 0;
}

// Whether a stored result settles the window by itself: an exact score, or a bound on the side
// that cuts.
bool settles_window(const TableEntry& entry, int alpha, int beta) {
    const int bound = bound_of(entry);
    return bound == ExactBound || (bound == LowerBound && entry.score >= beta) ||
           (bound == UpperBound && entry.score <= alpha);
}

// Whether the side to move at ply, out of check, is improving: its static score has risen since
// its last move, or it was in check then, or it had none.
bool improving_at(int ply) {
    return ply < 2 || StaticEvals[ply - 2] == -Infinity || StaticEvals[ply] > StaticEvals[ply - 2];
}

// Step 4 of a node: pruning before any move, away from the principal line and out of check.
// True when the node is cut, with its score in cut (0 once the search is stopped).
bool cut_before_moves(int depth, int beta, int ply, int static_eval, bool improving,
                      bool null_allowed, int& cut) {
    // Reverse futility: so far above beta that a shallow search would not come down.
    if (depth <= ReverseFutilityDepth && beta > -MateBound && beta < MateBound &&
        static_eval - ReverseFutilityMargin * (depth - improving) >= beta) {
        cut = static_eval;
        return true;
    }
    // Null move: if passing still holds beta, a real move will too (zugzwang aside).
    if (!null_allowed || depth < NullMoveDepth || static_eval < beta || !null_move_allowed())
        return false;
    int reduction = NullMoveBase + depth / 4;
    reduction +=
        (static_eval - beta) / NullMoveDivisor < 3 ? (static_eval - beta) / NullMoveDivisor : 3;
    PrincipalVariation child;
    make_null_move();
    const int score = -search_node(depth - 1 - reduction, -beta, -beta + 1, ply + 1, child, false);
    take_back();
    if (SearchStopped == 1) {
        cut = 0;
        return true;
    }
    cut = score > MateBound ? beta : score;
    return score >= beta;
}

// What a node knows before its moves, for the steps that judge them.
struct NodeView {
    int depth, ply, staticEval;
    bool pv, improving;
    Bitboard checkers;
    Move excluded, extended; // the move left out, the move searched a ply deeper (0: none)
};

// Step 5: whether the table's move is singular, every other move searched at half the depth
// failing below a margin under its stored score; it is then searched a ply deeper, in extended.
// True when even without it the node holds beta (more than one move refutes): the node is cut,
// with its score in cut.
bool singular_test(int depth, int beta, int ply, const TableEntry& entry, Move& extended,
                   int& cut) {
    const int bound = bound_of(entry);
    if (depth < SingularDepth || !may_extend(ply) || entry.move == 0 ||
        entry.depth < depth - SingularTableDepth || !(bound & LowerBound) ||
        entry.score <= -MateBound || entry.score >= MateBound)
        return false;
    const int singular_beta = entry.score - SingularMarginPerPly * depth;
    PrincipalVariation child;
    Excluded[ply] = entry.move;
    const int score =
        search_node((depth - 1) / 2, singular_beta - 1, singular_beta, ply, child, false);
    Excluded[ply] = 0;
    if (SearchStopped == 1) {
        cut = 0;
        return true;
    }
    if (score < singular_beta) extended = entry.move;
    cut = singular_beta;
    return score >= singular_beta && singular_beta >= beta;
}

// What a finished search of the node found, against the static score it started from (the
// corrected one, for its bound, and the evaluation's own), teaches the correction; only a score
// beyond the static one on the side its bound allows, with no capture or promotion to explain it.
void learn_correction(const NodeView& node, int raw_eval, int searched, int alpha, int beta,
                      Move best) {
    if (searched <= -MateBound || searched >= MateBound || (best && !is_quiet(best))) return;
    if ((searched >= beta && searched <= node.staticEval) ||
        (searched <= alpha && searched >= node.staticEval))
        return;
    const int weight = std::min(node.depth + 1, 16);
    int& entry       = correction_of(*CurrentPosition);
    const int target = std::clamp((searched - raw_eval) * CorrectionGrain, -CorrectionLimit,
                                  CorrectionLimit);
    entry = std::clamp((entry * (256 - weight) + target * weight) / 256, -CorrectionLimit,
                       CorrectionLimit);
}

// Step 6: whether a late move is not worth a search: a late quiet move near the horizon (fewer
// when not improving), a quiet move that cannot bring the score up to alpha or that loses the
// piece, a capture that loses too much. (A move that gives check is searched all the same.)
bool not_worth_search(const NodeView& node, Move m, int order_score, int alpha, int quiets_tried) {
    const int depth = node.depth;
    if (!is_quiet(m))
        return depth <= ExchangePruneDepth && order_score < 0 &&
               exchange_gain(m) < -ExchangePruneMargin * depth;
    const int late_moves = node.improving ? 3 + depth * depth : (3 + depth * depth) / 2;
    return (depth <= LateMoveDepth && quiets_tried >= late_moves) ||
           (depth <= FutilityDepth &&
            node.staticEval + FutilityBase + FutilityPerPly * depth <= alpha) ||
           (depth <= QuietExchangeDepth && exchange_gain(m) < -QuietExchangeMargin * depth);
}

// Step 7: the reduction of a late quiet move that neither gives nor escapes check, less for
// the principal line, killers and a good history, more when the node is not improving.
int late_reduction(const NodeView& node, int legal, int order_score) {
    const int depth = node.depth;
    int reduction   = Reductions[depth < 63 ? depth : 63][legal < 63 ? legal : 63];
    if (node.pv) --reduction;
    if (!node.improving) ++reduction;
    if (order_score >= KillerScore)
        --reduction;
    else
        reduction -= order_score / (HistoryMax / 2);
    if (reduction > depth - 2) reduction = depth - 2;
    return reduction < 0 ? 0 : reduction;
}

constexpr int MaxTriedQuiets = 64; // the quiet moves of a node the history hears of

// Step 8: a quiet move that refutes teaches the killers and the history; the quiet moves tried
// before it (those kept in tried) lose what it gains.
void reward_refutation(Move m, int depth, int ply, const Move* tried, int quiets_tried) {
    insert_killer(Killers[ply], m);
    const int bonus = depth * depth < 1200 ? depth * depth : 1200;
    auto& history   = History[CurrentPosition->blackToMove];
    const int n     = quiets_tried < MaxTriedQuiets ? quiets_tried : MaxTriedQuiets;
    for (int j = 0; j < n - 1; ++j)
        update_history(history[move_from(tried[j])][move_to(tried[j])], -bonus);
    update_history(history[move_from(m)][move_to(m)], bonus);
}

// Step 7. Principal variation search: the first move with the whole window, the others with a
// null window to prove them worse, reduced when late and quiet, and a move that proves better
// searched again in full. A negative reduction is an extension.
int principal_variation_search(const NodeView& node, int legal, int reduction, int alpha, int beta,
                               PrincipalVariation& child) {
    const int ply = node.ply, full = node.depth - 1 - (reduction < 0 ? reduction : 0);
    if (legal == 1) return -search_node(full, -beta, -alpha, ply + 1, child, true);
    int score = -search_node(node.depth - 1 - reduction, -alpha - 1, -alpha, ply + 1, child, true);
    if (score > alpha && reduction > 0)
        score = -search_node(full, -alpha - 1, -alpha, ply + 1, child, true);
    if (score > alpha && score < beta)
        score = -search_node(full, -beta, -alpha, ply + 1, child, true);
    return score;
}

// Keeps the first MaxTriedQuiets quiet moves a node has tried, for the history, and counts them
// all.
void remember_quiet(Move* tried, int& quiets_tried, Move m) {
    if (quiets_tried < MaxTriedQuiets) tried[quiets_tried] = m;
    ++quiets_tried;
}

// Steps 5 to 9 of a node: its moves, best first, and what the best of them teaches the table.
int search_moves(const NodeView& node, int alpha, int beta, Move table_move, std::uint64_t key,
                 PrincipalVariation& line) {
    const int depth = node.depth, ply = node.ply;
    const bool root = ply == 0;
    OrderedMoves list;
    order_moves(list, table_move, ply, true);
    const KingSafety ks = king_safety();
    const int old_alpha = alpha;
    int best = -Infinity, legal = 0, quiets_tried = 0;
    Move best_move = 0, tried[MaxTriedQuiets];
    PrincipalVariation child;
    for (int i = 0; i < list.count; ++i) {
        const Move m = pick_move(list, i);
        if (root && RootMovesLimited && !root_move_searched(m)) continue;
        if (m == node.excluded || !move_is_legal(m, ks)) continue;
        ++legal;
        const bool quiet = is_quiet(m);
        const bool prune = !root && !node.checkers && best > -MateBound && !node.pv &&
                           not_worth_search(node, m, list.scores[i], alpha, quiets_tried);
        make_keyed_move(m);
        const bool gives_check = in_check() != 0;
        if (prune && !gives_check) {
            take_back();
            continue;
        }
        const int reduction = m == node.extended ? -1
                              : legal > 1 && depth >= 3 && quiet && !node.checkers && !gives_check
                                  ? late_reduction(node, legal, list.scores[i])
                                  : 0;
        const int score = principal_variation_search(node, legal, reduction, alpha, beta, child);
        take_back();
        if (SearchStopped == 1) return 0;
        if (quiet) remember_quiet(tried, quiets_tried, m);

        if (score > best) {
            best = score;
            if (score > alpha) {
                best_move = m;
                extend_line(line, m, child);
                if (root) RootBest = m, RootScore = score;
                if (score >= beta) {
                    if (quiet) reward_refutation(m, depth, ply, tried, quiets_tried);
                    break;
                }
                alpha = score;
            }
        }
        if (time_to_stop()) return 0;
    }

    // Step 9. No legal move: mated (MateScore less one a ply from the root) or stalemate; none
    // but the one left out: below the window.
    if (legal == 0) return node.excluded ? alpha : node.checkers ? -MateScore + ply : 0;
    // A root that passed over some of its moves, or a node that left one out, has no result of
    // its own to keep.
    if ((root && RootMovesLimited) || node.excluded) return best;
    const Bound bound = best >= beta ? LowerBound : best > old_alpha ? ExactBound : UpperBound;
    store_table(key, depth, best, bound, best_move, ply);
    return best;
}

// Returns the score of the node within the window (fail-soft: a bound outside it when it
// fails), with its line; 0 and no line once the search is stopped.
int search_node(int depth, int alpha, int beta, int ply, PrincipalVariation& line,
                bool null_allowed) {
    line.length       = 0;
    const Position& p = *CurrentPosition;
    const bool root = ply == 0, pv = beta - alpha > 1;
    const Bitboard checkers = in_check();

    // Step 1. Draws by repetition and by the fifty-move rule. A position met once before, in
    // the game or on the path, already counts as a draw here: the side that could avoid the
    // repetition would have done so, and the cycle is cut at once.
    if (!root) {
        if (p.repetitions >= 1 || fifty_move_draw(p)) return 0;
        // Mate distance pruning: no line from here can beat a mate already found nearer the root.
        if (alpha < -MateScore + ply) alpha = -MateScore + ply;
        if (beta > MateScore - ply - 1) beta = MateScore - ply - 1;
        if (alpha >= beta) return alpha;
    }
    if (ply >= PlyLimit) return strong_evaluate(*CurrentPosition);
    if (ply > SelDepth) SelDepth = ply;

    // Step 2. Check extension: a side in check is searched a ply deeper (while the line is not
    // more than twice the iteration's depth), so the horizon never falls inside a check.
    if (checkers && may_extend(ply)) ++depth;
    if (depth <= 0) return quiescence(alpha, beta, ply);

    // Step 3. The table: its move is tried first, and away from the principal line a result
    // of enough depth whose bound decides the window is taken as it is.
    const std::uint64_t key = Keys[stack_index()];
    const Move excluded = Excluded[ply];
    TableEntry entry;
    Move table_move = 0;
    const bool found = probe_table(key, ply, entry);
    if (found) {
        table_move = entry.move;
        if (!pv && !excluded && entry.depth >= depth && settles_window(entry, alpha, beta))
            return entry.score;
    }

    // Step 4. Pruning before any move.
    const int raw_eval    = checkers ? -Infinity : strong_evaluate(p);
    const int static_eval = checkers ? -Infinity : corrected(p, raw_eval);
    StaticEvals[ply]      = static_eval;
    const bool improving  = !checkers && improving_at(ply);
    int cut;
    if (!pv && !checkers && !excluded &&
        cut_before_moves(depth, beta, ply, static_eval, improving, null_allowed, cut))
        return cut;
    // Without a move from the table a deep node is searched a ply shallower: it is rarely one
    // that matters, and the next iteration finds it with the move.
    if (table_move == 0 && depth >= 4) --depth;
    Move extended = 0;
    if (found && !root && !excluded && singular_test(depth, beta, ply, entry, extended, cut))
        return cut;

    const NodeView node{depth, ply, static_eval, pv, improving, checkers, excluded, extended};
    const int best = search_moves(node, alpha, beta, table_move, key, line);
    if (!root && !checkers && !excluded && SearchStopped != 1)
        learn_correction(node, raw_eval, best, alpha, beta, best > alpha ? line.moves[0] : 0);
    return best;
}

// Captures and promotions only, from a static score the side to move may stand on; in check,
// every evasion, and mate when there is none.
int quiescence(int alpha, int beta, int ply) {
    const Position& p = *CurrentPosition;
    if (p.repetitions >= 1) return 0;
    if (ply >= PlyLimit) return strong_evaluate(*CurrentPosition);
    if (++QuiescenceNodes % QuiescenceClockInterval == 0 && time_to_stop()) return 0;
    if (ply > SelDepth) SelDepth = ply;

    const std::uint64_t key = Keys[stack_index()];
    TableEntry entry;
    Move table_move = 0;
    if (probe_table(key, ply, entry)) {
        table_move = entry.move;
        if (settles_window(entry, alpha, beta)) return entry.score;
    }

    // Step 1. Stand pat: out of check the side to move may decline every capture.
    const Bitboard checkers = in_check();
    const int old_alpha     = alpha;
    int best = -MateScore + ply, stand = -Infinity;
    if (!checkers) {
        stand = corrected(p, strong_evaluate(p));
        if (stand >= beta) return stand;
        if (stand > alpha) alpha = stand;
        best = stand;
    }

    // Step 2. The moves: captures that do not lose material, and the queen promotions;
    // captures that cannot lift the score near alpha even when they win their victim are left.
    OrderedMoves list;
    order_moves(list, table_move, ply, checkers != 0);
    const KingSafety ks = king_safety();
    Move best_move      = 0;
    for (int i = 0; i < list.count; ++i) {
        const Move m = pick_move(list, i);
        if (!checkers) {
            if (list.scores[i] < 0) break; // the losing captures and under-promotions are last
            if (move_promotion(m) == 0 &&
                stand + ExchangeValue[piece_type_at(p, move_to(m))] + DeltaMargin <= alpha)
                continue;
        }
        if (!move_is_legal(m, ks)) continue;
        make_keyed_move(m);
        const int score = -quiescence(-beta, -alpha, ply + 1);
        take_back();
        if (SearchStopped == 1) return 0;
        if (score > best) {
            best = score;
            if (score > alpha) {
                best_move = m;
                if (score >= beta) break;
                alpha = score;
            }
        }
    }
    const Bound bound = best >= beta ? LowerBound : best > old_alpha ? ExactBound : UpperBound;
    store_table(key, 0, best, bound, best_move, ply);
    return best;
}

// Deepens the root from one ply, each iteration after the fourth in a window around the last
// score that widens whenever the score falls outside it.
int search_iteration(int depth, int previous, PrincipalVariation& line) {
    RootDepth          = depth;
    IterationNodeCount = 0;
    SelDepth           = 0;
    int delta = AspirationWindow, alpha = -Infinity, beta = Infinity;
    if (depth >= AspirationDepth && previous > -MateBound && previous < MateBound) {
        alpha = previous - delta;
        beta  = previous + delta;
    }
    for (;;) {
        const int score = search_node(depth, alpha, beta, 0, line, false);
        if (SearchStopped == 1) return score;
        if (score <= alpha) {
            beta  = (alpha + beta) / 2;
            alpha = score - delta > -Infinity ? score - delta : -Infinity;
        } else if (score >= beta) {
            beta = score + delta < Infinity ? score + delta : Infinity;
        } else {
            return score;
        }
        delta += delta / 2;
    }
}

// A thread's start of a search: the root's key, and the ordering of its last search kept at
// half weight.
void prepare_thread() {
    Keys[stack_index()] = position_key(*CurrentPosition);
    for (auto& pair : Killers) pair = {0, 0};
    for (auto& side : History)
        for (auto& row : side)
            for (int& counter : row) counter /= 2;
    QuiescenceNodes = 0;
    RootScore       = 0;
}

// Time management of the engine's move, when its budget binds (a clock rather than a fixed
// time per move): the search is cut at a hard limit, a multiple of the budget within a share of
// the clock, and a new iteration starts only while the time spent is below a soft limit, a
// share of the budget stretched when the best move has just changed or the score has dropped,
// and shortened when one move has held for many iterations.
constexpr int SoftPercent = 60, HardFactor = 3, ClockPercent = 25;
constexpr int ChangedPercent = 150, DroppedPercent = 130, DroppedBy = 30;
constexpr int StableIterations = 6, StablePercent = 60;
struct TimeKeeper {
    bool managed;        // whether the soft limit applies
    std::int32_t soft;   // hundredths of a second
    std::uint32_t start; // from clock_ms
    Move lastBest;
    int lastScore, stable; // iterations the best move has held
};
TimeKeeper Time{};

// Time is managed for the engine's move (not for an analysis) when it searches one line and its
// budget is less than the fixed time per move.
void start_time(const SearchLimits& limits, bool engine_move) {
    Time         = {};
    Time.managed = engine_move && limits.lines == 1 && limits.budget < limits.moveTime;
    Time.start   = limits.startTime;
    if (!Time.managed) return;
    Time.soft         = std::int32_t(std::int64_t(limits.budget) * SoftPercent / 100);
    SearchLimits hard = limits;
    hard.budget       = std::int32_t(std::min(std::int64_t(limits.budget) * HardFactor,
                                              std::int64_t(limits.clockLeft) * ClockPercent / 100));
    if (hard.budget < limits.budget) hard.budget = limits.budget;
    restart_clock(hard);
}

// Whether the time spent, after the iteration to depth that found score, ends the deepening.
bool out_of_time(int score, int depth) {
    if (!Time.managed) return false;
    Time.stable = RootBest == Time.lastBest ? Time.stable + 1 : 0;
    int percent = Time.stable == 0 && depth > 1 ? ChangedPercent : 100;
    if (depth > 1 && score < Time.lastScore - DroppedBy) percent = percent * DroppedPercent / 100;
    if (Time.stable >= StableIterations) percent = percent * StablePercent / 100;
    Time.lastBest              = RootBest;
    Time.lastScore             = score;
    const std::int64_t elapsed = (clock_ms() - Time.start) / 10;
    return elapsed >= std::int64_t(Time.soft) * percent / 100;
}

// The clock and its time management, a new generation in the table, the thread's start, and
// the helpers woken when the search looks for one best line.
void start_strong_search(const SearchLimits& limits, const SearchHooks& hooks, bool engine_move) {
    start_clock(limits, hooks);
    start_time(limits, engine_move);
    age_table();
    prepare_thread();
    if (limits.lines == 1) start_helpers(limits.maxDepth);
}

void start_move(const SearchLimits& limits, const SearchHooks& hooks) {
    start_strong_search(limits, hooks, true);
}

void start_analysis(const SearchLimits& limits, const SearchHooks& hooks) {
    start_strong_search(limits, hooks, false);
}

// The move is the best root move searched to the end, which a stopped iteration may have
// changed; the score and depth are those of the last finished iteration, or of the stopped one
// when none finished. A stopped iteration is shown in an analysis when it had a root move
// searched to the end.
Iterated strong_iteration(int depth, SearchResult& result) {
    RootBest        = 0;
    const int score = search_iteration(depth, result.score, RootLine);
    // The line's second move is the reply expected to the best move while the line starts with it.
    const Move reply = RootLine.length > 1 && RootLine.moves[0] == RootBest ? RootLine.moves[1] : 0;
    if (SearchStopped == 1) {
        if (result.depth == 0) {
            result = {RootBest, RootScore, depth, reply};
        } else if (RootBest != 0) {
            result.move  = RootBest;
            result.reply = reply;
        }
        return {false, RootBest != 0, RootScore, &RootLine, SelDepth, table_permille()};
    }
    result = {RootBest, score, depth, reply};
    return {true, true, score, &RootLine, SelDepth, table_permille()};
}

// A mate the iteration has seen all the way: its distance in plies is within the depth. A
// mate score beyond the depth comes from the table and may still be beaten.
bool mate_seen(int score, int depth) {
    return (score > MateBound && MateScore - score <= depth) ||
           (score < -MateBound && MateScore + score <= depth);
}

// The deepening ends at a mate seen all the way, or when the time management says so.
bool strong_ends(int score, int depth) {
    return mate_seen(score, depth) || out_of_time(score, depth);
}

// The strong style deepens from one ply; its move manages its time, and its analysis stops
// with the clock.
constexpr SearchStyle StrongMove{1, start_move, strong_iteration, strong_ends, false};
constexpr SearchStyle StrongAnalysis{1, start_analysis, strong_iteration, mate_seen, false};

} // namespace

SearchResult strong_search_move(const SearchLimits& limits, const SearchHooks& hooks) {
    const SearchResult result = deepen(StrongMove, limits, hooks);
    stop_helpers();
    return result;
}

void strong_search_analysis(const SearchLimits& limits, const SearchHooks& hooks) {
    deepen_analysis(StrongAnalysis, limits, hooks);
    stop_helpers();
}

// A helper deepens as the main thread does, without reports, every other helper a ply ahead,
// until it is told to stop or has searched to max_depth.
void helper_search(int id, int max_depth) {
    SearchStopped = 0;
    clear_excluded_root_moves();
    prepare_thread();
    for (int depth = 1 + id % 2, score = 0; depth <= max_depth; ++depth) {
        RootBest        = 0;
        const int found = search_iteration(depth, score, RootLine);
        if (SearchStopped == 1) return;
        score = found;
    }
}

// The swap list (a known method): gain[d] is what the side making the d-th capture has won if
// the exchange stops after it; folding the list from its end lets each side stop where that
// pays. Sliders behind a capturer join as it leaves the line.
int exchange_gain(Move m) {
    const Position& p = *CurrentPosition;
    const Square from = move_from(m), to = move_to(m);
    Bitboard occ = occupied(p) ^ bit(from);
    int gain[34], d = 0;
    int on_square = move_promotion(m) ? move_promotion(m) : moving_piece(m);
    gain[0]       = ExchangeValue[piece_type_at(p, to)];
    if (move_promotion(m)) gain[0] += ExchangeValue[on_square] - ExchangeValue[Pawn];
    if (move_flags(m) == EnPassant) {
        gain[0] = ExchangeValue[Pawn];
        occ ^= bit(to - 8);
    }
    const Bitboard diagonal = diagonal_sliders(p), straight = straight_sliders(p);
    Bitboard attackers = (KnightAttacks[to] & knights(p)) | (KingAttacks[to] & kings(p)) |
                         (bishop_lookup(to, occ) & diagonal) | (rook_lookup(to, occ) & straight) |
                         (opponent_pawn_attacks(bit(to)) & pawns(p) & p.ownPieces) |
                         (pawn_attacks(bit(to)) & pawns(p) & ~p.ownPieces);
    Bitboard side = ~p.ownPieces; // the opponent takes back first
    for (;;) {
        attackers &= occ;
        const Bitboard mine = attackers & side;
        if (!mine || d >= 32) break;
        int type = Pawn;
        while (!(mine & pieces_of_type(p, type))) ++type;
        ++d;
        gain[d]   = ExchangeValue[on_square] - gain[d - 1];
        on_square = type;
        occ ^= bit(lsb(mine & pieces_of_type(p, type)));
        attackers |= (bishop_lookup(to, occ) & diagonal) | (rook_lookup(to, occ) & straight);
        side = ~side;
    }
    for (; d > 0; --d) gain[d - 1] = -(-gain[d - 1] > gain[d] ? -gain[d - 1] : gain[d]);
    return gain[0];
}

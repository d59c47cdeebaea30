// Search: alpha-beta and quiescence, move ordering, iterative deepening with the time budget,
// static exchange evaluation; beside it the strong style, with its position keys and
// transposition table. A search is given its limits as values and reports through the hooks it
// is handed; it prints nothing, reads no input and plays no move.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "board/board.h"

constexpr int MateScore     = 30000;
constexpr int MateBound     = 28999; // beyond +-MateBound a score announces a mate
constexpr int Infinity      = 99999;
constexpr int MaxPly        = 32;    // the deepest iteration, and the most "sd" accepts
constexpr int StoredPvMoves = 12;

// A line of play: its true length, and its first twelve moves.
struct PrincipalVariation {
    std::int32_t length;
    Move moves[StoredPvMoves];
};

// The line through move m: m, then the child's line, keeping the child's true length.
inline void extend_line(PrincipalVariation& line, Move m, const PrincipalVariation& child) {
    line.moves[0] = m;
    int stored    = child.length < StoredPvMoves - 1 ? child.length : StoredPvMoves - 1;
    for (int i = 0; i < stored; ++i) line.moves[i + 1] = child.moves[i];
    line.length = child.length + 1;
}

// Milliseconds from the time of day, wrapping as unsigned 32 bits.
std::uint32_t clock_ms();

// What one search of the engine's move, or one analysis, is given.
struct SearchLimits {
    int maxDepth;            // the deepest iteration, 2 to MaxPly
    std::int32_t moveTime;   // the fixed limit per move, hundredths of a second
    std::int32_t budget;     // the time allocated to this move, hundredths of a second
    std::uint32_t startTime; // when the move's clock started, from clock_ms
    bool post;               // report the iterations as they finish
};

// An iteration as it is reported: the one just finished, or in an analysis also the one the
// clock stopped. A mate score says the deepening ends with it.
struct Iteration {
    int depth;
    int score;
    std::int32_t elapsed; // milliseconds since startTime
    std::uint32_t nodes;  // moves made by the iteration, illegal tries and exchange trials included
    const PrincipalVariation* line;
};

// How a search talks to whoever started it. Any hook may be left empty.
struct SearchHooks {
    void* context = nullptr;
    void (*report)(void* context, const Iteration& iteration) = nullptr;
    // Asked now and then while searching: true stops the search at once.
    bool (*interrupted)(void* context) = nullptr;
    // Asked by an analysis after each iteration: true ends it.
    bool (*analysis_ends)(void* context) = nullptr;
};

// The move to play (0 when the side to move has none) and the score and depth of the last
// iteration, finished or stopped: a mate score there is the mate the deepening ended on.
struct SearchResult {
    Move move;
    int score;
    int depth;
};

// The engine's move: deepens from two plies to maxDepth, ending early at a mate score or when
// the time runs out, and answers with the move of the last finished iteration. When no
// iteration finished, the stopped one's first move if it had one, else the first legal move.
SearchResult search_move(const SearchLimits& limits, const SearchHooks& hooks);
// An analysis of the position on the board: the same deepening, playing nothing, reporting
// every iteration; it ends at a mate, at maxDepth, on the clock, or when the hook says so.
void search_analysis(const SearchLimits& limits, const SearchHooks& hooks);

// The budget of a move, spread over the moves still expected: SuddenDeath of them, five fewer
// when ahead on the clock, five more when behind or short of time without a real increment; the
// increment is added when it is spare. Times in hundredths of a second.
struct TimeBudget {
    int moves;
    std::int32_t allocated;
};
TimeBudget allocate_time(std::int32_t engineTime, std::int32_t opponentTime,
                         std::int32_t increment, int suddenDeath);

// The fixed-depth search itself, for callers that deepen by hand: start_search sets the limits
// and clears the tables as a move's search does; each iteration then calls search at the root.
void start_search(const SearchLimits& limits, const SearchHooks& hooks);
void start_iteration();
int search(std::uint32_t depth, int alpha, int beta, PrincipalVariation& line, int mate_score);
int quiesce(int alpha, int beta, int mate_score);
extern PrincipalVariation RootVariation;
extern std::int32_t SearchStopped; // 1 once the current search must end
// Whether the search started by start_search must end: its time is up, or its interruption hook
// (asked every 2048th time) says so; sets SearchStopped.
bool time_to_stop();

// Move ordering: two killers per remaining depth (slot 0 unused), a counter per from-to pair.
extern std::array<std::array<Move, 2>, MaxPly + 1> KillerMoves;
extern std::array<std::array<std::int32_t, 64>, 64> HistoryTable;
int killer_to_end(QuietList& list, std::uint32_t depth);
void history_to_end(QuietList& list);
void store_killer(std::uint32_t depth, Move m);
void clear_killers();
void clear_history();

// Static exchange evaluation.
int see(Move m);
int see_square(Square sq);
MoveEntry see_find_recapture(Square sq);
void legal_good_captures(MoveList& list);

// The strong style: principal variation search with a transposition table, aspiration windows,
// null move, late move reductions and pruning, check extension, and its own evaluation. It takes
// the same limits and hooks and gives the same result as search_move and search_analysis; the
// table must have been allocated.
SearchResult strong_search_move(const SearchLimits& limits, const SearchHooks& hooks);
void strong_search_analysis(const SearchLimits& limits, const SearchHooks& hooks);
// Whether the strong search may pass in the current position: not in check, and not with only
// king and pawns, where passing is often the best move and zugzwang is the rule.
bool null_move_allowed();
// The material the side to move wins with the capture or promotion m when both sides take back
// on its square with their cheapest piece for as long as that pays (a swap list on the
// bitboards; pins are not seen).
int exchange_gain(Move m);

// Position keys: Zobrist keys of the pieces on the board as White sees it, the castling rights,
// the en-passant file and the side to move. The key after a move or a pass is found from the key
// before it and the two records.
std::uint64_t position_key(const Position& p);
std::uint64_t key_after_move(std::uint64_t key, const Position& before, Move m,
                             const Position& after);
std::uint64_t key_after_null_move(std::uint64_t key, const Position& before, const Position& after);

// Transposition table: TableBuckets buckets of TableBucketSize entries (16 MiB), allocated once,
// by allocate_table, when the strong style is first chosen. A bucket is found from the key's low
// bits and an entry by its whole key. Scores are given and returned relative to the root, ply
// plies above the node; mate scores are kept relative to the node.
enum Bound : std::uint8_t { NoBound = 0, UpperBound = 1, LowerBound = 2, ExactBound = 3 };
struct TableEntry {
    std::uint64_t key;
    Move move; // the best or refuting move, 0 when none was found
    std::int16_t score;
    std::uint8_t depth;       // remaining depth of the search that stored it
    std::uint8_t boundAndAge; // Bound in bits 0-1, the search's generation in bits 2-7
};
static_assert(sizeof(TableEntry) == 16);
constexpr int TableBucketSize      = 4; // 64 bytes, one cache line
constexpr std::size_t TableBuckets = 1 << 18;
bool allocate_table(); // false when the memory is not to be had
void clear_table();
void age_table(); // a new search: entries of earlier ones are replaced first
bool probe_table(std::uint64_t key, int ply, TableEntry& found);
void store_table(std::uint64_t key, int depth, int score, Bound bound, Move move, int ply);

// Search: what both styles share (the limits and hooks a search is given, its result, the clock
// and its stop test, the deepening driver, the time budget, the killer insert and the exchange
// values), then the classic style: alpha-beta and quiescence, move ordering, static exchange
// evaluation. The strong style is declared in search/strong.h. A search is given its limits as
// values and reports through the hooks it is handed; it prints nothing, reads no input and
// plays no move.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "board/board.h"

constexpr int MateScore     = 30000;
constexpr int MateBound     = 28999; // beyond +-MateBound a score announces a mate
constexpr int Infinity      = 99999;
constexpr int MaxPly        = 32; // the deepest iteration, and the most "sd" accepts
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

// Milliseconds from a monotonic clock, wrapping as unsigned 32 bits.
std::uint32_t clock_ms();

// What one search of the engine's move, or one analysis, is given. The first five are what the
// settings and the clocks give every front end; the others are what a UCI "go" may add.
constexpr int MaxRootMoves = 256; // more than any position has
constexpr int MaxLines     = 64;  // the most best lines one search reports
struct SearchLimits {
    int maxDepth;                       // the deepest iteration, 2 to MaxPly
    std::int32_t moveTime;              // the fixed limit per move, hundredths of a second
    std::int32_t budget;                // the time allocated to this move, hundredths of a second
    std::uint32_t startTime;            // when the move's clock started, from clock_ms
    bool post;                          // report the iterations as they finish
    std::int32_t deadline  = -1;        // milliseconds after startTime; -1: none
    std::uint64_t nodes    = 0;         // moves made by all iterations together; 0: no limit
    std::int32_t clockLeft = INT32_MAX; // the engine's clock, hundredths (the strong style's
                                        // time management keeps within a share of it)
    int lines         = 1; // how many best root moves each iteration reports, 1 to MaxLines
    int rootMoveCount = 0; // when not 0, only these root moves are searched
    Move rootMoves[MaxRootMoves] = {};
};

// An iteration as it is reported: the one just finished, or in an analysis also the one the
// clock stopped. A mate score says the deepening ends with it.
struct Iteration {
    int depth;
    int score;
    std::int32_t elapsed; // milliseconds since startTime
    std::uint32_t nodes;  // moves made by the iteration, illegal tries and exchange trials included
    const PrincipalVariation* line;
    int number   = 1;  // which of the best lines, from 1
    int seldepth = 0;  // the deepest ply reached, or 0 where the style does not keep it
    int hashfull = -1; // permille of the table in use by this search, or -1 without a table
    std::uint64_t searchNodes = 0; // moves made by the whole search so far
};

// How a search talks to whoever started it. Any hook may be left empty.
struct SearchHooks {
    void* context                                             = nullptr;
    void (*report)(void* context, const Iteration& iteration) = nullptr;
    // Asked now and then while searching: true stops the search at once.
    bool (*interrupted)(void* context) = nullptr;
    // Asked by an analysis after each iteration: true ends it.
    bool (*analysis_ends)(void* context) = nullptr;
};

// The move to play (0 when the side to move has none) and the score and depth of the last
// iteration, finished or stopped: a mate score there is the mate the deepening ended on. The
// reply expected to it, the second move of its line, or 0.
struct SearchResult {
    Move move;
    int score;
    int depth;
    Move reply = 0;
};

// The clock and the stop signal of the search in progress, for both styles. start_clock takes
// the limits and hooks; time_to_stop says whether the search must end: its time or its nodes
// are used up, or its interruption hook (asked every few thousand moves) says so; it sets
// SearchStopped.
extern thread_local constinit std::int32_t SearchStopped; // 1 once the search must end
void start_clock(const SearchLimits& limits, const SearchHooks& hooks);
bool time_to_stop();
// The threads that help the strong style's search: they have no clock and no hooks of their
// own, and stop when told to by the thread that started the search.
extern thread_local constinit bool IsHelperThread;
extern std::atomic<bool> StopHelpers;
// The time limits of the search in progress replaced by those of limits (a ponder search that
// becomes the engine's own when the expected move is played).
void restart_clock(const SearchLimits& limits);
// Moves made by the iterations that have ended, for the node limit.
extern std::uint64_t FinishedNodes;

// The root moves an iteration searches: the limits' list when it has one, less the moves of the
// lines already found at this depth. Both styles ask at their root while RootMovesLimited.
extern thread_local constinit bool RootMovesLimited;
bool root_move_searched(Move m);
void exclude_root_move(Move m);
void clear_excluded_root_moves();

// The deepening driver both styles run: the style's iteration at each depth from its first,
// reported as it finishes, until the last depth, a mate, the clock or the hooks end it.
struct Iterated {
    bool finished; // false when the search was stopped inside the iteration
    bool shown;    // whether an analysis reports it although it was stopped
    int score;     // the score reported
    const PrincipalVariation* line;
    int seldepth; // as Iteration has them
    int hashfull;
};
struct SearchStyle {
    int firstDepth;
    void (*start)(const SearchLimits& limits, const SearchHooks& hooks);
    // Searches the root to depth and brings result (the move to play, the score and the depth
    // it stands on, the reply expected) up to date by the style's own rules.
    Iterated (*iterate)(int depth, SearchResult& result);
    // Whether the iteration's score ends the deepening: the mate it announces is found.
    bool (*ends)(int score, int depth);
    // Whether an analysis still waits for its line between iterations after the clock stopped.
    bool pollsWhenStopped;
};
// The engine's move: the move of the result, or the first legal move when the style gave none.
SearchResult deepen(const SearchStyle& style, const SearchLimits& limits, const SearchHooks& hooks);
void deepen_analysis(const SearchStyle& style, const SearchLimits& limits,
                     const SearchHooks& hooks);

// The budget of a move, spread over the moves still expected: SuddenDeath of them, five fewer
// when ahead on the clock, five more when behind or short of time without a real increment; the
// increment is added when it is spare. Times in hundredths of a second.
struct TimeBudget {
    int moves;
    std::int32_t allocated;
};
TimeBudget allocate_time(std::int32_t engineTime, std::int32_t opponentTime, std::int32_t increment,
                         int suddenDeath);

// What both styles' ordering and exchanges share: two killer slots, where a new killer becomes
// the first and the old first the second (storing the first again changes nothing), and the
// value of the piece on a square, the king's larger than any exchange so that taking it
// outweighs everything else.
inline void insert_killer(std::array<Move, 2>& killers, Move m) {
    if (killers[0] == m) return;
    killers[1] = killers[0];
    killers[0] = m;
}
inline constexpr int ExchangeValue[7] = {0, 100, 300, 300, 500, 950, 10000};

// The fifty-move rule in the search: the position on the board, p, is a draw after 100
// reversible half-moves, except that at exactly 100 a side in check plays on, so a mate on that
// move still counts.
inline bool fifty_move_draw(const Position& p) {
    return p.reversibleCount > 100 || (p.reversibleCount == 100 && !in_check());
}

// The classic style. The engine's move: deepens from two plies to maxDepth, ending early at a
// mate score or when the time runs out, and answers with the move of the last finished
// iteration; when no iteration finished, the stopped one's first move if it had one.
SearchResult search_move(const SearchLimits& limits, const SearchHooks& hooks);
// An analysis of the position on the board: the same deepening, playing nothing, reporting
// every iteration; it ends at a mate, at maxDepth, on the clock, or when the hook says so.
void search_analysis(const SearchLimits& limits, const SearchHooks& hooks);

// The fixed-depth search itself, for callers that deepen by hand: start_search sets the limits
// and clears the tables as a move's search does; each iteration then calls search at the root.
void start_search(const SearchLimits& limits, const SearchHooks& hooks);
void start_iteration();
int search(std::uint32_t depth, int alpha, int beta, PrincipalVariation& line, int mate_score);
int quiesce(int alpha, int beta, int mate_score);
extern PrincipalVariation RootVariation;

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

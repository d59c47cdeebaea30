// The strong style: principal variation search with a transposition table, aspiration windows,
// null move, late move reductions and pruning, check extension, and its own evaluation, run by
// the deepening driver both styles share; its position keys and its table.
#pragma once

#include <cstddef>
#include <cstdint>

#include "search/search.h"

// The same limits and hooks, and the same result, as search_move and search_analysis; the
// table must have been allocated.
SearchResult strong_search_move(const SearchLimits& limits, const SearchHooks& hooks);
void strong_search_analysis(const SearchLimits& limits, const SearchHooks& hooks);

// Lazy SMP: the number of helper threads that search beside the one that starts a search, each
// on its own copy of the game with its own keys, killers and history, sharing the table; they
// are created here, when their number changes, and wait between searches. The starting thread
// alone reads the clock and the hooks, decides when all stop and which move is played; a search
// of several best lines runs on it alone.
void set_helper_threads(int count);
int helper_threads();
// Between the strong style's files: the helpers start on a copy of the game up to the current
// record and deepen to max_depth (helper_search) until stop_helpers, which waits for them.
void start_helpers(int max_depth);
void stop_helpers();
void helper_search(int id, int max_depth);

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

// Transposition table: buckets of TableBucketSize entries, as many as fit the megabytes asked for
// (rounded down to a power of two), allocated by allocate_table when the strong style is first
// chosen and again when its size changes. A bucket is found from the key's low bits and an entry
// by its whole key. Scores are given and returned relative to the root, ply plies above the
// node; mate scores are kept relative to the node.
enum Bound : std::uint8_t { NoBound = 0, UpperBound = 1, LowerBound = 2, ExactBound = 3 };
struct TableEntry {
    std::uint64_t key;
    Move move; // the best or refuting move, 0 when none was found
    std::int16_t score;
    std::uint8_t depth;       // remaining depth of the search that stored it
    std::uint8_t boundAndAge; // Bound in bits 0-1, the search's generation in bits 2-7
};
static_assert(sizeof(TableEntry) == 16);
constexpr int bound_of(const TableEntry& e) { return e.boundAndAge & 3; }
constexpr int TableBucketSize = 4;  // 64 bytes, one cache line
constexpr int DefaultTableMegabytes = 16;
// A table of about the given size, emptied; false, with the table as it was, when the memory
// is not to be had. Asking again for the size in use keeps the table and its entries.
bool allocate_table(int megabytes = DefaultTableMegabytes);
std::size_t table_buckets();
void clear_table();
void age_table(); // a new search: entries of earlier ones are replaced first
int table_permille(); // entries of this search among the first thousand, a sample of the table
bool probe_table(std::uint64_t key, int ply, TableEntry& found);
void store_table(std::uint64_t key, int depth, int score, Bound bound, Move move, int ply);

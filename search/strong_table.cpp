// Position keys and the transposition table of the strong search: Zobrist keys of the board as
// White sees it, and a table of fixed size allocated once, when the strong style is chosen.
#include "search/strong.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

namespace {

// SplitMix64 (Steele, Lea and Flood, "Fast splittable pseudorandom number generators", 2014):
// each call adds the golden-ratio increment and scrambles the sum.
constexpr std::uint64_t split_mix(std::uint64_t& state) {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
    z               = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z               = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

// One key per colour, piece type and square as White sees the board (types 1 to 6; type 0 is
// never used), then 16 for the four castling rights, 8 for the en-passant files, 1 for Black to
// move.
constexpr int PieceKeys = 2 * 7 * 64, CastlingKeys = PieceKeys, FileKeys = CastlingKeys + 16,
              BlackKey = FileKeys + 8, KeyCount = BlackKey + 1;
inline constexpr std::array<std::uint64_t, KeyCount> Zobrist = [] {
    std::array<std::uint64_t, KeyCount> table{};
    // A fixed seed ("QUILLFRN" in ASCII): the same keys in every run and every build.
    std::uint64_t state = 0x5155494C4C46524Eull;
    for (auto& key : table) key = split_mix(state);
    return table;
}();

constexpr std::uint64_t piece_key(int colour, int type, Square square) {
    return Zobrist[(colour * 7 + type) * 64 + square];
}

// The castling rights of a record as White sees them: bit 0 White's queen side, bit 1 White's
// king side, bits 2 and 3 Black's.
constexpr int white_view_castling(const Position& p) {
    const int own = p.castling & OwnRights, theirs = swapped_rights(p.castling) & OwnRights;
    return p.blackToMove ? theirs | own << 2 : own | theirs << 2;
}

// What the rights, the en-passant file and the side to move add to the key of a record.
constexpr std::uint64_t state_key(const Position& p) {
    return Zobrist[CastlingKeys + white_view_castling(p)] ^
           (p.epFile != NoEpFile ? Zobrist[FileKeys + p.epFile] : 0) ^
           (p.blackToMove ? Zobrist[BlackKey] : 0);
}

// The table: buckets of TableBucketSize entries, one cache line each. Generation counts the
// searches, so an entry of an earlier move is replaced before a deeper one of this move.
TableEntry* Table            = nullptr;
std::size_t Buckets          = 0; // a power of two
std::uint8_t Generation      = 0;
constexpr int GenerationMask = 0x3F; // six bits beside the two of the bound

TableEntry* bucket_of(std::uint64_t key) {
    return Table + (key & (Buckets - 1)) * TableBucketSize;
}

int age_of(const TableEntry& e) { return (Generation - (e.boundAndAge >> 2)) & GenerationMask; }

} // namespace

std::uint64_t position_key(const Position& p) {
    std::uint64_t key = state_key(p);
    for (Bitboard b = occupied(p); b;) {
        const Square sq  = pop_lsb(b);
        const int colour = (p.ownPieces & bit(sq)) ? p.blackToMove : 1 - p.blackToMove;
        key ^= piece_key(colour, piece_type_at(p, sq), white_view(sq, p.blackToMove));
    }
    return key;
}

// The mover's colour is before's side to move; its squares are turned to White's view.
std::uint64_t key_after_move(std::uint64_t key, const Position& before, Move m,
                             const Position& after) {
    const int us = before.blackToMove;
    const auto white = [us](Square sq) { return white_view(sq, us); };
    const std::uint32_t flags = move_flags(m);
    const Square from = move_from(m), to = move_to(m);
    const int mover = moving_piece(m), placed = move_promotion(m) ? move_promotion(m) : mover;
    key ^= state_key(before) ^ state_key(after);
    key ^= piece_key(us, mover, white(from)) ^ piece_key(us, placed, white(to));
    if (flags == EnPassant) {
        key ^= piece_key(1 - us, Pawn, white(to - 8));
    } else if (is_capture(m)) {
        key ^= piece_key(1 - us, piece_type_at(before, to), white(to));
    } else if (flags == CastleKingSide || flags == CastleQueenSide) {
        const Castling& c = castling_of(flags);
        key ^= piece_key(us, Rook, white(c.rookFrom)) ^ piece_key(us, Rook, white(c.rookTo));
    }
    return key;
}

std::uint64_t key_after_null_move(std::uint64_t key, const Position& before,
                                  const Position& after) {
    return key ^ state_key(before) ^ state_key(after);
}

bool allocate_table(int megabytes) {
    constexpr std::size_t BucketBytes = TableBucketSize * sizeof(TableEntry);
    std::size_t buckets = 1;
    while (buckets * 2 * BucketBytes <= std::size_t(megabytes) << 20) buckets *= 2;
    if (Table && buckets == Buckets) return true;
    auto* table = static_cast<TableEntry*>(std::aligned_alloc(64, buckets * BucketBytes));
    if (!table) return false;
    std::free(Table);
    Table   = table;
    Buckets = buckets;
    clear_table();
    return true;
}

std::size_t table_buckets() { return Buckets; }

void clear_table() {
    if (!Table) return;
    std::memset(static_cast<void*>(Table), 0, Buckets * TableBucketSize * sizeof(TableEntry));
    Generation = 0;
}

int table_permille() {
    int used = 0;
    for (std::size_t i = 0; i < 1000 && i < Buckets * TableBucketSize; ++i)
        used += (Table[i].boundAndAge & 3) != NoBound && age_of(Table[i]) == 0;
    return used;
}

void age_table() { Generation = std::uint8_t((Generation + 1) & GenerationMask); }

// A mate score is kept as the distance from the node, not from the root, so it stays true
// wherever the position is met again.
bool probe_table(std::uint64_t key, int ply, TableEntry& found) {
    assert(Table);
    const TableEntry* bucket = bucket_of(key);
    for (int i = 0; i < TableBucketSize; ++i)
        if (bucket[i].key == key && (bucket[i].boundAndAge & 3) != NoBound) {
            found = bucket[i];
            if (found.score > MateBound) found.score = std::int16_t(found.score - ply);
            if (found.score < -MateBound) found.score = std::int16_t(found.score + ply);
            return true;
        }
    return false;
}

// The entry of the same key is overwritten (keeping its move when the new result has none);
// else the one whose depth, less four plies a search of age, is lowest.
void store_table(std::uint64_t key, int depth, int score, Bound bound, Move move, int ply) {
    assert(Table && depth >= 0 && depth < 256);
    TableEntry* bucket = bucket_of(key);
    TableEntry* slot   = &bucket[0];
    for (int i = 0; i < TableBucketSize; ++i) {
        if (bucket[i].key == key) {
            // A shallower result of this search (a quiescence one above all) keeps the deeper
            // one's place, unless it is exact.
            if (bound != ExactBound && depth + 3 < bucket[i].depth && age_of(bucket[i]) == 0) return;
            slot = &bucket[i];
            if (move == 0) move = slot->move;
            break;
        }
        if (bucket[i].depth - 4 * age_of(bucket[i]) < slot->depth - 4 * age_of(*slot))
            slot = &bucket[i];
    }
    if (score > MateBound) score += ply;
    if (score < -MateBound) score -= ply;
    *slot = TableEntry{key, move, std::int16_t(score), std::uint8_t(depth),
                       std::uint8_t(bound | Generation << 2)};
}

// Position keys and the transposition table of the strong search: Zobrist keys of the board as
// White sees it, and a table the search's threads share, allocated when the strong style is
// chosen and when its size changes.
#include "search/strong.h"

#include <atomic>
#include <cassert>
#include <new>

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

// The table: buckets of TableBucketSize slots, one cache line each. A slot holds an entry's data
// (move, score, depth, bound and age in 64 bits) and its key exclusive-ored with that data; the
// threads of a search read and write both words with relaxed atomics, and a slot whose two words
// come from two different stores does not give back its key, so it is taken for another
// position's. Generation counts the searches, so an entry of an earlier move is replaced before
// a deeper one of this move.
struct Slot {
    std::atomic<std::uint64_t> check, data;
};
struct alignas(64) Bucket {
    Slot slots[TableBucketSize];
};
static_assert(sizeof(Bucket) == 64);

Bucket* Table                = nullptr;
std::size_t Buckets          = 0; // a power of two
std::uint8_t Generation      = 0;
constexpr int GenerationMask = 0x3F; // six bits beside the two of the bound

Bucket& bucket_of(std::uint64_t key) { return Table[key & (Buckets - 1)]; }

int age_of(const TableEntry& e) { return (Generation - (e.boundAndAge >> 2)) & GenerationMask; }

constexpr std::uint64_t pack(const TableEntry& e) {
    return std::uint64_t(e.move) | std::uint64_t(std::uint16_t(e.score)) << 32 |
           std::uint64_t(e.depth) << 48 | std::uint64_t(e.boundAndAge) << 56;
}
constexpr TableEntry unpack(std::uint64_t key, std::uint64_t data) {
    return {key, Move(data), std::int16_t(std::uint16_t(data >> 32)), std::uint8_t(data >> 48),
            std::uint8_t(data >> 56)};
}
static_assert(pack(unpack(1, 0xFEDCBA9876543210ull)) == 0xFEDCBA9876543210ull);

TableEntry read(const Slot& slot) {
    const std::uint64_t data = slot.data.load(std::memory_order_relaxed);
    return unpack(slot.check.load(std::memory_order_relaxed) ^ data, data);
}

void write(Slot& slot, const TableEntry& entry) {
    const std::uint64_t data = pack(entry);
    slot.data.store(data, std::memory_order_relaxed);
    slot.check.store(entry.key ^ data, std::memory_order_relaxed);
}

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
    std::size_t buckets = 1;
    while (buckets * 2 * sizeof(Bucket) <= std::size_t(megabytes) << 20) buckets *= 2;
    if (Table && buckets == Buckets) return true;
    Bucket* table = new (std::nothrow) Bucket[buckets];
    if (!table) return false;
    delete[] Table;
    Table   = table;
    Buckets = buckets;
    clear_table();
    return true;
}

std::size_t table_buckets() { return Buckets; }

void clear_table() {
    for (std::size_t i = 0; i < Buckets; ++i)
        for (Slot& slot : Table[i].slots) write(slot, TableEntry{0, 0, 0, 0, NoBound});
    Generation = 0;
}

void age_table() { Generation = std::uint8_t((Generation + 1) & GenerationMask); }

int table_permille() {
    int used = 0;
    for (std::size_t i = 0; i < 250 && i < Buckets; ++i)
        for (const Slot& slot : Table[i].slots) {
            const TableEntry e = read(slot);
            used += bound_of(e) != NoBound && age_of(e) == 0;
        }
    return used;
}

// A mate score is kept as the distance from the node, not from the root, so it stays true
// wherever the position is met again.
bool probe_table(std::uint64_t key, int ply, TableEntry& found) {
    assert(Table);
    for (const Slot& slot : bucket_of(key).slots) {
        const TableEntry e = read(slot);
        if (e.key != key || bound_of(e) == NoBound) continue;
        found = e;
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
    Bucket& bucket = bucket_of(key);
    Slot* slot     = &bucket.slots[0];
    TableEntry old = read(*slot);
    for (Slot& candidate : bucket.slots) {
        const TableEntry e = read(candidate);
        if (e.key == key) {
            // A shallower result of this search (a quiescence one above all) keeps the deeper
            // one's place, unless it is exact.
            if (bound != ExactBound && depth + 3 < e.depth && age_of(e) == 0) return;
            slot = &candidate;
            if (move == 0) move = e.move;
            break;
        }
        if (e.depth - 4 * age_of(e) < old.depth - 4 * age_of(old)) {
            slot = &candidate;
            old  = e;
        }
    }
    if (score > MateBound) score += ply;
    if (score < -MateBound) score -= ply;
    write(*slot, TableEntry{key, move, std::int16_t(score), std::uint8_t(depth),
                            std::uint8_t(bound | Generation << 2)});
}

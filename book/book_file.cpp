// The book file: reading its 16-byte entries, finding a key by binary search, collecting the
// moves of the position on the board, listing them and choosing one to play.
#include "book/book.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr long EntrySize = 16;

// Reads bytes big-endian (most significant first) into a number of the given width.
std::uint64_t big_endian(const unsigned char* bytes, int width) {
    std::uint64_t value = 0;
    for (int i = 0; i < width; ++i) value = (value << 8) | bytes[i];
    return value;
}

} // namespace

int read_book_entry(std::FILE* file, BookEntry& entry) {
    unsigned char bytes[EntrySize];
    for (auto& byte : bytes) {
        int c = std::getc(file);
        if (c == EOF) return 1;
        byte = static_cast<unsigned char>(c);
    }
    entry.key    = big_endian(bytes, 8);
    entry.move   = static_cast<std::uint16_t>(big_endian(bytes + 8, 2));
    entry.weight = static_cast<std::uint16_t>(big_endian(bytes + 10, 2));
    entry.learn  = static_cast<std::uint32_t>(big_endian(bytes + 12, 4));
    return 0;
}

// The search keeps hi on an entry whose key is not below the one sought (at first the last
// entry, which stands in for "every key is smaller") and lo just before the first candidate.
// A file whose length is not a whole number of entries is searched over its whole entries.
std::int32_t find_book_key(std::FILE* file, std::uint64_t key, BookEntry& entry) {
    const auto not_found = [&] {
        entry = BookEntry{key + 1, 0, 0, 0};
        return std::int32_t(-1);
    };
    if (std::fseek(file, -EntrySize, SEEK_END) != 0) return not_found();
    const long end = std::ftell(file);
    if (end < 0 || end / EntrySize > INT32_MAX) return not_found(); // not a file of entries

    std::int32_t lo = -1, hi = std::int32_t(end / EntrySize);
    if (std::fseek(file, long(hi) * EntrySize, SEEK_SET) != 0 || read_book_entry(file, entry))
        return not_found();
    while (hi - lo > 1) {
        const std::int32_t mid = (lo + hi) / 2;
        BookEntry probe;
        if (std::fseek(file, long(mid) * EntrySize, SEEK_SET) != 0 || read_book_entry(file, probe))
            return not_found();
        if (key <= probe.key) {
            hi    = mid;
            entry = probe;
        } else {
            lo = mid;
        }
    }
    return hi;
}

// Move field: bits 0-2 to file, 3-5 to rank, 6-8 from file, 9-11 from rank (White's side),
// 12-14 promotion (0 none, 1 knight, 2 bishop, 3 rook, 4 queen). The book writes castling as
// the king taking its own rook, which the engine plays as the king's two-square step.
void book_move_to_text(char* text, std::uint16_t move) {
    const int promotion = (move >> 12) & 7;
    text[0]             = char('a' + ((move >> 6) & 7));
    text[1]             = char('1' + ((move >> 9) & 7));
    text[2]             = char('a' + (move & 7));
    text[3]             = char('1' + ((move >> 3) & 7));
    text[4]             = '\0';
    if (promotion >= 1 && promotion <= 4) {
        text[4] = " nbrq"[promotion];
        text[5] = '\0';
    }
    constexpr const char* castles[4][2] = {
        {"e1h1", "e1g1"}, {"e1a1", "e1c1"}, {"e8h8", "e8g8"}, {"e8a8", "e8c8"}};
    for (const auto& castle : castles)
        if (std::strcmp(text, castle[0]) == 0) std::strcpy(text, castle[1]);
}

// Gathers the entries of the position's key in file order; the file is open only inside this
// call. A read error on the first byte (a directory, say) counts as a file that does not open.
BookProbe collect_book_moves(const char* file_name, BookListing& listing) {
    listing.key     = book_key();
    listing.count   = 0;
    std::FILE* file = std::fopen(file_name, "rb");
    if (!file) return {BookNotOpened, errno};
    if (std::getc(file) == EOF && std::ferror(file)) {
        const int error = errno;
        std::fclose(file);
        return {BookNotOpened, error};
    }

    BookEntry entry;
    const std::int32_t first = find_book_key(file, listing.key, entry);
    BookResult result        = BookFound;
    if (entry.key != listing.key) {
        result = BookNoSuchKey;
    } else {
        listing.entries[listing.count++] = entry;
        if (std::fseek(file, (long(first) + 1) * EntrySize, SEEK_SET) == 0) {
            while (read_book_entry(file, entry) == 0 && entry.key == listing.key) {
                if (listing.count == MaxBookMoves) {
                    result = BookTooManyMoves;
                    break;
                }
                listing.entries[listing.count++] = entry;
            }
        }
    }
    std::fclose(file);
    return {result, 0};
}

// A random choice makes every book move equally likely: the generator is seeded with the
// calendar second, and one draw modulo the number of moves picks the entry.
BookProbe choose_book_move(const char* file_name, int rand_book, char* text) {
    BookListing listing;
    const BookProbe probe = collect_book_moves(file_name, listing);
    if (probe.result != BookFound) return probe;
    int index = 0;
    if (rand_book != 0) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        index = std::rand() % listing.count;
    }
    book_move_to_text(text, listing.entries[index].move);
    return probe;
}

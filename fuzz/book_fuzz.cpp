// Fuzz target: the book reader on arbitrary book files. The input is the whole file. Each input
// lists and chooses the moves of a few positions (the start, and the positions of the test book),
// checks the key search against a plain scan whenever the file is sorted, and plays a chosen
// book move through the user-move entry as the front ends do.
#include <cstring>
#include <vector>

#include "book/book.h"
#include "fuzz/fuzz_common.h"

namespace {

constexpr const char* BookName = "fuzz.bin";

std::uint64_t key_at(const std::uint8_t* data, std::size_t index) {
    std::uint64_t key = 0;
    for (int i = 0; i < 8; ++i) key = (key << 8) | data[index * 16 + i];
    return key;
}

// The binary search against a scan of the file's whole entries, for a sorted file.
void check_key_search(std::FILE* file, const std::uint8_t* data, std::size_t entries,
                      std::uint64_t key) {
    BookEntry entry;
    const std::int32_t index = find_book_key(file, key, entry);
    if (entries == 0) {
        FUZZ_CHECK(index == -1 && entry.key == key + 1);
        return;
    }
    std::size_t first = 0;
    while (first < entries && key_at(data, first) < key) ++first;
    if (first == entries) first = entries - 1; // every key is smaller: the last entry
    FUZZ_CHECK(index == std::int32_t(first));
    FUZZ_CHECK(entry.key == key_at(data, first));
}

bool sorted(const std::uint8_t* data, std::size_t entries) {
    for (std::size_t i = 1; i < entries; ++i)
        if (key_at(data, i - 1) > key_at(data, i)) return false;
    return true;
}

// The text that the front ends hand to the user-move entry: four or five characters.
void check_move_text(const char* text) {
    std::size_t length = std::strlen(text);
    FUZZ_CHECK(length == 4 || length == 5);
    FUZZ_CHECK(text[0] >= 'a' && text[0] <= 'h' && text[1] >= '1' && text[1] <= '8');
    FUZZ_CHECK(text[2] >= 'a' && text[2] <= 'h' && text[3] >= '1' && text[3] <= '8');
    if (length == 5) FUZZ_CHECK(std::strchr("nbrq", text[4]) != nullptr);
}

void probe_position() {
    (void)show_book_moves(BookName);
    for (int random : {0, 1}) {
        RandBook = random;
        char text[8];
        std::memset(text, 'x', sizeof text);
        if (choose_book_move(BookName, text) != 0) continue;
        check_move_text(text);
        const Position before = *CurrentPosition;
        const int index       = stack_index();
        if (enter_user_move(text) == 1) {
            take_back();
        } else {
            FUZZ_CHECK(stack_index() == index);
        }
        FUZZ_CHECK(std::memcmp(&before, CurrentPosition, sizeof before) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz_start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    write_scratch_file(BookName, data, size);
    reset_engine();

    const std::size_t entries = size / 16;
    if (std::FILE* file = std::fopen(BookName, "rb")) {
        // Keys of the file itself, one below and one above, and the start position's key.
        std::vector<std::uint64_t> keys = {book_key(), 0, ~std::uint64_t(0)};
        for (std::size_t i = 0; i < entries && i < 8; ++i) {
            std::uint64_t k = key_at(data, i);
            keys.insert(keys.end(), {k, k - 1, k + 1});
        }
        const bool in_order = sorted(data, entries);
        for (std::uint64_t key : keys) {
            if (in_order) {
                check_key_search(file, data, entries, key);
            } else {
                BookEntry entry;
                std::int32_t index = find_book_key(file, key, entry);
                FUZZ_CHECK(index >= -1 && index < std::int32_t(entries > 0 ? entries : 1));
            }
        }
        BookEntry entry;
        std::rewind(file);
        for (std::size_t i = 0; i < entries; ++i) FUZZ_CHECK(read_book_entry(file, entry) == 0);
        FUZZ_CHECK(size % 16 != 0 || read_book_entry(file, entry) == 1);
        std::fclose(file);
    }

    // The start position, then a short line of the test book's openings, probing at each step.
    probe_position();
    for (const char* move : {"e2e4", "e7e5", "g1f3", "b8c6"}) {
        if (enter_user_move(move) != 1) break;
        probe_position();
    }
    return 0;
}

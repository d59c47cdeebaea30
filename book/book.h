// Opening book: the Polyglot key of the position, and probing a Polyglot book file.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "board/board.h"

// One 16-byte entry of the book file, stored big-endian in this order.
struct BookEntry {
    std::uint64_t key;
    std::uint16_t move;
    std::uint16_t weight;
    std::uint32_t learn;
};
constexpr int MaxBookMoves = 100; // the most book moves one position may have

extern const std::array<std::uint64_t, 781> Random64;

std::uint64_t book_key();

// Fills the entry from the next 16 bytes; 0 when read, 1 when the file ended first.
[[nodiscard]] int read_book_entry(std::FILE* file, BookEntry& entry);
// Index of the first entry whose key is not below the key, with that entry; when none is, the
// last entry; -1 with an entry of key + 1 for a file shorter than one entry.
std::int32_t find_book_key(std::FILE* file, std::uint64_t key, BookEntry& entry);
// Writes the 4- or 5-character coordinate text of a book move into a buffer of 6 bytes.
void book_move_to_text(char* text, std::uint16_t move);
// What a probe of the book found for the position on the board.
enum BookResult { BookFound = 0, BookNotOpened, BookNoSuchKey, BookTooManyMoves };
struct BookProbe {
    BookResult result;
    int error; // why the file could not be opened (an errno value)
};
// The entries of the position's key in file order, and the key.
struct BookListing {
    std::uint64_t key;
    int count;
    BookEntry entries[MaxBookMoves];
};
BookProbe collect_book_moves(const char* file_name, BookListing& listing);
// Writes a book move of the position on the board into a buffer of 6 bytes: a random one when
// rand_book is not 0 (the weights play no part), else the first one in the file.
BookProbe choose_book_move(const char* file_name, int rand_book, char* text);

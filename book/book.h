// Opening book: the Polyglot key of the position, and probing a Polyglot book file.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

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
// Lists the book moves of the position on the board with their shares; 0 when listed.
int show_book_moves(const char* file_name);
// Writes a book move of the position on the board into a buffer of 6 bytes; 0 when one is found.
[[nodiscard]] int choose_book_move(const char* file_name, char* text);

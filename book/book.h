// Opening book: the Polyglot key of the position, and probing a Polyglot book file.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

struct BookEntry {
    std::uint64_t key;
    std::uint16_t move;
    std::uint16_t weight;
    std::uint32_t learn;
};
constexpr int MaxBookMoves = 100;

extern const std::array<std::uint64_t, 781> Random64;

std::uint64_t book_key();
int read_book_entry(std::FILE* file, BookEntry& entry);
std::int32_t find_book_key(std::FILE* file, std::uint64_t key, BookEntry& entry);
void book_move_to_text(char* text, std::uint16_t move);
int show_book_moves(const char* file_name);
int choose_book_move(const char* file_name, char* text);

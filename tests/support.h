// What the unit tests share: setting up a position, a move's text, the legal moves found the
// slow way (by making every generated move), positions of random legal games from awkward
// starts, and a scratch folder of its own for a test.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "board/board.h"
#include "movegen/movegen.h"

inline void set_up(const char* fen) {
    new_game();
    ASSERT_EQ(read_fen(fen), 1) << fen;
}

// The coordinate text of a move of the side to move, without the blank of a plain move.
inline std::string text_of(Move m) {
    char text[6];
    move_to_text(text, m, CurrentPosition);
    std::string s(text);
    if (s.back() == ' ') s.pop_back();
    return s;
}

// The tactical move of the side to move with the given text.
inline Move tactical(const char* text) {
    MoveList list;
    generate_captures(list);
    for (std::uint32_t i = 0; i < list.count; ++i)
        if (text_of(list.entries[i].move) == text) return list.entries[i].move;
    ADD_FAILURE() << "no tactical move " << text;
    return 0;
}

inline std::vector<Move> legal_moves_by_making() {
    Move moves[MaxGameMoves];
    int count;
    generate_moves(moves, count);
    std::vector<Move> legal;
    for (int i = 0; i < count; ++i) {
        make_move(moves[i]);
        if (!move_left_king_in_check()) legal.push_back(moves[i]);
        take_back();
    }
    return legal;
}

// Perft as the count is defined: every generated move made, tested and taken back.
inline std::uint64_t perft_by_making(std::uint32_t depth) {
    if (depth == 0) return 1;
    const std::vector<Move> legal = legal_moves_by_making();
    std::uint64_t total = depth == 1 ? legal.size() : 0;
    for (std::size_t i = 0; depth > 1 && i < legal.size(); ++i) {
        make_move(legal[i]);
        total += perft_by_making(depth - 1);
        take_back();
    }
    if (total != 0) return total;
    return in_check() ? 0 : 1;
}

// Pins, en passant that bares the king along a rank, castling beside attacks and beside the
// other king, promotions for both sides, lists filled to their room, two kings or none, double
// checks, en passant taking the checker or beside a knight's check, mates and stalemates a move
// or two away, a capture in the corner that ends castling.
inline const char* const AwkwardStarts[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "8/8/8/KPp4r/8/8/8/6k1 w - c6 0 1",
    "8/8/8/8/k2Pp2Q/8/8/4K3 b - d3 0 1",
    "4k3/8/8/8/8/5n2/4r3/4K2R w K - 0 1",
    "8/8/8/8/8/8/7k/R3K2R w KQ - 0 1",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
    "rnbqkbnr/PPPPPPPP/8/8/8/8/8/4K3 w - - 0 1",
    "QpQpQpQk/pQpQpQpQ/QpQpQpQp/pQpQpQpQ/QpQpQpQp/pQpQpQpQ/QpQpQpQp/pQpQpQpK w - - 0 1",
    "QQQQQQQk/Q6Q/Q6Q/Q6Q/Q6Q/Q6Q/Q6Q/KQQQQQQB w - - 0 1", // 277 quiet moves
    "K6k/8/8/8/8/8/8/K7 w - - 0 1",
    "8/8/8/3q4/8/8/8/R6k w - - 0 1",
    "4k3/8/8/4N3/8/8/8/4RK2 w - - 0 1",
    "8/8/8/2k5/3Pp3/8/8/4K3 b - d3 0 1",
    "k7/8/2K5/8/8/8/8/1Q6 w - - 0 1",
    "8/8/8/3pP3/8/5n2/8/4K2k w - d6 0 1",
    "r3k3/8/8/8/8/8/r5B1/6K1 w q - 0 1",
};

// Calls visit at every position of a few random games from each awkward start; visit must
// leave the position as it found it.
inline void for_each_random_position(unsigned seed, int games, int plies,
                                     const std::function<void(const std::string&)>& visit) {
    std::mt19937 random(seed);
    for (const char* start : AwkwardStarts)
        for (int game = 0; game < games; ++game) {
            set_up(start);
            for (int ply = 0; ply <= plies; ++ply) {
                visit(std::string(start) + " after " + std::to_string(ply) + " plies");
                std::vector<Move> legal = legal_moves_by_making();
                if (legal.empty()) break;
                make_move(legal[random() % legal.size()]);
            }
        }
}

class ScratchDir : public testing::Test {
  protected:
    std::string dir;
    void SetUp() override {
        std::string pattern = testing::TempDir() + "quillfern-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    // Writes the bytes of content, NULs included; returns the file's path.
    std::string write_file(const std::string& name, const std::string& content) {
        std::string path = dir + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
};

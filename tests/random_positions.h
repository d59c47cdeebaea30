// Test helper: positions reached by random legal play from starting points chosen to be awkward
// (pins, en passant that uncovers a check, castling next to attacks, promotions, lists filled
// to their room, a side with two kings or none), for comparing a fast method with the slow one
// that makes every move.
#pragma once

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "board/board.h"
#include "movegen/movegen.h"

inline const char* const AwkwardStarts[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "rnbqkb1r/pp1p1ppp/2p5/4P3/2B5/8/PPP1NnPP/RNBQK2R w KQkq - 0 6",
    "8/8/8/KPp4r/8/8/8/6k1 w - c6 0 1",   // en passant would bare the king
    "8/8/8/8/k2Pp2Q/8/8/4K3 b - d3 0 1",  // the same along a rank, for Black
    "4k3/8/8/8/1b6/8/3P4/4K3 w - - 0 1",  // a pinned pawn
    "4k3/8/8/8/8/5n2/4r3/4K2R w K - 0 1", // double check
    "8/8/8/8/8/8/7k/R3K2R w KQ - 0 1",    // castling next to the other king
    "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",   // promotions for both sides
    "rnbqkbnr/PPPPPPPP/8/8/8/8/8/4K3 w - - 0 1", // more tactical moves than most
    "QpQpQpQk/pQpQpQpQ/QpQpQpQp/pQpQpQpQ/QpQpQpQp/pQpQpQpQ/QpQpQpQp/pQpQpQpK w - - 0 1",
    "K6k/8/8/8/8/8/8/K7 w - - 0 1",  // two white kings
    "8/8/8/3q4/8/8/8/R6k w - - 0 1", // no white king
};

// The legal moves of the current position, found by making every generated move.
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

// Calls visit at every position of a few random games from each awkward start; visit must leave
// the position as it found it. A FEN string naming the start goes with each call.
inline void for_each_random_position(unsigned seed, int games, int plies,
                                     const std::function<void(const std::string&)>& visit) {
    std::mt19937 random(seed);
    for (const char* start : AwkwardStarts) {
        for (int game = 0; game < games; ++game) {
            new_game();
            if (!read_fen(start)) return;
            for (int ply = 0; ply <= plies; ++ply) {
                visit(std::string(start) + " after " + std::to_string(ply) + " plies");
                std::vector<Move> legal = legal_moves_by_making();
                if (legal.empty()) break;
                make_move(legal[random() % legal.size()]);
            }
        }
    }
}

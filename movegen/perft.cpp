// Perft: the number of move sequences of a given length, and the six positions of the benchmark.
#include "movegen/movegen.h"

const PerftRow PerftSuite[PerftRows] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 6, 119060324},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", 5, 193690690},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", 7, 178633661},
    {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1", 6, 706045033},
    {"rnbqkb1r/pp1p1ppp/2p5/4P3/2B5/8/PPP1NnPP/RNBQK2R w KQkq - 0 6", 3, 53392},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10", 5, 164075551},
};

// A position without a legal move counts as one when it is stalemate and as none when it is
// checkmate, at every depth from 1 on. The same rule applies when the counts of the legal moves
// add up to zero (each ends in checkmate): only the total is looked at.
//
// The count itself (perft_count.cpp) makes no move it would have to take back: the last ply is
// counted from target sets, and above it only legal moves are made, on local records.
std::uint64_t perft(std::uint32_t depth) { return perft_of(*CurrentPosition, depth); }

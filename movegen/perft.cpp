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
// The last ply is counted without making its moves (count_legal_moves), and above it only the
// moves that pass the legality test are made: neither changes a count, as a move made only to
// be found illegal adds nothing.
std::uint64_t perft(std::uint32_t depth) {
    if (depth == 0) return 1;
    std::uint64_t total = 0;
    if (depth == 1) {
        total = std::uint64_t(count_legal_moves());
    } else {
        const KingSafety ks = king_safety();
        MoveList captures;
        generate_captures(captures);
        while (captures.count > 0) {
            const Move m = pick_best_move(captures);
            if (move_is_legal(m, ks)) {
                make_move(m);
                total += perft(depth - 1);
                take_back();
            }
            --captures.count;
        }

        QuietList quiets;
        generate_quiet_moves(quiets);
        for (int i = int(quiets.count) - 1; i >= 0; --i) {
            if (!move_is_legal(quiets.moves[i], ks)) continue;
            make_move(quiets.moves[i]);
            total += perft(depth - 1);
            take_back();
        }
    }

    if (total != 0) return total;
    return in_check() ? 0 : 1;
}

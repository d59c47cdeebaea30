// Self-play for fitting the strong evaluation: the strong style plays itself in process, a fixed
// number of nodes a move, from openings of random legal moves, and the quiet positions of each
// game are written with its result and the score its search found, one a line: "FEN RESULT
// SCORE", RESULT 1, 0.5 or 0 for White, SCORE in hundredths of a pawn for White.
//
//   selfplay OUT GAMES [SEED [NODES]]     (NODES a move, default 10000; appends to OUT)
//
// A game begins with 8 or 9 random plies (both colours get the move) and is dropped when the
// first search finds it lopsided. It ends by the rules (mate, stalemate, a threefold
// repetition, the fifty-move rule, too little material), or by adjudication: a score of 10
// pawns or more for the same side on eight plies running, a score within 0.1 pawn on twelve
// plies running after ply 120, or ply 400. A position is kept from ply 16 on when its side to
// move is not in check, has no capture that wins material by the swap list, does not play a
// capture or a promotion, and its score is no mate.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "movegen/movegen.h"
#include "search/strong.h"

namespace {

constexpr int LopsidedOpening = 300, DecidedScore = 1000, DecidedPlies = 8;
constexpr int DrawnScore = 10, DrawnPlies = 12, DrawnFrom = 120, LongestGame = 400;
constexpr int FirstKeptPly = 16;

// The FEN of the position on the board: pieces as White sees them, the castling rights, no
// en-passant square (the evaluation does not read one), the reversible count.
std::string fen_of(const Position& p) {
    const bool black     = p.blackToMove != 0;
    const Position white = black ? flipped(p) : p; // White to move in the view
    std::string fen;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const Square sq = rank * 8 + file;
            const int type  = piece_type_at(white, sq);
            if (type == Empty) {
                ++empty;
                continue;
            }
            if (empty) fen += char('0' + empty);
            empty             = 0;
            const char letter = " pnbrqk"[type];
            fen += (white.ownPieces & bit(sq)) ? char(letter - 'a' + 'A') : letter;
        }
        if (empty) fen += char('0' + empty);
        if (rank) fen += '/';
    }
    fen += black ? " b " : " w ";
    const std::string before = fen;
    if (white.castling & OwnKingSide) fen += 'K';
    if (white.castling & OwnQueenSide) fen += 'Q';
    if (white.castling & TheirKingSide) fen += 'k';
    if (white.castling & TheirQueenSide) fen += 'q';
    if (fen == before) fen += '-';
    return fen + " - " + std::to_string(p.reversibleCount) + " 1";
}

std::vector<Move> legal_moves() {
    Move moves[MaxGameMoves];
    int count;
    generate_moves(moves, count);
    std::vector<Move> legal;
    for (int i = 0; i < count; ++i)
        if (move_is_legal(moves[i])) legal.push_back(moves[i]);
    return legal;
}

// Kings alone, or a king and one minor piece against a king.
bool too_little_material(const Position& p) {
    const Bitboard rest = occupied(p) & ~kings(p);
    return rest == 0 || (std::popcount(rest) == 1 && (rest & (knights(p) | bishops(p))));
}

// Whether the side to move has a capture that wins material by the swap list.
bool winning_capture() {
    MoveList list;
    clear_move_list(list);
    legal_captures(list);
    for (std::uint32_t i = 0; i < list.count; ++i)
        if (exchange_gain(list.entries[i].move) > 0) return true;
    return false;
}

// A search of the strong style stopped after `limit` moves made, on one thread.
SearchResult search_nodes(std::uint64_t limit) {
    SearchLimits limits{MaxPly, INT32_MAX, INT32_MAX, clock_ms(), false};
    limits.nodes = limit;
    return strong_search_move(limits, SearchHooks{});
}

// Plays random legal plies from the start; false when the game ended on the way.
bool random_opening(std::mt19937_64& random, int plies) {
    new_game();
    for (int ply = 0; ply < plies; ++ply) {
        const std::vector<Move> moves = legal_moves();
        if (moves.empty()) return false;
        make_move(moves[random() % moves.size()]);
    }
    return !legal_moves().empty();
}

struct Kept {
    std::string fen;
    int score; // for White
};
struct Game {
    std::vector<Kept> kept; // the quiet positions
    double result;                 // for White; negative when the game is dropped
};

// How a game stands after a move: its result for White, or -1 while it goes on.
double result_by_rules() {
    const Position& p = *CurrentPosition;
    if (legal_moves().empty()) return in_check() ? (p.blackToMove ? 1.0 : 0.0) : 0.5;
    if (p.repetitions >= 2 || p.reversibleCount >= 100 || too_little_material(p)) return 0.5;
    return -1;
}

// Counts the plies of a run: scores (the mover's) that decide the game for one side, and
// scores near zero late in the game; returns the adjudicated result for White, or -1.
struct Adjudication {
    int decided = 0, decidedSign = 0, drawn = 0;
    double judge(int score, int ply, bool black) {
        const int sign       = score >= DecidedScore ? 1 : score <= -DecidedScore ? -1 : 0;
        const int white_sign = black ? -sign : sign;
        decided              = sign && white_sign == decidedSign ? decided + 1 : sign ? 1 : 0;
        decidedSign          = white_sign;
        if (decided >= DecidedPlies) return decidedSign > 0 ? 1.0 : 0.0;
        drawn = ply >= DrawnFrom && std::abs(score) <= DrawnScore ? drawn + 1 : 0;
        if (drawn >= DrawnPlies || ply >= LongestGame) return 0.5;
        return -1;
    }
};

Game play_game(std::mt19937_64& random, std::uint64_t nodes) {
    Game game{{}, -1};
    const int opening = 8 + int(random() % 2);
    if (!random_opening(random, opening)) return game;
    clear_table();
    Adjudication adjudication;
    for (int ply = opening;; ++ply) {
        const SearchResult r = search_nodes(nodes);
        if (ply == opening && std::abs(r.score) > LopsidedOpening) return game;
        const bool quiet = !is_capture(r.move) && move_promotion(r.move) == 0;
        if (ply >= FirstKeptPly && quiet && !in_check() && std::abs(r.score) < MateBound &&
            !winning_capture())
            game.kept.push_back({fen_of(*CurrentPosition),
                                 CurrentPosition->blackToMove ? -r.score : r.score});
        const double judged = adjudication.judge(r.score, ply, CurrentPosition->blackToMove);
        make_room_for_game_move();
        make_move(r.move);
        game.result = judged >= 0 ? judged : result_by_rules();
        if (game.result >= 0) return game;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: selfplay OUT GAMES [SEED [NODES]]\n");
        return 2;
    }
    const long games          = std::atol(argv[2]);
    const std::uint64_t seed  = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
    const std::uint64_t nodes = argc > 4 ? std::strtoull(argv[4], nullptr, 10) : 10000;
    std::FILE* out            = std::fopen(argv[1], "a");
    if (!out || !allocate_table()) return 1;
    std::mt19937_64 random(seed);
    const auto start = std::chrono::steady_clock::now();
    long played = 0, positions = 0, score[3] = {0, 0, 0};
    while (played < games) {
        const Game game = play_game(random, nodes);
        if (game.result < 0) continue;
        ++played;
        ++score[int(game.result * 2)];
        for (const Kept& kept : game.kept)
            std::fprintf(out, "%s %g %d\n", kept.fen.c_str(), game.result, kept.score);
        positions += long(game.kept.size());
        std::fflush(out);
        if (played % 100 == 0 || played == games)
            std::fprintf(
                stderr, "%ld games (+%ld =%ld -%ld for White), %ld positions, %.0f s\n", played,
                score[2], score[1], score[0], positions,
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::fclose(out);
    return 0;
}

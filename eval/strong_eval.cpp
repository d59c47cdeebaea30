// The strong style's evaluation: middle-game and end-game scores blended by the game phase,
// from material and piece-square tables, mobility, pawn structure, king safety, the bishop pair
// and rooks on open files. Each side is scored on the board seen from its own side. Every weight
// is data (eval/strong_weights.h, fitted to games by tools/tuner); the terms are written once,
// for a sink that either adds the weights up or, for the tuner, counts how often each counted.
#include "eval/eval.h"

#include <array>
#include <bit>

#include "board/board.h"
#include "eval/strong_terms.h"
#include "eval/strong_weights.h"

namespace {

// A middle-game and an end-game score in one number: the end game's in the high half, the
// middle game's (signed) in the low half, so that one addition or multiplication serves both
// while each stays within 16 bits.
constexpr int pack(int middle, int end) { return int(unsigned(end) << 16) + middle; }
constexpr int middle_of(int packed) { return std::int16_t(std::uint16_t(unsigned(packed))); }
constexpr int end_of(int packed) {
    return std::int16_t(std::uint16_t((unsigned(packed) + 0x8000u) >> 16));
}
static_assert(middle_of(pack(-5, 7) * 3) == -15 && end_of(pack(-5, 7) * 3) == 21);
static_assert(end_of(pack(3, -9) - pack(-4, 2)) == -11 &&
              middle_of(pack(3, -9) - pack(-4, 2)) == 7);
inline constexpr std::array<int, WeightCount> Weights = [] {
    std::array<int, WeightCount> packed{};
    for (int i = 0; i < WeightCount; ++i) packed[i] = pack(MiddleWeights[i], EndWeights[i]);
    return packed;
}();

// The phase counts the pieces left: 4 a queen, 2 a rook, 1 a minor piece; 24 with all of them
// on the board is the middle game, 0 the end game.
constexpr int PhaseWeight[7] = {0, 0, 1, 1, 2, 4, 0};

constexpr Bitboard FileA = 0x0101010101010101ull;
constexpr Bitboard file_of(Square sq) { return FileA << (sq & 7); }
constexpr Bitboard neighbour_files(Square sq) {
    return ((file_of(sq) << 1) & NotAFile) | ((file_of(sq) >> 1) & NotHFile);
}
// The squares ahead of a pawn on its own file and the two beside it: a pawn with no opponent
// pawn there is passed.
inline constexpr std::array<Bitboard, 64> PassedSpan = [] {
    std::array<Bitboard, 64> table{};
    for (Square sq = 0; sq < 56; ++sq)
        table[sq] = (file_of(sq) | neighbour_files(sq)) & (~Bitboard(0) << (sq - sq % 8 + 8));
    return table;
}();
static_assert(PassedSpan[12] == 0x3838383838380000ull); // e2: d3 to f8

constexpr int distance(Square a, Square b) {
    const int ranks = a / 8 > b / 8 ? a / 8 - b / 8 : b / 8 - a / 8;
    const int files = a % 8 > b % 8 ? a % 8 - b % 8 : b % 8 - a % 8;
    return ranks > files ? ranks : files;
}

// Where the terms go. Sum adds the weights up as the engine scores; Trace counts for the tuner
// how often each weight counted, with the sign of the side being scored.
struct Sum {
    int score  = 0; // packed
    int danger = 0; // king attack units
    void add(int index, int count = 1) { score += Weights[index] * count; }
    void attack(int index, int count) { danger += MiddleWeights[index] * count; }
};
struct Trace {
    StrongTrace& trace;
    int side; // 0 the side to move, 1 the opponent
    void add(int index, int count = 1) { trace.linear[index] += side ? -count : count; }
    void attack(int index, int count) { trace.danger[side][index - DangerStart] += count; }
};

// What the score of a side needs besides its sum of weights.
struct SideFacts {
    int phase;         // the side's share of the game phase
    int attackers;     // pieces whose attacks reach the opponent king's zone
    int pieceMaterial; // knights and bishops 3, rooks 5, queens 9
    int pawnCount;
};

// The board as the side being scored (the side to move of v) sees it.
struct SideView {
    const Position& v;
    Bitboard occ, own, opp, ownPawns, theirPawns;
    Square king, enemy; // -1 when the side has no king
};

SideView view_of(const Position& v) {
    const Bitboard occ = occupied(v), own = v.ownPieces, opp = occ ^ own;
    const Bitboard own_king = own & kings(v), their_king = opp & kings(v);
    return {v, occ, own, opp, own & pawns(v), opp & pawns(v), own_king ? lsb(own_king) : -1,
            their_king ? lsb(their_king) : -1};
}

constexpr WeightGroupId SquareGroup[7]   = {MaterialGroup, PawnTable, KnightTable,
                                            BishopTable, RookTable, QueenTable, KingTable};
constexpr WeightGroupId MobilityGroup[7] = {MaterialGroup,  MaterialGroup, KnightMobility,
                                            BishopMobility, RookMobility,  QueenMobility,
                                            MaterialGroup};

// Step 1. Pieces: material and squares, mobility, attacks on the opponent king's zone (its
// square, its neighbours and the squares before those, from its side), rooks on open files.
template <class Out>
void score_pieces(Out& out, SideFacts& f, const SideView& b) {
    const Bitboard mobility_area = ~b.own & ~opponent_pawn_attacks(b.theirPawns);
    const Bitboard zone =
        b.enemy < 0 ? 0 : KingAttacks[b.enemy] | bit(b.enemy) | (KingAttacks[b.enemy] >> 8);
    for (int type = Pawn; type <= King; ++type) {
        for (Bitboard pieces = b.own & pieces_of_type(b.v, type); pieces;) {
            const Square sq = pop_lsb(pieces);
            out.add(weight(MaterialGroup, type));
            out.add(weight(SquareGroup[type], sq));
            f.phase += PhaseWeight[type];
            if (type == Pawn || type == King) continue;
            const Bitboard attacks = type == Knight   ? KnightAttacks[sq]
                                     : type == Bishop ? bishop_lookup(sq, b.occ)
                                     : type == Rook   ? rook_lookup(sq, b.occ)
                                                      : queen_lookup(sq, b.occ);
            out.add(weight(MobilityGroup[type], std::popcount(attacks & mobility_area)));
            if (attacks & zone) {
                ++f.attackers;
                out.attack(weight(KingAttackUnits, type), std::popcount(attacks & zone));
            }
            if (type == Rook && !(file_of(sq) & b.ownPawns))
                out.add(weight(RookFile, (file_of(sq) & b.theirPawns) ? 1 : 0));
        }
    }
    if (std::popcount(b.own & bishops(b.v)) >= 2) out.add(weight(BishopPair));
}

// Step 2. Pawns: doubled, isolated and passed; a passed pawn from the fourth rank on by the
// kings' distances to the square in front of it, the more the further it is.
template <class Out>
void score_pawns(Out& out, const SideView& b) {
    for (Bitboard pieces = b.ownPawns; pieces;) {
        const Square sq = pop_lsb(pieces);
        const int rank  = sq / 8;
        if (b.ownPawns & file_of(sq) & (~Bitboard(0) << (sq + 1))) // another one ahead
            out.add(weight(Doubled));
        if (!(b.ownPawns & neighbour_files(sq))) out.add(weight(Isolated));
        if (b.theirPawns & PassedSpan[sq]) continue;
        out.add(weight(Passed, rank));
        if (rank >= 3 && b.king >= 0 && b.enemy >= 0) {
            out.add(weight(PasserKingDistance, 0), distance(b.enemy, sq + 8) * (rank - 2));
            out.add(weight(PasserKingDistance, 1), distance(b.king, sq + 8) * (rank - 2));
        }
    }
}

// Step 3. The pawn shield of the own king on its first two ranks, per file beside and on the
// king's: a pawn one rank ahead is whole, two ranks ahead is half, none costs; a file without
// any pawn more.
template <class Out>
void score_shield(Out& out, const SideView& b) {
    if (b.king < 0 || b.king >= A3) return;
    for (int file = b.king % 8 - 1; file <= b.king % 8 + 1; ++file) {
        if (file < 0 || file > 7) continue;
        const Square ahead = b.king + 8 + (file - b.king % 8);
        if (b.ownPawns & bit(ahead)) continue;
        out.add(weight(PawnShield, (b.ownPawns & bit(ahead + 8)) ? 0 : 1));
        if (!(pawns(b.v) & (FileA << file))) out.add(weight(PawnShield, 2));
    }
}

// The side to move of v, scored on v's board: everything above for its own pieces, and its
// attacks on the opponent's king.
template <class Out>
SideFacts score_side(Out& out, const Position& v) {
    SideFacts f{0, 0, 0, 0};
    const SideView b = view_of(v);
    score_pieces(out, f, b);
    score_pawns(out, b);
    score_shield(out, b);
    f.pawnCount     = std::popcount(b.ownPawns);
    f.pieceMaterial = 3 * std::popcount(b.own & (knights(v) | bishops(v))) +
                      5 * std::popcount(b.own & rooks(v)) + 9 * std::popcount(b.own & queens(v));
    return f;
}

// The middle-game bonus of an attack on the king worth these units.
constexpr int king_danger(int units) {
    return units * units / DangerDivisor < DangerCap ? units * units / DangerDivisor : DangerCap;
}
static_assert(king_danger(20) == 66 && king_danger(30) == 150 && king_danger(60) == 500);

// A side with no pawns and no more than a minor piece cannot win.
constexpr bool cannot_win(const SideFacts& f) { return f.pawnCount == 0 && f.pieceMaterial <= 3; }

} // namespace

// The two sides' sums, the king attacks of two pieces or more, blended by the phase; the lead of
// a side that cannot win counts as none.
int strong_evaluate(const Position& p) {
    Sum us, them;
    const SideFacts our = score_side(us, p), their = score_side(them, flipped(p));
    int phase = our.phase + their.phase;
    if (phase > FullPhase) phase = FullPhase;
    const int sum    = us.score - them.score + Weights[weight(Tempo)];
    const int middle = middle_of(sum) + (our.attackers >= 2 ? king_danger(us.danger) : 0) -
                       (their.attackers >= 2 ? king_danger(them.danger) : 0);
    int score = (middle * phase + end_of(sum) * (FullPhase - phase)) / FullPhase;
    if (score > 0 && cannot_win(our)) score = 0;
    if (score < 0 && cannot_win(their)) score = 0;
    return score;
}

void strong_trace(const Position& p, StrongTrace& trace) {
    trace = StrongTrace{};
    Trace us{trace, 0}, them{trace, 1};
    const SideFacts our = score_side(us, p), their = score_side(them, flipped(p));
    us.add(weight(Tempo));
    trace.phase     = our.phase + their.phase < FullPhase ? our.phase + their.phase : FullPhase;
    trace.dangerOn  = {our.attackers >= 2, their.attackers >= 2};
    trace.cannotWin = {cannot_win(our), cannot_win(their)};
}

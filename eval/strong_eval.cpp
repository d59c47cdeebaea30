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
    int checks;        // squares it may give check from safely
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

// The squares a side attacks, by the type of the attacker and all together, as it sees them.
struct Attacks {
    std::array<Bitboard, 7> by;
    Bitboard all;
};

constexpr WeightGroupId SquareGroup[7]   = {MaterialGroup, PawnTable, KnightTable,
                                            BishopTable, RookTable, QueenTable, KingTable};
constexpr WeightGroupId MobilityGroup[7] = {MaterialGroup,  MaterialGroup, KnightMobility,
                                            BishopMobility, RookMobility,  QueenMobility,
                                            MaterialGroup};

// Knights and bishops on an outpost: from the fourth to the sixth rank, defended by a pawn, and
// no opponent pawn on the files beside can ever attack the square.
bool outpost(const SideView& b, Square sq) {
    return sq >= A4 && sq < A7 && (pawn_attacks(b.ownPawns) & bit(sq)) &&
           !(b.theirPawns & PassedSpan[sq] & neighbour_files(sq));
}

// Step 1. Pieces: material and squares, mobility, attacks on the opponent king's zone (its
// square, its neighbours and the squares before those, from its side), outposts, rooks on open
// files and on the seventh rank; the attacks are gathered for step 4.
template <class Out>
void score_pieces(Out& out, SideFacts& f, const SideView& b, Attacks& a) {
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
            a.by[type] |= attacks;
            out.add(weight(MobilityGroup[type], std::popcount(attacks & mobility_area)));
            if (attacks & zone) {
                ++f.attackers;
                out.attack(weight(KingAttackUnits, type), std::popcount(attacks & zone));
            }
            if (type <= Bishop && outpost(b, sq)) out.add(weight(Outpost, type - Knight));
            if (type != Rook) continue;
            if (!(file_of(sq) & b.ownPawns))
                out.add(weight(RookFile, (file_of(sq) & b.theirPawns) ? 1 : 0));
            if (sq >= A7 && sq < A8 && ((b.theirPawns & Rank7) || b.enemy >= A8))
                out.add(weight(RookSeventh));
        }
    }
    if (std::popcount(b.own & bishops(b.v)) >= 2) out.add(weight(BishopPair));
    a.by[Pawn] = pawn_attacks(b.ownPawns);
    a.by[King] = b.king >= 0 ? KingAttacks[b.king] : 0;
    for (int type = Pawn; type <= King; ++type) a.all |= a.by[type];
}

// Step 2. Pawns: doubled, isolated, connected (defended by a pawn or beside one) and passed; a
// passed pawn by its free path, a blockade, and from the fourth rank on by the kings' distances
// to the square in front of it, the more the further it is.
template <class Out>
void score_pawns(Out& out, const SideView& b) {
    const Bitboard connected = pawn_attacks(b.ownPawns) | ((b.ownPawns << 1) & NotAFile) |
                               ((b.ownPawns >> 1) & NotHFile);
    for (Bitboard pieces = b.ownPawns; pieces;) {
        const Square sq      = pop_lsb(pieces);
        const int rank       = sq / 8;
        const Bitboard ahead = file_of(sq) & (~Bitboard(0) << (sq + 1));
        if (b.ownPawns & ahead) out.add(weight(Doubled));
        if (!(b.ownPawns & neighbour_files(sq))) out.add(weight(Isolated));
        if (connected & bit(sq)) out.add(weight(Connected, rank));
        if (b.theirPawns & PassedSpan[sq]) continue;
        out.add(weight(Passed, rank));
        if (!(b.occ & ahead)) out.add(weight(PassedFree, rank));
        if (b.opp & bit(sq + 8)) out.add(weight(PassedBlocked, rank));
        if (rank >= 3 && b.king >= 0 && b.enemy >= 0) {
            out.add(weight(PasserKingDistance, 0), distance(b.enemy, sq + 8) * (rank - 2));
            out.add(weight(PasserKingDistance, 1), distance(b.king, sq + 8) * (rank - 2));
        }
    }
}

// Step 3. The pawn shield and storm of the own king on its first two ranks, per file beside
// and on the king's: a shield pawn one rank ahead is whole, two ranks ahead is half, none costs,
// a file without any pawn more; the nearest opponent pawn before the king by its rank.
template <class Out>
void score_shield(Out& out, const SideView& b) {
    if (b.king < 0 || b.king >= A3) return;
    for (int file = b.king % 8 - 1; file <= b.king % 8 + 1; ++file) {
        if (file < 0 || file > 7) continue;
        const Bitboard stormers = b.theirPawns & (FileA << file) & (~Bitboard(0) << A3);
        out.add(weight(PawnStorm, stormers ? lsb(stormers) / 8 : 0));
        const Square ahead = b.king + 8 + (file - b.king % 8);
        if (b.ownPawns & bit(ahead)) continue;
        out.add(weight(PawnShield, (b.ownPawns & bit(ahead + 8)) ? 0 : 1));
        if (!(pawns(b.v) & (FileA << file))) out.add(weight(PawnShield, 2));
    }
}

// Step 4, once both sides' attacks are known (theirs as this side sees the board): opponent
// pieces attacked by a pawn, a minor piece or a rook, by their type; those attacked and not
// defended; and the squares the own pieces may check the opponent king from, not attacked by
// the opponent, which add to the king danger.
template <class Out>
void score_threats(Out& out, SideFacts& f, const SideView& b, const Attacks& a, Bitboard theirs) {
    for (int type = Pawn; type <= Queen; ++type) {
        const Bitboard victims = b.opp & pieces_of_type(b.v, type);
        if (!victims) continue;
        out.add(weight(ThreatByPawn, type), std::popcount(victims & a.by[Pawn]));
        out.add(weight(ThreatByMinor, type),
                std::popcount(victims & (a.by[Knight] | a.by[Bishop])));
        out.add(weight(ThreatByRook, type), std::popcount(victims & a.by[Rook]));
    }
    out.add(weight(Hanging), std::popcount(b.opp & ~kings(b.v) & a.all & ~theirs));
    if (b.enemy < 0) return;
    const Bitboard safe     = ~b.own & ~theirs;
    const Bitboard diagonal = bishop_lookup(b.enemy, b.occ), straight = rook_lookup(b.enemy, b.occ);
    const Bitboard from[7]  = {0, 0, KnightAttacks[b.enemy], diagonal, straight,
                               diagonal | straight, 0};
    for (int type = Knight; type <= Queen; ++type) {
        const int checks = std::popcount(from[type] & a.by[type] & safe);
        out.attack(weight(SafeChecks, type), checks);
        f.checks += checks;
    }
}

// The side to move of v, scored on v's board: steps 1 to 3 for its own pieces, and its attacks
// on the opponent's king.
template <class Out>
SideFacts score_side(Out& out, const SideView& b, Attacks& a) {
    SideFacts f{0, 0, 0, 0, 0};
    score_pieces(out, f, b, a);
    score_pawns(out, b);
    score_shield(out, b);
    f.pawnCount     = std::popcount(b.ownPawns);
    f.pieceMaterial = 3 * std::popcount(b.own & (knights(b.v) | bishops(b.v))) +
                      5 * std::popcount(b.own & rooks(b.v)) +
                      9 * std::popcount(b.own & queens(b.v));
    return f;
}

// The middle-game bonus of an attack on the king worth these units, counted when two pieces
// attack the king's zone, or one and a safe check is there.
constexpr int king_danger(int units) {
    return units * units / DangerDivisor < DangerCap ? units * units / DangerDivisor : DangerCap;
}
static_assert(king_danger(20) == 66 && king_danger(30) == 150 && king_danger(60) == 500);
constexpr bool danger_counts(const SideFacts& f) {
    return f.attackers >= 2 || (f.attackers == 1 && f.checks > 0);
}

// A side with no pawns and no more than a minor piece cannot win.
constexpr bool cannot_win(const SideFacts& f) { return f.pawnCount == 0 && f.pieceMaterial <= 3; }

constexpr bool light_square(Square sq) { return ((sq / 8 + sq % 8) & 1) != 0; }

// The scale of the end-game score when this side leads: half with bishops of opposite colours
// alone, none with rook pawns of one file whose queening square the own bishop (or none) does
// not control while the opponent king stands by it.
int end_scale(const SideView& b) {
    const Bitboard others = b.occ & ~pawns(b.v) & ~kings(b.v);
    const Bitboard own_bishops = others & b.own & bishops(b.v);
    if (others == own_bishops && std::popcount(own_bishops) <= 1 && b.ownPawns && b.enemy >= 0) {
        for (const Bitboard file : {FileA, FileA << 7}) {
            const Square queening = lsb(file & Rank8);
            if ((b.ownPawns & ~file) || distance(b.enemy, queening) > 1) continue;
            if (!own_bishops || light_square(lsb(own_bishops)) != light_square(queening))
                return 0;
        }
    }
    const Bitboard their_bishops = others & b.opp & bishops(b.v);
    if (others == (own_bishops | their_bishops) && std::popcount(own_bishops) == 1 &&
        std::popcount(their_bishops) == 1 &&
        light_square(lsb(own_bishops)) != light_square(lsb(their_bishops)))
        return FullScale / 2;
    return FullScale;
}

// Both sides scored, each on its own view of the board.
template <class Out>
void score_both(Out& us, Out& them, const SideView& ub, const SideView& tb, SideFacts& our,
                SideFacts& their) {
    Attacks ours{}, theirs{};
    our   = score_side(us, ub, ours);
    their = score_side(them, tb, theirs);
    score_threats(us, our, ub, ours, mirror(theirs.all));
    score_threats(them, their, tb, theirs, mirror(ours.all));
}

} // namespace

// The two sides' sums, the king dangers that count, the end game scaled by the leading side's
// chances, blended by the phase; the lead of a side that cannot win counts as none.
int strong_evaluate(const Position& p) {
    const Position other = flipped(p);
    const SideView ub = view_of(p), tb = view_of(other);
    Sum us, them;
    SideFacts our, their;
    score_both(us, them, ub, tb, our, their);
    int phase = our.phase + their.phase;
    if (phase > FullPhase) phase = FullPhase;
    const int sum    = us.score - them.score + Weights[weight(Tempo)];
    const int middle = middle_of(sum) + (danger_counts(our) ? king_danger(us.danger) : 0) -
                       (danger_counts(their) ? king_danger(them.danger) : 0);
    int end = end_of(sum);
    if (end != 0) end = end * end_scale(end > 0 ? ub : tb) / FullScale;
    int score = (middle * phase + end * (FullPhase - phase)) / FullPhase;
    if (score > 0 && cannot_win(our)) score = 0;
    if (score < 0 && cannot_win(their)) score = 0;
    return score;
}

void strong_trace(const Position& p, StrongTrace& trace) {
    trace                = StrongTrace{};
    const Position other = flipped(p);
    const SideView ub = view_of(p), tb = view_of(other);
    Trace us{trace, 0}, them{trace, 1};
    SideFacts our, their;
    score_both(us, them, ub, tb, our, their);
    us.add(weight(Tempo));
    trace.phase     = our.phase + their.phase < FullPhase ? our.phase + their.phase : FullPhase;
    trace.dangerOn  = {danger_counts(our), danger_counts(their)};
    trace.cannotWin = {cannot_win(our), cannot_win(their)};
    trace.scale     = {end_scale(ub), end_scale(tb)};
}

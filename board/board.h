// Position and rules: the position record and its stack, FEN, attacks and check, making moves,
// move words, move lists and move text.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#ifdef __BMI2__
#include <immintrin.h>
#endif

using Bitboard = std::uint64_t;
using Square   = int;           // 0..63 = rank * 8 + file, always in the side to move's view
using Move     = std::uint32_t; // see the diagram below

// Piece types, spelled by the three type planes of a square (bit 0, bit 1, bit 2).
enum PieceType : int { Empty = 0, Pawn = 1, Knight = 2, Bishop = 3, Rook = 4, Queen = 5, King = 6 };

// Squares by name, as the side to move sees the board: rank 1 is always its own first rank.
// clang-format off
enum SquareName : Square {
    A1, B1, C1, D1, E1, F1, G1, H1,
    A2, B2, C2, D2, E2, F2, G2, H2,
    A3, B3, C3, D3, E3, F3, G3, H3,
    A4, B4, C4, D4, E4, F4, G4, H4,
    A5, B5, C5, D5, E5, F5, G5, H5,
    A6, B6, C6, D6, E6, F6, G6, H6,
    A7, B7, C7, D7, E7, F7, G7, H7,
    A8, B8, C8, D8, E8, F8, G8, H8,
};
// clang-format on
// The square as White sees the board, for a square of a record with the given side to move.
constexpr Square white_view(Square sq, int blackToMove) { return blackToMove ? sq ^ 56 : sq; }

// Castling rights: the side to move's in the low half of the byte, the opponent's in the high.
enum CastlingRights : std::uint8_t {
    OwnQueenSide = 0x01, OwnKingSide = 0x02, OwnRights = 0x03,
    TheirQueenSide = 0x10, TheirKingSide = 0x20,
};
// The same rights seen from the other side: the two halves change places.
constexpr std::uint8_t swapped_rights(std::uint8_t rights) {
    return std::uint8_t((rights >> 4) | (rights << 4));
}
constexpr std::uint8_t NoEpFile = 8; // no en-passant capture is possible

// The position as seen by the side to move. While Black is to move the whole board is mirrored
// top to bottom (square XOR 56), so forward is always towards higher squares.
struct Position {
    Bitboard ownPieces;            // pieces of the side to move
    Bitboard typeBit0;             // bit 0 of each square's piece type (either colour)
    Bitboard typeBit1;             // bit 1
    Bitboard typeBit2;             // bit 2
    std::uint8_t castling;         // CastlingRights: the side to move's low, the opponent's high
    std::uint8_t epFile;           // file the side to move may take en passant on, or NoEpFile
    std::uint8_t reversibleCount;  // half-moves since the last capture or pawn move
    std::uint8_t repetitions;      // 0 new, 1 second occurrence, 2 third occurrence
    std::int32_t blackToMove;      // 0 White to move, 1 Black to move
};
static_assert(sizeof(Position) == 40);
static_assert(std::is_trivially_copyable_v<Position>);
static_assert(offsetof(Position, castling) == 32 && offsetof(Position, blackToMove) == 36);

// The game, then the search path above it, one record per ply. Record 0 holds the first
// position of the game; the record after CurrentPosition is scratch for the next make_move.
constexpr int StackSize = 600;
// Records kept free above the game for the deepest search: 32 full-width plies, at most 46
// quiescence plies (each one captures or promotes), and an exchange played out on top.
constexpr int SearchReserve = 128;
// Each thread that searches has its own stack (the strong style searches on several); the
// current record is set by new_game, or by a thread that takes over a copy of the game.
extern thread_local constinit std::array<Position, StackSize> PositionStack;
extern thread_local constinit Position* CurrentPosition;
extern thread_local constinit std::uint32_t IterationNodeCount; // moves made by the iteration

// Move word:
//   bits  0- 7  MoveFlags: moving piece type in bits 0-2, 0x08 capture,
//               0x10 promotion (pawn) or king-side castling (king),
//               0x20 en passant (pawn) or queen-side castling (king)
//   bits  8-15  from square, 16-23 to square (the mover's view)
//   bits 24-31  promotion piece type, 0 when the move does not promote
enum MoveFlags : std::uint32_t {
    PawnPush = 1, KnightMove = 2, BishopMove = 3, RookMove = 4, QueenMove = 5, KingMove = 6,
    PawnCapture = 9, KnightCapture = 10, BishopCapture = 11, RookCapture = 12, QueenCapture = 13,
    KingCapture = 14, Promotion = 17, CastleKingSide = 22, PromotionCapture = 25,
    CastleQueenSide = 38, EnPassant = 41
};
constexpr Move KingSideCastle  = 0x00060416; // e1 to g1
constexpr Move QueenSideCastle = 0x00020426; // e1 to c1

constexpr Move make_move_word(std::uint32_t flags, Square from, Square to, int promo = 0) {
    return flags | (Move(from) << 8) | (Move(to) << 16) | (Move(promo) << 24);
}
constexpr std::uint32_t CaptureFlag = 0x08;
constexpr std::uint32_t move_flags(Move m) { return m & 0xFF; }
constexpr int moving_piece(Move m) { return int(m & 7); }
constexpr bool is_capture(Move m) { return (m & CaptureFlag) != 0; } // en passant included
constexpr Square move_from(Move m) { return Square((m >> 8) & 0xFF); }
constexpr Square move_to(Move m) { return Square((m >> 16) & 0xFF); }
constexpr int move_promotion(Move m) { return int(m >> 24); }

struct MoveEntry {
    Move move;
    std::int32_t score;
};
constexpr int MoveListSize  = 100;
constexpr int QuietListSize = 300;
struct MoveList {
    std::uint32_t count;
    MoveEntry entries[MoveListSize];
};
struct QuietList {
    std::uint32_t count;
    Move moves[QuietListSize];
};

// Bit helpers.
constexpr Bitboard bit(Square sq) { return Bitboard(1) << sq; }
constexpr Square lsb(Bitboard bb) { return std::countr_zero(bb); }
constexpr Square msb(Bitboard bb) { return 63 - std::countl_zero(bb); }
// Removes and returns the lowest square of a non-empty set.
constexpr Square pop_lsb(Bitboard& bb) {
    Square sq = lsb(bb);
    bb &= bb - 1;
    return sq;
}
// Mirrors a set top to bottom: rank r becomes rank 7 - r, files stay.
constexpr Bitboard mirror(Bitboard bb) { return __builtin_bswap64(bb); }

constexpr Bitboard NotAFile = 0xFEFEFEFEFEFEFEFEull;
constexpr Bitboard NotHFile = 0x7F7F7F7F7F7F7F7Full;
constexpr Bitboard Rank1 = 0x00000000000000FFull, Rank2 = 0x000000000000FF00ull;
constexpr Bitboard Rank4 = 0x00000000FF000000ull, Rank7 = 0x00FF000000000000ull;
constexpr Bitboard Rank8 = 0xFF00000000000000ull;

// Pawn captures. The side to move's pawns capture upwards, one file to the right (towards h) or
// to the left; the opponent's pawns capture downwards. Attacks are symmetric, so the squares
// from which an opponent pawn attacks a set are the set's own pawn attacks, and the other way.
constexpr Bitboard pawn_attacks_right(Bitboard set) { return (set << 9) & NotAFile; }
constexpr Bitboard pawn_attacks_left(Bitboard set) { return (set << 7) & NotHFile; }
constexpr Bitboard pawn_attacks(Bitboard set) {
    return pawn_attacks_right(set) | pawn_attacks_left(set);
}
constexpr Bitboard opponent_pawn_attacks(Bitboard set) {
    return ((set >> 9) & NotHFile) | ((set >> 7) & NotAFile);
}
static_assert(pawn_attacks(bit(A2)) == bit(B3) && opponent_pawn_attacks(bit(H7)) == bit(G6));

// Piece sets of both colours, from the three type planes.
constexpr Bitboard occupied(const Position& p) { return p.typeBit0 | p.typeBit1 | p.typeBit2; }
constexpr Bitboard opponent_pieces(const Position& p) { return occupied(p) ^ p.ownPieces; }
constexpr Bitboard pawns(const Position& p) { return p.typeBit0 & ~p.typeBit1 & ~p.typeBit2; }
constexpr Bitboard knights(const Position& p) { return p.typeBit1 & ~p.typeBit0 & ~p.typeBit2; }
constexpr Bitboard bishops(const Position& p) { return p.typeBit0 & p.typeBit1 & ~p.typeBit2; }
constexpr Bitboard rooks(const Position& p) { return p.typeBit2 & ~p.typeBit0 & ~p.typeBit1; }
constexpr Bitboard queens(const Position& p) { return p.typeBit0 & p.typeBit2 & ~p.typeBit1; }
constexpr Bitboard kings(const Position& p) { return p.typeBit1 & p.typeBit2; }
constexpr Bitboard diagonal_sliders(const Position& p) {
    return p.typeBit0 & (p.typeBit1 | p.typeBit2);
}
constexpr Bitboard straight_sliders(const Position& p) {
    return p.typeBit2 & (p.typeBit0 | ~p.typeBit1);
}
// The pieces of one type, of either colour.
constexpr Bitboard pieces_of_type(const Position& p, int type) {
    return (type & 1 ? p.typeBit0 : ~p.typeBit0) & (type & 2 ? p.typeBit1 : ~p.typeBit1) &
           (type & 4 ? p.typeBit2 : ~p.typeBit2);
}
constexpr int piece_type_at(const Position& p, Square sq) {
    return int((p.typeBit0 >> sq) & 1) | int(((p.typeBit1 >> sq) & 1) << 1) |
           int(((p.typeBit2 >> sq) & 1) << 2);
}

// Turns a record to the other side's view: the board mirrored, the other side's pieces its
// own, the rights' halves swapped. Two changes of view restore a record exactly.
constexpr void turn_over(Position& p) {
    p.ownPieces = mirror(opponent_pieces(p));
    p.typeBit0  = mirror(p.typeBit0);
    p.typeBit1  = mirror(p.typeBit1);
    p.typeBit2  = mirror(p.typeBit2);
    p.castling  = swapped_rights(p.castling);
    p.blackToMove ^= 1;
}
constexpr Position flipped(const Position& p) {
    Position q = p;
    turn_over(q);
    return q;
}

// En passant: the square the capture lands on, as a set, when the side to move may take there
// (and the square is one of onto): the opponent's double-pushed pawn stands in front of it and
// the square itself is empty (a FEN's en-passant field is not otherwise checked).
constexpr Bitboard en_passant_target(const Position& p, Bitboard onto = ~Bitboard(0)) {
    if (p.epFile == NoEpFile) return 0;
    const Bitboard target = bit(A6 + p.epFile) & onto;
    if (!target || (occupied(p) & target) || !(opponent_pieces(p) & pawns(p) & (target >> 8)))
        return 0;
    return target;
}
// The own pawns that may take en passant onto target: the one to its left first.
constexpr Bitboard en_passant_capturers(const Position& p, Bitboard target) {
    return opponent_pawn_attacks(target) & p.ownPieces & pawns(p);
}

// Castling, on either side: the right it needs, where king and rook go, the squares between
// them that must be empty, and the king's path (its square, the one it crosses, the one it
// lands on), of which none may be attacked.
struct Castling {
    std::uint8_t right;
    Move move;
    Square kingTo, rookFrom, rookTo;
    Bitboard between, kingPath;
};
inline constexpr Castling QueenSideCastling = {OwnQueenSide, QueenSideCastle, C1, A1, D1,
                                               bit(B1) | bit(C1) | bit(D1),
                                               bit(C1) | bit(D1) | bit(E1)};
inline constexpr Castling KingSideCastling  = {OwnKingSide, KingSideCastle, G1, H1, F1,
                                               bit(F1) | bit(G1), bit(E1) | bit(F1) | bit(G1)};
// The castling a move with these flags (CastleKingSide or CastleQueenSide) makes.
constexpr const Castling& castling_of(std::uint32_t flags) {
    return flags == CastleKingSide ? KingSideCastling : QueenSideCastling;
}
// The rook's squares before and after.
constexpr Bitboard rook_squares(const Castling& c) { return bit(c.rookFrom) | bit(c.rookTo); }
// Whether the side to move may castle so: the right held, king and rook on their squares (a
// FEN may give rights without them), the squares between them empty, and no square of the
// king's path attacked, as the caller's attacked(square) judges it.
template <class Attacked>
constexpr bool castling_possible(const Position& p, const Castling& c, Attacked attacked) {
    const Bitboard own = p.ownPieces;
    if (!(p.castling & c.right) || (occupied(p) & c.between)) return false;
    if (!(own & kings(p) & bit(E1)) || !(own & rooks(p) & bit(c.rookFrom))) return false;
    for (Bitboard path = c.kingPath; path;)
        if (attacked(pop_lsb(path))) return false;
    return true;
}
// The rights after a move of the given piece from one square to another: a king move loses both
// own rights, a rook leaving its corner loses its side, and a capture on the opponent's corner
// takes the opponent's right there.
constexpr std::uint8_t castling_after(std::uint8_t rights, int mover, Square from, Square to,
                                      bool capture) {
    if (!rights) return rights;
    if (mover == King) rights &= ~OwnRights;
    if (mover == Rook && from == A1) rights &= ~OwnQueenSide;
    if (mover == Rook && from == H1) rights &= ~OwnKingSide;
    if (capture && to == A8) rights &= ~TheirQueenSide;
    if (capture && to == H8) rights &= ~TheirKingSide;
    return rights;
}

// Position stack.
void new_game();
void flip_position();
// Steps CurrentPosition back one record (never below record 0).
inline void take_back() {
    if (CurrentPosition > &PositionStack[0]) --CurrentPosition;
}
void count_repetitions();
int stack_index();                // index of CurrentPosition in PositionStack
// Drops the oldest game records when the game nears the search reserve.
void make_room_for_game_move();

// FEN.
[[nodiscard]] int read_fen(const char* text);

// Attacks and check.
// A king steps one square in any direction; steps off the board are dropped.
constexpr Bitboard king_targets(Square sq) {
    Bitboard result = 0;
    for (int dr = -1; dr <= 1; ++dr)
        for (int df = -1; df <= 1; ++df) {
            int r = sq / 8 + dr, f = sq % 8 + df;
            if ((dr || df) && r >= 0 && r < 8 && f >= 0 && f < 8) result |= bit(r * 8 + f);
        }
    return result;
}
// A knight jumps two squares one way and one the other; jumps off the board are dropped.
constexpr Bitboard knight_targets(Square sq) {
    constexpr int steps[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2},
                                 {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
    Bitboard result = 0;
    for (const auto& s : steps) {
        int r = sq / 8 + s[0], f = sq % 8 + s[1];
        if (r >= 0 && r < 8 && f >= 0 && f < 8) result |= bit(r * 8 + f);
    }
    return result;
}
inline constexpr std::array<Bitboard, 64> KingAttacks = [] {
    std::array<Bitboard, 64> table{};
    for (Square sq = 0; sq < 64; ++sq) table[sq] = king_targets(sq);
    return table;
}();
inline constexpr std::array<Bitboard, 64> KnightAttacks = [] {
    std::array<Bitboard, 64> table{};
    for (Square sq = 0; sq < 64; ++sq) table[sq] = knight_targets(sq);
    return table;
}();
static_assert(KingAttacks[4] == 0x3828 && std::popcount(KnightAttacks[0]) == 2);

// Slider attacks by lookup. A square's mask holds the squares whose occupancy can change its
// attacks (its lines without the origin and without the far edges); the occupancy of the mask
// squares, gathered into a dense number, indexes the square's block of SliderTable.
struct SliderSquare {
    Bitboard mask;
    std::uint32_t offset; // first entry of the square's block in SliderTable
};
constexpr int SliderTableSize = 102400 + 5248; // rook blocks, then bishop blocks
extern const std::array<SliderSquare, 64> RookSquares;
extern const std::array<SliderSquare, 64> BishopSquares;
extern const std::array<Bitboard, SliderTableSize> SliderTable;

#if defined(QUILLFERN_RUNTIME_PEXT) && !defined(__BMI2__)
// A build for any x86-64 processor (the package) asks the processor once whether it has a fast
// PEXT: BMI2, and not one of the AMD families that run it in microcode.
extern const bool ProcessorHasPext;
#endif

// Gathers the bits of bb that lie in mask into the low bits of the result, lowest first: the
// number a subset of mask has among all subsets counted in ascending order. One instruction
// (PEXT) where the processor has BMI2; other builds pay a loop over the mask.
inline std::uint64_t gather_bits(Bitboard bb, Bitboard mask) {
#ifdef __BMI2__
    return _pext_u64(bb, mask);
#else
#ifdef QUILLFERN_RUNTIME_PEXT
    if (ProcessorHasPext) {
        std::uint64_t result;
        asm("pextq %2, %1, %0" : "=r"(result) : "r"(bb), "rm"(mask));
        return result;
    }
#endif
    std::uint64_t result = 0;
    for (std::uint64_t out = 1; mask; mask &= mask - 1, out <<= 1)
        if (bb & mask & -mask) result |= out;
    return result;
#endif
}

// The attacks of a rook or bishop on sq for any occupancy; the origin's own bit is ignored.
inline Bitboard rook_lookup(Square sq, Bitboard occupancy) {
    const SliderSquare& s = RookSquares[sq];
    return SliderTable[s.offset + gather_bits(occupancy, s.mask)];
}
inline Bitboard bishop_lookup(Square sq, Bitboard occupancy) {
    const SliderSquare& s = BishopSquares[sq];
    return SliderTable[s.offset + gather_bits(occupancy, s.mask)];
}
inline Bitboard queen_lookup(Square sq, Bitboard occupancy) {
    return rook_lookup(sq, occupancy) | bishop_lookup(sq, occupancy);
}
// The same for an occupancy that holds sq, as the board's occupancy does when a piece stands
// there; an occupancy without sq gives the empty set.
inline Bitboard rook_attacks(Square sq, Bitboard occupancy) {
    return (occupancy & bit(sq)) ? rook_lookup(sq, occupancy) : 0;
}
inline Bitboard bishop_attacks(Square sq, Bitboard occupancy) {
    return (occupancy & bit(sq)) ? bishop_lookup(sq, occupancy) : 0;
}

// LineThrough[a][b]: the whole line (rank, file or diagonal) through two squares that share
// one, else empty. Between[a][b]: the squares strictly between them on that line, else empty.
extern const std::array<std::array<Bitboard, 64>, 64> LineThrough;
extern const std::array<std::array<Bitboard, 64>, 64> Between;

Bitboard in_check();
Bitboard move_left_king_in_check();

// Legality without making the move. What the side to move's king needs to know once per
// position; king is -1 when the side does not have exactly one king, and every test then
// takes the general route.
struct KingSafety {
    Bitboard checkers; // opponent pieces attacking the king
    Bitboard pinned;   // own pieces that alone stand between the king and an opponent slider
    Bitboard evasions; // where another piece's move must land: anywhere, on the checker or
                       // between it and the king, or nowhere under a double check
    Square king;
};
KingSafety king_safety();
// Whether the king on ks.king (not -1) may step to sq, empty or holding an opponent piece: sq
// is not attacked once the king has left its square and the piece on sq is gone.
bool king_step_is_legal(const KingSafety& ks, Square sq);
// Whether make_move(m) would be followed by an empty move_left_king_in_check, for a
// pseudo-legal m of the current position, found from the position after the move without
// making it.
bool move_is_legal(Move m);
// The same answer from the king's safety: a piece other than the king keeps its king safe when
// it lands where a check needs it and, if pinned, stays on its pin line; a king step is safe
// when its square is. Castling and en passant, which move or take a second piece, take the
// general route.
inline bool move_is_legal(Move m, const KingSafety& ks) {
    const std::uint32_t flags = move_flags(m);
    const Square from = move_from(m), to = move_to(m);
    if (ks.king < 0 || flags == EnPassant || flags == CastleKingSide || flags == CastleQueenSide)
        return move_is_legal(m);
    if (moving_piece(m) == King) return king_step_is_legal(ks, to);
    if (!(ks.evasions & bit(to))) return false;
    return !(ks.pinned & bit(from)) || (LineThrough[ks.king][from] & bit(to));
}

// Making moves.
void make_move(Move m);

// Move lists and text.
void move_to_text(char* text, Move m, const Position* pos);
void move_to_text_for(char* text, Move m, int blackToMove);
void clear_move_list(MoveList& list);
Move pick_best_move(MoveList& list);


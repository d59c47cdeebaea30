// Position and rules: FEN, attacks, legality, making moves, user moves, the stack's bounds.
#include <algorithm>
#include <cstring>

#include "tests/support.h"

namespace {

constexpr Square sq(const char* name) { return (name[0] - 'a') + 8 * (name[1] - '1'); }

bool same_record(const Position& a, const Position& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

} // namespace

TEST(Fen, AcceptedTexts) {
    new_game();
    const Position start = *CurrentPosition;
    set_up("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
    EXPECT_TRUE(same_record(start, *CurrentPosition));
    const struct {
        const char* fen;
        std::uint8_t castling, epFile, clock;
    } cases[] = {
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1", 0x33, 8, 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R b Kq - 0 1", 0x21, 8, 0},
        {"4k3/8/8/8/3Pp3/8/8/4K3 b - d3x x", 0, 3, 0},      // clock "x" reads as 0
        {"  4k3/8/8/8/8/8/8/4K3   w   -   -   7  ", 0, 8, 7}, // runs of blanks
        {"4k3/8/8/8/8/8/8/4K3 w - - \t+5 1", 0, 8, 5},        // white space and a sign
        {"4k3//8/8/8/8/8/8/4K3X w - - 100", 0, 8, 100}, // "//" is one separator; a rank's rest
    };
    for (const auto& c : cases) {
        set_up(c.fen);
        EXPECT_EQ(CurrentPosition->castling, c.castling) << c.fen;
        EXPECT_EQ(CurrentPosition->epFile, c.epFile) << c.fen;
        EXPECT_EQ(CurrentPosition->reversibleCount, c.clock) << c.fen;
    }
}

// What a refused text leaves: a bad side to move nothing at all, later fields what they had.
TEST(Fen, RejectedTexts) {
    const struct {
        const char* fen;
        bool untouched;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 W - - 0 1", true},  {"4k3/8/8/8/8/8/8/4K3 white - - 0 1", true},
        {"4k3/8/8/8/8/8/8/4K3", true},            {"4k3/8/8/8/8/8/8/4K3\tw - - 0 1", true},
        {"4k3/8/8/8/8/8/8/4K2 w - - 0 1", false}, {"4k3/8/8/8/8/8/8/4K0K2 w - - 0 1", false},
        {"4k3/8/8/8/8/8/4K3 w - - 0 1", false},   {"p8/8/8/8/8/8/8/4K3 w - - 0 1", false},
        {"4k3/8/8/8/8/8/8/4K3 w KX - 0 1", false}, {"4k3/8/8/8/8/8/8/4K3 w", false},
        {"4k3/8/8/8/8/8/8/4K3 w - - 101 1", false}, {"4k3/8/8/8/8/8/8/4K3 w - - \t-5 1", false},
        {"4k3/8/8/8/8/8/8/4K3 w - -", false},     {"4k3/8/8/8/8/8/8/4K3 w - e3 0 1", false},
        {"4k3/8/8/8/8/8/8/4K3 b - e6 0 1", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        make_move(make_move_word(PawnPush, sq("e2"), sq("e4"))); // epFile 4, Black to move
        const Position before = *CurrentPosition;
        EXPECT_EQ(read_fen(c.fen), 0);
        if (c.untouched) { EXPECT_TRUE(same_record(before, *CurrentPosition)); }
        EXPECT_EQ(CurrentPosition->epFile, before.epFile); // written only by an accepted text
    }
    // A digit past the h-file must not clear squares of the next rank.
    new_game();
    EXPECT_EQ(read_fen("8/8/8/8/8/8/p8/RNBQKBNR w - - 0 1"), 0);
    EXPECT_EQ(occupied(*CurrentPosition) & Rank1, 0u);
}

TEST(Attacks, KingTests) {
    set_up("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
    EXPECT_EQ(in_check(), bit(14)); // the queen on g7, seen from Black's side
    set_up("7k/6Q1/6K1/8/8/8/8/8 w - - 0 1");
    EXPECT_EQ(move_left_king_in_check(), bit(54));
    for (const char* fen : {"8/8/8/8/7k/P7/8/K7 b - - 0 1", "8/8/8/8/k7/7P/8/K7 b - - 0 1",
                            "8/8/8/8/8/8/8/R7 w - - 0 1"}) { // pawns across the edge; no king
        set_up(fen);
        EXPECT_EQ(in_check() | move_left_king_in_check(), 0u) << fen;
    }
}

// Legality found without making the move must be what making it and asking the king test says.
TEST(Legality, AnswersAsMakingTheMoveDoes) {
    for_each_random_position(7, 3, 60, [&](const std::string& where) {
        SCOPED_TRACE(where);
        const KingSafety ks = king_safety();
        if (ks.king >= 0) { ASSERT_EQ(ks.checkers, in_check()); }
        Move moves[MaxGameMoves];
        int count;
        generate_moves(moves, count);
        for (int i = 0; i < count; ++i) {
            make_move(moves[i]);
            const bool legal = !move_left_king_in_check();
            take_back();
            ASSERT_EQ(move_is_legal(moves[i]), legal) << text_of(moves[i]);
            ASSERT_EQ(move_is_legal(moves[i], ks), legal) << text_of(moves[i]);
        }
    });
}

// Rights lost by king and rook moves and by a capture on the corner; the rook goes with the
// king; en passant takes the pawn behind; a promotion makes its piece.
TEST(MakeMove, CastlingRightsAndSpecialMoves) {
    const struct {
        const char* fen;
        Move move;
        std::uint8_t castling, clock;
        const char* square; // where the move leaves its piece, seen from the other side
        int type;
    } cases[] = {
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", KingSideCastle, 0x03, 1, "f8", Rook},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", make_move_word(RookCapture, sq("h1"), sq("h8")), 0x11, 0, "h1", Rook},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", make_move_word(RookMove, sq("a1"), sq("b1")), 0x23, 1, "b8", Rook},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", make_move_word(KingMove, sq("e1"), sq("f1")), 0x03, 1, "f8", King},
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 5 1", make_move_word(EnPassant, sq("e5"), sq("d6")), 0, 0, "d5", Empty},
        {"nr2k3/1P6/8/8/8/8/8/4K3 w - - 0 1", make_move_word(PromotionCapture, sq("b7"), sq("a8"), Knight), 0x00, 0, "a1", Knight},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.move);
        set_up(c.fen);
        make_move(c.move);
        EXPECT_EQ(CurrentPosition->castling, c.castling);
        EXPECT_EQ(CurrentPosition->reversibleCount, c.clock);
        EXPECT_EQ(piece_type_at(*CurrentPosition, sq(c.square)), c.type);
        EXPECT_EQ(CurrentPosition->epFile, 8);
    }
}

// The eighth position of a four-move shuffle is the third occurrence of the first, with bishops
// too; a pawn move cuts the history; castling rights are not compared; a FEN clock larger than
// the game never scans below record 0.
TEST(MakeMove, Repetitions) {
    const struct {
        const char* fen;
        const char* moves;
        const char* repetitions; // after each move
    } cases[] = {
        {nullptr, "g1f3g8f6f3g1f6g8g1f3g8f6f3g1f6g8", "00011112"},
        {"rnbqkbnr/pppp1ppp/4p3/8/8/4P3/PPPP1PPP/RNBQKBNR w KQkq - 0 2", "f1d3f8d6d3f1d6f8f1d3f8d6d3f1d6f8", "00011112"},
        {nullptr, "g1f3g8f6f3g1f6g8e2e4", "00010"},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", "e1f1e8f8f1e1f8e8", "0001"},
        {"4k3/8/8/8/8/8/8/4K3 w - - 99 1", "e1e2e8e7e2e1e7e8", "0001"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.moves);
        set_up(c.fen ? c.fen : "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
        for (int n = 0; c.moves[4 * n]; ++n) {
            ASSERT_EQ(enter_user_move(std::string(c.moves + 4 * n, 4).c_str()), 1);
            EXPECT_EQ(CurrentPosition->repetitions, c.repetitions[n] - '0') << n;
        }
    }
}

TEST(UserMoves, AcceptedAndRefusedTexts) {
    const struct {
        const char* fen; // nullptr: the start position
        const char* move;
        int accepted;
    } cases[] = {
        {nullptr, "e2e4", 1},  {nullptr, "e2e5", 0}, {nullptr, "e2e4 ", 0}, {nullptr, "e7e5", 0},
        {nullptr, "d1d2", 0},  {nullptr, "i2i4", 0}, {nullptr, "e2e", 0},
        {nullptr, "g1f3q", 1}, // a letter after a piece move changes nothing
        {"4k3/8/8/8/8/1p6/PP6/4K3 w - - 0 1", "a2b3", 1}, {"4k3/8/8/8/8/8/PP6/4K3 w - - 0 1", "a2b3", 0},
        {"4k3/8/8/8/8/P7/P7/4K3 w - - 0 1", "a2a4", 0},   {"4k3/8/8/8/8/8/P6p/4K3 w - - 0 1", "a2h3", 0},
        {"4k3/8/8/8/p7/8/7P/4K3 w - - 0 1", "h2a4", 0},   {"4k3/8/8/8/8/8/8/4K2R w K - 0 1", "e1g1", 1},
        {"4k3/8/8/8/8/8/5r2/4K2R w K - 0 1", "e1g1", 0},  {"k7/4P3/8/8/8/8/8/4K3 w - - 0 1", "e7e8Q", 0},
        {"4k3/8/8/8/8/8/3r4/4K3 w - - 0 1", "e1e2", 0},   // into check
        {"4k3/8/8/8/8/8/P7/4K3 w - - 0 1", "a2a3q", 0},   // a letter short of the last rank
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6q", 0}, {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fen ? c.fen : "start") + " " + c.move);
        set_up(c.fen ? c.fen : "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
        const Position before = *CurrentPosition;
        Position* where       = CurrentPosition;
        EXPECT_EQ(enter_user_move(c.move), c.accepted);
        EXPECT_EQ(CurrentPosition, where + c.accepted);
        if (!c.accepted) { EXPECT_TRUE(same_record(before, *CurrentPosition)); }
    }
    // The last rank: no letter makes a queen, a letter its piece.
    for (const char* move : {"a7a8", "a7b8n"}) {
        set_up("1r5k/P7/8/8/8/8/8/4K3 w - - 0 1");
        ASSERT_EQ(enter_user_move(move), 1);
        const Bitboard made = move[4] ? knights(*CurrentPosition) : queens(*CurrentPosition);
        EXPECT_EQ(made, bit(sq(move + 2) ^ 56)) << move;
        EXPECT_EQ(pawns(*CurrentPosition), 0u);
    }
}

// "undo" at record 0 stays there; 1,200 plies of a shuffle keep below the search's reserve, the
// oldest records dropped only when a move is played: a refused one leaves every record as it was.
TEST(Stack, NeverLeftAtEitherEnd) {
    new_game();
    take_back();
    EXPECT_EQ(CurrentPosition, &PositionStack[0]);
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int n = 0; n < 1200; ++n) {
        const std::vector<Position> before(PositionStack.begin(), PositionStack.begin() + stack_index() + 1);
        ASSERT_EQ(enter_user_move("e2e5"), 0);
        ASSERT_TRUE(std::equal(before.begin(), before.end(), PositionStack.begin(), same_record));
        ASSERT_EQ(stack_index() + 1, int(before.size()));
        ASSERT_EQ(enter_user_move(shuffle[n % 4]), 1) << n;
        ASSERT_LT(stack_index(), StackSize - SearchReserve);
    }
    EXPECT_GE(CurrentPosition->repetitions, 2);
}

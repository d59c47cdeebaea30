// Position and rules: the record, FEN, attacks, make move, move text, user moves, lists.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "board/board.h"
#include "movegen/movegen.h"
#include "random_positions.h"
#include "shell/shell.h"

namespace {

constexpr Square sq(const char* name) { return (name[0] - 'a') + 8 * (name[1] - '1'); }

void set_up(const char* fen) {
    new_game();
    ASSERT_EQ(read_fen(fen), 1) << fen;
}

bool same_record(const Position& a, const Position& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

std::string text_of(Move m) {
    char text[6];
    move_to_text(text, m, CurrentPosition);
    return text;
}

void play(std::initializer_list<const char*> moves) {
    for (const char* m : moves) ASSERT_EQ(enter_user_move(m), 1) << m;
}

} // namespace

TEST(Position, StartRecordAndItsDerivedSets) {
    new_game();
    const Position& p = *CurrentPosition;
    EXPECT_EQ(CurrentPosition, &PositionStack[0]);
    EXPECT_EQ(occupied(p), 0xFFFF00000000FFFFull);
    EXPECT_EQ(kings(p), 0x1000000000000010ull);
    EXPECT_EQ(pawns(p), 0x00FF00000000FF00ull);
    EXPECT_EQ(opponent_pieces(p), 0xFFFF000000000000ull);
    EXPECT_EQ(p.castling, 0x33);
    EXPECT_EQ(p.epFile, 8);
    Position fen_record;
    ASSERT_EQ(read_fen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"), 1);
    fen_record = *CurrentPosition;
    new_game();
    EXPECT_TRUE(same_record(fen_record, *CurrentPosition));
}

TEST(Position, TwoFlipsRestoreTheRecord) {
    set_up("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K1R1 b Kq - 37 1");
    Position saved = *CurrentPosition;
    flip_position();
    EXPECT_FALSE(same_record(saved, *CurrentPosition));
    EXPECT_EQ(CurrentPosition->castling, 0x12);
    flip_position();
    EXPECT_TRUE(same_record(saved, *CurrentPosition));
}

TEST(Fen, AcceptedTextsAndTheirRecords) {
    set_up("8/8/8/4q3/8/2k5/8/2K5 b - - 11 65 ");
    const Position& p = *CurrentPosition;
    EXPECT_EQ(p.blackToMove, 1);
    EXPECT_EQ(p.castling, 0);
    EXPECT_EQ(p.epFile, 8);
    EXPECT_EQ(p.reversibleCount, 11);
    EXPECT_TRUE(p.ownPieces & kings(p) & bit(42));

    struct Case {
        const char* fen;
        std::uint8_t castling, epFile, clock;
    };
    const Case cases[] = {
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", 0x33, 8, 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1", 0x33, 8, 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R w Kq - 0 1", 0x12, 8, 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R b Kq - 0 1", 0x21, 8, 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KKQ - 0 1", 0x03, 8, 0},
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 100 1", 0, 3, 100},
        {"4k3/8/8/8/3Pp3/8/8/4K3 b - d3x x", 0, 3, 0},   // clock "x" reads as 0
        {"  4k3/8/8/8/8/8/8/4K3   w   -   -   7  ", 0, 8, 7}, // runs of blanks
        {"4k3//8/8/8/8/8/8/4K3 w - - 0", 0, 8, 0},         // runs of '/' are one separator
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        EXPECT_EQ(read_fen(c.fen), 1);
        EXPECT_EQ(CurrentPosition->castling, c.castling);
        EXPECT_EQ(CurrentPosition->epFile, c.epFile);
        EXPECT_EQ(CurrentPosition->reversibleCount, c.clock);
        EXPECT_EQ(CurrentPosition->repetitions, 0);
    }
}

TEST(Fen, RejectedTextsLeaveTheDocumentedState) {
    struct Case {
        const char* fen;
        const char* what; // which fields keep the old record's values
    };
    const Case cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 W - - 0 1", "untouched"},
        {"4k3/8/8/8/8/8/8/4K3 white - - 0 1", "untouched"},
        {"4k3/8/8/8/8/8/8/4K3", "untouched"},
        {"", "untouched"},
        {"4k3/8/8/8/8/8/8/4K3\tw - - 0 1", "untouched"},
        {"4k3/8/8/8/8/8/8/4K2 w - - 0 1", "placement"},
        {"4k3/8/8/8/8/8/8/4K3X w - - 0 1", "accepted"}, // the rest of a full rank is ignored
        {"4k3/8/8/8/8/8/8/4K0K2 w - - 0 1", "placement"},
        {"4k3/8/8/8/8/8/8/4K9 w - - 0 1", "placement"},
        {"p8/8/8/8/8/8/8/4K3 w - - 0 1", "placement"},
        {"4k3/8/8/8/8/8/4K3 w - - 0 1", "placement"},
        {"4k3/8/8/8/8/8/8/4K3 w KX - 0 1", "castling"},
        {"4k3/8/8/8/8/8/8/4K3 w", "castling"},
        {"4k3/8/8/8/8/8/8/4K3 w - - 101 1", "clock"},
        {"4k3/8/8/8/8/8/8/4K3 w - - -1 1", "clock"},
        {"4k3/8/8/8/8/8/8/4K3 w - -", "clock"},
        {"4k3/8/8/8/8/8/8/4K3 w - e3 0 1", "ep"},
        {"4k3/8/8/8/8/8/8/4K3 b - e6 0 1", "ep"},
        {"4k3/8/8/8/8/8/8/4K3 w - i6 0 1", "ep"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        make_move(make_move_word(PawnPush, sq("e2"), sq("e4"))); // epFile 4, Black to move
        Position before = *CurrentPosition;
        int result      = read_fen(c.fen);
        const Position& p = *CurrentPosition;
        std::string what = c.what;
        EXPECT_EQ(result, what == "accepted" ? 1 : 0);
        if (what == "untouched") {
            EXPECT_TRUE(same_record(before, p));
        }
        if (what == "castling" || what == "clock") {
            EXPECT_EQ(p.ownPieces, bit(sq("e1")));
            EXPECT_EQ(kings(p), bit(sq("e1")) | bit(sq("e8")));
            EXPECT_EQ(p.epFile, before.epFile);
            EXPECT_EQ(p.blackToMove, before.blackToMove);
            EXPECT_EQ(p.castling, what == "castling" ? before.castling : 0);
        }
        if (what == "ep") {
            EXPECT_EQ(p.epFile, before.epFile);
            EXPECT_EQ(p.reversibleCount, 0);
        }
        if (what == "placement") { // other fields untouched, nothing beyond the board's squares
            EXPECT_EQ(p.castling, before.castling);
            EXPECT_EQ(p.epFile, before.epFile);
        }
    }
    // A digit past the h-file must not clear squares of the next rank.
    new_game();
    EXPECT_EQ(read_fen("8/8/8/8/8/8/p8/RNBQKBNR w - - 0 1"), 0);
    EXPECT_EQ(occupied(*CurrentPosition) & Rank1, 0u); // the first rank is never reached
}

TEST(Fen, AnyTextIsAnsweredWithoutStrayAccess) {
    std::mt19937 rng(7);
    const char alphabet[] = "pnbrqkPNBRQK12345678/ wb-KQkqeh36 0x\t";
    for (int n = 0; n < 3000; ++n) {
        std::string text;
        int length = int(rng() % (n < 2900 ? 90 : 10000));
        for (int i = 0; i < length; ++i)
            text += n % 3 ? alphabet[rng() % (sizeof alphabet - 1)] : char(rng() % 255 + 1);
        new_game();
        int result = read_fen(text.c_str());
        EXPECT_TRUE(result == 0 || result == 1);
        if (result == 1) {
            perft(2); // whatever was accepted can be searched without stepping off the board
            EXPECT_EQ(CurrentPosition, &PositionStack[0]);
        }
    }
}

TEST(Attacks, SlidersLeapersAndPawnMasks) {
    auto set = [](std::initializer_list<const char*> names) {
        Bitboard b = 0;
        for (const char* n : names) b |= bit(sq(n));
        return b;
    };
    EXPECT_EQ(std::popcount(rook_attacks(sq("a1"), bit(sq("a1")))), 14);
    EXPECT_EQ(std::popcount(bishop_attacks(sq("d4"), bit(sq("d4")))), 13);
    EXPECT_EQ(rook_attacks(sq("a1"), set({"a1", "d1", "a3"})), set({"b1", "c1", "d1", "a2", "a3"}));
    new_game();
    Bitboard occ = occupied(*CurrentPosition);
    EXPECT_EQ(rook_attacks(sq("a1"), occ), set({"b1", "a2"}));
    EXPECT_EQ(bishop_attacks(sq("c1"), occ), set({"b2", "d2"}));
    for (Square s = 0; s < 64; ++s) { // an occupancy without the square gives nothing
        EXPECT_EQ(rook_attacks(s, occ & ~bit(s)), 0u);
        EXPECT_EQ(bishop_attacks(s, 0x0123456789ABCDEFull & ~bit(s)), 0u);
    }
    EXPECT_EQ(KingAttacks[sq("a1")], 0x0000000000000302ull);
    EXPECT_EQ(KingAttacks[sq("d4")], 0x0000001C141C0000ull);
    EXPECT_EQ(KingAttacks[sq("h8")], 0x40C0000000000000ull);
    EXPECT_EQ(KnightAttacks[sq("b1")], 0x0000000000050800ull);
    EXPECT_EQ(KnightAttacks[sq("g1")], 0x0000000000A01000ull);
    EXPECT_EQ(KnightAttacks[sq("d4")], 0x0000142200221400ull);
}

// The plain rule that the slider lookups must give: along each step, every square up to and
// including the first occupied one; nothing for an occupancy that lacks the square.
Bitboard plain_slider(Square s, Bitboard occupancy, bool diagonal) {
    if (!(occupancy & bit(s))) return 0;
    const int straight[4][2] = {{0, 1}, {0, -1}, {1, 0}, {-1, 0}};
    const int slanted[4][2]  = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
    Bitboard result          = 0;
    for (const auto& step : diagonal ? slanted : straight)
        for (int f = s % 8 + step[0], r = s / 8 + step[1]; f >= 0 && f < 8 && r >= 0 && r < 8;
             f += step[0], r += step[1]) {
            result |= bit(r * 8 + f);
            if (occupancy & bit(r * 8 + f)) break;
        }
    return result;
}

TEST(Attacks, LookupsGiveThePlainRuleForRandomOccupancies) {
    std::mt19937_64 random(20240613);
    for (Square s = 0; s < 64; ++s)
        for (int i = 0; i < 3000; ++i) {
            // Sparse, middling and dense boards, with and without the square itself.
            Bitboard occ = random();
            if (i % 3 == 0) occ &= random() & random();
            if (i % 3 == 1) occ &= random();
            occ = i % 2 ? occ | bit(s) : occ & ~bit(s);
            ASSERT_EQ(rook_attacks(s, occ), plain_slider(s, occ, false)) << s << " " << occ;
            ASSERT_EQ(bishop_attacks(s, occ), plain_slider(s, occ, true)) << s << " " << occ;
        }
    // The index of an occupancy: its bits inside the mask, packed from the lowest up.
    for (int i = 0; i < 10000; ++i) {
        const Bitboard bb = random(), mask = random() & random();
        std::uint64_t packed = 0;
        int next             = 0;
        for (Square s = 0; s < 64; ++s)
            if (mask & bit(s)) packed |= std::uint64_t((bb >> s) & 1) << next++;
        ASSERT_EQ(gather_bits(bb, mask), packed) << bb << " " << mask;
    }
}

TEST(Attacks, LinesAndTheSquaresBetween) {
    EXPECT_EQ(Between[sq("e1")][sq("e8")], 0x0010101010101000ull);
    EXPECT_EQ(Between[sq("h8")][sq("a1")], 0x0040201008040200ull);
    EXPECT_EQ(Between[sq("a8")][sq("h1")], 0x0002040810204000ull);
    EXPECT_EQ(Between[sq("c4")][sq("f4")], bit(sq("d4")) | bit(sq("e4")));
    EXPECT_EQ(Between[sq("e1")][sq("f1")], 0u); // neighbours
    EXPECT_EQ(Between[sq("b1")][sq("c3")], 0u); // a knight's jump is no line
    EXPECT_EQ(LineThrough[sq("c3")][sq("e5")], 0x8040201008040201ull);
    EXPECT_EQ(LineThrough[sq("e2")][sq("e7")], 0x1010101010101010ull);
    EXPECT_EQ(LineThrough[sq("b1")][sq("c3")], 0u);
    EXPECT_EQ(LineThrough[sq("d4")][sq("d4")], 0u);
}

TEST(Attacks, KingTests) {
    new_game();
    EXPECT_EQ(in_check(), 0u);
    EXPECT_EQ(move_left_king_in_check(), 0u);
    set_up("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");
    EXPECT_EQ(in_check(), bit(14));
    set_up("7k/6Q1/6K1/8/8/8/8/8 w - - 0 1");
    EXPECT_EQ(move_left_king_in_check(), bit(54));
    // Pawns never attack across the board's edge.
    set_up("8/8/8/8/7k/P7/8/K7 b - - 0 1");
    EXPECT_EQ(in_check(), 0u);
    set_up("8/8/8/8/k7/7P/8/K7 b - - 0 1");
    EXPECT_EQ(in_check(), 0u);
    set_up("8/8/8/8/1k6/P7/8/K7 b - - 0 1");
    EXPECT_NE(in_check(), 0u);
    // A side without a king is never in check.
    set_up("8/8/8/8/8/8/8/R7 w - - 0 1");
    EXPECT_EQ(in_check(), 0u);
    EXPECT_EQ(move_left_king_in_check(), 0u);
}

// Legality found without making the move must be what making it and asking the king test says,
// for every generated move, legal or not, in every kind of position.
TEST(Legality, AnswersAsMakingTheMoveDoes) {
    int positions = 0;
    for_each_random_position(7, 3, 80, [&](const std::string& where) {
        SCOPED_TRACE(where);
        const KingSafety ks = king_safety();
        if (ks.king >= 0) {
            ASSERT_EQ(ks.checkers, in_check());
        }
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
        ++positions;
    });
    EXPECT_GT(positions, 2000);
}

TEST(Legality, PinsChecksAndEnPassant) {
    struct Case {
        const char* fen;
        const char* move;
        bool legal;
    };
    const Case cases[] = {
        {"4k3/8/8/8/1b6/8/3P4/4K3 w - - 0 1", "d2d3 ", false},  // pinned pawn
        {"4k3/8/8/8/1b6/2P5/3B4/4K3 w - - 0 1", "d2e3 ", true}, // two pieces between: no pin
        {"4k3/8/8/8/1b6/8/3B4/4K3 w - - 0 1", "d2c3 ", true},   // along the pin line
        {"4k3/8/8/8/1b6/8/3B4/4K3 w - - 0 1", "d2b4 ", true},   // taking the pinner
        {"4k3/8/8/8/8/5n2/4r3/4K2R w K - 0 1", "h1f1 ", false}, // double check: only the king
        {"4k3/8/8/8/8/5n2/4r3/4K2R w K - 0 1", "e1e2 ", true},
        {"4k3/8/8/8/8/8/4r3/4K2R w K - 0 1", "h1h2 ", false}, // check not answered
        {"8/8/8/KPp4r/8/8/8/6k1 w - c6 0 1", "b5c6 ", false}, // en passant bares the king
        {"8/8/8/8/k2Pp2Q/8/8/4K3 b - d3 0 1", "e4d3 ", false},
        {"8/8/8/8/8/8/7k/R3K2R w KQ - 0 1", "e1g1 ", false}, // castling next to a king
        {"8/8/8/8/8/8/7k/R3K2R w KQ - 0 1", "e1c1 ", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.fen) + " " + c.move);
        set_up(c.fen);
        Move moves[MaxGameMoves];
        int count;
        generate_moves(moves, count);
        int found = 0;
        for (int i = 0; i < count; ++i)
            if (text_of(moves[i]) == c.move) {
                ++found;
                EXPECT_EQ(move_is_legal(moves[i]), c.legal);
                EXPECT_EQ(move_is_legal(moves[i], king_safety()), c.legal);
            }
        EXPECT_EQ(found, 1);
    }
}

TEST(MakeMove, DoublePushRecord) {
    new_game();
    Position start = *CurrentPosition;
    make_move(make_move_word(PawnPush, sq("e2"), sq("e4")));
    const Position& p = *CurrentPosition;
    EXPECT_EQ(CurrentPosition, &PositionStack[1]);
    EXPECT_EQ(p.ownPieces, start.ownPieces);
    EXPECT_EQ(p.typeBit1, start.typeBit1);
    EXPECT_EQ(p.typeBit2, start.typeBit2);
    EXPECT_EQ(p.typeBit0 ^ start.typeBit0, bit(36) | bit(52));
    EXPECT_EQ(p.castling, 0x33);
    EXPECT_EQ(p.epFile, 4);
    EXPECT_EQ(p.reversibleCount, 0);
    EXPECT_EQ(p.blackToMove, 1);
    take_back();
    EXPECT_TRUE(same_record(start, *CurrentPosition));
}

TEST(MakeMove, CastlingRightsAndCounters) {
    struct Case {
        Move move;
        std::uint8_t castling, clock;
    };
    const Case cases[] = {
        {KingSideCastle, 0x03, 1},
        {make_move_word(RookCapture, sq("h1"), sq("h8")), 0x11, 0},
        {make_move_word(RookMove, sq("a1"), sq("b1")), 0x23, 1},
        {make_move_word(KingMove, sq("e1"), sq("f1")), 0x03, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.move);
        set_up("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
        make_move(c.move);
        EXPECT_EQ(CurrentPosition->castling, c.castling);
        EXPECT_EQ(CurrentPosition->reversibleCount, c.clock);
        EXPECT_EQ(CurrentPosition->epFile, 8);
    }
    // Castling moves the rook too; seen from Black, White's king and rook stand on g8 and f8.
    set_up("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    make_move(KingSideCastle);
    EXPECT_EQ(piece_type_at(*CurrentPosition, sq("g8")), King);
    EXPECT_EQ(piece_type_at(*CurrentPosition, sq("f8")), Rook);
    EXPECT_EQ(piece_type_at(*CurrentPosition, sq("h8")), Empty);
}

TEST(MakeMove, EnPassantAndPromotions) {
    set_up("4k3/8/8/3pP3/8/8/8/4K3 w - d6 5 1");
    make_move(make_move_word(EnPassant, sq("e5"), sq("d6")));
    EXPECT_EQ(pawns(*CurrentPosition), bit(sq("d6") ^ 56));
    EXPECT_EQ(CurrentPosition->reversibleCount, 0);
    set_up("nr2k3/1P6/8/8/8/8/8/4K3 w - - 0 1");
    make_move(make_move_word(PromotionCapture, sq("b7"), sq("a8"), Knight));
    EXPECT_EQ(piece_type_at(*CurrentPosition, sq("a8") ^ 56), Knight);
    EXPECT_EQ(pawns(*CurrentPosition), 0u);
    EXPECT_EQ(std::popcount(occupied(*CurrentPosition)), 4);
}

TEST(MakeMove, RepetitionsOfShuffledPieces) {
    const std::uint8_t expected[] = {0, 0, 0, 1, 1, 1, 1, 2};
    for (const char* opening : {"", "e2e3 e7e6"}) {
        SCOPED_TRACE(opening);
        new_game();
        std::string shuffle = *opening ? "f1d3 f8d6 d3f1 d6f8" : "g1f3 g8f6 f3g1 f6g8";
        if (*opening) play({"e2e3", "e7e6"});
        for (int n = 0; n < 8; ++n) {
            std::string move = shuffle.substr(5 * (n % 4), 4);
            ASSERT_EQ(enter_user_move(move.c_str()), 1);
            EXPECT_EQ(CurrentPosition->repetitions, expected[n]) << n;
            EXPECT_EQ(CurrentPosition->reversibleCount, n + 1);
        }
    }
    // A pawn move cuts the history; castling rights are not compared.
    new_game();
    play({"g1f3", "g8f6", "f3g1", "f6g8", "e2e4"});
    EXPECT_EQ(CurrentPosition->repetitions, 0);
    set_up("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    play({"e1f1", "e8f8", "f1e1", "f8e8"});
    EXPECT_EQ(CurrentPosition->repetitions, 1);
    // A FEN clock larger than the game so far never scans below record 0.
    set_up("4k3/8/8/8/8/8/8/4K3 w - - 99 1");
    play({"e1e2", "e8e7", "e2e1", "e7e8"});
    EXPECT_EQ(CurrentPosition->repetitions, 1);
}

TEST(MoveText, CoordinatesForBothSides) {
    Move push = make_move_word(PawnPush, 12, 28);
    char text[6];
    move_to_text_for(text, push, 0);
    EXPECT_STREQ(text, "e2e4 ");
    move_to_text_for(text, push, 1);
    EXPECT_STREQ(text, "e7e5 ");
    move_to_text_for(text, KingSideCastle, 0);
    EXPECT_STREQ(text, "e1g1 ");
    move_to_text_for(text, KingSideCastle, 1);
    EXPECT_STREQ(text, "e8g8 ");
    move_to_text_for(text, QueenSideCastle, 1);
    EXPECT_STREQ(text, "e8c8 ");
    move_to_text_for(text, make_move_word(Promotion, sq("b7"), sq("b8"), Knight), 0);
    EXPECT_STREQ(text, "b7b8n");
    move_to_text_for(text, make_move_word(Promotion, sq("b7"), sq("b8"), Queen), 0);
    EXPECT_STREQ(text, "b7b8q");
}

TEST(MoveLists, PickBestMoveTakesTheFirstOfEqualScores) {
    MoveList list;
    clear_move_list(list);
    list.count      = 3;
    list.entries[0] = {1, 5};
    list.entries[1] = {2, 9};
    list.entries[2] = {3, 9};
    EXPECT_EQ(pick_best_move(list), 2u);
    EXPECT_EQ(list.entries[0].move, 1u);
    EXPECT_EQ(list.entries[1].move, 3u);
    list.count      = 1;
    EXPECT_EQ(pick_best_move(list), 1u);
    EXPECT_EQ(list.entries[0].move, 1u);
}

TEST(MoveLists, CombinedAndLegalLists) {
    new_game();
    Move moves[MaxGameMoves];
    int count;
    generate_moves(moves, count);
    ASSERT_EQ(count, 20);
    EXPECT_EQ(text_of(moves[0]), "h2h4 ");
    EXPECT_EQ(text_of(moves[1]), "h2h3 ");
    EXPECT_EQ(text_of(moves[19]), "b1a3 ");
    MoveList list;
    clear_move_list(list);
    legal_captures(list);
    EXPECT_EQ(list.count, 0u);
    // In check, only the captures that end it: the queen on e2 is taken by the king or not at all.
    set_up("4k3/8/8/8/8/8/4q3/R3K2b w - - 0 1");
    clear_move_list(list);
    legal_captures(list);
    ASSERT_EQ(list.count, 1u);
    EXPECT_EQ(text_of(list.entries[0].move), "e1e2 ");
}

TEST(UserMoves, AcceptedAndRefusedTexts) {
    struct Case {
        const char* fen;
        const char* move;
        int accepted;
    };
    const Case cases[] = {
        {nullptr, "e2e4", 1},
        {nullptr, "e2e5", 0},
        {nullptr, "e2e4 ", 0},
        {nullptr, "g1f3q", 1},
        {nullptr, "e2e4x", 0},
        {nullptr, "e7e5", 0},   // not White's piece
        {nullptr, "d1d2", 0},   // onto an own piece
        {nullptr, "i2i4", 0},
        {nullptr, "e2e", 0},
        {nullptr, "", 0},
        {"4k3/8/8/8/8/1p6/PP6/4K3 w - - 0 1", "a2b3", 1},
        {"4k3/8/8/8/8/8/PP6/4K3 w - - 0 1", "a2b3", 0},
        {"4k3/8/8/8/8/P7/P7/4K3 w - - 0 1", "a2a4", 0},
        {"4k3/8/8/8/8/8/P6p/4K3 w - - 0 1", "a2h3", 0},
        {"4k3/8/8/8/p7/8/7P/4K3 w - - 0 1", "h2a4", 0},
        {"4k3/8/8/8/8/8/8/4K2R w K - 0 1", "e1g1", 1},
        {"4k3/8/8/8/8/8/5r2/4K2R w K - 0 1", "e1g1", 0},
        {"4k3/4P3/8/8/8/8/8/4K3 w - - 0 1", "e7e8q", 0}, // e8 is occupied by the king
        {"k7/4P3/8/8/8/8/8/4K3 w - - 0 1", "e7e8q", 1},
        {"k7/4P3/8/8/8/8/8/4K3 w - - 0 1", "e7e8Q", 0},
        {"4k3/8/8/8/8/8/4r3/4K3 w - - 0 1", "e1d1", 1},  // out of the rook's lines
        {"4k3/8/8/8/8/8/4r3/4K3 w - - 0 1", "e1f1", 1},
        {"4k3/8/8/8/8/8/4r3/4K3 w - - 0 1", "e1d2", 0},  // along the rook's rank
        {"4k3/8/8/8/8/8/3r4/4K3 w - - 0 1", "e1e2", 0},  // e2 attacked by the rook on d2
        {"4k3/8/8/8/8/8/8/4K3 w - - 0 1", "e1e3", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.fen ? c.fen : "start") + " " + c.move);
        if (c.fen)
            set_up(c.fen);
        else
            new_game();
        Position before = *CurrentPosition;
        Position* where = CurrentPosition;
        int result      = enter_user_move(c.move);
        EXPECT_EQ(result, c.accepted);
        if (!result) {
            EXPECT_EQ(CurrentPosition, where);
            EXPECT_TRUE(same_record(before, *CurrentPosition));
        } else {
            EXPECT_EQ(CurrentPosition, where + 1);
        }
    }
    new_game();
    play({"e2e4", "e7e5"});
    EXPECT_EQ(CurrentPosition->blackToMove, 0);
}

TEST(UserMoves, PromotionLettersOnlyOnTheLastRank) {
    // A letter on a pawn move that does not promote is refused; a pawn reaching the last rank
    // without a letter becomes a queen.
    set_up("4k3/8/8/8/8/8/P7/4K3 w - - 0 1");
    EXPECT_EQ(enter_user_move("a2a3q"), 0);
    EXPECT_EQ(enter_user_move("a2a4n"), 0);
    set_up("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1");
    EXPECT_EQ(enter_user_move("e5d6q"), 0);
    EXPECT_EQ(enter_user_move("e5d6"), 1);
    set_up("1r5k/P7/8/8/8/8/8/4K3 w - - 0 1");
    ASSERT_EQ(enter_user_move("a7a8"), 1);
    EXPECT_EQ(queens(*CurrentPosition), bit(sq("a8") ^ 56));
    EXPECT_EQ(pawns(*CurrentPosition), 0u);
    set_up("1r5k/P7/8/8/8/8/8/4K3 w - - 0 1");
    ASSERT_EQ(enter_user_move("a7b8n"), 1);
    EXPECT_EQ(knights(*CurrentPosition), bit(sq("b8") ^ 56));
    EXPECT_EQ(pawns(*CurrentPosition) & (Rank1 | Rank8), 0u);
}

TEST(UserMoves, RandomTextsNeverCorruptThePosition) {
    std::mt19937 rng(11);
    const char alphabet[] = "abcdefgh12345678nbrqkNBRQ \x01\xff";
    for (int n = 0; n < 20000; ++n) {
        if (n % 200 == 0) new_game();
        char text[8] = {};
        int length   = int(rng() % 7);
        for (int i = 0; i < length; ++i) text[i] = alphabet[rng() % (sizeof alphabet - 1)];
        Position* where = CurrentPosition;
        int result      = enter_user_move(text);
        ASSERT_TRUE(result == 0 || result == 1);
        const Position& p = *CurrentPosition;
        EXPECT_EQ(CurrentPosition, where + result);
        EXPECT_EQ(pawns(p) & (Rank1 | Rank8), 0u) << text;
        EXPECT_EQ(std::popcount(kings(p)), 2);
        if (CurrentPosition->reversibleCount > 90) new_game();
    }
}

TEST(Stack, UndoNeverLeavesTheStackAndLongGamesKeepTheirRecentHistory) {
    new_game();
    take_back();
    EXPECT_EQ(CurrentPosition, &PositionStack[0]);
    // Knights shuffled for 1,200 plies: the game keeps its most recent records below the
    // search's reserve, and the repetition count stays right.
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int n = 0; n < 1200; ++n) {
        ASSERT_EQ(enter_user_move(shuffle[n % 4]), 1) << n;
        ASSERT_LT(stack_index(), StackSize - SearchReserve);
    }
    EXPECT_GE(CurrentPosition->repetitions, 2);
    while (stack_index() > 0) take_back();
    take_back();
    EXPECT_EQ(CurrentPosition, &PositionStack[0]);
}

TEST(Display, DiagramFromWhitesSide) {
    new_game();
    testing::internal::CaptureStdout();
    show_board();
    std::string start = testing::internal::GetCapturedStdout();
    const char* expected =
        "\n\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "8 | t | c | a | d | r | a | c | t |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "7 | p | p | p | p | p | p | p | p |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "6 |   |   |   |   |   |   |   |   |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "5 |   |   |   |   |   |   |   |   |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "4 |   |   |   |   |   |   |   |   |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "3 |   |   |   |   |   |   |   |   |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "2 | P | P | P | P | P | P | P | P |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "1 | T | C | A | D | R | A | C | T |\n"
        "  +---+---+---+---+---+---+---+---+\n"
        "\n"
        "    A   B   C   D   E   F   G   H\n"
        "\n";
    EXPECT_EQ(start, expected);
    play({"e2e4"});
    Position saved = *CurrentPosition;
    testing::internal::CaptureStdout();
    show_board();
    show_board();
    std::string after = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(same_record(saved, *CurrentPosition));
    ASSERT_EQ(after.size(), 2 * start.size());
    EXPECT_EQ(after.substr(0, start.size()), after.substr(start.size()));
    EXPECT_EQ(after.substr(38 * 1 + 36 * 8, 36), "4 |   |   |   |   | P |   |   |   |\n");
    EXPECT_EQ(after.substr(38 + 36 * 12, 36), "2 | P | P | P | P |   | P | P | P |\n");
}

// Robustness: positions no game reaches, games longer than the position stack, and the files
// the engine depends on failing under it (book, log, settings).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "board/board.h"
#include "book/book.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"
#include "tests/scratch_dir.h"

namespace {

// Settings and clocks are globals: each test starts from the defaults and leaves them so.
class RobustnessTest : public ScratchDir {
  protected:
    void SetUp() override {
        ScratchDir::SetUp();
        defaults();
    }
    void TearDown() override {
        InputStream = stdin;
        defaults();
        ScratchDir::TearDown();
    }
    void defaults() {
        load_settings((dir + "/no-such.ini").c_str());
        opponentTime = increment = 0;
        SearchStopped            = 0;
        GameOver = 0, EngineColor = 'c', QuitRequested = 0;
        new_game();
    }

    // Runs a front end on the given lines up to their end, as a part of one longer session
    // (the game and the settings carry over to the next part); returns what it printed.
    std::string session(void (*loop)(), const std::string& lines) {
        std::FILE* in = std::tmpfile();
        std::fwrite(lines.data(), 1, lines.size(), in);
        std::rewind(in);
        InputStream = in;
        testing::internal::CaptureStdout();
        loop();
        std::string out = testing::internal::GetCapturedStdout();
        InputStream     = stdin;
        std::fclose(in);
        QuitRequested = 0;
        return out;
    }

    std::string read_file(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

} // namespace

// A position set up with many queens makes a capture tree that no budget covers; the clock,
// read in the quiescence search too, still stops the search.
TEST_F(RobustnessTest, QuiescenceOnContrivedPositionsObeysTheClock) {
    ASSERT_EQ(read_fen("QQQQQQQQ/QQQQQQQQ/8/8/8/8/qqqqqqqq/qqqqqqqk w - - 0 1"), 1);
    moveTime = allocatedTime = 20;
    MaxDepth                 = 2;
    SearchStartTime          = clock_ms();
    char text[LineSize];
    testing::internal::CaptureStdout();
    think(text);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(SearchStopped, 1);
    EXPECT_EQ(stack_index(), 1); // a move was played all the same
}

namespace {

// The legal moves of the position on the board, in generator order.
int legal_moves(Move* moves) {
    Move all[MaxGameMoves];
    int count = 0, legal = 0;
    generate_moves(all, count);
    for (int i = 0; i < count; ++i) {
        make_move(all[i]);
        if (!move_left_king_in_check()) moves[legal++] = all[i];
        take_back();
    }
    return legal;
}

// Knights out and back: four plies that bring the position back, with neither capture nor pawn.
constexpr const char* Shuffle[4] = {"g1f3", "g8f6", "f3g1", "f6g8"};

} // namespace

// 800 plies without a capture or a pawn move: the half-move count stops at its 8-bit limit
// instead of wrapping back to 0, so the fifty-move rule and the repetition scan still see the
// whole reversible stretch; the stack drops its oldest records and never reaches the reserve.
TEST_F(RobustnessTest, LongReversibleGameKeepsItsCountersAndTheStack) {
    for (const char* fen : {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
                            "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 100 300"}) {
        SCOPED_TRACE(fen);
        new_game();
        ASSERT_EQ(read_fen(fen), 1);
        const int start_count = CurrentPosition->reversibleCount;
        std::string out;
        for (int ply = 0; ply < 800; ++ply) {
            ASSERT_EQ(enter_user_move(Shuffle[ply % 4]), 1) << ply;
            ASSERT_LT(stack_index(), StackSize - SearchReserve);
            const int expected = start_count + ply + 1 < 255 ? start_count + ply + 1 : 255;
            ASSERT_EQ(CurrentPosition->reversibleCount, expected) << ply;
            // Every position of the shuffle has stood on the board before, and from the 100th
            // reversible half-move on every position is a draw by the fifty-move rule.
            if (ply >= 4) {
                ASSERT_GE(CurrentPosition->repetitions, 1) << ply;
            }
            testing::internal::CaptureStdout();
            const int over = check_game_end();
            out            = testing::internal::GetCapturedStdout();
            if (expected >= 100) {
                ASSERT_EQ(over, 1) << ply;
            }
        }
        EXPECT_NE(out.rfind("1/2-1/2 {Draw by 50 move rule}\n"), std::string::npos);
    }
}

// The reserve above a game covers the captures of any real position; a position set up with
// dozens of pieces could capture on further, and at the top of the stack the quiescence search
// and the exchange evaluation stop instead of stepping past it (the sanitizer build checks).
TEST_F(RobustnessTest, QuiescenceAndExchangesStopAtTheTopOfTheStack) {
    for (int top = StackSize - 6; top <= StackSize - 2; ++top) {
        SCOPED_TRACE(top);
        CurrentPosition = &PositionStack[top];
        ASSERT_EQ(read_fen("rnbqqbnr/qqqqqqqq/QQQQQQQQ/8/8/qqqqqqqq/QQQQQQQQ/RNBQKBNR w - - 0 1"),
                  1);
        moveTime = allocatedTime = 100;
        SearchStopped            = 0;
        SearchStartTime          = clock_ms();
        (void)quiesce(-Infinity, Infinity, MateScore);
        EXPECT_EQ(stack_index(), top);
        MoveList good;
        good.count = 0;
        legal_good_captures(good);
        EXPECT_EQ(stack_index(), top);
    }
}

// A game of 400 moves whose end the engine plays itself at full depth under a clock: the game
// records crossed the stack's trimming point twice on the way, and every engine move, made
// with the search path above the game, is one the user-move entry accepts too.
TEST_F(RobustnessTest, FourHundredMoveGameWithDeepThinkingAtItsEnd) {
    for (int ply = 0; ply < 788; ++ply) {
        ASSERT_EQ(enter_user_move(Shuffle[ply % 4]), 1) << ply;
        ASSERT_LT(stack_index(), StackSize - SearchReserve);
    }
    // Pawns open the position, so the search has captures to follow near the end.
    for (const char* m : {"e2e4", "d7d5"}) ASSERT_EQ(enter_user_move(m), 1);
    MaxDepth = 32, PostThinking = 1;
    for (int turn = 0; turn < 5; ++turn) {
        SCOPED_TRACE(turn);
        const Position before = *CurrentPosition;
        moveTime              = 30; // "st" would give whole seconds; this keeps the test short
        SearchStartTime       = clock_ms();
        char text[LineSize];
        testing::internal::CaptureStdout();
        think(text);
        const std::string out = testing::internal::GetCapturedStdout();
        ASSERT_LT(stack_index(), StackSize - SearchReserve);
        ASSERT_NE(out.find("move "), std::string::npos);
        const Position after = *CurrentPosition;
        take_back();
        ASSERT_EQ(std::memcmp(&before, CurrentPosition, sizeof before), 0);
        if (text[4] == ' ') text[4] = '\0';
        ASSERT_EQ(enter_user_move(text), 1) << text;
        ASSERT_EQ(std::memcmp(&after, CurrentPosition, sizeof after), 0);
        // The reply: the opponent's first legal move.
        Move moves[MaxGameMoves];
        ASSERT_GT(legal_moves(moves), 0);
        make_room_for_game_move();
        make_move(moves[0]);
    }
}

// The book deleted, then cut short, between two moves of a game: the engine says why on the
// error stream when the file is gone, and searches instead; a book shorter than one entry holds
// no position, and one cut inside an entry keeps the entries before the cut.
TEST_F(RobustnessTest, BookDeletedOrTruncatedBetweenMoves) {
    const std::string book = dir + "/book.bin";
    std::filesystem::copy_file(QUILLFERN_TEST_DATA "/small_book.bin", book);
    const std::string bytes = read_file(book);
    std::snprintf(BookFile, sizeof BookFile, "%s", book.c_str());
    Book = 1, RandBook = 0, MaxDepth = 3, PostThinking = 0;

    std::string out = session(xboard_loop, "new\nusermove e2e4\n");
    EXPECT_NE(out.find("from opening book"), std::string::npos) << out;

    std::filesystem::remove(book);
    testing::internal::CaptureStderr();
    out                   = session(xboard_loop, "usermove g1f3\n");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, book + ": No such file or directory\n");
    EXPECT_EQ(out.find("from opening book"), std::string::npos) << out;
    EXPECT_NE(out.find("\nmove "), std::string::npos) << out; // searched instead

    // Shorter than one entry: not in the book, and nothing to report.
    std::ofstream(book, std::ios::binary) << bytes.substr(0, 15);
    testing::internal::CaptureStderr();
    out = session(xboard_loop, "new\nusermove e2e4\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(out.find("from opening book"), std::string::npos) << out;
    EXPECT_NE(out.find("\nmove "), std::string::npos) << out;

    // Cut inside its last entry: the whole entries before the cut still answer.
    std::ofstream(book, std::ios::binary | std::ios::trunc) << bytes.substr(0, bytes.size() - 7);
    out = session(xboard_loop, "new\nusermove e2e4\n");
    EXPECT_NE(out.find("from opening book"), std::string::npos) << out;
}

// Settings read again by "ini" after the file changed under the engine: every change is taken,
// a file gone or turned to garbage gives the defaults, and a log that cannot be opened any more
// is reported and stops the loading there, as at start-up.
TEST_F(RobustnessTest, SettingsFileChangingBetweenLoads) {
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(dir.c_str()), 0);
    const auto param = [&](const char* content) {
        if (content)
            std::ofstream("quillfern.ini", std::ios::binary | std::ios::trunc) << content;
        else
            std::filesystem::remove("quillfern.ini");
        return session(console_loop, "ini\nparam\n");
    };
    std::string out = param("[ENGINE]\nMaxDepth=3\n[BOOK]\nBookFile=first.bin\n");
    EXPECT_NE(out.find("Depht:              3\n"), std::string::npos) << out;
    EXPECT_NE(out.find("bookFile:           first.bin\n"), std::string::npos) << out;

    out = param("[ENGINE]\nMaxDepth=5\n[BOOK]\nBookFile=second.bin\nBook=no\n");
    EXPECT_NE(out.find("Depht:              5\n"), std::string::npos) << out;
    EXPECT_NE(out.find("bookFile:           second.bin\n"), std::string::npos) << out;
    EXPECT_NE(out.find("book:               0\n"), std::string::npos) << out;

    for (const char* gone : {static_cast<const char*>(nullptr), "\x01\xff[\x00=\n\n==::"}) {
        out = param(gone);
        EXPECT_NE(out.find("Depht:              32\n"), std::string::npos) << out;
        EXPECT_NE(out.find("bookFile:           book.bin\n"), std::string::npos) << out;
    }

    (void)param("[ENGINE]\nMaxDepth=4\n[BOOK]\nBookFile=kept.bin\n");
    testing::internal::CaptureStderr();
    out = param("[ENGINE]\nMaxDepth=6\n[LOG]\nLogGame=1\nLogFile=no-such-folder/game.log\n"
                "[BOOK]\nBookFile=skipped.bin\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "no-such-folder/game.log: No such file or directory\n");
    EXPECT_NE(out.find("Depht:              6\n"), std::string::npos) << out;
    EXPECT_NE(out.find("bookFile:           kept.bin\n"), std::string::npos) << out;
    ASSERT_EQ(chdir(cwd), 0);
}

// The log's folder removed during a game: the open log goes on taking the lines, which vanish
// with the folder; the engine notices nothing and plays on.
TEST_F(RobustnessTest, LogFolderRemovedDuringAGame) {
    std::filesystem::create_directory(dir + "/logs");
    const std::string ini = write_file("quillfern.ini", "[ENGINE]\nMaxDepth=3\n[LOG]\nLogGame=1\n"
                                                        "LogFile=" +
                                                            dir +
                                                            "/logs/game.log\n"
                                                            "[BOOK]\nBook=0\n");
    load_settings(ini.c_str());
    ASSERT_NE(LogFileHandle, nullptr);
    std::string out = session(xboard_loop, "new\nname Opponent\nusermove e2e4\n");
    EXPECT_NE(read_file(dir + "/logs/game.log").find("usermove e2e4\n"), std::string::npos);

    std::filesystem::remove_all(dir + "/logs");
    out = session(xboard_loop, "usermove d2d4\nusermove g1f3\n");
    EXPECT_EQ(out.find("Illegal move"), std::string::npos) << out;
    EXPECT_EQ(stack_index(), 6) << out; // both moves answered
    EXPECT_FALSE(std::filesystem::exists(dir + "/logs"));
}

namespace {

// 788 plies of knight moves, one line each, with the given prefix before each move, then
// two pawn moves that open the position for the search.
std::string long_game_lines(const char* prefix) {
    std::string lines;
    for (int ply = 0; ply < 788; ++ply) lines += std::string(prefix) + Shuffle[ply % 4] + "\n";
    return lines + prefix + "e2e4\n" + prefix + "d7d5\n";
}

int count_of(const std::string& text, const std::string& what) {
    int n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

} // namespace

// The same 400-move game end to end, over the protocol (from the start, and from a FEN whose
// half-move clock is already 100, so the fifty-move draw is announced at every move and the
// game goes on regardless) and at the console; at its end the engine thinks at depth 32 for
// a second, twice. b8c6 is legal whatever White played: only Bb5+ checks, and it blocks that.
TEST_F(RobustnessTest, FourHundredMoveGamesAtTheConsoleAndOverTheProtocol) {
    Book                  = 0;
    const std::string end = "st 1\nsd 32\ngo\n";
    for (const char* setup :
         {"", "setboard rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 100 1\n"}) {
        SCOPED_TRACE(setup);
        defaults();
        Book = 0;
        const std::string out =
            session(xboard_loop, std::string("new\nforce\n") + setup +
                                     long_game_lines("usermove ") + end + "usermove b8c6\n");
        EXPECT_EQ(count_of(out, "Illegal move"), 0);
        EXPECT_EQ(count_of(out, "\nmove "), 2)
            << out.substr(out.size() > 2000 ? out.size() - 2000 : 0);
        EXPECT_EQ(count_of(out, "{Draw by 50 move rule}"), *setup ? 788 : 689);
        EXPECT_LT(stack_index(), StackSize - SearchReserve);
        EXPECT_EQ(CurrentPosition->blackToMove, 1);
    }
    defaults();
    Book                  = 0;
    const std::string out = session(console_loop, long_game_lines("") + end + "b8c6\n");
    EXPECT_EQ(count_of(out, "Illegal move"), 0);
    EXPECT_EQ(count_of(out, "\nmove "), 2);
    EXPECT_LT(stack_index(), StackSize - SearchReserve);
    EXPECT_EQ(CurrentPosition->blackToMove, 1);
}

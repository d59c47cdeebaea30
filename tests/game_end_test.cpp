// Game end: the result lines on standard output and their copies in the game log.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "board/board.h"
#include "protocol/protocol.h"
#include "shell/shell.h"

namespace {

class GameEndTest : public testing::Test {
  protected:
    void SetUp() override {
        log_ = std::tmpfile();
        LogFileHandle = log_;
        LogGame       = 1;
        new_game();
    }
    void TearDown() override {
        LogGame       = 0;
        LogFileHandle = nullptr;
        std::fclose(log_);
        new_game();
    }
    std::string log_text() {
        std::string text;
        std::rewind(log_);
        for (int c; (c = std::fgetc(log_)) != EOF;) text += char(c);
        return text;
    }
    // Plays the moves, then asks for the result; returns what was printed.
    std::string after(std::initializer_list<const char*> moves, int& result) {
        for (const char* m : moves) EXPECT_EQ(enter_user_move(m), 1) << m;
        Position* where = CurrentPosition;
        testing::internal::CaptureStdout();
        result = check_game_end();
        EXPECT_EQ(CurrentPosition, where);
        return testing::internal::GetCapturedStdout();
    }
    std::FILE* log_ = nullptr;
};

} // namespace

TEST_F(GameEndTest, ResultsAndTheirLogLines) {
    struct Case {
        const char* fen; // nullptr: the start position
        std::initializer_list<const char*> moves;
        const char* printed;
        const char* logged;
    };
    const Case cases[] = {
        {nullptr, {"e2e4"}, "", ""},
        {nullptr, {"f2f3", "e7e5", "g2g4", "d8h4"}, "0-1 {Black mates}\n", "0-1 {Black mates}\n"},
        {"7k/8/6K1/8/8/8/8/1Q6 w - - 0 1", {"b1b8"}, "1-0 {White mates}\n",
         "1-0 {White mates}\n"},
        {"7k/8/6K1/8/8/8/8/5Q2 w - - 0 1", {"f1f7"}, "1/2-1/2 {Stalemate}\n",
         "1/2-1/2 {Stalemate}\n"},
        {nullptr, {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1", "f6g8"},
         "1/2-1/2 {Draw by repetition}\n", "1/2-1/2 {Draw by repetition}\n"},
        {"4k3/8/8/8/8/8/8/R3K3 w - - 99 1", {"a1a2"}, "1/2-1/2 {Draw by 50 move rule}\n", ""},
        // Mate on the hundredth half-move: both lines, only the mate logged.
        {"7k/8/6K1/8/8/8/8/1Q6 w - - 99 1", {"b1b8"},
         "1-0 {White mates}\n1/2-1/2 {Draw by 50 move rule}\n", "1-0 {White mates}\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.printed);
        new_game();
        if (c.fen) {
            ASSERT_EQ(read_fen(c.fen), 1);
        }
        std::FILE* fresh = std::tmpfile();
        std::fclose(log_);
        log_ = LogFileHandle = fresh;
        int result;
        EXPECT_EQ(after(c.moves, result), c.printed);
        EXPECT_EQ(result, *c.printed ? 1 : 0);
        EXPECT_EQ(log_text(), c.logged);
    }
}

TEST_F(GameEndTest, RepetitionComesBeforeAMateFoundOnTheSameMove) {
    // Only the bitboards are compared, so a record forced to its third occurrence shows the
    // order of the two lines.
    ASSERT_EQ(read_fen("7k/8/6K1/8/8/8/8/1Q6 w - - 0 1"), 1);
    ASSERT_EQ(enter_user_move("b1b8"), 1);
    CurrentPosition->repetitions = 2;
    testing::internal::CaptureStdout();
    EXPECT_EQ(check_game_end(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "1/2-1/2 {Draw by repetition}\n1-0 {White mates}\n");
    EXPECT_EQ(log_text(), "1/2-1/2 {Draw by repetition}\n1-0 {White mates}\n");
}

TEST_F(GameEndTest, NothingIsLoggedWhenLoggingIsOffOrTheLogIsMissing) {
    LogGame = 0;
    int result;
    after({"f2f3", "e7e5", "g2g4", "d8h4"}, result);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(log_text(), "");
    LogGame       = 1;
    LogFileHandle = nullptr; // the log could not be opened
    log_printf("move %s\n", "e2e4 ");
    LogFileHandle = log_;
    EXPECT_EQ(log_text(), "");
}

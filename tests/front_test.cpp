// Front ends: what the xboard driver keeps from the lines it reads (clocks, depth, opponent
// name, position), how both loops end, and the number reader they share. The texts they print
// are checked end to end by the transcripts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "board/board.h"
#include "protocol/protocol.h"
#include "shell/shell.h"

namespace {

class FrontEndTest : public testing::Test {
  protected:
    void SetUp() override {
        load_settings("no-such-file.ini");
        opponentTime = increment = 0;
        GameOver = QuitRequested = 0;
        EngineColor              = 'c';
        new_game();
    }
    void TearDown() override {
        InputStream   = stdin;
        QuitRequested = 0;
        load_settings("no-such-file.ini");
    }

    // Runs a loop on the given input with standard output caught; returns what it printed.
    std::string run(void (*loop)(), const std::string& input) {
        std::FILE* in  = std::tmpfile();
        std::FILE* out = std::tmpfile();
        std::fwrite(input.data(), 1, input.size(), in);
        std::rewind(in);
        InputStream = in;
        std::fflush(stdout);
        int saved = dup(1);
        dup2(fileno(out), 1);
        loop();
        std::fflush(stdout);
        dup2(saved, 1);
        close(saved);
        std::string text(std::size_t(std::ftell(out)), '\0');
        std::rewind(out);
        text.resize(std::fread(text.data(), 1, text.size(), out));
        std::fclose(in);
        std::fclose(out);
        return text;
    }
};

TEST_F(FrontEndTest, LevelSetsBothClocksAndTheIncrementInHundredths) {
    struct Case {
        const char* line;
        std::int32_t clock, inc;
    } cases[] = {
        {"level 40 5 0", 30000, 0},    // whole minutes
        {"level 40 0:30 0", 3000, 0},  // minutes:seconds, as the interface sends short games
        {"level 0 2 1", 12000, 100},   // increment in seconds, counted once
        {"level 0 1:05 2", 6500, 200}, // both forms together
        {"level 40 5 0.5", 30000, 50}, // a fractional increment
        {"level 40 5 1.25", 30000, 125},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        engineTime = opponentTime = increment = -1;
        run(xboard_loop, std::string(c.line) + "\n");
        EXPECT_EQ(engineTime, c.clock);
        EXPECT_EQ(opponentTime, c.clock);
        EXPECT_EQ(increment, c.inc);
    }
}

TEST_F(FrontEndTest, CommandsWithoutTheirArgumentChangeNothing) {
    run(xboard_loop, "level 40 5 3\ntime 700\notim 800\nname First Opponent\nusermove e2e4\n");
    ASSERT_EQ(stack_index(), 1);
    std::string out = run(xboard_loop, "level\nlevel 40 5\nlevel 40 x 0\ntime\notim\ntime \n"
                                       "name\nname \nsetboard\nsetboard \nusermove\nusermove \n");
    EXPECT_EQ(engineTime, 700);
    EXPECT_EQ(opponentTime, 800);
    EXPECT_EQ(increment, 300);
    EXPECT_STREQ(OpponentName, "First Opponent");
    EXPECT_EQ(stack_index(), 1);
    // Each of the twelve lines is answered as a command the driver does not know.
    std::size_t answers = 0;
    for (std::size_t at = 0; (at = out.find("Error (unknown command): ", at)) != std::string::npos;
         ++at)
        ++answers;
    EXPECT_EQ(answers, 12u);
}

TEST_F(FrontEndTest, NameKeepsBlanksAndAtMost99Characters) {
    run(xboard_loop, "name  two  words \n");
    EXPECT_STREQ(OpponentName, " two  words ");
    run(xboard_loop, "name " + std::string(150, 'x') + "\n");
    EXPECT_EQ(std::string(OpponentName), std::string(99, 'x'));
}

TEST_F(FrontEndTest, DepthAndMoveTimeStayInRange) {
    MaxDepth = 5;
    EXPECT_EQ(run(xboard_loop, "sd 9999\n"), "");
    EXPECT_EQ(MaxDepth, 5);
    run(xboard_loop, "sd 33\nsd 1\nsd\n");
    EXPECT_EQ(MaxDepth, 5);
    run(console_loop, "sd 33\nsd 1\nsd\n");
    EXPECT_EQ(MaxDepth, 5);
    run(console_loop, "sd7\n");
    EXPECT_EQ(MaxDepth, 7);

    moveTime = 400;
    run(console_loop, "st 0\nst -3\nst\nstop\n");
    EXPECT_EQ(moveTime, 400);
    run(xboard_loop, "st 0\nst\n");
    EXPECT_EQ(moveTime, 400);
    // Seconds that do not fit in hundredths are held at the limit instead of wrapping.
    run(xboard_loop, "st 2000000000\n");
    EXPECT_EQ(moveTime, INT32_MAX);
}

TEST_F(FrontEndTest, BothLoopsEndLikeQuitAtTheEndOfInput) {
    for (void (*loop)() : {console_loop, xboard_loop}) {
        QuitRequested = 0;
        run(loop, "b\nforce\nxyzzy"); // the last line has no line end
        EXPECT_EQ(QuitRequested, 1);
        QuitRequested = 0;
        run(loop, "");
        EXPECT_EQ(QuitRequested, 1);
    }
}

TEST_F(FrontEndTest, OverLongLineIsCutAndItsRestDropped) {
    // 255 characters are kept; the rest of the line, "quit" here, is never read as a command.
    std::string out = run(xboard_loop, "ping " + std::string(250, 'y') + "quit\nping 2\n");
    EXPECT_EQ(out, "pong " + std::string(250, 'y') + "\npong 2\n");
}

TEST_F(FrontEndTest, DriverIgnoresInterrupts) {
    run(xboard_loop, "");
    auto previous = std::signal(SIGINT, SIG_IGN);
    EXPECT_EQ(previous, SIG_IGN);
    std::signal(SIGINT, SIG_DFL);
}

TEST_F(FrontEndTest, ReadIntReadsAsPercentD) {
    struct Case {
        const char* text;
        int ok;
        std::int32_t value;
        const char* rest;
    } cases[] = {
        {"12", 1, 12, ""},
        {"  7 x", 1, 7, " x"},
        {"+5", 1, 5, ""},
        {"-3:", 1, -3, ":"},
        {"5x", 1, 5, "x"},
        {"", 0, 0, ""},
        {"x5", 0, 0, "x5"},
        {"+-5", 0, 0, "+-5"},
        {"- 5", 0, 0, "- 5"},
        {"99999999999", 0, 0, "99999999999"},
        {"2147483647", 1, INT32_MAX, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const char* text   = c.text;
        std::int32_t value = 0;
        EXPECT_EQ(read_int(text, value), c.ok);
        EXPECT_EQ(value, c.value);
        EXPECT_STREQ(text, c.rest);
    }
}

} // namespace

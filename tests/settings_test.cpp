// Engine settings: defaults, clamping, the time fields, the game log and the "param" display.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "shell/shell.h"
#include "tests/scratch_dir.h"

namespace {

// Settings are globals: every test starts from and leaves behind the defaults, with no log open.
class SettingsTest : public ScratchDir {
  protected:
    void SetUp() override {
        ScratchDir::SetUp();
        restore_defaults();
    }
    void TearDown() override {
        restore_defaults();
        ScratchDir::TearDown();
    }
    void restore_defaults() {
        load_settings((dir + "/no-such.ini").c_str());
        opponentTime = 0;
        increment    = 0;
    }
    std::string load(const std::string& content) {
        std::string path = write_file("quillfern.ini", content);
        load_settings(path.c_str());
        return path;
    }
};

void expect_defaults() {
    EXPECT_EQ(MaxDepth, 32);
    EXPECT_EQ(MaxTime, 360000);
    EXPECT_EQ(moveTime, 360000);
    EXPECT_EQ(engineTime, 360000);
    EXPECT_EQ(allocatedTime, 360000);
    EXPECT_EQ(PostThinking, 1);
    EXPECT_STREQ(LogFile, "quillfern.log");
    EXPECT_EQ(LogGame, 0);
    EXPECT_EQ(LogFileHandle, nullptr);
    EXPECT_STREQ(BookFile, "book.bin");
    EXPECT_EQ(Book, 1);
    EXPECT_EQ(RandBook, 1);
    EXPECT_EQ(SuddenDeath, 20);
    EXPECT_EQ(MoreTime, 5);
    EXPECT_EQ(LessTime, 5);
    EXPECT_EQ(FastGame, 5);
}

TEST_F(SettingsTest, MissingFileRestoresEveryDefault) {
    MaxDepth = 7, MaxTime = moveTime = engineTime = allocatedTime = 1;
    PostThinking = Book = RandBook = 0;
    SuddenDeath = MoreTime = LessTime = FastGame = 11;
    std::strcpy(LogFile, "other.log");
    std::strcpy(BookFile, "other.bin");
    load_settings((dir + "/absent.ini").c_str());
    expect_defaults();
}

TEST_F(SettingsTest, NumbersAreClampedIntoTheirRanges) {
    struct Case {
        const char* file;
        std::int32_t* field;
        std::int32_t expected;
    } cases[] = {
        {"[ENGINE]\nMaxDepth=1\n", &MaxDepth, 32},
        {"[ENGINE]\nMaxDepth=33\n", &MaxDepth, 32},
        {"[ENGINE]\nMaxDepth=2\n", &MaxDepth, 2},
        {"[ENGINE]\nMaxDepth=deep\n", &MaxDepth, 32},
        {"[ENGINE]\nMaxDepth=4294967298\n", &MaxDepth, 32},
        {"[TIME]\nSuddenDeath=41\n", &SuddenDeath, 20},
        {"[TIME]\nSuddenDeath=40\n", &SuddenDeath, 40},
        {"[TIME]\nMoreTime=4\n", &MoreTime, 5},
        {"[TIME]\nMoreTime=16\n", &MoreTime, 5},
        {"[TIME]\nLessTime=10\n", &LessTime, 10},
        {"[TIME]\nFastGame=0\n", &FastGame, 5},
        {"[ENGINE]\nMaxTime=abc\n", &MaxTime, 0},
        {"[ENGINE]\nMaxTime=99999999999\n", &MaxTime, INT32_MAX},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        load(c.file);
        EXPECT_EQ(*c.field, c.expected);
    }
}

TEST_F(SettingsTest, EachLoadSeedsTheClocksFromMaxTime) {
    moveTime = engineTime = allocatedTime = 1;
    opponentTime                          = 77;
    increment                             = 3;
    load("[ENGINE]\nMaxTime=250\n");
    EXPECT_EQ(MaxTime, 250);
    EXPECT_EQ(moveTime, 250);
    EXPECT_EQ(engineTime, 250);
    EXPECT_EQ(allocatedTime, 250);
    EXPECT_EQ(opponentTime, 77);
    EXPECT_EQ(increment, 3);
}

TEST_F(SettingsTest, TextsAndFlags) {
    const std::string longName(120, 'b');
    load("[ENGINE]\nPostThinking=no\n"
         "[LOG]\nLogGame=maybe\nLogFile=" +
         std::string(130, 'l') +
         "\n"
         "[BOOK]\nBookFile=" +
         longName + "\nBook=false\nRandBook = 0 ; first move only\n");
    EXPECT_EQ(PostThinking, 0);
    EXPECT_EQ(LogGame, 0);
    EXPECT_EQ(LogFileHandle, nullptr);
    EXPECT_EQ(std::string(LogFile), std::string(99, 'l'));
    EXPECT_EQ(std::string(BookFile), longName.substr(0, 99));
    EXPECT_EQ(Book, 0);
    EXPECT_EQ(RandBook, 0);

    load("[BOOK]\nBookFile=\n");
    EXPECT_STREQ(BookFile, ""); // present but empty is not missing
}

TEST_F(SettingsTest, ParamShowsEverySetting) {
    load("[engine]\nmaxdepth = 9\nMaxTime=250\nPostThinking=0\n"
         "[BOOK]\nBookFile=\"my book.bin\"\nRandBook=0\n"
         "[TIME]\nSuddenDeath=30\nMoreTime=6\nLessTime=7\nFastGame=8\n");
    moveTime = 1999; // as "st" would leave it
    testing::internal::CaptureStdout();
    show_params();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n[ENGINE]\n"
                                                      "Depht:              9\n"
                                                      "postThinking:       0\n"
                                                      "\n[LOG]\n"
                                                      "logFile:            quillfern.log\n"
                                                      "logGame:            0\n"
                                                      "\n[BOOK]\n"
                                                      "bookFile:           my book.bin\n"
                                                      "book:               1\n"
                                                      "randBook:           0\n"
                                                      "\n[TIME]\n"
                                                      "MaxTime:            2 s\n"
                                                      "moveTime:           19 s\n"
                                                      "suddenDeath:        30\n"
                                                      "moreTime:           6\n"
                                                      "lessTime:           7\n"
                                                      "fastGame:           8\n"
                                                      "\n");
}

TEST_F(SettingsTest, LogGameOpensTheLogForAppending) {
    std::string logPath = dir + "/game.log";
    write_file("game.log", "earlier game\n");
    std::string ini = "[LOG]\nLogGame=yes\nLogFile=" + logPath + "\n";
    load(ini);
    EXPECT_EQ(LogGame, 1);
    ASSERT_NE(LogFileHandle, nullptr);
    std::fputs("move e2e4\n", LogFileHandle);

    // A second load lets the first log go before opening it again.
    load(ini);
    ASSERT_NE(LogFileHandle, nullptr);
    std::fputs("move d2d4\n", LogFileHandle);
    load("[LOG]\nLogGame=0\n");
    EXPECT_EQ(LogFileHandle, nullptr);

    std::ifstream log(logPath);
    std::string text((std::istreambuf_iterator<char>(log)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text, "earlier game\nmove e2e4\nmove d2d4\n");
}

TEST_F(SettingsTest, UnopenableLogStopsTheLoad) {
    load("[BOOK]\nBookFile=first.bin\nBook=0\n[TIME]\nSuddenDeath=33\n");
    std::string logPath = dir + "/missing/game.log";
    std::string ini     = "[ENGINE]\nMaxDepth=12\n[LOG]\nLogGame=T\nLogFile=" + logPath +
                      "\n[BOOK]\nBookFile=second.bin\nBook=1\n[TIME]\nSuddenDeath=25\n";
    testing::internal::CaptureStderr();
    load(ini);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              logPath + ": " + std::strerror(ENOENT) + "\n");
    EXPECT_EQ(MaxDepth, 12); // read before the log
    EXPECT_EQ(LogGame, 1);
    EXPECT_EQ(LogFileHandle, nullptr);
    EXPECT_STREQ(BookFile, "first.bin"); // skipped: the earlier values stand
    EXPECT_EQ(Book, 0);
    EXPECT_EQ(SuddenDeath, 33);
}

} // namespace

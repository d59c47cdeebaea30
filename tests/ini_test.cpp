// INI reader and settings: the line syntax, the getters' conversions, and the game log the
// settings open.
#include <cerrno>
#include <climits>
#include <cstring>

#include "front/front.h"
#include "ini/ini_reader.h"
#include "tests/support.h"

namespace {

using IniTest = ScratchDir;

constexpr const char* Missing = "<missing>";

struct LookupCase {
    std::string file;
    const char* section;
    const char* key;
    std::string expected; // Missing when the lookup must fall back to the default
};

TEST_F(IniTest, SyntaxOfLines) {
    const std::string longPrefix(511, 'x');
    const LookupCase cases[] = {
        {"[ENGINE]\nMaxDepth=12\n", "ENGINE", "MaxDepth", "12"},
        {"[ENGINE]\nMaxDepth=12\n", "engine", "maxdepth", "12"},
        {"[ ENGINE ]\nMaxDepth=12\n", "ENGINE", "MaxDepth", Missing},
        {"[ ENGINE ]\nMaxDepth=12\n", " ENGINE ", "MaxDepth", "12"},
        {"[ENGINES]\nMaxDepth=12\n", "ENGINE", "MaxDepth", Missing},
        {"[ENGINE] ; the engine\nMaxDepth=12\n", "ENGINE", "MaxDepth", "12"},
        {"[ENGINE]\nMaxDepth = 12 ; deeper is slower\n", "ENGINE", "MaxDepth", "12"},
        {"[ENGINE]\nMaxDepth:12\n", "ENGINE", "MaxDepth", "12"},
        {"[ENGINE]\nMaxDepthX=12\nMaxDept=11\n", "ENGINE", "MaxDepth", Missing},
        {"[BOOK]\nBookFile = C:\\books\\main.bin\n", "BOOK", "BookFile", "C:\\books\\main.bin"},
        {"[A]\ndrive:c = 1\n", "A", "drive", Missing},
        {"[ENGINE]\n; MaxDepth = 4\nMaxDepth = 5\n", "ENGINE", "MaxDepth", "5"},
        {"[ENGINE]\n  # MaxDepth = 4\n", "ENGINE", "MaxDepth", Missing},
        {"[ENGINE]\nMaxDepth 12\nMaxDepth=3\n", "ENGINE", "MaxDepth", "3"},
        {"[BOOK]\nBookFile = \"my book.bin\"   # the big one\n", "BOOK", "BookFile", "my book.bin"},
        {"[BOOK]\nBookFile =\n", "BOOK", "BookFile", ""},
        // Quotes protect comment characters; escapes count only inside quotes.
        {"[A]\nk = \"a;b#c\" ; note\n", "A", "k", "a;b#c"},
        {"[A]\nk = \"a;b\"c # note\n", "A", "k", "\"a;b\"c"},
        {"[A]\nk = \"say \\\"hi\\\" and \"\"bye\"\"\"\n", "A", "k", "say \"hi\" and \"bye\""},
        {"[A]\nk = a\\\"b\"\"c\n", "A", "k", "a\\\"b\"\"c"},
        {"[A]\nk = \"abc ; def # x\n", "A", "k", "\"abc ; def # x"},
        {"[A]\nk = \"\n", "A", "k", ""},
        // Line ends, byte-order mark and bytes above 127 are blanks.
        {"[ENGINE]\r\nMaxDepth = 12\r\n", "ENGINE", "MaxDepth", "12"},
        {"\xEF\xBB\xBF[ENGINE]\nMaxDepth=12\n", "ENGINE", "MaxDepth", "12"},
        {"[A]\n\xC2\xA0k\xC2\xA0=\xC2\xA0v\xC2\xA0\n", "A", "k", "v"},
        {"[A]\nk=12", "A", "k", "12"},
        // First section and first key win; a section ends at any line that begins with "[".
        {"[A]\nk=1\n[B]\nk=2\n[A]\nk=3\nj=4\n", "A", "k", "1"},
        {"[A]\nk=1\n[B]\nk=2\n[A]\nk=3\nj=4\n", "A", "j", Missing},
        {"[A]\nk=1\nk=2\n", "A", "k", "1"},
        {"[A]\n[no bracket\nk=1\n", "A", "k", Missing},
        // Keys above the first header belong to no section.
        {"k=0\n[A]\nk=1\n", "", "k", "0"},
        {"[A]\nk=1\n", "", "k", Missing},
        // A line is read in pieces of 511 bytes; the rest is a line of its own.
        {"[A]\n" + longPrefix + "k=7\n", "A", "k", "7"},
        {"[A]\n" + longPrefix.substr(1) + "k=7\n", "A", "k", Missing},
        {"[A]\nk=" + longPrefix + "\n", "A", "k", longPrefix.substr(0, 99)},
    };
    for (const LookupCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "file \"" << c.file << "\", section "
                                        << (c.section ? c.section : "(none)") << ", key " << c.key);
        std::string path = write_file("case.ini", c.file);
        char buffer[100];
        int length =
            ini_read_string(c.section, c.key, Missing, buffer, sizeof buffer, path.c_str());
        EXPECT_EQ(buffer, c.expected);
        EXPECT_EQ(length, int(std::strlen(buffer)));
    }
}

// The numbers as the standard conversions read them, held at the 32-bit limits; a flag by its
// first letter; an empty value or no key gives the default.
TEST_F(IniTest, NumbersAndFlags) {
    const struct {
        const char* value; // nullptr: no such key
        long number;
        int flag; // -1: the default
    } cases[] = {
        {"12 ; twelve", 12, 1},  {"0x10", 16, 0},  {"0X10", 16, 0},        {"-5", -5, -1},
        {"\"42\"", 42, -1},     {"word", 0, -1},   {"", -99, -1},           {nullptr, -99, -1},
        {"2147483648", INT32_MAX, -1}, {"-99999999999", INT32_MIN, -1},  {"0x80000000", INT32_MAX, 0},
        {"yes", 0, 1},           {"True", 0, 1},   {"no", 0, 0},            {"F", 0, 0},
        {"on", 0, -1},           {"off", 0, -1},   {"\"no\"", 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value ? c.value : "(no key)");
        const std::string path = write_file("n.ini", std::string("[N]\n") + (c.value ? std::string("n = ") + c.value + "\n" : ""));
        EXPECT_EQ(ini_read_long("N", "n", -99, path.c_str()), c.number);
        EXPECT_EQ(ini_read_bool("N", "n", -1, path.c_str()), c.flag);
    }
}

// Settings are globals: every test leaves the defaults behind, with no log open.
class SettingsTest : public ScratchDir {
  protected:
    void TearDown() override {
        load_settings((dir + "/absent.ini").c_str());
        ScratchDir::TearDown();
    }
    void load(const std::string& content) { load_settings(write_file("quillfern.ini", content).c_str()); }
};

// The log is opened for appending; one that cannot be opened is reported and stops the load, so
// the book and time settings keep the values they had.
TEST_F(SettingsTest, TheGameLog) {
    const std::string log = write_file("game.log", "earlier game\n");
    load("[LOG]\nLogGame=yes\nLogFile=" + log + "\n");
    ASSERT_NE(LogFileHandle, nullptr);
    std::fputs("move e2e4\n", LogFileHandle);
    load("[LOG]\nLogGame=0\n");
    EXPECT_EQ(LogFileHandle, nullptr);
    std::ifstream in(log);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "earlier game\nmove e2e4\n");

    load("[BOOK]\nBookFile=first.bin\n[TIME]\nSuddenDeath=33\n");
    const std::string missing = dir + "/missing/game.log";
    testing::internal::CaptureStderr();
    load("[ENGINE]\nMaxDepth=12\n[LOG]\nLogGame=T\nLogFile=" + missing +
         "\n[BOOK]\nBookFile=second.bin\n[TIME]\nSuddenDeath=25\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), missing + ": " + std::strerror(ENOENT) + "\n");
    EXPECT_EQ(MaxDepth, 12);
    EXPECT_STREQ(BookFile, "first.bin");
    EXPECT_EQ(SuddenDeath, 33);
}

} // namespace

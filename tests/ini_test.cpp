// INI reader: the line syntax, the three getters, the quoting of values, and hostile files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "ini/ini_reader.h"
#include "tests/scratch_dir.h"

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

TEST_F(IniTest, StringGetterKeepsToItsBuffer) {
    std::string path = write_file("s.ini", "[A]\nk=abcdef\nq=\"a\"\"b\"\"c\"\n");
    struct Case {
        const char* key;
        const char* fallback;
        int size;
        const char* expected;
        int length;
    } cases[] = {
        {"k", "x", 4, "abc", 3},           {"k", "x", 1, "", 0},
        {"q", "x", 3, "a\"", 2},           {"q", "x", 6, "a\"b\"c", 5},
        {"none", "defaults", 4, "def", 3}, {"none", "d", 100, "d", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "key " << c.key << ", buffer of " << c.size);
        char buffer[100];
        EXPECT_EQ(ini_read_string("A", c.key, c.fallback, buffer, c.size, path.c_str()), c.length);
        EXPECT_STREQ(buffer, c.expected);
    }

    // Unusable arguments write nothing at all.
    char buffer[8] = "intact";
    EXPECT_EQ(ini_read_string("A", "k", "d", nullptr, 8, path.c_str()), 0);
    EXPECT_EQ(ini_read_string("A", "k", "d", buffer, 0, path.c_str()), 0);
    EXPECT_EQ(ini_read_string("A", "k", "d", buffer, -5, path.c_str()), 0);
    EXPECT_EQ(ini_read_string("A", nullptr, "d", buffer, 8, path.c_str()), 0);
    EXPECT_STREQ(buffer, "intact");
}

TEST_F(IniTest, LongGetter) {
    struct Case {
        const char* value; // nullptr: no such key
        long expected;
    } cases[] = {
        {"12", 12},
        {"0x10", 16},
        {"0X10", 16},
        {"12 ; twelve", 12},
        {"-5", -5},
        {"\"42\"", 42},
        {"word", 0},
        {"", -99},
        {nullptr, -99},
        {"2147483648", INT32_MAX},
        {"99999999999999999999999", INT32_MAX},
        {"-99999999999", INT32_MIN},
        {"0x80000000", INT32_MAX},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value ? c.value : "(no key)");
        std::string file = "[N]\n";
        if (c.value) file += std::string("n = ") + c.value + "\n";
        std::string path = write_file("n.ini", file);
        EXPECT_EQ(ini_read_long("N", "n", -99, path.c_str()), c.expected);
    }
    EXPECT_EQ(ini_read_long("N", nullptr, -99, write_file("n.ini", "[N]\nn=1\n").c_str()), -99);
}

TEST_F(IniTest, BoolGetterJudgesTheFirstLetter) {
    struct Case {
        const char* value;
        int expected; // -1: the default
    } cases[] = {
        {"yes", 1}, {"Yes", 1},  {"true", 1},   {"T", 1}, {"1", 1},  {"10", 1},
        {"no", 0},  {"NO", 0},   {"false", 0},  {"f", 0}, {"0", 0},  {"\"no\"", 0},
        {"on", -1}, {"off", -1}, {"maybe", -1}, {"", -1}, {"2", -1}, {"; no", -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        std::string path = write_file("b.ini", std::string("[B]\nflag = ") + c.value + "\n");
        EXPECT_EQ(ini_read_bool("B", "flag", -1, path.c_str()), c.expected);
    }
    std::string path = write_file("b.ini", "[B]\nflag = yes\n");
    EXPECT_EQ(ini_read_bool("B", "other", -1, path.c_str()), -1);
    EXPECT_EQ(ini_read_bool("B", nullptr, -1, path.c_str()), -1);
}

TEST_F(IniTest, MissingFileGivesDefaultsSilently) {
    std::string path = dir + "/absent.ini";
    char buffer[16];
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(ini_read_string("A", "k", "fallback", buffer, sizeof buffer, path.c_str()), 8);
    EXPECT_STREQ(buffer, "fallback");
    EXPECT_EQ(ini_read_long("A", "k", 42, path.c_str()), 42);
    EXPECT_EQ(ini_read_bool("A", "k", 1, path.c_str()), 1);
    EXPECT_EQ(ini_read_string("A", "k", "d", buffer, sizeof buffer, nullptr), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// Every getter on a file it cannot make sense of returns its default or what the bytes spell.
void expect_getters_survive(const std::string& path) {
    char buffer[100];
    const char* sections[] = {"A", "", nullptr, "ENGINE"};
    for (const char* section : sections) {
        int length = ini_read_string(section, "k", "d", buffer, sizeof buffer, path.c_str());
        EXPECT_EQ(length, int(std::strlen(buffer)));
        EXPECT_LT(length, int(sizeof buffer));
        long value = ini_read_long(section, "k", 5, path.c_str());
        EXPECT_GE(value, INT32_MIN);
        EXPECT_LE(value, INT32_MAX);
        int flag = ini_read_bool(section, "k", 7, path.c_str());
        EXPECT_TRUE(flag == 0 || flag == 1 || flag == 7);
    }
}

TEST_F(IniTest, HostileFiles) {
    std::mt19937 random(20240601);
    std::string noise(256 * 1024, '\0');
    for (char& c : noise)
        c = char(random());
    std::string noLineEnd(200 * 1024, '\0');
    for (char& c : noLineEnd)
        c = char(' ' + random() % 95); // printable, "[", "=" and quotes included

    {
        SCOPED_TRACE("random bytes, then a clean section");
        std::string path = write_file("noise.ini", noise + "\n[A]\nk=3\n");
        expect_getters_survive(path);
        EXPECT_EQ(ini_read_long("A", "k", 0, path.c_str()), 3);
    }
    {
        SCOPED_TRACE("200 KB on one line without a line end");
        expect_getters_survive(write_file("long.ini", noLineEnd));
    }
    {
        SCOPED_TRACE("200 KB value on one line, a key after it");
        std::string path =
            write_file("value.ini", "[A]\nk=" + std::string(200 * 1024, 'v') + "\nj=5\n");
        char buffer[100];
        EXPECT_EQ(ini_read_string("A", "k", "d", buffer, sizeof buffer, path.c_str()), 99);
        EXPECT_EQ(ini_read_long("A", "j", 0, path.c_str()), 5);
    }
    {
        SCOPED_TRACE("a directory");
        expect_getters_survive(dir);
        char buffer[8];
        EXPECT_EQ(ini_read_string("A", "k", "d", buffer, sizeof buffer, dir.c_str()), 1);
        EXPECT_EQ(ini_read_long("", "k", 5, dir.c_str()), 5);
    }
    {
        SCOPED_TRACE("an empty file");
        std::string path = write_file("empty.ini", "");
        expect_getters_survive(path);
        EXPECT_EQ(ini_read_long("", "k", 5, path.c_str()), 5);
    }
}

TEST_F(IniTest, UnreadableFileGivesDefaults) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not stop the superuser from reading";
    std::string path = write_file("locked.ini", "[A]\nk=1\n");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    EXPECT_EQ(ini_read_long("A", "k", 9, path.c_str()), 9);
    EXPECT_EQ(ini_read_bool("A", "k", 0, path.c_str()), 0);
}

TEST_F(IniTest, FindEntryByIndex) {
    std::string path = write_file("idx.ini", "top=0\n[A]\nx=1\n;c=2\n  y : 2\nno separator\n[B]\n");
    struct Case {
        const char* section;
        int idxSection, idxKey;
        const char* expected; // nullptr: nothing found
    } cases[] = {
        {nullptr, 0, -1, "A"}, {nullptr, 1, -1, "B"}, {nullptr, 2, -1, nullptr},
        {"a", -1, 0, "x"},     {"A", -1, 1, "y"},     {"A", -1, 2, nullptr},
        {"", -1, 0, "top"},    {"B", -1, 0, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "section index " << c.idxSection << ", key index " << c.idxKey);
        std::FILE* fp = std::fopen(path.c_str(), "rb");
        ASSERT_NE(fp, nullptr);
        char buffer[16] = "";
        int found =
            ini_find_entry(fp, c.section, nullptr, c.idxSection, c.idxKey, buffer, sizeof buffer);
        std::fclose(fp);
        EXPECT_EQ(found, c.expected != nullptr);
        if (c.expected) {
            EXPECT_STREQ(buffer, c.expected);
        }
    }
}

TEST(IniText, CopyText) {
    struct Case {
        const char* source;
        int maxlen, mode;
        const char* expected;
    } cases[] = {
        {"abc", 3, QUOTING_NONE, "ab"},
        {"a\\\"b\"\"c", 10, QUOTING_REMOVE, "a\"b\"c"},
        {"a\\\"b\"\"c", 3, QUOTING_REMOVE, "a\""},
        {"a\"b", 10, QUOTING_ADD, "\"a\\\"b\""},
        {"abc", 4, QUOTING_ADD, "\"a\""},
        {"abc", 3, QUOTING_ADD, "\"\""},
        {"abc", 2, QUOTING_ADD, "a"},
        {"\"x", 4, QUOTING_ADD, "\"\""},
        {"\"x", 5, QUOTING_ADD, "\"\\\"\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.source << " into " << c.maxlen << ", mode " << c.mode);
        char dest[16];
        std::memset(dest, '#', sizeof dest);
        ini_copy_text(dest, c.source, c.maxlen, c.mode);
        EXPECT_STREQ(dest, c.expected);
        EXPECT_EQ(dest[c.maxlen], '#'); // nothing written past maxlen bytes
    }
}

// The death message must carry the assertion's text exactly; regex characters in it are escaped.
std::string failed_assertion(const std::string& text) {
    std::string pattern;
    for (char c : "Assertion `" + text + "' failed") {
        if (std::strchr("\\^$.|?*+()[]{}", c)) pattern += '\\';
        pattern += c;
    }
    return pattern;
}

TEST(IniDeathTest, BrokenPreconditionsStopWithTheirReason) {
    char buffer[8] = "abcdefg";
    int mode;
    std::FILE* fp = std::tmpfile();
    ASSERT_NE(fp, nullptr);
    EXPECT_DEATH(ini_copy_text(buffer, "x", 0, QUOTING_NONE), failed_assertion("maxlen>0"));
    EXPECT_DEATH(ini_copy_text(buffer + 1, buffer, 4, QUOTING_NONE),
                 failed_assertion("dest <= source || dest >= source + maxlen"));
    EXPECT_DEATH(ini_copy_text(buffer, "x", 4, 3), failed_assertion("0"));
    EXPECT_DEATH(ini_clean_value(nullptr, &mode), failed_assertion("string != NULL"));
    EXPECT_DEATH(ini_clean_value(buffer, nullptr), failed_assertion("quotes != NULL"));
    EXPECT_DEATH((void)ini_find_entry(nullptr, "A", "k", -1, -1, buffer, 8),
                 failed_assertion("fp != NULL"));
    EXPECT_DEATH((void)ini_find_entry(fp, nullptr, nullptr, -1, -1, buffer, 8),
                 failed_assertion("Key != NULL || idxKey >= 0"));
    std::fclose(fp);
}

} // namespace

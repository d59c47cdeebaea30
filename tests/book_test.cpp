// Opening book: the published Polyglot keys, a book written by another tool, hand-made books
// that probe the binary search and the move choice, and broken book files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "board/board.h"
#include "book/book.h"
#include "shell/shell.h"
#include "tests/scratch_dir.h"

namespace {

constexpr std::uint64_t StartKey   = 0x463b96181691fc9cull;
constexpr std::uint64_t AfterE4Key = 0x823c9b50fd114196ull; // Black to move

// Plays coordinate moves from the start position; false at the first move refused.
bool play(const std::string& moves) {
    new_game();
    std::istringstream in(moves);
    std::string move;
    while (in >> move)
        if (enter_user_move(move.c_str()) != 1) return false;
    return true;
}

// The book's move field of a coordinate text such as "e2e4" or "a7a8q".
std::uint16_t move_field(const char* text) {
    int promo = text[4] ? int(std::strchr(" nbrq", text[4]) - " nbrq") : 0;
    return std::uint16_t((promo << 12) | ((text[1] - '1') << 9) | ((text[0] - 'a') << 6) |
                         ((text[3] - '1') << 3) | (text[2] - 'a'));
}

void put_big_endian(std::string& bytes, std::uint64_t value, int width) {
    for (int i = width - 1; i >= 0; --i)
        bytes += char((value >> (8 * i)) & 0xFF);
}

struct HandEntry {
    std::uint64_t key;
    const char* move;
    std::uint16_t weight;
};

std::string entry_bytes(const HandEntry& e) {
    std::string bytes;
    put_big_endian(bytes, e.key, 8);
    put_big_endian(bytes, move_field(e.move), 2);
    put_big_endian(bytes, e.weight, 2);
    put_big_endian(bytes, 0, 4);
    return bytes;
}

class BookTest : public ScratchDir {
  protected:
    void SetUp() override {
        ScratchDir::SetUp();
        saved        = {PostThinking, LogGame, RandBook};
        savedLog     = LogFileHandle;
        PostThinking = 0;
        LogGame      = 0;
        RandBook     = 0;
        new_game();
    }
    void TearDown() override {
        PostThinking  = saved[0];
        LogGame       = saved[1];
        RandBook      = saved[2];
        LogFileHandle = savedLog;
        ScratchDir::TearDown();
    }

    std::string write_book(const std::string& name, const std::vector<HandEntry>& entries) {
        std::string bytes;
        for (const auto& e : entries)
            bytes += entry_bytes(e);
        return write_file(name, bytes);
    }

    // The listing of the position on the board, and its result.
    std::string listing(const std::string& path, int& result) {
        ::testing::internal::CaptureStdout();
        result = show_book_moves(path.c_str());
        return ::testing::internal::GetCapturedStdout();
    }
    // The move chosen for the position on the board, or "" when the book has none.
    std::string choice(const std::string& path) {
        char text[6] = "xxxxx";
        return choose_book_move(path.c_str(), text) == 0 ? std::string(text) : std::string();
    }

    std::array<std::int32_t, 3> saved{};
    std::FILE* savedLog = nullptr;
};

} // namespace

// Keys

TEST_F(BookTest, Random64IsThePublishedTable) {
    std::ifstream in(QUILLFERN_SHARED_DATA "/polyglot_random64.txt");
    ASSERT_TRUE(in);
    std::string line;
    std::size_t index = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        ASSERT_LT(index, Random64.size());
        EXPECT_EQ(Random64[index], std::stoull(line, nullptr, 16)) << "entry " << index;
        ++index;
    }
    EXPECT_EQ(index, Random64.size());
}

// Every published key, reached by moves and set up by FEN (four of them with Black to move);
// the record must be bit for bit the same after the key is taken.
TEST_F(BookTest, PublishedKeysFromMovesAndFen) {
    std::map<std::string, std::uint64_t> published;
    std::ifstream in(QUILLFERN_SHARED_DATA "/polyglot_test_keys.txt");
    ASSERT_TRUE(in);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        auto tab = line.find('\t');
        ASSERT_NE(tab, std::string::npos) << line;
        std::string moves                        = line.substr(0, tab);
        published[moves == "start" ? "" : moves] = std::stoull(line.substr(tab + 1), nullptr, 16);
    }
    ASSERT_EQ(published.size(), 9u);

    const struct {
        const char* moves;
        const char* fen;
    } cases[] = {
        {"", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"},
        {"e2e4", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"},
        {"e2e4 d7d5", "rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq d6 0 2"},
        {"e2e4 d7d5 e4e5", "rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR b KQkq - 0 2"},
        {"e2e4 d7d5 e4e5 f7f5", "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3"},
        {"e2e4 d7d5 e4e5 f7f5 e1e2", "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPPKPPP/RNBQ1BNR b kq - 0 3"},
        {"e2e4 d7d5 e4e5 f7f5 e1e2 e8f7",
         "rnbq1bnr/ppp1pkpp/8/3pPp2/8/8/PPPPKPPP/RNBQ1BNR w - - 0 4"},
        {"a2a4 b7b5 h2h4 b5b4 c2c4",
         "rnbqkbnr/p1pppppp/8/8/PpP4P/8/1P1PPPP1/RNBQKBNR b KQkq c3 0 3"},
        {"a2a4 b7b5 h2h4 b5b4 c2c4 b4c3 a1a3",
         "rnbqkbnr/p1pppppp/8/8/P6P/R1p5/1P1PPPP1/1NBQKBNR b Kkq - 0 4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("moves: ") + c.moves);
        ASSERT_EQ(published.count(c.moves), 1u);
        const std::uint64_t expected = published[c.moves];

        ASSERT_TRUE(play(c.moves));
        const Position before = *CurrentPosition;
        EXPECT_EQ(book_key(), expected);
        EXPECT_EQ(std::memcmp(&before, CurrentPosition, sizeof(Position)), 0);

        new_game();
        ASSERT_EQ(read_fen(c.fen), 1);
        EXPECT_EQ(book_key(), expected) << c.fen;
    }
}

// The en passant file enters the key only for a pawn of the side to move on the square beside
// the pawn that has just advanced two squares, pinned or not, and never across the board's edge.
TEST_F(BookTest, EnPassantFileNeedsAPawnBeside) {
    const struct {
        const char* fen; // without an en passant square; epFile is set on the record
        int epFile;
        bool enters;
    } cases[] = {
        {"4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1", 3, true},   // exd6 possible
        {"4k3/8/8/4Pp2/8/8/8/4K3 w - - 0 1", 5, true},   // exf6 from the other side
        {"4k3/8/8/r2pP2K/8/8/8/8 w - - 0 1", 3, true},   // the capture would expose the king
        {"4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1", 3, false}, // pawn not on the fifth rank
        {"4k3/8/8/3pN3/8/8/8/4K3 w - - 0 1", 3, false},  // a knight beside is no pawn
        {"4k3/8/8/p7/7P/8/8/4K3 w - - 0 1", 0, false},   // h4 is not beside a5
        {"4k3/8/P7/7p/8/8/8/4K3 w - - 0 1", 7, false},   // a6 is not beside h5
        {"4k3/8/8/8/3pP3/8/8/4K3 b - - 0 1", 4, true},   // ...dxe3
        {"4k3/8/8/8/3PP3/8/8/4K3 b - - 0 1", 4, false},  // White's own pawn beside
        {"4k3/8/8/8/7P/p7/8/4K3 b - - 0 1", 7, false},   // a3 is not beside h4
        {"4k3/8/8/7p/P7/8/8/4K3 b - - 0 1", 0, false},   // h5 is not beside a4
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        new_game();
        ASSERT_EQ(read_fen(c.fen), 1);
        ASSERT_EQ(CurrentPosition->epFile, 8);
        const std::uint64_t without = book_key();
        CurrentPosition->epFile     = std::uint8_t(c.epFile);
        const std::uint64_t with    = book_key();
        EXPECT_EQ(with ^ without, c.enters ? Random64[772 + c.epFile] : 0);
    }
}

// A book written by another tool

struct ExpectedPosition {
    std::string name, fen, first;
    std::uint64_t key = 0;
    std::vector<std::pair<std::string, int>> entries; // stored move text, weight
};

// The blocks of small_book_expected.txt: what the tool wrote for a few positions of the book.
std::vector<ExpectedPosition> read_expected_positions() {
    std::vector<ExpectedPosition> positions;
    std::ifstream in(QUILLFERN_TEST_DATA "/small_book_expected.txt");
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string word;
        if (!(words >> word) || word[0] == '#') continue;
        if (word == "position") positions.emplace_back().name = line.substr(9);
        if (positions.empty()) continue;
        ExpectedPosition& p = positions.back();
        if (word == "fen") p.fen = line.substr(4);
        if (word == "key") p.key = std::stoull(line.substr(4), nullptr, 16);
        if (word == "first") p.first = line.substr(6);
        if (word.size() == 16 && word.find_first_not_of("0123456789abcdef") == std::string::npos) {
            std::string move;
            int weight = -1;
            words >> move >> weight;
            p.entries.emplace_back(move, weight);
        }
    }
    return positions;
}

// The key, every entry with its weight, the listing and the move chosen match what the tool
// wrote, for positions with either side to move, castling in the book, and no book move.
TEST_F(BookTest, ReadsABookWrittenByAnotherTool) {
    const std::string book = QUILLFERN_TEST_DATA "/small_book.bin";
    const auto positions   = read_expected_positions();
    ASSERT_GE(positions.size(), 8u);
    for (const auto& p : positions) {
        SCOPED_TRACE(p.name + ": " + p.fen);
        new_game();
        ASSERT_EQ(read_fen(p.fen.c_str()), 1);
        ASSERT_EQ(book_key(), p.key);

        std::FILE* file = std::fopen(book.c_str(), "rb");
        ASSERT_NE(file, nullptr);
        BookEntry entry{};
        std::int32_t index = find_book_key(file, p.key, entry);
        ASSERT_GE(index, 0);
        ASSERT_EQ(std::fseek(file, long(index) * 16, SEEK_SET), 0);
        for (const auto& [move, weight] : p.entries) {
            ASSERT_EQ(read_book_entry(file, entry), 0);
            EXPECT_EQ(entry.key, p.key);
            EXPECT_EQ(entry.move, move_field(move.c_str())) << move;
            EXPECT_EQ(entry.weight, weight) << move;
        }
        EXPECT_TRUE(read_book_entry(file, entry) != 0 || entry.key != p.key) << "extra entries";
        std::fclose(file);

        int result              = 0;
        const std::string shown = listing(book, result);
        EXPECT_EQ(result, p.entries.empty() ? 1 : 0);
        EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'),
                  std::max<std::ptrdiff_t>(1, std::ptrdiff_t(p.entries.size())))
            << shown;
        EXPECT_EQ(choice(book), p.first == "-" ? "" : p.first);
    }
}

// Finding entries

// Books of 1 to 17 entries (sizes around powers of two), with a run of one to three equal keys at
// every place: the search returns the run's first entry, whatever the book's size and the run's
// position.
TEST_F(BookTest, FindsTheFirstEntryOfAKeyAtEveryPlace) {
    for (int size : {1, 2, 3, 4, 5, 7, 8, 9, 16, 17})
        for (int run = 1; run <= 3 && run <= size; ++run)
            for (int first = 0; first + run <= size; ++first) {
                SCOPED_TRACE("size " + std::to_string(size) + " run " + std::to_string(run) +
                             " at " + std::to_string(first));
                constexpr std::uint64_t key = 1000;
                std::vector<HandEntry> entries;
                for (int i = 0; i < size; ++i) {
                    std::uint64_t k = i < first ? key - first + i : i < first + run ? key : key + i;
                    entries.push_back({k, i == first ? "e2e4" : "d2d4", std::uint16_t(i)});
                }
                const std::string path = write_book("run.bin", entries);
                std::FILE* file        = std::fopen(path.c_str(), "rb");
                ASSERT_NE(file, nullptr);
                BookEntry entry{};
                EXPECT_EQ(find_book_key(file, key, entry), first);
                EXPECT_EQ(entry.key, key);
                EXPECT_EQ(entry.weight, first);
                std::fclose(file);
            }
}

// Move text

TEST_F(BookTest, MoveTextRewritesCastlingAndSpellsPromotions) {
    const struct {
        std::uint16_t field;
        const char* text;
    } cases[] = {
        {0x031C, "e2e4"},  {0x0000, "a1a1"},  {0x0FFF, "h8h8"},  {0x0107, "e1g1"},
        {0x0100, "e1c1"},  {0x0F3F, "e8g8"},  {0x0F38, "e8c8"},  {0x0106, "e1g1"},
        {0x0F3E, "e8g8"},  {0x00C7, "d1h1"},  {0x4C38, "a7a8q"}, {0x1240, "b2a1n"},
        {0x2DFF, "h7h8b"}, {0x3DFF, "h7h8r"}, {0x7C38, "a7a8"}, // no such promotion piece: none is
                                                                // written
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        char text[6] = "?????";
        book_move_to_text(text, c.field);
        EXPECT_EQ(std::string(text), c.text);
    }
}

// Listing and choice from hand-made books

TEST_F(BookTest, ListsSharesOfTheWeights) {
    const struct {
        const char* name;
        std::vector<HandEntry> entries;
        const char* expected;
    } cases[] = {
        {"three to one",
         {{StartKey - 1, "a2a3", 9},
          {StartKey, "e2e4", 3},
          {StartKey, "d2d4", 1},
          {StartKey + 1, "h2h3", 9}},
         "move=e2e4 weight=75.00%\nmove=d2d4 weight=25.00%\n"},
        {"every weight 0",
         {{StartKey, "e2e4", 0}, {StartKey, "d2d4", 0}},
         "move=e2e4 weight=50.00%\nmove=d2d4 weight=50.00%\n"},
        {"weights at their limit",
         {{StartKey, "g1f3", 65535}, {StartKey, "c2c4", 65535}},
         "move=g1f3 weight=50.00%\nmove=c2c4 weight=50.00%\n"},
        {"one move", {{StartKey, "e1h1", 1}}, "move=e1g1 weight=100.00%\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        int result = 1;
        EXPECT_EQ(listing(write_book("shares.bin", c.entries), result), c.expected);
        EXPECT_EQ(result, 0);
    }
}

// Exactly 100 moves of the position, between entries of other keys, are all candidates; with a
// 101st the book gives no move.
TEST_F(BookTest, HoldsAtMostOneHundredMoves) {
    for (int count : {100, 101}) {
        SCOPED_TRACE(count);
        std::vector<HandEntry> entries = {{StartKey - 1, "a2a3", 1}};
        for (int i = 0; i < count; ++i)
            entries.push_back({StartKey, i == 0 ? "e2e4" : "d2d4", 1});
        entries.push_back({StartKey + 1, "h2h3", 1});
        const std::string path = write_book("hundred.bin", entries);

        int result        = 0;
        std::string shown = listing(path, result);
        ::testing::internal::CaptureStdout();
        std::string move = choice(path);
        std::string said = ::testing::internal::GetCapturedStdout();
        if (count == 100) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 100);
            EXPECT_EQ(shown.substr(0, 26), "move=e2e4 weight= 1.00%\nmo");
            EXPECT_EQ(move, "e2e4");
            EXPECT_EQ(said, "");
        } else {
            EXPECT_EQ(result, 1);
            EXPECT_EQ(shown, "Too many moves in this position (max=100)\n");
            EXPECT_EQ(move, "");
            EXPECT_EQ(said, "#DEBUG: Too many moves in this position (max=100)\n");
        }
    }
}

// Without RandBook the first entry of the position in the file is played, whatever its weight;
// castling and promotions reach the caller as the engine writes them; a key smaller or larger
// than every key in the book finds nothing.
TEST_F(BookTest, PlaysTheFirstEntryWithoutRandBook) {
    const struct {
        const char* moves;
        std::vector<HandEntry> entries;
        const char* expected;
    } cases[] = {
        {"", {{StartKey, "d2d4", 1}, {StartKey, "e2e4", 500}}, "d2d4"},
        {"", {{StartKey, "e1h1", 1}}, "e1g1"},
        {"", {{StartKey, "e1a1", 1}}, "e1c1"},
        {"e2e4", {{AfterE4Key, "e8a8", 1}}, "e8c8"},
        {"e2e4", {{AfterE4Key, "e8h8", 1}}, "e8g8"},
        {"e2e4", {{StartKey, "d2d4", 1}, {AfterE4Key, "b2b1q", 0}}, "b2b1q"},
        {"", {{StartKey - 1, "a2a3", 1}, {StartKey, "g7g8q", 2}}, "g7g8q"}, // last entry
        {"", {{StartKey + 1, "e2e4", 1}, {StartKey + 2, "d2d4", 1}}, ""},   // all above
        {"", {{StartKey - 2, "e2e4", 1}, {StartKey - 1, "d2d4", 1}}, ""},   // all below
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("case " + std::to_string(&c - cases));
        ASSERT_TRUE(play(c.moves));
        EXPECT_EQ(choice(write_book("first.bin", c.entries)), c.expected);
    }
}

// With RandBook the generator is seeded from the calendar second and one draw modulo the number
// of moves picks the entry; weights play no part, so an entry of weight 0 may be played.
TEST_F(BookTest, RandBookDrawsFromTheSecondsClock) {
    RandBook                  = 1;
    const char* const moves[] = {"a2a3", "b2b3", "c2c4", "d2d4", "e2e4", "f2f4", "g1f3"};
    for (int count : {1, 2, 3, 7}) {
        SCOPED_TRACE(count);
        std::vector<HandEntry> entries;
        for (int i = 0; i < count; ++i)
            entries.push_back({StartKey, moves[i], std::uint16_t(i == 0 ? 100 : 0)});
        const std::string path = write_book("random.bin", entries);
        std::string expected, chosen;
        std::time_t before, after;
        do { // the same second for both draws
            before = std::time(nullptr);
            std::srand(unsigned(before));
            expected = moves[std::rand() % count];
            std::srand(12345); // the choice must seed the generator itself
            chosen = choice(path);
            after  = std::time(nullptr);
        } while (before != after);
        EXPECT_EQ(chosen, expected);
    }
}

// The thinking line is printed, and logged, only while thinking is shown.
TEST_F(BookTest, AnnouncesTheBookMoveWhenThinkingIsShown) {
    const std::string path = write_book("post.bin", {{StartKey, "e2e4", 1}});
    const struct {
        int post, logGame;
        const char* shown;
        const char* logged;
    } cases[] = {
        {0, 1, "", ""},
        {1, 0, "0 0 0 0 (move from book)\n", ""},
        {1, 1, "0 0 0 0 (move from book)\n", "0 0 0 0 (move from book)\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("PostThinking " + std::to_string(c.post) + " LogGame " +
                     std::to_string(c.logGame));
        PostThinking   = c.post;
        LogGame        = c.logGame;
        std::FILE* log = std::tmpfile();
        ASSERT_NE(log, nullptr);
        LogFileHandle = log;
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(choice(path), "e2e4");
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.shown);
        std::rewind(log);
        char logged[64] = "";
        EXPECT_EQ(std::fread(logged, 1, sizeof logged - 1, log), std::strlen(c.logged));
        EXPECT_STREQ(logged, c.logged);
        std::fclose(log);
    }
}

// Broken books

TEST_F(BookTest, MissingBookIsReportedOnTheErrorStream) {
    const std::string path = dir + "/absent.bin";
    int result             = 0;
    ::testing::internal::CaptureStderr();
    std::string shown = listing(path, result);
    EXPECT_EQ(choice(path), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              path + ": No such file or directory\n" + path + ": No such file or directory\n");
    EXPECT_EQ(shown, "");
    EXPECT_EQ(result, 1);
}

// Files that are no book, or only part of one: no crash and no endless loop; the position is
// not in the book, or the collection stops at the last whole entry.
TEST_F(BookTest, SurvivesBrokenBooks) {
    std::string random;
    std::mt19937 rng(2024);
    for (int i = 0; i < 16 * 300 + 5; ++i)
        random += char(rng() & 0xFF);
    const std::string whole = entry_bytes({StartKey - 1, "a2a3", 1}) +
                              entry_bytes({StartKey, "e2e4", 1}) +
                              entry_bytes({StartKey, "d2d4", 1});
    const std::string cut = entry_bytes({StartKey, "c2c4", 1}).substr(0, 9);
    std::string unsorted;
    for (std::uint64_t k :
         {StartKey + 5, StartKey, StartKey - 3, StartKey + 9, StartKey, StartKey - 7})
        unsorted += entry_bytes({k, "e2e4", 1});
    std::filesystem::create_directories(dir + "/folder.bin");

    const struct {
        const char* name;
        std::string bytes;
        const char* listed; // nullptr: any listing, as long as the probe ends
    } cases[] = {
        {"empty", "", "463b96181691fc9c: No such key\n"},
        {"15 bytes", entry_bytes({StartKey, "e2e4", 1}).substr(0, 15),
         "463b96181691fc9c: No such key\n"},
        {"last entry cut short", whole + cut, "move=e2e4 weight=50.00%\nmove=d2d4 weight=50.00%\n"},
        {"key only in the cut entry", entry_bytes({StartKey - 1, "a2a3", 1}) + cut,
         "463b96181691fc9c: No such key\n"},
        {"unsorted", unsorted, nullptr},
        {"random bytes", random, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = write_file("broken.bin", c.bytes);
        int result             = 0;
        std::string shown      = listing(path, result);
        std::string move       = choice(path);
        if (c.listed) {
            EXPECT_EQ(shown, c.listed);
            EXPECT_EQ(move, result == 0 ? "e2e4" : "");
        }
        EXPECT_EQ(result == 0, !move.empty());
    }

    SCOPED_TRACE("a folder");
    const std::string folder = dir + "/folder.bin";
    int result               = 0;
    ::testing::internal::CaptureStderr();
    std::string shown = listing(folder, result);
    EXPECT_EQ(choice(folder), "");
    std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(shown, "");
    EXPECT_EQ(errors.rfind(folder + ": ", 0), 0u) << errors;
}

// Opening book: the published Polyglot keys, a book written by the polyglot tool, hand-made
// books that probe the binary search and the move choice, and broken book files.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "book/book.h"
#include "tests/support.h"

namespace {

constexpr std::uint64_t StartKey   = 0x463b96181691fc9cull;
constexpr std::uint64_t AfterE4Key = 0x823c9b50fd114196ull; // Black to move

// The lines of a data file that are not comments.
std::vector<std::string> data_lines(const char* name) {
    std::ifstream in(std::string(QUILLFERN_TEST_DATA "/") + name);
    EXPECT_TRUE(in) << name;
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#') lines.push_back(line);
    return lines;
}

void play(const std::string& moves) {
    new_game();
    std::istringstream in(moves);
    for (std::string move; in >> move;) ASSERT_EQ(enter_user_move(move.c_str()), 1) << move;
}

// The book's move field of a coordinate text such as "e2e4" or "a7a8q".
std::uint16_t move_field(const std::string& text) {
    const int promo = text.size() > 4 ? int(std::string(" nbrq").find(text[4])) : 0;
    return std::uint16_t((promo << 12) | ((text[1] - '1') << 9) | ((text[0] - 'a') << 6) |
                         ((text[3] - '1') << 3) | (text[2] - 'a'));
}

struct HandEntry {
    std::uint64_t key;
    const char* move;
    std::uint16_t weight;
};

std::string entry_bytes(const HandEntry& e) {
    std::string bytes;
    const std::uint64_t fields[3][2] = {{e.key, 8}, {move_field(e.move), 2}, {e.weight, 2}};
    for (const auto& [value, width] : fields)
        for (int i = int(width) - 1; i >= 0; --i) bytes += char((value >> (8 * i)) & 0xFF);
    return bytes + std::string(4, '\0');
}

class BookTest : public ScratchDir {
  protected:
    void SetUp() override {
        ScratchDir::SetUp();
        new_game();
    }
    std::string write_book(const std::vector<HandEntry>& entries) {
        std::string bytes;
        for (const auto& e : entries) bytes += entry_bytes(e);
        return write_file("book.bin", bytes);
    }
    // The moves the book holds for the position on the board, each with its weight, in file
    // order; or what kept them from being listed.
    std::string listing(const std::string& path) {
        BookListing listing;
        const BookProbe probe = collect_book_moves(path.c_str(), listing);
        if (probe.result != BookFound) return probe.result == BookNoSuchKey ? "no such key" : "too many";
        std::string moves;
        for (int i = 0; i < listing.count; ++i) {
            char text[6];
            book_move_to_text(text, listing.entries[i].move);
            moves += std::string(text) + " " + std::to_string(listing.entries[i].weight) + " ";
        }
        return moves;
    }
    // The move chosen for the position on the board, or "" when the book has none.
    std::string choice(const std::string& path) {
        char text[6] = "xxxxx";
        return choose_book_move(path.c_str(), 0, text).result == BookFound ? std::string(text) : "";
    }
};

} // namespace

TEST_F(BookTest, Random64IsThePublishedTable) {
    const auto lines = data_lines("polyglot_random64.txt");
    ASSERT_EQ(lines.size(), Random64.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(Random64[i], std::stoull(lines[i], nullptr, 16)) << "entry " << i;
}

// Every published key, reached by moves; the record is unchanged afterwards.
TEST_F(BookTest, PublishedKeysFromMovesAndFen) {
    const auto lines = data_lines("polyglot_test_keys.txt");
    ASSERT_EQ(lines.size(), 9u);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string moves = lines[i].substr(0, lines[i].find('\t'));
        const std::uint64_t key = std::stoull(lines[i].substr(lines[i].find('\t') + 1), nullptr, 16);
        SCOPED_TRACE(moves);
        play(moves == "start" ? "" : moves);
        const Position before = *CurrentPosition;
        EXPECT_EQ(book_key(), key);
        EXPECT_EQ(std::memcmp(&before, CurrentPosition, sizeof before), 0);
    }
}

// small_book_expected.txt holds what the polyglot tool wrote for some positions of
// small_book.bin: the key (also of positions the book lacks, such as those where Black holds
// one castling right only), each entry with its weight, and the move the engine plays first.
TEST_F(BookTest, ReadsABookWrittenByThePolyglotTool) {
    const std::string book = QUILLFERN_TEST_DATA "/small_book.bin";
    std::string fen, first, key;
    std::vector<std::string> entries;
    int positions = 0;
    auto check    = [&] {
        SCOPED_TRACE(fen);
        set_up(fen.c_str());
        EXPECT_EQ(book_key(), std::stoull(key, nullptr, 16));
        std::string expected;
        for (const auto& e : entries) expected += e;
        EXPECT_EQ(listing(book), entries.empty() ? "no such key" : expected);
        EXPECT_EQ(choice(book), first == "-" ? "" : first);
        ++positions;
    };
    for (const std::string& line : data_lines("small_book_expected.txt")) {
        std::istringstream words(line);
        std::string word, move;
        words >> word;
        if (word == "position" && !fen.empty()) check(), entries.clear();
        if (word == "fen") fen = line.substr(4);
        if (word == "key") key = line.substr(4);
        if (word == "first") first = line.substr(6);
        if (std::string weight; word.size() == 16 && words >> move >> weight) {
            char text[6];
            book_move_to_text(text, move_field(move)); // as the engine writes castling
            entries.push_back(std::string(text) + " " + weight + " ");
        }
    }
    check();
    EXPECT_GE(positions, 8);
}

// Without RandBook the first entry of the position in the file is played, whatever its weight;
// castling and promotions reach the caller as the engine writes them.
TEST_F(BookTest, HandMadeBooks) {
    const struct {
        const char* moves;
        std::vector<HandEntry> entries;
        const char* chosen;
        const char* listed;
    } cases[] = {
        {"", {{StartKey - 1, "a2a3", 9}, {StartKey, "d2d4", 1}, {StartKey, "e2e4", 3}, {StartKey + 1, "h2h3", 9}},
         "d2d4", "d2d4 1 e2e4 3 "},
        {"", {{StartKey, "e1h1", 0}, {StartKey, "e1a1", 65535}}, "e1g1", "e1g1 0 e1c1 65535 "},
        {"e2e4", {{AfterE4Key, "e8a8", 1}}, "e8c8", "e8c8 1 "},
        {"e2e4", {{StartKey, "d2d4", 1}, {AfterE4Key, "b2b1q", 1}}, "b2b1q", "b2b1q 1 "},
        {"", {{StartKey + 1, "e2e4", 1}}, "", "no such key"}, // all keys above
        {"", {{StartKey - 1, "e2e4", 1}}, "", "no such key"}, // all keys below
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.chosen);
        play(c.moves);
        const std::string path = write_book(c.entries);
        EXPECT_EQ(choice(path), c.chosen);
        EXPECT_EQ(listing(path), c.listed);
    }
    // 100 moves of one position are all candidates; with a 101st the book gives none.
    for (int count : {100, 101}) {
        new_game();
        std::vector<HandEntry> entries(std::size_t(count), HandEntry{StartKey, "e2e4", 1});
        const std::string path = write_book(entries);
        EXPECT_EQ(choice(path), count == 100 ? "e2e4" : "");
        if (count == 101) { EXPECT_EQ(listing(path), "too many"); }
    }
}

// A missing book, or a folder, is reported with the reason; a cut book keeps its whole entries.
TEST_F(BookTest, BrokenBooks) {
    const std::string whole = entry_bytes({StartKey - 1, "a2a3", 1}) + entry_bytes({StartKey, "e2e4", 1});
    EXPECT_EQ(choice(write_file("cut.bin", whole + whole.substr(0, 9))), "e2e4");
    EXPECT_EQ(choice(write_file("short.bin", whole.substr(0, 15))), "");
    std::filesystem::create_directory(dir + "/folder.bin");
    for (const auto& [name, error] : {std::pair{"/absent.bin", ENOENT}, {"/folder.bin", EISDIR}}) {
        char text[6];
        const BookProbe probe = choose_book_move((dir + name).c_str(), 0, text);
        EXPECT_EQ(probe.result, BookNotOpened);
        EXPECT_EQ(probe.error, error);
    }
}

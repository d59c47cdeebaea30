// The fuzz targets, one per input surface, each built from this file with FUZZ_TARGET_<name>
// defined: fen, user_move, ini, book, console, xboard, uci. What they share: a scratch working
// folder holding a shallow, quick INI file and the small test book, standard output sent to
// /dev/null, the engine put back to its start-up state before every input, and a check that
// reports like a sanitizer finding.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "book/book.h"
#include "eval/eval.h"
#include "front/front.h"
#include "ini/ini_reader.h"
#include "movegen/movegen.h"
#include "shell/shell.h"

// Every search is held to this depth and time, so an input runs in milliseconds; the book
// choice is the first move (a random one would not repeat), and the log is written to nowhere.
constexpr int FuzzDepth    = 3;
constexpr int FuzzMoveTime = 100; // hundredths of a second
constexpr const char* FuzzIni = "[ENGINE]\nMaxDepth=3\nMaxTime=100\nPostThinking=yes\n"
                                "[LOG]\nLogFile=/dev/null\nLogGame=yes\n"
                                "[BOOK]\nBookFile=book.bin\nBook=yes\nRandBook=no\n";

#define FUZZ_CHECK(c)                                                                              \
    do {                                                                                           \
        if (!(c)) std::fprintf(stderr, "fuzz check failed: %s (%d)\n", #c, __LINE__), std::abort();  \
    } while (0)

inline void write_scratch_file(const char* name, const void* data, std::size_t size) {
    std::FILE* f = std::fopen(name, "wb");
    FUZZ_CHECK(f != nullptr);
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
}

inline char ScratchDir[64] = "/tmp/quillfern-fuzz-XXXXXX";
inline void remove_scratch_dir() { std::filesystem::remove_all(ScratchDir); }

// QUILLFERN_FUZZ_VERBOSE=1 keeps the engine's output on the terminal, for replaying by hand.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    FUZZ_CHECK(mkdtemp(ScratchDir) != nullptr && chdir(ScratchDir) == 0);
    std::atexit(remove_scratch_dir);
    write_scratch_file("quillfern.ini", FuzzIni, std::strlen(FuzzIni));
    std::filesystem::copy_file(QUILLFERN_SOURCE_DIR "/tests/data/small_book.bin", "book.bin");
    const char* verbose = std::getenv("QUILLFERN_FUZZ_VERBOSE");
    if (!verbose || std::strcmp(verbose, "1") != 0) {
        const int null = open("/dev/null", O_WRONLY);
        FUZZ_CHECK(null >= 0 && dup2(null, STDOUT_FILENO) >= 0);
        close(null);
    }
    return 0;
}

// The state start-up leaves, as if the program had just been started.
inline void reset_engine() {
    GameOver      = 0;
    EngineColor   = 'c';
    QuitRequested = 0;
    load_settings("quillfern.ini");
    new_game();
}

// Gives the engine's next move its whole budget from now on.
inline void start_clock() {
    SearchStartTime = clock_ms();
    moveTime = allocatedTime = FuzzMoveTime;
}

// The legal moves of the position on the board, found by making every generated move.
inline int legal_moves(Move* moves) {
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

inline bool same(const Position& a, const Position& b) { return std::memcmp(&a, &b, sizeof a) == 0; }


#if defined(FUZZ_TARGET_fen)
// The FEN reader, and everything the engine does with the record it leaves, accepted or not
// ("setboard" plays on whatever the reader wrote): display, key, evaluation, game end, and a
// shallow search whose move the user-move entry must accept and play the same way.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    char text[1024];
    if (size >= sizeof text) return -1;
    std::memcpy(text, data, size);
    text[size] = '\0';
    reset_engine();
    const int accepted = read_fen(text);
    const Position before = *CurrentPosition;
    FUZZ_CHECK((before.ownPieces & ~occupied(before)) == 0 && before.epFile <= 8);
    FUZZ_CHECK((before.blackToMove == 0 || before.blackToMove == 1) && (before.castling & 0xCC) == 0);
    if (accepted) FUZZ_CHECK(before.reversibleCount <= 100);
    show_board();
    (void)book_key();
    (void)evaluate();
    (void)check_game_end();
    FUZZ_CHECK(stack_index() == 0 && same(before, *CurrentPosition));

    MaxDepth = 2;
    start_clock();
    char move[LineSize] = "";
    think(move);
    if (move[0] == '\0') return 0;
    const Position played = *CurrentPosition;
    take_back();
    if (move[4] == ' ') move[4] = '\0';
    FUZZ_CHECK(enter_user_move(move) == 1 && same(played, *CurrentPosition));
    return 0;
}

#elif defined(FUZZ_TARGET_user_move)
// The user-move entry on positions of a random legal game steered by the input (long ones too,
// across the stack's trimming); then the input's lines as move texts, which the entry must judge
// as the generators do: an accepted text plays one legal move, a refused one changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const char* const starts[] = {
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
        "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
        "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
        "8/P1k5/K7/8/8/8/6p1/8 b - - 0 1",
    };
    if (size < 3) return -1;
    reset_engine();
    if (data[0] % 5) FUZZ_CHECK(read_fen(starts[data[0] % 5 - 1]) == 1);
    const int plies = ((data[1] << 8) | data[2]) % 1024;
    std::size_t used = 3;
    Move moves[MaxGameMoves];
    for (int ply = 0, count; ply < plies && (count = legal_moves(moves)) > 0; ++ply) {
        const Move m = moves[(used < size ? data[used++] : ply) % count];
        char text[8];
        move_to_text(text, m, CurrentPosition);
        if (text[4] == ' ') text[4] = '\0';
        make_move(m);
        const Position expected = *CurrentPosition;
        take_back();
        FUZZ_CHECK(enter_user_move(text) == 1 && same(expected, *CurrentPosition));
        FUZZ_CHECK(stack_index() < StackSize - SearchReserve);
    }
    // The rest of the input: lines of move text, as the protocol's "usermove" passes them.
    for (std::size_t end; used < size; used = end + 1) {
        end = used;
        while (end < size && data[end] != '\n') ++end;
        char text[LineSize];
        std::snprintf(text, sizeof text, "%.*s", int(end - used), reinterpret_cast<const char*>(data + used));
        const Position before = *CurrentPosition;
        const Move m          = user_move(text);
        FUZZ_CHECK(same(before, *CurrentPosition));
        const int count = legal_moves(moves);
        FUZZ_CHECK(m == 0 || std::find(moves, moves + count, m) != moves + count);
        if (m) FUZZ_CHECK(enter_user_move(text) == 1); // play on from the new position
    }
    return 0;
}

#elif defined(FUZZ_TARGET_ini)
// The INI reader on arbitrary files, with a section and key named by the first line and buffers
// from one byte up, and the settings loaded from them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    write_scratch_file("fuzz.ini", data, size);
    char names[2][32] = {};
    for (std::size_t i = 0, part = 0, n = 0; i < size && data[i] != '\n' && data[i] && part < 2; ++i)
        if (data[i] == '/') ++part, n = 0;
        else if (n < 31) names[part][n++] = char(data[i]);
    for (int buffer_size : {1, 2, 7, 64, 512}) {
        char buffer[512];
        const int length = ini_read_string(names[0], names[1], "default", buffer, buffer_size, "fuzz.ini");
        FUZZ_CHECK(length >= 0 && length < buffer_size && std::strlen(buffer) == std::size_t(length));
    }
    (void)ini_read_long(names[0], names[1], -7, "fuzz.ini");
    const int flag = ini_read_bool(names[0], names[1], 5, "fuzz.ini");
    FUZZ_CHECK(flag == 0 || flag == 1 || flag == 5);

    // A log named with a folder in it would have the loader create files anywhere.
    char log_name[100];
    ini_read_string("LOG", "LogFile", "quillfern.log", log_name, sizeof log_name, "fuzz.ini");
    if (std::strchr(log_name, '/')) return 0;
    reset_engine();
    load_settings("fuzz.ini");
    FUZZ_CHECK(MaxDepth >= 2 && MaxDepth <= 32 && SuddenDeath >= 20 && SuddenDeath <= 40);
    FUZZ_CHECK(std::memchr(LogFile, '\0', sizeof LogFile) && std::memchr(BookFile, '\0', sizeof BookFile));
    (void)allocate_time(engineTime, opponentTime, increment, SuddenDeath); // divides by a count
                                                                           // derived from it
    if (LogFileHandle) {
        std::fclose(LogFileHandle);
        LogFileHandle = nullptr;
        if (std::strcmp(LogFile, "quillfern.ini") && std::strcmp(LogFile, "book.bin")) std::remove(LogFile);
    }
    return 0;
}

#elif defined(FUZZ_TARGET_book)
// The book reader on arbitrary book files: the key search against a scan of a sorted file, and
// the moves of a few positions listed, chosen and played as the front ends play them.
static std::uint64_t key_at(const std::uint8_t* data, std::size_t index) {
    std::uint64_t key = 0;
    for (int i = 0; i < 8; ++i) key = (key << 8) | data[index * 16 + i];
    return key;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    write_scratch_file("fuzz.bin", data, size);
    reset_engine();
    const std::size_t entries = size / 16;
    bool sorted = true;
    for (std::size_t i = 1; i < entries; ++i) sorted = sorted && key_at(data, i - 1) <= key_at(data, i);
    std::FILE* file = std::fopen("fuzz.bin", "rb");
    for (std::size_t i = 0; i < entries && i < 8; ++i)
        for (std::uint64_t key : {key_at(data, i) - 1, key_at(data, i), key_at(data, i) + 1}) {
            BookEntry entry;
            const std::int32_t index = find_book_key(file, key, entry);
            std::size_t first        = 0;
            while (first + 1 < entries && key_at(data, first) < key) ++first;
            FUZZ_CHECK(!sorted || index == std::int32_t(first));
            FUZZ_CHECK(index >= 0 && index < std::int32_t(entries));
        }
    std::fclose(file);

    for (const char* move : {"", "e2e4", "e7e5", "g1f3"}) {
        if (*move && enter_user_move(move) != 1) break;
        BookListing listing;
        const BookProbe probe = collect_book_moves("fuzz.bin", listing);
        FUZZ_CHECK(probe.result != BookFound || (listing.count >= 1 && listing.count <= MaxBookMoves));
        for (int random : {0, 1}) {
            char text[8] = "xxxxxxx";
            if (choose_book_move("fuzz.bin", random, text).result != BookFound) continue;
            const std::size_t length = std::strlen(text);
            FUZZ_CHECK((length == 4 || length == 5) && text[0] >= 'a' && text[0] <= 'h');
            const Position before = *CurrentPosition;
            if (enter_user_move(text) == 1) take_back();
            FUZZ_CHECK(same(before, *CurrentPosition));
        }
    }
    return 0;
}

#elif defined(FUZZ_TARGET_console) || defined(FUZZ_TARGET_xboard) || defined(FUZZ_TARGET_uci)
// A whole session in process: the mode line, then the input's lines until "quit" or the end of
// input. Before each line the depth and the move time are held to the fuzz budget again, the
// perft benchmark ("test", half a minute, and "go perft") is skipped, a UCI "go" gets a node
// limit, and a session that has run four seconds meets the end of its input.
namespace {
#if defined(FUZZ_TARGET_console)
constexpr char ModeLine[] = "console\n";
#elif defined(FUZZ_TARGET_xboard)
constexpr char ModeLine[] = "xboard\n";
#else
constexpr char ModeLine[] = "uci\n";
#endif
const std::uint8_t* Data;
std::size_t Size, Offset;
std::uint32_t Started;
bool ModeSent;

// The line as the engine compares it (up to a NUL or the line end, a final CR taken off): the
// console's "test", a UCI "go perft", which takes its depth from the line, or a table size of
// gigabytes, which the fuzzer's memory would not hold.
bool is_benchmark(const char* line, std::size_t length) {
    std::size_t n = 0;
    while (n < length && line[n] != '\0' && line[n] != '\n') ++n;
    if (n > 0 && line[n - 1] == '\r') --n;
    const std::string_view text(line, n);
    return text == "test" || (text.find("go") != text.npos && text.find("perft") != text.npos) ||
           text.find("Hash value") != text.npos;
}

long read_lines(char* buffer, std::size_t room) {
    if (!ModeSent) {
        ModeSent = true;
        std::memcpy(buffer, ModeLine, sizeof ModeLine - 1);
        return long(sizeof ModeLine - 1);
    }
    if (MaxDepth > FuzzDepth) MaxDepth = FuzzDepth;
    if (moveTime > FuzzMoveTime) moveTime = FuzzMoveTime;
    if (clock_ms() - Started > 4000) return 0;
    for (;;) {
        std::size_t end = Offset;
        while (end < Size && Data[end] != '\n') ++end;
        const std::size_t length = end - Offset + (end < Size);
        const char* line         = reinterpret_cast<const char*>(Data + Offset);
        if (length == 0) return 0;
        Offset += length;
        if (is_benchmark(line, length)) continue;
        const std::size_t n = length < room ? length : room;
        std::memcpy(buffer, line, n);
        Offset -= length - n;
#if defined(FUZZ_TARGET_uci)
        // A "go" names its own limits: a node limit after them, where the engine sees the line
        // end (a NUL ends it too), holds it to the budget.
        constexpr char Limit[] = " nodes 2000\n";
        std::size_t seen = 0;
        while (seen < n && line[seen] != '\0' && line[seen] != '\r' && line[seen] != '\n') ++seen;
        if (n == length && seen >= 2 && std::memcmp(line, "go", 2) == 0 && line[n - 1] == '\n' &&
            room >= seen + sizeof Limit) {
            std::memcpy(buffer + seen, Limit, sizeof Limit - 1);
            return long(seen + sizeof Limit - 1);
        }
#endif
        return long(n);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Data = data, Size = size, Offset = 0, ModeSent = false;
    reset_engine();
    set_input_source(read_lines);
    Started = clock_ms();
    mode_loop();
    set_input_source(nullptr);
    FUZZ_CHECK(stack_index() >= 0 && stack_index() < StackSize - SearchReserve);
    std::fflush(stdout);
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    return 0;
}
#endif

// Console command interpreter: one command or one move per line, the engine's replies, the
// board after every move, and the debugging commands (settings, perft, book, test positions).
#include <cstring>
#include <ctime>

#include "book/book.h"
#include "front/front.h"
#include "movegen/movegen.h"

namespace {

// Fixed positions for trying the search and the exchange evaluator by hand. Each overwrites the
// current record; the stack below is left alone. They are valid, so the reader's answer needs
// no look.
constexpr const char* MateFen   = "8/8/8/4q3/8/2k5/8/2K5 b - - 11 65 ";
constexpr const char* SeeFen    = "1k1r3r/p1p3pp/B2b1p2/B2R4/4p2P/P3P3/1PP3P1/6K1 b - - 0 23";
constexpr const char* KillerFen = "r3qrk1/pp2ppbp/6p1/1Np5/P7/2PP3P/1P2QPP1/R2R2K1 w - - 0 1";
constexpr const char* GoodFen = "r1bqkb1r/ppp2ppp/2n1pn2/8/2pP4/3BPN2/PP3PPP/RNBQK2R w KQkq - 0 6 ";

constexpr const char* HelpLines[] = {
    "\nWindboard commands:",
    "new       - new game",
    "undo      - undo last move",
    "quit      - exit from quillfern",
    "go        - set the engine to play the color that is on move",
    "force     - Set the engine to play neither color (force mode). Stop clocks.",
    "sd [ply]  - set depht",
    "st [sec]  - set time controls",
    "",
    "quillfern commands:",
    "b         - show chessboard",
    "test      - start Perft test",
    "param     - show current config params",
    "book      - show moves from the opening book",
    "ini       - load ini config file",
    "* insert moves with coordinate algebraic notation; e.g.: e2e4",
};

// Labels are padded to 20 characters so the values line up; times are shown in whole seconds.
void show_params() {
    output(Screen, "\n[ENGINE]\nDepht:              %i\npostThinking:       %i\n", MaxDepth,
           PostThinking);
    output(Screen, "\n[LOG]\nlogFile:            %s\nlogGame:            %i\n", LogFile, LogGame);
    output(Screen, "\n[BOOK]\nbookFile:           %s\nbook:               %i\n", BookFile, Book);
    output(Screen, "randBook:           %i\n", RandBook);
    output(Screen, "\n[TIME]\nMaxTime:            %i s\nmoveTime:           %i s\n", MaxTime / 100,
           moveTime / 100);
    output(Screen, "suddenDeath:        %i\nmoreTime:           %i\n", SuddenDeath, MoreTime);
    output(Screen, "lessTime:           %i\nfastGame:           %i\n\n", LessTime, FastGame);
}

// The book moves of the position with their shares of the weights; equal shares when every
// weight is 0.
void show_book_moves(const char* file_name) {
    BookListing listing;
    const BookProbe probe = collect_book_moves(file_name, listing);
    if (probe.result == BookNotOpened) return report_file_error(file_name, probe.error);
    if (probe.result == BookNoSuchKey)
        return output(Screen, "%016llx: No such key\n",
                      static_cast<unsigned long long>(listing.key));
    if (probe.result == BookTooManyMoves)
        return output(Screen, "Too many moves in this position (max=%d)\n", MaxBookMoves);
    long total = 0;
    for (int i = 0; i < listing.count; ++i) total += listing.entries[i].weight;
    for (int i = 0; i < listing.count; ++i) {
        char text[6];
        book_move_to_text(text, listing.entries[i].move);
        const double share = total > 0 ? double(listing.entries[i].weight) / double(total) * 100.0
                                        : 100.0 / listing.count;
        output(Screen, "move=%s weight=%5.2f%%\n", text, share);
    }
}

// The exchange value of the legal tactical move with the highest ordering score, the first of
// equals; with no such move there is no exchange to start, and the value printed is 0.
void see_test() {
    MoveList legal{};
    legal_captures(legal);
    std::uint32_t best = 0;
    for (std::uint32_t i = 1; i < legal.count; ++i)
        if (legal.entries[i].score > legal.entries[best].score) best = i;
    output(Screen, " SEE Value: %i\n", legal.count > 0 ? see(legal.entries[best].move) : 0);
}

// The legal captures worth searching, last index first, with their exchange values.
void show_good_captures() {
    (void)read_fen(GoodFen);
    MoveList list;
    clear_move_list(list);
    legal_good_captures(list);
    output(Screen, "\n Good moves found: %i\n", int(list.count));
    for (int i = int(list.count) - 1; i >= 0; --i) {
        char text[8];
        move_to_text(text, list.entries[i].move, CurrentPosition);
        output(Screen, "Idx %i %s Val %i\n", i, text, int(list.entries[i].score));
    }
}

Then help(const char*) {
    for (const char* line : HelpLines) output(Screen, "%s\n", line);
    return NextLine;
}
Then new_game_as_black(const char*) {
    EngineColor = 1;
    GameOver    = 0;
    new_game();
    return NextLine;
}
// "mate", "see" and "killer" turn the thinking on with their position; "good" only lists.
Then mate(const char*) {
    PostThinking = 1;
    (void)read_fen(MateFen);
    return NextLine;
}
Then see_command(const char*) {
    PostThinking = 1;
    (void)read_fen(SeeFen);
    see_test();
    return NextLine;
}
Then killer(const char*) {
    PostThinking = 1;
    (void)read_fen(KillerFen);
    return NextLine;
}
Then good(const char*) {
    show_good_captures();
    return NextLine;
}
Then undo(const char*) {
    take_back();
    show_board();
    return NextLine;
}
Then force(const char*) {
    EngineColor = 'c';
    return NextLine;
}
Then depth(const char* line) {
    std::int32_t n = 0;
    bool read      = false;
    if (set_depth_limit(line, n, read))
        output(Screen, "Depth set with value %d PLY\n", n);
    else
        output(Screen, "Error: insert a number between 2 and %d \n", MaxPly);
    return NextLine;
}
Then move_time(const char* line) {
    std::int32_t n = 0;
    if (set_move_time(line, n))
        output(Screen, "Time control set with value %d sec\n", n);
    else
        output(Screen, "Error: insert a number > 0 \n");
    return NextLine;
}
// The analysis reads the input itself; an end of input stops it, and the next read here meets
// the same end and quits.
Then analysis(const char*) {
    EngineColor     = 'c';
    PostThinking    = 1;
    SearchStartTime = clock_ms();
    analyze(MaxDepth);
    return NextLine;
}
Then exit_command(const char*) {
    EngineColor = 'c';
    return NextLine;
}
Then quit(const char*) { return Quit; }
Then board(const char*) {
    show_board();
    return NextLine;
}
Then param(const char*) {
    show_params();
    return NextLine;
}
Then book(const char*) {
    show_book_moves(book_path(BookFile));
    return NextLine;
}
Then test(const char*) {
    run_benchmark();
    return NextLine;
}
Then ini(const char*) {
    load_settings("quillfern.ini");
    return NextLine;
}

// In the order they are tried; the first that matches wins. "sd" and "st" are prefixes.
constexpr Command Commands[] = {
    {"help", false, help},         {"new", false, new_game_as_black},
    {"post", false, post_command}, {"mate", false, mate},
    {"see", false, see_command},   {"killer", false, killer},
    {"good", false, good},         {"nopost", false, nopost_command},
    {"undo", false, undo},         {"go", false, go_command},
    {"force", false, force},       {"sd", true, depth},
    {"st", true, move_time},       {".", false, stat_command},
    {"analyze", false, analysis},  {"exit", false, exit_command},
    {"quit", false, quit},         {"b", false, board},
    {"param", false, param},       {"book", false, book},
    {"test", false, test},         {"ini", false, ini},
};

// File letter, rank digit, file letter, rank digit; the tests stop at a shorter line's end.
bool looks_like_move(const char* line) {
    return line[0] >= 'a' && line[0] <= 'h' && line[1] >= '1' && line[1] <= '8' && line[2] >= 'a' &&
           line[2] <= 'h' && line[3] >= '1' && line[3] <= '8';
}

// Moves are taken for either side, also after a result: the user may play on.
Then play_user_move(const char* line) {
    if (enter_user_move(line) == 1)
        GameOver = check_game_end();
    else
        output(Screen, "Illegal move: %s\n", line);
    show_board();
    return EngineTurn;
}

void announce_book_move(const char* text) { output(Screen, "move %s from book\n", text); }

} // namespace

// Perft over the six positions, each count printed beside the one expected, then the total, the
// rate and the time (the processor's). A run too short to measure reports the total as its rate.
void run_benchmark() {
    output(Screen, "Running benchmark. . .\n");
    const std::clock_t start = std::clock();
    std::uint64_t total      = 0;
    for (const PerftRow& row : PerftSuite) {
        output(Screen, ".");
        new_game();
        (void)read_fen(row.fen);
        const std::uint64_t n = perft(row.depth);
        total += n;
        output(Screen, "%s%lld\n%s%lld\n\n", "Expected   value: ", (long long)row.expected,
               "Calculated value: ", (long long)n);
    }
    const double elapsed = double(std::clock() - start) / CLOCKS_PER_SEC;
    const double rate    = elapsed > 0 ? double(total) / elapsed : double(total);
    output(Screen, "\nTotal nodes: %lld \n", (long long)total);
    output(Screen, "Raw nodes per second: %d\n", int(rate > 2147483647.0 ? 2147483647.0 : rate));
    output(Screen, "Total elapsed time: %.2f\n", elapsed);
}

// Runs until "quit" or the end of input; either sets QuitRequested and returns.
void console_loop() {
    char line[LineSize];
    char text[LineSize];
    GameOver    = 0;
    EngineColor = 'c';
    output(Screen, "\nWelcome in quillfern (x86)\ntype \"help\" to show commands list\n");
    for (;;) {
        output(Screen, "\nquillfern> ");
        if (!read_line(line, LineSize)) break;
        Then then = dispatch(Commands, std::size(Commands), line);
        if (then == Quit) break;
        if (then == Unknown && looks_like_move(line)) then = play_user_move(line);
        if (then == Unknown) output(Screen, "Error (unknown command): %s\n", line);
        if (then != NextLine && engine_turn(text, announce_book_move)) show_board();
    }
    QuitRequested = 1;
}

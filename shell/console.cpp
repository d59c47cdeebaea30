// Console command interpreter: one command or one move per line, the engine's replies, the
// board after every move, and the debugging commands (settings, perft, book, test positions).
#include <cstdio>
#include <cstring>

#include "board/board.h"
#include "book/book.h"
#include "movegen/movegen.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"

namespace {

constexpr int DepthLimit = 32;

// Fixed positions for trying the search and the exchange evaluator by hand. Each overwrites the
// current record; the stack below is left alone.
constexpr const char* MateFen   = "8/8/8/4q3/8/2k5/8/2K5 b - - 11 65 ";
constexpr const char* SeeFen    = "1k1r3r/p1p3pp/B2b1p2/B2R4/4p2P/P3P3/1PP3P1/6K1 b - - 0 23";
constexpr const char* KillerFen = "r3qrk1/pp2ppbp/6p1/1Np5/P7/2PP3P/1P2QPP1/R2R2K1 w - - 0 1";
constexpr const char* GoodFen = "r1bqkb1r/ppp2ppp/2n1pn2/8/2pP4/3BPN2/PP3PPP/RNBQK2R w KQkq - 0 6 ";

void show_help() {
    std::printf("\nWindboard commands:\n");
    std::printf("new       - new game\n");
    std::printf("undo      - undo last move\n");
    std::printf("quit      - exit from quillfern\n");
    std::printf("go        - set the engine to play the color that is on move\n");
    std::printf("force     - Set the engine to play neither color (force mode). Stop clocks.\n");
    std::printf("sd [ply]  - set depht\n");
    std::printf("st [sec]  - set time controls\n");
    std::printf("\n");
    std::printf("quillfern commands:\n");
    std::printf("b         - show chessboard\n");
    std::printf("test      - start Perft test\n");
    std::printf("param     - show current config params\n");
    std::printf("book      - show moves from the opening book\n");
    std::printf("ini       - load ini config file\n");
    std::printf("* insert moves with coordinate algebraic notation; e.g.: e2e4\n");
}

// The positions are fixed and valid, so the reader's answer needs no look.
void set_up(const char* fen) { (void)read_fen(fen); }

// Lists the legal captures worth searching, last index first, with their exchange values.
void show_good_captures() {
    set_up(GoodFen);
    MoveList list;
    clear_move_list(list);
    legal_good_captures(list);
    std::printf("\n Good moves found: %i\n", int(list.count));
    char text[8];
    for (int i = int(list.count) - 1; i >= 0; --i) {
        move_to_text(text, list.entries[i].move, CurrentPosition);
        std::printf("Idx %i %s Val %i\n", i, text, int(list.entries[i].score));
    }
}

// "sd" and "st" also match a line with no number after them ("sd" alone, or a word such as
// "stop"): such a line gets the command's own error and changes nothing.
void set_depth(const char* line) {
    const char* rest = line + 2;
    std::int32_t n   = 0;
    if (read_int(rest, n) && n >= 2 && n <= DepthLimit) {
        MaxDepth = n;
        std::printf("Depth set with value %d PLY\n", n);
    } else {
        std::printf("Error: insert a number between 2 and %d \n", DepthLimit);
    }
}

void set_move_time(const char* line) {
    const char* rest = line + 2;
    std::int32_t n   = 0;
    if (read_int(rest, n) && n >= 1) {
        moveTime = saturate_centis(std::int64_t(n) * 100);
        std::printf("Time control set with value %d sec\n", n);
    } else {
        std::printf("Error: insert a number > 0 \n");
    }
}

// File letter, rank digit, file letter, rank digit; the tests stop at a shorter line's end.
bool looks_like_move(const char* line) {
    return line[0] >= 'a' && line[0] <= 'h' && line[1] >= '1' && line[1] <= '8' && line[2] >= 'a' &&
           line[2] <= 'h' && line[3] >= '1' && line[3] <= '8';
}

// The engine moves when it has the side to move and no result stands: from the book when it
// knows the position, else from the search; the board follows every engine move.
void engine_turn(char* text) {
    if (GameOver != 0) return;
    if (EngineColor != CurrentPosition->blackToMove) return;
    SearchStartTime = clock_ms();
    // A book move that is not legal here (a damaged or foreign book) is never announced: the
    // engine searches instead.
    if (Book == 1 && choose_book_move(BookFile, text) == 0 && enter_user_move(text) == 1) {
        std::printf("move %s from book\n", text);
        std::fflush(stdout);
    } else {
        think(text);
    }
    GameOver = check_game_end();
    show_board();
}

} // namespace

// Runs until "quit" or the end of input; either sets QuitRequested and returns.
void console_loop() {
    char line[LineSize];
    char text[LineSize];
    GameOver    = 0;
    EngineColor = 'c';
    std::printf("\nWelcome in quillfern (x86)\n");
    std::printf("type \"help\" to show commands list\n");

    for (;;) {
        std::fflush(stdout);
        std::printf("\nquillfern> ");
        if (!read_line(line)) break;

        if (std::strcmp(line, "help") == 0) {
            show_help();
        } else if (std::strcmp(line, "new") == 0) {
            EngineColor = 1;
            GameOver    = 0;
            new_game();
        } else if (std::strcmp(line, "post") == 0) {
            PostThinking = 1;
        } else if (std::strcmp(line, "mate") == 0) {
            PostThinking = 1;
            set_up(MateFen);
        } else if (std::strcmp(line, "see") == 0) {
            PostThinking = 1;
            set_up(SeeFen);
            see_test();
        } else if (std::strcmp(line, "killer") == 0) {
            PostThinking = 1;
            set_up(KillerFen);
        } else if (std::strcmp(line, "good") == 0) {
            show_good_captures();
        } else if (std::strcmp(line, "nopost") == 0) {
            PostThinking = 0;
        } else if (std::strcmp(line, "undo") == 0) {
            take_back();
            show_board();
        } else if (std::strcmp(line, "go") == 0) {
            EngineColor = std::uint8_t(CurrentPosition->blackToMove);
            engine_turn(text);
        } else if (std::strcmp(line, "force") == 0) {
            EngineColor = 'c';
        } else if (std::strncmp(line, "sd", 2) == 0) {
            set_depth(line);
        } else if (std::strncmp(line, "st", 2) == 0) {
            set_move_time(line);
        } else if (std::strcmp(line, ".") == 0) {
            std::printf("#DEBUG stat\n");
        } else if (std::strcmp(line, "analyze") == 0) {
            SearchStopped   = 0;
            EngineColor     = 'c';
            PostThinking    = 1;
            SearchStartTime = clock_ms();
            // The analysis reads the input itself; an end of input stops it, and the next
            // read here meets the same end and quits.
            analyze(MaxDepth);
        } else if (std::strcmp(line, "exit") == 0) {
            EngineColor   = 'c';
            SearchStopped = 1;
        } else if (std::strcmp(line, "quit") == 0) {
            break;
        } else if (std::strcmp(line, "b") == 0) {
            show_board();
        } else if (std::strcmp(line, "param") == 0) {
            show_params();
        } else if (std::strcmp(line, "book") == 0) {
            (void)show_book_moves(BookFile);
        } else if (std::strcmp(line, "test") == 0) {
            run_benchmark();
        } else if (std::strcmp(line, "ini") == 0) {
            load_settings("quillfern.ini");
        } else if (looks_like_move(line)) {
            // Moves are taken for either side, also after a result: the user may play on.
            if (enter_user_move(line) == 1)
                GameOver = check_game_end();
            else
                std::printf("Illegal move: %s\n", line);
            std::fflush(stdout);
            show_board();
            engine_turn(text);
        } else {
            std::printf("Error (unknown command): %s\n", line);
            engine_turn(text);
        }
    }
    QuitRequested = 1;
}

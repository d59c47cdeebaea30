// The front ends over a game longer than the position stack: 400 moves at the console and over
// the protocol, whose end the engine plays itself at full depth under a clock.
#include <sstream>

#include "front/front.h"
#include "shell/shell.h"
#include "tests/support.h"

namespace {

std::string Input;
std::size_t Offset;

long read_input(char* buffer, std::size_t room) {
    const std::size_t n = std::min(room, Input.size() - Offset);
    Input.copy(buffer, n, Offset);
    Offset += n;
    return long(n);
}

void console() { console_loop({show_board, load_settings}); }

// Runs a front end on the given lines up to their end; returns what it printed.
std::string session(void (*loop)(), const std::string& lines) {
    Input  = lines;
    Offset = 0;
    set_input_source(read_input);
    testing::internal::CaptureStdout();
    loop();
    std::string out = testing::internal::GetCapturedStdout();
    set_input_source(nullptr);
    QuitRequested = 0;
    return out;
}

// The iterations a session printed, as depth, score, nodes and moves: from the xboard thinking
// lines (" 4     62    120     419588 1. d5e6 a6e2 2. ...") or from UCI info lines.
std::vector<std::string> iterations(const std::string& out) {
    std::vector<std::string> found;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word, depth, score, nodes, moves, time;
        if (line.rfind("info depth ", 0) == 0) {
            words >> word >> word >> depth >> word >> word >> score >> word >> time >> word >> nodes >>
                word >> word >> word;
            while (words >> word) moves += word + " ";
        } else if (words >> depth >> score >> time >> nodes && std::isdigit(depth[0]) && nodes != "") {
            while (words >> word) if (word.size() >= 4) moves += word + " ";
        } else {
            continue;
        }
        found.push_back(depth + " " + score + " " + nodes + " " + moves);
    }
    return found;
}

int count_of(const std::string& text, const std::string& what) {
    int n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

} // namespace

// 788 plies of knights out and back, two pawn moves, then two engine moves at depth 32 under
// "st 1": the game crosses the stack's trimming point twice; over the protocol once from the
// start, once from a FEN whose half-move clock is already 100 (the fifty-move draw is announced
// at every move and the game goes on). b8c6 is legal whatever White played.
TEST(FrontEnds, FourHundredMoveGames) {
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    const struct {
        void (*loop)();
        const char* prefix;
        const char* setup;
        int fifty_move_draws;
    } cases[] = {
        {xboard_loop, "usermove ", "", 689},
        {xboard_loop, "usermove ", "setboard rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 100 1\n", 788},
        {console, "", "", 689},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.setup);
        load_settings("absent.ini");
        new_game();
        Book = 0;
        std::string lines = std::string(c.loop == xboard_loop ? "new\nforce\n" : "") + c.setup;
        for (int ply = 0; ply < 788; ++ply) lines += std::string(c.prefix) + shuffle[ply % 4] + "\n";
        lines += std::string(c.prefix) + "e2e4\n" + c.prefix + "d7d5\nst 1\nsd 32\ngo\n" + c.prefix + "b8c6\n";
        const std::string out = session(c.loop, lines);
        EXPECT_EQ(count_of(out, "Illegal move"), 0);
        EXPECT_EQ(count_of(out, "\nmove "), 2);
        EXPECT_EQ(count_of(out, "{Draw by 50 move rule}"), c.fifty_move_draws);
        EXPECT_LT(stack_index(), StackSize - SearchReserve);
        EXPECT_EQ(CurrentPosition->blackToMove, 1);
    }
    load_settings("absent.ini");
}

// A search to a fixed depth reports the same iterations in UCI as the protocol's thinking lines
// show; "stop" after "go infinite" gives one answer, and "isready" during the search is answered.
TEST(FrontEnds, UciReportsWhatTheProtocolShows) {
    load_settings("absent.ini");
    Book = 0;
    for (const char* fen : {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
                            "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"}) {
        SCOPED_TRACE(fen);
        const auto shown = iterations(session(xboard_loop, std::string("force\nsetboard ") + fen + "\nsd 4\ngo\n"));
        // A line waiting after "go" keeps the end of input from cutting the search short.
        const auto info = iterations(session(uci_loop, std::string("position fen ") + fen + "\ngo depth 4\nucinewgame\n"));
        EXPECT_EQ(shown.size(), 3u);
        EXPECT_EQ(info, shown);
    }
    const std::string out = session(uci_loop, "position startpos\ngo infinite\nstop\nisready\nquit\n");
    EXPECT_EQ(count_of(out, "bestmove "), 1);
    EXPECT_EQ(count_of(out, "readyok"), 1);
    load_settings("absent.ini");
}

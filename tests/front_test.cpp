// The front ends over a game longer than the position stack: 400 moves at the console and over
// the protocol, whose end the engine plays itself at full depth under a clock.
#include "front/front.h"
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
        {console_loop, "", "", 689},
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

// "stop" after "go infinite" gives one answer, and "isready" during the search is answered.
TEST(FrontEnds, UciStopsWhenAsked) {
    load_settings("absent.ini");
    Book = 0;
    const std::string out = session(uci_loop, "position startpos\ngo infinite\nstop\nisready\nquit\n");
    EXPECT_EQ(count_of(out, "bestmove "), 1);
    EXPECT_EQ(count_of(out, "readyok"), 1);
    load_settings("absent.ini");
}

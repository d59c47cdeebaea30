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

// xboard's "level 40 0:30 0" after 66 plies of knights out and back, White to move with 30 s
// on both clocks: the strong style spreads them over the 7 moves left to the control (5 more, short
// of time: 250 each); the classic style over SuddenDeath moves (20 + 5: 120), as it always does.
// After 80 plies a new control begins and both spread over SuddenDeath again.
TEST(FrontEnds, XboardControlInStrongStyle) {
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    const struct {
        const char* style;
        int plies;
        const char* clocks;
        const char* speed;
    } cases[] = {
        {"strong", 66, "time 3000\notim 3000\n", "move speed: 12  allocated time: 250"},
        {"classic", 66, "time 3000\notim 3000\n", "move speed: 25  allocated time: 120"},
        {"strong", 80, "time 3000\notim 3000\n", "move speed: 25  allocated time: 120"},
        // The last move before the control, ahead on the clock: never the whole clock.
        {"strong", 78, "time 300\notim 200\n", "move speed: 1  allocated time: 150"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.style);
        load_settings("absent.ini");
        for (std::size_t k = 0; k < SettingCount; ++k)
            if (SettingKeys[k].chars == Style) set_setting(SettingKeys[k], c.style);
        Book = 0;
        std::string lines = "new\nforce\nlevel 40 0:30 0\nsd 2\n";
        for (int ply = 0; ply < c.plies; ++ply) lines += std::string("usermove ") + shuffle[ply % 4] + "\n";
        const std::string out = session(xboard_loop, lines + c.clocks + "go\n");
        EXPECT_EQ(count_of(out, c.speed), 1);
    }
    load_settings("absent.ini");
}

// During "go infinite" a line that must wait hides neither the "stop" nor the "isready" behind
// it: one answer each, then the waiting line runs.
TEST(FrontEnds, UciStopsWhenAsked) {
    load_settings("absent.ini");
    Book = 0;
    const std::string out = session(
        uci_loop, "position startpos\ngo infinite\ndebug off\nsetoption name Ponder value x\nstop\n"
                  "isready\n");
    EXPECT_EQ(count_of(out, "bestmove "), 1);
    EXPECT_EQ(count_of(out, "readyok"), 1);
    EXPECT_EQ(count_of(out, "Ponder takes true or false"), 1);
    load_settings("absent.ini");
}

// Each "go" has the limits it names and no others; a clock is the side to move's, with Black to
// move btime and binc (less the 10 ms of overhead): 59999 of 600000 hundredths against 100,
// ahead, so 15 moves, 3999 each, and the 200 of increment is spare. movestogo 5, fewer than 20,
// is the divisor (behind and short of time: 5 + 5 + 5 moves for 2999).
TEST(FrontEnds, UciGoLimits) {
    set_up("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1");
    const SearchLimits clocks = uci_go_limits("go wtime 1000 btime 600000 winc 5000 binc 2000");
    EXPECT_EQ(clocks.budget, 4199);
    EXPECT_EQ(clocks.maxDepth, MaxPly);
    EXPECT_EQ(uci_go_limits("go wtime 30000 btime 30000 movestogo 5").budget, 199);
    const SearchLimits depth = uci_go_limits("go depth 9");
    EXPECT_EQ(depth.maxDepth, 9);
    EXPECT_EQ(depth.budget, INT32_MAX);
    EXPECT_EQ(depth.moveTime, INT32_MAX);
    const SearchLimits movetime = uci_go_limits("go movetime 1500 nodes 99");
    EXPECT_EQ(movetime.deadline, 1500);
    EXPECT_EQ(movetime.nodes, 99u);
    EXPECT_EQ(movetime.budget, INT32_MAX);
}

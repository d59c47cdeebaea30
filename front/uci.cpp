// UCI driver: the commands a UCI interface sends, its options, the position it sets up with its
// moves, and the search it starts: each "go" with the limits it names, pondering, several best
// lines, and the lines the interface sends while the engine thinks ("isready", "stop", "quit"
// and "ponderhit" act at once; the others wait their turn).
#include <algorithm>
#include <cctype>
#include <cstring>

#include "front/front.h"
#include "movegen/movegen.h"
#include "search/strong.h"

namespace {

constexpr int UciLineSize = 16 * 1024 + 1; // a "position" line of a long game is long

// The words of a line, blanks of any length between them.
struct Words {
    const char* rest;
    // The next word into word (cut to size - 1 characters); false at the line's end.
    bool next(char* word, std::size_t size) {
        while (std::isspace(static_cast<unsigned char>(*rest))) ++rest;
        if (!*rest) return false;
        std::size_t n = 0;
        for (; *rest && !std::isspace(static_cast<unsigned char>(*rest)); ++rest)
            if (n + 1 < size) word[n++] = *rest;
        word[n] = '\0';
        return true;
    }
};

// An "info string" line for what the engine could not take from a command.
Then info(const char* format, const char* a = "", const char* b = "") {
    output(Screen, "info string ");
    output(Screen, format, a, b);
    output(Screen, "\n");
    return NextLine;
}

// The options only UCI has; Hash is a setting of the INI file too.
bool Ponder      = false; // answer "bestmove M ponder P" with the reply expected
int MultiPV      = 1;     // best lines reported per iteration
int MoveOverhead = 10;    // milliseconds kept back from the clocks for the lag to the interface

struct NumberOption {
    const char* name;
    std::int32_t* value;
    std::int32_t low, high, fallback;
};
NumberOption NumberOptions[] = {{"MultiPV", &MultiPV, 1, MaxLines, 1},
                                {"Move Overhead", &MoveOverhead, 0, 5000, 10},
                                {"Hash", &Hash, 1, MaxHash, DefaultTableMegabytes},
                                {"Threads", &Threads, 1, MaxThreads, 1}};

// The settings a UCI interface can set, under their INI names.
const SettingKey* setting_option(const char* name) {
    static const char* const Options[] = {"Book",     "BookFile", "RandBook",
                                          "MaxDepth", "MaxTime",  "PostThinking",
                                          "LogGame",  "LogFile",  "Style"};
    for (const char* option : Options)
        if (same_letters(option, name))
            for (std::size_t i = 0; i < SettingCount; ++i)
                if (same_letters(SettingKeys[i].key, option)) return &SettingKeys[i];
    return nullptr;
}

// Each setting's line, with the value in effect as its default and the settings' range; then
// the options of UCI's own.
Then uci(const char*) {
    output(Screen, "id name quillfern 0.05\nid author Brackenwold\n");
    for (std::size_t i = 0; i < SettingCount; ++i) {
        const SettingKey& key = SettingKeys[i];
        if (!setting_option(key.key)) continue;
        if (key.chars == Style)
            output(Screen, "option name Style type combo default %s var classic var strong\n",
                   StrongStyle ? "strong" : "classic");
        else if (key.kind == FlagSetting)
            output(Screen, "option name %s type check default %s\n", key.key,
                   *key.number ? "true" : "false");
        else if (key.kind == NumberSetting)
            output(Screen, "option name %s type spin default %d min %d max %d\n", key.key,
                   *key.number, key.low < 0 ? 0 : key.low, key.high); // no time is below 0
        else
            output(Screen, "option name %s type string default %s\n", key.key,
                   key.chars[0] ? key.chars : "<empty>");
    }
    for (const NumberOption& option : NumberOptions)
        output(Screen, "option name %s type spin default %d min %d max %d\n", option.name,
               *option.value, option.low, option.high);
    output(Screen, "option name Clear Hash type button\n");
    output(Screen, "option name Ponder type check default %s\n", Ponder ? "true" : "false");
    output(Screen, "uciok\n");
    return NextLine;
}

Then isready(const char*) {
    output(Screen, "readyok\n");
    return NextLine;
}

Then ucinewgame(const char*) {
    new_game();
    if (StrongStyle) clear_table(); // nothing of the last game's positions carries over
    output(LogOnly, "\n ************* New Game ************* \n");
    return NextLine;
}

// A number option is held to its range, and the interface is told when it had to be.
Then set_number_option(const NumberOption& option, const char* text) {
    std::int32_t n = 0;
    if (!read_int(text, n)) return info("%s takes a number", option.name);
    const std::int32_t held = std::clamp(n, option.low, option.high);
    if (held != n) {
        char said[64];
        std::snprintf(said, sizeof said, "%d", held);
        info("%s held to %s", option.name, said);
    }
    // Hash and Threads are settings of the INI file too, which take effect as they are set.
    *option.value = held;
    for (std::size_t i = 0; i < SettingCount; ++i)
        if (SettingKeys[i].number == option.value) set_setting(SettingKeys[i], long(held));
    // Asking for the size in use answers at once; a size that could not be had is tried again.
    if (option.value == &Hash && StrongStyle && !allocate_table(Hash))
        return info("the table of %s megabytes cannot be had: it keeps its size", text);
    return NextLine;
}

// A setting as the INI file has it: a flag takes true or false, a number must lie in its range.
Then set_setting_option(const SettingKey& key, const char* text) {
    std::int32_t n = 0;
    if (key.chars == Style && !same_letters(text, "classic") && !same_letters(text, "strong")) {
        return info("Style takes classic or strong");
    } else if (key.kind == TextSetting) {
        set_setting(key, text);
        if (key.chars == Style && same_letters(text, "strong") && !StrongStyle)
            return info("the strong style's table cannot be had: the search stays classic");
    } else if (key.kind == FlagSetting) {
        if (!same_letters(text, "true") && !same_letters(text, "false"))
            return info("%s takes true or false", key.key);
        set_setting(key, long(same_letters(text, "true")));
    } else if (read_int(text, n) && n >= (key.low < 0 ? 0 : key.low) && n <= key.high) {
        set_setting(key, long(n));
    } else {
        return info("%s takes a number in its range", key.key);
    }
    if ((key.number == &LogGame || key.chars == LogFile) && !open_game_log())
        return info("the game log %s cannot be opened", LogFile);
    return NextLine;
}

// "setoption name NAME [value VALUE]": the name may hold blanks, the value too (a file name).
Then setoption(const char* line) {
    const char* name  = std::strstr(line, "name ");
    const char* value = std::strstr(line, " value ");
    if (!name) return info("setoption needs a name");
    for (name += 5; *name == ' ';) ++name;
    std::size_t length = value && value > name ? std::size_t(value - name) : std::strlen(name);
    while (length > 0 && name[length - 1] == ' ') --length;
    char option[64];
    std::snprintf(option, sizeof option, "%.*s", int(length), name);
    const char* text = value ? value + 7 : "";
    while (*text == ' ') ++text;
    if (same_letters(option, "Clear Hash")) {
        clear_table();
        return NextLine;
    }
    if (same_letters(option, "Ponder")) {
        if (!same_letters(text, "true") && !same_letters(text, "false"))
            return info("Ponder takes true or false");
        Ponder = same_letters(text, "true");
        return NextLine;
    }
    for (const NumberOption& number : NumberOptions)
        if (same_letters(option, number.name)) return set_number_option(number, text);
    if (const SettingKey* key = setting_option(option)) return set_setting_option(*key, text);
    return info("no such option: %s", option);
}

// "position startpos|fen FEN [moves M1 M2 ...]". A FEN the reader refuses leaves the position the
// engine had; a move that is not legal ends the list, and the moves before it stand.
Then position(const char* line) {
    Words words{line + 8};
    char word[256];
    if (!words.next(word, sizeof word)) return info("position needs startpos or fen");
    if (same_letters(word, "fen")) {
        // The FEN is every word up to "moves", tried on a spare record above the game.
        while (*words.rest == ' ') ++words.rest;
        const char* moves = std::strstr(words.rest, "moves");
        char fen[256];
        std::snprintf(fen, sizeof fen, "%.*s",
                      int(moves ? moves - words.rest : std::strlen(words.rest)), words.rest);
        Position* const game = CurrentPosition++;
        const int accepted   = read_fen(fen);
        const Position set   = *CurrentPosition;
        CurrentPosition      = game;
        if (!accepted) return info("not a position: %s", fen);
        new_game();
        *CurrentPosition = set;
        words.rest       = moves ? moves : "";
    } else if (same_letters(word, "startpos")) {
        new_game();
    } else {
        return info("position needs startpos or fen, not %s", word);
    }
    if (!words.next(word, sizeof word)) return NextLine;
    if (!same_letters(word, "moves")) return info("position: %s where moves belong", word);
    while (words.next(word, sizeof word))
        if (enter_user_move(word) != 1)
            return info("illegal move %s: the moves before it stand", word);
    return NextLine;
}

// What "go" asks for: -1 where a number was not given.
struct GoRequest {
    std::int64_t clocks[4] = {-1, -1, -1, -1}; // wtime, btime, winc, binc
    std::int64_t movestogo = -1, depth = -1, movetime = -1, nodes = -1, mate = -1, perft = -1;
    bool infinite = false, ponder = false;
    bool named        = false; // any limit at all: a bare "go" takes the settings' limits
    int rootMoveCount = 0;
    Move rootMoves[MaxRootMoves];
};

constexpr const char* GoNumbers[] = {"wtime", "btime",    "winc",  "binc", "movestogo",
                                     "depth", "movetime", "nodes", "mate", "perft"};

std::int64_t* go_number_field(GoRequest& go, std::size_t i) {
    std::int64_t* const fields[] = {&go.clocks[0], &go.clocks[1], &go.clocks[2], &go.clocks[3],
                                    &go.movestogo, &go.depth,     &go.movetime,  &go.nodes,
                                    &go.mate,      &go.perft};
    return fields[i];
}

// Reads a whole number after a word of "go"; a word without its number is reported.
void go_number(Words& words, const char* name, std::int64_t& value) {
    char word[32];
    const char* before = words.rest;
    std::int32_t n     = 0;
    if (words.next(word, sizeof word)) {
        const char* text = word;
        if (read_int(text, n) && *text == '\0') {
            value = n;
            return;
        }
    }
    words.rest = before;
    info("go %s needs a number", name);
}

bool is_go_word(const char* word) {
    for (const char* name : GoNumbers)
        if (std::strcmp(word, name) == 0) return true;
    return std::strcmp(word, "infinite") == 0 || std::strcmp(word, "ponder") == 0;
}

// "searchmoves M1 M2 ...": the legal moves up to the next word of "go".
void read_search_moves(Words& words, GoRequest& go) {
    char word[32];
    for (const char* before = words.rest; words.next(word, sizeof word); before = words.rest) {
        if (is_go_word(word)) {
            words.rest = before;
            return;
        }
        const Move m = user_move(word);
        if (m == 0)
            info("searchmoves: %s is not a legal move", word);
        else if (go.rootMoveCount < MaxRootMoves)
            go.rootMoves[go.rootMoveCount++] = m;
    }
}

// "go [wtime N] [btime N] [winc N] [binc N] [movestogo N] [depth N] [movetime N] [nodes N]
// [mate N] [infinite] [ponder] [searchmoves M...] | go perft N".
GoRequest read_go(const char* line) {
    GoRequest go;
    Words words{line + 2};
    char word[32];
    while (words.next(word, sizeof word)) {
        const auto number =
            std::find_if(std::begin(GoNumbers), std::end(GoNumbers),
                         [&](const char* name) { return !std::strcmp(word, name); });
        if (number != std::end(GoNumbers)) {
            go_number(words, word,
                      *go_number_field(go, std::size_t(number - std::begin(GoNumbers))));
        } else if (std::strcmp(word, "infinite") == 0) {
            go.infinite = true;
        } else if (std::strcmp(word, "ponder") == 0) {
            go.ponder = true;
        } else if (std::strcmp(word, "searchmoves") == 0) {
            read_search_moves(words, go);
        } else {
            info("go: %s is not understood", word);
        }
    }
    go.named = go.infinite || go.ponder || go.rootMoveCount > 0 || go.movestogo >= 0 ||
               go.depth >= 0 || go.movetime >= 0 || go.nodes >= 0 || go.mate >= 0 ||
               std::any_of(std::begin(go.clocks), std::end(go.clocks),
                           [](std::int64_t clock) { return clock >= 0; });
    return go;
}

// The time limits of the clocks: the side to move's clock (less the overhead) and increment,
// the opponent's clock, spread over the settings' moves, or over movestogo when that is fewer.
void apply_clocks(const GoRequest& go, SearchLimits& limits) {
    const int us = CurrentPosition->blackToMove;
    if (go.clocks[us] < 0) return;
    const std::int32_t own = saturate_centis((go.clocks[us] - MoveOverhead) / 10);
    const std::int32_t them =
        go.clocks[1 - us] >= 0 ? saturate_centis(go.clocks[1 - us] / 10) : own;
    const std::int32_t inc = go.clocks[2 + us] > 0 ? saturate_centis(go.clocks[2 + us] / 10) : 0;
    limits.budget          = spread_clock(own > 0 ? own : 0, them, inc, go.movestogo).allocated;
    limits.clockLeft       = own > 0 ? own : 0;
}

// The limits of the search "go" asks for. A bare "go" has the settings' depth and time; any
// other starts from none and takes exactly what it names.
SearchLimits go_limits(const GoRequest& go) {
    SearchLimits limits = search_limits(MaxDepth);
    limits.budget       = INT32_MAX;
    limits.clockLeft    = INT32_MAX;
    limits.post         = true; // PostThinking decides what is printed, not what is reported
    limits.lines        = MultiPV;
    if (!go.named) return limits;
    limits.maxDepth = MaxPly;
    limits.moveTime = INT32_MAX;
    apply_clocks(go, limits);
    const std::int64_t depth = go.mate > 0 ? 2 * go.mate + 1 : go.depth;
    if (depth > 0) limits.maxDepth = int(std::clamp<std::int64_t>(depth, 2, MaxPly));
    if (go.movetime >= 0)
        limits.deadline = std::int32_t(std::min<std::int64_t>(go.movetime, INT32_MAX));
    if (go.nodes > 0) limits.nodes = std::uint64_t(go.nodes);
    limits.rootMoveCount = go.rootMoveCount;
    std::copy(go.rootMoves, go.rootMoves + go.rootMoveCount, limits.rootMoves);
    return limits;
}

// The search in progress and what the interface has said since it began.
struct Search {
    bool infinite  = false; // waits for "stop" when its depth runs out
    bool pondering = false; // waits for "ponderhit" or "stop"
    bool stop = false, quit = false;
    bool goWaits = false; // a "go" waits to run after this search: so do the lines after it
    SearchLimits onHit;   // the clock the search takes at "ponderhit"
};

// A line that arrived during the search. "isready" is answered at once; "stop", "quit" and
// "ponderhit" act at once unless a "go" waits before them (they belong to its search then); any
// other line waits until the search is over.
bool take_during_search(void* context, const char* line) {
    Search& search = *static_cast<Search*>(context);
    Words words{line};
    char word[16];
    if (!words.next(word, sizeof word)) return false;
    if (std::strcmp(word, "isready") == 0) {
        isready(line);
    } else if (search.goWaits || std::strcmp(word, "go") == 0) {
        search.goWaits = true;
        return false;
    } else if (std::strcmp(word, "quit") == 0) {
        search.stop = search.quit = true;
    } else if (std::strcmp(word, "stop") == 0) {
        search.stop = true;
    } else if (std::strcmp(word, "ponderhit") == 0) {
        if (search.pondering) {
            search.onHit.startTime = clock_ms();
            restart_clock(search.onHit);
        }
        search.pondering = false;
    } else {
        return false;
    }
    return true;
}

// A flood of lines during a search that fills the input is refused, line by line, so that a
// "stop" can still come in; a line longer than the input holds is given up whole.
bool refuse_line(void*, const char* line) {
    info("the engine is thinking and can keep no more lines: %.40s refused", line);
    return true;
}

// Takes what has arrived. Once the input has ended nothing can stop an infinite search or a
// ponder any more: it ends, and so does a search with no line left to read after it (the
// engine then ends too). A search with lines waiting for it runs to its limits.
void watch_input(Search& search, bool wait) {
    const bool open = look_at_input(wait);
    take_waiting_lines(take_during_search, &search);
    if (input_full()) {
        take_waiting_lines(refuse_line, nullptr);
        if (input_full()) {
            skip_unfinished_line();
            info("a line longer than the input holds is given up");
        }
    }
    if (!open && (search.infinite || search.pondering || input_ended())) search.stop = true;
}

bool interrupted(void* context) {
    Search& search = *static_cast<Search*>(context);
    watch_input(search, false);
    return search.stop;
}

// "info depth D [seldepth S] [multipv K] score cp S|mate N time MS nodes N [nps R] [hashfull H]
// pv ...", N of a mate negative when the engine is mated, the nodes those of the whole search;
// the game log takes the thinking line the other front ends print.
void report_info(void*, const Iteration& it) {
    if (PostThinking != 1) return;
    char text[StoredPvMoves * 6 + 200];
    int n = std::snprintf(text, sizeof text, "info depth %d", it.depth);
    if (it.seldepth > 0) n += std::snprintf(text + n, sizeof text - n, " seldepth %d", it.seldepth);
    if (MultiPV > 1) n += std::snprintf(text + n, sizeof text - n, " multipv %d", it.number);
    if (it.score > MateBound)
        n += std::snprintf(text + n, sizeof text - n, " score mate %d",
                           (MateScore + 1 - it.score) / 2);
    else if (it.score < -MateBound)
        n += std::snprintf(text + n, sizeof text - n, " score mate %d",
                           -((it.score + MateScore) / 2));
    else
        n += std::snprintf(text + n, sizeof text - n, " score cp %d", it.score);
    const std::uint64_t ms = it.elapsed > 0 ? std::uint64_t(it.elapsed) : 0;
    n += std::snprintf(text + n, sizeof text - n, " time %llu nodes %llu", (unsigned long long)ms,
                       (unsigned long long)it.searchNodes);
    if (ms > 0)
        n += std::snprintf(text + n, sizeof text - n, " nps %llu",
                           (unsigned long long)(it.searchNodes * 1000 / ms));
    if (it.hashfull >= 0)
        n += std::snprintf(text + n, sizeof text - n, " hashfull %d", it.hashfull);
    const int shown = it.line->length < StoredPvMoves ? it.line->length : StoredPvMoves;
    for (int i = 0, black = CurrentPosition->blackToMove; i < shown; ++i, black ^= 1) {
        char move[6];
        move_to_text_for(move, it.line->moves[i], black);
        n += std::snprintf(text + n, sizeof text - n, "%s%.*s", i ? " " : " pv ",
                           move[4] == ' ' ? 4 : 5, move);
    }
    output(Screen, "%s\n", text);
    print_thinking(it.depth, it.score, it.elapsed / 10, it.nodes, LogOnly);
    print_line(*it.line, CurrentPosition->blackToMove, LogOnly);
}

// The coordinate text of a move of the side to move, without the blank of a plain move.
void move_text(char* text, Move m) {
    move_to_text(text, m, CurrentPosition);
    if (text[4] == ' ') text[4] = '\0';
}

// "go perft N": each legal move with the count of move sequences of length N that start with it,
// then a blank line and the sum.
Then perft_divide(std::int64_t depth) {
    if (depth < 1) return info("go perft needs a depth of 1 or more");
    Move moves[MaxGameMoves];
    int count         = 0;
    std::uint64_t sum = 0;
    generate_moves(moves, count);
    for (int i = 0; i < count; ++i) {
        char text[6];
        move_text(text, moves[i]);
        make_move(moves[i]);
        if (!move_left_king_in_check()) {
            const std::uint64_t n = perft(std::uint32_t(std::min<std::int64_t>(depth - 1, 64)));
            output(Screen, "%s: %llu\n", text, (unsigned long long)n);
            sum += n;
        }
        take_back();
    }
    output(Screen, "\nNodes searched: %llu\n", (unsigned long long)sum);
    return NextLine;
}

void answer(Move move, Move reply) {
    char text[6] = "0000", ponder[6] = "";
    if (move) move_text(text, move);
    if (move && reply && Ponder) {
        make_move(move);
        move_text(ponder, reply);
        take_back();
    }
    output(Screen, ponder[0] ? "bestmove %s ponder %s\n" : "bestmove %s\n", text, ponder);
    output(LogOnly, "move %s\n", text);
}

// A ponder searches the position without a time limit and keeps the clock of its "go" for the
// "ponderhit"; an infinite search, or a ponder not yet hit, that runs out of depth still waits
// for "stop" (or "ponderhit") before it answers.
Then go(const char* line) {
    const GoRequest request = read_go(line);
    if (request.perft >= 0) return perft_divide(request.perft);
    SearchStartTime        = clock_ms();
    char move[8]           = "";
    const bool book        = !request.infinite && !request.ponder && request.rootMoveCount == 0;
    const BookResult probe = book ? probe_book(move) : BookNoSuchKey;
    if (probe == BookFound) {
        info("book move %s", move);
        answer(user_move(move), 0);
        return NextLine;
    }
    if (probe == BookTooManyMoves) info("the book has more moves here than it reads: searching");

    Search search;
    search.infinite     = request.infinite;
    search.pondering    = request.ponder;
    SearchLimits limits = go_limits(request);
    search.onHit        = limits;
    if (request.ponder) {
        limits.moveTime = limits.budget = INT32_MAX;
        limits.deadline                 = -1;
    }
    SearchHooks hooks;
    hooks.context             = &search;
    hooks.report              = report_info;
    hooks.interrupted         = interrupted;
    const SearchResult result = search_in_style(limits, hooks);
    while ((search.infinite || search.pondering) && !search.stop) watch_input(search, true);
    answer(result.move, result.reply);
    return search.quit ? Quit : NextLine;
}

Then quit(const char*) { return Quit; }
Then ignored(const char*) { return NextLine; } // "debug", "register", a "stop" with no search

// The first word of the line names the command.
constexpr Command Commands[] = {
    {"uci", false, uci},
    {"isready", false, isready},
    {"ucinewgame", false, ucinewgame},
    {"setoption", false, setoption},
    {"position", false, position},
    {"go", false, go},
    {"stop", false, ignored},
    {"ponderhit", false, ignored},
    {"debug", false, ignored},
    {"register", false, ignored},
    {"quit", false, quit},
};

} // namespace

SearchLimits uci_go_limits(const char* line) { return go_limits(read_go(line)); }

// Runs until "quit" or the end of input; either sets QuitRequested and returns.
void uci_loop() {
    static char line[UciLineSize];
    uci("uci");
    while (read_line(line, UciLineSize)) {
        Words words{line};
        char word[16];
        if (!words.next(word, sizeof word)) continue;
        const char* command = words.rest - std::strlen(word);
        Then then           = Unknown;
        for (const Command& c : Commands)
            if (std::strcmp(word, c.word) == 0) then = c.run(command);
        if (then == Quit) break;
        if (then == Unknown) info("unknown command: %s", word);
    }
    QuitRequested = 1;
}

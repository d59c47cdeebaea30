// UCI driver: the commands a UCI interface sends, the position it sets up with its moves, the
// search it starts with its clocks, and the lines it may send while the engine thinks ("stop",
// "quit", "isready" are answered at once; the others wait their turn).
#include <algorithm>
#include <cctype>
#include <cstring>

#include "book/book.h"
#include "front/front.h"
#include "front/paths.h"
#include "movegen/movegen.h"

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

// The options a UCI interface can set: the settings that make sense to it, under their INI names.
const SettingKey* option_key(const char* name) {
    static const char* const Options[] = {"Book",     "BookFile", "RandBook",
                                          "MaxDepth", "MaxTime",  "PostThinking",
                                          "LogGame",  "LogFile",  "Style"};
    for (const char* option : Options)
        if (same_letters(option, name))
            for (std::size_t i = 0; i < SettingCount; ++i)
                if (same_letters(SettingKeys[i].key, option)) return &SettingKeys[i];
    return nullptr;
}

// Each option's line, with the value in effect as its default and the settings' range.
Then uci(const char*) {
    output(Screen, "id name quillfern 0.05\nid author Brackenwold\n");
    for (std::size_t i = 0; i < SettingCount; ++i) {
        const SettingKey& key = SettingKeys[i];
        if (!option_key(key.key)) continue;
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
            output(Screen, "option name %s type string default %s\n", key.key, key.chars);
    }
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

// "setoption name NAME value VALUE": the name may hold blanks, the value too (a file name).
Then setoption(const char* line) {
    const char* name  = std::strstr(line, "name ");
    const char* value = std::strstr(line, " value ");
    if (!name) return info("setoption needs a name");
    for (name += 5; *name == ' ';) ++name;
    std::size_t length = value && value > name ? std::size_t(value - name) : std::strlen(name);
    while (length > 0 && name[length - 1] == ' ') --length;
    char option[64];
    std::snprintf(option, sizeof option, "%.*s", int(length), name);
    const SettingKey* key = option_key(option);
    if (!key) return info("no such option: %s", option);
    const char* text = value ? value + 7 : "";
    while (*text == ' ') ++text;
    std::int32_t n = 0;
    if (key->chars == Style && !same_letters(text, "classic") && !same_letters(text, "strong")) {
        return info("Style takes classic or strong");
    } else if (key->kind == TextSetting) {
        set_setting(*key, text);
        if (key->chars == Style && same_letters(text, "strong") && !StrongStyle)
            return info("the strong style's table cannot be had: the search stays classic");
    } else if (key->kind == FlagSetting) {
        if (!same_letters(text, "true") && !same_letters(text, "false"))
            return info("%s takes true or false", key->key);
        set_setting(*key, long(same_letters(text, "true")));
    } else if (read_int(text, n) && n >= (key->low < 0 ? 0 : key->low) && n <= key->high) {
        set_setting(*key, long(n));
    } else {
        return info("%s takes a number in its range", key->key);
    }
    if ((key->number == &LogGame || key->chars == LogFile) && !open_game_log())
        return info("the game log %s cannot be opened", LogFile);
    return NextLine;
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

// The search in progress: what the interface asked for, and what it has said since.
struct Go {
    bool infinite              = false;
    std::uint64_t node_limit   = 0; // 0: none
    std::uint64_t nodes_before = 0; // moves made by the finished iterations
    bool stop = false, quit = false;
    bool waiting = false; // a line waits to be read after the search
};

// A line that arrived during the search: "stop" and "quit" end it, "isready" is answered at once;
// any other line waits until the search is over, and so do all the lines after it, which belong
// to what it starts.
bool take_during_search(void* context, const char* line) {
    Go& go = *static_cast<Go*>(context);
    Words words{line};
    char word[16];
    if (go.waiting || !words.next(word, sizeof word)) return false;
    if (std::strcmp(word, "isready") == 0) {
        isready(line);
    } else if (std::strcmp(word, "stop") == 0) {
        go.stop = true;
    } else if (std::strcmp(word, "quit") == 0) {
        go.stop = go.quit = true;
    } else {
        go.waiting = true;
        return false;
    }
    return true;
}

// Once the input has ended nothing can stop an infinite search any more: it ends, and so does a
// search with no line left to read after it (the engine then ends too). A search with lines
// waiting for it runs to its limits.
bool interrupted(void* context) {
    Go& go = *static_cast<Go*>(context);
    if (!look_at_input(false) && (go.infinite || input_ended())) go.stop = true;
    take_waiting_lines(take_during_search, &go);
    if (go.node_limit && go.nodes_before + IterationNodeCount >= go.node_limit) go.stop = true;
    return go.stop;
}

// "info depth D score cp S time MS nodes N nps R pv ...", or "score mate N", N negative when the
// engine is mated; the game log takes the thinking line the other front ends print.
void report_info(void* context, const Iteration& it) {
    Go& go = *static_cast<Go*>(context);
    go.nodes_before += it.nodes;
    if (PostThinking != 1) return;
    char score[32];
    if (it.score > MateBound)
        std::snprintf(score, sizeof score, "mate %d", (MateScore + 1 - it.score) / 2);
    else if (it.score < -MateBound)
        std::snprintf(score, sizeof score, "mate %d", -((it.score + MateScore) / 2));
    else
        std::snprintf(score, sizeof score, "cp %d", it.score);
    char pv[StoredPvMoves * 6 + 1] = "";
    const int shown = it.line->length < StoredPvMoves ? it.line->length : StoredPvMoves;
    for (int i = 0, black = CurrentPosition->blackToMove, n = 0; i < shown; ++i, black ^= 1) {
        char move[6];
        move_to_text_for(move, it.line->moves[i], black);
        n += std::snprintf(pv + n, sizeof pv - n, "%s%.*s", i ? " " : " pv ",
                           move[4] == ' ' ? 4 : 5, move);
    }
    const std::uint64_t ms = it.elapsed > 0 ? std::uint64_t(it.elapsed) : 0;
    output(Screen, "info depth %d score %s time %llu nodes %u nps %llu%s\n", it.depth, score,
           (unsigned long long)ms, it.nodes,
           (unsigned long long)(it.nodes * 1000ull / (ms ? ms : 1)), pv);
    print_thinking(it.depth, it.score, it.elapsed / 10, it.nodes, LogOnly);
    print_line(*it.line, CurrentPosition->blackToMove, LogOnly);
}

// Reads a number of milliseconds after a word of "go"; a word without its number is reported.
bool go_number(Words& words, const char* name, std::int64_t& value) {
    char word[32];
    const char* before = words.rest;
    std::int32_t n     = 0;
    if (words.next(word, sizeof word)) {
        const char* text = word;
        if (read_int(text, n) && *text == '\0') {
            value = n;
            return true;
        }
    }
    words.rest = before;
    info("go %s needs a number", name);
    return false;
}

// What "go" asks for: -1 where a number was not given.
struct GoRequest {
    std::int64_t clocks[4] = {-1, -1, 0, 0}; // wtime, btime, winc, binc
    std::int64_t depth = -1, movetime = -1, nodes = -1, mate = -1;
    bool infinite = false;
};

// "go [wtime N] [btime N] [winc N] [binc N] [movestogo N] [depth N] [movetime N] [nodes N]
// [mate N] [infinite] [ponder]". movestogo and ponder are taken and not used: the budget spreads
// the clock over SuddenDeath moves, and the engine does not think on the opponent's time.
GoRequest read_go(const char* line) {
    static const char* const Numbers[] = {"wtime",    "btime", "winc", "binc",     "depth",
                                          "movetime", "nodes", "mate", "movestogo"};
    GoRequest go;
    std::int64_t* const fields[] = {&go.clocks[0], &go.clocks[1], &go.clocks[2], &go.clocks[3],
                                    &go.depth,     &go.movetime,  &go.nodes,     &go.mate};
    std::int64_t ignored         = 0;
    Words words{line + 2};
    char word[32];
    while (words.next(word, sizeof word)) {
        const auto number =
            std::find_if(std::begin(Numbers), std::end(Numbers),
                         [&](const char* name) { return std::strcmp(word, name) == 0; });
        if (number != std::end(Numbers)) {
            const std::size_t i = std::size_t(number - std::begin(Numbers));
            go_number(words, word, i < std::size(fields) ? *fields[i] : ignored);
        } else if (std::strcmp(word, "infinite") == 0) {
            go.infinite = true;
        } else if (std::strcmp(word, "ponder") != 0) {
            info("go: %s is not understood", word);
        }
    }
    return go;
}

// The clocks of the side to move and of the other feed the time budget as the protocol's clocks
// do; movetime is the limit of this move; depth caps the deepening; nodes ends the search once
// that many moves are made; mate N searches to the depth of a mate in N.
Then go(const char* line) {
    const GoRequest request = read_go(line);
    Go go;
    go.infinite                = request.infinite;
    const std::int64_t* clocks = request.clocks;
    const int us               = CurrentPosition->blackToMove;
    if (clocks[us] >= 0) engineTime = saturate_centis(clocks[us] / 10);
    if (clocks[1 - us] >= 0) opponentTime = saturate_centis(clocks[1 - us] / 10);
    if (clocks[us] >= 0) increment = saturate_centis(clocks[2 + us] / 10);
    go.node_limit = request.nodes > 0 ? std::uint64_t(request.nodes) : 0;

    SearchStartTime = clock_ms();
    char move[8]    = "0000";
    if (!go.infinite && Book == 1 &&
        choose_book_move(book_path(BookFile), RandBook, move).result == BookFound &&
        user_move(move) != 0) {
        output(Screen, "info string book move %s\n", move);
        output(Screen, "bestmove %s\n", move);
        output(LogOnly, "move %s\n", move);
        return NextLine;
    }
    std::strcpy(move, "0000");

    allocatedTime = allocate_time(engineTime, opponentTime, increment, SuddenDeath).allocated;
    SearchLimits limits{MaxDepth, moveTime, allocatedTime, SearchStartTime, true};
    const std::int64_t depth = request.mate > 0 ? 2 * request.mate + 1 : request.depth;
    if (depth > 0) limits.maxDepth = depth < 2 ? 2 : depth > MaxPly ? MaxPly : int(depth);
    if (request.movetime >= 0) limits.moveTime = saturate_centis(request.movetime / 10);
    if (go.infinite) limits.moveTime = limits.budget = INT32_MAX;
    SearchHooks hooks;
    hooks.context             = &go;
    hooks.report              = report_info;
    hooks.interrupted         = interrupted;
    const SearchResult result = search_in_style(limits, hooks);
    // An infinite search that has run out of depth still waits for "stop" before it answers.
    while (go.infinite && !go.stop) {
        take_waiting_lines(take_during_search, &go);
        if (!go.stop && !look_at_input(true)) go.stop = true;
    }
    if (result.move) {
        move_to_text(move, result.move, CurrentPosition);
        if (move[4] == ' ') move[4] = '\0';
    }
    output(Screen, "bestmove %s\n", move);
    output(LogOnly, "move %s\n", move);
    return go.quit ? Quit : NextLine;
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
    {"debug", false, ignored},
    {"register", false, ignored},
    {"quit", false, quit},
};

} // namespace

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

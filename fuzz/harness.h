// What every fuzz target shares: a scratch working folder holding a shallow, quick INI file and
// the small test book, standard output sent to /dev/null, the engine put back to its start-up
// state before every input, and a check that reports like a sanitizer finding.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "front/front.h"
#include "movegen/movegen.h"
#include "shell/shell.h"

// Every search is held to this depth and time, so an input runs in milliseconds; the book
// choice is the first move (a random one would not repeat), and the log is written to nowhere.
constexpr int FuzzDepth    = 3;
constexpr int FuzzMoveTime = 100; // hundredths of a second
constexpr const char* FuzzIni = "[ENGINE]\nMaxDepth=3\nMaxTime=100\nPostThinking=yes\n"
                                "[LOG]\nLogFile=/dev/null\nLogGame=yes\n"
                                "[BOOK]\nBookFile=book.bin\nBook=yes\nRandBook=no\n";

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #condition, __FILE__,          \
                         __LINE__);                                                                \
            std::abort();                                                                          \
        }                                                                                          \
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

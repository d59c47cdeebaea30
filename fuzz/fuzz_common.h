// Shared set-up of the fuzz targets: a scratch working folder with a shallow, quick INI file and
// the small test book, standard output sent to /dev/null, and a reset of the engine's globals
// before every input so that no input depends on the one before it.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "board/board.h"
#include "protocol/protocol.h"
#include "search/search.h"
#include "shell/shell.h"

// Every search the fuzzers start is held to this depth and time, so an input runs in
// milliseconds and a search never ends on the clock (which would make a finding unrepeatable).
constexpr int FuzzDepth    = 3;
constexpr int FuzzMoveTime = 100; // hundredths of a second

// The INI file of the scratch folder: shallow, a first-move book choice (random choices seed
// from the calendar time and would not repeat), and a log that is written but kept nowhere.
constexpr const char* FuzzIni = "[ENGINE]\nMaxDepth=3\nMaxTime=100\nPostThinking=yes\n"
                                "[LOG]\nLogFile=/dev/null\nLogGame=yes\n"
                                "[BOOK]\nBookFile=book.bin\nBook=yes\nRandBook=no\n";

inline std::string FuzzDir;

inline void write_scratch_file(const char* name, const void* data, std::size_t size) {
    std::FILE* f = std::fopen(name, "wb");
    if (!f) std::abort();
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
}

inline void remove_scratch_dir() {
    std::error_code ignored;
    if (!FuzzDir.empty()) std::filesystem::remove_all(FuzzDir, ignored);
}

// Makes the scratch folder the working folder and fills it. QUILLFERN_FUZZ_VERBOSE=1 keeps the
// engine's output on the terminal, for replaying a finding by hand.
inline void fuzz_start() {
    // A folder in memory when there is one: the targets write a file for every input.
    char pattern[64] = "/dev/shm/quillfern-fuzz-XXXXXX";
    if (!mkdtemp(pattern)) {
        std::strcpy(pattern, "/tmp/quillfern-fuzz-XXXXXX");
        if (!mkdtemp(pattern)) std::abort();
    }
    FuzzDir = pattern;
    std::atexit(remove_scratch_dir);
    if (chdir(pattern) != 0) std::abort();

    write_scratch_file("quillfern.ini", FuzzIni, std::strlen(FuzzIni));
    std::filesystem::copy_file(QUILLFERN_SOURCE_DIR "/tests/data/small_book.bin", "book.bin");

    const char* verbose = std::getenv("QUILLFERN_FUZZ_VERBOSE");
    if (!verbose || std::strcmp(verbose, "1") != 0) {
        int null = open("/dev/null", O_WRONLY);
        if (null < 0 || dup2(null, STDOUT_FILENO) < 0) std::abort();
        close(null);
    }
}

// The state that start-up leaves, as if the program had just been started.
inline void reset_engine() {
    GameOver      = 0;
    EngineColor   = 'c';
    QuitRequested = 0;
    SearchStopped = 0;
    load_settings("quillfern.ini");
    new_game();
    clear_history();
    clear_killers();
}

// Gives a search on the current position its full budget from now on.
inline void start_clock() {
    SearchStopped   = 0;
    SearchStartTime = clock_ms();
    moveTime = allocatedTime = FuzzMoveTime;
}

// A fault found by a target's own check, reported like a sanitizer finding.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #condition, __FILE__,          \
                         __LINE__);                                                                \
            std::abort();                                                                          \
        }                                                                                          \
    } while (0)

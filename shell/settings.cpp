// Engine settings: loaded from the INI file, clamped into their ranges, and shown by "param".
#include <cstdio>

#include "ini/ini_reader.h"
#include "shell/shell.h"

// Every setting starts at its default, so a load that stops early (the log cannot be opened)
// still leaves usable values behind, a SuddenDeath inside its range among them.
std::int32_t MaxDepth = 32, MaxTime = 360000, PostThinking = 1, LogGame = 0, Book = 1, RandBook = 1;
std::int32_t SuddenDeath = 20, MoreTime = 5, LessTime = 5, FastGame = 5;
char LogFile[100]        = "quillfern.log";
char BookFile[100]       = "book.bin";
std::FILE* LogFileHandle = nullptr;
std::int32_t moveTime = 360000, engineTime = 360000, opponentTime = 0, increment = 0,
             allocatedTime = 360000;

namespace {

// Reads a number and falls back to the default outside low..high; a value that is no number
// reads as 0 and so falls back too, as long as 0 lies outside the range.
std::int32_t read_in_range(const char* section, const char* key, std::int32_t default_value,
                           std::int32_t low, std::int32_t high, const char* file_name) {
    long value = ini_read_long(section, key, default_value, file_name);
    return (value < low || value > high) ? default_value : std::int32_t(value);
}

} // namespace

// The order matters: when the log is wanted but cannot be opened, the load stops there and the
// book and time settings keep the values they had.
void load_settings(const char* file_name) {
    MaxDepth = read_in_range("ENGINE", "MaxDepth", 32, 2, 32, file_name);

    // The reader saturates at the 32-bit limits, so the value fits as it is.
    MaxTime    = std::int32_t(ini_read_long("ENGINE", "MaxTime", 360000, file_name));
    engineTime = moveTime = allocatedTime = MaxTime;

    PostThinking = ini_read_bool("ENGINE", "PostThinking", 1, file_name);
    ini_read_string("LOG", "LogFile", "quillfern.log", LogFile, sizeof LogFile, file_name);
    LogGame = ini_read_bool("LOG", "LogGame", 0, file_name);

    // The log of an earlier load is let go first, so reloading never leaks a handle.
    if (LogFileHandle != nullptr) {
        std::fclose(LogFileHandle);
        LogFileHandle = nullptr;
    }
    if (LogGame == 1) {
        LogFileHandle = std::fopen(LogFile, "a");
        if (LogFileHandle == nullptr) {
            std::perror(LogFile);
            return;
        }
    }

    ini_read_string("BOOK", "BookFile", "book.bin", BookFile, sizeof BookFile, file_name);
    Book     = ini_read_bool("BOOK", "Book", 1, file_name);
    RandBook = ini_read_bool("BOOK", "RandBook", 1, file_name);

    SuddenDeath = read_in_range("TIME", "SuddenDeath", 20, 20, 40, file_name);
    MoreTime    = read_in_range("TIME", "MoreTime", 5, 5, 15, file_name);
    LessTime    = read_in_range("TIME", "LessTime", 5, 5, 15, file_name);
    FastGame    = read_in_range("TIME", "FastGame", 5, 5, 15, file_name);
}

// Labels are padded to 20 characters so the values line up; times are shown in whole seconds.
void show_params() {
    std::printf("\n[ENGINE]\n");
    std::printf("Depht:              %i\n", MaxDepth);
    std::printf("postThinking:       %i\n", PostThinking);
    std::printf("\n[LOG]\n");
    std::printf("logFile:            %s\n", LogFile);
    std::printf("logGame:            %i\n", LogGame);
    std::printf("\n[BOOK]\n");
    std::printf("bookFile:           %s\n", BookFile);
    std::printf("book:               %i\n", Book);
    std::printf("randBook:           %i\n", RandBook);
    std::printf("\n[TIME]\n");
    std::printf("MaxTime:            %i s\n", MaxTime / 100);
    std::printf("moveTime:           %i s\n", moveTime / 100);
    std::printf("suddenDeath:        %i\n", SuddenDeath);
    std::printf("moreTime:           %i\n", MoreTime);
    std::printf("lessTime:           %i\n", LessTime);
    std::printf("fastGame:           %i\n", FastGame);
    std::printf("\n");
}

// Engine settings: defaults until the INI loader arrives.
#include "shell/shell.h"

std::int32_t MaxDepth = 32, MaxTime = 360000, PostThinking = 1, LogGame = 0, Book = 1, RandBook = 1;
std::int32_t SuddenDeath = 20, MoreTime = 5, LessTime = 5, FastGame = 5;
char LogFile[100]          = "quillfern.log";
char BookFile[100]         = "book.bin";
std::FILE* LogFileHandle   = nullptr;
std::int32_t moveTime = 360000, engineTime = 360000, opponentTime = 0, increment = 0,
             allocatedTime = 360000;

void load_settings(const char*) {}
void show_params() {}

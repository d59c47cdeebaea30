// Fuzz target: the INI reader on arbitrary files, and the settings loaded from them. The input
// is the whole file; its first line also names a section and a key to look up, so lookups
// other than the engine's own are tried, with buffers from one byte up.
#include <cstring>

#include "fuzz/fuzz_common.h"
#include "ini/ini_reader.h"

namespace {

constexpr const char* IniName = "fuzz.ini";

// The first line's text before and after its first '/', at most 31 bytes each.
void names_from_first_line(const std::uint8_t* data, std::size_t size, char* section, char* key) {
    std::size_t i = 0, n = 0;
    while (i < size && data[i] != '/' && data[i] != '\n' && data[i] && n < 31)
        section[n++] = char(data[i++]);
    section[n] = '\0';
    if (i < size && data[i] == '/') ++i;
    n = 0;
    while (i < size && data[i] != '\n' && data[i] && n < 31) key[n++] = char(data[i++]);
    key[n] = '\0';
}

bool terminated(const char* text, std::size_t size) {
    return std::memchr(text, '\0', size) != nullptr;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz_start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    write_scratch_file(IniName, data, size);

    char section[32], key[32];
    names_from_first_line(data, size, section, key);
    for (int buffer_size : {1, 2, 3, 7, 64, 512}) {
        char buffer[512];
        std::memset(buffer, 'x', sizeof buffer);
        int length = ini_read_string(section, key, "default", buffer, buffer_size, IniName);
        FUZZ_CHECK(length >= 0 && length < buffer_size);
        FUZZ_CHECK(buffer[length] == '\0' && std::strlen(buffer) == std::size_t(length));
    }
    (void)ini_read_long(section, key, -7, IniName);
    const int flag = ini_read_bool(section, key, 5, IniName);
    FUZZ_CHECK(flag == 0 || flag == 1 || flag == 5);

    // The settings. A log file name with a folder in it would have the loader create files
    // anywhere; such inputs stop here.
    char log_name[100];
    ini_read_string("LOG", "LogFile", "quillfern.log", log_name, sizeof log_name, IniName);
    if (std::strchr(log_name, '/')) return 0;
    reset_engine();
    load_settings(IniName);
    FUZZ_CHECK(MaxDepth >= 2 && MaxDepth <= 32);
    FUZZ_CHECK(SuddenDeath >= 20 && SuddenDeath <= 40);
    FUZZ_CHECK(MoreTime >= 5 && MoreTime <= 15 && LessTime >= 5 && LessTime <= 15);
    FUZZ_CHECK(FastGame >= 5 && FastGame <= 15);
    FUZZ_CHECK(PostThinking == 0 || PostThinking == 1);
    FUZZ_CHECK(LogGame == 0 || LogGame == 1);
    FUZZ_CHECK(Book == 0 || Book == 1);
    FUZZ_CHECK(RandBook == 0 || RandBook == 1);
    FUZZ_CHECK(terminated(LogFile, sizeof LogFile) && terminated(BookFile, sizeof BookFile));
    FUZZ_CHECK(moveTime == MaxTime && engineTime == MaxTime && allocatedTime == MaxTime);
    show_params();

    // The time allocation divides by a count derived from SuddenDeath; any clock must do.
    allocate_time();

    // Leave nothing behind for the next input: the log (created in the scratch folder) goes.
    if (LogFileHandle) {
        std::fclose(LogFileHandle);
        LogFileHandle = nullptr;
        if (std::strcmp(LogFile, IniName) != 0 && std::strcmp(LogFile, "quillfern.ini") != 0 &&
            std::strcmp(LogFile, "book.bin") != 0)
            std::remove(LogFile);
    }
    return 0;
}

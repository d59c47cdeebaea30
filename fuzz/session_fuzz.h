// The in-process session behind the console and protocol fuzz targets: the input becomes the
// lines of standard input after a mode line, and the mode loop runs on them until "quit" or the
// end of input. The stream hands the engine one line per read, and before each line it holds
// the depth and the move time to the fuzz budget again, so that "sd", "st", "time" and "level"
// are parsed and echoed as usual but no search runs long. The perft benchmark ("test", half a
// minute) is taken out of the input, and a session that has run for four seconds meets the end
// of its input.
#pragma once

#include <cstring>

#include "fuzz/fuzz_common.h"

namespace session {

inline char Text[1 << 16];
inline std::size_t Length, Position;
inline std::uint32_t Started;
constexpr std::uint32_t SessionTime = 4000; // milliseconds

inline ssize_t read_lines(void*, char* buffer, std::size_t size) {
    if (MaxDepth > FuzzDepth) MaxDepth = FuzzDepth;
    if (moveTime > FuzzMoveTime) moveTime = FuzzMoveTime;
    // Many searches that each use their whole budget (positions set up with dozens of
    // pieces) could still add up past libFuzzer's timeout: such a session ends early.
    if (clock_ms() - Started > SessionTime) return 0;
    std::size_t n = 0;
    while (n < size && Position < Length) {
        char c      = Text[Position++];
        buffer[n++] = c;
        if (c == '\n') break;
    }
    return ssize_t(n);
}

inline void append(const char* bytes, std::size_t size) {
    if (Length + size > sizeof Text) size = sizeof Text - Length;
    std::memcpy(Text + Length, bytes, size);
    Length += size;
}

// The line as the engine compares it (up to a NUL, a final CR taken off) is "test".
inline bool is_benchmark(const char* line, std::size_t length) {
    const void* nul = std::memchr(line, '\0', length);
    if (nul) length = std::size_t(static_cast<const char*>(nul) - line);
    if (length > 0 && line[length - 1] == '\r') --length;
    return length == 4 && std::memcmp(line, "test", 4) == 0;
}

// Runs one session: the mode line, then the input's lines without the benchmark's.
inline void run(const char* mode_line, const std::uint8_t* data, std::size_t size) {
    Length = Position = 0;
    append(mode_line, std::strlen(mode_line));
    std::size_t start = 0;
    while (start < size) {
        std::size_t end = start;
        while (end < size && data[end] != '\n') ++end;
        const char* line   = reinterpret_cast<const char*>(data + start);
        std::size_t length = end - start;
        if (!is_benchmark(line, length)) append(line, end < size ? length + 1 : length);
        start = end + 1;
    }

    reset_engine();
    cookie_io_functions_t io{read_lines, nullptr, nullptr, nullptr};
    std::FILE* stream = fopencookie(nullptr, "r", io);
    if (!stream) std::abort();
    InputStream = stream;
    Started     = clock_ms();
    mode_loop();
    InputStream = stdin;
    std::fclose(stream);

    // Nothing of this session may reach the next one.
    FUZZ_CHECK(stack_index() >= 0 && stack_index() < StackSize - SearchReserve);
    std::fflush(stdout);
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
}

} // namespace session

// Start-up, the mode loop, and the line reader that every front end uses.
#include <cctype>
#include <csignal>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "board/board.h"
#include "protocol/protocol.h"
#include "shell/shell.h"

std::int32_t GameOver      = 0;
std::uint8_t EngineColor   = 'c';
std::int32_t QuitRequested = 0;
std::FILE* InputStream     = stdin;

int read_line(char* line) {
    // Output that can no longer be written (a broken pipe, a closed stream) ends the session
    // like the end of input: no one is left to answer.
    std::fflush(stdout);
    if (std::ferror(stdout)) {
        line[0] = '\0';
        return 0;
    }
    int length = 0, c;
    while ((c = std::getc(InputStream)) != EOF && c != '\n')
        if (length < LineSize - 1) line[length++] = char(c);
    if (c == EOF && length == 0) {
        line[0] = '\0';
        return 0;
    }
    if (length > 0 && line[length - 1] == '\r') --length; // a line ended by CR LF
    line[length] = '\0';
    return 1;
}

int read_int(const char*& text, std::int32_t& value) {
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    if (*p == '+' && p[1] != '-') ++p; // from_chars takes a minus sign but not a plus
    std::int32_t n    = 0;
    auto [end, error] = std::from_chars(p, p + std::strlen(p), n);
    if (error != std::errc()) return 0;
    value = n;
    text  = end;
    return 1;
}

std::int32_t saturate_centis(std::int64_t centis) {
    if (centis > INT32_MAX) return INT32_MAX;
    if (centis < INT32_MIN) return INT32_MIN;
    return std::int32_t(centis);
}

void start_up() {
    GameOver    = 0;
    EngineColor = 'c';
    load_settings("quillfern.ini");
    new_game();
    std::printf("quillfern chess engine by Brackenwold\n");
    std::printf("version 0.05\n");
    std::printf("enter 'console' for console mode...\n");
}

// Waits for the mode line; the end of input ends the program like "quit".
void mode_loop() {
    char line[LineSize];
    for (;;) {
        int got = read_line(line);
        std::fflush(stdout);
        if (!got) return;
        if (std::strncmp(line, "xboard", 6) == 0) {
            xboard_loop();
            if (QuitRequested == 1) return;
        } else if (std::strncmp(line, "quit", 4) == 0) {
            return;
        } else if (std::strncmp(line, "cons", 4) == 0) {
            console_loop();
            if (QuitRequested == 1) return;
        }
    }
}

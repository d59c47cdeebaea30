// The command line: the usage, the version and the search benchmark.
#include <charconv>
#include <cstdio>
#include <cstring>

#include "front/front.h"
#include "shell/shell.h"

namespace {

constexpr const char* Usage =
    "usage: quillfern [--help | --version | bench [DEPTH] [classic|strong]]\n"
    "\n"
    "Without an argument quillfern prints its banner and waits for a mode line on standard\n"
    "input: console, xboard or uci. It reads its settings, quillfern.ini, and its book, book.bin,\n"
    "from the working folder; an installed package has defaults of its own (see quillfern(6)).\n"
    "\n"
    "  --help     print this text\n"
    "  --version  print the version\n"
    "  bench      search the benchmark positions to DEPTH plies (2 to 32; by default 12 in the\n"
    "             strong style, 6 in the classic), in the strong style unless classic is named,\n"
    "             and end with the nodes searched and the nodes per second\n";

int refuse(const char* argument) {
    std::fprintf(stderr, "quillfern: unknown argument '%s'\n%s", argument, Usage);
    return 2;
}

// A depth written as a number from 2 to MaxPly, else 0.
int read_depth(const char* text) {
    const char* end = text + std::strlen(text);
    int depth       = 0;
    const auto read = std::from_chars(text, end, depth);
    return read.ec == std::errc() && read.ptr == end && depth >= 2 && depth <= MaxPly ? depth : 0;
}

// "bench [DEPTH] [classic|strong]": the depth, when given, comes first.
int bench(int argc, char** argv) {
    int depth = 0, style = -1; // style: 1 strong, 0 classic, -1 not named
    for (int i = 2; i < argc; ++i) {
        if (style < 0 && std::strcmp(argv[i], "strong") == 0)
            style = 1;
        else if (style < 0 && std::strcmp(argv[i], "classic") == 0)
            style = 0;
        else if (style < 0 && depth == 0 && (depth = read_depth(argv[i])) != 0)
            continue;
        else
            return refuse(argv[i]);
    }
    const bool strong = style != 0;
    return search_benchmark(depth != 0 ? depth : strong ? 12 : 6, strong);
}

} // namespace

int run_command_line(int argc, char** argv, const char* version) {
    const char* command = argv[1];
    if (std::strcmp(command, "bench") == 0) return bench(argc, argv);
    const bool help = std::strcmp(command, "--help") == 0;
    if (!help && std::strcmp(command, "--version") != 0) return refuse(command);
    if (argc > 2) return refuse(argv[2]);
    if (help)
        output(Screen, "%s", Usage);
    else
        output(Screen, "quillfern %s\n", version);
    return 0;
}

// Console command interpreter: placeholder until the real one lands; ends on "quit".
#include <cstring>

#include "shell/shell.h"

void console_loop() {
    char line[LineSize];
    while (read_line(line))
        if (std::strcmp(line, "quit") == 0) break;
    QuitRequested = 1;
}

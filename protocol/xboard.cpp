// XBoard protocol driver: placeholder until the real one lands; ends on "quit".
#include <cstring>

#include "protocol/protocol.h"
#include "shell/shell.h"

char OpponentName[100];

void xboard_loop() {
    char line[LineSize];
    while (read_line(line))
        if (std::strcmp(line, "quit") == 0) break;
    QuitRequested = 1;
}

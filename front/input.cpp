// Standard input, read through one buffer that every reader of input shares, and the standard
// streams made safe to use. The only place that speaks to the operating system directly.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <algorithm>
#include <cstring>

#include "front/front.h"

namespace {

// Bytes read ahead of the line readers, Start to End: lines waiting to be read, which a look
// at the input during a search may have brought in.
char Buffer[1 << 18];
std::size_t Start = 0, End = 0;
bool InputEnded   = false;
bool Skipping     = false; // the rest of a line given up is dropped as it arrives

long read_standard_input(char* buffer, std::size_t room) {
    for (;;) {
        const ssize_t n = ::read(0, buffer, room);
        if (n >= 0) return long(n);
        if (errno != EINTR) return 0; // a read that fails ends the input like its end
    }
}

InputSource Source = read_standard_input;

// Makes room and reads more, waiting until something arrives; false once the input has ended,
// and when the buffer is full of lines not yet read.
bool fill() {
    if (InputEnded) return false;
    if (Start == End) Start = End = 0;
    if (End == sizeof Buffer) {
        std::memmove(Buffer, Buffer + Start, End - Start);
        End -= Start;
        Start = 0;
    }
    if (End == sizeof Buffer) return false;
    const long n = Source(Buffer + End, sizeof Buffer - End);
    if (n <= 0) {
        InputEnded = true;
        return false;
    }
    std::size_t got = std::size_t(n);
    if (Skipping) {
        char* fresh   = Buffer + End;
        char* newline = static_cast<char*>(std::memchr(fresh, '\n', got));
        if (!newline) return true; // all of it belongs to the line given up
        Skipping                  = false;
        const std::size_t dropped = std::size_t(newline - fresh) + 1;
        std::memmove(fresh, fresh + dropped, got - dropped);
        got -= dropped;
    }
    End += got;
    return true;
}

// The next byte, or -1 at the end of input.
int next_byte() {
    while (Start == End)
        if (!fill()) return -1;
    return static_cast<unsigned char>(Buffer[Start++]);
}

} // namespace

void set_input_source(InputSource source) {
    Source     = source ? source : read_standard_input;
    Start      = End = 0;
    InputEnded = false;
    Skipping   = false;
}

int read_line(char* line, int size) {
    // Output that can no longer be written (a broken pipe, a closed stream) ends the session
    // like the end of input: no one is left to answer.
    std::fflush(stdout);
    if (std::ferror(stdout)) {
        line[0] = '\0';
        return 0;
    }
    int length = 0, c = next_byte();
    if (c < 0) {
        line[0] = '\0';
        return 0;
    }
    for (; c >= 0 && c != '\n'; c = next_byte())
        if (length < size - 1) line[length++] = char(c);
    if (length > 0 && line[length - 1] == '\r') --length; // a line ended by CR LF
    line[length] = '\0';
    return 1;
}

int read_piece(char* piece, int size) {
    int length = 0;
    for (int c; length < size - 1 && (c = next_byte()) >= 0;) {
        piece[length++] = char(c);
        if (c == '\n') break;
    }
    piece[length] = '\0';
    return length > 0;
}

// Standard input is asked whether anything has arrived; a source of a test's own always has
// its bytes at hand.
bool look_at_input(bool wait) {
    if (Source == read_standard_input && !wait) {
        pollfd fd{0, POLLIN, 0};
        if (::poll(&fd, 1, 0) <= 0) return !InputEnded;
    }
    fill();
    return !InputEnded;
}

void take_waiting_lines(bool (*take)(void* context, const char* line), void* context) {
    char line[LineSize];
    for (std::size_t at = Start; at < End;) {
        const char* newline = static_cast<const char*>(std::memchr(Buffer + at, '\n', End - at));
        if (!newline) break;
        const std::size_t next = std::size_t(newline - Buffer) + 1;
        std::size_t length = std::min<std::size_t>(next - 1 - at, sizeof line - 1);
        std::memcpy(line, Buffer + at, length);
        if (length > 0 && line[length - 1] == '\r') --length;
        line[length] = '\0';
        if (take(context, line)) {
            std::memmove(Buffer + at, Buffer + next, End - next);
            End -= next - at;
        } else {
            at = next;
        }
    }
}

bool input_ended() { return InputEnded && Start == End; }

bool input_full() { return End - Start == sizeof Buffer; }

void skip_unfinished_line() {
    while (End > Start && Buffer[End - 1] != '\n') --End;
    Skipping = true;
}

void prepare_standard_streams() {
    // A standard stream that was closed on us gets /dev/null, opened for reading only: no file
    // opened later (the game log) can take its number and receive the engine's output, input
    // ends at once, and every write fails, which ends the engine as a broken pipe does.
    for (int fd = 0; fd <= 2; ++fd)
        if (fcntl(fd, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    // When the interface has gone, a write to it fails instead of killing the engine, which
    // then ends at its next read with everything logged (see read_line).
    std::signal(SIGPIPE, SIG_IGN);
}

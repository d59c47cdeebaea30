// INI file reader: every lookup opens the file, scans it from the top for the first matching
// section and key, copies the value and closes the file again. Nothing is cached.

// The reader checks its preconditions in every build, release included: a lookup runs a handful
// of times per settings load, so the checks cost nothing, and a broken call stops with its reason.
#undef NDEBUG
#include "ini/ini_reader.h"

#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// One line is read in pieces of at most LineBufferSize - 1 bytes, its line end included; the rest
// of a longer line is read as if it were the next line.
constexpr int LineBufferSize = 512;
constexpr int LongBufferSize = 64;
constexpr int BoolBufferSize = 2;

// A blank is any byte that, read as a signed 8-bit number, is at most 32 and not 0: the control
// bytes, CR and LF included, the space, and every byte from 128 up. The bytes of a UTF-8
// byte-order mark are all above 127, so the mark is skipped like any leading blank.
bool is_blank(char c) {
    signed char s = static_cast<signed char>(c);
    return s <= 32 && s != 0;
}

char ascii_lower(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

// Tells whether the length bytes at text spell name, ASCII letters in any case; a name matches
// only over its whole length.
bool same_name(const char* text, std::size_t length, const char* name) {
    if (std::strlen(name) != length) return false;
    for (std::size_t i = 0; i < length; ++i)
        if (ascii_lower(text[i]) != ascii_lower(name[i])) return false;
    return true;
}

// Returns the first byte of str that is no blank.
char* skip_leading(char* str) {
    assert(str != NULL);
    while (is_blank(*str))
        ++str;
    return str;
}

// Steps back from str over blanks, but not before base; returns where the blanks begin.
char* skip_trailing(char* str, const char* base) {
    assert(str != NULL);
    while (str > base && is_blank(str[-1]))
        --str;
    return str;
}

// Cuts the blanks off the end of str.
void strip_trailing(char* str) {
    char* ptr = skip_trailing(std::strchr(str, '\0'), str);
    assert(ptr != NULL);
    *ptr = '\0';
}

// A copy must not start inside the bytes it reads. The addresses are compared as numbers, since
// comparing or offsetting pointers into two different arrays is not defined.
void check_apart(std::uintptr_t dest, std::uintptr_t source, int maxlen) {
    assert(dest <= source || dest >= source + maxlen);
}

// Reads the next piece of a line; 0 at the end of the file or on a read error (a directory
// opens as a file but refuses every read).
bool read_piece(char* line, std::FILE* fp) { return std::fgets(line, LineBufferSize, fp) != NULL; }

} // namespace

int ini_read_string(const char* section, const char* key, const char* default_value, char* buffer,
                    int buffer_size, const char* file_name) {
    if (buffer == NULL || buffer_size <= 0 || key == NULL) return 0;
    int found     = 0;
    std::FILE* fp = file_name != NULL ? std::fopen(file_name, "rb") : NULL;
    if (fp != NULL) {
        found = ini_find_entry(fp, section, key, -1, -1, buffer, buffer_size);
        std::fclose(fp);
    }
    if (!found)
        ini_copy_text(buffer, default_value != NULL ? default_value : "", buffer_size,
                      QUOTING_NONE);
    return int(std::strlen(buffer));
}

// A second byte of x or X marks a hexadecimal number (0x10, 0X10); anything else is decimal. The
// result saturates at the limits of a signed 32-bit number, whatever the width of long.
long ini_read_long(const char* section, const char* key, long default_value,
                   const char* file_name) {
    if (key == NULL) return default_value;
    char text[LongBufferSize];
    int length = ini_read_string(section, key, "", text, LongBufferSize, file_name);
    if (length == 0) return default_value;
    int base   = (length > 1 && (text[1] == 'x' || text[1] == 'X')) ? 16 : 10;
    long value = std::strtol(text, NULL, base);
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return value;
}

// Only the first byte of the value counts: Y, 1 or T is true, N, 0 or F false, in either case.
int ini_read_bool(const char* section, const char* key, int default_value, const char* file_name) {
    if (key == NULL) return default_value;
    char text[BoolBufferSize];
    ini_read_string(section, key, "", text, BoolBufferSize, file_name);
    switch (ascii_lower(text[0])) {
    case 'y':
    case '1':
    case 't':
        return 1;
    case 'n':
    case '0':
    case 'f':
        return 0;
    default:
        return default_value;
    }
}

// Lookup by name when both indexes are negative. A section index of 0 or more copies the name of
// that header instead (headers counted from 0); a key index of 0 or more copies the name of that
// key line of the section.
int ini_find_entry(std::FILE* fp, const char* Section, const char* Key, int idxSection, int idxKey,
                   char* buffer, int buffer_size) {
    assert(fp != NULL);
    char line[LineBufferSize];
    char *sp, *ep;

    // Step 1. Find the section header; without a section name the keys above the first header
    // are searched.
    std::size_t section_length = Section != NULL ? std::strlen(Section) : 0;
    if (section_length > 0 || idxSection >= 0) {
        int idx = -1;
        for (;;) {
            if (!read_piece(line, fp)) return 0;
            sp = skip_leading(line);
            if (*sp != '[') continue;
            ep = std::strchr(sp + 1, ']');
            if (ep == NULL) continue;
            assert(*ep == ']');
            ++sp; // the name is exactly the bytes between the brackets, blanks included
            if (idxSection >= 0) {
                if (++idx != idxSection) continue;
                *ep = '\0';
                ini_copy_text(buffer, sp, buffer_size, QUOTING_NONE);
                return 1;
            }
            if (same_name(sp, std::size_t(ep - sp), Section)) break;
        }
    }

    // Step 2. Find the key in the section, which ends at any line that begins with a bracket.
    // Naming a section by its index needs no key; everything from here on does.
    assert(Key != NULL || idxKey >= 0);
    int idx = -1;
    for (;;) {
        if (!read_piece(line, fp)) return 0;
        sp = skip_leading(line);
        if (*sp == '[') return 0;
        ep = std::strchr(sp, '='); // the first "=" wins, so a value may hold a colon
        if (ep == NULL) ep = std::strchr(sp, ':');
        if (*sp == ';' || *sp == '#' || ep == NULL) continue;
        assert(*ep == '=' || *ep == ':');
        char* kp = skip_trailing(ep, sp);
        if (idxKey >= 0) {
            if (++idx != idxKey) continue;
            *kp = '\0';
            ini_copy_text(buffer, sp, buffer_size, QUOTING_NONE);
            return 1;
        }
        if (same_name(sp, std::size_t(kp - sp), Key)) break;
    }

    // Step 3. The value: leading blanks, trailing comment, trailing blanks and one pair of
    // surrounding quotes go.
    int quotes;
    char* value = ini_clean_value(skip_leading(ep + 1), &quotes);
    ini_copy_text(buffer, value, buffer_size, quotes);
    return 1;
}

// A ";" or "#" outside double quotes starts a comment. Inside the walk, "" and \" are passed over
// as pairs, so an escaped quote neither opens nor closes a quoted stretch.
char* ini_clean_value(char* string, int* quotes) {
    assert(string != NULL);
    assert(quotes != NULL);
    bool quoted = false;
    char* ep    = string;
    while (*ep != '\0' && (quoted || (*ep != ';' && *ep != '#'))) {
        if (*ep == '"') {
            if (ep[1] == '"')
                ++ep;
            else
                quoted = !quoted;
        } else if (*ep == '\\' && ep[1] == '"') {
            ++ep;
        }
        ++ep;
    }
    assert(ep != NULL && (*ep == '\0' || *ep == ';' || *ep == '#'));
    *ep = '\0';
    strip_trailing(string);
    *quotes = QUOTING_NONE;
    ep      = std::strchr(string, '\0');
    if (string[0] == '"' && ep[-1] == '"') {
        ep[-1]  = '\0';
        *quotes = QUOTING_REMOVE;
        return string + 1;
    }
    return string;
}

void ini_copy_text(char* dest, const char* source, int maxlen, int mode) {
    // clang-format off
    assert(maxlen>0);
    // clang-format on
    check_apart(reinterpret_cast<std::uintptr_t>(dest), reinterpret_cast<std::uintptr_t>(source),
                maxlen);
    if (mode == QUOTING_ADD && maxlen < 3) mode = QUOTING_NONE; // no room for both quotes
    int d = 0;
    switch (mode) {
    case QUOTING_NONE:
        while (d < maxlen - 1 && source[d] != '\0') {
            dest[d] = source[d];
            ++d;
        }
        assert(d < maxlen);
        break;
    case QUOTING_ADD:
        // Room is kept for the closing quote and the NUL; an escaped quote goes whole or not at
        // all, so the text never ends in a lone backslash.
        dest[d++] = '"';
        for (int s = 0; source[s] != '\0' && d < maxlen - 2; ++s) {
            if (source[s] == '"') {
                if (d >= maxlen - 3) break;
                dest[d++] = '\\';
            }
            dest[d++] = source[s];
        }
        dest[d++] = '"';
        break;
    case QUOTING_REMOVE:
        // Each \" or "" pair becomes one quote and counts as one byte written.
        for (int s = 0; source[s] != '\0' && d < maxlen - 1; ++s) {
            if ((source[s] == '\\' || source[s] == '"') && source[s + 1] == '"') ++s;
            dest[d++] = source[s];
        }
        break;
    default:
        assert(0);
    }
    dest[d] = '\0';
}

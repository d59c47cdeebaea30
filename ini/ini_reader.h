// INI file reader: stateless lookups of a key in a section of an INI file.
#pragma once

#include <cstdio>

// How ini_copy_text treats double quotes: copied as they are, added around the text (escaping
// the quotes inside), or taken out of an escaped pair (\" or "" becomes ").
enum QuotingMode { QUOTING_NONE = 0, QUOTING_ADD = 1, QUOTING_REMOVE = 2 };

// Getters: each opens the file, looks the key up in the section and closes the file again; the
// default stands in for a missing file, section, key or usable value. Section and key names match
// in any letter case; an empty section name reaches the keys above the first header.
// Copies the value (or the default) into buffer, cut to buffer_size - 1 bytes; returns its length.
int ini_read_string(const char* section, const char* key, const char* default_value, char* buffer,
                    int buffer_size, const char* file_name);
[[nodiscard]] long ini_read_long(const char* section, const char* key, long default_value,
                                 const char* file_name);
[[nodiscard]] int ini_read_bool(const char* section, const char* key, int default_value,
                                const char* file_name);

// The scan behind the getters: 1 when the entry was found and its value copied into buffer.
// Negative indexes look up by name.
[[nodiscard]] int ini_find_entry(std::FILE* fp, const char* Section, const char* Key,
                                 int idxSection, int idxKey, char* buffer, int buffer_size);
// Cuts a value's trailing comment and blanks and one pair of surrounding quotes, in place;
// returns the start of the value and sets quotes to the QuotingMode its copy needs.
char* ini_clean_value(char* string, int* quotes);
// Copies at most maxlen - 1 bytes and a NUL under a QuotingMode.
void ini_copy_text(char* dest, const char* source, int maxlen, int mode);

// INI file reader: stateless lookups of a key in a section of an INI file.
#pragma once

#include <cstdio>

enum QuotingMode { QUOTING_NONE = 0, QUOTING_ADD = 1, QUOTING_REMOVE = 2 };

int ini_read_string(const char* section, const char* key, const char* default_value,
                    char* buffer, int buffer_size, const char* file_name);
long ini_read_long(const char* section, const char* key, long default_value,
                   const char* file_name);
int ini_read_bool(const char* section, const char* key, int default_value,
                  const char* file_name);
int ini_find_entry(std::FILE* fp, const char* section, const char* key, int idx_section,
                   int idx_key, char* buffer, int buffer_size);
char* ini_clean_value(char* string, int* quotes);
void ini_copy_text(char* dest, const char* source, int maxlen, int mode);

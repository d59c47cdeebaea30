// Where the engine's files are. A build from source reads and writes every file by the name it
// is given, in the working folder. An installed package (built with QUILLFERN_DATA_DIR) also has
// a data folder holding the default settings and book: a file the working folder lacks is read
// from there, and while those packaged settings are in use the game log goes to the user's own
// data folder, since the package's folder is not the user's to write.
#pragma once

// The package's data folder, nullptr for none (a build from source). Tests set their own.
void set_data_folder(const char* folder);
// The settings file to read for name: name itself when the working folder has it, else the data
// folder's file of that name when there is one. Notes whether the packaged settings are in use.
const char* settings_path(const char* name);
// The book to open for the BookFile name, by the same rule.
const char* book_path(const char* name);
// The game log to append to: name, unless the settings in use are the packaged ones; then name
// inside $XDG_DATA_HOME/quillfern, else ~/.local/share/quillfern, a folder created when missing.
const char* log_path(const char* name);

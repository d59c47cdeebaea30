// Where the engine's files are: the working folder's, the package's data folder's, the user's.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "front/front.h"


namespace fs = std::filesystem;

namespace {

#ifdef QUILLFERN_DATA_DIR
const char* DataFolder = QUILLFERN_DATA_DIR;
#else
const char* DataFolder = nullptr;
#endif
bool PackagedSettings = false;

// The data folder's file called name, or "" when the working folder has its own, when the data
// folder has none, or when there is no data folder.
std::string packaged_file(const char* name) {
    std::error_code error;
    if (DataFolder == nullptr || fs::exists(name, error)) return {};
    const fs::path path = fs::path(DataFolder) / name;
    return fs::is_regular_file(path, error) ? path.string() : std::string();
}

// Where a user's programs keep their data, by the XDG convention; "" without a home folder.
fs::path user_data_folder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && fs::path(data).is_absolute()) return fs::path(data) / "quillfern";
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0') return fs::path(home) / ".local/share/quillfern";
    return {};
}

} // namespace

void set_data_folder(const char* folder) { DataFolder = folder; }

const char* settings_path(const char* name) {
    static std::string path;
    path             = packaged_file(name);
    PackagedSettings = !path.empty();
    return PackagedSettings ? path.c_str() : name;
}

const char* book_path(const char* name) {
    static std::string path;
    path = packaged_file(name);
    return path.empty() ? name : path.c_str();
}

const char* log_path(const char* name) {
    if (!PackagedSettings || fs::path(name).is_absolute()) return name;
    const fs::path folder = user_data_folder();
    if (folder.empty()) return name;
    std::error_code error;
    fs::create_directories(folder, error); // a failure shows when the log is opened
    static std::string path;
    path = (folder / name).string();
    return path.c_str();
}

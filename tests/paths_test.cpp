// Where a packaged engine finds its files: the working folder's own first, the data folder's for
// what it lacks, and the game log in the user's data folder while the packaged settings are in
// use, never beside the packaged files.
#include "front/front.h"
#include "shell/shell.h"
#include "support.h"

namespace fs = std::filesystem;

class DataFolder : public ScratchDir {
  protected:
    fs::path before = fs::current_path();
    std::string data, home = getenv("HOME") ? getenv("HOME") : "";
    void SetUp() override {
        ScratchDir::SetUp();
        data = dir + "/data";
        fs::create_directories(data);
        fs::create_directories(dir + "/work");
        write_file("data/quillfern.ini", "[ENGINE]\nMaxDepth=7\n[LOG]\nLogGame=yes\n");
        write_file("data/book.bin", "");
        fs::current_path(dir + "/work");
        setenv("XDG_DATA_HOME", (dir + "/xdg").c_str(), 1);
        set_data_folder(data.c_str());
        load_settings("quillfern.ini");
    }
    void TearDown() override {
        set_data_folder(nullptr);
        load_settings("absent.ini"); // the defaults again, the log closed
        setenv("HOME", home.c_str(), 1);
        unsetenv("XDG_DATA_HOME");
        fs::current_path(before);
        ScratchDir::TearDown();
    }
};

TEST_F(DataFolder, FillsWhatTheWorkingFolderLacks) {
    EXPECT_EQ(MaxDepth, 7);
    EXPECT_EQ(book_path("book.bin"), data + "/book.bin");
    EXPECT_STREQ(book_path("other.bin"), "other.bin"); // nowhere: the name, as the error says it
    ASSERT_NE(LogFileHandle, nullptr);
    EXPECT_TRUE(fs::exists(dir + "/xdg/quillfern/quillfern.log"));
    EXPECT_FALSE(fs::exists("quillfern.log") || fs::exists(data + "/quillfern.log"));
    EXPECT_STREQ(log_path("/tmp/x.log"), "/tmp/x.log");
    unsetenv("XDG_DATA_HOME");
    setenv("HOME", (dir + "/home").c_str(), 1);
    EXPECT_EQ(log_path("x.log"), dir + "/home/.local/share/quillfern/x.log");
    EXPECT_TRUE(fs::is_directory(dir + "/home/.local/share/quillfern"));
}

// Each load looks again, as the console's "ini" after the user has written files of their own.
TEST_F(DataFolder, TheWorkingFoldersOwnFilesWinLoadByLoad) {
    write_file("work/quillfern.ini", "[ENGINE]\nMaxDepth=5\n[LOG]\nLogGame=yes\n");
    write_file("work/book.bin", "");
    load_settings("quillfern.ini");
    EXPECT_EQ(MaxDepth, 5);
    EXPECT_STREQ(book_path("book.bin"), "book.bin");
    EXPECT_TRUE(fs::exists("quillfern.log"));
    fs::remove("quillfern.ini");
    load_settings("quillfern.ini");
    EXPECT_EQ(MaxDepth, 7);
    EXPECT_EQ(log_path("quillfern.log"), dir + "/xdg/quillfern/quillfern.log");
    set_data_folder(nullptr); // a build from source: every name as it is given
    EXPECT_STREQ(settings_path("absent.ini"), "absent.ini");
    EXPECT_STREQ(log_path("quillfern.log"), "quillfern.log");
}

// Test helper: a scratch folder of its own for every test, removed again at its end.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

class ScratchDir : public testing::Test {
  protected:
    std::string dir;

    void SetUp() override {
        std::string pattern = testing::TempDir() + "quillfern-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    // Writes the bytes of content, NULs included, to a file in the folder; returns its path.
    std::string write_file(const std::string& name, const std::string& content) {
        std::string path = dir + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
};

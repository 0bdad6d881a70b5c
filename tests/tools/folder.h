// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_TOOLS_FOLDER_H
#define UPSCALER_TESTS_TOOLS_FOLDER_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

/// A test whose working directory is a new folder, removed with all it holds.
class FolderTest : public testing::Test {
  protected:
    FolderTest() {
        if (!mkdtemp(mPath.data())) throw std::runtime_error("no temporary folder");
        std::filesystem::current_path(mPath);
    }
    ~FolderTest() override {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(mPath);
    }

  private:
    std::string mPath = std::filesystem::temp_directory_path() / "upscale-test-XXXXXX";
};

/// The names in the working directory.
inline std::set<std::string> entries() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("."))
        names.insert(entry.path().filename());
    return names;
}

inline std::string readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

#endif  // UPSCALER_TESTS_TOOLS_FOLDER_H

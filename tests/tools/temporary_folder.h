// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_TOOLS_TEMPORARY_FOLDER_H
#define UPSCALER_TESTS_TOOLS_TEMPORARY_FOLDER_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

/// A new folder, removed with all it holds.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = std::filesystem::temp_directory_path() / "upscale-test-XXXXXX";
        if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
        mPath = name;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(mPath); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name) const { return mPath / name; }

    std::set<std::string> entries() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(mPath)) {
            names.insert(entry.path().filename());
        }
        return names;
    }

  private:
    std::filesystem::path mPath;
};

inline std::string readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

#endif  // UPSCALER_TESTS_TOOLS_TEMPORARY_FOLDER_H

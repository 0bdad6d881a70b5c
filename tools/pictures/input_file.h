// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_INPUT_FILE_H
#define UPSCALER_TOOLS_PICTURES_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace upscale {

/// A file to read, whose first bytes can be looked at before. Members throw `Failure` with its
/// name. Movable.
class InputFile {
  public:
    explicit InputFile(std::string path);

    const std::string& path() const { return mPath; }
    /// Up to twelve bytes, enough to tell the formats apart.
    const std::string& head() const { return mHead; }
    /// Its size in bytes; 0 if that cannot be known, as of a pipe.
    std::uint64_t size() const { return mSize; }

    /// Reads the next bytes, the head included. Does not throw.
    /// @return less than `size` at the end, or after an error, which errno tells if `failed`.
    std::size_t read(void* data, std::size_t size);
    bool failed() const { return std::ferror(mFile.get()) != 0; }

    /// Passes over bytes of a regular file, once the head has been read. Does not throw.
    /// @return whether it could.
    bool skip(std::uint64_t size);

    /// Reads all that is left.
    std::vector<std::uint8_t> readAll();

    [[noreturn]] void fail(const std::string& reason) const;

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string mPath;
    std::unique_ptr<std::FILE, Close> mFile;
    std::uint64_t mSize = 0;
    std::string mHead;
    std::size_t mHeadRead = 0;
};

/// What every format says of a file that ends too early.
constexpr char kCutShort[] = "the file is cut short";

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_INPUT_FILE_H

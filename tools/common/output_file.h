// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_OUTPUT_FILE_H
#define UPSCALER_TOOLS_COMMON_OUTPUT_FILE_H

#include <cstdio>
#include <string>

namespace upscale {

/// A file that appears whole or not at all: it is written under a temporary name in its own
/// directory and renamed at the end. What is unfinished is removed when the object goes, and when
/// SIGHUP, SIGINT or SIGTERM ends the process. There may be many, of which one at a time is open,
/// on the thread to which signals come. Members throw `Failure`.
class OutputFile {
  public:
    /// Checks, before any work is done, that the file may be written. Creates nothing yet.
    /// @param overwrite whether a file of that name may be replaced.
    OutputFile(const std::string& path, bool overwrite);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Creates the temporary file. Owned by this object.
    std::FILE* open();

    /// Puts the file, whole and on the disk, in its place.
    void commit();

  private:
    [[noreturn]] void fail(int error) const;

    std::string mPath;
    std::string mTarget;  // mPath, symbolic links followed
    bool mOverwrite;
    std::FILE* mFile = nullptr;
    bool mUnfinished = false;  // The temporary file is there.
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_OUTPUT_FILE_H

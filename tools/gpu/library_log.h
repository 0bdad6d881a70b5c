// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_GPU_LIBRARY_LOG_H
#define UPSCALER_TOOLS_GPU_LIBRARY_LOG_H

#include <string>

namespace upscale {

/// Takes over the process's log while it lives. The library reports its failures there and nowhere
/// else. One at a time; lines may come from any thread.
class LibraryLog {
  public:
    /// @param echo whether to write each line to stderr as well.
    explicit LibraryLog(bool echo);
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    /// The first line of the library's first error since the last call; empty if there was none.
    std::string takeError();
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_LIBRARY_LOG_H

// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_FUZZ_MEMORY_FILE_H
#define UPSCALER_TESTS_FUZZ_MEMORY_FILE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

/// Writes the bytes to a file, the same one for all runs, and gives its path.
inline std::string memoryFile(const std::uint8_t* data, std::size_t size) {
    static const int file = memfd_create("fuzz", MFD_CLOEXEC);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    return "/proc/self/fd/" + std::to_string(file);
}

#endif  // UPSCALER_TESTS_FUZZ_MEMORY_FILE_H

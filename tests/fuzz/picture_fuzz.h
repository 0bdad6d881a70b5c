// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_FUZZ_PICTURE_FUZZ_H
#define UPSCALER_TESTS_FUZZ_PICTURE_FUZZ_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tools/failure.h"
#include "tools/picture_file.h"

/// Reads the bytes as the command reads a file. `Failure` is what it may do.
inline void readPicture(const std::uint8_t* data, std::size_t size, upscale::Format format) {
    // One file for all runs, opened anew by name as any other.
    static const int file = memfd_create("fuzz", MFD_CLOEXEC);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    constexpr std::uint64_t kMostPixels = 1u << 20;
    try {
        const auto reader = upscale::openPicture("/proc/self/fd/" + std::to_string(file));
        const std::uint64_t pixels = std::uint64_t{reader->width()} * reader->height();
        if (reader->format() != format || pixels > kMostPixels) return;
        const upscale::Picture picture = reader->read();
        if (pixels == 0 || picture.width != reader->width() || picture.height != reader->height() ||
            picture.pixels.size() != pixels * upscale::Picture::kChannels) {
            std::abort();
        }
    } catch (const upscale::Failure&) {
    }
}

#endif  // UPSCALER_TESTS_FUZZ_PICTURE_FUZZ_H

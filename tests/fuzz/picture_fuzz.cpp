// SPDX-License-Identifier: Apache-2.0
// Built for each format: reads the bytes as the command reads a file. `Failure` is what it may do.
#include <zlib.h>

#include <cstring>

#include "memory_file.h"
#include "tools/common/failure.h"
#include "tools/pictures/formats.h"
#include "tools/pictures/metadata.h"

namespace {

// Hardly anything would get past wrong ones.
void correctPngChecksums(std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kAround = 12;  // length, type and checksum
    for (std::size_t at = kSignature; at + kAround <= size;) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | data[at + i];
        if (length > size - at - kAround) break;
        const auto sum = crc32(0, data + at + 4, static_cast<uInt>(length + 4));
        at += kAround + length;
        for (std::size_t i = 1; i <= 4; ++i)
            data[at - i] = static_cast<std::uint8_t>(sum >> 8 * (i - 1));
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned) {
    size = LLVMFuzzerMutate(data, size, most);
    if (std::strcmp(PICTURE_FORMAT, "png") == 0) correctPngChecksums(data, size);
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint64_t kMostPixels = 1u << 20;
    try {
        const auto [format, reader] = upscale::openPicture(memoryFile(data, size));
        const std::uint64_t pixels = std::uint64_t{reader->width()} * reader->height();
        if (format != upscale::formatNamed(PICTURE_FORMAT) || pixels > kMostPixels) return 0;
        upscale::Picture picture = reader->read();
        if (pixels == 0 || picture.width != reader->width() || picture.height != reader->height() ||
            picture.pixels.size() != pixels * upscale::Picture::kChannels) {
            std::abort();
        }
        mendMetadata(picture.tags, picture.width, picture.height);
    } catch (const upscale::Failure&) {
    }
    return 0;
}

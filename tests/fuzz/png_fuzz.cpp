// SPDX-License-Identifier: Apache-2.0
#include <zlib.h>

#include "picture_fuzz.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

// Mutates, and then sets the chunks' checksums right: else hardly anything would get past them.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned) {
    size = LLVMFuzzerMutate(data, size, most);
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
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readPicture(data, size, upscale::Format::Png);
    return 0;
}

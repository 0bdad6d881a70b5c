// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_BUFFER_KEY_H
#define UPSCALER_BUFFER_KEY_H

#include <cstdint>

namespace android {

// The cache's key for a buffer, from the address of its native buffer. It is the platform library's
// hash of an 8-byte pointer, written out so that the keys in the log are the same everywhere. The
// arithmetic is modulo 2^64 on purpose, but the shift keeps only 32 bits.
#if defined(__clang__)
__attribute__((no_sanitize("unsigned-integer-overflow")))
#endif
inline uint64_t
bufferKey(uint64_t address) {
    constexpr uint64_t kMul = 0x9ddfea08eb382d69;
    const uint64_t u = 8 + uint64_t{static_cast<uint32_t>(address << 3)};
    const uint64_t v = address >> 32;
    uint64_t x = (u ^ v) * kMul;
    x ^= x >> 47;
    uint64_t y = (v ^ x) * kMul;
    y ^= y >> 47;
    return y * kMul;
}

}  // namespace android

#endif  // UPSCALER_BUFFER_KEY_H

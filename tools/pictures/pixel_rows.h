// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_PIXEL_ROWS_H
#define UPSCALER_TOOLS_PICTURES_PIXEL_ROWS_H

#include <cstddef>
#include <cstdint>

namespace upscale {

constexpr std::size_t kPixelBytes = 4;

/// Rows of pixels of four bytes (R, G, B, A) in memory that someone else owns.
template <typename Byte>
struct PixelRows {
    Byte* data;
    std::size_t stride;  ///< In bytes.

    Byte* row(std::size_t y) const { return data + y * stride; }
    Byte* pixel(std::size_t x, std::size_t y) const { return row(y) + x * kPixelBytes; }
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PIXEL_ROWS_H

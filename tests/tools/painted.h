// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_TOOLS_PAINTED_H
#define UPSCALER_TESTS_TOOLS_PAINTED_H

#include <algorithm>
#include <array>
#include <cstdint>

#include "tools/pictures/picture.h"

using Rgba = std::array<std::uint8_t, 4>;

/// The picture whose pixels are `paint(x, y)`.
template <typename Paint>
upscale::Picture painted(std::uint32_t width, std::uint32_t height, Paint paint) {
    upscale::Picture picture(width, height);
    for (std::uint32_t i = 0; i < picture.pixelCount(); ++i) {
        const Rgba pixel = paint(i % width, i / width);
        std::copy(pixel.begin(), pixel.end(), picture.pixel(i));
    }
    return picture;
}

#endif  // UPSCALER_TESTS_TOOLS_PAINTED_H

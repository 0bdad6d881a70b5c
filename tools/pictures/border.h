// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the operations see beyond a picture's edge. Left alone, they read what the driver gives
/// there: the opposite side's colour, or black.
#ifndef UPSCALER_TOOLS_PICTURES_BORDER_H
#define UPSCALER_TOOLS_PICTURES_BORDER_H

#include <cstdint>

#include "common/size.h"
#include "pictures/picture.h"
#include "pictures/pixel_rows.h"

namespace upscale {

/// What the operations see beyond the picture's edge: its own colour, or what the driver gives.
enum class Border { Pad, Raw };

/// Pixels added on both ends of one side.
struct Padding {
    std::uint32_t source = 0;
    std::uint32_t destination = 0;
};

/// The most pixels that a padding takes to be exact, on the side that has fewer pixels.
constexpr std::uint32_t kWidestPadding = 64;

/// The padding for scaling a side of `from` pixels to `to`, neither longer than a driver takes:
/// wide enough for every pixel that an operation reads beyond the edge. The operations place
/// destination pixel i at (i + 0.5) * from / to - 0.5 of the source, so a padding whose two widths
/// are exactly as from : to leaves every inner pixel where it was. Where the narrowest such padding
/// is wider than `kWidestPadding`, the best of the narrower ones is taken: the picture then keeps
/// its centre, and is off by less than a twentieth of a source pixel at its edge.
Padding paddingFor(std::uint32_t from, std::uint32_t to);

/// Repeats the edge pixels of a picture outwards: `x` times on the left and on the right, `y` times
/// above and below.
/// @param pixels the picture with room for that around it. @param inner the picture's own size.
void repeatEdges(PixelRows<std::uint8_t> pixels, Size inner, std::uint32_t x, std::uint32_t y);

/// The picture with its edges repeated outwards.
Picture padded(Picture picture, std::uint32_t x, std::uint32_t y);

/// A part of the picture.
/// @param x, y where it begins.
Picture partOf(const Picture& picture, std::uint32_t x, std::uint32_t y, Size size);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_BORDER_H

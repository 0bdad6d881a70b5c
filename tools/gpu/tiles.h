// SPDX-License-Identifier: Apache-2.0
/// @file
/// How a picture is cut into tiles that are scaled one by one, for one of its two axes.
#ifndef UPSCALER_TOOLS_GPU_TILES_H
#define UPSCALER_TOOLS_GPU_TILES_H

#include <cstdint>
#include <vector>

namespace upscale {

/// Pixels of one axis. The first may be before the picture.
struct Stretch {
    std::int64_t begin;
    std::uint32_t length;

    std::int64_t end() const { return begin + length; }
};

/// Tiles overlap; what they keep adjoins, and is the whole destination.
struct Tile {
    Stretch source, destination;  ///< Either may reach beyond the picture.
    Stretch kept;                 ///< In the destination.
};

/// The destination pixels at each end of a tile that depend on what lies beyond it.
std::uint32_t tileMargin(std::uint32_t from, std::uint32_t to);

/// Cuts the scaling of `from` pixels to `to`. An operation places a tile's destination pixel i at
/// (i + 0.5) * source / destination - 0.5 of the tile's source. Neighbours meet on whole pixels of
/// both pictures, so that there is no step between them. If the lowest terms of from : to are
/// short, every pixel is where it is in the untiled picture. Otherwise tiles that scale by a little
/// more and a little less take turns: of at most two lengths, since a new length costs new buffers.
/// A pixel is then off by up to a sixteenth of a source pixel or so, and by more, half a pixel at
/// worst, where from : to is close to a short ratio or the tiles are small.
/// @param most the longest side, in pixels, of a tile in the source and in the destination.
/// @return no tiles if they would be too small to keep anything.
std::vector<Tile> cutAxis(std::uint32_t from, std::uint32_t to, std::uint32_t most);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_TILES_H

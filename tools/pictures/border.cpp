// SPDX-License-Identifier: Apache-2.0
#include "pictures/border.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace upscale {
namespace {

// The one way from a picture to a larger or smaller frame around the same centre: both sides grow
// by `x` and `y`, which may be negative, at each end.
Picture reframed(Picture picture, std::int64_t x, std::int64_t y) {
    if (x == 0 && y == 0) return picture;
    Picture result(static_cast<std::uint32_t>(picture.width + 2 * x),
                   static_cast<std::uint32_t>(picture.height + 2 * y));
    result.grey = picture.grey;
    result.tags = picture.tags;
    const std::int64_t lastX = std::int64_t{picture.width} - 1;
    const std::int64_t lastY = std::int64_t{picture.height} - 1;
    for (std::int64_t row = 0; row < result.height; ++row) {
        const auto sourceRow =
                static_cast<std::size_t>(std::clamp<std::int64_t>(row - y, 0, lastY));
        const std::uint8_t* from = picture.row(sourceRow);
        std::uint8_t* to = result.row(static_cast<std::size_t>(row));
        for (std::int64_t column = 0; column < result.width; ++column, to += Picture::kChannels) {
            const std::int64_t at = std::clamp<std::int64_t>(column - x, 0, lastX);
            std::copy_n(from + static_cast<std::size_t>(at) * Picture::kChannels,
                        Picture::kChannels, to);
        }
    }
    return result;
}

}  // namespace

Padding paddingFor(std::uint32_t from, std::uint32_t to) {
    // The last pass reads one destination pixel beyond the edge, and the scaling reads up to two
    // source pixels past the one at that pixel's position.
    const std::uint32_t leastSource = from < to ? 2 : (from - to) / (2 * to) + 3;
    const bool grows = from < to;
    const std::uint32_t fewer = std::min(from, to);
    const std::uint32_t more = std::max(from, to);
    const std::uint32_t least = grows ? leastSource : (leastSource * to + from - 1) / from;

    // On the side that has fewer pixels.
    const std::uint32_t exactStep = fewer / std::gcd(from, to);
    std::uint32_t best = (least + exactStep - 1) / exactStep * exactStep;
    const auto onOther = [=](std::uint32_t width) { return (width * more + fewer / 2) / fewer; };
    if (best > kWidestPadding) {
        const auto error = [&](std::uint32_t width) {
            return std::abs(std::int64_t{width} * more - std::int64_t{onOther(width)} * fewer);
        };
        best = least;
        for (std::uint32_t width = least + 1; width <= kWidestPadding; ++width) {
            if (error(width) < error(best)) best = width;
        }
    }
    return grows ? Padding{best, onOther(best)} : Padding{onOther(best), best};
}

Picture padded(Picture picture, std::uint32_t x, std::uint32_t y) {
    return reframed(std::move(picture), x, y);
}

Picture cropped(Picture picture, std::uint32_t x, std::uint32_t y) {
    return reframed(std::move(picture), -std::int64_t{x}, -std::int64_t{y});
}

}  // namespace upscale

// SPDX-License-Identifier: Apache-2.0
#include "pictures/border.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace upscale {
Padding paddingFor(std::uint32_t from, std::uint32_t to) {
    // The last pass reads one destination pixel beyond the edge, and the scaling reads up to two
    // source pixels past the one at that pixel's position.
    const std::uint64_t from64 = from;
    const std::uint64_t leastSource = from < to ? 2 : (from - to) / (2 * std::uint64_t{to}) + 3;
    const bool grows = from < to;
    const std::uint64_t fewer = std::min(from, to);
    const std::uint64_t more = std::max(from, to);
    const std::uint64_t least = grows ? leastSource : (leastSource * to + from64 - 1) / from64;

    // On the side that has fewer pixels.
    const std::uint64_t exactStep = fewer / std::gcd(from, to);
    std::uint64_t best = (least + exactStep - 1) / exactStep * exactStep;
    const auto onOther = [=](std::uint64_t width) { return (width * more + fewer / 2) / fewer; };
    if (best > kWidestPadding) {
        const auto error = [&](std::uint64_t width) {
            const std::uint64_t exact = width * more;
            const std::uint64_t rounded = onOther(width) * fewer;
            return exact > rounded ? exact - rounded : rounded - exact;
        };
        best = least;
        for (std::uint64_t width = least + 1; width <= kWidestPadding; ++width) {
            if (error(width) < error(best)) best = width;
        }
    }
    const auto onFewer = static_cast<std::uint32_t>(best);
    const auto onMore = static_cast<std::uint32_t>(onOther(best));
    return grows ? Padding{onFewer, onMore} : Padding{onMore, onFewer};
}

void repeatEdges(PixelRows<std::uint8_t> pixels, Size inner, std::uint32_t x, std::uint32_t y) {
    const std::uint32_t right = x + inner.width - 1;
    const std::uint32_t bottom = y + inner.height - 1;
    for (std::uint32_t row = y; row <= bottom; ++row) {
        for (std::uint32_t i = 1; i <= x; ++i) {
            std::copy_n(pixels.pixel(x, row), kPixelBytes, pixels.pixel(x - i, row));
            std::copy_n(pixels.pixel(right, row), kPixelBytes, pixels.pixel(right + i, row));
        }
    }
    const std::size_t wholeRow = (std::size_t{inner.width} + 2 * std::size_t{x}) * kPixelBytes;
    for (std::uint32_t i = 1; i <= y; ++i) {
        std::copy_n(pixels.row(y), wholeRow, pixels.row(y - i));
        std::copy_n(pixels.row(bottom), wholeRow, pixels.row(bottom + i));
    }
}

Picture padded(Picture picture, std::uint32_t x, std::uint32_t y) {
    if (x == 0 && y == 0) return picture;
    Picture result(picture.width + 2 * x, picture.height + 2 * y);
    result.grey = picture.grey;
    result.tags = std::move(picture.tags);
    const PixelRows<std::uint8_t> rows = {result.pixels.data(), result.rowBytes()};
    for (std::uint32_t row = 0; row < picture.height; ++row)
        std::copy_n(picture.row(row), picture.rowBytes(), rows.pixel(x, y + row));
    repeatEdges(rows, {picture.width, picture.height}, x, y);
    return result;
}

Picture partOf(const Picture& picture, std::uint32_t x, std::uint32_t y, Size size) {
    Picture result(size.width, size.height);
    result.grey = picture.grey;
    result.tags = picture.tags;
    for (std::uint32_t row = 0; row < size.height; ++row) {
        std::copy_n(picture.row(y + row) + x * Picture::kChannels, result.rowBytes(),
                    result.row(row));
    }
    return result;
}

}  // namespace upscale

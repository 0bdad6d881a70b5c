// SPDX-License-Identifier: Apache-2.0
#include "pictures/alpha.h"

#include <algorithm>

namespace upscale {
namespace {

// Calls `visit` with the index of each of the up to eight neighbours of a pixel.
template <typename Visit>
void forNeighbours(const Picture& picture, std::size_t index, const Visit& visit) {
    const std::size_t x = index % picture.width;
    const std::size_t y = index / picture.width;
    const std::size_t right = std::min<std::size_t>(x + 1, picture.width - 1);
    const std::size_t bottom = std::min<std::size_t>(y + 1, picture.height - 1);
    for (std::size_t ny = y - (y > 0 ? 1 : 0); ny <= bottom; ++ny) {
        for (std::size_t nx = x - (x > 0 ? 1 : 0); nx <= right; ++nx) {
            if (nx != x || ny != y) visit(ny * picture.width + nx);
        }
    }
}

// The one or two pixels of the source between which a pixel of the result lies.
struct Pair {
    std::size_t first, second;
};

std::vector<Pair> pairsRead(std::uint32_t from, std::uint32_t to) {
    std::vector<Pair> pairs;
    pairs.reserve(to);
    for (std::uint32_t i = 0; i < to; ++i) {
        // In units of 1 / (2 * to), and half a pixel to the right.
        const std::uint64_t at = (2 * std::uint64_t{i} + 1) * from;
        const std::uint64_t pixel = 2 * std::uint64_t{to};
        const std::uint64_t first = at > to ? (at - to) / pixel : 0;
        const std::uint64_t second = at > to ? (at - to + pixel - 1) / pixel : 0;
        pairs.push_back({first, std::min<std::uint64_t>(second, from - 1)});
    }
    return pairs;
}

}  // namespace

bool hasTransparency(const std::uint8_t* pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (pixels[i * Picture::kChannels + 3] != Picture::kOpaque) return true;
    }
    return false;
}

bool hasTransparency(const Picture& picture) {
    return hasTransparency(picture.pixels.data(), picture.pixelCount());
}

Picture alphaAsGrey(const Picture& picture) {
    Picture grey(picture.width, picture.height);
    grey.grey = true;
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        std::fill_n(grey.pixel(i), 3, picture.alpha(i));
        grey.alpha(i) = Picture::kOpaque;
    }
    return grey;
}

Picture premultiplied(const Picture& picture) {
    Picture result(picture.width, picture.height);
    result.grey = picture.grey;
    result.tags = picture.tags;
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        const unsigned alpha = picture.alpha(i);
        for (std::size_t c = 0; c < 3; ++c) {
            result.pixel(i)[c] = static_cast<std::uint8_t>(
                    (picture.pixel(i)[c] * alpha + Picture::kOpaque / 2) / Picture::kOpaque);
        }
        result.alpha(i) = Picture::kOpaque;
    }
    return result;
}

void setAlpha(Picture& picture, const Picture& alpha, const Picture& source) {
    const std::vector<Pair> columns = pairsRead(source.width, picture.width);
    const std::vector<Pair> rows = pairsRead(source.height, picture.height);
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            const auto opaque = [&](std::size_t column, std::size_t row) {
                return source.alpha(row * source.width + column) == Picture::kOpaque;
            };
            const auto [left, right] = columns[x];
            const auto [above, below] = rows[y];
            const std::size_t i = y * picture.width + x;
            picture.alpha(i) = opaque(left, above) && opaque(right, above) && opaque(left, below) &&
                                               opaque(right, below)
                                       ? Picture::kOpaque
                                       : alpha.pixel(i)[0];
        }
    }
}

void dividePremultiplied(Picture& picture) {
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        const unsigned alpha = picture.alpha(i);
        if (alpha == 0) continue;
        for (std::size_t c = 0; c < 3; ++c) {
            const unsigned value =
                    (picture.pixel(i)[c] * unsigned{Picture::kOpaque} + alpha / 2) / alpha;
            picture.pixel(i)[c] =
                    static_cast<std::uint8_t>(std::min<unsigned>(value, Picture::kOpaque));
        }
    }
}

void colourHidden(Picture& picture) {
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        if (picture.alpha(i) != 0) continue;
        unsigned sum[3] = {};
        unsigned count = 0;
        forNeighbours(picture, i, [&](std::size_t n) {
            if (picture.alpha(n) == 0) return;
            for (std::size_t c = 0; c < 3; ++c) {
                sum[c] += picture.pixel(n)[c];
            }
            ++count;
        });
        for (std::size_t c = 0; c < 3; ++c) {
            picture.pixel(i)[c] =
                    static_cast<std::uint8_t>(count == 0 ? 0 : (sum[c] + count / 2) / count);
        }
    }
}

void bleedColours(Picture& picture) {
    // Rings around the visible pixels, each coloured from the rings before it: the mean keeps the
    // smear of two differently coloured shapes smooth where they meet.
    enum : std::uint8_t { kHidden, kQueued, kColoured };
    std::vector<std::uint8_t> state(picture.pixelCount());
    for (std::size_t i = 0; i < state.size(); ++i) {
        state[i] = picture.alpha(i) == 0 ? kHidden : kColoured;
    }
    std::vector<std::size_t> ring;
    std::vector<std::size_t> next;
    const auto queueHiddenAround = [&](std::size_t index) {
        forNeighbours(picture, index, [&](std::size_t n) {
            if (state[n] != kHidden) return;
            state[n] = kQueued;
            next.push_back(n);
        });
    };
    for (std::size_t i = 0; i < state.size(); ++i) {
        if (state[i] == kColoured) queueHiddenAround(i);
    }
    while (!next.empty()) {
        ring.swap(next);
        next.clear();
        for (const std::size_t index : ring) {
            unsigned sum[3] = {};
            unsigned count = 0;
            forNeighbours(picture, index, [&](std::size_t n) {
                if (state[n] != kColoured) return;
                for (std::size_t c = 0; c < 3; ++c) {
                    sum[c] += picture.pixel(n)[c];
                }
                ++count;
            });
            for (std::size_t c = 0; c < 3; ++c) {
                picture.pixel(index)[c] = static_cast<std::uint8_t>((sum[c] + count / 2) / count);
            }
        }
        // Only now, so that a pixel of this ring does not depend on the order within it.
        for (const std::size_t index : ring) {
            state[index] = kColoured;
        }
        for (const std::size_t index : ring) {
            queueHiddenAround(index);
        }
    }
}

}  // namespace upscale

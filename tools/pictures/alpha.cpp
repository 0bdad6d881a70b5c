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

}  // namespace

bool hasTransparency(const Picture& picture) {
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        if (picture.alpha(i) != Picture::kOpaque) return true;
    }
    return false;
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

void setAlpha(Picture& picture, const Picture& grey) {
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        picture.alpha(i) = grey.pixel(i)[0];
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

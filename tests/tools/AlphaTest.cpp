// SPDX-License-Identifier: Apache-2.0
#include "tools/pictures/alpha.h"

#include <gtest/gtest.h>

#include "painted.h"

namespace {

using upscale::Picture;

constexpr Rgba kRed = {250, 10, 20, 255};
constexpr Rgba kBlue = {0, 20, 240, 255};
constexpr Rgba kFaintBlue = {0, 20, 240, 1};
constexpr Rgba kHidden = {0, 255, 0, 0};
constexpr Rgba kHiddenRed = {250, 10, 20, 0};
constexpr Rgba kHiddenBlue = {0, 20, 240, 0};

Picture rowOf(const std::vector<Rgba>& pixels) {
    return painted(static_cast<std::uint32_t>(pixels.size()), 1,
                   [&](unsigned x, unsigned) { return pixels[x]; });
}

TEST(AlphaTest, HiddenColoursBecomeTheNearestVisible) {
    Picture row = rowOf({kHidden, kRed, kHidden, kHidden, kHidden, kFaintBlue, kHidden});
    bleedColours(row);
    const Rgba half = {125, 15, 130, 0};
    EXPECT_EQ(row.pixels,
              rowOf({kHiddenRed, kRed, kHiddenRed, half, kHiddenBlue, kFaintBlue, kHiddenBlue})
                      .pixels);
    Picture nothingVisible = rowOf({kHidden, kHidden});
    bleedColours(nothingVisible);
    EXPECT_EQ(nothingVisible.pixels, rowOf({kHidden, kHidden}).pixels);
}

TEST(AlphaTest, BleedingReachesEveryCorner) {
    for (const auto& [width, height] : {std::pair{9u, 5u}, {1u, 12u}, {12u, 1u}, {1u, 1u}}) {
        const auto redAmid = [seedX = width / 3, seedY = height / 3](const Rgba& others) {
            return [=](unsigned x, unsigned y) { return x == seedX && y == seedY ? kRed : others; };
        };
        Picture picture = painted(width, height, redAmid(kHidden));
        bleedColours(picture);
        EXPECT_EQ(picture.pixels, painted(width, height, redAmid(kHiddenRed)).pixels)
                << width << "x" << height;
    }
}

TEST(AlphaTest, AlphaGoesApartAndComesBack) {
    const Picture row = rowOf({kRed, kFaintBlue, kHidden});
    EXPECT_TRUE(hasTransparency(row));
    EXPECT_FALSE(hasTransparency(rowOf({kRed, kBlue})));
    const Picture alpha = alphaAsGrey(row);
    EXPECT_TRUE(alpha.grey);
    EXPECT_EQ(alpha.pixels, rowOf({{255, 255, 255, 255}, {1, 1, 1, 255}, {0, 0, 0, 255}}).pixels);
    Picture opaque = rowOf({kRed, kBlue, {0, 255, 0, 255}});
    setAlpha(opaque, alpha, row);
    EXPECT_EQ(opaque.pixels, row.pixels);
}

// Only the pixels between which a pixel lies count, and 254 is not opaque.
TEST(AlphaTest, WhatIsOpaqueStaysSo) {
    const auto alphasAfter = [](std::vector<std::uint8_t> before, std::size_t count) {
        std::vector<Rgba> pixels;
        for (const std::uint8_t alpha : before)
            pixels.push_back({9, 9, 9, alpha});
        const std::vector<Rgba> scaled(count, {254, 254, 254, 255});
        Picture result = rowOf(scaled);
        setAlpha(result, rowOf(scaled), rowOf(pixels));
        std::vector<int> after;
        for (std::size_t i = 0; i < count; ++i)
            after.push_back(result.alpha(i));
        return after;
    };
    using Alphas = std::vector<int>;
    EXPECT_EQ(alphasAfter({255, 255, 254}, 3), (Alphas{255, 255, 254}));
    EXPECT_EQ(alphasAfter({255, 255, 254}, 6), (Alphas{255, 255, 255, 254, 254, 254}));
    EXPECT_EQ(alphasAfter({255, 255, 255, 0}, 2), (Alphas{255, 254}));
}

TEST(AlphaTest, ColoursAreMultipliedByAlphaAndBack) {
    const Picture row = rowOf({kRed, {200, 100, 0, 51}, {255, 90, 3, 254}, kHidden});
    Picture result = premultiplied(row);
    EXPECT_EQ(result.pixels,
              rowOf({kRed, {40, 20, 0, 255}, {254, 90, 3, 255}, {0, 0, 0, 255}}).pixels);
    setAlpha(result, alphaAsGrey(row), row);
    dividePremultiplied(result);
    EXPECT_EQ(result.pixels,
              rowOf({kRed, {200, 100, 0, 51}, {255, 90, 3, 254}, {0, 0, 0, 0}}).pixels);
    // Sharpening may make a colour brighter than its alpha.
    Picture bright = rowOf({{100, 20, 0, 51}});
    dividePremultiplied(bright);
    EXPECT_EQ(bright.pixels, rowOf({{255, 100, 0, 51}}).pixels);
}

TEST(AlphaTest, HiddenPixelsTakeTheColoursThatTouchThem) {
    Picture row = rowOf({kHidden, kHidden, kRed, kHidden, kBlue, kHidden});
    colourHidden(row);
    EXPECT_EQ(
            row.pixels,
            rowOf({{0, 0, 0, 0}, kHiddenRed, kRed, {125, 15, 130, 0}, kBlue, kHiddenBlue}).pixels);
}

}  // namespace

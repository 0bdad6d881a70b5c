// SPDX-License-Identifier: Apache-2.0
#include "tools/alpha.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using upscale::Picture;
using Pixel = std::array<std::uint8_t, 4>;

constexpr Pixel kRed = {250, 10, 20, 255};
constexpr Pixel kBlue = {0, 20, 240, 255};
constexpr Pixel kFaintBlue = {0, 20, 240, 1};
constexpr Pixel kHidden = {0, 255, 0, 0};

Picture rowOf(const std::vector<Pixel>& pixels) {
    Picture picture(static_cast<std::uint32_t>(pixels.size()), 1);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        std::copy(pixels[i].begin(), pixels[i].end(), picture.pixel(i));
    }
    return picture;
}

Pixel hidden(const Pixel& colour) {
    return {colour[0], colour[1], colour[2], 0};
}

TEST(AlphaTest, HiddenColoursBecomeTheNearestVisible) {
    Picture row = rowOf({kHidden, kRed, kHidden, kHidden, kHidden, kFaintBlue, kHidden});
    bleedColours(row);
    const Pixel half = {125, 15, 130, 0};
    EXPECT_EQ(row.pixels, rowOf({hidden(kRed), kRed, hidden(kRed), half, hidden(kBlue), kFaintBlue,
                                 hidden(kBlue)})
                                  .pixels);
}

TEST(AlphaTest, BleedingReachesEveryCorner) {
    for (const auto& [width, height] : {std::pair{9u, 5u}, {1u, 12u}, {12u, 1u}, {1u, 1u}}) {
        Picture picture(width, height);
        const std::size_t seed = picture.pixelCount() / 3;
        std::copy(kRed.begin(), kRed.end(), picture.pixel(seed));
        bleedColours(picture);
        for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
            const Pixel expected = i == seed ? kRed : hidden(kRed);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), picture.pixel(i)))
                    << width << "x" << height << ", pixel " << i;
        }
    }
}

TEST(AlphaTest, NothingVisibleNothingToBleed) {
    Picture row = rowOf({kHidden, kHidden});
    bleedColours(row);
    EXPECT_EQ(row.pixels, rowOf({kHidden, kHidden}).pixels);
}

TEST(AlphaTest, AlphaGoesApartAndComesBack) {
    Picture row = rowOf({kRed, kFaintBlue, kHidden});
    EXPECT_TRUE(hasTransparency(row));
    EXPECT_FALSE(hasTransparency(rowOf({kRed, kBlue})));
    const Picture alpha = alphaAsGrey(row);
    EXPECT_TRUE(alpha.grey);
    EXPECT_EQ(alpha.pixels, rowOf({{255, 255, 255, 255}, {1, 1, 1, 255}, {0, 0, 0, 255}}).pixels);
    Picture opaque = rowOf({kRed, kBlue, {0, 255, 0, 255}});
    setAlpha(opaque, alpha);
    EXPECT_EQ(opaque.pixels, row.pixels);
}

}  // namespace

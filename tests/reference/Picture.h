// SPDX-License-Identifier: Apache-2.0
/// @file
/// 8-bit RGB pictures that know which of their pixels are defined, and passes that draw them.
#ifndef UPSCALER_TESTS_REFERENCE_PICTURE_H
#define UPSCALER_TESTS_REFERENCE_PICTURE_H

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace reference {

using Rgb = std::array<float, 3>;
using Rgb8 = std::array<uint8_t, 3>;

/// Applies a function of numbers to the colours' channels, one after the other.
template <typename Function, typename... Colours>
Rgb perChannel(Function function, const Colours&... colours) {
    return {function(colours[0]...), function(colours[1]...), function(colours[2]...)};
}
inline Rgb operator+(const Rgb& a, const Rgb& b) {
    return perChannel(std::plus<>(), a, b);
}
inline Rgb operator*(float factor, const Rgb& colour) {
    return perChannel([=](float value) { return factor * value; }, colour);
}

struct Size {
    int width;
    int height;
};

struct Pixel {
    Rgb8 colour{};
    bool isDefined = true;  ///< False if GL leaves the value open.
};

struct Picture {
    Size size;
    std::vector<Pixel> pixels;  ///< Row 0 first.

    const Pixel& at(int x, int y) const {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(size.width) +
                      static_cast<size_t>(x)];
    }
    /// Writes a binary PPM file.
    void save(const std::string& path) const;
};

/// The picture whose pixels are `paint(x, y)`.
template <typename Paint>
Picture painted(Size size, Paint paint) {
    Picture picture = {size, {}};
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x)
            picture.pixels.push_back(paint(x, y));
    }
    return picture;
}

/// Difference of channel values, in steps of 8 bits: measured, or allowed.
struct Tolerance {
    int worst = 0;
    double mean = 0.0;  ///< Over all channels of all defined pixels.
};

/// Compares where `expected` is defined. A failure leaves NAME-actual.ppm, NAME-expected.ppm and
/// NAME-difference.ppm (enlarged, undefined pixels blue) in the working directory. `largest`, if
/// not null, is raised to the difference found.
testing::AssertionResult matches(const Picture& actual, const Picture& expected,
                                 const Tolerance& tolerance, const std::string& name,
                                 Tolerance* largest = nullptr);

/// One pixel of a pass whose target covers the whole source: what it reads, and whether all of that
/// is defined.
struct Fragment {
    const Picture& source;
    Size target;
    int x;
    int y;
    /// To be cleared as well when the pixel depends on a decision that GL leaves open.
    bool isDefined = true;

    /// An unfiltered texel; outside the picture it is undefined.
    Rgb texel(int column, int row);
    /// A texel under the repeat wrap mode.
    Rgb repeated(int column, int row);
    /// Samples at the pixel's centre.
    Rgb nearest();
    Rgb linear();  ///< Clamped to the edge.
};

/// What an 8-bit normalised target keeps: clamped to 0..1, rounded to the nearest step.
Pixel stored(const Rgb& colour, bool isDefined);

/// Runs one full-screen pass: `shade(fragment)` gives the colour of each pixel of the target.
template <typename Shade>
Picture draw(const Picture& source, Size target, Shade shade) {
    return painted(target, [&](int x, int y) {
        Fragment fragment = {source, target, x, y};
        const Rgb colour = shade(fragment);
        return stored(colour, fragment.isDefined);
    });
}

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_PICTURE_H

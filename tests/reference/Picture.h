// SPDX-License-Identifier: Apache-2.0
/// @file
/// 8-bit RGB pictures that know which of their pixels are defined, and what a pixel of a pass
/// reads.
#ifndef UPSCALER_TESTS_REFERENCE_PICTURE_H
#define UPSCALER_TESTS_REFERENCE_PICTURE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace reference {

using Rgb = std::array<float, 3>;
using Rgb8 = std::array<uint8_t, 3>;

struct Size {
    int width = 0;
    int height = 0;
};

/// Row 0 first. A pixel is undefined if GL leaves its value open; all start out black and defined.
class Picture {
  public:
    explicit Picture(Size size) : mSize(size), mPixels(count(size)), mDefined(count(size), true) {}

    Size size() const { return mSize; }
    bool contains(int x, int y) const {
        return x >= 0 && y >= 0 && x < mSize.width && y < mSize.height;
    }
    Rgb8& at(int x, int y) { return mPixels[index(x, y)]; }
    const Rgb8& at(int x, int y) const { return mPixels[index(x, y)]; }
    bool isDefined(int x, int y) const { return mDefined[index(x, y)]; }

    /// Writes as an 8-bit normalised target does: clamped to 0..1, rounded to the nearest step.
    void store(int x, int y, const Rgb& colour, bool defined);

    /// Writes a binary PPM file.
    void save(const std::string& path) const;

  private:
    static size_t count(Size size) {
        return static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    }
    size_t index(int x, int y) const {
        return static_cast<size_t>(y) * static_cast<size_t>(mSize.width) + static_cast<size_t>(x);
    }

    Size mSize;
    std::vector<Rgb8> mPixels;
    std::vector<bool> mDefined;
};

/// What one pixel of a pass reads, and whether all of that is defined.
class Taps {
  public:
    explicit Taps(const Picture& source) : mSource(source) {}

    /// An unfiltered texel; outside the picture it is undefined.
    Rgb texel(int x, int y);
    /// A texel under the repeat wrap mode.
    Rgb repeated(int x, int y);
    /// Samples at the centre of pixel (x, y) of a `target` that covers the whole picture.
    Rgb nearest(int x, int y, Size target);
    Rgb linear(int x, int y, Size target);  ///< Clamped to the edge.

    /// To be called when a pixel depends on a decision that GL leaves open.
    void leaveOut() { mDefined = false; }
    bool areDefined() const { return mDefined; }
    Size size() const { return mSource.size(); }

  private:
    const Picture& mSource;
    bool mDefined = true;
};

/// Runs one full-screen pass: `shade(taps, x, y)` gives the colour of each pixel of the target.
template <typename Shade>
Picture draw(const Picture& source, Size target, Shade shade) {
    Picture result(target);
    for (int y = 0; y < target.height; ++y) {
        for (int x = 0; x < target.width; ++x) {
            Taps taps(source);
            const Rgb colour = shade(taps, x, y);
            result.store(x, y, colour, taps.areDefined());
        }
    }
    return result;
}

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_PICTURE_H

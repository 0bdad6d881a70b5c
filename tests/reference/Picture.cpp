// SPDX-License-Identifier: Apache-2.0
#include "reference/Picture.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace reference {
namespace {

// Nearest sampling closer than this to the border of two texels may give either: coordinates are
// interpolated, and samplers may work with as few as 8 bits below the texel.
constexpr double kSubTexel = 1.0 / 256.0;

// Position of a pixel's centre, in texels with borders on whole numbers.
double positionIn(int sourceExtent, int pixel, int targetExtent) {
    return (pixel + 0.5) * sourceExtent / targetExtent;
}

int wrap(int position, int extent) {
    return ((position % extent) + extent) % extent;
}

float mix(float from, float to, float share) {
    return from * (1.0f - share) + to * share;
}

}  // namespace

void Picture::store(int x, int y, const Rgb& colour, bool defined) {
    for (size_t channel = 0; channel < colour.size(); ++channel) {
        const float value = colour[channel];
        defined = defined && !std::isnan(value);
        const float step = std::isnan(value) ? 0.0f : std::clamp(value, 0.0f, 1.0f) * 255.0f;
        at(x, y)[channel] = static_cast<uint8_t>(std::lround(step));
    }
    mDefined[index(x, y)] = defined;
}

void Picture::save(const std::string& path) const {
    std::ofstream file(path, std::ios::binary);
    file << "P6\n" << mSize.width << ' ' << mSize.height << "\n255\n";
    for (const Rgb8& pixel : mPixels) {
        file.write(reinterpret_cast<const char*>(pixel.data()),
                   static_cast<std::streamsize>(pixel.size()));
    }
}

Rgb Taps::texel(int x, int y) {
    if (!mSource.contains(x, y) || !mSource.isDefined(x, y)) {
        leaveOut();
        return {};
    }
    const Rgb8& steps = mSource.at(x, y);
    return {static_cast<float>(steps[0]) / 255.0f, static_cast<float>(steps[1]) / 255.0f,
            static_cast<float>(steps[2]) / 255.0f};
}

Rgb Taps::repeated(int x, int y) {
    return texel(wrap(x, size().width), wrap(y, size().height));
}

Rgb Taps::nearest(int x, int y, Size target) {
    const double u = positionIn(size().width, x, target.width);
    const double v = positionIn(size().height, y, target.height);
    for (double position : {u, v}) {
        if (std::abs(position - std::round(position)) < kSubTexel) leaveOut();
    }
    return texel(static_cast<int>(u), static_cast<int>(v));
}

Rgb Taps::linear(int x, int y, Size target) {
    const double u = positionIn(size().width, x, target.width) - 0.5;
    const double v = positionIn(size().height, y, target.height) - 0.5;
    const int left = static_cast<int>(std::floor(u));
    const int top = static_cast<int>(std::floor(v));
    const auto clamped = [this](int column, int row) {
        return texel(std::clamp(column, 0, size().width - 1),
                     std::clamp(row, 0, size().height - 1));
    };
    const Rgb upper[] = {clamped(left, top), clamped(left + 1, top)};
    const Rgb lower[] = {clamped(left, top + 1), clamped(left + 1, top + 1)};
    const float across = static_cast<float>(u - left);
    const float down = static_cast<float>(v - top);
    Rgb result{};
    for (size_t channel = 0; channel < result.size(); ++channel) {
        result[channel] = mix(mix(upper[0][channel], upper[1][channel], across),
                              mix(lower[0][channel], lower[1][channel], across), down);
    }
    return result;
}

}  // namespace reference

// SPDX-License-Identifier: Apache-2.0
#include "reference/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
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

Rgb mix(const Rgb& from, const Rgb& to, float share) {
    return (1.0f - share) * from + share * to;
}

}  // namespace

void Picture::save(const std::string& path) const {
    std::ofstream file(path, std::ios::binary);
    file << "P6\n" << size.width << ' ' << size.height << "\n255\n";
    for (const Pixel& pixel : pixels) {
        for (const uint8_t channel : pixel.colour)
            file.put(static_cast<char>(channel));
    }
}

testing::AssertionResult matches(const Picture& actual, const Picture& expected,
                                 const Tolerance& tolerance, const std::string& name,
                                 Tolerance* largest) {
    constexpr int kEnlargement = 32;
    int worst = 0;
    int worstX = 0;
    int worstY = 0;
    int sum = 0;
    int channels = 0;
    const Picture difference = painted(expected.size, [&](int x, int y) {
        if (!expected.at(x, y).isDefined) return Pixel{{0, 0, 255}};
        Pixel pixel;
        for (size_t c = 0; c < pixel.colour.size(); ++c) {
            const int steps = std::abs(actual.at(x, y).colour[c] - expected.at(x, y).colour[c]);
            pixel.colour[c] = static_cast<uint8_t>(std::min(255, kEnlargement * steps));
            sum += steps;
            ++channels;
            if (steps > worst) {
                worst = steps;
                worstX = x;
                worstY = y;
            }
        }
        return pixel;
    });
    const double mean = static_cast<double>(sum) / std::max(channels, 1);
    if (largest != nullptr) {
        *largest = {std::max(largest->worst, worst), std::max(largest->mean, mean)};
    }
    if (worst <= tolerance.worst && mean <= tolerance.mean) return testing::AssertionSuccess();
    actual.save(name + "-actual.ppm");
    expected.save(name + "-expected.ppm");
    difference.save(name + "-difference.ppm");
    return testing::AssertionFailure()
           << name << ": worst difference " << worst << " at (" << worstX << ", " << worstY
           << "), allowed " << tolerance.worst << "; mean " << mean << ", allowed "
           << tolerance.mean << ". See " << name
           << "-{actual,expected,difference}.ppm in the working directory.";
}

Pixel stored(const Rgb& colour, bool isDefined) {
    Pixel pixel = {{}, isDefined};
    for (size_t c = 0; c < colour.size(); ++c) {
        if (std::isnan(colour[c])) {
            pixel.isDefined = false;
        } else {
            const float step = std::clamp(colour[c], 0.0f, 1.0f) * 255.0f;
            pixel.colour[c] = static_cast<uint8_t>(std::lround(step));
        }
    }
    return pixel;
}

Rgb Fragment::texel(int column, int row) {
    const bool isInside =
            column >= 0 && row >= 0 && column < source.size.width && row < source.size.height;
    if (!isInside || !source.at(column, row).isDefined) {
        isDefined = false;
        return {};
    }
    return perChannel([](uint8_t step) { return static_cast<float>(step) / 255.0f; },
                      source.at(column, row).colour);
}

Rgb Fragment::repeated(int column, int row) {
    return texel(wrap(column, source.size.width), wrap(row, source.size.height));
}

Rgb Fragment::nearest() {
    const double u = positionIn(source.size.width, x, target.width);
    const double v = positionIn(source.size.height, y, target.height);
    for (double position : {u, v}) {
        if (std::abs(position - std::round(position)) < kSubTexel) isDefined = false;
    }
    return texel(static_cast<int>(u), static_cast<int>(v));
}

Rgb Fragment::linear() {
    const double u = positionIn(source.size.width, x, target.width) - 0.5;
    const double v = positionIn(source.size.height, y, target.height) - 0.5;
    const int left = static_cast<int>(std::floor(u));
    const int top = static_cast<int>(std::floor(v));
    const auto clamped = [this](int column, int row) {
        return texel(std::clamp(column, 0, source.size.width - 1),
                     std::clamp(row, 0, source.size.height - 1));
    };
    const float across = static_cast<float>(u - left);
    return mix(mix(clamped(left, top), clamped(left + 1, top), across),
               mix(clamped(left, top + 1), clamped(left + 1, top + 1), across),
               static_cast<float>(v - top));
}

}  // namespace reference

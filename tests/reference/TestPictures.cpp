// SPDX-License-Identifier: Apache-2.0
#include "reference/TestPictures.h"

#include <random>

namespace reference {
namespace {

template <typename Paint>
Picture painted(Size size, Paint paint) {
    Picture picture(size);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x)
            picture.at(x, y) = paint(x, y);
    }
    return picture;
}

Picture noiseIn(Size size, uint32_t lowest, uint32_t highest) {
    std::mt19937 random(20240229);
    const auto next = [&] {
        return static_cast<uint8_t>(lowest + random() % (highest - lowest + 1));
    };
    return painted(size, [&](int, int) {
        // The order in which braces are evaluated is fixed.
        return Rgb8{next(), next(), next()};
    });
}

// The first steps above black and below white, where the room for sharpening is used up.
Picture nearBlack(Size size) {
    return noiseIn(size, 0, 12);
}
Picture nearWhite(Size size) {
    return noiseIn(size, 243, 255);
}

Picture lines(Size size) {
    return painted(size, [](int x, int y) -> Rgb8 {
        if (x == y) return {20, 200, 90};
        if (x % 7 == 3) return {230, 240, 250};
        if (y % 9 == 4) return {250, 40, 60};
        return {24, 24, 24};
    });
}

Picture primaries(Size size) {
    return painted(size, [](int x, int y) -> Rgb8 {
        const int colour = x / 6 + 3 * (y / 5);
        const auto channel = [colour](int bit) {
            return static_cast<uint8_t>((colour >> bit & 1) * 255);
        };
        return {channel(0), channel(1), channel(2)};
    });
}

// Luma must change along x and y, or EASU has nothing to decide by.
Picture gradient(Size size) {
    return painted(size, [size](int x, int y) -> Rgb8 {
        const auto ramp = [](int at, int last) { return static_cast<uint8_t>(255 * at / last); };
        return {ramp(x, size.width - 1), ramp(y, size.height - 1),
                ramp(x + y, size.width + size.height - 2)};
    });
}

Picture checkerboard(Size size) {
    return painted(size, [size](int x, int y) -> Rgb8 {
        const bool isLight = (x + y) % 2 == 0;
        if (x < size.width / 2) return isLight ? Rgb8{255, 255, 255} : Rgb8{0, 0, 0};
        return isLight ? Rgb8{220, 225, 210} : Rgb8{30, 35, 20};
    });
}

Picture black(Size size) {
    return flat(size, {0, 0, 0});
}
Picture white(Size size) {
    return flat(size, {255, 255, 255});
}
Picture grey(Size size) {
    return flat(size, {128, 128, 128});
}

}  // namespace

const std::vector<NamedPicture>& testPictures() {
    static const std::vector<NamedPicture> pictures = {
            {"noise", noise}, {"nearBlack", nearBlack},       {"nearWhite", nearWhite},
            {"lines", lines}, {"primaries", primaries},       {"gradient", gradient},
            {"black", black}, {"checkerboard", checkerboard}, {"white", white},
            {"grey", grey},
    };
    return pictures;
}

Picture noise(Size size) {
    return noiseIn(size, 0, 255);
}

Picture flat(Size size, const Rgb8& colour) {
    return painted(size, [&](int, int) { return colour; });
}

}  // namespace reference

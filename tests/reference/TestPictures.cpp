// SPDX-License-Identifier: Apache-2.0
#include "reference/TestPictures.h"

#include <random>

namespace reference {
namespace {

template <uint32_t lowest, uint32_t highest>
Picture noise(Size size) {
    std::mt19937 random(20240229);
    const auto next = [&] {
        return static_cast<uint8_t>(lowest + random() % (highest - lowest + 1));
    };
    // The order in which braces are evaluated is fixed.
    return painted(size, [&](int, int) { return Pixel{{next(), next(), next()}}; });
}

Picture lines(Size size) {
    return painted(size, [](int x, int y) -> Pixel {
        if (x == y) return {{20, 200, 90}};
        if (x % 7 == 3) return {{230, 240, 250}};
        if (y % 9 == 4) return {{250, 40, 60}};
        return {{24, 24, 24}};
    });
}

Picture primaries(Size size) {
    return painted(size, [](int x, int y) -> Pixel {
        const int colour = x / 6 + 3 * (y / 5);
        const auto channel = [colour](int bit) {
            return static_cast<uint8_t>((colour >> bit & 1) * 255);
        };
        return {{channel(0), channel(1), channel(2)}};
    });
}

// Luma must change along x and y, or EASU has nothing to decide by.
Picture gradient(Size size) {
    return painted(size, [size](int x, int y) -> Pixel {
        const auto ramp = [](int at, int last) { return static_cast<uint8_t>(255 * at / last); };
        return {{ramp(x, size.width - 1), ramp(y, size.height - 1),
                 ramp(x + y, size.width + size.height - 2)}};
    });
}

Picture checkerboard(Size size) {
    return painted(size, [size](int x, int y) -> Pixel {
        const bool isLight = (x + y) % 2 == 0;
        if (x < size.width / 2) return {isLight ? Rgb8{255, 255, 255} : Rgb8{0, 0, 0}};
        return {isLight ? Rgb8{220, 225, 210} : Rgb8{30, 35, 20}};
    });
}

}  // namespace

const std::vector<TestPicture>& testPictures() {
    static const std::vector<TestPicture> pictures = {
            {"noise", noise<0, 255>},
            // The first steps above black and below white, where the room for sharpening is used
            // up.
            {"nearBlack", noise<0, 12>},
            {"nearWhite", noise<243, 255>},
            {"lines", lines},
            {"primaries", primaries},
            {"gradient", gradient},
            {"checkerboard", checkerboard},
    };
    return pictures;
}

Picture flat(Size size, const Rgb8& colour) {
    return painted(size, [&](int, int) { return Pixel{colour}; });
}

}  // namespace reference

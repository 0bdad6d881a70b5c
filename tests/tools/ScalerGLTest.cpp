// SPDX-License-Identifier: Apache-2.0
#include "tools/gpu/scaler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ostream>
#include <string>

#include "painted.h"

namespace upscale {
// In a test's name.
static void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}
}  // namespace upscale

namespace {

using upscale::Border;
using upscale::LibraryLog;
using upscale::Operation;
using upscale::Picture;
using upscale::Scaler;
using upscale::Size;

constexpr std::uint64_t kMuch = 1u << 30;
constexpr upscale::TileLimits kWhole = {kMuch, 2048, kMuch};

std::uint8_t byte(double value) {
    return static_cast<std::uint8_t>(value);
}

// Rings, bars and noise of full contrast, opaque or transparent in parts.
Picture busy(Size size, bool transparent) {
    return painted(size.width, size.height, [&](unsigned x, unsigned y) {
        const unsigned noise = (x * 7919u + y * 104729u) * 2654435761u >> 24;
        const double ring = std::sin(std::hypot(x - 40.0, y - 30.0) * 0.7);
        const double bar = (x / 5 + y / 7) % 2 == 0 ? 230 : 20;
        const unsigned alpha = transparent ? (x / 16 + y / 16) % 3 * 100 + 55 : 255;
        return Rgba{byte(127 + 120 * ring), byte(bar), byte(noise), byte(alpha)};
    });
}

// The largest difference over black, and of alpha.
int worst(const Picture& a, const Picture& b) {
    int worst = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i) {
        const bool isAlpha = i % Picture::kChannels == 3;
        const int of[] = {isAlpha ? 255 : a.alpha(i / 4), isAlpha ? 255 : b.alpha(i / 4)};
        const double difference = std::abs(a.pixels[i] * of[0] - b.pixels[i] * of[1]) / 255.0;
        worst = std::max(worst, static_cast<int>(std::lround(difference)));
    }
    return worst;
}

// At the default sharpness.
Picture scaled(const Operation& operation, const Picture& source, Size to,
               const upscale::TileLimits& limits) {
    LibraryLog log(false);
    Scaler scaler(operation, Border::Pad, log, limits);
    const upscale::ScalePlan plan = scaler.plan({source.width, source.height}, to);
    return scaler.scale(source, plan, operation.defaults.front());
}

class ScalerGLTest : public testing::TestWithParam<Operation> {
  protected:
    bool takesNearest() const {
        const std::string name = GetParam().name;
        return name == "nea" || name == "casv";
    }

    // What tiles may be off by where positions are the same: nothing, but for operations that read
    // through SwiftShader's sampler, or store hue (4 and 6 were measured there, 0 on llvmpipe).
    int step() const {
        const std::string name = GetParam().name;
        return name == "casv" ? 6 : name == "cas-sharpen" ? 4 : 0;
    }
};

TEST_P(ScalerGLTest, TilesAreAsOnePiece) {
    struct {
        Size from, to;
        bool thirds;    // Positions are rounded; 3 was measured, by fsr.
        bool halfways;  // The driver decides what the nearest pixel is.
    } const cases[] = {
            {{300, 200}, {600, 400}, false, false}, {{300, 200}, {1200, 400}, false, false},
            {{300, 200}, {300, 200}, false, false}, {{300, 200}, {900, 600}, true, false},
            {{300, 200}, {450, 300}, true, true},   {{600, 400}, {300, 200}, false, true},
            {{900, 9}, {300, 3}, false, false},     {{3000, 2000}, {30, 25}, false, true},
    };
    for (const auto& row : cases) {
        if (row.halfways && takesNearest()) continue;
        for (const bool transparent : {false, true}) {
            SCOPED_TRACE(inPixels(row.from) + " to " + inPixels(row.to));
            const Picture source = busy(row.from, transparent);
            EXPECT_LE(worst(scaled(GetParam(), source, row.to, kWhole),
                            scaled(GetParam(), source, row.to, {0, 128, kMuch})),
                      step() + (row.thirds ? 3 : 0));
        }
    }
}

// A slope shows a tile that is out of its place, and where two tiles do not meet.
TEST_P(ScalerGLTest, NothingShowsWhereTilesMeetAtAnyRatio) {
    for (const auto& [from, to] : {std::pair<Size, Size>{{501, 299}, {752, 449}},
                                   {{700, 397}, {433, 265}},
                                   {{457, 331}, {1009, 500}}}) {
        SCOPED_TRACE(inPixels(from) + " to " + inPixels(to));
        const auto slope = [size = from](unsigned x, unsigned y) {
            return Rgba{byte(240.0 * x / size.width), byte(240.0 * y / size.height), 128, 255};
        };
        const Picture source = painted(from.width, from.height, slope);
        EXPECT_LE(worst(scaled(GetParam(), source, to, kWhole),
                        scaled(GetParam(), source, to, {0, 160, kMuch})),
                  takesNearest() ? 7 : 3);
    }
}

// A side may be longer than the longest that a driver takes, and it may shrink further than a tile
// is long.
TEST_P(ScalerGLTest, AnySideIsTaken) {
    const Picture source = painted(40000, 2, [](unsigned x, unsigned) {
        return x < 20000 ? Rgba{200, 100, 50, 255} : Rgba{50, 100, 200, 255};
    });
    for (const Size to : {Size{20000, 1}, {40000, 2}, {6, 5}}) {
        const Picture result = scaled(GetParam(), source, to, {});
        ASSERT_EQ(result.pixelCount(), to.pixels());
        EXPECT_NEAR(result.pixel(0)[0], 200, 2);
        EXPECT_NEAR(result.pixel(to.width - 1)[0], 50, 2);
    }
}

// A red disc with a faint green glow, in hidden blue.
TEST_P(ScalerGLTest, TransparentNeighboursGiveAsMuchColourAsIsSeenOfThem) {
    const Picture source = painted(48, 48, [](unsigned x, unsigned y) {
        const double radius = std::hypot(x - 23.5, y - 23.5);
        if (radius < 12) return Rgba{255, 0, 0, 255};
        return radius < 20 ? Rgba{0, 255, 0, 30} : Rgba{0, 0, 255, 0};
    });
    const Picture result = scaled(GetParam(), source, {192, 192}, kWhole);
    for (std::uint32_t i = 0; i < result.pixelCount(); ++i) {
        EXPECT_EQ(result.pixel(i)[2], 0) << i;
        const bool inside = std::hypot(i % 192 - 95.5, i / 192 - 95.5) < 40;
        EXPECT_TRUE(result.alpha(i) == 255 || !inside) << i;
    }
    EXPECT_EQ(result.alpha(0), 0);
    EXPECT_NEAR(result.alpha(96 * 192 + 32), 30, 1);
    // Those that take a colour unmixed take all of it.
    if (!GetParam().mixesColours) return;
    int green = 0;  // over black
    for (std::size_t i = 0; i < result.pixelCount(); ++i)
        green = std::max(green, result.pixel(i)[1] * result.alpha(i) / 255);
    EXPECT_NEAR(green, 30, 4);  // Sharpening adds the 4, in fsr.
}

INSTANTIATE_TEST_SUITE_P(Operations, ScalerGLTest, testing::ValuesIn(upscale::kOperations),
                         [](const auto& row) {
                             std::string name = row.param.name;
                             for (char& c : name)
                                 if (c == '-') c = '_';
                             return name;
                         });

}  // namespace

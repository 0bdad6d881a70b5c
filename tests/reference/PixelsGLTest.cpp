// SPDX-License-Identifier: Apache-2.0
// The library's pixels against the reference, and against what holds for any picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "reference/Reference.h"
#include "support/fixture.h"
#include "support/operations.h"

namespace reference {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

// With a context.
std::string renderer() {
    return reinterpret_cast<const char*>(glGetString(GL_RENDERER));
}

// A driver that was not measured is held to what llvmpipe is.
Tolerance here(const Tolerances& tolerances) {
    const std::string name = renderer();
    const auto has = [&](const char* part) { return name.find(part) != std::string::npos; };
    if (has("SwiftShader")) return tolerances.swiftShader;
    if (has("virgl") || has("ANGLE")) return tolerances.eightBitFilter;
    return has("128 bits") ? tolerances.truncatingFilter : tolerances.llvmpipe;
}

// ---- Pictures that hurt: where scaling and sharpening go wrong first ----

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

struct TestPicture {
    std::string name;
    Picture (*make)(Size);
};

const std::vector<TestPicture> kTestPictures = {
        {"noise", noise<0, 255>},
        // The first steps above black and below white, where the room for sharpening is used up.
        {"nearBlack", noise<0, 12>},
        {"nearWhite", noise<243, 255>},
        {"lines", lines},
        {"primaries", primaries},
        {"gradient", gradient},
        {"checkerboard", checkerboard},
};

Picture flat(Size size, const Rgb8& colour) {
    return painted(size, [&](int, int) { return Pixel{colour}; });
}

// ---- The operations on them ----

struct Geometry {
    std::string name;
    Size source;
    Size target;
};

constexpr size_t kDouble = 0;
// Nearest sampling at exactly half the size would hit nothing but borders of texels.
const std::vector<Geometry> kGeometries = {
        {"up2x", {40, 30}, {80, 60}},          {"up3xOdd", {21, 17}, {63, 51}},
        {"upNonInteger", {47, 33}, {101, 58}}, {"equalOdd", {49, 35}, {49, 35}},
        {"downThird", {99, 63}, {33, 21}},     {"downNonInteger", {96, 71}, {61, 44}},
        {"tall", {11, 70}, {27, 113}},         {"thin", {90, 9}, {131, 25}},
};

// A geometry with buffers for it.
struct Frame : Geometry {
    sp<GraphicBuffer> input;
    sp<GraphicBuffer> output;
};

sp<GraphicBuffer> makeBuffer(Size size) {
    return android::test::makeBuffer(static_cast<uint32_t>(size.width),
                                     static_cast<uint32_t>(size.height));
}

class PixelsGLTest : public testing::TestWithParam<android::test::OperationRow> {
  protected:
    PixelsGLTest() {
        for (const Geometry& geometry : kGeometries) {
            Frame frame = {geometry, makeBuffer(geometry.source), makeBuffer(geometry.target)};
            sp<Fence> fence;
            // Imports the buffers: that has to come before the first fsrResize or neaResize.
            mUpscaler->casSharpen(frame.input, frame.output, 1.0f, &fence);
            mFrames.push_back(frame);
        }
    }

    Picture run(Frame& frame, const Picture& source, float sharpness) {
        size_t next = 0;
        const auto put = [&](uint32_t x, uint32_t y, uint32_t& pixel) {
            const auto& [red, green, blue] = source.pixels[next++].colour;
            // The operations ignore alpha, so it is made to vary.
            const uint32_t alpha = (7 * x + y) % 256;
            pixel = red | uint32_t{green} << 8 | uint32_t{blue} << 16 | alpha << 24;
        };
        android::test::eachPixel(frame.input, android::test::kWrite, put);
        // What an earlier call drew cannot pass.
        android::test::fill(frame.output, 0x21374d63);

        sp<Fence> fence(new Fence());
        ((*mUpscaler).*GetParam().call)(frame.input, frame.output, sharpness, &fence);
        EXPECT_TRUE(fence->isValid());
        EXPECT_EQ(fence->wait(10'000), android::NO_ERROR);

        Picture result = {frame.target, {}};
        int translucent = 0;
        for (const uint32_t pixel : android::test::pixelsOf(frame.output)) {
            const auto byte = [=](int i) { return static_cast<uint8_t>(pixel >> (8 * i)); };
            result.pixels.push_back({{byte(0), byte(1), byte(2)}});
            if (byte(3) != 255) ++translucent;
        }
        EXPECT_EQ(translucent, 0) << "pixels whose alpha is not 255";
        return result;
    }

    const Operation& mReference = operationOf(GetParam().name);
    android::test::OwnedUpscaler mUpscaler;
    std::vector<Frame> mFrames;
};

// The largest differences, worst and mean, go into the test's report: scripts/drivers reads them.
TEST_P(PixelsGLTest, MatchTheReference) {
    RecordProperty("renderer", renderer());
    std::map<std::string, Tolerance> largest;
    for (Frame& frame : mFrames) {
        const bool isUnscaled = frame.source.width == frame.target.width;
        for (const TestPicture& picture : kTestPictures) {
            const Picture source = picture.make(frame.source);
            for (const auto& [sharpness, scaled] : mReference.settings) {
                const Picture expected = mReference.expected(source, frame.target, sharpness);
                const std::string setting = std::to_string(sharpness);
                EXPECT_TRUE(matches(
                        run(frame, source, sharpness), expected,
                        here(isUnscaled ? mReference.unscaled : scaled),
                        GetParam().name + "-" + frame.name + "-" + picture.name + "-" + setting,
                        &largest[isUnscaled ? "equal sizes" : "sharpness " + setting]));
                // Otherwise the comparison could hold by leaving everything out.
                const auto defined = std::count_if(expected.pixels.begin(), expected.pixels.end(),
                                                   [](const Pixel& p) { return p.isDefined; });
                if (picture.name == "noise") {
                    EXPECT_GT(static_cast<double>(defined),
                              0.4 * static_cast<double>(expected.pixels.size()))
                            << frame.name;
                }
            }
        }
    }
    for (const auto& [setting, difference] : largest) {
        RecordProperty(setting,
                       std::to_string(difference.worst) + " " + std::to_string(difference.mean));
    }
}

// Away from the borders, where taps may be undefined.
Picture interior(const Picture& picture) {
    constexpr int kMargin = 6;
    return draw(picture, picture.size, [](Fragment& f) {
        const int inset = std::min({f.x, f.y, f.target.width - 1 - f.x, f.target.height - 1 - f.y});
        if (inset < kMargin) f.isDefined = false;
        return f.texel(f.x, f.y);
    });
}

Picture mirrored(const Picture& picture) {
    return draw(picture, picture.size,
                [](Fragment& f) { return f.texel(f.target.width - 1 - f.x, f.y); });
}

TEST_P(PixelsGLTest, FlatStaysFlat) {
    // Colours that eight bits of hue, saturation and value hold exactly.
    for (const Rgb8& colour : {Rgb8{0, 0, 0}, Rgb8{255, 255, 255}, Rgb8{128, 128, 128},
                               Rgb8{200, 0, 0}, Rgb8{0, 77, 77}, Rgb8{0, 0, 255}}) {
        for (Frame& frame : mFrames) {
            for (const Setting& setting : mReference.settings) {
                const Picture actual = run(frame, flat(frame.source, colour), setting.sharpness);
                ASSERT_TRUE(matches(actual, interior(flat(frame.target, colour)),
                                    {mReference.flatError, 1.0},
                                    GetParam().name + "-" + frame.name + "-flat"));
            }
        }
    }
}

Picture shifted(const Picture& picture, int dx, int dy) {
    return draw(picture, picture.size, [&](Fragment& f) {
        const int x = f.x - dx;
        const int y = f.y - dy;
        return f.texel(std::clamp(x, 0, f.target.width - 1), std::clamp(y, 0, f.target.height - 1));
    });
}

Picture redAndBlueSwapped(Picture picture) {
    for (Pixel& pixel : picture.pixels)
        std::swap(pixel.colour[0], pixel.colour[2]);
    return picture;
}

// What GL leaves open may come out differently elsewhere.
Picture definedAs(const Picture& expected, Picture picture) {
    for (size_t i = 0; i < picture.pixels.size(); ++i)
        picture.pixels[i].isDefined = expected.pixels[i].isDefined;
    return picture;
}

// At double size both halves of a texel have mirrored weights, and a texel is two pixels.
TEST_P(PixelsGLTest, MirroredShiftedSwappedAndTheSameAgain) {
    Frame& frame = mFrames[kDouble];
    const auto& [sharpness, tolerances] = mReference.settings.front();
    const Tolerance tolerance = here(tolerances);
    for (const TestPicture& picture : kTestPictures) {
        const std::string name = GetParam().name + "-" + picture.name;
        const Picture source = picture.make(frame.source);
        const Picture straight = run(frame, source, sharpness);
        const Picture known =
                definedAs(mReference.expected(source, frame.target, sharpness), straight);
        const Picture turned = run(frame, mirrored(source), sharpness);
        ASSERT_TRUE(matches(turned, interior(mirrored(known)), tolerance, name + "-mirrored"));
        ASSERT_TRUE(matches(run(frame, shifted(source, 3, 2), sharpness),
                            interior(shifted(interior(known), 6, 4)), tolerance,
                            name + "-shifted"));
        // The hue of casvUpscale is rounded differently for each colour.
        if (GetParam().name != "casvUpscale") {
            ASSERT_TRUE(matches(run(frame, redAndBlueSwapped(source), sharpness),
                                interior(redAndBlueSwapped(known)), tolerance, name + "-swapped"));
        }
        // Whatever ran in between.
        for (const auto& other : android::test::operations()) {
            sp<Fence> fence;
            ((*mUpscaler).*other.call)(frame.input, frame.output, 0.3f, &fence);
        }
        ASSERT_TRUE(matches(run(frame, source, sharpness), straight, {0, 0.0}, name + "-again"));
    }
}

INSTANTIATE_TEST_SUITE_P(, PixelsGLTest, testing::ValuesIn(android::test::operations()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace reference

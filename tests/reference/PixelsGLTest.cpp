// SPDX-License-Identifier: Apache-2.0
// The library's pixels against the reference, and against what holds for any picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "reference/Reference.h"
#include "support/fixture.h"

namespace reference {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

// On each driver that the tests run on. Any other is held to what llvmpipe is.
struct Tolerances {
    Tolerance llvmpipe;
    Tolerance swiftShader;
    Tolerance here() const;  // With a context.
};

Tolerance Tolerances::here() const {
    const std::string renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    return renderer.find("SwiftShader") == std::string::npos ? llvmpipe : swiftShader;
}

struct Setting {
    float sharpness;
    Tolerances tolerances;
};

struct Operation {
    std::string name;
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
    Picture (*expected)(const Picture&, Size, float);
    int flatError;        // What the approximate reciprocals may change a flat colour by.
    Tolerances unscaled;  // At equal sizes, whatever the sharpness.
    std::vector<Setting> settings;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

std::vector<Setting> everywhere(const Tolerances& tolerances, const std::vector<float>& values) {
    std::vector<Setting> settings;
    for (float value : values)
        settings.push_back({value, tolerances});
    return settings;
}

const std::vector<float> kStops = {0.0f, 0.7f, -0.25f, 4.0f};
const std::vector<float> kCasScale = {0.0f, 0.5f, 1.0f, -3.0f, 7.0f};

// The tolerances are the worst that each driver was measured at, Mesa 22.3's llvmpipe and ANGLE 2.1
// over SwiftShader, means rounded up. llvmpipe samples at half precision, which moves a colour
// across a step of 8 bits now and then: hence 1 and the means. SwiftShader works at full precision
// throughout, where that is rare: 1 and 0.001 are given where at most a step and a mean of 0.0009
// was seen. The gradients of neaResize, and of fsrResize at equal sizes, end halfway between steps
// on any driver. The sharpening of a second pass multiplies a step of the first, EASU's or the
// linear copy's (in 8 bits, rounded twice), by up to (1 + 4w) / (1 - 4w) for a neighbour's weight
// w: 7, 2.7, 17 and 1.1 at the stops given, 9, 4.2 and 3 on casSharpen's scale. casTUpscale works
// at medium precision throughout, which is half precision in llvmpipe.
// clang-format off
const std::vector<Operation> kOperations = {
    //                                                llvmpipe    SwiftShader
    {"fsrResize", &Upscaler::fsrResize, fsrResize, 0, {{4, 0.13}, {1, 0.02}},
     {{0.0f, {{5, 0.5}, {4, 0.06}}}, {0.7f, {{3, 0.22}, {2, 0.005}}},
      {-0.25f, {{10, 1.12}, {11, 0.005}}}, {4.0f, {{3, 0.1}, {1, 0.005}}}}},
    {"neaResize", &Upscaler::neaResize, neaResize, 0, {{1, 0.11}, {1, 0.02}},
     everywhere({{1, 0.18}, {1, 0.07}}, kStops)},
    {"casSharpen", &Upscaler::casSharpen, casSharpen, 1, {{1, 0.09}, {1, 0.001}},
     {{0.0f, {{6, 0.75}, {4, 0.11}}}, {0.5f, {{3, 0.72}, {3, 0.12}}}, {1.0f, {{3, 0.93}, {2, 0.09}}},
      {-3.0f, {{6, 0.75}, {4, 0.11}}}, {7.0f, {{3, 0.93}, {2, 0.09}}}}},
    {"casResize", &Upscaler::casResize, casResize, 1, {{1, 0.09}, {1, 0.001}},
     everywhere({{1, 0.11}, {1, 0.001}}, kCasScale)},
    {"casvUpscale", &Upscaler::casvUpscale, casvUpscale, 1, {{1, 0.09}, {1, 0.001}},
     everywhere({{1, 0.12}, {1, 0.001}}, kCasScale)},
    {"casTUpscale", &Upscaler::casTUpscale, casTUpscale, 1, {{1, 0.24}, {1, 0.001}},
     everywhere({{1, 0.29}, {1, 0.001}}, kCasScale)},
};
// clang-format on

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

class PixelsGLTest : public testing::TestWithParam<Operation> {
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

    android::test::OwnedUpscaler mUpscaler;
    std::vector<Frame> mFrames;
};

TEST_P(PixelsGLTest, MatchTheReference) {
    for (Frame& frame : mFrames) {
        const bool isUnscaled = frame.source.width == frame.target.width;
        for (const TestPicture& picture : kTestPictures) {
            const Picture source = picture.make(frame.source);
            for (const auto& [sharpness, scaled] : GetParam().settings) {
                const Picture expected = GetParam().expected(source, frame.target, sharpness);
                ASSERT_TRUE(matches(run(frame, source, sharpness), expected,
                                    (isUnscaled ? GetParam().unscaled : scaled).here(),
                                    GetParam().name + "-" + frame.name + "-" + picture.name + "-" +
                                            std::to_string(sharpness)));
                // Else the comparison could hold by leaving everything out.
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
            for (const Setting& setting : GetParam().settings) {
                const Picture actual = run(frame, flat(frame.source, colour), setting.sharpness);
                ASSERT_TRUE(matches(actual, interior(flat(frame.target, colour)),
                                    {GetParam().flatError, 1.0},
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
    const auto& [sharpness, tolerances] = GetParam().settings.front();
    const Tolerance tolerance = tolerances.here();
    for (const TestPicture& picture : kTestPictures) {
        const std::string name = GetParam().name + "-" + picture.name;
        const Picture source = picture.make(frame.source);
        const Picture straight = run(frame, source, sharpness);
        const Picture known =
                definedAs(GetParam().expected(source, frame.target, sharpness), straight);
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
        for (const Operation& other : kOperations) {
            sp<Fence> fence;
            ((*mUpscaler).*other.call)(frame.input, frame.output, 0.3f, &fence);
        }
        ASSERT_TRUE(matches(run(frame, source, sharpness), straight, {0, 0.0}, name + "-again"));
    }
}

INSTANTIATE_TEST_SUITE_P(, PixelsGLTest, testing::ValuesIn(kOperations),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace reference

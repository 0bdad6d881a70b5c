// SPDX-License-Identifier: Apache-2.0
// The library's pixels and constants against the reference, and pixels against what holds for any
// picture.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "reference/Comparison.h"
#include "reference/Gpu.h"
#include "reference/Reference.h"
#include "reference/TestPictures.h"

namespace reference {
namespace {

using android::Upscaler;
using testing::ElementsAreArray;

struct Setting {
    float sharpness;
    Tolerance tolerance;
};

struct Operation {
    const char* name;
    OperationCall call;
    Picture (*expected)(const Picture&, Size, float);
    int flatError;       // What the approximate reciprocals may change a flat colour by.
    Tolerance unscaled;  // At equal sizes, whatever the sharpness.
    std::vector<Setting> settings;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

std::vector<Setting> withTolerance(const Tolerance& tolerance, const std::vector<float>& values) {
    std::vector<Setting> settings;
    for (float value : values)
        settings.push_back({value, tolerance});
    return settings;
}

const std::vector<float> kStops = {0.0f, 0.7f, -0.25f, 4.0f};
const std::vector<float> kCasScale = {0.0f, 0.5f, 1.0f, -3.0f, 7.0f};

// The tolerances are the worst that Mesa 22.3's llvmpipe was measured at, means rounded up. It
// samples at half precision, which moves a colour across a step of 8 bits now and then: hence 1 and
// the means. (softpipe, in full precision throughout, stays below a mean of 0.001 in casResize,
// casvUpscale and casTUpscale, and of 0.07 in neaResize, whose gradients end halfway between
// steps.) The sharpening of a second pass multiplies a step of the first, EASU's or the linear
// copy's (in 8 bits, rounded twice), by up to (1 + 4w) / (1 - 4w) for a neighbour's weight w:
// 7, 2.7, 17 and 1.1 at the stops given, 9, 4.2 and 3 on casSharpen's scale.
const std::vector<Operation> kOperations = {
        {"fsrResize",
         &Upscaler::fsrResize,
         fsrResize,
         0,
         {4, 0.13},
         {{0.0f, {5, 0.5}}, {0.7f, {3, 0.22}}, {-0.25f, {10, 1.12}}, {4.0f, {3, 0.1}}}},
        {"neaResize",
         &Upscaler::neaResize,
         neaResize,
         0,
         {1, 0.11},
         withTolerance({1, 0.18}, kStops)},
        {"casSharpen",
         &Upscaler::casSharpen,
         casSharpen,
         1,
         {1, 0.09},
         {{0.0f, {6, 0.75}},
          {0.5f, {3, 0.72}},
          {1.0f, {3, 0.93}},
          {-3.0f, {6, 0.75}},
          {7.0f, {3, 0.93}}}},
        {"casResize",
         &Upscaler::casResize,
         casResize,
         1,
         {1, 0.09},
         withTolerance({1, 0.11}, kCasScale)},
        {"casvUpscale",
         &Upscaler::casvUpscale,
         casvUpscale,
         1,
         {1, 0.09},
         withTolerance({1, 0.12}, kCasScale)},
        // Medium precision throughout, which is half precision in llvmpipe.
        {"casTUpscale",
         &Upscaler::casTUpscale,
         casTUpscale,
         1,
         {1, 0.24},
         withTolerance({1, 0.29}, kCasScale)},
};

// Nearest sampling at exactly half the size would hit nothing but borders of texels.
const std::vector<Geometry> kGeometries = {
        {"up2x", {40, 30}, {80, 60}},          {"up3xOdd", {21, 17}, {63, 51}},
        {"upNonInteger", {47, 33}, {101, 58}}, {"equalOdd", {49, 35}, {49, 35}},
        {"downThird", {99, 63}, {33, 21}},     {"downNonInteger", {96, 71}, {61, 44}},
        {"tall", {11, 70}, {27, 113}},         {"thin", {90, 9}, {131, 25}},
};
constexpr size_t kDouble = 0;

class GpuTest : public testing::Test {
  public:
    static void SetUpTestSuite() { sGpu = std::make_unique<Gpu>(kGeometries); }
    static void TearDownTestSuite() { sGpu.reset(); }

  protected:
    static std::unique_ptr<Gpu> sGpu;
};
std::unique_ptr<Gpu> GpuTest::sGpu;

class PixelsGLTest : public GpuTest,
                     public testing::WithParamInterface<std::tuple<Operation, size_t>> {};

TEST_P(PixelsGLTest, MatchTheReference) {
    const auto& [operation, index] = GetParam();
    const Geometry& geometry = kGeometries[index];
    const bool isUnscaled = geometry.source.width == geometry.target.width;
    for (const NamedPicture& picture : testPictures()) {
        const Picture source = picture.make(geometry.source);
        for (const auto& [sharpness, scaled] : operation.settings) {
            const std::string name = std::string(operation.name) + "-" + geometry.name + "-" +
                                     picture.name + "-" + std::to_string(sharpness);
            const Picture expected = operation.expected(source, geometry.target, sharpness);
            const Picture actual = sGpu->run(operation.call, index, source, sharpness);
            ASSERT_TRUE(matches(actual, expected, isUnscaled ? operation.unscaled : scaled, name));
        }
    }
}

// Else the comparison above could hold by leaving everything out.
TEST_P(PixelsGLTest, AreMostlyDefined) {
    const auto& [operation, index] = GetParam();
    const Geometry& geometry = kGeometries[index];
    const Picture expected = operation.expected(noise(geometry.source), geometry.target, 0.0f);
    EXPECT_GT(definedShare(expected), 0.4);
}

INSTANTIATE_TEST_SUITE_P(, PixelsGLTest,
                         testing::Combine(testing::ValuesIn(kOperations),
                                          testing::Range<size_t>(0, kGeometries.size())),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + "_" +
                                    kGeometries[std::get<1>(row.param)].name;
                         });

class InvariantsGLTest : public GpuTest, public testing::WithParamInterface<Operation> {};

Picture mirrored(const Picture& picture) {
    const Size size = picture.size();
    return draw(picture, size,
                [=](Taps& taps, int x, int y) { return taps.texel(size.width - 1 - x, y); });
}

// Away from the borders, where taps may be undefined.
Picture interior(const Picture& picture) {
    constexpr int kMargin = 6;
    const Size size = picture.size();
    return draw(picture, size, [=](Taps& taps, int x, int y) {
        const int inset = std::min({x, y, size.width - 1 - x, size.height - 1 - y});
        if (inset < kMargin) taps.leaveOut();
        return taps.texel(x, y);
    });
}

TEST_P(InvariantsGLTest, FlatStaysFlat) {
    const Operation& operation = GetParam();
    const Geometry& geometry = kGeometries[kDouble];
    // Colours that eight bits of hue, saturation and value hold exactly.
    for (const Rgb8& colour : {Rgb8{0, 0, 0}, Rgb8{255, 255, 255}, Rgb8{128, 128, 128},
                               Rgb8{200, 0, 0}, Rgb8{0, 77, 77}, Rgb8{0, 0, 255}}) {
        for (const Setting& setting : operation.settings) {
            const Picture actual = sGpu->run(operation.call, kDouble, flat(geometry.source, colour),
                                             setting.sharpness);
            ASSERT_TRUE(matches(actual, interior(flat(geometry.target, colour)),
                                {operation.flatError, 1.0}, std::string(operation.name) + "-flat"));
        }
    }
}

// At double size both halves of a texel have mirrored weights.
TEST_P(InvariantsGLTest, MirroredInIsMirroredOut) {
    const Operation& operation = GetParam();
    const auto& [sharpness, tolerance] = operation.settings.front();
    for (const NamedPicture& picture : testPictures()) {
        const Picture source = picture.make(kGeometries[kDouble].source);
        const Picture straight = sGpu->run(operation.call, kDouble, source, sharpness);
        const Picture turned = sGpu->run(operation.call, kDouble, mirrored(source), sharpness);
        ASSERT_TRUE(matches(turned, interior(mirrored(straight)), tolerance,
                            std::string(operation.name) + "-mirrored-" + picture.name));
    }
}

TEST_P(InvariantsGLTest, SameCallGivesTheSameBits) {
    const Operation& operation = GetParam();
    const Picture source = noise(kGeometries[kDouble].source);
    const Picture first = sGpu->run(operation.call, kDouble, source, 0.5f);
    const Picture second = sGpu->run(operation.call, kDouble, source, 0.5f);
    EXPECT_TRUE(matches(second, first, {0, 0.0}, std::string(operation.name) + "-again"));
}

INSTANTIATE_TEST_SUITE_P(, InvariantsGLTest, testing::ValuesIn(kOperations),
                         [](const auto& row) { return std::string(row.param.name); });

using UniformsGLTest = GpuTest;

// Any linked program of the current context that reads `uniform`; 0 if there is none.
GLuint programReading(const char* uniform) {
    constexpr GLuint kMostNames = 100;
    for (GLuint name = 1; name < kMostNames; ++name) {
        if (glIsProgram(name) == GL_TRUE && glGetUniformLocation(name, uniform) >= 0) return name;
    }
    return 0;
}

GLuint currentProgram() {
    GLint name = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &name);
    return static_cast<GLuint>(name);
}

TEST_F(UniformsGLTest, OfEasuAndRcasAreExact) {
    for (size_t i = 0; i < kGeometries.size(); ++i) {
        const Geometry& geometry = kGeometries[i];
        const EasuConstants expected = easuConstants(geometry.source, geometry.target);
        for (float stops : kStops) {
            sGpu->run(&Upscaler::fsrResize, i, Picture(geometry.source), stops);
            const GLuint program = programReading("vec4_0");
            for (size_t word = 0; word < expected.size(); ++word) {
                const std::string name = "vec4_" + std::to_string(word);
                std::array<float, 4> actual{};
                glGetUniformfv(program, glGetUniformLocation(program, name.c_str()), actual.data());
                EXPECT_THAT(actual, ElementsAreArray(expected[word])) << geometry.name << name;
            }
            float strength = -1.0f;
            glGetUniformfv(currentProgram(), glGetUniformLocation(currentProgram(), "sharpness"),
                           &strength);
            EXPECT_EQ(strength, std::exp2(-stops));
        }
    }
}

TEST_F(UniformsGLTest, OfCasAreExact) {
    struct {
        OperationCall call;
        float (*peak)(float);
        bool scales;
    } const rows[] = {{&Upscaler::casSharpen, casPeak, false},
                      {&Upscaler::casResize, casPeak, true},
                      {&Upscaler::casvUpscale, casPeak, true},
                      {&Upscaler::casTUpscale, casTPeak, true}};
    const auto uniform = [](const char* name) {
        std::array<uint32_t, 4> words{};
        const GLuint program = currentProgram();
        glGetUniformuiv(program, glGetUniformLocation(program, name), words.data());
        return words;
    };
    for (const auto& row : rows) {
        for (size_t i = 0; i < kGeometries.size(); ++i) {
            const auto& [name, source, target] = kGeometries[i];
            for (float sharpness : kCasScale) {
                sGpu->run(row.call, i, Picture(source), sharpness);
                const CasConstants expected =
                        casConstants(row.scales ? source : target, target, row.peak(sharpness));
                // casSharpen's program has no use for "Const0".
                if (row.scales) {
                    EXPECT_EQ(uniform("Const0"), expected[0]) << name;
                }
                EXPECT_EQ(uniform("Const1"), expected[1]) << name;
            }
        }
    }
}

}  // namespace
}  // namespace reference

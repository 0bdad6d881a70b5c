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

struct Operation {
    const char* name;
    OperationCall call;
    Picture (*expected)(const Picture&, Size, float);
    std::vector<float> sharpness;
    Tolerance tolerance;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

const std::vector<float> kStops = {0.0f, 0.7f, -0.25f, 4.0f};
const std::vector<float> kCasScale = {0.0f, 0.5f, 1.0f, -3.0f, 7.0f};

const std::vector<Operation> kOperations = {
        {"fsrResize", &Upscaler::fsrResize, fsrResize, kStops, {2, 0.1}},
        {"neaResize", &Upscaler::neaResize, neaResize, kStops, {2, 0.1}},
        {"casSharpen", &Upscaler::casSharpen, casSharpen, kCasScale, {2, 0.1}},
        {"casResize", &Upscaler::casResize, casResize, kCasScale, {2, 0.1}},
        {"casvUpscale", &Upscaler::casvUpscale, casvUpscale, kCasScale, {2, 0.1}},
        {"casTUpscale", &Upscaler::casTUpscale, casTUpscale, kCasScale, {2, 0.1}},
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
    for (const NamedPicture& picture : testPictures()) {
        const Picture source = picture.make(geometry.source);
        for (float sharpness : operation.sharpness) {
            const std::string name = std::string(operation.name) + "-" + geometry.name + "-" +
                                     picture.name + "-" + std::to_string(sharpness);
            const Picture expected = operation.expected(source, geometry.target, sharpness);
            const Picture actual = sGpu->run(operation.call, index, source, sharpness);
            ASSERT_TRUE(matches(actual, expected, operation.tolerance, name));
        }
    }
}

// Else the comparison above would hold by leaving everything out.
TEST_P(PixelsGLTest, AreMostlyDefined) {
    const auto& [operation, index] = GetParam();
    const Geometry& geometry = kGeometries[index];
    const Picture expected = operation.expected(noise(geometry.source), geometry.target, 0.0f);
    EXPECT_GT(definedShare(expected), 0.6);
}

INSTANTIATE_TEST_SUITE_P(, PixelsGLTest,
                         testing::Combine(testing::ValuesIn(kOperations),
                                          testing::Range<size_t>(0, kGeometries.size())),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + "_" +
                                    kGeometries[std::get<1>(row.param)].name;
                         });

class OperationGLTest : public GpuTest, public testing::WithParamInterface<Operation> {};

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

TEST_P(OperationGLTest, FlatStaysFlat) {
    const Operation& operation = GetParam();
    const Geometry& geometry = kGeometries[kDouble];
    // Colours that eight bits of hue, saturation and value hold exactly.
    for (const Rgb8& colour : {Rgb8{0, 0, 0}, Rgb8{255, 255, 255}, Rgb8{128, 128, 128},
                               Rgb8{200, 0, 0}, Rgb8{0, 77, 77}, Rgb8{0, 0, 255}}) {
        for (float sharpness : operation.sharpness) {
            const Picture actual =
                    sGpu->run(operation.call, kDouble, flat(geometry.source, colour), sharpness);
            // The reciprocals of contrast-adaptive sharpening are off by up to a step.
            ASSERT_TRUE(matches(actual, interior(flat(geometry.target, colour)), {1, 1.0},
                                std::string(operation.name) + "-flat"));
        }
    }
}

// At double size both halves of a texel have mirrored weights.
TEST_P(OperationGLTest, MirroredInIsMirroredOut) {
    const Operation& operation = GetParam();
    const float weakest = operation.sharpness.front();
    for (const NamedPicture& picture : testPictures()) {
        const Picture source = picture.make(kGeometries[kDouble].source);
        const Picture straight = sGpu->run(operation.call, kDouble, source, weakest);
        const Picture turned = sGpu->run(operation.call, kDouble, mirrored(source), weakest);
        ASSERT_TRUE(matches(turned, interior(mirrored(straight)), operation.tolerance,
                            std::string(operation.name) + "-mirrored-" + picture.name));
    }
}

TEST_P(OperationGLTest, SameCallGivesTheSameBits) {
    const Operation& operation = GetParam();
    const Picture source = noise(kGeometries[kDouble].source);
    const Picture first = sGpu->run(operation.call, kDouble, source, 0.5f);
    const Picture second = sGpu->run(operation.call, kDouble, source, 0.5f);
    EXPECT_TRUE(matches(second, first, {0, 0.0}, std::string(operation.name) + "-again"));
}

INSTANTIATE_TEST_SUITE_P(, OperationGLTest, testing::ValuesIn(kOperations),
                         [](const auto& row) { return std::string(row.param.name); });

using ConstantsGLTest = GpuTest;

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

TEST_F(ConstantsGLTest, OfEasuAndRcasAreExact) {
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

TEST_F(ConstantsGLTest, OfCasAreExact) {
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

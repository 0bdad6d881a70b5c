// SPDX-License-Identifier: Apache-2.0
// The reference's own arithmetic against values worked out by hand.
#include "reference/Reference.h"

#include <gmock/gmock.h>

#include <limits>

#include "reference/TestPictures.h"

namespace reference {
namespace {

using testing::ElementsAre;
using testing::FloatEq;
using testing::FloatNear;
using testing::Pointwise;

MATCHER_P(IsColour, expected, "") {
    return testing::ExplainMatchResult(Pointwise(FloatNear(1e-6f), expected), arg, result_listener);
}

TEST(ReferenceColourSpaceTest, HueIsAFractionOfATurn) {
    EXPECT_THAT(rgbToHsv({1.0f, 0.0f, 0.0f}), IsColour(Rgb{0.0f, 1.0f, 1.0f}));
    EXPECT_THAT(rgbToHsv({0.0f, 1.0f, 0.0f}), IsColour(Rgb{1.0f / 3.0f, 1.0f, 1.0f}));
    EXPECT_THAT(rgbToHsv({0.0f, 0.0f, 1.0f}), IsColour(Rgb{2.0f / 3.0f, 1.0f, 1.0f}));
    EXPECT_THAT(rgbToHsv({0.5f, 0.0f, 0.25f}), IsColour(Rgb{11.0f / 12.0f, 1.0f, 0.5f}));
    EXPECT_THAT(rgbToHsv({0.2f, 0.4f, 0.3f}), IsColour(Rgb{5.0f / 12.0f, 0.5f, 0.4f}));
    EXPECT_THAT(rgbToHsv({0.7f, 0.7f, 0.7f}), IsColour(Rgb{0.0f, 0.0f, 0.7f}));
    EXPECT_THAT(rgbToHsv({0.0f, 0.0f, 0.0f}), IsColour(Rgb{0.0f, 0.0f, 0.0f}));
}

TEST(ReferenceColourSpaceTest, HsvAndBackIsTheSameColour) {
    for (const Rgb& colour : {Rgb{0.9f, 0.1f, 0.3f}, Rgb{0.1f, 0.2f, 0.2f}, Rgb{0.4f, 0.3f, 0.8f},
                              Rgb{1.0f, 1.0f, 0.0f}, Rgb{0.6f, 0.6f, 0.6f}}) {
        EXPECT_THAT(hsvToRgb(rgbToHsv(colour)), IsColour(colour));
    }
}

TEST(ReferenceConstantsTest, HalfBitsAreCutOffAndNeverInfinite) {
    EXPECT_EQ(halfBits(-0.125f), 0xB000u);
    EXPECT_EQ(halfBits(-0.2f), 0xB266u);
    EXPECT_EQ(halfBits(1.9999f), 0x3FFFu);
    EXPECT_EQ(halfBits(0x1p-14f), 0x0400u);
    EXPECT_EQ(halfBits(0x1.8p-15f), 0x0300u);
    EXPECT_EQ(halfBits(0x1p-24f), 0x0001u);
    EXPECT_EQ(halfBits(-0x1p-25f), 0x8000u);
    EXPECT_EQ(halfBits(65536.0f), 0x7BFFu);
    EXPECT_EQ(halfBits(-std::numeric_limits<float>::infinity()), 0xFBFFu);
}

TEST(ReferenceConstantsTest, EasuAt960x540To1920x1080) {
    const EasuConstants constants = easuConstants({960, 540}, {1920, 1080});
    constexpr float kX = 1.0f / 960.0f;
    constexpr float kY = 1.0f / 540.0f;
    EXPECT_THAT(constants[0],
                ElementsAre(FloatEq(0.5f), FloatEq(0.5f), FloatEq(-0.25f), FloatEq(-0.25f)));
    EXPECT_THAT(constants[1], ElementsAre(kX, kY, kX, -kY));
    EXPECT_THAT(constants[2], ElementsAre(-kX, 2.0f / 540.0f, kX, 2.0f / 540.0f));
    EXPECT_THAT(constants[3], ElementsAre(0.0f, 4.0f / 540.0f, 0.0f, 0.0f));
}

TEST(ReferenceConstantsTest, CasAtEqualSizesAndAtDouble) {
    EXPECT_THAT(casConstants({47, 33}, {47, 33}, casPeak(1.0f)),
                ElementsAre(ElementsAre(0x3F800000u, 0x3F800000u, 0u, 0u),
                            ElementsAre(0xBE000000u, 0xB000u, 0x41000000u, 0u)));
    EXPECT_THAT(casConstants({40, 30}, {80, 60}, casPeak(0.0f)),
                ElementsAre(ElementsAre(0x3F000000u, 0x3F000000u, 0xBE800000u, 0xBE800000u),
                            ElementsAre(0xBE4CCCCDu, 0xB266u, 0x40800000u, 0u)));
}

TEST(ReferenceConstantsTest, PeakIsInvertedAndClamped) {
    EXPECT_FLOAT_EQ(casPeak(0.5f), -1.0f / 6.5f);
    EXPECT_EQ(casPeak(7.0f), casPeak(1.0f));
    EXPECT_EQ(casPeak(-7.0f), casPeak(0.0f));
    EXPECT_FLOAT_EQ(casTPeak(1.0f), -20.0f / 120.0f);
    EXPECT_FLOAT_EQ(casTPeak(0.5f), -20.0f / 97.5f);
    EXPECT_FLOAT_EQ(casTPeak(0.0f), -20.0f / 75.0f);
}

TEST(ReferenceApproximationTest, StaysNearTheExactFunction) {
    for (float value : {0.004f, 0.03125f, 0.3f, 0.5f, 1.0f, 1.03f, 3.0f, 30.0f}) {
        EXPECT_NEAR(approximateSqrt(value * value) / value, 1.0f, 0.04f) << value;
        EXPECT_NEAR(approximateReciprocal(value) * value, 1.0f, 0.13f) << value;
        EXPECT_NEAR(approximateReciprocalMedium(value) * value, 1.0f, 0.02f) << value;
    }
    EXPECT_GT(approximateSqrt(0.0f), 0.0f);
    EXPECT_LT(approximateSqrt(0.0f), 1e-19f);
}

TEST(ReferenceTapsTest, OnlyWhatIsInsideIsDefined) {
    Picture picture({3, 2});
    picture.at(2, 1) = {255, 0, 51};
    Taps taps(picture);
    EXPECT_THAT(taps.texel(2, 1), ElementsAre(1.0f, 0.0f, FloatEq(0.2f)));
    EXPECT_THAT(taps.repeated(-1, -1), ElementsAre(1.0f, 0.0f, FloatEq(0.2f)));
    EXPECT_THAT(taps.nearest(4, 3, {5, 4}), ElementsAre(1.0f, 0.0f, FloatEq(0.2f)));
    // 3/4 of the way to the last column, halfway to the last row.
    EXPECT_THAT(taps.linear(1, 1, {2, 3}), ElementsAre(FloatEq(0.375f), 0.0f, FloatEq(0.075f)));
    EXPECT_TRUE(taps.areDefined());
    taps.texel(3, 0);
    EXPECT_FALSE(taps.areDefined());
}

TEST(ReferenceTapsTest, NearestOnABorderOfTexelsIsLeftOut) {
    const Picture picture({4, 4});
    Taps thirds(picture);
    thirds.nearest(1, 1, {12, 12});
    EXPECT_TRUE(thirds.areDefined());
    Taps halves(picture);
    halves.nearest(1, 1, {2, 2});
    EXPECT_FALSE(halves.areDefined());
}

// A peak of 0.75 on 0.5, worked out with the exact functions: room 0.25 and maximum 0.75 give the
// amplitude sqrt(1/3).
TEST(ReferenceOperationTest, CasSharpenOfASinglePeak) {
    Picture picture = flat({5, 5}, {128, 128, 128});
    picture.at(2, 2) = {191, 191, 191};
    const Picture result = casSharpen(picture, {5, 5}, 1.0f);
    const float weight = -0.125f * 0.577f;
    const float expected = (191.0f + 4.0f * weight * 128.0f) / (1.0f + 4.0f * weight);
    EXPECT_NEAR(result.at(2, 2)[1], expected, 2.0f);
    EXPECT_TRUE(result.isDefined(2, 2));
    EXPECT_FALSE(result.isDefined(0, 2));
}

// Lobe -min(0.2, 0.4) / (4 x 0.2) = -0.25, limited to -0.1875: (0.4 - 0.15) / 0.25 = 1.
TEST(ReferenceOperationTest, RcasAtItsLimitAndWithoutStrength) {
    Picture picture = flat({5, 5}, {51, 51, 51});
    picture.at(2, 2) = {102, 102, 102};
    EXPECT_THAT(neaResize(picture, {5, 5}, 0.0f).at(2, 2), ElementsAre(255, 255, 255));
    // At half the lobe: (0.4 - 0.075) / 0.625 = 0.52.
    EXPECT_THAT(neaResize(picture, {5, 5}, 1.0f).at(2, 2), ElementsAre(133, 133, 133));
    EXPECT_THAT(neaResize(picture, {5, 5}, 100.0f).at(2, 2), ElementsAre(102, 102, 102));
}

TEST(ReferenceOperationTest, FlatStaysFlat) {
    const Rgb8 colour = {200, 100, 50};
    const Picture picture = flat({12, 10}, colour);
    const Picture result = fsrResize(picture, {20, 17}, 0.0f);
    EXPECT_EQ(result.at(10, 8), colour);
    EXPECT_TRUE(result.isDefined(10, 8));
}

}  // namespace
}  // namespace reference

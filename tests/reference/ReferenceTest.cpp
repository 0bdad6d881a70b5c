// SPDX-License-Identifier: Apache-2.0
// The reference against values worked out by hand: the GPU's pixels cannot tell an error that both
// have made.
#include "reference/Reference.h"

#include <gtest/gtest.h>

namespace reference {
namespace {

// The green of a grey peak after an operation at equal sizes.
int sharpenedPeak(const std::string& operation, float sharpness, uint8_t peak, uint8_t ground) {
    const Picture picture = painted({5, 5}, [=](int x, int y) {
        const uint8_t grey = x == 2 && y == 2 ? peak : ground;
        return Pixel{{grey, grey, grey}};
    });
    const Picture result = operationOf(operation).expected(picture, {5, 5}, sharpness);
    EXPECT_TRUE(result.at(2, 2).isDefined);
    EXPECT_FALSE(result.at(0, 2).isDefined) << "it has taps outside the picture";
    return result.at(2, 2).colour[1];
}

// A peak of 0.75 on 0.5: room 0.25 and maximum 0.75 give the amplitude sqrt(1/3).
TEST(ReferenceTest, CasLeavesRoom) {
    const auto exact = [](float weight) {
        return (191.0f + 4.0f * weight * 128.0f) / (1.0f + 4.0f * weight);
    };
    constexpr float kAmplitude = 0.577f;
    EXPECT_NEAR(sharpenedPeak("casSharpen", 1.0f, 191, 128), exact(-0.125f * kAmplitude), 2.0f);
    EXPECT_NEAR(sharpenedPeak("casResize", 1.0f, 191, 128), exact(-0.125f * kAmplitude), 2.0f);
    EXPECT_NEAR(sharpenedPeak("casResize", 0.5f, 191, 128), exact(-kAmplitude / 6.5f), 3.0f);
}

// Lobe -min(0.2, 0.4) / (4 x 0.2) = -0.25, limited to -0.1875: (0.4 - 0.15) / 0.25 = 1.
TEST(ReferenceTest, RcasAtItsLimitAndWithoutStrength) {
    EXPECT_EQ(sharpenedPeak("neaResize", 0.0f, 102, 51), 255);
    // At half the lobe: (0.4 - 0.075) / 0.625 = 0.52.
    EXPECT_EQ(sharpenedPeak("neaResize", 1.0f, 102, 51), 133);
    EXPECT_EQ(sharpenedPeak("neaResize", 100.0f, 102, 51), 102);
}

}  // namespace
}  // namespace reference

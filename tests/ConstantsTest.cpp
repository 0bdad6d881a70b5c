// SPDX-License-Identifier: Apache-2.0
#include "upscaler/constants.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "upscaler/buffer_key.h"

namespace android {
namespace {

using ::testing::ElementsAre;

uint32_t bits(float value) {
    uint32_t result;
    std::memcpy(&result, &value, sizeof(result));
    return result;
}

struct Easu {
    std::vector<float> con0, con1, con2, con3;

    Easu(Size in, Size out) : con0(4), con1(4), con2(4), con3(4) {
        setEasuConstants(in, out, con0, con1, con2, con3);
    }
};

struct Cas {
    std::vector<uint32_t> const0, const1;

    explicit Cas(float sharpness, CasRange range = {1, 5, 8}, Size in = {64, 48},
                 Size out = {64, 48})
        : const0(4), const1(4) {
        setCasConstants(sharpness, range, in, out, const0, const1);
    }
};

constexpr CasRange kCast = {20, 75, 120};

TEST(ConstantsTest, EasuRatiosAreProductsWithTheReciprocal) {
    // The two differ in the last bit.
    ASSERT_NE(25.0f * (1.0f / 41.0f), 25.0f / 41.0f);
    ASSERT_NE(37.0f * (1.0f / 47.0f), 37.0f / 47.0f);
    const Easu easu({25, 37}, {41, 47});
    EXPECT_EQ(bits(easu.con0[0]), bits(25.0f * (1.0f / 41.0f)));
    EXPECT_EQ(bits(easu.con0[1]), bits(37.0f * (1.0f / 47.0f)));
    EXPECT_EQ(bits(easu.con0[2]), bits((0.5f * 25.0f) * (1.0f / 41.0f) - 0.5f));
    EXPECT_EQ(bits(easu.con0[3]), bits((0.5f * 37.0f) * (1.0f / 47.0f) - 0.5f));
}

TEST(ConstantsTest, EasuOfAnEmptySourceCarriesInfinities) {
    const Easu easu({0, 4}, {8, 8});
    EXPECT_TRUE(std::isinf(easu.con1[0]));
    EXPECT_TRUE(std::isnan(easu.con3[0]));
}

TEST(ConstantsTest, CasSharpnessIsInvertedAndClamped) {
    struct Row {
        float sharpness;
        CasRange range;
        float peak;
        uint32_t half;
    };
    const Row rows[] = {
            {1.0f, {1, 5, 8}, -0.125f, 0xB000},       {0.0f, {1, 5, 8}, -0.2f, 0xB266},
            {0.9f, {1, 5, 8}, -0.129870132f, 0xB027}, {-0.25f, {1, 5, 8}, -0.2f, 0xB266},
            {0.5f, {1, 5, 8}, -1.0f / 6.5f, 0xB0EC},  {7.0f, {1, 5, 8}, -0.125f, 0xB000},
            {-7.0f, {1, 5, 8}, -0.2f, 0xB266},        {1.0f, kCast, -20.0f / 120.0f, 0xB155},
            {0.5f, kCast, -20.0f / 97.5f, 0xB290},    {0.0f, kCast, -20.0f / 75.0f, 0xB444},
            {-1.0f, kCast, -20.0f / 75.0f, 0xB444},   {1.25f, {1, 5, 8}, -0.125f, 0xB000},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sharpness);
        const Cas cas(row.sharpness, row.range);
        EXPECT_EQ(cas.const1[0], bits(row.peak));
        EXPECT_EQ(cas.const1[1], row.half);
    }
}

TEST(ConstantsTest, CasNanGoesThroughTheClamp) {
    const Cas cas(std::numeric_limits<float>::quiet_NaN());
    float peak;
    std::memcpy(&peak, &cas.const1[0], sizeof(peak));
    EXPECT_TRUE(std::isnan(peak));
    EXPECT_EQ(cas.const1[1] & 0x7FFFu, 0x7BFFu);
}

TEST(ConstantsTest, CasSizesAreQuotients) {
    const Cas cas(1.0f, {1, 5, 8}, {25, 30}, {41, 90});
    EXPECT_THAT(cas.const0,
                ElementsAre(bits(25.0f / 41.0f), bits(30.0f / 90.0f),
                            bits(0.5f * 25.0f / 41.0f - 0.5f), bits(0.5f * 30.0f / 90.0f - 0.5f)));
    EXPECT_EQ(cas.const1[2], bits(8.0f * 25.0f / 41.0f));
    EXPECT_EQ(cas.const1[3], 0u);
}

TEST(ConstantsTest, BufferKeyKeeps32BitsOfTheShiftAnd64OfTheSum) {
    struct Row {
        uint64_t address, key;
    };
    const Row rows[] = {
            {0x1000, 0xba4f8b8da8389866},
            {0x20001000, 0xba4f8b8da8389866},  // The shift drops what is different.
            {0x00007fa1b2c3d4e0, 0x6f34e5cb0714be0d},
            {0x1fffffff, 0xdd81728400edad99},  // The sum carries into bit 32.
            {0xffffffffffffffff, 0xbb043345da882cfd},
    };
    for (const Row& row : rows)
        EXPECT_EQ(bufferKey(row.address), row.key) << std::hex << row.address;
}

TEST(ConstantsTest, HalfBitsTruncateAndClamp) {
    struct Row {
        float value;
        uint32_t half;
    };
    const float inf = std::numeric_limits<float>::infinity();
    const Row rows[] = {
            {0.0f, 0x0000},       {-0.0f, 0x8000},      {1.0f, 0x3C00},
            {-2.0f, 0xC000},      {65504.0f, 0x7BFF},   {65536.0f, 0x7BFF},
            {inf, 0x7BFF},        {-inf, 0xFBFF},       {0x1p-14f, 0x0400},
            {0x1p-15f, 0x0200},   {0x1p-24f, 0x0001},   {0x1.8p-25f, 0x0000},
            {0x1.8p-24f, 0x0001}, {0x1.ffcp0f, 0x3FFF}, {0x1.fffffep0f, 0x3FFF},
            {32768.0f, 0x7800},   {0x1.8p-15f, 0x0300},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(halfBits(row.value), row.half);
    }
}

}  // namespace
}  // namespace android

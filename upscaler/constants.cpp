// SPDX-License-Identifier: Apache-2.0
#include "upscaler/constants.h"

#include <array>
#include <cmath>
#include <cstring>

namespace android {
namespace {

uint32_t bitsOf(float value) {
    uint32_t bits;
    static_assert(sizeof(bits) == sizeof(value), "IEEE single precision");
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

// Indexed by sign and exponent, the upper nine bits of a float.
struct HalfTables {
    std::array<uint16_t, 512> base{};
    std::array<uint8_t, 512> shift{};
};

constexpr HalfTables makeHalfTables() {
    HalfTables tables;
    for (int i = 0; i < 256; ++i) {
        const int e = i - 127;
        int base = 0x7BFF;
        int shift = 24;
        if (e < -24) {
            base = 0;
        } else if (e < -14) {
            base = 0x0400 >> (-e - 14);
            shift = -e - 1;
        } else if (e <= 15) {
            base = (e + 15) << 10;
            shift = 13;
        }
        const auto at = static_cast<size_t>(i);
        tables.base[at] = static_cast<uint16_t>(base);
        tables.base[at + 256] = static_cast<uint16_t>(base | 0x8000);
        tables.shift[at] = tables.shift[at + 256] = static_cast<uint8_t>(shift);
    }
    return tables;
}

constexpr HalfTables kHalf = makeHalfTables();

}  // namespace

void setEasuConstants(Size in, Size out, std::vector<float>& con0, std::vector<float>& con1,
                      std::vector<float>& con2, std::vector<float>& con3) {
    const float rW = 1.0f / in.width;
    const float rH = 1.0f / in.height;
    // Products with the reciprocal, not quotients: they differ in the last bit.
    const float oW = 1.0f / out.width;
    const float oH = 1.0f / out.height;
    con0[0] = in.width * oW;
    con0[1] = in.height * oH;
    con0[2] = (0.5f * in.width) * oW + (-0.5f);
    con0[3] = (0.5f * in.height) * oH + (-0.5f);
    con1[0] = rW;
    con1[1] = rH;
    con1[2] = rW;
    con1[3] = -rH;
    con2[0] = -rW;
    con2[1] = rH + rH;
    con2[2] = rW;
    con2[3] = rH + rH;
    con3[0] = rW * 0.0f;
    con3[1] = rH * 4.0f;
    con3[2] = 0.0f;
    con3[3] = 0.0f;
}

float rcasScale(float stops) {
    return exp2f(-stops);
}

void setCasConstants(float sharpness, const CasRange& range, Size in, Size out,
                     std::vector<uint32_t>& const0, std::vector<uint32_t>& const1) {
    // The scale is inverted: 1 asks for the weakest sharpening. Two tests, not std::clamp, so that
    // a NaN passes through.
    float x = 1.0f - sharpness;
    if (x < 0.0f) x = 0.0f;
    if (x > 1.0f) x = 1.0f;
    const float peak =
            -range.numerator / (x * range.strongest + (range.weakest - x * range.weakest));

    const0[0] = bitsOf(in.width / out.width);
    const0[1] = bitsOf(in.height / out.height);
    const0[2] = bitsOf(0.5f * in.width / out.width - 0.5f);
    const0[3] = bitsOf(0.5f * in.height / out.height - 0.5f);
    const1[0] = bitsOf(peak);
    const1[1] = halfBits(peak);
    const1[2] = bitsOf(8.0f * in.width / out.width);
    const1[3] = 0;
}

uint32_t halfBits(float value) {
    const uint32_t bits = bitsOf(value);
    const uint32_t i = bits >> 23;
    return kHalf.base[i] + ((bits & 0x7fffff) >> kHalf.shift[i]);
}

}  // namespace android

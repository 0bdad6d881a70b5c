// SPDX-License-Identifier: Apache-2.0
#include "host/pixel_formats.h"

#include <cstring>

namespace android {
namespace host {
namespace {

void swapRedAndBlue(const uint8_t* from, uint8_t* to, size_t pixels) {
    for (; pixels > 0; --pixels, from += 4, to += 4) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
        to[3] = from[3];
    }
}

void dropFourth(const uint8_t* from, uint8_t* to, size_t pixels) {
    for (; pixels > 0; --pixels, from += 4, to += 3)
        std::memcpy(to, from, 3);
}

void packTo565(const uint8_t* from, uint8_t* to, size_t pixels) {
    const auto quantise = [](unsigned value, unsigned top) { return (value * top + 127) / 255; };
    for (; pixels > 0; --pixels, from += 4, to += 2) {
        const auto word = static_cast<uint16_t>(quantise(from[0], 31) << 11 |
                                                quantise(from[1], 63) << 5 | quantise(from[2], 31));
        std::memcpy(to, &word, sizeof(word));
    }
}

// The float of these bits as a half. It comes from a half-precision texture, so nothing is rounded
// here. By integers, which the client's floating-point environment does not change.
uint16_t exactHalf(uint32_t bits) {
    const uint32_t sign = bits >> 16 & 0x8000U;
    const uint32_t mantissa = (bits & 0x7fffffU) >> 13;
    const int exponent = static_cast<int>(bits >> 23 & 0xffU) - 127;
    if (exponent > 15)
        return static_cast<uint16_t>(sign | 0x7c00U | mantissa);  // Infinity and NaN.
    if (exponent >= -14) {
        return static_cast<uint16_t>(sign | static_cast<uint32_t>(exponent + 15) << 10 | mantissa);
    }
    if (exponent < -24) return static_cast<uint16_t>(sign);
    return static_cast<uint16_t>(sign | (mantissa | 0x400U) >> (-14 - exponent));
}

void floatsToHalves(const uint8_t* from, uint8_t* to, size_t pixels) {
    for (size_t component = 4 * pixels; component > 0; --component, from += 4, to += 2) {
        uint32_t bits;
        std::memcpy(&bits, from, sizeof(bits));
        const uint16_t half = exactHalf(bits);
        std::memcpy(to, &half, sizeof(half));
    }
}

// clang-format off
constexpr FormatInfo kFormats[] = {
    // format, bytes, GL's format, upload, read back
    {PIXEL_FORMAT_RGBA_8888, 4, GL_RGBA8,
     {GL_RGBA, GL_UNSIGNED_BYTE, 4, nullptr}, {GL_RGBA, GL_UNSIGNED_BYTE, 4, nullptr}},
    {PIXEL_FORMAT_RGBX_8888, 4, GL_RGB8,
     {GL_RGB, GL_UNSIGNED_BYTE, 3, dropFourth}, {GL_RGBA, GL_UNSIGNED_BYTE, 4, nullptr}},
    {PIXEL_FORMAT_BGRA_8888, 4, GL_RGBA8,
     {GL_RGBA, GL_UNSIGNED_BYTE, 4, swapRedAndBlue}, {GL_RGBA, GL_UNSIGNED_BYTE, 4, swapRedAndBlue}},
    {PIXEL_FORMAT_RGB_888, 3, GL_RGB8,
     {GL_RGB, GL_UNSIGNED_BYTE, 3, nullptr}, {GL_RGBA, GL_UNSIGNED_BYTE, 4, dropFourth}},
    {PIXEL_FORMAT_RGB_565, 2, GL_RGB565,
     {GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 2, nullptr}, {GL_RGBA, GL_UNSIGNED_BYTE, 4, packTo565}},
    {PIXEL_FORMAT_RGBA_1010102, 4, GL_RGB10_A2,
     {GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV, 4, nullptr},
     {GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV, 4, nullptr}},
    {PIXEL_FORMAT_RGBA_FP16, 8, GL_RGBA16F,
     {GL_RGBA, GL_HALF_FLOAT, 8, nullptr}, {GL_RGBA, GL_FLOAT, 16, floatsToHalves}},
};
// clang-format on

}  // namespace

const FormatInfo* findFormat(PixelFormat format) {
    for (const FormatInfo& info : kFormats) {
        if (info.format == format) return &info;
    }
    return nullptr;
}

}  // namespace host

uint32_t bytesPerPixel(PixelFormat format) {
    const host::FormatInfo* info = host::findFormat(format);
    return info == nullptr ? 0 : info->bytesPerPixel;
}

}  // namespace android

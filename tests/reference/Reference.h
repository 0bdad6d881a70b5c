// SPDX-License-Identifier: Apache-2.0
/// @file
/// The six operations in plain single-precision C++, independent of the shaders: what the GPU's
/// pixels and constants are held against.
#ifndef UPSCALER_TESTS_REFERENCE_REFERENCE_H
#define UPSCALER_TESTS_REFERENCE_REFERENCE_H

#include <array>
#include <cstdint>

#include "reference/Picture.h"

namespace reference {

Picture fsrResize(const Picture& source, Size target, float stops);
Picture neaResize(const Picture& source, Size target, float stops);
Picture casSharpen(const Picture& source, Size target, float sharpness);
Picture casResize(const Picture& source, Size target, float sharpness);
Picture casvUpscale(const Picture& source, Size target, float sharpness);
Picture casTUpscale(const Picture& source, Size target, float sharpness);

Rgb rgbToHsv(const Rgb& rgb);
Rgb hsvToRgb(const Rgb& hsv);

/// The uniforms "vec4_0" to "vec4_3".
using EasuConstants = std::array<std::array<float, 4>, 4>;
EasuConstants easuConstants(Size source, Size target);

/// The negative weight of a ring's neighbours where contrast is lowest.
float casPeak(float sharpness);
float casTPeak(float sharpness);

/// The uniforms "Const0" and "Const1".
using CasConstants = std::array<std::array<uint32_t, 4>, 2>;
CasConstants casConstants(Size source, Size target, float peak);

/// Half-precision bits; the mantissa is cut off, and what is too large becomes the largest half.
uint32_t halfBits(float value);

float approximateSqrt(float value);
float approximateReciprocal(float value);
float approximateReciprocalMedium(float value);

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_REFERENCE_H

// SPDX-License-Identifier: Apache-2.0
/// @file
/// The six operations in plain single-precision C++, independent of the shaders: what the GPU's
/// pixels are held against.
#ifndef UPSCALER_TESTS_REFERENCE_REFERENCE_H
#define UPSCALER_TESTS_REFERENCE_REFERENCE_H

#include "reference/Picture.h"

namespace reference {

Picture fsrResize(const Picture& source, Size target, float stops);
Picture neaResize(const Picture& source, Size target, float stops);
Picture casSharpen(const Picture& source, Size target, float sharpness);
Picture casResize(const Picture& source, Size target, float sharpness);
Picture casvUpscale(const Picture& source, Size target, float sharpness);
Picture casTUpscale(const Picture& source, Size target, float sharpness);

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_REFERENCE_H

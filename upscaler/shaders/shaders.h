// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_SHADERS_SHADERS_H
#define UPSCALER_SHADERS_SHADERS_H

#include <string>

// The GLSL ES 3.20 sources, ready to compile. Every program pairs kFullScreenVertex with one
// fragment shader, and every fragment shader reads one sampler, "screenTexture".
//
// Some sources pass a texel through max(x, 0.0) before its first min or max. That changes no bit,
// because texels are not negative. It is for llvmpipe, which tests the second operand of each min
// and max for NaN. It samples a texel as a half-precision number and also tests it as one, and
// those tests are not vectorised: they were up to half of a pass's instructions. abs() does not
// help: the compiler looks through it.
namespace android {

extern const char kFullScreenVertex[];

extern const char kCopyExternalFragment[];
extern const char kCopy2dFragment[];
extern const char kRgb2hsvFragment[];
extern const char kEasuFragment[];
extern const char kRcasFragment[];

std::string casSharpenFragment();
std::string casUpscaleFragment();
std::string casVUpscaleFragment();
std::string casTUpscaleFragment();

}  // namespace android

// Each fragment shader: its name for tests and benchmarks, and its text.
#define UPSCALER_FRAGMENT_SHADERS(X) \
    X(copy, kCopyExternalFragment)   \
    X(copy2d, kCopy2dFragment)       \
    X(rgb2hsv, kRgb2hsvFragment)     \
    X(easu, kEasuFragment)           \
    X(rcas, kRcasFragment)           \
    X(cas, casUpscaleFragment())     \
    X(cast, casTUpscaleFragment())   \
    X(casv, casVUpscaleFragment())   \
    X(casSharpen, casSharpenFragment())

#endif  // UPSCALER_SHADERS_SHADERS_H

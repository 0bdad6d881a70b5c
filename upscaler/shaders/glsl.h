// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_SHADERS_GLSL_H
#define UPSCALER_SHADERS_GLSL_H

// Text that several sources begin with or share, as string literals to be put together by
// adjacency.
//
// Some texts pass a texel through max(x, 0.0) before its first min or max. That changes no bit, for
// texels are not negative. It is for llvmpipe, which tests the second operand of each min and max
// for NaN: a texel, sampled as a half-precision number, it tests as one, and such tests are not
// vectorised. Without it they were up to half of a pass's instructions. abs() would not do: the
// compiler looks through it.

#define GLSL_VERSION "#version 320 es\n"

#define GLSL_EXTERNAL_SAMPLERS "#extension GL_OES_EGL_image_external_essl3 : enable\n"

// The scalar part of the portability layer that the EASU and RCAS sources are written in.
#define GLSL_FSR_SCALARS                          \
    "float AF1_x(float a) { return a; }\n"        \
    "uint AU1_x(uint a) { return a; }\n"          \
    "float ARcpF1(float x) { return 1.0 / x; }\n" \
    "float ASatF1(float x) { return clamp(x, 0.0, 1.0); }\n"

#endif  // UPSCALER_SHADERS_GLSL_H

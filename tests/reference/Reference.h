// SPDX-License-Identifier: Apache-2.0
/// @file
/// The operations in plain single-precision C++, independent of the shaders: what the GPU's
/// pixels are held against.
#ifndef UPSCALER_TESTS_REFERENCE_REFERENCE_H
#define UPSCALER_TESTS_REFERENCE_REFERENCE_H

#include <string>
#include <vector>

#include "reference/Picture.h"

namespace reference {

/// By a driver's arithmetic, which docs/drivers.md tells of.
struct Tolerances {
    Tolerance llvmpipe;     ///< Samples at half precision, filters in 8 bits. zink is the same.
    Tolerance swiftShader;  ///< Works at full precision throughout.
    // At full precision but for the filter, in 8 bits.
    Tolerance eightBitFilter = swiftShader;    ///< virgl, and ANGLE, on llvmpipe.
    Tolerance truncatingFilter = swiftShader;  ///< llvmpipe without AVX: on arm64.
};

struct Setting {
    float sharpness;
    Tolerances tolerances;
};

struct Operation {
    std::string name;
    Picture (*expected)(const Picture& source, Size target, float sharpness);
    int flatError;        ///< What the approximate reciprocals may change a flat colour by.
    Tolerances unscaled;  ///< At equal sizes, whatever the sharpness.
    std::vector<Setting> settings;
};

/// Throws if there is none: every operation has to have one.
const Operation& operationOf(const std::string& name);

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_REFERENCE_H

// SPDX-License-Identifier: Apache-2.0
// The arithmetic behind the operations' uniforms. It uses no GL, and single precision throughout.
#ifndef UPSCALER_CONSTANTS_H
#define UPSCALER_CONSTANTS_H

#include <cstdint>
#include <vector>

namespace android {

// Width and height in pixels, in the precision of the constants.
struct Size {
    float width;
    float height;
};

// Writes the four vectors of the published EASU set-up as plain floats; the input viewport is the
// whole source. Each vector already has four elements.
void setEasuConstants(Size in, Size out, std::vector<float>& con0, std::vector<float>& con1,
                      std::vector<float>& con2, std::vector<float>& con3);

// The scale that RCAS takes for a sharpness in stops. It is not clamped: a negative number of stops
// sharpens beyond the published maximum.
float rcasScale(float stops);

// The range of a CAS sharpening weight: -numerator / lerp(weakest, strongest, 1 - sharpness).
struct CasRange {
    float numerator;
    float strongest;
    float weakest;
};

// Writes the two vectors of the CAS set-up as bit patterns. Each vector already has four elements.
void setCasConstants(float sharpness, const CasRange& range, Size in, Size out,
                     std::vector<uint32_t>& const0, std::vector<uint32_t>& const1);

// Half-precision bits in the low 16, by the table method. The mantissa is truncated; a value that
// is too large, infinite or not a number becomes the largest finite half of its sign.
uint32_t halfBits(float value);

}  // namespace android

#endif  // UPSCALER_CONSTANTS_H

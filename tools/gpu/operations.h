// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_GPU_OPERATIONS_H
#define UPSCALER_TOOLS_GPU_OPERATIONS_H

#include <upscaler/upscaler.h>

#include <array>
#include <string>
#include <vector>

#include "common/size.h"

namespace upscale {

/// How an operation counts its sharpness.
struct SharpnessScale {
    float strongest;
    float weakest;
    const char* words;
};

/// The scales for which operations have a default sharpness; in between it changes evenly.
constexpr std::array<float, 5> kScalesOfDefaults = {1.0f, 1.5f, 2.0f, 3.0f, 4.0f};

/// One of the library's operations, as the command offers it.
struct Operation {
    using Method = void (android::Upscaler::*)(android::sp<android::GraphicBuffer>& source,
                                               android::sp<android::GraphicBuffer>& destination,
                                               float sharpness, android::sp<android::Fence>* fence);
    const char* name;
    Method method;
    const char* description;
    const SharpnessScale* scale;
    std::array<float, kScalesOfDefaults.size()> defaults;  ///< Sharpness at `kScalesOfDefaults`.
    bool mixesColours;  ///< Otherwise hue and saturation are those of one pixel.
};

extern const std::vector<Operation> kOperations;

/// The sharpness unless another one is asked for.
float defaultSharpness(const Operation& operation, Size from, Size to);

/// @return null if no operation has that name.
const Operation* findOperation(const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_OPERATIONS_H

// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_GPU_OPERATIONS_H
#define UPSCALER_TOOLS_GPU_OPERATIONS_H

#include <upscaler/upscaler.h>

#include <string>
#include <vector>

namespace upscale {

/// How an operation counts its sharpness.
struct SharpnessScale {
    float strongest;
    float weakest;
    const char* words;
};

/// One of the library's operations, as the command offers it.
struct Operation {
    using Method = void (android::Upscaler::*)(android::sp<android::GraphicBuffer>& source,
                                               android::sp<android::GraphicBuffer>& destination,
                                               float sharpness, android::sp<android::Fence>* fence);
    const char* name;
    Method method;
    const char* description;
    const SharpnessScale* scale;
    float defaultSharpness;
    bool mixesColours;  ///< Otherwise hue and saturation are those of one pixel.
};

extern const std::vector<Operation> kOperations;

/// @return null if no operation has that name.
const Operation* findOperation(const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_OPERATIONS_H

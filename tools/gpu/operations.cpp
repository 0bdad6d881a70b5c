// SPDX-License-Identifier: Apache-2.0
#include "gpu/operations.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace upscale {
namespace {

using android::Upscaler;

constexpr SharpnessScale kStops = {0.0f, std::numeric_limits<float>::infinity(),
                                   "in stops: 0 strongest, each +1 halves it"};
constexpr SharpnessScale kShare = {0.0f, 1.0f, "0 to 1: 0 strongest, 1 weakest"};

}  // namespace

// The defaults from 1.5 on have the best mean SSIM over photographs, drawings and screens, as
// scripts/sharpness measures it; those of fsr suit pictures that Lanczos has reduced as well. At
// the size of the source there is nothing to compare with.
// clang-format off
const std::vector<Operation> kOperations = {
    {"fsr", &Upscaler::fsrResize, "edge-adaptive upscaling, then sharpening", &kStops, {0.5f, 1.0f, 1.0f, 1.0f, 1.25f}, true},
    {"nea", &Upscaler::neaResize, "nearest pixel, then sharpening: keeps hard pixels", &kStops, {2.0f, 4.0f, 6.0f, 6.0f, 6.0f}, true},
    {"cas-sharpen", &Upscaler::casSharpen, "sharpening; a new size comes from linear scaling", &kShare, {0.5f, 0.2f, 0.0f, 0.3f, 0.0f}, true},
    {"cas", &Upscaler::casResize, "scaling and sharpening in one step", &kShare, {0.25f, 0.4f, 0.4f, 0.6f, 0.3f}, true},
    {"casv", &Upscaler::casvUpscale, "as cas, on brightness only: colours come unmixed from the nearest pixel", &kShare, {0.25f, 0.2f, 0.2f, 0.4f, 0.2f}, false},
    {"cast", &Upscaler::casTUpscale, "as cas, cheaper and with a stronger range", &kShare, {0.5f, 0.7f, 0.7f, 1.0f, 0.7f}, true},
};
// clang-format on

float defaultSharpness(const Operation& operation, Size from, Size to) {
    const auto& scales = kScalesOfDefaults;
    const double areas = static_cast<double>(to.pixels()) / static_cast<double>(from.pixels());
    const auto scale =
            std::clamp(static_cast<float>(std::sqrt(areas)), scales.front(), scales.back());
    const auto above = std::upper_bound(scales.begin(), scales.end() - 1, scale);
    const auto i = static_cast<std::size_t>(above - scales.begin());
    const float share = (scale - scales[i - 1]) / (scales[i] - scales[i - 1]);
    return operation.defaults[i - 1] + share * (operation.defaults[i] - operation.defaults[i - 1]);
}

const Operation* findOperation(const std::string& name) {
    for (const Operation& operation : kOperations) {
        if (name == operation.name) return &operation;
    }
    return nullptr;
}

}  // namespace upscale

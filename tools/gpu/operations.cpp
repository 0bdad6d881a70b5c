// SPDX-License-Identifier: Apache-2.0
#include "gpu/operations.h"

#include <limits>

namespace upscale {
namespace {

using android::Upscaler;

constexpr SharpnessScale kStops = {0.0f, std::numeric_limits<float>::infinity(),
                                   "in stops: 0 strongest, each +1 halves it"};
constexpr SharpnessScale kShare = {0.0f, 1.0f, "0 to 1: 0 strongest, 1 weakest"};

}  // namespace

// With the default sharpness the sample picture, halved and doubled again, comes back as it was to
// within 0.05 dB of the best, as docs/images/quality.sh measures it. Where the best is an end of
// the scale (nea, cas-sharpen) the default stops short of it.
// clang-format off
const std::vector<Operation> kOperations = {
    {"fsr", &Upscaler::fsrResize, "edge-adaptive upscaling, then sharpening", &kStops, 0.5f, true},
    {"nea", &Upscaler::neaResize, "nearest pixel, then sharpening: keeps hard pixels", &kStops, 2.0f, true},
    {"cas-sharpen", &Upscaler::casSharpen, "sharpening; a new size comes from linear scaling", &kShare, 0.5f, true},
    {"cas", &Upscaler::casResize, "scaling and sharpening in one step", &kShare, 0.25f, true},
    {"casv", &Upscaler::casvUpscale, "as cas, on brightness only: colours come unmixed from the nearest pixel", &kShare, 0.25f, false},
    {"cast", &Upscaler::casTUpscale, "as cas, cheaper and with a stronger range", &kShare, 0.5f, true},
};
// clang-format on

const Operation* findOperation(const std::string& name) {
    for (const Operation& operation : kOperations) {
        if (name == operation.name) return &operation;
    }
    return nullptr;
}

}  // namespace upscale

// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_TARGET_SIZE_H
#define UPSCALER_TOOLS_COMMAND_TARGET_SIZE_H

#include <optional>
#include <string>

#include "common/size.h"

namespace upscale {

/// The size that the output is to have, as one of the options gives it. All sizes are in pixels.
struct TargetSize {
    /// A side of 0 follows from the other one, so that the picture keeps its shape.
    std::optional<Size> size;
    /// The largest size of the picture's own shape that is within this one.
    std::optional<Size> fit;
    /// A multiple of the input's size. Without any of the others it counts.
    double scale = 0;

    /// The size for an input of the given size. A side that follows has at least one pixel. A side
    /// of 0, or the largest number, may come of `scale` only.
    Size of(Size from) const;
};

/// What can be read from the text of --size: "1920x1080", "1920x" or "x1080".
std::optional<Size> targetSizeIn(const std::string& text);
/// From "1920x1080" alone.
std::optional<Size> sizeIn(const std::string& text);
/// From the text of --scale: "2", "0.5" or "50%".
std::optional<double> scaleIn(const std::string& text);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_TARGET_SIZE_H

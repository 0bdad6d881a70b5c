// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_SIZE_H
#define UPSCALER_TOOLS_COMMON_SIZE_H

#include <cstdint>
#include <string>

namespace upscale {

/// Of a picture, in pixels.
struct Size {
    std::uint32_t width;
    std::uint32_t height;

    bool operator==(const Size& other) const {
        return width == other.width && height == other.height;
    }
    std::uint64_t pixels() const { return std::uint64_t{width} * height; }
};

inline std::string inPixels(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_SIZE_H

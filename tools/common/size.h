// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_SIZE_H
#define UPSCALER_TOOLS_COMMON_SIZE_H

#include <algorithm>
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

/// Whether something keeps its shape: a side has the length that follows from the other side, or
/// the next whole pixel.
inline bool keepsShape(Size from, Size to) {
    const std::uint64_t one = std::uint64_t{from.width} * to.height;
    const std::uint64_t other = std::uint64_t{from.height} * to.width;
    return std::max(one, other) - std::min(one, other) < std::max(from.width, from.height);
}

/// Whether a side becomes shorter.
inline bool reduces(Size from, Size to) {
    return to.width < from.width || to.height < from.height;
}

inline std::string inPixels(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_SIZE_H

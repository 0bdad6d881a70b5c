// SPDX-License-Identifier: Apache-2.0
#include "command/target_size.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "common/number.h"

namespace upscale {
namespace {

constexpr std::uint64_t kMostSide = std::numeric_limits<std::uint32_t>::max();

std::uint32_t scaledSide(std::uint32_t side, double scale) {
    return static_cast<std::uint32_t>(
            std::min(std::floor(side * scale + 0.5), static_cast<double>(kMostSide)));
}

// The side of `from` scaled as `other` is to become `otherTo`, rounded.
std::uint32_t following(std::uint32_t from, std::uint32_t other, std::uint32_t otherTo) {
    const std::uint64_t side = (std::uint64_t{from} * otherTo + other / 2) / other;
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(side, 1, kMostSide));
}

std::optional<std::uint32_t> sideIn(const std::string& text) {
    auto side = parseNumber<std::uint32_t>(text);
    if (side == 0u) side.reset();
    return side;
}

}  // namespace

Size TargetSize::of(Size from) const {
    Size to = size.value_or(Size{});
    if (fit) {
        // The side that comes to its limit first decides.
        const bool wide =
                std::uint64_t{from.width} * fit->height >= std::uint64_t{from.height} * fit->width;
        (wide ? to.width : to.height) = wide ? fit->width : fit->height;
    } else if (!size) {
        return {scaledSide(from.width, scale), scaledSide(from.height, scale)};
    }
    if (to.width == 0) to.width = following(from.width, from.height, to.height);
    if (to.height == 0) to.height = following(from.height, from.width, to.width);
    return to;
}

std::optional<Size> targetSizeIn(const std::string& text) {
    const std::size_t x = text.find('x');
    if (x == std::string::npos || text.size() == 1) return std::nullopt;
    const std::string width = text.substr(0, x);
    const std::string height = text.substr(x + 1);
    const auto left = width.empty() ? 0 : sideIn(width);
    const auto right = height.empty() ? 0 : sideIn(height);
    if (!left || !right) return std::nullopt;
    return Size{*left, *right};
}

std::optional<Size> sizeIn(const std::string& text) {
    auto size = targetSizeIn(text);
    if (size && (size->width == 0 || size->height == 0)) size.reset();
    return size;
}

std::optional<double> scaleIn(const std::string& text) {
    const bool percent = !text.empty() && text.back() == '%';
    auto scale = parseNumber<double>(percent ? text.substr(0, text.size() - 1) : text);
    if (scale && percent) *scale /= 100;
    return scale && std::isfinite(*scale) && *scale > 0 ? scale : std::nullopt;
}

}  // namespace upscale

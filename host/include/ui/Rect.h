// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_RECT_H
#define UPSCALER_HOST_UI_RECT_H

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <type_traits>

namespace android {

/// A rectangle in pixels. `right` and `bottom` are the first column and row outside. As on Android,
/// but for the members that need other types.
class Rect {
    template <typename Integer>
    using Wide = std::common_type_t<Integer, int32_t>;

  public:
    static const Rect INVALID_RECT;  ///< What `Rect()` makes.
    static const Rect EMPTY_RECT;    ///< All zeros.

    /// As on Android.
    /// @{
    constexpr Rect() = default;
    /// What an int32_t cannot hold becomes the largest one.
    template <typename Integer>
    constexpr Rect(Integer width, Integer height)
        : right(static_cast<int32_t>(std::min<Wide<Integer>>(width, INT32_MAX))),
          bottom(static_cast<int32_t>(std::min<Wide<Integer>>(height, INT32_MAX))) {}
    constexpr Rect(int32_t l, int32_t t, int32_t r, int32_t b)
        : left(l), top(t), right(r), bottom(b) {}

    void makeInvalid() { *this = Rect(); }
    void clear() { *this = Rect(0, 0); }

    constexpr int32_t getWidth() const { return right - left; }
    constexpr int32_t getHeight() const { return bottom - top; }
    constexpr int32_t width() const { return getWidth(); }
    constexpr int32_t height() const { return getHeight(); }
    constexpr Rect getBounds() const { return {getWidth(), getHeight()}; }
    constexpr bool isValid() const { return getWidth() >= 0 && getHeight() >= 0; }
    constexpr bool isEmpty() const { return getWidth() <= 0 || getHeight() <= 0; }

    Rect& offsetTo(int32_t x, int32_t y) {
        *this = {x, y, x + getWidth(), y + getHeight()};
        return *this;
    }
    Rect& offsetBy(int32_t x, int32_t y) { return offsetTo(left + x, top + y); }
    Rect& offsetToOrigin() { return offsetTo(0, 0); }
    /// Moves each edge towards the middle.
    Rect& inset(int32_t l, int32_t t, int32_t r, int32_t b) {
        *this = {left + l, top + t, right - r, bottom - b};
        return *this;
    }
    /// @param result gets what both have in common, which is empty or invalid if they do not meet.
    ///     Not null.
    /// @return whether they meet.
    bool intersect(const Rect& with, Rect* result) const {
        *result = {std::max(left, with.left), std::max(top, with.top), std::min(right, with.right),
                   std::min(bottom, with.bottom)};
        return !result->isEmpty();
    }

    constexpr bool operator==(const Rect& other) const {
        return left == other.left && top == other.top && right == other.right &&
               bottom == other.bottom;
    }
    constexpr bool operator!=(const Rect& other) const { return !(*this == other); }
    /// By top, left, bottom, right.
    bool operator<(const Rect& other) const {
        return std::tie(top, left, bottom, right) <
               std::tie(other.top, other.left, other.bottom, other.right);
    }

    int32_t left = 0;
    int32_t top = 0;
    int32_t right = -1;
    int32_t bottom = -1;
    /// @}
};

inline constexpr Rect Rect::INVALID_RECT{};
inline constexpr Rect Rect::EMPTY_RECT{0, 0};

}  // namespace android

#endif  // UPSCALER_HOST_UI_RECT_H

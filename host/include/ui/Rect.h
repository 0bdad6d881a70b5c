// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_RECT_H
#define UPSCALER_HOST_UI_RECT_H

#include <cstdint>

namespace android {

/// A rectangle in pixels. `right` and `bottom` are the first column and row outside.
class Rect {
  public:
    /// As on Android.
    /// @{
    constexpr Rect() = default;
    constexpr Rect(int32_t width, int32_t height) : right(width), bottom(height) {}
    constexpr Rect(int32_t l, int32_t t, int32_t r, int32_t b)
        : left(l), top(t), right(r), bottom(b) {}

    constexpr int32_t getWidth() const { return right - left; }
    constexpr int32_t getHeight() const { return bottom - top; }
    constexpr int32_t width() const { return getWidth(); }
    constexpr int32_t height() const { return getHeight(); }
    constexpr bool isValid() const { return getWidth() >= 0 && getHeight() >= 0; }
    constexpr bool isEmpty() const { return getWidth() <= 0 || getHeight() <= 0; }

    constexpr bool operator==(const Rect& other) const {
        return left == other.left && top == other.top && right == other.right &&
               bottom == other.bottom;
    }
    constexpr bool operator!=(const Rect& other) const { return !(*this == other); }

    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
    /// @}
};

}  // namespace android

#endif  // UPSCALER_HOST_UI_RECT_H

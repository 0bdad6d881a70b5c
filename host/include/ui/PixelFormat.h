// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_PIXELFORMAT_H
#define UPSCALER_HOST_UI_PIXELFORMAT_H

#include <system/graphics.h>
#include <ui/HostExport.h>

#include <cstdint>

namespace android {

using PixelFormat = int32_t;

/// The formats a host buffer can have, and the two values that stand for none. Each names its bytes
/// in the order they have in memory; RGB_565 and RGBA_1010102 are little-endian words whose first
/// component is in the highest (565) or lowest (1010102) bits.
enum {
    PIXEL_FORMAT_UNKNOWN = 0,
    PIXEL_FORMAT_NONE = 0,
    PIXEL_FORMAT_RGBA_8888 = HAL_PIXEL_FORMAT_RGBA_8888,
    PIXEL_FORMAT_RGBX_8888 = HAL_PIXEL_FORMAT_RGBX_8888,
    PIXEL_FORMAT_RGB_888 = HAL_PIXEL_FORMAT_RGB_888,
    PIXEL_FORMAT_RGB_565 = HAL_PIXEL_FORMAT_RGB_565,
    PIXEL_FORMAT_BGRA_8888 = HAL_PIXEL_FORMAT_BGRA_8888,
    PIXEL_FORMAT_RGBA_FP16 = HAL_PIXEL_FORMAT_RGBA_FP16,
    PIXEL_FORMAT_RGBA_1010102 = HAL_PIXEL_FORMAT_RGBA_1010102,
};

/// Bytes that a pixel takes in memory; 0 for a format that the host does not have. Any thread.
UPSCALER_HOST_API uint32_t bytesPerPixel(PixelFormat format);

}  // namespace android

#endif  // UPSCALER_HOST_UI_PIXELFORMAT_H

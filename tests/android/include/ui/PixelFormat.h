// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ANDROID_UI_PIXELFORMAT_H
#define TESTS_ANDROID_UI_PIXELFORMAT_H

#include <system/graphics.h>

namespace android {

enum { PIXEL_FORMAT_RGBA_8888 = HAL_PIXEL_FORMAT_RGBA_8888 };

typedef int32_t PixelFormat;

}  // namespace android

#endif  // TESTS_ANDROID_UI_PIXELFORMAT_H

// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_LOG_H
#define UPSCALER_HOST_LOG_H

#include <android/log.h>

/// An error line of the host, printf style.
#define HOST_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "UpscalerHost", __VA_ARGS__)

#endif  // UPSCALER_HOST_LOG_H

// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_LOG_H
#define UPSCALER_HOST_LOG_H

#include <android/log.h>

/// An error line of the host, printf style. With no lock held: the client's logger, which gets it,
/// may call the host.
#define HOST_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "UpscalerHost", __VA_ARGS__)

namespace android::host {

/// A client's text as a line of the log can have it: without control characters, which could start
/// a line of their own, and cut to what leaves room for the rest.
struct OneLine {
    explicit OneLine(const char* from);
    char text[256];
};

}  // namespace android::host

#endif  // UPSCALER_HOST_LOG_H

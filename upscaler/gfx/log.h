// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_GFX_LOG_H
#define UPSCALER_GFX_LOG_H

#include <android/log.h>

#include "upscaler/upscaler.h"

namespace android {

constexpr char kLogTag[] = "Upscaler";

// Both bits have to be set: with only one of them the log stays quiet.
constexpr uint32_t kDebugLogMask = 0x21;

// Objects on several threads share the level. Clients see a plain variable; the library itself
// reads and writes it atomically.
inline bool debugLogIsOn() {
    return (__atomic_load_n(&resizeBufferLogLevel, __ATOMIC_RELAXED) & kDebugLogMask) ==
           kDebugLogMask;
}
inline void setLogLevel(uint32_t level) {
    __atomic_store_n(&resizeBufferLogLevel, level, __ATOMIC_RELAXED);
}

}  // namespace android

// The arguments are only evaluated when the line is written: some of them query GL or EGL.
#define UPS_LOGD(...)                                                                \
    do {                                                                             \
        if (::android::debugLogIsOn())                                               \
            __android_log_print(ANDROID_LOG_DEBUG, ::android::kLogTag, __VA_ARGS__); \
    } while (0)

#define UPS_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, ::android::kLogTag, __VA_ARGS__)

#endif  // UPSCALER_GFX_LOG_H

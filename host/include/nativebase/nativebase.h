// SPDX-License-Identifier: Apache-2.0
/// @file
/// The native side of a graphic buffer, with the platform's layout: what EGL gets as its client
/// buffer, and the hooks by which it holds one.
#ifndef UPSCALER_HOST_NATIVEBASE_NATIVEBASE_H
#define UPSCALER_HOST_NATIVEBASE_NATIVEBASE_H

#include <cutils/native_handle.h>

#include <cstdint>

#define ANDROID_NATIVE_MAKE_CONSTANT(a, b, c, d) \
    (((unsigned)(a) << 24) | ((unsigned)(b) << 16) | ((unsigned)(c) << 8) | (unsigned)(d))
#define ANDROID_NATIVE_BUFFER_MAGIC ANDROID_NATIVE_MAKE_CONSTANT('_', 'b', 'f', 'r')

struct android_native_base_t {
    int magic = 0;
    int version = 0;
    void* reserved[4] = {};
    /// Take and give back a strong reference on the object. Any thread; never null on a live one.
    void (*incRef)(android_native_base_t* base) = nullptr;
    void (*decRef)(android_native_base_t* base) = nullptr;
};

struct ANativeWindowBuffer {
    ANativeWindowBuffer() {
        common.magic = static_cast<int>(ANDROID_NATIVE_BUFFER_MAGIC);
        common.version = static_cast<int>(sizeof(ANativeWindowBuffer));
    }
    void incStrong(const void*) const {
        common.incRef(const_cast<android_native_base_t*>(&common));
    }
    void decStrong(const void*) const {
        common.decRef(const_cast<android_native_base_t*>(&common));
    }

    android_native_base_t common;
    int width = 0;   ///< In pixels, as asked for.
    int height = 0;  ///< In pixels, as asked for.
    int stride = 0;  ///< In pixels, from one row to the next.
    int format = 0;
    int usage_deprecated = 0;
    uintptr_t layerCount = 0;
    void* reserved[1] = {};
    const native_handle_t* handle = nullptr;  ///< Always null on the host: no memory is shared.
    uint64_t usage = 0;
    void* reserved_proc[8 - (sizeof(uint64_t) / sizeof(void*))] = {};
};

using ANativeWindowBuffer_t = ANativeWindowBuffer;
using android_native_buffer_t = ANativeWindowBuffer;

#endif  // UPSCALER_HOST_NATIVEBASE_NATIVEBASE_H

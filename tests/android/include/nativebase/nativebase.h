// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ANDROID_NATIVEBASE_NATIVEBASE_H
#define TESTS_ANDROID_NATIVEBASE_NATIVEBASE_H

#include <cutils/native_handle.h>
#include <stdint.h>

typedef struct android_native_base_t {
    int magic;
    int version;
    void* reserved[4];
    void (*incRef)(struct android_native_base_t* base);
    void (*decRef)(struct android_native_base_t* base);
} android_native_base_t;

typedef struct ANativeWindowBuffer {
    ANativeWindowBuffer();
    void incStrong(const void*) const;
    void decStrong(const void*) const;

    struct android_native_base_t common;
    int width;
    int height;
    int stride;
    int format;
    int usage_deprecated;
    uintptr_t layerCount;
    void* reserved[1];
    const native_handle_t* handle;
    uint64_t usage;
    void* reserved_proc[8 - (sizeof(uint64_t) / sizeof(void*))];
} ANativeWindowBuffer_t;

#endif  // TESTS_ANDROID_NATIVEBASE_NATIVEBASE_H

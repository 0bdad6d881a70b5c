// SPDX-License-Identifier: Apache-2.0
// A driver whose syncs signal by hand. It stands in front of the one there is: it keeps the EGL
// library from the host, which then finds the functions below first. For one source of a program.
#ifndef UPSCALER_TESTS_HOST_HANDDRIVER_H
#define UPSCALER_TESTS_HOST_HANDDRIVER_H

#include <sys/eventfd.h>

#include <cstring>
#include <map>
#include <regex>
#include <string>

#include "host/GlClient.h"
#include "host/HandPoll.h"

namespace android::test {

struct HandDriver {
    // Until it is released no fence sync of the driver is signalled.
    std::atomic<bool> held{false};
    std::atomic<bool> hangs{false};  // Nor does it ever say so.
    std::atomic<int> serverWaits{0};
    std::atomic<int> flushes{0};

    // Whether it has native fences of its own: one sync at a time, of this descriptor.
    bool hasNativeFences = false;
    base::unique_fd descriptor{eventfd(0, EFD_CLOEXEC)};
    std::atomic<bool> syncLives{false};
    int flushesBeforeSync = 0;

    void reset(bool nativeFences, bool hold) {
        hasNativeFences = nativeFences;
        held = hold;
        hangs = false;
        serverWaits = 0;
    }
};
inline HandDriver hand;

using GlFunction = __eglMustCastToProperFunctionPointerType;

template <typename Function>
Function driverFunction(const char* name) {
    static const auto find = next<decltype(&eglGetProcAddress)>("eglGetProcAddress");
    return reinterpret_cast<Function>(find(name));
}

inline EGLSyncKHR handCreateSync(EGLDisplay display, EGLenum type, const EGLint* attributes) {
    EXPECT_EQ(attributes, nullptr);
    hand.flushesBeforeSync = hand.flushes;
    hand.syncLives = true;
    EXPECT_EQ(type,
              EGLenum(hand.hasNativeFences ? EGL_SYNC_NATIVE_FENCE_ANDROID : EGL_SYNC_FENCE_KHR));
    if (hand.hasNativeFences) return &hand;
    return driverFunction<PFNEGLCREATESYNCKHRPROC>("eglCreateSyncKHR")(display, type, attributes);
}

inline EGLBoolean handDestroySync(EGLDisplay display, EGLSyncKHR sync) {
    hand.syncLives = false;
    if (sync == &hand) return EGL_TRUE;
    return driverFunction<PFNEGLDESTROYSYNCKHRPROC>("eglDestroySyncKHR")(display, sync);
}

inline EGLint handDupFence(EGLDisplay, EGLSyncKHR sync) {
    const bool flushed = hand.flushes > hand.flushesBeforeSync;
    return sync == &hand && flushed ? dup(hand.descriptor.get()) : -1;
}

inline EGLint handClientWait(EGLDisplay display, EGLSyncKHR sync, EGLint flags,
                             EGLTimeKHR timeout) {
    while (hand.hangs)
        pause();
    if (hand.held && sync != EGL_NO_SYNC_KHR) return EGL_TIMEOUT_EXPIRED_KHR;
    return driverFunction<PFNEGLCLIENTWAITSYNCKHRPROC>("eglClientWaitSyncKHR")(display, sync, flags,
                                                                               timeout);
}

inline EGLint handWait(EGLDisplay display, EGLSyncKHR sync, EGLint flags) {
    ++hand.serverWaits;
    return driverFunction<PFNEGLWAITSYNCKHRPROC>("eglWaitSyncKHR")(display, sync, flags);
}

inline void handFlush() {
    ++hand.flushes;
    driverFunction<PFNGLFLUSHPROC>("glFlush")();
}

}  // namespace android::test

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void* dlopen(const char* file, int mode) {
    if (file != nullptr && std::strcmp(file, "libEGL.so.1") == 0) return nullptr;
    return android::test::next<decltype(&dlopen)>("dlopen")(file, mode);
}

EXPORTED const char* eglQueryString(EGLDisplay display, EGLint name) {
    using namespace android::test;
    const char* real = next<decltype(&eglQueryString)>("eglQueryString")(display, name);
    if (display == EGL_NO_DISPLAY || name != EGL_EXTENSIONS || real == nullptr) return real;
    // Whether or not the real driver has them too.
    constexpr char kFences[] = "EGL_ANDROID_native_fence_sync";
    static const std::string without = std::regex_replace(real, std::regex(kFences), "");
    static const std::string with = without + ' ' + kFences;
    return (hand.hasNativeFences ? with : without).c_str();
}

EXPORTED __eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    using namespace android::test;
    static const std::map<std::string, GlFunction> byHand = {
            {"eglCreateSyncKHR", reinterpret_cast<GlFunction>(handCreateSync)},
            {"eglDestroySyncKHR", reinterpret_cast<GlFunction>(handDestroySync)},
            {"eglDupNativeFenceFDANDROID", reinterpret_cast<GlFunction>(handDupFence)},
            {"eglClientWaitSyncKHR", reinterpret_cast<GlFunction>(handClientWait)},
            {"eglWaitSyncKHR", reinterpret_cast<GlFunction>(handWait)},
            {"glFlush", reinterpret_cast<GlFunction>(handFlush)},
    };
    const auto found = byHand.find(name);
    if (found != byHand.end()) return found->second;
    return driverFunction<GlFunction>(name);
}

#endif  // UPSCALER_TESTS_HOST_HANDDRIVER_H

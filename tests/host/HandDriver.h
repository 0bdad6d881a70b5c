// SPDX-License-Identifier: Apache-2.0
// A driver whose syncs signal by hand. It stands in front of the one there is: it keeps the EGL
// library from the host, which then finds the functions below first. For one source of a program.
#ifndef UPSCALER_TESTS_HOST_HANDDRIVER_H
#define UPSCALER_TESTS_HOST_HANDDRIVER_H

#include <linux/sync_file.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <utils/Timers.h>

#include <cstdarg>
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
    enum class File { Pending, SignalledNow, SignalledBefore, None };
    std::atomic<File> file{File::Pending};  // What the kernel says of it.
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
    if (type == EGL_SYNC_NATIVE_FENCE_ANDROID) {
        EXPECT_TRUE(hand.hasNativeFences);
        return &hand;
    }
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

EXPORTED int ioctl(int fd, unsigned long request, ...) {
    using namespace android::test;
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request != SYNC_IOC_FILE_INFO || hand.file == HandDriver::File::None) {
        return next<decltype(&ioctl)>("ioctl")(fd, request, argument);
    }
    auto& info = *static_cast<sync_file_info*>(argument);
    info.status = hand.file == HandDriver::File::Pending ? 0 : 1;
    info.num_fences = 1;
    if (auto* fence = reinterpret_cast<sync_fence_info*>(info.sync_fence_info)) {
        const bool now = hand.file == HandDriver::File::SignalledNow;
        fence->timestamp_ns = now ? static_cast<uint64_t>(systemTime()) : 1;
    }
    return 0;
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

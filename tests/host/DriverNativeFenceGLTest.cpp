// SPDX-License-Identifier: Apache-2.0
// Where the driver has native fences of its own, the host leaves them to it. No such driver is at
// hand, so this program stands in front of the one there is: it keeps the EGL library from the
// host, which then finds the functions below first, and they add the extension.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <string>

#include "host/GlClient.h"

namespace {

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

struct FakeDriver {
    bool hasNativeFences = true;
    android::base::unique_fd descriptor{eventfd(0, EFD_CLOEXEC)};
    bool syncLives = false;
    bool flushed = false;
} fake;

EGLSyncKHR createSync(EGLDisplay, EGLenum type, const EGLint* attributes) {
    EXPECT_EQ(type,
              EGLenum(fake.hasNativeFences ? EGL_SYNC_NATIVE_FENCE_ANDROID : EGL_SYNC_FENCE_KHR));
    EXPECT_EQ(attributes, nullptr);
    fake.syncLives = true;
    fake.flushed = false;
    return &fake;
}

EGLBoolean destroySync(EGLDisplay, EGLSyncKHR sync) {
    EXPECT_EQ(sync, &fake);
    fake.syncLives = false;
    return EGL_TRUE;
}

EGLint dupFence(EGLDisplay, EGLSyncKHR sync) {
    return sync == &fake && fake.flushed ? dup(fake.descriptor.get()) : -1;
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void* dlopen(const char* file, int mode) {
    if (file != nullptr && std::strcmp(file, "libEGL.so.1") == 0) return nullptr;
    return next<decltype(&dlopen)>("dlopen")(file, mode);
}

EXPORTED const char* eglQueryString(EGLDisplay display, EGLint name) {
    const char* real = next<decltype(&eglQueryString)>("eglQueryString")(display, name);
    if (name != EGL_EXTENSIONS || real == nullptr || !fake.hasNativeFences) return real;
    static const std::string extensions = std::string(real) + " EGL_ANDROID_native_fence_sync";
    return extensions.c_str();
}

EXPORTED __eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    using Function = __eglMustCastToProperFunctionPointerType;
    static const std::map<std::string, Function> fakes = {
            {"eglCreateSyncKHR", reinterpret_cast<Function>(createSync)},
            {"eglDestroySyncKHR", reinterpret_cast<Function>(destroySync)},
            {"eglDupNativeFenceFDANDROID", reinterpret_cast<Function>(dupFence)},
            {"glFlush", [] { fake.flushed = true; }},
    };
    const auto found = fakes.find(name);
    if (found != fakes.end()) return found->second;
    return next<decltype(&eglGetProcAddress)>("eglGetProcAddress")(name);
}

namespace android::test {
namespace {

TEST(DriverNativeFenceGLTest, FencesAreTheDriversOwn) {
    fake = {};
    const GlClient client;
    const sp<Fence> fence = client.fence();
    EXPECT_FALSE(fake.syncLives);
    EXPECT_EQ(fence->wait(0), -ETIME);
    eventfd_write(fake.descriptor.get(), 1);
    EXPECT_EQ(fence->wait(0), NO_ERROR);
}

// Some drivers flush when they make a sync, so that only this one tells.
TEST(DriverNativeFenceGLTest, OtherwiseTheHostFlushesAtEachSync) {
    fake = {};
    fake.hasNativeFences = false;
    const GlClient client;
    const EGLSyncKHR sync = client.sync();
    EXPECT_TRUE(fake.flushed);
    EXPECT_EQ(client.destroySync(client.display, sync), EGLBoolean{EGL_TRUE});
    EXPECT_FALSE(fake.syncLives);
}

}  // namespace
}  // namespace android::test

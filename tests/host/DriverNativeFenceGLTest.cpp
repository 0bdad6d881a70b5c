// SPDX-License-Identifier: Apache-2.0
// Where the driver has native fences of its own, the host leaves them to it. No such driver is at
// hand, so this program stands in front of the one there is: it keeps the EGL library from the
// host, which then finds the functions below first, and they add the extension.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/GlClient.h"

namespace {

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

using GetProcAddress = decltype(&eglGetProcAddress);

struct FakeDriver {
    int descriptor = eventfd(0, EFD_CLOEXEC);
    bool syncLives = false;
    bool flushed = false;
} fake;

EGLSyncKHR theSync() {
    return &fake;
}

EGLSyncKHR createSync(EGLDisplay, EGLenum type, const EGLint* attributes) {
    EXPECT_EQ(type, EGLenum{EGL_SYNC_NATIVE_FENCE_ANDROID});
    EXPECT_EQ(attributes, nullptr);
    fake.syncLives = true;
    fake.flushed = false;
    return theSync();
}

EGLBoolean destroySync(EGLDisplay, EGLSyncKHR sync) {
    EXPECT_EQ(sync, theSync());
    fake.syncLives = false;
    return EGL_TRUE;
}

EGLint dupFence(EGLDisplay, EGLSyncKHR sync) {
    return sync == theSync() && fake.flushed ? dup(fake.descriptor) : -1;
}

void flush() {
    fake.flushed = true;
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void* dlopen(const char* file, int mode) {
    if (file != nullptr && std::strcmp(file, "libEGL.so.1") == 0) return nullptr;
    return next<decltype(&dlopen)>("dlopen")(file, mode);
}

EXPORTED const char* eglQueryString(EGLDisplay display, EGLint name) {
    const char* real = next<decltype(&eglQueryString)>("eglQueryString")(display, name);
    if (name != EGL_EXTENSIONS || real == nullptr) return real;
    static const std::string extensions = std::string(real) + " EGL_ANDROID_native_fence_sync";
    return extensions.c_str();
}

EXPORTED __eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    using Function = __eglMustCastToProperFunctionPointerType;
    if (std::strcmp(name, "eglCreateSyncKHR") == 0) return reinterpret_cast<Function>(createSync);
    if (std::strcmp(name, "eglDestroySyncKHR") == 0) return reinterpret_cast<Function>(destroySync);
    if (std::strcmp(name, "eglDupNativeFenceFDANDROID") == 0) {
        return reinterpret_cast<Function>(dupFence);
    }
    if (std::strcmp(name, "glFlush") == 0) return reinterpret_cast<Function>(flush);
    return next<GetProcAddress>("eglGetProcAddress")(name);
}

namespace android {
namespace {

bool fenceThreadRuns() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        if (name == "upscaler-fence") return true;
    }
    return false;
}

TEST(DriverNativeFenceGLTest, FencesAreTheDriversOwn) {
    const GlClient client;
    const sp<Fence> fence = client.fence();
    ASSERT_TRUE(fence->isValid());
    EXPECT_FALSE(fake.syncLives);
    struct stat given {};
    struct stat drivers {};
    ASSERT_EQ(fstat(fence->get(), &given), 0);
    ASSERT_EQ(fstat(fake.descriptor, &drivers), 0);
    EXPECT_EQ(given.st_ino, drivers.st_ino);
    EXPECT_EQ(fence->wait(0), -ETIME);
    eventfd_write(fake.descriptor, 1);
    EXPECT_EQ(fence->wait(0), NO_ERROR);
    EXPECT_FALSE(fenceThreadRuns());
}

}  // namespace
}  // namespace android

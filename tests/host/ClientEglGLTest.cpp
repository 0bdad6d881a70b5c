// SPDX-License-Identifier: Apache-2.0
// A client that asks for the host's EGL, beside what the driver's would have answered it.
#include <gmock/gmock.h>

#include <cstdlib>
#include <iterator>
#include <new>
#include <sstream>
#include <string>

#include "host/GlClient.h"

// The driver's, past the host.
extern "C" {
decltype(eglGetDisplay) __real_eglGetDisplay;
decltype(eglInitialize) __real_eglInitialize;
decltype(eglQueryString) __real_eglQueryString;
decltype(eglTerminate) __real_eglTerminate;
}

namespace {

// How many allocations this thread still gets; all if negative.
thread_local int allocationsLeft = -1;

}  // namespace

// Not inlined, or GCC takes the free for that of another allocator's memory.
[[gnu::noinline]] void* operator new(size_t size) {
    void* const memory = allocationsLeft == 0 ? nullptr : std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace android::test {
namespace {

using ::testing::Contains;
using ::testing::IsSupersetOf;

using Words = std::vector<std::string>;

Words wordsOf(const char* text) {
    std::istringstream stream(text == nullptr ? "" : text);
    return {std::istream_iterator<std::string>(stream), {}};
}

EGLDisplay initializeDrivers() {
    EGLDisplay display = __real_eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (__real_eglInitialize(display, nullptr, nullptr) == kTrue) return display;
    display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    EXPECT_EQ(__real_eglInitialize(display, nullptr, nullptr), kTrue);
    return display;
}

TEST(ClientEglGLTest, ExtensionsAreTheDriversAndTheHosts) {
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EXPECT_EQ(errorOf(eglQueryString(display, EGL_EXTENSIONS)), EGL_NOT_INITIALIZED);
    const GlClient client;
    const char* const text = eglQueryString(display, EGL_EXTENSIONS);
    const Words extensions = wordsOf(text);
    EXPECT_THAT(extensions, IsSupersetOf(wordsOf(__real_eglQueryString(display, EGL_EXTENSIONS))));
    for (const char* name : {"EGL_ANDROID_image_native_buffer", "EGL_ANDROID_native_fence_sync",
                             "EGL_KHR_image_base", "EGL_KHR_fence_sync"})
        EXPECT_THAT(extensions, Contains(name).Times(1));
    EXPECT_EQ(eglQueryString(display, EGL_EXTENSIONS), text);
    EXPECT_STREQ(eglQueryString(display, EGL_VERSION), __real_eglQueryString(display, EGL_VERSION));
}

// Buffers are on the host's display alone, fences wherever a client makes them.
TEST(ClientEglGLTest, DisplaysOfTheDriversHaveFencesButNoBuffers) {
    const GlClient client;
    const EGLDisplay drivers = initializeDrivers();
    ASSERT_NE(drivers, client.display);
    EXPECT_STREQ(eglQueryString(drivers, EGL_EXTENSIONS),
                 __real_eglQueryString(drivers, EGL_EXTENSIONS));
    EXPECT_EQ(errorOf(client.createImage(drivers, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                                         makeBuffer(4, 4)->getNativeBuffer(), nullptr)),
              EGL_BAD_MATCH);

    const EGLContext hosts = eglGetCurrentContext();
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    const EGLContext context =
            eglCreateContext(drivers, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    ASSERT_EQ(eglMakeCurrent(drivers, EGL_NO_SURFACE, EGL_NO_SURFACE, context), kTrue);
    const EGLSyncKHR sync = client.createSync(drivers, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    const sp<Fence> fence = new Fence(client.dupFence(drivers, sync));
    EXPECT_TRUE(fence->isValid());
    EXPECT_EQ(__real_eglTerminate(drivers), kTrue);
    EXPECT_EQ(fence->wait(10000), NO_ERROR);
    ASSERT_EQ(eglMakeCurrent(client.display, EGL_NO_SURFACE, EGL_NO_SURFACE, hosts), kTrue);
}

// The result of a call that gets one more allocation each time until it succeeds.
template <typename Call>
auto withGrowingMemory(const Call& call) {
    for (int memory = 0;; ++memory) {
        allocationsLeft = memory;
        const auto result = call();
        allocationsLeft = -1;
        if (result != decltype(call()){} || memory == 100) return result;
        EXPECT_EQ(eglGetError(), EGL_BAD_ALLOC);
    }
}

TEST(ClientEglGLTest, ShortageOfMemoryIsAnErrorAndCountsNothing) {
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EXPECT_EQ(withGrowingMemory([&] { return eglInitialize(display, nullptr, nullptr); }), kTrue);
    EXPECT_NE(withGrowingMemory([&] { return eglQueryString(display, EGL_EXTENSIONS); }), nullptr);

    const PFNEGLCREATEIMAGEKHRPROC createImage = EntryPoint{"eglCreateImageKHR"};
    const PFNEGLDESTROYIMAGEKHRPROC destroyImage = EntryPoint{"eglDestroyImageKHR"};
    sp<GraphicBuffer> buffers[] = {makeBuffer(4, 4), makeBuffer(4, 4)};
    const wp<GraphicBuffer> watches[] = {buffers[0], buffers[1]};
    EGLImageKHR image = EGL_NO_IMAGE_KHR;
    for (sp<GraphicBuffer>& buffer : buffers) {
        image = withGrowingMemory([&] {
            return createImage(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                               buffer->getNativeBuffer(), nullptr);
        });
        EXPECT_NE(image, EGL_NO_IMAGE_KHR);
        buffer = nullptr;
    }
    EXPECT_NE(watches[1].promote(), nullptr);
    EXPECT_EQ(destroyImage(display, image), kTrue);
    EXPECT_EQ(watches[1].promote(), nullptr);
    EXPECT_NE(watches[0].promote(), nullptr);
    EXPECT_EQ(withGrowingMemory([&] { return eglTerminate(display); }), kTrue);
    EXPECT_EQ(watches[0].promote(), nullptr);
    EXPECT_EQ(errorOf(eglQueryString(display, EGL_VERSION)), EGL_NOT_INITIALIZED);
}

}  // namespace
}  // namespace android::test

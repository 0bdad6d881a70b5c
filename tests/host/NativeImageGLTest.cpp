// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/mman.h>

#include <random>

#include "host/GlClient.h"

namespace android {
namespace {

using ::testing::Each;

constexpr EGLBoolean kTrue = EGL_TRUE;

bool lives(const wp<GraphicBuffer>& buffer) {
    return buffer.promote() != nullptr;
}

TEST(NativeImageGLTest, ImagesOfABufferAreCountedAndEachHoldsIt) {
    const GlClient client;
    sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    const wp<GraphicBuffer> watch = buffer;
    const auto isWhole = [&](EGLImageKHR image) {
        client.fill(image, {1, 1, 1, 1});  // By a texture that stays.
        EXPECT_THAT(client.sample(image, 4, 4), Each(1));
    };
    for (int round = 0; round < 2; ++round) {
        const EGLImageKHR first = client.import(buffer);
        const EGLImageKHR second = client.import(buffer);
        EXPECT_EQ(first, second);  // Not every driver makes a second one.
        if (round == 1) buffer = nullptr;
        isWhole(first);
        EXPECT_EQ(client.destroyImage(client.display, first), kTrue);
        EXPECT_TRUE(lives(watch));
        isWhole(second);
        EXPECT_EQ(client.destroyImage(client.display, second), kTrue);
        EXPECT_EQ(errorOf(client.destroyImage(client.display, second)), EGL_BAD_PARAMETER);
    }
    EXPECT_FALSE(lives(watch));
}

TEST(NativeImageGLTest, TheLastTerminateTakesTheImagesBack) {
    const GlClient client;
    ASSERT_EQ(eglInitialize(client.display, nullptr, nullptr), kTrue);
    sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    const wp<GraphicBuffer> watch = buffer;
    client.import(buffer);
    const EGLImageKHR image = client.import(buffer);
    buffer = nullptr;

    EXPECT_EQ(eglTerminate(client.display), kTrue);  // The client's own use goes on.
    EXPECT_TRUE(lives(watch));
    EXPECT_EQ(eglTerminate(client.display), kTrue);
    EXPECT_FALSE(lives(watch));
    EXPECT_EQ(client.destroyImage(client.display, image), EGLBoolean{EGL_FALSE});
    EXPECT_EQ(errorOf(client.import(makeBuffer(4, 4))), EGL_NOT_INITIALIZED);
    EXPECT_EQ(eglTerminate(client.display), kTrue);  // As EGL has it, harmless.

    ASSERT_EQ(eglInitialize(client.display, nullptr, nullptr), kTrue);
    EXPECT_NE(client.import(makeBuffer(4, 4)), EGL_NO_IMAGE_KHR);
}

TEST(NativeImageGLTest, ArgumentsAreChecked) {
    const GlClient client;
    const EGLDisplay display = client.display;
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    const EGLClientBuffer native = buffer->getNativeBuffer();
    const auto createError = [&](EGLDisplay on, EGLContext context, EGLClientBuffer pointer,
                                 const EGLint* attributes = nullptr) {
        return errorOf(
                client.createImage(on, context, EGL_NATIVE_BUFFER_ANDROID, pointer, attributes));
    };
    EXPECT_EQ(createError(EGL_NO_DISPLAY, EGL_NO_CONTEXT, native), EGL_BAD_DISPLAY);
    EXPECT_EQ(createError(display, eglGetCurrentContext(), native), EGL_BAD_CONTEXT);
    const EGLint unknown[] = {EGL_WIDTH, 4, EGL_NONE};
    EXPECT_EQ(createError(display, EGL_NO_CONTEXT, native, unknown), EGL_BAD_PARAMETER);

    const EGLImageKHR image = client.import(buffer);
    EXPECT_EQ(errorOf(client.destroyImage(EGL_NO_DISPLAY, image)), EGL_BAD_DISPLAY);
    EXPECT_EQ(errorOf(client.destroyImage(display, EGL_NO_IMAGE_KHR)), EGL_BAD_PARAMETER);

    // What is no live buffer is refused unread.
    void* const unreadable = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const EGLClientBuffer gone = makeBuffer(4, 4)->getNativeBuffer();
    for (const EGLClientBuffer pointer : {EGLClientBuffer{nullptr}, unreadable, gone})
        EXPECT_EQ(createError(display, EGL_NO_CONTEXT, pointer), EGL_BAD_PARAMETER);
    munmap(unreadable, 4096);
    std::mt19937_64 random(5);
    for (int i = 0; i < 1000; ++i) {
        const auto pointer = reinterpret_cast<EGLClientBuffer>(random() >> random() % 64);
        EXPECT_EQ(createError(display, EGL_NO_CONTEXT, pointer), EGL_BAD_PARAMETER);
    }
}

TEST(EglErrorGLTest, IsTheLatestCallsAndIsGivenOnce) {
    const GlClient client;
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    const auto hostFails = [&] {
        client.createImage(client.display, eglGetCurrentContext(), EGL_NATIVE_BUFFER_ANDROID,
                           nullptr, nullptr);
    };
    const auto driverFails = [] { eglQueryString(EGL_NO_DISPLAY, EGL_VENDOR); };
    hostFails();
    driverFails();
    EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
    driverFails();
    hostFails();
    EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    hostFails();
    eglBindAPI(EGL_OPENGL_ES_API);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    driverFails();
    client.import(buffer);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

}  // namespace
}  // namespace android

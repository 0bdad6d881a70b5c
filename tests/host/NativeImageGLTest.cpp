// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/mman.h>

#include <random>

#include "host/GlClient.h"

namespace android::test {
namespace {

using ::testing::Each;

TEST(NativeImageGLTest, ImagesOfABufferAreCountedAndEachHoldsIt) {
    const GlClient client;
    sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    const wp<GraphicBuffer> watch = buffer;
    for (int round = 0; round < 2; ++round) {
        const EGLImageKHR image = client.import(buffer);
        EXPECT_EQ(client.import(buffer), image);  // Not every driver makes a second one.
        if (round == 1) buffer = nullptr;
        for (int uses = 2; uses > 0; --uses) {
            EXPECT_NE(watch.promote(), nullptr);
            client.fill(image, {1, 1, 1, 1});  // By a texture that stays.
            EXPECT_THAT(client.sample(image, 4, 4), Each(Each(1)));
            EXPECT_EQ(client.destroyImage(client.display, image), kTrue);
        }
        EXPECT_EQ(errorOf(client.destroyImage(client.display, image)), EGL_BAD_PARAMETER);
    }
    EXPECT_EQ(watch.promote(), nullptr);
}

TEST(NativeImageGLTest, TheLastTerminateTakesTheImagesBack) {
    const GlClient client;
    ASSERT_EQ(eglInitialize(client.display, nullptr, nullptr), kTrue);
    std::vector<wp<GraphicBuffer>> watches;
    EGLImageKHR image = EGL_NO_IMAGE_KHR;
    for (int i = 0; i < 3; ++i) {
        const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
        watches.emplace_back(buffer);
        client.import(buffer);
        image = client.import(buffer);
    }

    EXPECT_EQ(eglTerminate(client.display), kTrue);  // The client's own use goes on.
    for (const auto& watch : watches)
        EXPECT_NE(watch.promote(), nullptr);
    EXPECT_EQ(eglTerminate(client.display), kTrue);
    for (const auto& watch : watches)
        EXPECT_EQ(watch.promote(), nullptr);
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
    const auto importError = [&](EGLDisplay on, EGLContext context, EGLClientBuffer native,
                                 const EGLint* attributes = nullptr) {
        return errorOf(
                client.createImage(on, context, EGL_NATIVE_BUFFER_ANDROID, native, attributes));
    };
    const EGLClientBuffer native = buffer->getNativeBuffer();
    EXPECT_EQ(importError(EGL_NO_DISPLAY, EGL_NO_CONTEXT, native), EGL_BAD_DISPLAY);
    int noDisplay = 0;
    EXPECT_EQ(errorOf(eglInitialize(&noDisplay, nullptr, nullptr)), EGL_BAD_DISPLAY);
    EXPECT_EQ(importError(&noDisplay, EGL_NO_CONTEXT, native), EGL_BAD_DISPLAY);
    EXPECT_EQ(importError(display, eglGetCurrentContext(), native), EGL_BAD_CONTEXT);
    const EGLint unknown[] = {EGL_WIDTH, EGL_TRUE, EGL_NONE};
    EXPECT_EQ(importError(display, EGL_NO_CONTEXT, native, unknown), EGL_BAD_PARAMETER);
    EXPECT_EQ(errorOf(client.destroyImage(EGL_NO_DISPLAY, client.import(buffer))), EGL_BAD_DISPLAY);
    EXPECT_EQ(errorOf(client.destroyImage(display, EGL_NO_IMAGE_KHR)), EGL_BAD_PARAMETER);

    // A pointer that is not a live buffer is refused unread.
    std::vector<void*> pointers = {
            nullptr, mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0),
            makeBuffer(4, 4)->getNativeBuffer()};
    std::mt19937_64 random(5);
    while (pointers.size() < 1000)
        pointers.push_back(reinterpret_cast<void*>(random() >> random() % 64));
    for (void* const pointer : pointers)
        EXPECT_EQ(importError(display, EGL_NO_CONTEXT, pointer), EGL_BAD_PARAMETER);
}

TEST(EglErrorGLTest, IsTheLatestCallsAndIsGivenOnce) {
    const GlClient client;
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
    client.import(makeBuffer(4, 4));
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

}  // namespace
}  // namespace android::test

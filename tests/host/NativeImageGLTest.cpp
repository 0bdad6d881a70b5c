// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/mman.h>

#include <array>

#include "host/GlClient.h"

namespace android {
namespace {

constexpr EGLBoolean kTrue = EGL_TRUE;
constexpr EGLBoolean kFalse = EGL_FALSE;

sp<GraphicBuffer> makeBuffer() {
    return new GraphicBuffer(4, 4, PIXEL_FORMAT_RGBA_8888, 1, GraphicBuffer::USAGE_HW_TEXTURE);
}

bool lives(const wp<GraphicBuffer>& buffer) {
    return buffer.promote() != nullptr;
}

TEST(NativeImageGLTest, ImagesOfABufferAreCounted) {
    const GlClient client;
    const sp<GraphicBuffer> buffer = makeBuffer();
    const EGLImageKHR first = client.import(buffer);
    const EGLImageKHR second = client.import(buffer);
    ASSERT_NE(first, EGL_NO_IMAGE_KHR);
    ASSERT_NE(second, EGL_NO_IMAGE_KHR);
    EXPECT_EQ(client.destroyImage(client.display(), first), kTrue);
    EXPECT_EQ(client.sample(second, 0, 0, 4, 4), (Colour{0, 0, 0, 0}));
    EXPECT_EQ(client.destroyImage(client.display(), second), kTrue);
    EXPECT_EQ(client.destroyImage(client.display(), second), kFalse);
    EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);

    // While a texture made from the earlier image lives.
    GLuint sibling = 0;
    glGenTextures(1, &sibling);
    glBindTexture(GL_TEXTURE_2D, sibling);
    const EGLImageKHR third = client.import(buffer);
    client.imageTargetTexture(GL_TEXTURE_2D, third);
    EXPECT_EQ(client.destroyImage(client.display(), third), kTrue);
    const EGLImageKHR fourth = client.import(buffer);
    ASSERT_NE(fourth, EGL_NO_IMAGE_KHR);
    client.fill(fourth, {1, 0, 0, 1});
    EXPECT_EQ(client.sample(fourth, 3, 3, 4, 4), (Colour{1, 0, 0, 1}));
    EXPECT_EQ(client.destroyImage(client.display(), fourth), kTrue);
    glDeleteTextures(1, &sibling);
}

TEST(NativeImageGLTest, EachImageHoldsTheBuffer) {
    const GlClient client;
    sp<GraphicBuffer> buffer = makeBuffer();
    const wp<GraphicBuffer> watch = buffer;
    const EGLImageKHR first = client.import(buffer);
    const EGLImageKHR second = client.import(buffer);
    buffer = nullptr;
    EXPECT_EQ(client.destroyImage(client.display(), first), kTrue);
    EXPECT_TRUE(lives(watch));
    EXPECT_EQ(client.destroyImage(client.display(), second), kTrue);
    EXPECT_FALSE(lives(watch));
}

TEST(NativeImageGLTest, TheLastTerminateTakesTheImagesBack) {
    const GlClient client;
    ASSERT_EQ(eglInitialize(client.display(), nullptr, nullptr), kTrue);
    sp<GraphicBuffer> buffer = makeBuffer();
    const wp<GraphicBuffer> watch = buffer;
    const EGLImageKHR image = client.import(buffer);
    buffer = nullptr;

    EXPECT_EQ(eglTerminate(client.display()), kTrue);  // The client's own use goes on.
    EXPECT_TRUE(lives(watch));
    EXPECT_EQ(eglTerminate(client.display()), kTrue);
    EXPECT_FALSE(lives(watch));
    EXPECT_EQ(client.destroyImage(client.display(), image), kFalse);
    EXPECT_EQ(client.import(makeBuffer()), EGL_NO_IMAGE_KHR);
    EXPECT_EQ(eglGetError(), EGL_NOT_INITIALIZED);
    EXPECT_EQ(eglTerminate(client.display()), kTrue);  // As EGL has it, harmless.

    ASSERT_EQ(eglInitialize(client.display(), nullptr, nullptr), kTrue);
    EXPECT_NE(client.import(makeBuffer()), EGL_NO_IMAGE_KHR);
}

TEST(NativeImageGLTest, WhatIsNoLiveBufferIsRefusedUnread) {
    const GlClient client;
    void* const unreadable = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const EGLClientBuffer gone = makeBuffer()->getNativeBuffer();
    for (const EGLClientBuffer pointer : {EGLClientBuffer{nullptr}, unreadable, gone}) {
        EXPECT_EQ(client.import(pointer), EGL_NO_IMAGE_KHR);
        EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    }
    munmap(unreadable, 4096);
}

TEST(NativeImageGLTest, OtherArgumentsAreChecked) {
    const GlClient client;
    const sp<GraphicBuffer> buffer = makeBuffer();
    const auto create = [&](EGLDisplay display, EGLContext context, const EGLint* attributes) {
        const EGLImageKHR image = client.createImage(display, context, EGL_NATIVE_BUFFER_ANDROID,
                                                     buffer->getNativeBuffer(), attributes);
        EXPECT_EQ(image, EGL_NO_IMAGE_KHR);
        return eglGetError();
    };
    EXPECT_EQ(create(EGL_NO_DISPLAY, EGL_NO_CONTEXT, nullptr), EGL_BAD_DISPLAY);
    EXPECT_EQ(create(client.display(), eglGetCurrentContext(), nullptr), EGL_BAD_CONTEXT);
    const EGLint unknown[] = {EGL_WIDTH, 4, EGL_NONE};
    EXPECT_EQ(create(client.display(), EGL_NO_CONTEXT, unknown), EGL_BAD_PARAMETER);

    EXPECT_EQ(client.destroyImage(EGL_NO_DISPLAY, client.import(buffer)), kFalse);
    EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
    EXPECT_EQ(client.destroyImage(client.display(), EGL_NO_IMAGE_KHR), kFalse);
    EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
}

TEST(NativeImageGLTest, OtherKindsOfImageAreTheDrivers) {
    const GlClient client;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA8, 4, 4);
    const EGLImageKHR image =
            client.createImage(client.display(), eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
                               reinterpret_cast<EGLClientBuffer>(uintptr_t{texture}), nullptr);
    ASSERT_NE(image, EGL_NO_IMAGE_KHR);
    client.fill(image, {0, 1, 0, 1});
    EXPECT_EQ(client.sample(image, 0, 0, 4, 4), (Colour{0, 1, 0, 1}));
    EXPECT_EQ(client.destroyImage(client.display(), image), kTrue);
    glDeleteTextures(1, &texture);
}

TEST(EglErrorGLTest, IsTheLatestCallsAndIsGivenOnce) {
    const GlClient client;
    const auto hostFails = [&] {
        EXPECT_EQ(client.createImage(client.display(), eglGetCurrentContext(),
                                     EGL_NATIVE_BUFFER_ANDROID, nullptr, nullptr),
                  EGL_NO_IMAGE_KHR);
    };
    const auto driverFails = [] { EXPECT_EQ(eglQueryString(EGL_NO_DISPLAY, EGL_VENDOR), nullptr); };
    const auto driverWorks = [] { EXPECT_EQ(eglBindAPI(EGL_OPENGL_ES_API), kTrue); };

    hostFails();
    EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);

    hostFails();
    driverWorks();
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);

    hostFails();
    driverFails();
    EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);

    driverFails();
    hostFails();
    EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);

    driverFails();
    EXPECT_NE(client.import(makeBuffer()), EGL_NO_IMAGE_KHR);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

}  // namespace
}  // namespace android

// SPDX-License-Identifier: Apache-2.0
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/fixture.h"

namespace android::test {
namespace {

using ::testing::Each;
using ::testing::IsEmpty;

constexpr EGLBoolean kTrue = EGL_TRUE;

using LifecycleGLTest = LibraryTest;

TEST_F(LifecycleGLTest, LevelIsReadFromThePropertyInBase16) {
    constexpr struct {
        const char* property;
        uint32_t level;
        bool debug;
    } kRows[] = {{"", 0, false},
                 {"21", 0x21, true},
                 {"0x21", 0x21, true},
                 {"ff", 0xFF, true},
                 {"20", 0x20, false},
                 {"1", 0x01, false},
                 {"1FFFFFFFE", 0xFFFFFFFE, false}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.property);
        property_set(kLevelProperty, row.property);
        log.clear();
        OwnedUpscaler upscaler;
        EXPECT_EQ(resizeBufferLogLevel, row.level);
        EXPECT_EQ(log.debug().empty(), !row.debug);
        EXPECT_THAT(log.errors(), IsEmpty());
    }
}

TEST_F(LifecycleGLTest, BadPropertyIsTheOneErrorThatReachesTheClient) {
    property_set(kLevelProperty, "zz");
    EXPECT_THROW(Upscaler(), std::invalid_argument);
    property_set(kLevelProperty, "10000000000000000");
    EXPECT_THROW(Upscaler(), std::out_of_range);
}

TEST_F(LifecycleGLTest, ProgramsAreMadeIfTheirSlotIsEmptyButForThe2dCopy) {
    OwnedUpscaler upscaler;
    UpscalerPeer::upscalerShader(*upscaler).reset();
    UpscalerPeer::rcasShader(*upscaler).reset();
    upscaler->initOpenGL();
    EXPECT_EQ(UpscalerPeer::upscalerShader(*upscaler), nullptr)
            << "it comes with the copy program only";
    EXPECT_NE(UpscalerPeer::rcasShader(*upscaler), nullptr);
    UpscalerPeer::copyShader(*upscaler).reset();
    upscaler->initOpenGL();
    EXPECT_NE(UpscalerPeer::upscalerShader(*upscaler), nullptr);
}

// This program calls the driver's EGL, as any client that does not ask for the host's.
class ClientsOwnEglGLTest : public LibraryTest {
  protected:
    ~ClientsOwnEglGLTest() override { EXPECT_THAT(log.errors(), IsEmpty()); }

    static EGLDisplay initialize() {
        EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        if (eglInitialize(display, nullptr, nullptr) == kTrue) return display;
        display =
                eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        EXPECT_EQ(eglInitialize(display, nullptr, nullptr), kTrue);
        return display;
    }

    void expectToDraw(OwnedUpscaler& upscaler, uint32_t colour) {
        fill(src, colour);
        upscaler->neaResize(src, dst, 0.0f, &fence);
        EXPECT_EQ(fence->wait(10000), OK);
        EXPECT_THAT(pixelsOf(dst), Each(colour));
    }
};

TEST_F(ClientsOwnEglGLTest, DoesNotEndTheLibrarys) {
    const auto initializeAndTerminate = [] { EXPECT_EQ(eglTerminate(initialize()), kTrue); };
    initializeAndTerminate();
    {
        OwnedUpscaler upscaler;
        expectToDraw(upscaler, 0xFF808080);
        initializeAndTerminate();
        expectToDraw(upscaler, 0xFF404040);
    }
    initializeAndTerminate();
    OwnedUpscaler upscaler;
    expectToDraw(upscaler, 0xFF202020);
}

TEST_F(ClientsOwnEglGLTest, OutlivesTheLibrarys) {
    const EGLDisplay display = initialize();
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    const EGLContext context =
            eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    ASSERT_EQ(eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context), kTrue);
    glClearStencil(5);
    {
        OwnedUpscaler upscaler;
        EXPECT_NE(eglGetCurrentDisplay(), display);  // Some drivers put off what would show it.
        expectToDraw(upscaler, 0xFF808080);
    }
    ASSERT_EQ(eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context), kTrue);
    GLint stencil = 0;
    glGetIntegerv(GL_STENCIL_CLEAR_VALUE, &stencil);
    EXPECT_EQ(stencil, 5);
    EXPECT_EQ(eglTerminate(display), kTrue);
    eglReleaseThread();
}

TEST_F(ClientsOwnEglGLTest, MayHaveAnotherApiBound) {
    eglBindAPI(EGL_OPENGL_API);  // Refused by drivers that have OpenGL ES only.
    OwnedUpscaler upscaler;
    expectToDraw(upscaler, 0xFF808080);
}

}  // namespace
}  // namespace android::test

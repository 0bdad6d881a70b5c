// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_HOST_GLCLIENT_H
#define UPSCALER_TESTS_HOST_GLCLIENT_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// gl2ext.h uses the types of the header above.
#include <GLES2/gl2ext.h>
#include <gtest/gtest.h>
#include <ui/Fence.h>

#include <array>
#include <vector>

#include "support/buffers.h"

// What a client's eglGetProcAddress is bound to; by this name, since one test defines the other.
extern "C" decltype(eglGetProcAddress) __wrap_eglGetProcAddress;

namespace android::test {

using Colour = std::array<float, 4>;

constexpr EGLBoolean kTrue = EGL_TRUE;
/// Takes the result of an EGL call that is to fail, and gives the error that it left.
template <typename Result>
EGLint errorOf(Result result, Result failure = {}) {
    EXPECT_EQ(result, failure);
    return eglGetError();
}

/// A function as a client fetches it.
struct EntryPoint {
    const char* name;
    template <typename Function>
    operator Function() const {
        return reinterpret_cast<Function>(__wrap_eglGetProcAddress(name));
    }
};

inline constexpr char kVertex[] = R"(#version 300 es
void main() {
    gl_Position = vec4(vec2(gl_VertexID & 1, gl_VertexID >> 1) * 4.0 - 1.0, 0.0, 1.0);
})";

// The loop's result is not known to the compiler, and never changes the colour.
inline constexpr char kFragment[] = R"(#version 300 es
#extension GL_OES_EGL_image_external_essl3 : require
precision highp float;
uniform highp samplerExternalOES source;
uniform int rounds;
out vec4 result;
void main() {
    float value = gl_FragCoord.x * 0.001;
    for (int i = 0; i < rounds; ++i) value = fract(sin(value) * 43758.5453 + 0.1);
    vec4 colour = texelFetch(source, ivec2(gl_FragCoord.xy), 0);
    result = value > 2.0 ? vec4(value) : colour;
})";

inline void bindNewTexture(GLenum target, EGLImageKHR image) {
    const PFNGLEGLIMAGETARGETTEXTURE2DOESPROC setImage = EntryPoint{"glEGLImageTargetTexture2DOES"};
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(target, texture);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    if (image != EGL_NO_IMAGE_KHR) setImage(target, image);
    if (target != GL_TEXTURE_2D) return;
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
}

// Draws what the external sampler reads to a new target. A shader that does not compile leaves a GL
// error, which the client's end reports.
inline void draw(int width, int height, int rounds) {
    bindNewTexture(GL_TEXTURE_2D, EGL_NO_IMAGE_KHR);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA32F, width, height);
    const GLuint program = glCreateProgram();
    for (const char* source : {kVertex, kFragment}) {
        const GLuint shader =
                glCreateShader(source == kVertex ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glAttachShader(program, shader);
    }
    glLinkProgram(program);
    glUseProgram(program);
    glUniform1i(glGetUniformLocation(program, "rounds"), rounds);
    glViewport(0, 0, width, height);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

/// A client of the host's EGL, with a context of its own that is current on the constructing
/// thread and takes along what was made in it. Failures are gtest failures.
class GlClient {
  public:
    GlClient() {
        EXPECT_EQ(eglInitialize(display, nullptr, nullptr), kTrue);
        const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
        mContext = eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
        EXPECT_EQ(eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, mContext), kTrue);
        GLuint framebuffer = 0;
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    }
    ~GlClient() {
        EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display, mContext);
        EXPECT_EQ(eglTerminate(display), kTrue);
        eglReleaseThread();
    }
    GlClient(const GlClient&) = delete;

    EGLImageKHR import(const sp<GraphicBuffer>& buffer) const {
        const EGLint attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
        return createImage(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                           buffer->getNativeBuffer(), attributes);
    }

    /// Fills the image with `colour`, on the GPU, which is done with it then.
    void fill(EGLImageKHR image, const Colour& colour) const {
        bindNewTexture(GL_TEXTURE_2D, image);
        glClearColor(colour[0], colour[1], colour[2], colour[3]);
        glClear(GL_COLOR_BUFFER_BIT);
        glFinish();
    }
    /// What an external sampler reads from each texel of an image of this size.
    std::vector<Colour> sample(EGLImageKHR image, int width, int height) const {
        bindNewTexture(GL_TEXTURE_EXTERNAL_OES, image);
        draw(width, height, 0);
        std::vector<Colour> colours(static_cast<size_t>(width * height));
        glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, colours.data());
        return colours;
    }
    /// Gives the GPU something to do.
    void work(int rounds) const { draw(512, 512, rounds); }

    /// A native fence sync of what was drawn so far, its fence, and the fence of one that is
    /// destroyed at once.
    EGLSyncKHR sync() const { return createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr); }
    /// A sync that owns `fence`.
    EGLSyncKHR import(int fence) const {
        const EGLint attributes[] = {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, fence, EGL_NONE};
        return createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, attributes);
    }
    sp<Fence> fence(EGLSyncKHR sync) const { return sp<Fence>(new Fence(dupFence(display, sync))); }
    sp<Fence> fence() const {
        const EGLSyncKHR made = sync();
        sp<Fence> result = fence(made);
        EXPECT_EQ(destroySync(display, made), kTrue);
        return result;
    }

    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    const PFNEGLCREATEIMAGEKHRPROC createImage = EntryPoint{"eglCreateImageKHR"};
    const PFNEGLDESTROYIMAGEKHRPROC destroyImage = EntryPoint{"eglDestroyImageKHR"};
    const PFNEGLCREATESYNCKHRPROC createSync = EntryPoint{"eglCreateSyncKHR"};
    const PFNEGLDESTROYSYNCKHRPROC destroySync = EntryPoint{"eglDestroySyncKHR"};
    const PFNEGLDUPNATIVEFENCEFDANDROIDPROC dupFence = EntryPoint{"eglDupNativeFenceFDANDROID"};
    const PFNEGLCLIENTWAITSYNCKHRPROC clientWait = EntryPoint{"eglClientWaitSyncKHR"};
    const PFNEGLWAITSYNCKHRPROC serverWait = EntryPoint{"eglWaitSyncKHR"};
    const PFNEGLGETSYNCATTRIBKHRPROC getAttribute = EntryPoint{"eglGetSyncAttribKHR"};

  private:
    EGLContext mContext = EGL_NO_CONTEXT;
};

}  // namespace android::test

#endif  // UPSCALER_TESTS_HOST_GLCLIENT_H

// SPDX-License-Identifier: Apache-2.0
#include "host/GlClient.h"

#include <algorithm>
#include <utility>

namespace android {
namespace {

constexpr char kVertex[] = R"(#version 300 es
void main() {
    gl_Position = vec4(vec2(gl_VertexID & 1, gl_VertexID >> 1) * 4.0 - 1.0, 0.0, 1.0);
})";

// The loop's result is not known to the compiler, and never changes the colour.
constexpr char kFragment[] = R"(#version 300 es
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

void bindNewTexture(GLenum target, EGLImageKHR image) {
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
void draw(int width, int height, int rounds) {
    bindNewTexture(GL_TEXTURE_2D, EGL_NO_IMAGE_KHR);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA32F, width, height);
    const GLuint program = glCreateProgram();
    for (const auto& [kind, source] : {std::pair(GLenum{GL_VERTEX_SHADER}, kVertex + 0),
                                       std::pair(GLenum{GL_FRAGMENT_SHADER}, kFragment + 0)}) {
        const GLuint shader = glCreateShader(kind);
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

// Calls use(byte) for each byte of the pixels, without the stride's padding, under a lock.
template <typename Use>
void eachByte(const sp<GraphicBuffer>& buffer, uint32_t usage, Use use) {
    void* address = nullptr;
    int32_t pixelBytes = 0;
    int32_t stride = 0;
    ASSERT_EQ(buffer->lock(usage, &address, &pixelBytes, &stride), OK);
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        uint8_t* const row = static_cast<uint8_t*>(address) + y * static_cast<size_t>(stride);
        std::for_each_n(row, buffer->getWidth() * static_cast<size_t>(pixelBytes), use);
    }
    EXPECT_EQ(buffer->unlock(), OK);
}

}  // namespace

sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height, PixelFormat format) {
    sp<GraphicBuffer> buffer = new GraphicBuffer(width, height, format, 1, kAnyUse, "test");
    EXPECT_EQ(buffer->initCheck(), OK);
    return buffer;
}

Bytes readPixels(const sp<GraphicBuffer>& buffer) {
    Bytes pixels;
    eachByte(buffer, kRead, [&](uint8_t byte) { pixels.push_back(byte); });
    return pixels;
}

void writePixels(const sp<GraphicBuffer>& buffer, const Bytes& pixels) {
    const uint8_t* next = pixels.data();
    eachByte(buffer, kWrite, [&](uint8_t& byte) { byte = *next++; });
}

GlClient::GlClient() {
    EXPECT_EQ(eglInitialize(display, nullptr, nullptr), kTrue);
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    mContext = eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    EXPECT_EQ(eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, mContext), kTrue);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
}

GlClient::~GlClient() {
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display, mContext);
    EXPECT_EQ(eglTerminate(display), kTrue);
    eglReleaseThread();
}

EGLImageKHR GlClient::import(const sp<GraphicBuffer>& buffer) const {
    const EGLint attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
    return createImage(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                       buffer->getNativeBuffer(), attributes);
}

void GlClient::fill(EGLImageKHR image, const Colour& colour) const {
    bindNewTexture(GL_TEXTURE_2D, image);
    glClearColor(colour[0], colour[1], colour[2], colour[3]);
    glClear(GL_COLOR_BUFFER_BIT);
    glFinish();
}

std::vector<Colour> GlClient::sample(EGLImageKHR image, int width, int height) const {
    bindNewTexture(GL_TEXTURE_EXTERNAL_OES, image);
    draw(width, height, 0);
    std::vector<Colour> colours(static_cast<size_t>(width * height));
    glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, colours.data());
    return colours;
}

void GlClient::work(int rounds) const {
    draw(512, 512, rounds);
}

EGLSyncKHR GlClient::sync() const {
    const EGLSyncKHR sync = createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    EXPECT_NE(sync, EGL_NO_SYNC_KHR);
    return sync;
}

sp<Fence> GlClient::fence() const {
    const EGLSyncKHR made = sync();
    sp<Fence> result = fence(made);
    EXPECT_EQ(destroySync(display, made), kTrue);
    return result;
}

}  // namespace android

// SPDX-License-Identifier: Apache-2.0
#include "host/GlClient.h"

#include <utility>

namespace android {
namespace {

constexpr EGLBoolean kTrue = EGL_TRUE;

constexpr char kVertex[] = R"(#version 300 es
void main() {
    gl_Position = vec4(vec2(gl_VertexID & 1, gl_VertexID >> 1) * 4.0 - 1.0, 0.0, 1.0);
})";

// The loop's result is not known to the compiler, and never changes the colour.
constexpr char kSlowFragment[] = R"(#version 300 es
precision highp float;
uniform int rounds;
out vec4 result;
void main() {
    float value = gl_FragCoord.x * 0.001;
    for (int i = 0; i < rounds; ++i) value = fract(sin(value) * 43758.5453 + 0.1);
    result = vec4(value > 2.0 ? value : 1.0);
})";

constexpr char kSampleFragment[] = R"(#version 300 es
#extension GL_OES_EGL_image_external_essl3 : require
precision highp float;
uniform highp samplerExternalOES source;
uniform ivec2 size;
out vec4 result;
void main() { result = texture(source, gl_FragCoord.xy / vec2(size)); }
)";

// Fills the whole target. A shader that does not compile leaves a GL error, which the client's end
// reports.
void draw(const char* fragmentSource, int width, int height, int rounds = 0) {
    const GLuint program = glCreateProgram();
    for (const auto& [kind, source] : {std::pair(GLenum{GL_VERTEX_SHADER}, kVertex + 0),
                                       std::pair(GLenum{GL_FRAGMENT_SHADER}, fragmentSource)}) {
        const GLuint shader = glCreateShader(kind);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glAttachShader(program, shader);
    }
    glLinkProgram(program);
    glUseProgram(program);
    glUniform2i(glGetUniformLocation(program, "size"), width, height);
    glUniform1i(glGetUniformLocation(program, "rounds"), rounds);
    glViewport(0, 0, width, height);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

GLuint bindNewTexture(GLenum target, EGLImageKHR image = EGL_NO_IMAGE_KHR) {
    const PFNGLEGLIMAGETARGETTEXTURE2DOESPROC setImage = EntryPoint{"glEGLImageTargetTexture2DOES"};
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(target, texture);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    if (image != EGL_NO_IMAGE_KHR) setImage(target, image);
    return texture;
}

void drawInto(GLuint texture) {
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum{GL_FRAMEBUFFER_COMPLETE});
}

}  // namespace

sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height, PixelFormat format) {
    sp<GraphicBuffer> buffer = new GraphicBuffer(width, height, format, 1, kAnyUse, "test");
    EXPECT_EQ(buffer->initCheck(), OK);
    return buffer;
}

Bytes readPixels(const sp<GraphicBuffer>& buffer) {
    Bytes pixels;
    eachRow(buffer, kRead,
            [&](uint8_t* row, size_t bytes) { pixels.insert(pixels.end(), row, row + bytes); });
    return pixels;
}

void eachRow(const sp<GraphicBuffer>& buffer, uint32_t usage,
             const std::function<void(uint8_t*, size_t)>& use) {
    void* address = nullptr;
    int32_t pixel = 0;
    int32_t row = 0;
    ASSERT_EQ(buffer->lock(usage, &address, &pixel, &row), OK);
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        use(static_cast<uint8_t*>(address) + y * static_cast<size_t>(row),
            buffer->getWidth() * static_cast<size_t>(pixel));
    }
    EXPECT_EQ(buffer->unlock(), OK);
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
    drawInto(bindNewTexture(GL_TEXTURE_2D, image));
    glClearColor(colour[0], colour[1], colour[2], colour[3]);
    glClear(GL_COLOR_BUFFER_BIT);
}

void GlClient::fillSlowly(EGLImageKHR image, int rounds) const {
    drawInto(bindNewTexture(GL_TEXTURE_2D, image));
    draw(kSlowFragment, kSlowSize, kSlowSize, rounds);
}

std::vector<float> GlClient::sample(EGLImageKHR image, int width, int height) const {
    const GLuint target = bindNewTexture(GL_TEXTURE_2D);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA32F, width, height);
    drawInto(target);
    bindNewTexture(GL_TEXTURE_EXTERNAL_OES, image);
    draw(kSampleFragment, width, height);
    std::vector<float> colours(static_cast<size_t>(width * height * 4));
    glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, colours.data());
    return colours;
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

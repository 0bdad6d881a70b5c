// SPDX-License-Identifier: Apache-2.0
#include "host/GlClient.h"

namespace android {
namespace {

template <typename Function>
Function fetch(const char* name) {
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

constexpr char kVertex[] = R"(#version 300 es
void main() {
    gl_Position = vec4(vec2(gl_VertexID & 1, gl_VertexID >> 1) * 4.0 - 1.0, 0.0, 1.0);
})";

// The loop's result is not known to the compiler, and never changes the colour.
constexpr char kSlowFragment[] = R"(#version 300 es
precision highp float;
uniform vec4 colour;
uniform int rounds;
out vec4 result;
void main() {
    float value = gl_FragCoord.x * 0.001;
    for (int i = 0; i < rounds; ++i) value = fract(sin(value) * 43758.5453 + 0.1);
    result = value > 2.0 ? vec4(value) : colour;
})";

constexpr char kSampleFragment[] = R"(#version 300 es
#extension GL_OES_EGL_image_external_essl3 : require
precision highp float;
uniform highp samplerExternalOES source;
uniform vec2 position;
out vec4 result;
void main() { result = texture(source, position); }
)";

GLuint compile(GLenum kind, const char* source) {
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    return shader;
}

class Program {
  public:
    explicit Program(const char* fragmentSource) : mName(glCreateProgram()) {
        const GLuint vertex = compile(GL_VERTEX_SHADER, kVertex);
        const GLuint fragment = compile(GL_FRAGMENT_SHADER, fragmentSource);
        glAttachShader(mName, vertex);
        glAttachShader(mName, fragment);
        glLinkProgram(mName);
        glDeleteShader(vertex);
        glDeleteShader(fragment);
        GLint linked = GL_FALSE;
        glGetProgramiv(mName, GL_LINK_STATUS, &linked);
        EXPECT_EQ(linked, GL_TRUE);
        glUseProgram(mName);
    }
    ~Program() { glDeleteProgram(mName); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    GLint uniform(const char* name) const { return glGetUniformLocation(mName, name); }

  private:
    GLuint mName;
};

class Texture {
  public:
    explicit Texture(GLenum target) {
        glGenTextures(1, &mName);
        glBindTexture(target, mName);
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    }
    ~Texture() { glDeleteTextures(1, &mName); }
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;

    void attach() const {
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, mName, 0);
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum{GL_FRAMEBUFFER_COMPLETE});
    }

  private:
    GLuint mName = 0;
};

}  // namespace

GlClient::GlClient()
    : createImage(fetch<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR")),
      destroyImage(fetch<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR")),
      createSync(fetch<PFNEGLCREATESYNCKHRPROC>("eglCreateSyncKHR")),
      destroySync(fetch<PFNEGLDESTROYSYNCKHRPROC>("eglDestroySyncKHR")),
      waitSync(fetch<PFNEGLWAITSYNCKHRPROC>("eglWaitSyncKHR")),
      dupFence(fetch<PFNEGLDUPNATIVEFENCEFDANDROIDPROC>("eglDupNativeFenceFDANDROID")),
      imageTargetTexture(
              fetch<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>("glEGLImageTargetTexture2DOES")),
      mDisplay(eglGetDisplay(EGL_DEFAULT_DISPLAY)) {
    EXPECT_EQ(eglInitialize(mDisplay, nullptr, nullptr), EGLBoolean{EGL_TRUE});
    const EGLint configAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    EXPECT_EQ(eglChooseConfig(mDisplay, configAttributes, &config, 1, &count),
              EGLBoolean{EGL_TRUE});
    const EGLint contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    mContext = eglCreateContext(mDisplay, config, EGL_NO_CONTEXT, contextAttributes);
    EXPECT_EQ(eglMakeCurrent(mDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, mContext),
              EGLBoolean{EGL_TRUE});
    glGenFramebuffers(1, &mFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
    EXPECT_TRUE(glIsClean());
}

GlClient::~GlClient() {
    EXPECT_TRUE(glIsClean());
    eglMakeCurrent(mDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(mDisplay, mContext);
    EXPECT_EQ(eglTerminate(mDisplay), EGLBoolean{EGL_TRUE});
    eglReleaseThread();
}

EGLImageKHR GlClient::import(const sp<GraphicBuffer>& buffer) const {
    return import(buffer->getNativeBuffer());
}

EGLImageKHR GlClient::import(EGLClientBuffer buffer) const {
    const EGLint attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
    return createImage(mDisplay, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, buffer, attributes);
}

void GlClient::fill(EGLImageKHR image, const Colour& colour) const {
    const Texture texture(GL_TEXTURE_2D);
    imageTargetTexture(GL_TEXTURE_2D, image);
    texture.attach();
    glClearColor(colour[0], colour[1], colour[2], colour[3]);
    glClear(GL_COLOR_BUFFER_BIT);
}

void GlClient::fillSlowly(EGLImageKHR image, const Colour& colour, int rounds, GLsizei size) const {
    const Texture texture(GL_TEXTURE_2D);
    imageTargetTexture(GL_TEXTURE_2D, image);
    texture.attach();
    const Program program(kSlowFragment);
    glUniform4fv(program.uniform("colour"), 1, colour.data());
    glUniform1i(program.uniform("rounds"), rounds);
    glViewport(0, 0, size, size);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

Colour GlClient::sample(EGLImageKHR image, int x, int y, GLsizei width, GLsizei height) const {
    const Texture target(GL_TEXTURE_2D);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA32F, 1, 1);
    target.attach();
    const Texture source(GL_TEXTURE_EXTERNAL_OES);
    imageTargetTexture(GL_TEXTURE_EXTERNAL_OES, image);
    const Program program(kSampleFragment);
    glUniform2f(program.uniform("position"),
                (static_cast<float>(x) + 0.5F) / static_cast<float>(width),
                (static_cast<float>(y) + 0.5F) / static_cast<float>(height));
    glViewport(0, 0, 1, 1);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    Colour colour{};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, colour.data());
    return colour;
}

sp<Fence> GlClient::fence() const {
    const EGLSyncKHR sync = createSync(mDisplay, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    EXPECT_NE(sync, EGL_NO_SYNC_KHR);
    const int fd = dupFence(mDisplay, sync);
    EXPECT_EQ(destroySync(mDisplay, sync), EGLBoolean{EGL_TRUE});
    return new Fence(fd);
}

::testing::AssertionResult glIsClean() {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return ::testing::AssertionSuccess();
    while (glGetError() != GL_NO_ERROR) {
    }
    return ::testing::AssertionFailure() << "GL error 0x" << std::hex << error;
}

}  // namespace android

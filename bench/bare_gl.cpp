// SPDX-License-Identifier: Apache-2.0
#include "bench/bare_gl.h"

#include <string>
#include <vector>

#include "upscaler/constants.h"
#include "upscaler/shaders/shaders.h"

namespace bench {
namespace {

GLuint compile(GLenum stage, const std::string& source) {
    const GLuint shader = glCreateShader(stage);
    const char* const text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    return shader;
}

GLuint link(const std::string& fragment) {
    const GLuint program = glCreateProgram();
    glAttachShader(program, compile(GL_VERTEX_SHADER, android::kFullScreenVertex));
    glAttachShader(program, compile(GL_FRAGMENT_SHADER, fragment));
    glLinkProgram(program);
    return program;
}

template <typename Function>
void fetch(Function& function, const char* name) {
    function = reinterpret_cast<Function>(eglGetProcAddress(name));
}

void sendInt(GLuint program, const char* name, int value) {
    glUniform1i(glGetUniformLocation(program, name), value);
}

void send(GLuint program, const char* name, float x, float y, float z, float w) {
    glUniform4f(glGetUniformLocation(program, name), x, y, z, w);
}

void send(GLuint program, const char* name, const std::vector<float>& v) {
    send(program, name, v[0], v[1], v[2], v[3]);
}

}  // namespace

BareGl::BareGl()
    : mDisplay(eglGetCurrentDisplay()),
      mCopy(link(android::kCopyExternalFragment)),
      mEasu(link(android::kEasuFragment)),
      mRcas(link(android::kRcasFragment)) {
    fetch(mImageTarget, "glEGLImageTargetTexture2DOES");
    fetch(mCreateImage, "eglCreateImageKHR");
    fetch(mCreateSync, "eglCreateSyncKHR");
    fetch(mDestroySync, "eglDestroySyncKHR");
    glGenFramebuffers(1, &mCopyTarget.frameBuffer);
    glGenFramebuffers(1, &mEasuTarget.frameBuffer);
    glGenFramebuffers(1, &mDstFrameBuffer);
    glGenVertexArrays(1, &mVao);
}

GLuint BareGl::textureOf(const sp<GraphicBuffer>& buffer, GLenum target) {
    GLuint& texture = mTextures[buffer.get()];
    if (texture != 0) {
        glBindTexture(target, texture);
        return texture;
    }
    const EGLint attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
    const EGLImageKHR image = mCreateImage(mDisplay, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                                           buffer->getNativeBuffer(), attributes);
    glGenTextures(1, &texture);
    glBindTexture(target, texture);
    mImageTarget(target, image);
    return texture;
}

int BareGl::fsrResize(const sp<GraphicBuffer>& src, const sp<GraphicBuffer>& dst, float sharpness) {
    const GLuint srcTexture = textureOf(src, GL_TEXTURE_EXTERNAL_OES);
    const GLuint dstTexture = textureOf(dst, GL_TEXTURE_2D);
    const auto srcWidth = static_cast<GLsizei>(src->getWidth());
    const auto srcHeight = static_cast<GLsizei>(src->getHeight());
    const auto dstWidth = static_cast<GLsizei>(dst->getWidth());
    const auto dstHeight = static_cast<GLsizei>(dst->getHeight());
    const android::Size in = {static_cast<float>(srcWidth), static_cast<float>(srcHeight)};
    const android::Size out = {static_cast<float>(dstWidth), static_cast<float>(dstHeight)};

    glUseProgram(mCopy);
    sendInt(mCopy, "screenTexture", 0);
    makeTarget(mCopyTarget, srcWidth, srcHeight);
    drawQuad(mCopyTarget.frameBuffer, mCopyTarget.texture, srcWidth, srcHeight,
             GL_TEXTURE_EXTERNAL_OES, srcTexture);

    std::vector<float> con0(4), con1(4), con2(4), con3(4);
    android::setEasuConstants(in, out, con0, con1, con2, con3);
    glUseProgram(mEasu);
    sendInt(mEasu, "screenTexture", 0);
    send(mEasu, "vec4_0", con0);
    send(mEasu, "vec4_1", con1);
    send(mEasu, "vec4_2", con2);
    send(mEasu, "vec4_3", con3);
    send(mEasu, "SizeInfo", in.width, in.height, out.width, out.height);
    makeTarget(mEasuTarget, dstWidth, dstHeight);
    drawQuad(mEasuTarget.frameBuffer, mEasuTarget.texture, dstWidth, dstHeight, GL_TEXTURE_2D,
             mCopyTarget.texture);

    const float scale = android::rcasScale(sharpness);
    glUseProgram(mRcas);
    sendInt(mRcas, "screenTexture", 0);
    glUniform1f(glGetUniformLocation(mRcas, "sharpness"), scale);
    send(mRcas, "SizeInfo", in.width, in.height, out.width, out.height);
    glBindTexture(GL_TEXTURE_2D, dstTexture);
    drawQuad(mDstFrameBuffer, dstTexture, dstWidth, dstHeight, GL_TEXTURE_2D, mEasuTarget.texture);

    const int released = fence();
    glDeleteTextures(1, &mEasuTarget.texture);
    glDeleteTextures(1, &mCopyTarget.texture);
    return released;
}

void BareGl::makeTarget(Intermediate& target, GLsizei width, GLsizei height) {
    glGenTextures(1, &target.texture);
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

void BareGl::drawQuad(GLuint frameBuffer, GLuint target, GLsizei width, GLsizei height,
                      GLenum inputTarget, GLuint input) {
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target, 0);
    glViewport(0, 0, width, height);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    glDisable(GL_DEPTH_TEST);
    glClearColor(0.1f, 0.1f, 0.1f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glBindVertexArray(mVao);
    glBindTexture(inputTarget, input);
    glDrawArrays(GL_TRIANGLES, 0, 6);
}

int BareGl::fence() {
    const EGLSyncKHR sync = mCreateSync(mDisplay, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    glFlush();
    const int fd = eglDupNativeFenceFDANDROID(mDisplay, sync);
    mDestroySync(mDisplay, sync);
    return fd;
}

}  // namespace bench

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

void send(GLuint program, const char* name, const std::vector<uint32_t>& v) {
    glUniform4ui(glGetUniformLocation(program, name), v[0], v[1], v[2], v[3]);
}

android::Size sizeOf(uint32_t width, uint32_t height) {
    return {static_cast<float>(width), static_cast<float>(height)};
}

}  // namespace

struct BareGl::Call {
    GLuint src, dst;
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
    float sharpness;
    android::Size in() const { return sizeOf(srcWidth, srcHeight); }
    android::Size out() const { return sizeOf(dstWidth, dstHeight); }
};

BareGl::BareGl()
    : mDisplay(eglGetCurrentDisplay()),
      mCopy(link(android::kCopyExternalFragment)),
      mCopy2d(link(android::kCopy2dFragment)),
      mRgb2hsv(link(android::kRgb2hsvFragment)),
      mEasu(link(android::kEasuFragment)),
      mRcas(link(android::kRcasFragment)),
      mCasUpscale(link(android::casUpscaleFragment())),
      mCasTUpscale(link(android::casTUpscaleFragment())),
      mCasVUpscale(link(android::casVUpscaleFragment())),
      mCasSharpen(link(android::casSharpenFragment())) {
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

int BareGl::draw(const Operation& operation, const sp<GraphicBuffer>& src,
                 const sp<GraphicBuffer>& dst, float sharpness) {
    const Call call = {textureOf(src, GL_TEXTURE_EXTERNAL_OES),
                       textureOf(dst, GL_TEXTURE_2D),
                       src->getWidth(),
                       src->getHeight(),
                       dst->getWidth(),
                       dst->getHeight(),
                       sharpness};
    const std::string name = operation.name;
    const bool isFsr = name == "fsrResize";
    const bool isNea = name == "neaResize";
    if (isFsr) drawFsr(call);
    if (isNea) drawNea(call);
    if (name == "casSharpen") drawCas(call, mCopy, mCasSharpen, 1.0f, 5.0f, 8.0f, false);
    if (name == "casResize") drawCas(call, mCopy, mCasUpscale, 1.0f, 5.0f, 8.0f, true);
    if (name == "casvUpscale") drawCas(call, mRgb2hsv, mCasVUpscale, 1.0f, 5.0f, 8.0f, true);
    if (name == "casTUpscale") drawCas(call, mCopy, mCasTUpscale, 20.0f, 75.0f, 120.0f, true);
    const int released = fence(isFsr);
    if (isFsr || isNea || name == "casResize") glDeleteTextures(1, &mEasuTarget.texture);
    glDeleteTextures(1, &mCopyTarget.texture);
    return released;
}

void BareGl::drawFsr(const Call& call) {
    copy(call, mCopy, call.srcWidth, call.srcHeight, GL_LINEAR, true);

    std::vector<float> con0(4), con1(4), con2(4), con3(4);
    android::setEasuConstants(call.in(), call.out(), con0, con1, con2, con3);
    glUseProgram(mEasu);
    sendInt(mEasu, "screenTexture", 0);
    send(mEasu, "vec4_0", con0);
    send(mEasu, "vec4_1", con1);
    send(mEasu, "vec4_2", con2);
    send(mEasu, "vec4_3", con3);
    send(mEasu, "SizeInfo", call.in().width, call.in().height, call.out().width, call.out().height);
    makeTarget(mEasuTarget, call.dstWidth, call.dstHeight, GL_LINEAR);
    drawQuad(mEasuTarget.frameBuffer, mEasuTarget.texture, call.dstWidth, call.dstHeight, true,
             GL_TEXTURE_2D, mCopyTarget.texture);

    sharpen(call, true);
}

void BareGl::drawNea(const Call& call) {
    copy(call, mCopy, call.srcWidth, call.srcHeight, GL_NEAREST, false);

    glUseProgram(mCopy2d);
    sendInt(mCopy2d, "screenTexture", 0);
    makeTarget(mEasuTarget, call.dstWidth, call.dstHeight, GL_NEAREST);
    drawQuad(mEasuTarget.frameBuffer, mEasuTarget.texture, call.dstWidth, call.dstHeight, false,
             GL_TEXTURE_2D, mCopyTarget.texture);

    sharpen(call, false);
}

void BareGl::drawCas(const Call& call, GLuint copyProgram, GLuint program, float numerator,
                     float strongest, float weakest, bool scales) {
    if (scales) {
        copy(call, copyProgram, call.srcWidth, call.srcHeight, GL_NEAREST, false);
    } else {
        copy(call, copyProgram, call.dstWidth, call.dstHeight, GL_LINEAR, false);
    }

    const android::Size in = scales ? call.in() : call.out();
    const android::Size out = call.out();
    std::vector<uint32_t> const0(4), const1(4);
    android::setCasConstants(call.sharpness, {numerator, strongest, weakest}, in, out, const0,
                             const1);
    glUseProgram(program);
    sendInt(program, "screenTexture", 0);
    send(program, "SizeInfo", in.width, in.height, out.width, out.height);
    send(program, "Const0", const0);
    send(program, "Const1", const1);
    glBindTexture(GL_TEXTURE_2D, call.dst);
    drawQuad(mDstFrameBuffer, call.dst, call.dstWidth, call.dstHeight, false, GL_TEXTURE_2D,
             mCopyTarget.texture);
}

void BareGl::copy(const Call& call, GLuint program, uint32_t width, uint32_t height, GLint filter,
                  bool clears) {
    glUseProgram(program);
    sendInt(program, "screenTexture", 0);
    makeTarget(mCopyTarget, width, height, filter);
    drawQuad(mCopyTarget.frameBuffer, mCopyTarget.texture, width, height, clears,
             GL_TEXTURE_EXTERNAL_OES, call.src);
}

void BareGl::sharpen(const Call& call, bool clears) {
    glUseProgram(mRcas);
    sendInt(mRcas, "screenTexture", 0);
    glUniform1f(glGetUniformLocation(mRcas, "sharpness"), android::rcasScale(call.sharpness));
    send(mRcas, "SizeInfo", call.in().width, call.in().height, call.out().width, call.out().height);
    glBindTexture(GL_TEXTURE_2D, call.dst);
    drawQuad(mDstFrameBuffer, call.dst, call.dstWidth, call.dstHeight, clears, GL_TEXTURE_2D,
             mEasuTarget.texture);
}

void BareGl::makeTarget(Intermediate& target, uint32_t width, uint32_t height, GLint filter) {
    glGenTextures(1, &target.texture);
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, static_cast<GLsizei>(width),
                 static_cast<GLsizei>(height), 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
}

void BareGl::drawQuad(GLuint frameBuffer, GLuint target, uint32_t width, uint32_t height,
                      bool clears, GLenum inputTarget, GLuint input) {
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target, 0);
    glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    glDisable(GL_DEPTH_TEST);
    if (clears) {
        glClearColor(0.1f, 0.1f, 0.1f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    glBindVertexArray(mVao);
    glBindTexture(inputTarget, input);
    glDrawArrays(GL_TRIANGLES, 0, 6);
}

int BareGl::fence(bool flushesFirst) {
    const EGLSyncKHR sync = mCreateSync(mDisplay, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    if (flushesFirst) glFlush();
    const int fd = eglDupNativeFenceFDANDROID(mDisplay, sync);
    mDestroySync(mDisplay, sync);
    if (!flushesFirst) glFlush();
    return fd;
}

}  // namespace bench

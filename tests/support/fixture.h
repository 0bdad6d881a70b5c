// SPDX-License-Identifier: Apache-2.0
// What the tests of the library have in common: the object with its teardown, its members, buffers.
#ifndef TESTS_SUPPORT_FIXTURE_H
#define TESTS_SUPPORT_FIXTURE_H

#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/gl_trace.h"
#include "support/log_capture.h"
#include "upscaler/upscaler.h"

namespace android {

class UpscalerPeer {
  public:
    using Shader = std::unique_ptr<GfxShader> Upscaler::*;
    using Name = uint32_t Upscaler::*;

    static constexpr Shader kCopyShader = &Upscaler::mCopyShaderP;
    static constexpr Shader kUpscalerShader = &Upscaler::mUpscalerShaderP;
    static constexpr Shader kRgb2hsvShader = &Upscaler::mRgb2hsvShaderP;
    static constexpr Shader kEasuShader = &Upscaler::mEasuShaderP;
    static constexpr Shader kRcasShader = &Upscaler::mRcasShaderP;
    static constexpr Shader kCasUpscaleShader = &Upscaler::mCasUpscaleShaderP;
    static constexpr Shader kCasSharpenShader = &Upscaler::mCasSharpenShaderP;
    static constexpr Shader kCasVUpscaleShader = &Upscaler::mCasVUpscaleFloatShaderP;
    static constexpr Shader kCasTUpscaleShader = &Upscaler::mCasTUpscaleShaderP;

    // In the order in which initOpenGL and clearOpenGLResources go through them.
    static constexpr Name kMade[] = {&Upscaler::mFrameBufferCopy, &Upscaler::mFrameBufferEasu,
                                     &Upscaler::mFrameBufferRcas, &Upscaler::mQuadVAO,
                                     &Upscaler::mQuadVBO};
    static constexpr Name kTextureColorCopy = &Upscaler::mTextureColorCopy;
    static constexpr Name kTextureColorEasu = &Upscaler::mTextureColorEasu;

    static std::unordered_map<uint64_t, uint32_t>& textures(Upscaler& u) { return u.mTextureMap; }
    static std::list<void*>& images(Upscaler& u) { return u.mEglImageList; }
    static EGLDisplay display(const Upscaler& u) { return u.mEGLDisplay; }
    static EGLContext context(const Upscaler& u) { return u.mEGLContext; }
};

namespace test {

constexpr char kLevelProperty[] = "debug.vardi.display.ups.enable";

// An Upscaler that is torn down in the right order.
class OwnedUpscaler {
  public:
    OwnedUpscaler() : mUpscaler(std::make_unique<Upscaler>()) {}
    ~OwnedUpscaler() {
        mUpscaler->clearOpenGLResources();
        mUpscaler->destroyEGL();
    }
    Upscaler& operator*() { return *mUpscaler; }
    Upscaler* operator->() { return mUpscaler.get(); }

  private:
    std::unique_ptr<Upscaler> mUpscaler;
};

inline sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height,
                                    PixelFormat format = PIXEL_FORMAT_RGBA_8888) {
    return new GraphicBuffer(
            width, height, format, 1,
            GraphicBuffer::USAGE_SW_READ_OFTEN | GraphicBuffer::USAGE_SW_WRITE_OFTEN |
                    GraphicBuffer::USAGE_HW_TEXTURE | GraphicBuffer::USAGE_HW_RENDER,
            "test");
}

// Calls use(x, y, pixel) for each pixel of an RGBA_8888 buffer.
inline void eachPixel(const sp<GraphicBuffer>& buffer, uint32_t usage,
                      const std::function<void(uint32_t, uint32_t, uint32_t&)>& use) {
    void* address = nullptr;
    ASSERT_EQ(buffer->lock(usage, &address), OK);
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        uint32_t* row = static_cast<uint32_t*>(address) + y * buffer->getStride();
        for (uint32_t x = 0; x < buffer->getWidth(); ++x)
            use(x, y, row[x]);
    }
    ASSERT_EQ(buffer->unlock(), OK);
}

inline void fill(const sp<GraphicBuffer>& buffer, uint32_t abgr) {
    eachPixel(buffer, GraphicBuffer::USAGE_SW_WRITE_OFTEN,
              [&](uint32_t, uint32_t, uint32_t& pixel) { pixel = abgr; });
}

inline std::vector<uint32_t> pixelsOf(const sp<GraphicBuffer>& buffer) {
    std::vector<uint32_t> pixels;
    eachPixel(buffer, GraphicBuffer::USAGE_SW_READ_OFTEN,
              [&](uint32_t, uint32_t, uint32_t& pixel) { pixels.push_back(pixel); });
    return pixels;
}

// What `work` would print for an error behind each of its checks, without path and line: the texts
// of all its checked GL calls, in order.
inline std::vector<std::string> checkedTexts(const std::function<void()>& work) {
    std::vector<std::string> texts;
    for (size_t i = 0;; ++i) {
        GlTrace trace;
        LogCapture log;
        trace.raiseAfter(i, GL_OUT_OF_MEMORY);
        work();
        if (!trace.raised()) return texts;
        const std::vector<std::string> errors = log.errors();
        if (errors.size() != 1) {
            ADD_FAILURE() << "check " << i << " wrote " << errors.size() << " lines";
            return texts;
        }
        // glGetError failed PATH: LINE: TEXT failed: OUT_OF_MEMORY
        const size_t line = errors[0].find(": ") + 2;
        const size_t text = errors[0].find(": ", line) + 2;
        const size_t end = errors[0].rfind(" failed: OUT_OF_MEMORY \n");
        if (end == std::string::npos) {
            ADD_FAILURE() << errors[0];
            return texts;
        }
        texts.push_back(errors[0].substr(text, end - text));
    }
}

}  // namespace test
}  // namespace android

#endif  // TESTS_SUPPORT_FIXTURE_H

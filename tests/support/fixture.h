// SPDX-License-Identifier: Apache-2.0
// What the tests of the library have in common: the object with its teardown, its members, buffers.
#ifndef TESTS_SUPPORT_FIXTURE_H
#define TESTS_SUPPORT_FIXTURE_H

#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/gl_trace.h"
#include "support/log_capture.h"
#include "upscaler/upscaler.h"

namespace android {

class UpscalerPeer {
  public:
    using Words = std::map<std::string, uint64_t>;

    // All that the object has made, by the names of the members.
    static Words words(const Upscaler& u) {
        Words words = {
                {"mEGLDisplay", reinterpret_cast<uintptr_t>(u.mEGLDisplay)},
                {"mEGLContext", reinterpret_cast<uintptr_t>(u.mEGLContext)},
                {"mCopyShaderP", idOf(u.mCopyShaderP)},
                {"mUpscalerShaderP", idOf(u.mUpscalerShaderP)},
                {"mRgb2hsvShaderP", idOf(u.mRgb2hsvShaderP)},
                {"mEasuShaderP", idOf(u.mEasuShaderP)},
                {"mRcasShaderP", idOf(u.mRcasShaderP)},
                {"mCasUpscaleShaderP", idOf(u.mCasUpscaleShaderP)},
                {"mCasSharpenShaderP", idOf(u.mCasSharpenShaderP)},
                {"mCasVUpscaleFloatShaderP", idOf(u.mCasVUpscaleFloatShaderP)},
                {"mCasTUpscaleShaderP", idOf(u.mCasTUpscaleShaderP)},
                {"mFrameBufferCopy", u.mFrameBufferCopy},
                {"mFrameBufferEasu", u.mFrameBufferEasu},
                {"mFrameBufferRcas", u.mFrameBufferRcas},
                {"mTextureColorCopy", u.mTextureColorCopy},
                {"mTextureColorEasu", u.mTextureColorEasu},
                {"mQuadVAO", u.mQuadVAO},
                {"mQuadVBO", u.mQuadVBO},
        };
        size_t i = 0;
        for (const auto& entry : u.mTextureMap)
            words["cached" + std::to_string(i++)] = entry.second;
        i = 0;
        for (void* image : u.mEglImageList)
            words["image" + std::to_string(i++)] = reinterpret_cast<uintptr_t>(image);
        return words;
    }

    static std::unique_ptr<GfxShader>& copyShader(Upscaler& u) { return u.mCopyShaderP; }
    static std::unique_ptr<GfxShader>& upscalerShader(Upscaler& u) { return u.mUpscalerShaderP; }
    static std::unique_ptr<GfxShader>& rcasShader(Upscaler& u) { return u.mRcasShaderP; }
    static uint32_t& textureColorEasu(Upscaler& u) { return u.mTextureColorEasu; }
    static void forgetNames(Upscaler& u) {
        u.mFrameBufferCopy = u.mFrameBufferEasu = u.mFrameBufferRcas = u.mQuadVAO = u.mQuadVBO = 0;
    }

    static std::unordered_map<uint64_t, uint32_t>& textures(Upscaler& u) { return u.mTextureMap; }
    static std::list<void*>& images(Upscaler& u) { return u.mEglImageList; }
    static EGLDisplay display(const Upscaler& u) { return u.mEGLDisplay; }
    static EGLContext context(const Upscaler& u) { return u.mEGLContext; }

  private:
    static uint64_t idOf(const std::unique_ptr<GfxShader>& shader) {
        return shader == nullptr ? 0 : shader->getID();
    }
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

// The uniforms of the scripts are those of such a source and destination.
constexpr uint32_t kSrcWidth = 24, kSrcHeight = 16, kDstWidth = 48, kDstHeight = 64;

// A test of the library, without debug lines unless it asks for them.
class LibraryTest : public ::testing::Test {
  protected:
    ~LibraryTest() override {
        property_set(kLevelProperty, "");
        resizeBufferLogLevel = 0;
    }

    LogCapture log;
    sp<GraphicBuffer> src = makeBuffer(kSrcWidth, kSrcHeight);
    sp<GraphicBuffer> dst = makeBuffer(kDstWidth, kDstHeight);
    sp<Fence> fence = Fence::NO_FENCE;
};

// The cache's key for a buffer: a hash of its native buffer's address.
inline uint64_t bufferKey(const sp<GraphicBuffer>& buffer) {
    const uint64_t p = reinterpret_cast<uintptr_t>(buffer->getNativeBuffer());
    const uint64_t mul = 0x9ddfea08eb382d69ULL;
    const auto mix = [&](uint64_t a, uint64_t b) {
        const uint64_t x = (a ^ b) * mul;
        return x ^ (x >> 47);
    };
    const uint64_t u = 8 + ((p << 3) & 0xFFFFFFFFULL);
    const uint64_t v = p >> 32;
    return mix(v, mix(u, v)) * mul;
}

}  // namespace test
}  // namespace android

#endif  // TESTS_SUPPORT_FIXTURE_H

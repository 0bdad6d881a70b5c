// SPDX-License-Identifier: Apache-2.0
// What the tests of the library have in common: the object with its teardown and its members.
#ifndef TESTS_SUPPORT_FIXTURE_H
#define TESTS_SUPPORT_FIXTURE_H

#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/buffers.h"
#include "support/gl_trace.h"
#include "support/log_capture.h"
#include "upscaler/upscaler.h"

namespace android {

class UpscalerPeer {
  public:
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
};

namespace test {

constexpr char kLevelProperty[] = "debug.vardi.display.ups.enable";

// The smallest program, and a shader that does not compile.
inline const std::string kVertex = "#version 320 es\nvoid main() { gl_Position = vec4(0.0); }\n";
inline const std::string kFragment = "#version 320 es\nvoid main() {}\n";
inline const std::string kBroken = "#version 320 es\nvoid main() { nonsense = 1; }\n";

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

// The sizes of a test's source and destination; the scripts have the uniforms for them.
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

}  // namespace test
}  // namespace android

#endif  // TESTS_SUPPORT_FIXTURE_H

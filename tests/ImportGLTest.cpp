// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fixture.h"

namespace android::test {
namespace {

using ::testing::Contains;
using ::testing::SizeIs;

class ImportGLTest : public ::testing::Test {
  protected:
    void SetUp() override { resizeBufferLogLevel = 0; }
    void TearDown() override { resizeBufferLogLevel = 0; }

    void sharpen(sp<GraphicBuffer>& from, sp<GraphicBuffer>& to) {
        upscaler->casSharpen(from, to, 0.5f, &fence);
    }

    OwnedUpscaler upscaler;
    LogCapture log;
    sp<GraphicBuffer> src = makeBuffer(8, 6);
    sp<GraphicBuffer> dst = makeBuffer(12, 9);
    sp<Fence> fence;
};

TEST_F(ImportGLTest, KeyIsLoggedWithTheBuffer) {
    resizeBufferLogLevel = 0x21;
    sharpen(src, dst);
    for (const sp<GraphicBuffer>& buffer : {src, dst}) {
        char text[128];
        snprintf(text, sizeof(text), "get_texture: clientBuffer = %p, client buffer to hash=%llu",
                 static_cast<void*>(buffer->getNativeBuffer()),
                 static_cast<unsigned long long>(bufferKey(buffer)));
        EXPECT_THAT(log.debug(), Contains(text));
        EXPECT_EQ(UpscalerPeer::textures(*upscaler).count(bufferKey(buffer)), 1u);
    }
}

TEST_F(ImportGLTest, ClearForgetsTheBuffers) {
    sharpen(src, dst);
    EXPECT_THAT(UpscalerPeer::images(*upscaler), SizeIs(2));
    const int32_t held = src->getStrongCount();
    upscaler->clearOpenGLResources();
    EXPECT_EQ(src->getStrongCount(), held - 1) << "the image has let go of the buffer";
    GlTrace trace;
    sharpen(src, dst);
    EXPECT_EQ(trace.count("eglCreateImageKHR"), 2u);
}

}  // namespace
}  // namespace android::test

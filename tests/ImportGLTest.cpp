// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "support/fixture.h"
#include "support/operations.h"

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

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

TEST_F(ImportGLTest, BufferWithoutPixelsIsRefused) {
    sp<GraphicBuffer> broken = makeBuffer(1u << 20, 1);
    ASSERT_NE(broken->initCheck(), OK);
    log.clear();
    sharpen(broken, dst);
    ASSERT_FALSE(log.errors().empty());
    EXPECT_EQ(log.errors()[0], "get_texture: EGL_NO_IMAGE_KHR");
    EXPECT_NE(fence, nullptr);
}

TEST_F(ImportGLTest, OneBufferInBothRolesIsReported) {
    sharpen(src, src);
    ASSERT_FALSE(log.errors().empty());
    EXPECT_THAT(
            log.errors()[0],
            AllOf(StartsWith("glGetError failed multimedia/display/upsservice/upscaler/upscaler: "),
                  EndsWith(": glBindTexture(texture_target, texture) failed: INVALID_OPERATION "
                           "\n")));
    EXPECT_THAT(UpscalerPeer::textures(*upscaler), SizeIs(1));
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

TEST_F(ImportGLTest, BuffersThatTheClientDropsStayUntilCleared) {
    for (uint32_t i = 0; i < 5; ++i) {
        sp<GraphicBuffer> fresh = makeBuffer(4 + i, 4);
        sharpen(fresh, dst);
    }
    EXPECT_THAT(UpscalerPeer::textures(*upscaler), SizeIs(6));
    EXPECT_THAT(UpscalerPeer::images(*upscaler), SizeIs(6));
    EXPECT_THAT(log.errors(), IsEmpty());
}

size_t openDescriptors() {
    size_t count = 0;
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr)
        ++count;
    closedir(directory);
    return count;
}

size_t residentKiB() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "VmRSS:") break;
    }
    size_t kib = 0;
    status >> kib;
    return kib;
}

TEST_F(ImportGLTest, AThousandCallsOnAPairOfBuffersLeaveNothingBehind) {
    GlTrace trace;
    size_t images = 0;
    const auto calls = [&](int count) {
        for (int i = 0; i < count; ++i) {
            trace.clear();
            const OperationRow& row = operations()[static_cast<size_t>(i) % operations().size()];
            ((*upscaler).*row.call)(src, dst, 0.5f, &fence);
            images += trace.count("eglCreateImageKHR");
            for (const char* wait :
                 {"glFinish", "glClientWaitSync", "eglMakeCurrent", "glActiveTexture"})
                EXPECT_EQ(trace.count(wait), 0u);
            ASSERT_EQ(fence->wait(10000), OK);
        }
    };
    // Enough for the driver to have compiled what it compiles and pooled what it pools.
    calls(300);
    usleep(100000);
    const size_t descriptors = openDescriptors();
    const size_t memory = residentKiB();
    calls(1000);
    EXPECT_EQ(images, 2u);
    // The host closes its end of a fence a moment after signalling.
    for (int i = 0; i < 100 && openDescriptors() > descriptors; ++i)
        usleep(10000);
    EXPECT_LE(openDescriptors(), descriptors);
#ifdef UPSCALER_SANITIZED
    (void)memory;  // A sanitizer keeps what is freed.
#else
    EXPECT_LT(residentKiB(), memory + 2048);
#endif
}

}  // namespace
}  // namespace android::test

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
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

// The cache key of a native buffer's address, worked out byte by byte of the hash's definition.
uint64_t keyOf(uint64_t p) {
    const uint64_t mul = 0x9ddfea08eb382d69ULL;
    const auto mix = [&](uint64_t a, uint64_t b) {
        const uint64_t x = (a ^ b) * mul;
        return x ^ (x >> 47);
    };
    const uint64_t u = 8 + ((p << 3) & 0xFFFFFFFFULL);
    const uint64_t v = p >> 32;
    return mix(v, mix(u, v)) * mul;
}

class ImportGLTest : public ::testing::Test {
  protected:
    void SetUp() override { resizeBufferLogLevel = 0; }
    void TearDown() override { resizeBufferLogLevel = 0; }

    void sharpen(sp<GraphicBuffer>& from, sp<GraphicBuffer>& to) {
        upscaler->casSharpen(from, to, 0.5f, &fence);
    }

    // Lines of get_texture itself.
    std::vector<std::string> importLines() const {
        std::vector<std::string> lines;
        for (const std::string& line : log.debug()) {
            if (line.find("get_texture") == 0 || line.find("mTextureMap") == 0)
                lines.push_back(line);
        }
        return lines;
    }

    OwnedUpscaler upscaler;
    LogCapture log;
    sp<GraphicBuffer> src = makeBuffer(8, 6);
    sp<GraphicBuffer> dst = makeBuffer(12, 9);
    sp<Fence> fence;
};

TEST_F(ImportGLTest, EachBufferIsImportedOnceWithItsNativeBuffer) {
    GlTrace trace;
    sharpen(src, dst);
    const std::vector<GlCall> images = trace.named("eglCreateImageKHR");
    ASSERT_THAT(images, SizeIs(2));
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(images[i].arguments[0],
                  reinterpret_cast<uintptr_t>(UpscalerPeer::display(*upscaler)));
        EXPECT_EQ(images[i].arguments[1], 0u) << "no context";
        EXPECT_EQ(images[i].uintAt(2), 0x3140u);
        EXPECT_EQ(images[i].arguments[3],
                  reinterpret_cast<uintptr_t>((i == 0 ? src : dst)->getNativeBuffer()));
        const auto* attributes = reinterpret_cast<const EGLint*>(images[i].arguments[4]);
        EXPECT_THAT(std::vector<EGLint>(attributes, attributes + 3),
                    ElementsAre(0x30D2, 1, 0x3038));
    }
    const std::vector<GlCall> bound = trace.named("glEGLImageTargetTexture2DOES");
    EXPECT_EQ(bound.at(0).uintAt(0), static_cast<uint32_t>(GL_TEXTURE_EXTERNAL_OES));
    EXPECT_EQ(bound.at(1).uintAt(0), static_cast<uint32_t>(GL_TEXTURE_2D));
    EXPECT_EQ(bound.at(0).arguments[1], images[0].result);

    const auto cached = UpscalerPeer::textures(*upscaler);
    trace.clear();
    sharpen(src, dst);
    EXPECT_EQ(trace.count("eglCreateImageKHR"), 0u);
    EXPECT_EQ(UpscalerPeer::textures(*upscaler), cached);
    EXPECT_THAT(UpscalerPeer::images(*upscaler), SizeIs(2));
    EXPECT_EQ(trace.named("glBindTexture")[0].arguments,
              std::vector<uint64_t>(
                      {GL_TEXTURE_EXTERNAL_OES,
                       cached.at(keyOf(reinterpret_cast<uintptr_t>(src->getNativeBuffer())))}));
}

TEST_F(ImportGLTest, DebugLinesOfAMissAndAHit) {
    resizeBufferLogLevel = 0x21;
    const auto address = [](const sp<GraphicBuffer>& buffer) {
        char text[128];
        const void* p = buffer->getNativeBuffer();
        snprintf(text, sizeof(text), "get_texture: clientBuffer = %p, client buffer to hash=%llu",
                 p, static_cast<unsigned long long>(keyOf(reinterpret_cast<uintptr_t>(p))));
        return std::string(text);
    };
    sharpen(src, dst);
    EXPECT_THAT(
            importLines(),
            ElementsAre("get_texture: texture_target: GL_TEXTURE_EXTERNAL_OES", address(src),
                        "get_texture: clientBuffer buffer is not existed",
                        "get_texture: eglCreateImageKHR error code=0x3000", "mTextureMap size=1",
                        "get_texture: texture_target: GL_TEXTURE_2D", address(dst),
                        "get_texture: clientBuffer buffer is not existed",
                        "get_texture: eglCreateImageKHR error code=0x3000", "mTextureMap size=2"));
    log.clear();
    sharpen(src, dst);
    EXPECT_THAT(importLines(),
                ElementsAre("get_texture: texture_target: GL_TEXTURE_EXTERNAL_OES", address(src),
                            "get_texture: clientBuffer buffer is already existed",
                            "mTextureMap size=2", "get_texture: texture_target: GL_TEXTURE_2D",
                            address(dst), "get_texture: clientBuffer buffer is already existed",
                            "mTextureMap size=2"));
}

TEST_F(ImportGLTest, GlCallsOfAMissAreChecked) {
    std::vector<std::string> texts = checkedTexts([&] {
        sp<GraphicBuffer> fresh = makeBuffer(4, 4);
        sharpen(fresh, dst);
    });
    texts.resize(3);
    EXPECT_THAT(
            texts,
            ElementsAre("glGenTextures(1, &texture)", "glBindTexture(texture_target, texture)",
                        "glEGLImageTargetTexture2DOES(texture_target, (GLeglImageOES)eglImage)"));
}

TEST_F(ImportGLTest, FailedImageIsLoggedNotCachedAndTriedAgain) {
    {
        GlTrace trace;
        trace.failNext("eglCreateImageKHR");
        sharpen(src, dst);
        // The intermediate texture and the destination's: none for the source.
        EXPECT_EQ(trace.count("glGenTextures"), 2u);
        EXPECT_EQ(trace.count("glDrawArrays"), 2u) << "the passes run regardless";
    }
    EXPECT_THAT(log.errors(), ElementsAre("get_texture: EGL_NO_IMAGE_KHR"));
    EXPECT_TRUE(fence->isValid());
    EXPECT_THAT(UpscalerPeer::textures(*upscaler), SizeIs(1));
    EXPECT_THAT(UpscalerPeer::images(*upscaler), SizeIs(1));
    sharpen(src, dst);
    EXPECT_THAT(UpscalerPeer::textures(*upscaler), SizeIs(2));
    EXPECT_THAT(log.errors(), SizeIs(1));
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

TEST(EntryPointGLTest, AMissingOneFailsLikeItsCall) {
    struct Row {
        const char* missing;
        std::vector<const char*> errors;
        bool fenceIsValid;
    };
    const char* const image = "get_texture: EGL_NO_IMAGE_KHR";
    const char* const target =
            "glEGLImageTargetTexture2DOES(texture_target, (GLeglImageOES)eglImage) failed: "
            "INVALID_OPERATION";
    const Row rows[] = {{"eglCreateImageKHR", {image, image}, true},
                        {"glEGLImageTargetTexture2DOES", {target, target}, true},
                        {"eglCreateSyncKHR", {}, false},
                        {"eglDestroySyncKHR", {}, true},
                        {"eglDestroyImageKHR", {}, true},
                        {"eglWaitSyncKHR", {}, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.missing);
        GlTrace trace;
        LogCapture log;
        trace.failNext(std::string("eglGetProcAddress:") + row.missing);
        OwnedUpscaler upscaler;
        sp<GraphicBuffer> src = makeBuffer(4, 4);
        sp<GraphicBuffer> dst = makeBuffer(4, 4);
        sp<Fence> fence;
        upscaler->fsrResize(src, dst, 0.0f, &fence);
        // Drawing with textures that have no image raises errors of its own behind these.
        const std::vector<std::string> errors = log.errors();
        ASSERT_GE(errors.size(), row.errors.size());
        for (size_t i = 0; i < row.errors.size(); ++i)
            EXPECT_THAT(errors[i], HasSubstr(row.errors[i]));
        ASSERT_NE(fence, nullptr);
        EXPECT_EQ(fence->isValid(), row.fenceIsValid);
        EXPECT_EQ(trace.count("eglDupNativeFenceFDANDROID"), 1u);
    }
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

// SPDX-License-Identifier: Apache-2.0
// Arguments that no sensible client passes. Each has a defined outcome, and none ends in a crash.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/fixture.h"
#include "support/operations.h"

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

class HostileGLTest : public LibraryTest {
  protected:
    void call(const OperationRow& row, float sharpness = 0.5f) {
        log.clear();
        ((*upscaler).*row.call)(src, dst, sharpness, &fence);
        ASSERT_TRUE(fence->isValid());
        ASSERT_EQ(fence->wait(60000), NO_ERROR);
    }

    OwnedUpscaler upscaler;
};

// Black stays black and becomes opaque, for every pair of formats.
TEST_F(HostileGLTest, EveryFormatForSourceAndDestination) {
    const struct {
        PixelFormat format;
        Bytes opaqueBlack;
    } rows[] = {
            {PIXEL_FORMAT_RGBA_8888, {0, 0, 0, 0xFF}},
            {PIXEL_FORMAT_RGBX_8888, {0, 0, 0, 0xFF}},
            {PIXEL_FORMAT_BGRA_8888, {0, 0, 0, 0xFF}},
            {PIXEL_FORMAT_RGB_888, {0, 0, 0}},
            {PIXEL_FORMAT_RGB_565, {0, 0}},
            {PIXEL_FORMAT_RGBA_1010102, {0, 0, 0, 0xC0}},
            {PIXEL_FORMAT_RGBA_FP16, {0, 0, 0, 0, 0, 0, 0, 0x3C}},
    };
    for (const auto& from : rows) {
        for (const auto& to : rows) {
            src = makeBuffer(8, 6, from.format);
            dst = makeBuffer(12, 9, to.format);
            writeBytes(src, Bytes(8 * 6 * bytesPerPixel(from.format), 0));
            const size_t size = to.opaqueBlack.size();
            for (const OperationRow& row : operations()) {
                SCOPED_TRACE(row.name + " from format " + std::to_string(from.format) + " to " +
                             std::to_string(to.format));
                writeBytes(dst, Bytes(12 * 9 * size, 0x55));
                call(row);
                EXPECT_THAT(log.errors(), IsEmpty());
                const Bytes drawn = bytesOf(dst);
                EXPECT_EQ(Bytes(drawn.end() - long(size), drawn.end()), to.opaqueBlack);
            }
        }
    }
}

TEST_F(HostileGLTest, AnySharpness) {
    constexpr float kMost = std::numeric_limits<float>::max();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    fill(src, 0xFF336699);
    for (const float sharpness : {std::nanf(""), kInfinity, -kInfinity, kMost, -kMost, -0.0f,
                                  std::numeric_limits<float>::denorm_min()}) {
        for (const OperationRow& row : operations()) {
            SCOPED_TRACE(row.name + " " + std::to_string(sharpness));
            fill(dst, 0);
            call(row, sharpness);
            EXPECT_THAT(log.errors(), IsEmpty());
            for (const uint32_t pixel : pixelsOf(dst))
                ASSERT_EQ(pixel >> 24, 0xFFu) << "written, and opaque";
        }
    }
}

// A buffer of size 0 has one pixel behind it. A buffer beyond the limit has none, and its import is
// refused.
TEST_F(HostileGLTest, AnySize) {
    GLint limit = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
    const auto most = static_cast<uint32_t>(limit);
    for (sp<GraphicBuffer>* buffer : {&src, &dst}) {
        const sp<GraphicBuffer> usual = *buffer;
        for (const uint32_t side : {0u, 1u, most, most + 1, ~0u}) {
            *buffer = makeBuffer(side, side == 0 ? 0 : 2);
            for (const OperationRow& row : operations()) {
                SCOPED_TRACE(row.name + " " + std::to_string(side));
                call(row);
                if (side > most) {
                    EXPECT_EQ(log.errors().at(0), "get_texture: EGL_NO_IMAGE_KHR");
                } else {
                    EXPECT_THAT(log.errors(), Not(Contains("get_texture: EGL_NO_IMAGE_KHR")));
                }
                if (side != 0 && side <= most) {
                    EXPECT_THAT(log.errors(), IsEmpty());
                }
            }
        }
        *buffer = usual;
    }
    call(operations()[0]);
    EXPECT_THAT(log.errors(), IsEmpty()) << "nothing of it stays";
}

// A texture keeps the target of its first use. GL refuses the other target, and the log reports it.
TEST_F(HostileGLTest, ABufferInTheOtherRole) {
    const auto refusal =
            AllOf(StartsWith("glGetError failed multimedia/display/upsservice/upscaler/upscaler: "),
                  EndsWith(": glBindTexture(texture_target, texture) failed: INVALID_OPERATION "
                           "\n"));
    const sp<GraphicBuffer> first = src;
    const sp<GraphicBuffer> second = dst;
    for (const OperationRow& row : operations()) {
        SCOPED_TRACE(row.name);
        upscaler->clearOpenGLResources();
        UpscalerPeer::forgetNames(*upscaler);
        upscaler->initOpenGL();
        dst = src = first;  // One buffer in both roles.
        call(row);
        EXPECT_THAT(log.errors(), Contains(refusal));
        EXPECT_THAT(UpscalerPeer::textures(*upscaler), SizeIs(1));
        dst = second;
        call(row);
        EXPECT_THAT(log.errors(), IsEmpty());
        src = second;
        dst = first;  // Source and destination exchanged.
        call(row);
        EXPECT_THAT(log.errors(), Contains(refusal).Times(2));
    }
}

}  // namespace
}  // namespace android::test

// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <utility>

#include "host/GlClient.h"

namespace android::test {
namespace {

using ::testing::Each;
using ::testing::FloatEq;
using ::testing::FloatNear;
using ::testing::Pointwise;

struct FormatRow {
    const char* name;
    PixelFormat format;
    // A pixel of these bytes is this colour, exactly, in both directions.
    Bytes pixel;
    Colour colour;
};

// clang-format off
// Distinct components, so that no two can change places.
const FormatRow kFormats[] = {
        {"RGBA_8888", PIXEL_FORMAT_RGBA_8888, {0, 51, 102, 204}, {0, 0.2F, 0.4F, 0.8F}},
        {"RGBX_8888", PIXEL_FORMAT_RGBX_8888, {0, 51, 102, 255}, {0, 0.2F, 0.4F, 1}},
        {"BGRA_8888", PIXEL_FORMAT_BGRA_8888, {102, 51, 0, 204}, {0, 0.2F, 0.4F, 0.8F}},
        {"RGB_888", PIXEL_FORMAT_RGB_888, {0, 51, 102}, {0, 0.2F, 0.4F, 1}},
        // 31, 21 of 63 and 0.
        {"RGB_565", PIXEL_FORMAT_RGB_565, {0xa0, 0xfa}, {1, 1 / 3.0F, 0, 1}},
        // 17, 42 of 63 and 30.
        {"RGB_565 between", PIXEL_FORMAT_RGB_565, {0x5e, 0x8d}, {17 / 31.0F, 2 / 3.0F, 30 / 31.0F, 1}},
        // 1023, 0, 341 and 1 of 3.
        {"RGBA_1010102", PIXEL_FORMAT_RGBA_1010102, {0xff, 0x03, 0x50, 0x55},
         {1, 0, 1 / 3.0F, 1 / 3.0F}},
        // Beyond one, below zero and subnormal (2^-24).
        {"RGBA_FP16", PIXEL_FORMAT_RGBA_FP16, {0x00, 0x44, 0x00, 0xb8, 0x01, 0x00, 0x00, 0x3c},
         {4, -0.5F, 5.9604645e-8F, 1}},
        // The largest, the smallest normal (2^-14) and the one below; less than zero.
        {"RGBA_FP16 limits", PIXEL_FORMAT_RGBA_FP16, {0xff, 0x7b, 0x00, 0x04, 0xff, 0x03, 0x00, 0xc0},
         {65504, 6.1035156e-5F, 6.0975552e-5F, -2}},
};
// clang-format on

TEST(GraphicBufferGLTest, EveryFormatCarriesPixelsBothWays) {
    constexpr int kWidth = 5;  // Odd, so that the stride differs.
    constexpr int kHeight = 3;
    constexpr size_t kAt = 8;  // The pixel (3, 1).
    constexpr Colour kBlack = {0, 0, 0, 1};
    const GlClient client;
    for (const FormatRow& row : kFormats) {
        SCOPED_TRACE(row.name);
        const size_t size = row.pixel.size();
        EXPECT_EQ(bytesPerPixel(row.format), size);
        const sp<GraphicBuffer> buffer = makeBuffer(kWidth, kHeight, row.format);
        EXPECT_EQ(buffer->initCheck(), OK);
        const EGLImageKHR image = client.import(buffer);

        Bytes all;
        for (int i = 0; i < kWidth * kHeight; ++i)
            all.insert(all.end(), row.pixel.begin(), row.pixel.end());
        client.fill(image, row.colour);
        EXPECT_EQ(bytesOf(buffer), all);

        client.fill(image, kBlack);
        Bytes one = bytesOf(buffer);
        std::copy(row.pixel.begin(), row.pixel.end(), &one[kAt * size]);
        writeBytes(buffer, one);
        EXPECT_EQ(bytesOf(buffer), one);
        const std::vector<Colour> colours = client.sample(image, kWidth, kHeight);
        for (size_t i = 0; i < colours.size(); ++i) {
            EXPECT_THAT(colours[i], Pointwise(FloatNear(1e-6F), i == kAt ? row.colour : kBlack));
        }
    }
}

// All 65536 values of a format with a conversion of its own, CPU to GPU and back.
TEST(GraphicBufferGLTest, ConversionsLoseNoValue) {
    for (const PixelFormat format : {PIXEL_FORMAT_RGB_565, PIXEL_FORMAT_RGBA_FP16}) {
        const sp<GraphicBuffer> buffer =
                makeBuffer(512 / bytesPerPixel(format), 256, format, kSeldomUse);
        Bytes pixels;
        for (unsigned i = 0; i < 65536; ++i) {
            const bool isNan = format == PIXEL_FORMAT_RGBA_FP16 && (i & 0x7fff) > 0x7c00;
            const unsigned word = isNan ? 0 : i;  // NaN may change its payload.
            pixels.insert(pixels.end(), {uint8_t(word), uint8_t(word >> 8)});
        }
        writeBytes(buffer, pixels);
        EXPECT_TRUE(bytesOf(buffer) == pixels) << "format " << format;
    }
}

TEST(GraphicBufferGLTest, StartsAtZeroAndReportsWhatWasAsked) {
    const sp<GraphicBuffer> buffer = makeBuffer(7, 3, PIXEL_FORMAT_RGB_888);
    EXPECT_THAT(bytesOf(buffer), Each(0));
    EXPECT_EQ(buffer->getBounds(), Rect(7, 3));
    EXPECT_EQ(buffer->getPixelFormat(), PIXEL_FORMAT_RGB_888);
    EXPECT_NE(buffer->getId(), makeBuffer(7, 3)->getId());
    void* address = nullptr;
    int32_t stride = 0;
    ASSERT_EQ(buffer->lock(kRead, &address, nullptr, &stride), OK);
    EXPECT_EQ(stride, static_cast<int32_t>(buffer->getStride()) * 3);
    EXPECT_GT(stride, 7 * 3);
}

TEST(GraphicBufferGLTest, EmptySizesHaveBehindThemWhatTheirStrideTells) {
    const GlClient client;
    for (const auto& [width, height] : {std::pair(0U, 0U), std::pair(0U, 7U), std::pair(7U, 0U)}) {
        const int storedWidth = std::max(int(width), 1);
        const int storedHeight = std::max(int(height), 1);
        const sp<GraphicBuffer> buffer = makeBuffer(width, height);
        EXPECT_EQ(buffer->initCheck(), OK);
        EXPECT_EQ(buffer->getBounds(), Rect(int(width), int(height)));
        void* address = nullptr;
        ASSERT_EQ(buffer->lock(kWrite, &address), OK);
        std::memset(address, 255, size_t{4} * buffer->getStride() * size_t(storedHeight));
        EXPECT_EQ(buffer->unlock(), OK);
        EXPECT_THAT(client.sample(client.import(buffer), storedWidth, storedHeight), Each(Each(1)));
    }
}

TEST(GraphicBufferGLTest, WhatCannotBeHadIsReportedAndRefused) {
    const GlClient client;
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    const auto tooMuch = static_cast<uint32_t>(most) + 1;
    const auto made = [](uint32_t width, uint32_t height,
                         PixelFormat format = PIXEL_FORMAT_RGBA_8888, uint32_t layers = 1) {
        return sp<GraphicBuffer>(new GraphicBuffer(width, height, format, layers, kAnyUse));
    };
    const std::pair<sp<GraphicBuffer>, status_t> cases[] = {
            {made(tooMuch, 1), NO_MEMORY},
            {made(1, tooMuch), NO_MEMORY},
            {made(UINT32_MAX, UINT32_MAX), BAD_VALUE},
            {made(4, 4, HAL_PIXEL_FORMAT_YV12), BAD_VALUE},
            {made(4, 4, PIXEL_FORMAT_RGBA_8888, 2), BAD_VALUE},
            {new GraphicBuffer, OK},
    };
    void* address = nullptr;
    for (const auto& [buffer, status] : cases) {
        EXPECT_EQ(buffer->initCheck(), status);
        EXPECT_EQ(buffer->getBounds(), Rect(0, 0));
        EXPECT_EQ(buffer->lock(kRead, &address), BAD_VALUE);
        EXPECT_EQ(buffer->unlock(), OK);
        EXPECT_NE(buffer->getNativeBuffer(), nullptr);
        EXPECT_EQ(errorOf(client.import(buffer)), EGL_BAD_PARAMETER);
    }
    const sp<GraphicBuffer> good = makeBuffer(4, 4);
    EXPECT_EQ(good->lock(kRead, nullptr), BAD_VALUE);
    EXPECT_EQ(good->lock(GraphicBuffer::USAGE_HW_TEXTURE, &address), BAD_VALUE);
    for (const Rect& rect : {Rect(0, 0, 5, 4), Rect(0, -1, 4, 4), Rect(3, 0, 1, 4), Rect()}) {
        EXPECT_EQ(good->lock(kRead, rect, &address), BAD_VALUE);
        // Which it does not wait for, since it never signals, but owns.
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        EXPECT_EQ(good->lockAsync(kRead, rect, &address, ends[0]), BAD_VALUE);
        EXPECT_EQ(close(ends[0]), -1);
        close(ends[1]);
    }
}

TEST(GraphicBufferGLTest, AsyncLocksWaitForTheFence) {
    const sp<GraphicBuffer> buffer = makeBuffer(1, 1);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::atomic<bool> isSignalled{false};
    std::thread signaller([&] {
        usleep(20000);
        isSignalled = true;
        close(ends[1]);
    });
    void* address = nullptr;
    EXPECT_EQ(buffer->lockAsync(kRead, &address, ends[0]), OK);
    EXPECT_TRUE(isSignalled);
    EXPECT_EQ(close(ends[0]), -1);
    EXPECT_EQ(buffer->unlockAsync(nullptr), OK);
    signaller.join();
}

TEST(GraphicBufferGLTest, ReallocatesUntilItIsImported) {
    const GlClient client;
    const sp<GraphicBuffer> buffer(new GraphicBuffer(4, 4, PIXEL_FORMAT_RGBA_8888, kRead | kWrite));
    EXPECT_EQ(GraphicBuffer::from(buffer->getNativeBuffer()), buffer);
    const uint64_t id = buffer->getId();
    fill(buffer, 0xFFFFFFFF);

    const auto differs = [&](uint32_t width, PixelFormat format, uint64_t usage) {
        return buffer->needsReallocation(width, 4, format, 1, usage);
    };
    EXPECT_FALSE(differs(4, PIXEL_FORMAT_RGBA_8888, kRead));
    EXPECT_TRUE(differs(5, PIXEL_FORMAT_RGBA_8888, kRead));
    EXPECT_TRUE(differs(4, PIXEL_FORMAT_RGB_888, kRead));
    EXPECT_TRUE(differs(4, PIXEL_FORMAT_RGBA_8888, kAnyUse));

    const auto reallocate = [&](uint32_t width, PixelFormat format = PIXEL_FORMAT_RGBA_8888) {
        return buffer->reallocate(width, 4, format, 1, kRead | kWrite);
    };
    EXPECT_EQ(reallocate(4), OK);
    EXPECT_THAT(bytesOf(buffer), Each(255));  // As it was.
    EXPECT_EQ(reallocate(5, PIXEL_FORMAT_RGB_888), OK);
    EXPECT_EQ(bytesOf(buffer), Bytes(5 * 4 * 3, 0));
    EXPECT_EQ(reallocate(5, HAL_PIXEL_FORMAT_YV12), BAD_VALUE);
    EXPECT_EQ(buffer->getBounds(), Rect(0, 0));
    EXPECT_EQ(errorOf(client.import(buffer)), EGL_BAD_PARAMETER);
    EXPECT_EQ(reallocate(4), OK);
    EXPECT_EQ(buffer->getId(), id);

    void* address = nullptr;
    EXPECT_EQ(buffer->lock(kWrite, &address), OK);
    EXPECT_EQ(reallocate(3), INVALID_OPERATION);
    EXPECT_EQ(buffer->unlock(), OK);
    client.fill(client.import(buffer), {1, 1, 1, 1});
    EXPECT_EQ(reallocate(3), INVALID_OPERATION);
    EXPECT_THAT(bytesOf(buffer), Each(255));
}

TEST(GraphicBufferGLTest, LocksNestAndOnlyWriteLocksKeepChanges) {
    const sp<GraphicBuffer> buffer = makeBuffer(1, 1);
    writeBytes(buffer, {1, 2, 3, 4});
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(buffer->lock(kWrite, &first), OK);
    std::thread([&] { EXPECT_EQ(buffer->lock(kRead, &second), OK); }).join();
    EXPECT_EQ(first, second);
    EXPECT_EQ(buffer->unlock(), OK);
    static_cast<uint8_t*>(first)[0] = 9;  // Still locked.
    EXPECT_EQ(buffer->unlock(), OK);

    ASSERT_EQ(buffer->lock(kRead, &first), OK);
    static_cast<uint8_t*>(first)[1] = 9;
    EXPECT_EQ(buffer->unlock(), OK);
    EXPECT_EQ(bytesOf(buffer), Bytes({9, 2, 3, 4}));
}

// Whether the memory of a lock is kept for the next one or not.
TEST(GraphicBufferGLTest, LocksSeeWhatEitherSideWroteLast) {
    const GlClient client;
    for (const uint64_t usage : {kAnyUse, kSeldomUse}) {
        const sp<GraphicBuffer> buffer = makeBuffer(1, 1, PIXEL_FORMAT_RGBA_8888, usage);
        const EGLImageKHR image = client.import(buffer);
        for (const auto round : Bytes{51, 102, 153}) {
            writeBytes(buffer, Bytes(4, round));
            EXPECT_THAT(client.sample(image, 1, 1), Each(Each(FloatEq(float(round) / 255.0F))));
            EXPECT_THAT(bytesOf(buffer), Each(round));
            writeBytes(buffer, Bytes(4, round));
            client.fill(image, {1, 1, 1, 1});
            EXPECT_THAT(bytesOf(buffer), Each(255));
        }
    }
    // Drawn through a texture that was bound before the client sampled.
    const sp<GraphicBuffer> drawn = makeBuffer(1, 1);
    const EGLImageKHR imageOfBoth = client.import(drawn);
    GLint texture = 0;
    client.fill(imageOfBoth, {1, 1, 1, 1});
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture);
    EXPECT_THAT(client.sample(imageOfBoth, 1, 1), Each(Each(1)));
    writeBytes(drawn, Bytes(4, 51));
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, GLuint(texture), 0);
    glClear(GL_COLOR_BUFFER_BIT);
    glFinish();
    EXPECT_THAT(bytesOf(drawn), Each(255));
    // Drawn through a bind that the host is not told of.
    const sp<GraphicBuffer> sampled = makeBuffer(1, 1);
    const EGLImageKHR image = client.import(sampled);
    EXPECT_THAT(client.sample(image, 1, 1), Each(Each(0)));
    writeBytes(sampled, Bytes(4, 51));
    const PFNGLEGLIMAGETARGETRENDERBUFFERSTORAGEOESPROC setStorage =
            EntryPoint{"glEGLImageTargetRenderbufferStorageOES"};
    GLuint name = 0;
    glGenRenderbuffers(1, &name);
    glBindRenderbuffer(GL_RENDERBUFFER, name);
    setStorage(GL_RENDERBUFFER, image);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, name);
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_THAT(client.sample(image, 1, 1), Each(Each(1)));
    EXPECT_THAT(bytesOf(sampled), Each(255));
}

}  // namespace
}  // namespace android::test

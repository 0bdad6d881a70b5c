// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "host/GlClient.h"

namespace android {
namespace {

using ::testing::Each;
using ::testing::ElementsAreArray;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kRead = GraphicBuffer::USAGE_SW_READ_OFTEN;
constexpr uint32_t kWrite = GraphicBuffer::USAGE_SW_WRITE_OFTEN;
constexpr uint64_t kAnyUse = kRead | kWrite | GraphicBuffer::USAGE_HW_TEXTURE;

sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height,
                             PixelFormat format = PIXEL_FORMAT_RGBA_8888) {
    sp<GraphicBuffer> buffer = new GraphicBuffer(width, height, format, 1, kAnyUse, "test");
    EXPECT_EQ(buffer->initCheck(), OK);
    return buffer;
}

// The pixels without the stride's padding.
Bytes readPixels(const sp<GraphicBuffer>& buffer) {
    void* address = nullptr;
    int32_t pixel = 0;
    int32_t row = 0;
    EXPECT_EQ(buffer->lock(kRead, &address, &pixel, &row), OK);
    Bytes pixels;
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        const auto* from = static_cast<const uint8_t*>(address) + y * static_cast<size_t>(row);
        pixels.insert(pixels.end(), from, from + buffer->getWidth() * static_cast<size_t>(pixel));
    }
    EXPECT_EQ(buffer->unlock(), OK);
    return pixels;
}

void writePixels(const sp<GraphicBuffer>& buffer, const Bytes& pixels) {
    void* address = nullptr;
    int32_t pixel = 0;
    int32_t row = 0;
    ASSERT_EQ(buffer->lock(kWrite, &address, &pixel, &row), OK);
    const size_t bytes = buffer->getWidth() * static_cast<size_t>(pixel);
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        std::memcpy(static_cast<uint8_t*>(address) + y * static_cast<size_t>(row),
                    &pixels[y * bytes], bytes);
    }
    ASSERT_EQ(buffer->unlock(), OK);
}

struct FormatRow {
    const char* name;
    PixelFormat format;
    uint32_t bytes;
    // A pixel of these bytes is this colour, exactly, in both directions.
    Bytes pixel;
    Colour colour;
};

void PrintTo(const FormatRow& row, std::ostream* out) {
    *out << row.name;
}

// Distinct components, so that no two can change places.
const FormatRow kFormats[] = {
        {"RGBA_8888", PIXEL_FORMAT_RGBA_8888, 4, {0, 51, 102, 204}, {0, 0.2F, 0.4F, 0.8F}},
        {"RGBX_8888", PIXEL_FORMAT_RGBX_8888, 4, {0, 51, 102, 255}, {0, 0.2F, 0.4F, 1}},
        {"BGRA_8888", PIXEL_FORMAT_BGRA_8888, 4, {102, 51, 0, 204}, {0, 0.2F, 0.4F, 0.8F}},
        {"RGB_888", PIXEL_FORMAT_RGB_888, 3, {0, 51, 102}, {0, 0.2F, 0.4F, 1}},
        // 31, 21 of 63 and 0.
        {"RGB_565", PIXEL_FORMAT_RGB_565, 2, {0xa0, 0xfa}, {1, 1 / 3.0F, 0, 1}},
        // 1023, 0, 341 and 1 of 3.
        {"RGBA_1010102",
         PIXEL_FORMAT_RGBA_1010102,
         4,
         {0xff, 0x03, 0x50, 0x55},
         {1, 0, 1 / 3.0F, 1 / 3.0F}},
        // Beyond one, below zero and subnormal (2^-24).
        {"RGBA_FP16",
         PIXEL_FORMAT_RGBA_FP16,
         8,
         {0x00, 0x44, 0x00, 0xb8, 0x01, 0x00, 0x00, 0x3c},
         {4, -0.5F, 5.9604645e-8F, 1}},
};

class FormatGLTest : public ::testing::TestWithParam<FormatRow> {
  protected:
    // Odd, so that stride and width differ.
    static constexpr uint32_t kWidth = 5;
    static constexpr uint32_t kHeight = 3;

    // The row's pixel at (x, y), and zeros (but for what the format's X says) elsewhere.
    static Bytes onePixel(const FormatRow& row, uint32_t x, uint32_t y) {
        Bytes pixels(size_t{kWidth} * kHeight * row.bytes);
        if (row.format == PIXEL_FORMAT_RGBX_8888) {
            for (size_t i = 3; i < pixels.size(); i += 4)
                pixels[i] = 255;
        }
        std::copy(row.pixel.begin(), row.pixel.end(),
                  pixels.begin() + static_cast<ptrdiff_t>((y * kWidth + x) * row.bytes));
        return pixels;
    }
};

TEST_P(FormatGLTest, KeepsWhatTheCpuWrites) {
    const FormatRow& row = GetParam();
    const sp<GraphicBuffer> buffer = makeBuffer(kWidth, kHeight, row.format);
    const Bytes pixels = onePixel(row, 3, 1);
    writePixels(buffer, pixels);
    EXPECT_THAT(readPixels(buffer), ElementsAreArray(pixels));
    EXPECT_EQ(bytesPerPixel(row.format), row.bytes);
}

TEST_P(FormatGLTest, ShowsTheGpuWhatTheCpuWrote) {
    const FormatRow& row = GetParam();
    const sp<GraphicBuffer> buffer = makeBuffer(kWidth, kHeight, row.format);
    const GlClient client;
    const EGLImageKHR image = client.import(buffer);
    writePixels(buffer, onePixel(row, 3, 1));
    EXPECT_THAT(client.sample(image, 3, 1, kWidth, kHeight),
                ::testing::Pointwise(::testing::FloatNear(1e-6F), row.colour));
    EXPECT_EQ(client.sample(image, 1, 1, kWidth, kHeight)[0], 0);
    EXPECT_EQ(client.sample(image, 3, 2, kWidth, kHeight)[0], 0);
}

TEST_P(FormatGLTest, ShowsTheCpuWhatTheGpuDrew) {
    const FormatRow& row = GetParam();
    const sp<GraphicBuffer> buffer = makeBuffer(kWidth, kHeight, row.format);
    const GlClient client;
    client.fill(client.import(buffer), row.colour);
    EXPECT_EQ(client.fence()->waitForever("test"), NO_ERROR);
    Bytes expected;
    for (uint32_t i = 0; i < kWidth * kHeight; ++i) {
        expected.insert(expected.end(), row.pixel.begin(), row.pixel.end());
    }
    EXPECT_THAT(readPixels(buffer), ElementsAreArray(expected));
}

INSTANTIATE_TEST_SUITE_P(All, FormatGLTest, ::testing::ValuesIn(kFormats),
                         [](const auto& row) { return std::string(row.param.name); });

// All 256 or 65536 values of a format with a conversion of its own, CPU to GPU and back.
TEST(GraphicBufferGLTest, ConversionsLoseNoValue) {
    for (const PixelFormat format : {PIXEL_FORMAT_RGB_565, PIXEL_FORMAT_RGBA_FP16}) {
        const uint32_t perPixel = bytesPerPixel(format) / 2;
        const sp<GraphicBuffer> buffer = makeBuffer(256 / perPixel, 256, format);
        std::vector<uint16_t> words(65536);
        for (size_t i = 0; i < words.size(); ++i) {
            const bool isNan = format == PIXEL_FORMAT_RGBA_FP16 && (i & 0x7fff) > 0x7c00;
            words[i] = static_cast<uint16_t>(isNan ? 0 : i);  // NaN may change its payload.
        }
        Bytes pixels(words.size() * 2);
        std::memcpy(pixels.data(), words.data(), pixels.size());
        writePixels(buffer, pixels);
        EXPECT_TRUE(readPixels(buffer) == pixels) << "format " << format;
    }
}

TEST(GraphicBufferGLTest, ReportsWhatWasAsked) {
    const sp<GraphicBuffer> buffer = makeBuffer(7, 3, PIXEL_FORMAT_RGB_888);
    EXPECT_EQ(buffer->getWidth(), 7U);
    EXPECT_EQ(buffer->getHeight(), 3U);
    EXPECT_GT(buffer->getStride(), 7U);
    EXPECT_EQ(buffer->getPixelFormat(), PIXEL_FORMAT_RGB_888);
    EXPECT_EQ(buffer->getUsage(), kAnyUse);
    EXPECT_EQ(buffer->getLayerCount(), 1U);
    EXPECT_EQ(buffer->getBounds(), Rect(7, 3));
    EXPECT_NE(buffer->getId(), makeBuffer(7, 3)->getId());

    void* address = nullptr;
    int32_t pixel = 0;
    int32_t row = 0;
    ASSERT_EQ(buffer->lock(kRead, &address, &pixel, &row), OK);
    EXPECT_EQ(pixel, 3);
    EXPECT_EQ(row, static_cast<int32_t>(buffer->getStride()) * 3);
    EXPECT_EQ(buffer->unlock(), OK);
}

TEST(GraphicBufferGLTest, ANewBufferIsZero) {
    EXPECT_THAT(readPixels(makeBuffer(33, 17)), Each(0));
}

TEST(GraphicBufferGLTest, EmptySizesHaveAPixelBehindThem) {
    const GlClient client;
    const std::pair<uint32_t, uint32_t> sizes[] = {{0, 0}, {0, 7}, {7, 0}};
    for (const auto& [width, height] : sizes) {
        const sp<GraphicBuffer> buffer = makeBuffer(width, height);
        EXPECT_EQ(buffer->getWidth(), width);
        EXPECT_EQ(buffer->getHeight(), height);
        void* address = nullptr;
        EXPECT_EQ(buffer->lock(kWrite, &address), OK);
        std::memset(address, 255, 4);
        EXPECT_EQ(buffer->unlock(), OK);
        EXPECT_EQ(client.sample(client.import(buffer), 0, 0, 1, 1), (Colour{1, 1, 1, 1}));
    }
}

TEST(GraphicBufferGLTest, WhatCannotBeHadIsReportedAndRefused) {
    const GlClient client;
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    const auto tooMuch = static_cast<uint32_t>(most) + 1;
    const struct {
        uint32_t width, height;
        PixelFormat format;
        uint32_t layers;
        status_t status;
    } cases[] = {
            {tooMuch, 1, PIXEL_FORMAT_RGBA_8888, 1, NO_MEMORY},
            {1, tooMuch, PIXEL_FORMAT_RGBA_8888, 1, NO_MEMORY},
            {UINT32_MAX, UINT32_MAX, PIXEL_FORMAT_RGBA_8888, 1, NO_MEMORY},
            {16, 16, PIXEL_FORMAT_UNKNOWN, 1, BAD_VALUE},
            {16, 16, HAL_PIXEL_FORMAT_YV12, 1, BAD_VALUE},
            {16, 16, PIXEL_FORMAT_RGBA_8888, 2, BAD_VALUE},
    };
    for (const auto& each : cases) {
        const sp<GraphicBuffer> buffer =
                new GraphicBuffer(each.width, each.height, each.format, each.layers, kAnyUse);
        EXPECT_EQ(buffer->initCheck(), each.status);
        EXPECT_EQ(buffer->getWidth(), 0U);
        EXPECT_EQ(buffer->getHeight(), 0U);
        void* address = &most;
        EXPECT_EQ(buffer->lock(kRead, &address), BAD_VALUE);
        EXPECT_EQ(address, nullptr);
        EXPECT_EQ(buffer->unlock(), OK);
        ASSERT_NE(buffer->getNativeBuffer(), nullptr);
        EXPECT_EQ(client.import(buffer), EGL_NO_IMAGE_KHR);
        EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    }
    const sp<GraphicBuffer> none = new GraphicBuffer;
    EXPECT_EQ(none->initCheck(), OK);
    EXPECT_EQ(client.import(none), EGL_NO_IMAGE_KHR);
}

TEST(GraphicBufferGLTest, LockChecksItsArguments) {
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    void* address = nullptr;
    EXPECT_EQ(buffer->lock(kRead, nullptr), BAD_VALUE);
    EXPECT_EQ(buffer->lock(GraphicBuffer::USAGE_HW_TEXTURE, &address), BAD_VALUE);
    EXPECT_EQ(buffer->lock(kRead, Rect(0, 0, 5, 4), &address), BAD_VALUE);
    EXPECT_EQ(buffer->lock(kRead, Rect(-1, 0, 4, 4), &address), BAD_VALUE);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(buffer->unlock(), OK);
    EXPECT_EQ(buffer->lock(kRead, Rect(1, 1, 4, 4), &address), OK);
    EXPECT_EQ(buffer->unlock(), OK);
}

TEST(GraphicBufferGLTest, AWriteLockKeepsWhatItLeavesAloneAndAReadLockDropsChanges) {
    const sp<GraphicBuffer> buffer = makeBuffer(2, 1);
    writePixels(buffer, {1, 2, 3, 4, 5, 6, 7, 8});
    void* address = nullptr;
    ASSERT_EQ(buffer->lock(kWrite, &address), OK);
    static_cast<uint8_t*>(address)[0] = 9;
    ASSERT_EQ(buffer->unlock(), OK);
    ASSERT_EQ(buffer->lock(kRead, &address), OK);
    static_cast<uint8_t*>(address)[1] = 9;
    ASSERT_EQ(buffer->unlock(), OK);
    EXPECT_THAT(readPixels(buffer), ElementsAreArray({9, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(GraphicBufferGLTest, LocksNestAcrossThreads) {
    const sp<GraphicBuffer> buffer = makeBuffer(1, 1);
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(buffer->lock(kWrite, &first), OK);
    std::thread([&] { EXPECT_EQ(buffer->lock(kRead, &second), OK); }).join();
    EXPECT_EQ(first, second);
    EXPECT_EQ(buffer->unlock(), OK);
    std::memset(first, 7, 4);  // Still locked.
    EXPECT_EQ(buffer->unlock(), OK);
    EXPECT_THAT(readPixels(buffer), Each(7));
}

TEST(GraphicBufferGLTest, AsynchronousLockWaitsForItsFenceAndClosesIt) {
    const GlClient client;
    constexpr uint32_t kSize = 512;
    const sp<GraphicBuffer> buffer = makeBuffer(kSize, kSize);
    client.fillSlowly(client.import(buffer), {1, 1, 1, 1}, 200, kSize);
    const int fd = client.fence()->dup();
    void* address = nullptr;
    ASSERT_EQ(buffer->lockAsync(kRead, &address, fd), OK);
    EXPECT_EQ(static_cast<uint8_t*>(address)[kSize * kSize * 4 - 1], 255);
    int unlockFence = 0;
    EXPECT_EQ(buffer->unlockAsync(&unlockFence), OK);
    EXPECT_EQ(unlockFence, -1);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);

    EXPECT_EQ(buffer->lockAsync(kRead, &address, -1), OK);
    EXPECT_EQ(buffer->unlock(), OK);
}

TEST(GraphicBufferGLTest, LocksLeaveTheCallersContextAlone) {
    const GlClient client;
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 3);
    glEnable(GL_NONE);  // An error, which is to stay.
    const EGLContext context = eglGetCurrentContext();
    writePixels(buffer, Bytes(64, 1));
    EXPECT_THAT(readPixels(buffer), Each(1));
    GLint value = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &value);
    EXPECT_EQ(value, static_cast<GLint>(texture));
    glGetIntegerv(GL_UNPACK_ROW_LENGTH, &value);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(eglGetCurrentContext(), context);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    EXPECT_EQ(glGetError(), GLenum{GL_INVALID_ENUM});
    glDeleteTextures(1, &texture);
}

TEST(GraphicBufferGLTest, ClientsOnSeveralThreadsDoNotDisturbEachOther) {
    const auto work = [](uint8_t value) {
        for (int round = 0; round < 10; ++round) {
            const sp<GraphicBuffer> buffer = makeBuffer(64, 64);
            const GlClient client;
            const float grey = static_cast<float>(value) / 255;
            client.fill(client.import(buffer), {grey, grey, grey, grey});
            EXPECT_EQ(client.fence()->waitForever("test"), NO_ERROR);
            EXPECT_THAT(readPixels(buffer), Each(value));
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (const uint8_t value : Bytes{10, 20, 30, 40})
        threads.emplace_back(work, value);
    for (auto& thread : threads)
        thread.join();
}

TEST(GraphicBufferGLTest, PixelsOutliveTheClientsDisplay) {
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    {
        const GlClient client;
        client.fill(client.import(buffer), {1, 1, 1, 1});
        EXPECT_EQ(client.fence()->waitForever("test"), NO_ERROR);
    }
    EXPECT_THAT(readPixels(buffer), Each(255));
    const GlClient client;
    EXPECT_EQ(client.sample(client.import(buffer), 0, 0, 4, 4), (Colour{1, 1, 1, 1}));
}

}  // namespace
}  // namespace android

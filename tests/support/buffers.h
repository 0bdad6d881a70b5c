// SPDX-License-Identifier: Apache-2.0
// Buffers of the tests, and their pixels.
#ifndef TESTS_SUPPORT_BUFFERS_H
#define TESTS_SUPPORT_BUFFERS_H

#include <gtest/gtest.h>
#include <ui/GraphicBuffer.h>

#include <algorithm>
#include <vector>

namespace android::test {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kRead = GraphicBuffer::USAGE_SW_READ_OFTEN;
constexpr uint32_t kWrite = GraphicBuffer::USAGE_SW_WRITE_OFTEN;
constexpr uint64_t kAnyUse =
        kRead | kWrite | GraphicBuffer::USAGE_HW_TEXTURE | GraphicBuffer::USAGE_HW_RENDER;

// One whose memory is not kept from lock to lock.
constexpr uint64_t kSeldomUse = GraphicBuffer::USAGE_SW_WRITE_RARELY;

inline sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height,
                                    PixelFormat format = PIXEL_FORMAT_RGBA_8888,
                                    uint64_t usage = kAnyUse) {
    return new GraphicBuffer(width, height, format, 1, usage, "test");
}

// Calls use(begin, end) for each row's bytes, without the stride's padding, under a lock.
template <typename Use>
void eachRow(const sp<GraphicBuffer>& buffer, uint32_t usage, Use use) {
    void* address = nullptr;
    int32_t pixelBytes = 0;
    int32_t stride = 0;
    ASSERT_EQ(buffer->lock(usage, &address, &pixelBytes, &stride), OK);
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        uint8_t* const row = static_cast<uint8_t*>(address) + y * static_cast<size_t>(stride);
        use(row, row + buffer->getWidth() * static_cast<size_t>(pixelBytes));
    }
    ASSERT_EQ(buffer->unlock(), OK);
}

inline void writeBytes(const sp<GraphicBuffer>& buffer, const Bytes& bytes) {
    auto next = bytes.begin();
    eachRow(buffer, kWrite, [&](uint8_t* begin, uint8_t* end) {
        std::copy_n(next, end - begin, begin);
        next += end - begin;
    });
}

inline Bytes bytesOf(const sp<GraphicBuffer>& buffer) {
    Bytes bytes;
    eachRow(buffer, kRead,
            [&](uint8_t* begin, uint8_t* end) { bytes.insert(bytes.end(), begin, end); });
    return bytes;
}

// Calls use(x, y, pixel) for each pixel of a buffer with 4 bytes a pixel.
template <typename Use>
void eachPixel(const sp<GraphicBuffer>& buffer, uint32_t usage, Use use) {
    uint32_t y = 0;
    eachRow(buffer, usage, [&](uint8_t* begin, uint8_t*) {
        uint32_t* const row = reinterpret_cast<uint32_t*>(begin);
        for (uint32_t x = 0; x < buffer->getWidth(); ++x)
            use(x, y, row[x]);
        ++y;
    });
}

inline void fill(const sp<GraphicBuffer>& buffer, uint32_t abgr) {
    eachPixel(buffer, kWrite, [=](uint32_t, uint32_t, uint32_t& pixel) { pixel = abgr; });
}

inline std::vector<uint32_t> pixelsOf(const sp<GraphicBuffer>& buffer) {
    std::vector<uint32_t> pixels;
    eachPixel(buffer, kRead, [&](uint32_t, uint32_t, uint32_t pixel) { pixels.push_back(pixel); });
    return pixels;
}

}  // namespace android::test

#endif  // TESTS_SUPPORT_BUFFERS_H

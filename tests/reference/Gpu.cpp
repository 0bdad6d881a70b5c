// SPDX-License-Identifier: Apache-2.0
#include "reference/Gpu.h"

#include <gtest/gtest.h>

namespace reference {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using Rgba8 = std::array<uint8_t, 4>;

constexpr uint32_t kCpuAccess =
        GraphicBuffer::USAGE_SW_READ_OFTEN | GraphicBuffer::USAGE_SW_WRITE_OFTEN;
constexpr uint32_t kGpuAccess = GraphicBuffer::USAGE_HW_TEXTURE | GraphicBuffer::USAGE_HW_RENDER;
constexpr int kFenceTimeoutMs = 10'000;

sp<GraphicBuffer> makeBuffer(Size size) {
    return new GraphicBuffer(static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height),
                             android::PIXEL_FORMAT_RGBA_8888, 1, kCpuAccess | kGpuAccess);
}

template <typename Visit>
void visitPixels(const sp<GraphicBuffer>& buffer, Size size, Visit visit) {
    void* pixels = nullptr;
    ASSERT_EQ(buffer->lock(kCpuAccess, &pixels), android::NO_ERROR);
    const size_t stride = buffer->getStride();
    for (int y = 0; y < size.height; ++y) {
        Rgba8* const row = static_cast<Rgba8*>(pixels) + static_cast<size_t>(y) * stride;
        for (int x = 0; x < size.width; ++x)
            visit(x, y, row[x]);
    }
    EXPECT_EQ(buffer->unlock(), android::NO_ERROR);
}

void fill(const sp<GraphicBuffer>& buffer, const Picture& picture) {
    visitPixels(buffer, picture.size(), [&](int x, int y, Rgba8& pixel) {
        const Rgb8& colour = picture.at(x, y);
        // The operations ignore alpha, so it is made to vary.
        pixel = {colour[0], colour[1], colour[2], static_cast<uint8_t>(7 * x + y)};
    });
}

Picture read(const sp<GraphicBuffer>& buffer, Size size) {
    Picture picture(size);
    int translucent = 0;
    visitPixels(buffer, size, [&](int x, int y, Rgba8& pixel) {
        picture.at(x, y) = {pixel[0], pixel[1], pixel[2]};
        if (pixel[3] != 255) ++translucent;
        // The next call cannot pass with what this one drew.
        pixel = {99, 77, 55, 33};
    });
    EXPECT_EQ(translucent, 0) << "pixels whose alpha is not 255";
    return picture;
}

}  // namespace

Gpu::Gpu(const std::vector<Geometry>& geometries) {
    for (const Geometry& geometry : geometries) {
        Buffers buffers = {geometry.target, makeBuffer(geometry.source),
                           makeBuffer(geometry.target)};
        sp<Fence> fence;
        // Imports the buffers: that has to come before the first fsrResize or neaResize.
        mUpscaler.casSharpen(buffers.source, buffers.target, 1.0f, &fence);
        mBuffers.push_back(buffers);
    }
}

Gpu::~Gpu() {
    mUpscaler.clearOpenGLResources();
    mUpscaler.destroyEGL();
}

Picture Gpu::run(OperationCall operation, size_t geometry, const Picture& source, float sharpness) {
    Buffers& buffers = mBuffers.at(geometry);
    fill(buffers.source, source);
    sp<Fence> fence = new Fence();
    (mUpscaler.*operation)(buffers.source, buffers.target, sharpness, &fence);
    EXPECT_TRUE(fence->isValid());
    EXPECT_EQ(fence->wait(kFenceTimeoutMs), android::NO_ERROR);
    return read(buffers.target, buffers.targetSize);
}

}  // namespace reference

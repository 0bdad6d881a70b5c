// SPDX-License-Identifier: Apache-2.0
#include "gpu/gpu_buffer.h"

#include <utility>

#include "common/failure.h"

namespace upscale {
namespace {

using android::GraphicBuffer;
using android::sp;

sp<GraphicBuffer> makeBuffer(Size size, std::uint64_t usage) {
    sp<GraphicBuffer> buffer = new GraphicBuffer(
            size.width, size.height, android::PIXEL_FORMAT_RGBA_8888, 1, usage, "upscale");
    if (buffer->initCheck() != android::NO_ERROR) {
        throw Failure(Exit::Failed, kDriver, "no memory for a buffer of " + inPixels(size));
    }
    return buffer;
}

}  // namespace

sp<GraphicBuffer> sourceBuffer(Size size) {
    return makeBuffer(size, GraphicBuffer::USAGE_SW_WRITE_OFTEN | GraphicBuffer::USAGE_HW_TEXTURE);
}

sp<GraphicBuffer> destinationBuffer(Size size) {
    return makeBuffer(size, GraphicBuffer::USAGE_SW_READ_OFTEN |
                                    GraphicBuffer::USAGE_SW_WRITE_OFTEN |
                                    GraphicBuffer::USAGE_HW_RENDER);
}

BufferView::BufferView(GraphicBuffer& buffer, Access access) : mBuffer(&buffer) {
    void* address = nullptr;
    std::int32_t stride = 0;
    const std::uint32_t usage = access == Write ? GraphicBuffer::USAGE_SW_WRITE_OFTEN
                                                : GraphicBuffer::USAGE_SW_READ_OFTEN;
    if (buffer.lock(usage, &address, nullptr, &stride) != android::NO_ERROR || !address)
        throw Failure(Exit::Failed, kDriver, "a buffer cannot be locked");
    mData = static_cast<std::uint8_t*>(address);
    mStride = static_cast<std::size_t>(stride);
}

BufferView::~BufferView() {
    if (mBuffer) mBuffer->unlock();
}

void BufferView::end() {
    if (std::exchange(mBuffer, nullptr)->unlock() != android::NO_ERROR)
        throw Failure(Exit::Failed, kDriver, "the pixels of a buffer cannot be reached");
}

}  // namespace upscale

// SPDX-License-Identifier: Apache-2.0
/// @file
/// The buffers that the command shares with the GPU. Functions and members throw `Failure`.
#ifndef UPSCALER_TOOLS_GPU_GPU_BUFFER_H
#define UPSCALER_TOOLS_GPU_GPU_BUFFER_H

#include <ui/GraphicBuffer.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <cstdint>

#include "common/size.h"

namespace upscale {

/// The subject of a failure of the driver.
constexpr char kDriver[] = "the driver";

/// RGBA buffers, all zeros.
android::sp<android::GraphicBuffer> sourceBuffer(Size size);
android::sp<android::GraphicBuffer> destinationBuffer(Size size);

/// The CPU's view of a buffer, while it lives.
class BufferView {
  public:
    enum Access { Read, Write };

    BufferView(android::GraphicBuffer& buffer, Access access);
    ~BufferView();
    BufferView(const BufferView&) = delete;
    BufferView& operator=(const BufferView&) = delete;

    std::uint8_t* row(std::size_t y) const { return mData + y * mStride; }
    std::size_t stride() const { return mStride; }  ///< In bytes.

    /// Ends the view before its time, and tells whether the GPU has what was written.
    void end();

  private:
    android::GraphicBuffer* mBuffer;
    std::uint8_t* mData = nullptr;
    std::size_t mStride = 0;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_GPU_BUFFER_H

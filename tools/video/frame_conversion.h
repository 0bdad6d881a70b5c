// SPDX-License-Identifier: Apache-2.0
/// @file
/// Between a stream's frames and the RGBA pixels that the GPU takes.
#ifndef UPSCALER_TOOLS_VIDEO_FRAME_CONVERSION_H
#define UPSCALER_TOOLS_VIDEO_FRAME_CONVERSION_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "pictures/pixel_rows.h"
#include "video/frame_format.h"

namespace upscale {

/// Whether any pixel of a raw frame is less than opaque.
bool isTransparent(const std::uint8_t* frame, std::size_t bytes);

class ConversionGraph;

/// Makes pixels of frames, with the edge repeated around them. One thread at a time.
class FrameDecoder {
  public:
    /// @param padX, padY the pixels to add on the left and right, above and below. Throws
    ///     `Failure`.
    FrameDecoder(const FrameFormat& format, std::uint32_t padX, std::uint32_t padY);
    ~FrameDecoder();

    /// @param frame in the format. @param pixels of its size with the padding; opaque, except that
    ///     the alpha of raw frames is copied.
    void decode(const std::uint8_t* frame, PixelRows<std::uint8_t> pixels);

  private:
    FrameFormat mFormat;
    std::uint32_t mPadX;
    std::uint32_t mPadY;
    std::unique_ptr<ConversionGraph> mGraph;  // None for raw frames.
};

/// Makes frames of pixels. One thread at a time.
class FrameEncoder {
  public:
    /// Throws `Failure`.
    explicit FrameEncoder(const FrameFormat& format);
    ~FrameEncoder();

    /// @param pixels of the frame's size; alpha is not looked at, but copied to raw frames.
    void encode(PixelRows<const std::uint8_t> pixels, std::uint8_t* frame);

  private:
    FrameFormat mFormat;
    std::unique_ptr<ConversionGraph> mGraph;  // None for raw frames.
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_VIDEO_FRAME_CONVERSION_H

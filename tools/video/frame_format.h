// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the frames of a video stream look like in memory.
#ifndef UPSCALER_TOOLS_VIDEO_FRAME_FORMAT_H
#define UPSCALER_TOOLS_VIDEO_FRAME_FORMAT_H

#include <cstddef>
#include <cstdint>

namespace upscale {

/// The channels of a frame, 8 bits each, and how many samples they have. All but the first are
/// planes, one after the other, without gaps: Y, Cb, Cr.
enum class Sampling { Rgba, Mono, Yuv420, Yuv422, Yuv444 };

/// Where a chroma sample lies in the block of pixels that it serves.
enum class Siting { Centre, Left, TopLeft };

/// Which values stand for black and white: 16 to 235 (chroma 16 to 240), or 0 to 255.
enum class Range { Limited, Full };

/// The coefficients between RGB and YCbCr.
enum class Matrix { Bt601, Bt709, Bt2020 };

struct FrameFormat {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Sampling sampling = Sampling::Yuv420;
    Siting siting = Siting::Centre;
    Range range = Range::Limited;
    Matrix matrix = Matrix::Bt601;

    unsigned planes() const {
        return sampling == Sampling::Rgba || sampling == Sampling::Mono ? 1 : 3;
    }
    /// By how many bits chroma's width and height are less. Odd ones are rounded up.
    unsigned chromaShiftX() const {
        return sampling == Sampling::Yuv420 || sampling == Sampling::Yuv422 ? 1 : 0;
    }
    unsigned chromaShiftY() const { return sampling == Sampling::Yuv420 ? 1 : 0; }

    std::size_t rowBytes(unsigned plane) const {
        const unsigned shift = plane == 0 ? 0 : chromaShiftX();
        const std::size_t samples = (std::size_t{width} + shift) >> shift;
        return sampling == Sampling::Rgba ? samples * 4 : samples;
    }
    std::size_t rows(unsigned plane) const {
        const unsigned shift = plane == 0 ? 0 : chromaShiftY();
        return (std::size_t{height} + shift) >> shift;
    }
    /// Where the plane begins.
    std::size_t offset(unsigned plane) const {
        std::size_t bytes = 0;
        for (unsigned before = 0; before < plane; ++before)
            bytes += rowBytes(before) * rows(before);
        return bytes;
    }
    /// Of a whole frame.
    std::size_t bytes() const { return offset(planes()); }
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_VIDEO_FRAME_FORMAT_H
